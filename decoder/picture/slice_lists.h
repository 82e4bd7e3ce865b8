// The reference picture lists of the slices of one picture, by slice number.
#pragma once

#include "decoder/picture/ref_pic_list.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace UMC {

inline constexpr size_t kKeptEntries = 64; // of a picture's tables that it keeps for the next

// Makes room for one more entry.
template <class T>
void GrowTable(std::vector<T>& Table)
{
    if (Table.size() == Table.capacity()) Table.reserve(std::max(kKeptEntries, 2 * Table.size()));
}

// Empties a table. One that a flood of slices has blown up gives its memory back.
template <class T>
void EmptyTable(std::vector<T>& Table)
{
    Table.clear();
    if (Table.capacity() > kKeptEntries) std::vector<T>().swap(Table);
}

// Slices have numbers from 1 on. A slice whose lists are those of the slice before shares them. Written by the thread
// that fills the picture, before the picture is in work; read by any while it is.
class SliceLists
{
public:
    // Makes room for one more slice. Throws std::bad_alloc.
    void Reserve();
    // For the lists of the slice to be added; they may hold anything.
    H264DecoderRefPicList& Spare() { return *m_pSpare; }
    // Gives a slice for which room was reserved, with the lists in Spare(), its number.
    int32_t Add();

    // The lists of a slice in work; null for a number that no slice has.
    const H264DecoderRefPicList* ListsOf(uint32_t SliceNumber) const
    {
        if (SliceNumber - 1 >= m_ListNumber.size()) return nullptr;
        const size_t List = m_ListNumber[SliceNumber - 1];
        return List < m_Lists.size() ? m_Lists[List].get() : nullptr;
    }
    // The pictures in the lists of a slice whose decoding may be over.
    const H264RefPicIndices* IndicesOf(uint32_t SliceNumber) const
    {
        return SliceNumber - 1 < m_ListNumber.size() ? &m_Indices[m_ListNumber[SliceNumber - 1]] : nullptr;
    }

    void ReleaseLists(); // decoding is over: the pictures in the lists remain
    void Clear();

private:
    std::vector<std::unique_ptr<H264DecoderRefPicList>> m_Lists; // while in work
    std::vector<H264RefPicIndices> m_Indices;                    // by the same number
    std::vector<uint16_t> m_ListNumber;                          // by slice number - 1
    std::unique_ptr<H264DecoderRefPicList> m_pSpare;
};

} // namespace UMC
