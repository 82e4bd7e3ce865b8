#include "front/unread_input.h"

#include <new>

bool UnreadInput::Append(const uint8_t* pBytes, size_t Size)
try {
    m_Bytes.insert(m_Bytes.end(), pBytes, pBytes + Size);
    return true;
} catch (const std::bad_alloc&) {
    return false;
}

void UnreadInput::Drop(size_t Size)
{
    m_Begin += Size;
    if (m_Begin == m_Bytes.size()) return Clear();
    if (m_Begin < m_Bytes.size() - m_Begin) return;
    m_Bytes.erase(m_Bytes.begin(), m_Bytes.begin() + static_cast<ptrdiff_t>(m_Begin));
    m_Begin = 0;
}

void UnreadInput::Clear()
{
    std::vector<uint8_t>().swap(m_Bytes);
    m_Begin = 0;
}
