// Values of properties.
#pragma once

#include "AMF/common/amf_types.h"

#include <type_traits>

enum AMF_VARIANT_TYPE : int32_t {
    AMF_VARIANT_EMPTY = 0,
    AMF_VARIANT_BOOL = 1,
    AMF_VARIANT_INT64 = 2,
    AMF_VARIANT_SIZE = 5,
    AMF_VARIANT_RATE = 7
};

struct AMFSize {
    amf_int32 width, height;
};
struct AMFRate {
    uint32_t num, den;
};

/// One value with its type. Passed by value, so it has to stay trivially copyable: compilers would pass the address of
/// any other.
struct AMFVariantStruct {
    AMF_VARIANT_TYPE type;
    int32_t Padding; // the values stand at 8 on every system
    union {
        amf_bool boolValue;
        amf_int64 int64Value;
        AMFSize sizeValue;
        AMFRate rateValue;
        uint8_t Bytes[16];
    };
};
static_assert(sizeof(AMFVariantStruct) == 24);
static_assert(offsetof(AMFVariantStruct, type) == 0 && offsetof(AMFVariantStruct, int64Value) == 8);
static_assert(std::is_trivially_copyable_v<AMFVariantStruct>);
static_assert(sizeof(amf_bool) == 1 && sizeof(AMFSize) == 8 && sizeof(AMFRate) == 8);

inline AMFVariantStruct AmfVariant(amf_bool bValue)
{
    return {.type = AMF_VARIANT_BOOL, .Padding = 0, .boolValue = bValue};
}
inline AMFVariantStruct AmfVariant(amf_int64 Value)
{
    return {.type = AMF_VARIANT_INT64, .Padding = 0, .int64Value = Value};
}
inline AMFVariantStruct AmfVariant(AMFSize Value)
{
    return {.type = AMF_VARIANT_SIZE, .Padding = 0, .sizeValue = Value};
}
inline AMFVariantStruct AmfVariant(AMFRate Value)
{
    return {.type = AMF_VARIANT_RATE, .Padding = 0, .rateValue = Value};
}
