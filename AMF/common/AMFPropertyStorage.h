// Named values of an object of the run time.
#pragma once

#include "AMF/common/AMFInterface.h"
#include "AMF/common/AMFVariant.h"

struct AMFPropertyInfo;
struct AMFPropertyStorageObserver;

struct AMFPropertyStorage : AMFInterface {
    virtual AMF_RESULT AMF_STD_CALL SetProperty(const wchar_t* pName, AMFVariantStruct Value) = 0;
    virtual AMF_RESULT AMF_STD_CALL GetProperty(const wchar_t* pName, AMFVariantStruct* pValue) = 0;
    virtual amf_bool AMF_STD_CALL HasProperty(const wchar_t* pName) = 0;
    virtual amf_size AMF_STD_CALL GetPropertyCount() = 0;
    virtual AMF_RESULT AMF_STD_CALL GetPropertyAt(amf_size Index, wchar_t* pName, amf_size NameSize,
                                                  AMFVariantStruct* pValue) = 0;
    virtual AMF_RESULT AMF_STD_CALL Clear() = 0;
    virtual AMF_RESULT AMF_STD_CALL AddTo(AMFPropertyStorage* pTarget, amf_bool bOverwrite, amf_bool bDeep) = 0;
    virtual AMF_RESULT AMF_STD_CALL CopyTo(AMFPropertyStorage* pTarget, amf_bool bDeep) = 0;
    virtual void AMF_STD_CALL AddObserver(AMFPropertyStorageObserver* pObserver) = 0;
    virtual void AMF_STD_CALL RemoveObserver(AMFPropertyStorageObserver* pObserver) = 0;
};

struct AMFPropertyStorageEx : AMFPropertyStorage {
    virtual amf_size AMF_STD_CALL GetPropertiesInfoCount() = 0;
    // Two overloads of one name, which compilers put in different orders: neither is to be called.
    virtual AMF_RESULT AMF_STD_CALL GetPropertyInfoFirst() = 0;
    virtual AMF_RESULT AMF_STD_CALL GetPropertyInfoSecond() = 0;
    virtual AMF_RESULT AMF_STD_CALL ValidateProperty(const wchar_t* pName, AMFVariantStruct Value,
                                                     AMFVariantStruct* pValid) = 0;
};
