// A pointer that belongs to its holder.
#pragma once

#include <cstddef>

namespace UMC_H264_ENCODER {

/// What it points at is as const as the record that holds it: who is given that record const can only read.
template <class T>
class DeepPointer
{
public:
    DeepPointer() = default;
    DeepPointer(T* p) : m_p(p) {}

    operator T*() { return m_p; }
    operator const T*() const { return m_p; }
    T* operator->() { return m_p; }
    const T* operator->() const { return m_p; }
    DeepPointer& operator+=(ptrdiff_t n)
    {
        m_p += n;
        return *this;
    }

private:
    T* m_p = nullptr;
};

} // namespace UMC_H264_ENCODER
