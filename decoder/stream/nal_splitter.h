// Cuts a caller's compressed bytes into NAL units that H264Bitstream can read.
#pragma once

#include "decoder/stream/heap.h"
#include "decoder/stream/start_code.h"
#include "decoder/stream/swapper.h"
#include "media/umc_media_data_ex.h"

#include <cstdint>
#include <memory>

namespace UMC {

// Byte streams of annex B: one unit a call.
class NALUnitSplitter
{
public:
    // Pieces come from *pHeap, which is not owned. Throws std::bad_alloc.
    explicit NALUnitSplitter(H264_Heap* pHeap);
    virtual ~NALUnitSplitter() = default;
    NALUnitSplitter(const NALUnitSplitter&) = delete;
    NALUnitSplitter& operator=(const NALUnitSplitter&) = delete;

    virtual void Init();
    virtual void Release();

    // nal_unit_type of the first unit; consumes nothing. 0 for null or when there is none.
    virtual int32_t CheckNalUnitType(MediaData* pMedia);

    // Unpacks the next unit and moves pMedia's data pointer behind it. Returns the piece that the last call returned
    // unless it was released or detached since. Null without a start code, all bytes then consumed, and when memory is
    // exhausted. pUnits receives the description of the piece, which the splitter owns. May throw h264_exception.
    virtual H264HeapPiece* GetNalUnits(MediaData* pMedia, MediaDataEx*& pUnits);

    virtual void Reset();

    void ReleaseCurrent(); // gives the current piece back to the heap
    bool HasCurrent() const { return m_pCurrentPiece != nullptr; }
    void DetachCurrent(); // leaves the current piece to whoever reads it now

protected:
    H264HeapPiece* CutUnit(MediaData* pMedia);

    H264_Heap* m_pHeap;
    std::unique_ptr<SwapperBase> m_pSwapper;
    std::unique_ptr<StartCodeIteratorBase> m_pCodeIterator;
    H264HeapPiece* m_pCurrentPiece = nullptr;
    MediaDataEx m_NalUnits;
    MediaDataEx::_MediaDataEx m_NalUnitsInfo;
    bool m_IsFirstUnit = true;
};

} // namespace UMC
