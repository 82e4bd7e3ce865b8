// Owner of one reference to an object of the run time.
#pragma once

#include "AMF/common/AMFInterface.h"
#include "platform/exception_frame.h"

#include <utility>

/// Holds a reference or nothing. Using nothing is a fault of the process, as using a null record is: a driver that
/// answers success without an object gets no further.
template <class Interface>
class AMFInterfacePtr
{
public:
    AMFInterfacePtr() = default;
    /// Takes a reference of its own to what somebody else holds; null is nothing.
    explicit AMFInterfacePtr(Interface* pBorrowed) : m_pInterface(pBorrowed)
    {
        if (m_pInterface) m_pInterface->Acquire();
    }
    AMFInterfacePtr(AMFInterfacePtr&& Other) noexcept : m_pInterface(std::exchange(Other.m_pInterface, nullptr)) {}
    ~AMFInterfacePtr() { Drop(); }

    void Drop()
    {
        if (Interface* const p = std::exchange(m_pInterface, nullptr)) p->Release();
    }
    /// Where a call puts a reference that it gives to its caller; what was held is dropped.
    Interface** Receive()
    {
        Drop();
        return &m_pInterface;
    }

    Interface* Get() const { return m_pInterface; }
    explicit operator bool() const { return m_pInterface != nullptr; }
    Interface& operator*() const
    {
        if (!m_pInterface) platform::RaiseFault(platform::kFaultAccess);
        return *m_pInterface;
    }
    Interface* operator->() const { return &**this; }

private:
    Interface* m_pInterface = nullptr;
};

/// Another interface of an object; nothing when it has none of that kind.
template <class Face>
AMFInterfacePtr<Face> AmfFaceOf(AMFInterface& Object)
{
    AMFInterfacePtr<Face> pFace;
    Object.QueryInterface(Face::kIid, reinterpret_cast<void**>(pFace.Receive()));
    return pFace;
}
