// The framework's cast scheme: a class is known by its name function, so that casts work without run-time type
// information and also between two copies of a class (compared by the name itself).
#pragma once

#include <cstring>

namespace UMC {

using NameFunction = const char* (*)();

// First lines of a class without a base in the scheme. Opens its virtual table with IsTypeOf and IsTypeOfName; the
// class declares its virtual destructor next.
#define UMC_ROOT_CLASS(Class, Name)                                                                                    \
    static const char* ClassName() { return Name; }                                                                    \
    virtual bool IsTypeOf(::UMC::NameFunction pName) const { return pName == &Class::ClassName; }                      \
    virtual bool IsTypeOfName(::UMC::NameFunction pName) const { return std::strcmp(pName(), Name) == 0; }

// The same for a class derived from Base: its own name first, then the base's.
#define UMC_DERIVED_CLASS(Class, Base, Name)                                                                           \
    static const char* ClassName() { return Name; }                                                                    \
    bool IsTypeOf(::UMC::NameFunction pName) const override                                                            \
    {                                                                                                                  \
        return pName == &Class::ClassName || Base::IsTypeOf(pName);                                                    \
    }                                                                                                                  \
    bool IsTypeOfName(::UMC::NameFunction pName) const override                                                        \
    {                                                                                                                  \
        return std::strcmp(pName(), Name) == 0 || Base::IsTypeOfName(pName);                                           \
    }

/// Down-cast by the scheme: pObject as a To, or null when it is null or no To.
template <class To, class From>
To* DynamicCast(From* pObject)
{
    if (!pObject || !(pObject->IsTypeOf(&To::ClassName) || pObject->IsTypeOfName(&To::ClassName))) return nullptr;
    return static_cast<To*>(pObject);
}
template <class To, class From>
const To* DynamicCast(const From* pObject)
{
    if (!pObject || !(pObject->IsTypeOf(&To::ClassName) || pObject->IsTypeOfName(&To::ClassName))) return nullptr;
    return static_cast<const To*>(pObject);
}

} // namespace UMC
