// Parameter sets and SEI records by identifier. Readers see the newest version at once; a picture that uses an older
// one shares it and so keeps it alive.
#pragma once

#include "decoder/stream/headers.h"
#include "decoder/stream/sei.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace UMC {

inline int32_t HeaderId(const H264SeqParamSet& Set) { return Set.seq_parameter_set_id; }
inline int32_t HeaderId(const H264SeqParamSetExtension& Set) { return Set.seq_parameter_set_id; }
inline int32_t HeaderId(const H264PicParamSet& Set) { return Set.pic_parameter_set_id; }
inline int32_t HeaderId(const H264SEIPayLoad& Message) { return static_cast<int32_t>(Message.PayloadType); }

// The records of one kind. Of each identifier there are at most two: the one in force, and a newer one that came while
// a picture was in work.
template <class T>
class HeaderSet
{
public:
    // Stores a copy, unless it equals the newest version. With Immediately it is in force at once, else from Settle()
    // on. Throws std::bad_alloc and leaves everything as it was.
    void Add(const T& Record, bool Immediately)
    {
        const int32_t Id = HeaderId(Record);
        Versions& Entry = EntryOf(Id);
        const T* const pNewest = Get(Id);
        if (!pNewest || *pNewest != Record) {
            auto pNew = std::make_shared<const T>(Record);
            const bool IsPending = Entry.pInForce && !Immediately;
            (IsPending ? Entry.pPending : Entry.pInForce) = std::move(pNew);
            if (!IsPending) Entry.pPending.reset();
            m_HasPending |= IsPending;
        } else if (Immediately && Entry.pPending) {
            Entry.pInForce = std::move(Entry.pPending);
        }
    }

    // The newest version, null for none.
    const std::shared_ptr<const T>& Share(int32_t Id) const
    {
        static const std::shared_ptr<const T> s_None;
        if (Id < 0 || static_cast<size_t>(Id) >= m_Entries.size()) return s_None;
        const Versions& Entry = m_Entries[static_cast<size_t>(Id)];
        return Entry.pPending ? Entry.pPending : Entry.pInForce;
    }
    const T* Get(int32_t Id) const { return Share(Id).get(); }

    void Remove(int32_t Id)
    {
        if (Get(Id)) m_Entries[static_cast<size_t>(Id)] = {};
    }
    void Settle() // no picture in work uses an older version any more
    {
        if (!m_HasPending) return;
        for (Versions& Entry : m_Entries)
            if (Entry.pPending) Entry.pInForce = std::move(Entry.pPending);
        m_HasPending = false;
    }
    void Reset(bool Keep) // Keep: only the versions that are not in force yet go
    {
        for (Versions& Entry : m_Entries) Entry.pPending.reset();
        m_HasPending = false;
        if (!Keep) m_Entries.clear();
    }

private:
    struct Versions {
        std::shared_ptr<const T> pInForce, pPending;
    };

    Versions& EntryOf(int32_t Id)
    {
        const auto Index = static_cast<size_t>(Id);
        if (Index >= m_Entries.size()) m_Entries.resize(Index * 2 < 4 ? 4 : Index * 2);
        return m_Entries[Index];
    }

    std::vector<Versions> m_Entries;
    bool m_HasPending = false;
};

class Headers
{
public:
    HeaderSet<H264SeqParamSet> m_SeqParamSets;
    HeaderSet<H264SeqParamSetExtension> m_SeqParamSetExtensions;
    HeaderSet<H264PicParamSet> m_PicParamSets;
    HeaderSet<H264SEIPayLoad> m_Sei;

    void Settle();
    void Reset(bool Keep);
};

} // namespace UMC
