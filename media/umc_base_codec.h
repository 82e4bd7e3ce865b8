// The abstract codec: configured from a parameter block, then turned frame by frame.
#pragma once

#include "media/umc_media_data.h"
#include "media/umc_memory_allocator.h"

namespace UMC {

class BaseCodecParams
{
public:
    UMC_ROOT_CLASS(BaseCodecParams, "BaseCodecParams")
    virtual ~BaseCodecParams() = default;

    MediaData* m_pData = nullptr;                  // initial data for a decoder: the first headers are read from it
    MemoryAllocator* m_pMemoryAllocator = nullptr; // null: the default one
    uint32_t m_Reserved0 = 0, m_Reserved1 = 0;
    int32_t m_NumThreads = 0;
    uint32_t m_Reserved2 = 0, m_Reserved3 = 0;
};

/// Init, GetFrame for each frame, GetFrame with a null input to drain what remains, Close. Close is implied by
/// destruction. Every operation returns a status; nothing is thrown. One thread at a time.
class BaseCodec
{
public:
    UMC_ROOT_CLASS(BaseCodec, "BaseCodec")
    BaseCodec() = default;
    virtual ~BaseCodec();
    BaseCodec(const BaseCodec&) = delete;
    BaseCodec& operator=(const BaseCodec&) = delete;

    /// Settles the allocator; a derived Init calls this first. StatusNullPointer for null; StatusInitFailed when the
    /// request contradicts the allocator in use. A fresh codec refuses a caller's allocator; that is deliberate.
    virtual Status Init(BaseCodecParams* pParams);
    virtual Status GetFrame(MediaData* pInput, MediaData* pOutput) = 0;
    virtual Status GetInfo(BaseCodecParams* pParams) = 0;
    virtual Status Close();
    /// Returns the stream state to its start without giving up the configuration.
    virtual Status Reset() = 0;
    /// StatusNullPointer for null, else StatusNotImplemented unless a derived class knows better.
    virtual Status SetParams(BaseCodecParams* pParams);

protected:
    MemoryAllocator* m_pMemoryAllocator = nullptr;
    bool m_bOwnAllocator = false;
};

} // namespace UMC
