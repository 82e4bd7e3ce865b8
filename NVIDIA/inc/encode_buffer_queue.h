// The ring in which the buffers' turns come.
#pragma once

#include "NVIDIA/inc/encode_buffers.h"

#include <memory>

/// Hands out buffers in turn and takes them back in the same order. Holds none at first.
class EncodeBufferQueue
{
public:
    /// Goes over to that many buffers, all available; false, and it holds none, when memory is exhausted.
    bool Initialize(EncodeBuffer* pBuffers, uint32_t Count);

    EncodeBuffer* GetAvailable(); ///< the next one, pending from now on; null when all are
    EncodeBuffer* GetPending();   ///< the oldest pending one, available from now on; null when none is

private:
    std::unique_ptr<EncodeBuffer*[]> m_pBuffers;
    uint32_t m_Size = 0;
    uint32_t m_PendingCount = 0;
    uint32_t m_NextAvailable = 0;
    uint32_t m_NextPending = 0;
};
