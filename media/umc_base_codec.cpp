#include "media/umc_base_codec.h"

#include "media/umc_default_memory_allocator.h"

#include <new>

namespace UMC {

BaseCodec::~BaseCodec() { BaseCodec::Close(); }

Status BaseCodec::Init(BaseCodecParams* pParams)
{
    if (!pParams) return StatusNullPointer;
    if (pParams->m_pMemoryAllocator) {
        if (m_bOwnAllocator || m_pMemoryAllocator != pParams->m_pMemoryAllocator) return StatusInitFailed;
        return StatusOk;
    }
    if (m_pMemoryAllocator && !m_bOwnAllocator) return StatusInitFailed;
    if (!m_pMemoryAllocator) {
        m_pMemoryAllocator = new (std::nothrow) DefaultMemoryAllocator;
        if (!m_pMemoryAllocator) return StatusAllocFailed;
    }
    m_bOwnAllocator = true;
    return StatusOk;
}

Status BaseCodec::Close()
{
    if (m_bOwnAllocator) delete m_pMemoryAllocator;
    m_pMemoryAllocator = nullptr;
    m_bOwnAllocator = false;
    return StatusOk;
}

Status BaseCodec::SetParams(BaseCodecParams* pParams) { return pParams ? StatusNotImplemented : StatusNullPointer; }

} // namespace UMC
