// Parameter sets and SEI records by identifier. A set that changes while a picture that uses it is in work waits as a
// pending replacement: readers see the new version at once, the old one lives until that picture is finished.
#pragma once

#include "decoder/h264_headers.h"
#include "decoder/h264_sei.h"

#include <cstdint>
#include <deque>
#include <memory>
#include <vector>

namespace UMC {

inline int32_t HeaderId(const H264SeqParamSet& Set) { return Set.seq_parameter_set_id; }
inline int32_t HeaderId(const H264SeqParamSetExtension& Set) { return Set.seq_parameter_set_id; }
inline int32_t HeaderId(const H264PicParamSet& Set) { return Set.pic_parameter_set_id; }
inline int32_t HeaderId(const H264SEIPayLoad& Message) { return static_cast<int32_t>(Message.PayloadType); }

// The records of one kind.
template <class T>
class HeaderSet
{
public:
    // Stores a copy. With Immediately nobody uses the present record, which goes at once. Returns the present record
    // when the new one differs and had to be put behind it: the caller then has Release() called with it once no
    // picture in work uses it. Otherwise null.
    T* Add(const T& Record, bool Immediately)
    {
        const int32_t Id = HeaderId(Record);
        std::unique_ptr<T>& Entry = EntryOf(Id);
        if (Immediately) Entry.reset();
        if (!Entry) {
            Entry = std::make_unique<T>(Record);
            return nullptr;
        }
        T* const pNewest = Get(Id);
        if (*pNewest == Record) return nullptr;
        m_Pending.push_back(std::make_unique<T>(Record));
        return pNewest;
    }

    // The newest version, null for none. The store owns it.
    T* Get(int32_t Id) const
    {
        for (auto it = m_Pending.rbegin(); it != m_Pending.rend(); ++it)
            if (HeaderId(**it) == Id) return it->get();
        return Id >= 0 && static_cast<size_t>(Id) < m_Entries.size() ? m_Entries[static_cast<size_t>(Id)].get()
                                                                     : nullptr;
    }

    // Deletes a version; the oldest pending one moves up when it was the present record.
    void Release(const T* pRecord)
    {
        for (std::unique_ptr<T>& Entry : m_Entries)
            if (Entry.get() == pRecord) {
                const int32_t Id = HeaderId(*pRecord);
                const auto Next = FindPending([Id](const T& Record) { return HeaderId(Record) == Id; });
                Entry = Next == m_Pending.end() ? nullptr : std::move(*Next);
                if (Next != m_Pending.end()) m_Pending.erase(Next);
                return;
            }
        const auto Old = FindPending([pRecord](const T& Record) { return &Record == pRecord; });
        if (Old != m_Pending.end()) m_Pending.erase(Old);
    }

    void Reset(bool Keep) // Keep: only the pending versions go
    {
        m_Pending.clear();
        if (!Keep) m_Entries.clear();
    }

private:
    template <class Match>
    auto FindPending(Match Matches)
    {
        auto it = m_Pending.begin();
        while (it != m_Pending.end() && !Matches(**it)) ++it;
        return it;
    }

    std::unique_ptr<T>& EntryOf(int32_t Id)
    {
        const auto Index = static_cast<size_t>(Id);
        if (Index >= m_Entries.size()) m_Entries.resize(Index * 2 < 4 ? 4 : Index * 2);
        return m_Entries[Index];
    }

    std::vector<std::unique_ptr<T>> m_Entries;
    std::deque<std::unique_ptr<T>> m_Pending; // oldest first
};

enum class HeaderKind { SeqParamSet = 0, SeqParamSetExtension = 1, PicParamSet = 2, Sei = 3 };

class Headers
{
public:
    HeaderSet<H264SeqParamSet> m_SeqParamSets;
    HeaderSet<H264SeqParamSetExtension> m_SeqParamSetExtensions;
    HeaderSet<H264PicParamSet> m_PicParamSets;
    HeaderSet<H264SEIPayLoad> m_Sei;

    // For notifiers: pRecord is of the type that Kind names.
    void Release(HeaderKind Kind, const void* pRecord);
    void Reset(bool Keep);
};

} // namespace UMC
