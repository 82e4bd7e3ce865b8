// The splitter on arbitrary bytes. The first byte chooses the form of the input and how it is cut.
#include "decoder/stream/exception.h"
#include "decoder/stream/header_parsers.h"
#include "decoder/stream/nal_splitter_mp4.h"
#include "tests/fuzz/fuzz_pieces.h"
#include "tests/fuzz/fuzz_require.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace {

using namespace UMC;
using fuzz::Require;

// Reads the units of a piece to their ends, and what lies behind the last one.
void CheckUnits(const H264HeapPiece& Piece, const MediaDataEx::_MediaDataEx& Units)
{
    Require(Units.Count <= Units.Limit && Piece.m_Size <= Piece.m_Capacity, "a piece and its table hold all units");
    for (uint32_t i = 0; i < Units.Count; ++i) {
        Require(Units.Offsets[i] <= Units.Offsets[i + 1] && Units.Offsets[i] % 4 == 0, "units follow each other");
        H264Bitstream Bits;
        Bits.Reset(Piece.m_pData + Units.Offsets[i] / 4, Units.Offsets[i + 1] - Units.Offsets[i]);
        GoToNalUnit(Bits);
        while (!Bits.Overrun()) Bits.GetBits(8);
    }
    Require(Units.Offsets[Units.Count] <= Piece.m_Size, "units end within their piece");
    for (uint32_t i = 0; i < H264Bitstream::kReadPadding; ++i) {
        const uint32_t At = Piece.m_Size + i;
        Require((Piece.m_pData[At / 4] >> (24 - At % 4 * 8) & 255) == 0, "zeros lie behind a piece");
    }
}

void Split(NALUnitSplitter& Splitter, std::span<const uint8_t> Bytes, bool HasTypes)
{
    std::vector<uint8_t> Exact(Bytes.begin(), Bytes.end()); // a sanitizer sees reads beyond it
    MediaData Input;
    Input.SetBufferPointer(Exact.data(), Exact.size());
    Input.SetDataSize(Exact.size());
    while (Input.GetDataSize() > 0) {
        const size_t Before = Input.GetDataSize();
        const int32_t Type = Splitter.CheckNalUnitType(&Input);
        Require(Input.GetDataSize() == Before, "looking at a type takes nothing");
        MediaDataEx* pUnits = nullptr;
        H264HeapPiece* const pPiece = Splitter.GetNalUnits(&Input, pUnits);
        if (!pPiece) {
            Require(Input.GetDataSize() == 0, "bytes without a unit are used up");
            return;
        }
        const MediaDataEx::_MediaDataEx& Units = *pUnits->GetExData();
        CheckUnits(*pPiece, Units);
        Require(!HasTypes || (Units.Count == 1 && Units.Values[0] == static_cast<uint32_t>(Type)), "types agree");
        Require(Splitter.GetNalUnits(&Input, pUnits) == pPiece, "a unit stays until it is released");
        Splitter.ReleaseCurrent();
        Require(Input.GetDataSize() < Before, "every unit takes bytes");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t Size)
{
    if (Size < 2) return 0;
    const bool IsMp4 = fuzz::IsMp4(pData[0]);
    H264_Heap Heap;
    std::unique_ptr<NALUnitSplitter> pSplitter;
    if (IsMp4)
        pSplitter = std::make_unique<NALUnitSplitterMP4>(&Heap);
    else
        pSplitter = std::make_unique<NALUnitSplitter>(&Heap);
    pSplitter->Init();
    bool IsRecord = IsMp4; // still to come
    fuzz::ForEachPiece(pData[0], {pData + 1, Size - 1}, [&](std::span<const uint8_t> Piece) {
        try {
            Split(*pSplitter, Piece, !IsRecord);
            IsRecord &= Piece.empty();
        } catch (const h264_exception&) {
            pSplitter->ReleaseCurrent();
        }
        return true;
    });
    return 0;
}
