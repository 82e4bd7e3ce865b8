#include "media/umc_media_data.h"

#include "kernels/dispatch/kernels.h"
#include "kernels/memory/memory.h"

#include <algorithm>
#include <climits>

namespace UMC {

MediaData::MediaData(size_t Size)
{
    if (Size) MediaData::Alloc(Size);
}

MediaData::~MediaData() { MediaData::Close(); }

Status MediaData::Close()
{
    if (m_bOwnsBuffer) kernels::Free(m_pBuffer);
    m_pBuffer = m_pData = nullptr;
    m_BufferSize = m_DataSize = 0;
    m_FrameType = NONE_PICTURE;
    m_bOwnsBuffer = false;
    return StatusOk;
}

Status MediaData::Alloc(size_t Size)
{
    Close();
    if (!Size) return StatusOk;
    if (Size > INT_MAX) return StatusAllocFailed;
    m_pBuffer = kernels::Malloc8u(static_cast<int32_t>(Size));
    if (!m_pBuffer) return StatusAllocFailed;
    m_pData = m_pBuffer;
    m_BufferSize = Size;
    m_bOwnsBuffer = true;
    return StatusOk;
}

Status MediaData::SetBufferPointer(uint8_t* pBuffer, size_t Size)
{
    if (m_bOwnsBuffer) kernels::Free(m_pBuffer);
    m_pBuffer = m_pData = pBuffer;
    m_BufferSize = Size;
    m_DataSize = 0;
    m_FrameType = NONE_PICTURE;
    m_bOwnsBuffer = false;
    return StatusOk;
}

Status MediaData::SetDataSize(size_t Size)
{
    if (!m_pBuffer) return StatusNullPointer;
    if (Size > m_BufferSize - static_cast<size_t>(m_pData - m_pBuffer)) return StatusFailed;
    m_DataSize = Size;
    return StatusOk;
}

Status MediaData::MoveDataPointer(int32_t Offset)
{
    if (Offset >= 0) {
        if (static_cast<size_t>(Offset) > m_DataSize) return StatusFailed;
        m_DataSize -= static_cast<size_t>(Offset);
    } else {
        if (-int64_t{Offset} > m_pData - m_pBuffer) return StatusFailed;
        m_DataSize += static_cast<size_t>(-int64_t{Offset});
    }
    if (Offset) m_pData += Offset;
    return StatusOk;
}

Status MediaData::GetTime(double& Start, double& End) const
{
    Start = m_StartTime;
    End = m_EndTime;
    return StatusOk;
}

Status MediaData::SetTime(double Start, double End)
{
    m_StartTime = Start;
    m_EndTime = End;
    return StatusOk;
}

Status MediaData::Reset()
{
    m_StartTime = m_EndTime = -1.0;
    m_pData = m_pBuffer;
    m_DataSize = 0;
    m_FrameType = NONE_PICTURE;
    m_StatusWord = 0;
    return StatusOk;
}

Status MediaData::MoveDataTo(MediaData* pDestination)
{
    if (!pDestination) return StatusNullPointer;
    if (pDestination->m_pBuffer) {
        uint8_t* const pEnd = pDestination->m_pData + pDestination->m_DataSize;
        const auto Room = pDestination->m_BufferSize - static_cast<size_t>(pEnd - pDestination->m_pBuffer);
        const auto Count = static_cast<int32_t>(std::min({m_DataSize, Room, size_t{INT_MAX}}));
        if (Count) {
            kernels::g_Kernels.CopyBytes(m_pData, pEnd, Count);
            pDestination->m_DataSize += static_cast<size_t>(Count);
            MoveDataPointer(Count);
        }
    }
    pDestination->CopyTags(*this);
    return StatusOk;
}

Status MediaData::SetFrameType(int32_t Type)
{
    if (Type < 0 || Type > 4) return StatusInvalidParams;
    m_FrameType = Type;
    return StatusOk;
}

void MediaData::CopyTags(const MediaData& From)
{
    m_StartTime = From.m_StartTime;
    m_EndTime = From.m_EndTime;
    m_FrameType = From.m_FrameType;
    m_StatusWord = From.m_StatusWord;
}

} // namespace UMC
