// What slot 0 of a client's interface does to an object.
#pragma once

#include <cstdint>
#include <type_traits>

/// Destroys an object, whatever it is derived to, and frees its memory when bit 0 of the flags is set; other bits mean
/// nothing.
/// @return The object's address.
template <class Object>
void* DestroyObject(Object* pObject, uint32_t iFlags)
{
    static_assert(std::has_virtual_destructor_v<Object>);
    void* const pAddress = pObject;
    if (iFlags & 1)
        delete pObject;
    else
        pObject->~Object();
    return pAddress;
}
