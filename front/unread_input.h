// What a decoder has left unread of a client's buffers, kept until it takes more.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

// A queue of bytes. Moves what it holds at most once for each byte taken out.
class UnreadInput
{
public:
    const uint8_t* Data() const { return m_Bytes.data() + m_Begin; }
    size_t Size() const { return m_Bytes.size() - m_Begin; }

    bool Append(const uint8_t* pBytes, size_t Size); // false when memory is exhausted: it then holds what it held
    void Drop(size_t Size);                          // from the front; Size up to Size()
    void Clear();                                    // gives the memory back

private:
    std::vector<uint8_t> m_Bytes;
    size_t m_Begin = 0; // bytes in front of it have been dropped
};
