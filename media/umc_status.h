// Status codes of the media framework: signed 32-bit, 0 for success.
#pragma once

#include <cstdint>

namespace UMC {

using Status = int32_t;

enum : Status {
    StatusOk = 0,
    StatusFailed = -999,          // general failure, bad index, size beyond capacity
    StatusNotInitialized = -998,  // the object has not been set up
    StatusNotEnoughData = -996,   // the decoder has no complete picture to give yet
    StatusNullPointer = -995,     // a required pointer is null
    StatusInitFailed = -899,      // the object is initialised in a way that contradicts the request
    StatusSyncFailed = -897,      // a stream could not be synchronised
    StatusNotEnoughBuffer = -896, // the output cannot hold the result
    StatusEndOfSegment = -895,    // decoder, internal: a slice ended early; encoder: nothing more to flush
    StatusOpenFailed = -894,      // a file could not be opened
    StatusAllocFailed = -883,     // memory allocation failed
    StatusInvalidParams = -882,   // an argument has an unusable value
    StatusUnsupported = -879,     // the stream uses something not supported
    StatusNotImplemented = -878,  // the operation has no implementation here
    StatusInvalidParamsExt = -876 // a parameter block failed validation
};

} // namespace UMC
