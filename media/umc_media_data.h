// A run of bytes with timestamps.
#pragma once

#include "media/umc_cast.h"
#include "media/umc_status.h"

#include <cstddef>
#include <cstdint>

namespace UMC {

/// Frame types that travel with data. 4 is accepted and has no meaning here.
enum FrameType : int32_t { NONE_PICTURE = 0, I_PICTURE = 1, P_PICTURE = 2, B_PICTURE = 3 };

/// Bytes from m_pData on, inside a buffer that the object owns or that belongs to the caller. An object belongs to one
/// thread at a time. A failed operation changes nothing and leaves the object usable.
class MediaData
{
public:
    UMC_ROOT_CLASS(MediaData, "MediaData")
    virtual ~MediaData();

    /// @param Size  Bytes to allocate at once, owned; 0: none. A failed allocation only leaves the object empty.
    explicit MediaData(size_t Size = 0);
    MediaData(const MediaData&) = delete;
    MediaData& operator=(const MediaData&) = delete;

    /// Frees an owned buffer, forgets a foreign one; clears sizes, pointers and the frame type.
    virtual Status Close();
    /// Close(), then a new owned buffer of Size bytes (none for 0). StatusAllocFailed when memory is exhausted.
    virtual Status Alloc(size_t Size);
    virtual void* GetBufferPointer() { return m_pBuffer; }
    virtual void* GetDataPointer() { return m_pData; }
    virtual size_t GetBufferSize() const { return m_BufferSize; }
    virtual size_t GetDataSize() const { return m_DataSize; }
    /// Takes a foreign buffer; it must outlive its use here. Data size and frame type become 0.
    virtual Status SetBufferPointer(uint8_t* pBuffer, size_t Size);
    /// StatusNullPointer without a buffer, StatusFailed beyond the capacity behind the data pointer.
    virtual Status SetDataSize(size_t Size);
    /// Moves the data pointer forward by at most the data size or back to at most the buffer's start, the data size the
    /// other way. StatusFailed beyond that.
    virtual Status MoveDataPointer(int32_t Offset);
    virtual Status GetTime(double& Start, double& End) const;
    virtual double GetTime() const { return m_StartTime; } ///< start time in seconds, -1.0 when not set
    virtual Status SetTime(double Start, double End = 0.0);
    /// Empties the object and forgets times and frame type; the buffer stays.
    virtual Status Reset();
    /// Moves as many bytes as fit to the end of pDestination's data, and copies times, frame type and status word.
    virtual Status MoveDataTo(MediaData* pDestination);

    /// StatusInvalidParams outside 0..4.
    Status SetFrameType(int32_t Type);
    int32_t GetFrameType() const { return m_FrameType; }

protected:
    void CopyTags(const MediaData& From); // times, frame type, status word

    double m_StartTime = -1.0; // seconds
    double m_EndTime = 0.0;
    size_t m_BufferSize = 0; // capacity from m_pBuffer
    size_t m_DataSize = 0;   // valid bytes from m_pData
    uint8_t* m_pBuffer = nullptr;
    uint8_t* m_pData = nullptr;
    int32_t m_FrameType = NONE_PICTURE;
    int32_t m_StatusWord = 0; // travels with the data
    bool m_bOwnsBuffer = false;
};

} // namespace UMC
