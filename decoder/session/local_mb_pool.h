// The records of macroblocks that live while a picture is decoded, lent to pictures by turns.
#pragma once

#include "decoder/picture/frame.h"
#include "decoder/picture/local_mb_memory.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace UMC {

// One entry a thread for pictures and one for their auxiliary pictures, made on its first use.
class LocalMbPool
{
public:
    void Init(int32_t ThreadCount)
    {
        m_LocalMbInfo.assign(2 * static_cast<size_t>(ThreadCount), nullptr);
        m_ThreadCount = ThreadCount;
        m_NextResource = 0;
    }

    void Clear() { m_LocalMbInfo.clear(); }

    int32_t NextResource() // the entry of a new picture
    {
        const int32_t Resource = m_NextResource;
        m_NextResource = (m_NextResource + 1) % m_ThreadCount;
        return Resource;
    }

    int32_t AuxiliaryResource(int32_t Resource) const { return Resource + m_ThreadCount; } // of such a picture's

    // The records of the frame's entry. A picture that still waits for decoding keeps them; there are others then.
    // Throws std::bad_alloc.
    std::shared_ptr<LocalMbMemory> Prepare(const H264DecoderFrame& Frame)
    {
        if (Frame.m_pLocalMemory) return Frame.m_pLocalMemory; // a second field
        std::shared_ptr<LocalMbMemory>& pMemory = m_LocalMbInfo[static_cast<size_t>(Frame.m_ResourceIndex)];
        if (!pMemory || pMemory.use_count() > 1) pMemory = std::make_shared<LocalMbMemory>();
        pMemory->Allocate(Frame.m_Format.MbCount());
        return pMemory;
    }

private:
    std::vector<std::shared_ptr<LocalMbMemory>> m_LocalMbInfo; // by resource index
    int32_t m_ThreadCount = 1;
    int32_t m_NextResource = 0;
};

} // namespace UMC
