#include "decoder/picture/local_mb_memory.h"

namespace UMC {

namespace {

constexpr size_t kAlign = 64;
constexpr size_t kIntraModeCount = 16; // a macroblock

size_t AlignUp(size_t Bytes) { return (Bytes + kAlign - 1) / kAlign * kAlign; }

} // namespace

void LocalMbMemory::Allocate(int32_t MbCount)
{
    if (MbCount == m_MbCount) return;
    const auto Count = static_cast<size_t>(MbCount);
    const size_t LocalBytes = AlignUp(Count * sizeof(MbLocalInfo));
    const size_t MvdBytes = AlignUp(Count * sizeof(MbMvd));
    const size_t ModeBytes = AlignUp(Count * kIntraModeCount);
    const size_t CountBytes = AlignUp(Count * kCountsPerMb);
    m_MbCount = 0;
    m_Block = {}; // before the new one is asked for
    m_Block = std::vector<uint8_t>(LocalBytes + 2 * MvdBytes + ModeBytes + CountBytes + kAlign);
    m_MbCount = MbCount;

    auto* p = m_Block.data() + (kAlign - reinterpret_cast<uintptr_t>(m_Block.data()) % kAlign) % kAlign;
    const auto Take = [&p](size_t Bytes) {
        uint8_t* const pArray = p;
        p += Bytes;
        return pArray;
    };
    static_assert(alignof(MbLocalInfo) <= kAlign && alignof(MbMvd) <= kAlign);
    m_Buffers.pLocal = reinterpret_cast<MbLocalInfo*>(Take(LocalBytes));
    for (MbMvd*& pMvd : m_Buffers.pMvd) pMvd = reinterpret_cast<MbMvd*>(Take(MvdBytes));
    m_Buffers.pIntraModes = Take(ModeBytes);
    m_Buffers.pCoeffCounts = Take(CountBytes);
}

} // namespace UMC
