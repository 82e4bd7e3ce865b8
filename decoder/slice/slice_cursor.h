// One thread's place in a slice, in parts that are named for what they are for. The loop over macroblocks owns a
// cursor; each stage takes the parts that it reads, as const, and those that it writes.
#pragma once

#include "Common/h264/trace/element_trace.h"
#include "decoder/picture/picture_view.h"
#include "decoder/slice/mb_state.h"
#include "decoder/slice/references.h"
#include "decoder/slice/slice.h"
#include "decoder/stream/cabac.h"

#include <cstdint>

namespace UMC {

inline constexpr int kQpBias = 64; // added to QPY to index SliceView::ChromaQp

// What is fixed while a slice is decoded: no stage writes it. The records that it points to are the picture's; a stage
// writes those of the macroblock in hand alone.
struct SliceView {
    const SliceHeaderFields* pHeader = nullptr;
    const H264SeqParamSet* pSequenceSet = nullptr;
    const H264PicParamSet* pPictureSet = nullptr;
    const H264DecoderRefPicList* pLists = nullptr;
    PictureView Picture;
    PictureView Fields[2]; // top and bottom field of an MBAFF frame: the pictures of its field macroblocks
    H264MbInfo Records;    // of the frame
    H264LocalMbBuffers Local;
    const uint32_t* pNextMbMap = nullptr; // null without slice groups
    int32_t BitDepthLuma = 8, BitDepthChroma = 8;
    static constexpr int32_t kNeverBypassed = INT32_MIN;
    int32_t QpOfBypass = kNeverBypassed; // QPY of macroblocks whose residual is not transformed
    SliceReferences References;
    uint16_t SliceId = 0;
    MbGlobalInfo NoGlobal{}; // stand-ins for neighbours outside the slice
    MbLocalInfo NoLocal{};
    struct ChromaQpTable {
        int32_t Offset = INT32_MAX, LumaDepth = 0, ChromaDepth = 0; // what it was made for
        uint8_t ByQp[kQpBias + 52];                                 // QP'C by QPY + kQpBias
    } ChromaQp[2];                                                  // of Cb and Cr (clause 8.5.8)

    // TransformBypassModeFlag of a macroblock.
    bool BypassesTransform(int QpLuma) const { return QpLuma == QpOfBypass; }

    // Bits of a sample of the given type: 8-bit code need not ask.
    template <class Sample>
    int LumaDepth() const
    {
        return sizeof(Sample) == 1 ? 8 : BitDepthLuma;
    }
    template <class Sample>
    int ChromaDepth() const
    {
        return sizeof(Sample) == 1 ? 8 : BitDepthChroma;
    }
};

// What the macroblock in hand belongs to: the picture, or one of the fields of an MBAFF frame.
template <bool kMbaff>
[[gnu::always_inline]] inline ReferenceKind KindOf(const MbState& Mb)
{
    if (!kMbaff || !IsFieldMb(Mb)) return REFERENCES_PICTURE;
    return Mb.Number & 1 ? REFERENCES_BOTTOM_FIELD : REFERENCES_TOP_FIELD;
}
template <bool kMbaff>
[[gnu::always_inline]] inline const PictureView& PictureOf(const SliceView& Slice, ReferenceKind Kind)
{
    return !kMbaff || Kind == REFERENCES_PICTURE ? Slice.Picture : Slice.Fields[Kind - REFERENCES_TOP_FIELD];
}
template <bool kMbaff>
[[gnu::always_inline]] inline const PictureView& PictureOf(const SliceView& Slice, const MbState& Mb)
{
    return PictureOf<kMbaff>(Slice, KindOf<kMbaff>(Mb));
}
// Its row there, in macroblocks.
template <bool kMbaff>
[[gnu::always_inline]] inline int32_t RowOf(const MbState& Mb)
{
    return kMbaff && IsFieldMb(Mb) ? Mb.Y >> 1 : Mb.Y;
}

// How far entropy decoding has come. A copy of it goes on from the same bit.
struct EntropyState {
    H264Bitstream Bits; // elements of CAVLC slices, and PCM samples
    CabacDecoder Cabac;
    int32_t MbSkipRun = 0, QpLuma = 0, PrevDeltaQp = 0;
};

// Direct prediction (clause 8.4.1.2) of B slices: the first picture of list 1 and its motion. Across kinds means to a
// frame for a field's slices, to a pair of fields for a frame's, and always for an MBAFF frame's.
struct DirectState {
    const H264DecoderFrame* pColFrame = nullptr;  // null when it has no motion, or is a picture of the other kind
    const H264DecoderFrame* pOtherKind = nullptr; // that one then
    int32_t ColOffset = 0;                        // from a macroblock's number to that of pColFrame's co-located one
    int ColField = 0;                             // of pOtherKind: the field that is nearer in order count
    bool ColIsShortTerm = false;
    int32_t ColSlice = -1; // slice of that picture whose references these are
    const H264RefPicIndices* pColReferences = nullptr;
    // Our lowest list 0 index of each picture, by PictureIndex(). 0 for one that is not there, which only damage can
    // cause, and for H264RefPicIndices::kNone.
    int8_t RefOf[256] = {};
};

// Motion around the macroblock in hand, by list, and what is derived from it.
struct MotionState {
    MotionCache Cache[2];
    DirectState Direct;
    int32_t MaxMv = 0; // largest vertical vector component met, quarter samples
};

// total_coeff (CAVLC) or coded_block_flag (CABAC) of the blocks around the macroblock, by plane.
struct CountCache {
    uint8_t NonZero[3][kCacheSize];
};

// Slots of a macroblock of the largest format: three planes of 256, and 16 more for each plane, which stay 0. DC levels
// are read beside them and take the first slot of each block.
inline constexpr int kMbCoefficients = 816;

// What entropy decoding leaves of a macroblock for reconstruction, which takes it: coefficients are 0 again behind it.
struct MbResidual {
    // Blocks with something to add: luma in luma4x4BlkIdx order, Cb and Cr in raster order, or as luma in 4:4:4.
    uint32_t Bits[3] = {};
    alignas(64) uint8_t Coefficients[kMbCoefficients * sizeof(int32_t)]; // or as many of 16 bits

    template <class Coeffs>
    Coeffs* As()
    {
        return reinterpret_cast<Coeffs*>(Coefficients);
    }
};

// Predictions of list 0 before they are joined, and blocks clamped into the reference. The samples of three planes lie
// in rows of a fixed length, one plane behind the other; there is room for the largest format in 2 bytes a sample.
struct PredictionScratch {
    static constexpr int kTempWidth = 16, kTempPlane = 16 * kTempWidth;          // luma, Cb, Cr
    static constexpr int kClampedWidth = 24, kClampedPlane = 18 * kClampedWidth; // luma in both, or Cb and Cr
    alignas(64) uint8_t Temp[3 * kTempPlane * sizeof(uint16_t)];
    alignas(64) uint8_t Clamped[2 * kClampedPlane * sizeof(uint16_t)];
};

// What entropy decoding of a macroblock reads and writes, for its conductor (entropy/mb_decoder.h).
struct EntropyParts {
    SliceView Slice;
    MbState Mb; // the macroblock in hand
    EntropyState Entropy;
    MotionState Motion;
    CountCache Counts;
    MbResidual Coeffs;
};

struct SliceCursor : EntropyParts {
    PredictionScratch Scratch;
    int32_t CurrentMb = 0; // next macroblock of the picture
    int32_t MbsDone = 0;   // of the task in hand

    SliceCursor(); // with caches whose places outside of the neighbours are as they will stay
    SliceCursor(const SliceCursor&) = delete;
    SliceCursor& operator=(const SliceCursor&) = delete;

    // Goes to macroblock Number of the picture, in column X and row Y, finds its neighbours and clears its records.
    // IsField: in an MBAFF frame, behind FindPair(), it is a field macroblock, or is taken for one until its pair's
    // flag has been read.
    template <bool kMbaff>
    void BeginMacroblock(int32_t Number, int32_t X, int32_t Y, bool IsField = false);

    // MBAFF frames: finds the pairs around that of macroblock Number, before it is known what the pair is.
    void FindPair(int32_t Number, int32_t X, int32_t Y);

    // Takes the view of a slice.
    void View(const H264Slice& Slice);
    // Everything else that decoding of the slice starts with, but for the reader. Throws h264_exception when the
    // slice cannot be decoded.
    void Begin(const H264Slice& Slice);
    // Starts the reader. A unit without zeros behind it is first copied to pPadded, with them.
    void BeginReading(const H264Slice& Slice, uint32_t* pPadded);

private:
    void SeeAcrossKinds(bool IsField);
    void SeeTop();
    void SeeLeft(bool IsField);
    void BeginFieldReferences(const H264Slice& Slice);
    void BeginDirect(const H264Slice& Slice);
    void FindColocated(const H264Slice& Slice, const H264DecoderFrame& First);
    void NumberReferences();
    void BeginTables();
    void BeginChromaQp(SliceView::ChromaQpTable& Table, int32_t Offset);
};

inline void SliceCursor::FindPair(int32_t Number, int32_t X, int32_t Y)
{
    const MbGlobalInfo* const pGlobal = Slice.Records.pGlobal;
    Mb.Pairs.Find(
        Number, X, Y, Slice.Picture.MbWidth,
        [&](int32_t Neighbour) { return pGlobal[Neighbour].SliceId == Slice.SliceId; },
        [&](int32_t Neighbour) { return IsFieldMb(pGlobal[Neighbour]); });
}

// Two macroblocks may lie to the left of one in an MBAFF frame, and reference indices of field macroblocks count twice
// as high (clauses 9.3.3.1.1.4 and 9.3.3.1.1.6). Contexts read of each side one record that has what matters: of the
// left one quadrants 1 and 3, and whether refIdx is above 0, or above 1 where a frame macroblock meets a field one.
inline void SliceCursor::SeeAcrossKinds(bool IsField)
{
    if (!IsField && Mb.Top >= 0 && IsFieldMb(*Mb.pTopGlobal)) SeeTop();
    if (Mb.Left >= 0 && IsFieldMb(*Mb.pLeftGlobal) != IsField) SeeLeft(IsField);
}

template <bool kMbaff>
[[gnu::always_inline]] inline void SliceCursor::BeginMacroblock(int32_t Number, int32_t X, int32_t Y, bool IsField)
{
    MbGlobalInfo* const pGlobal = Slice.Records.pGlobal;
    const int32_t n = Number + Slice.Picture.FirstMb, Width = Slice.Picture.MbWidth;
    const auto IsUsable = [&](int32_t Neighbour) { return pGlobal[Neighbour].SliceId == Slice.SliceId; };
    h264::trace::BeginMacroblock(X, Y);
    Mb.Number = n;
    Mb.X = X;
    Mb.Y = Y;
    Mb.pGlobal = pGlobal + n;
    Mb.pLocal = Slice.Local.pLocal + n;
    if constexpr (kMbaff) {
        Mb.Pairs.GoTo(n);
        static_cast<MbAround&>(Mb) = Mb.Pairs.Around(IsField);
    } else {
        static_cast<MbAround&>(Mb) = FindAround(n, X, Y, Width, IsUsable);
    }
    Mb.pLeftGlobal = Mb.Left >= 0 ? pGlobal + Mb.Left : &Slice.NoGlobal;
    Mb.pTopGlobal = Mb.Top >= 0 ? pGlobal + Mb.Top : &Slice.NoGlobal;
    Mb.pLeftLocal = Mb.Left >= 0 ? Slice.Local.pLocal + Mb.Left : &Slice.NoLocal;
    Mb.pTopLocal = Mb.Top >= 0 ? Slice.Local.pLocal + Mb.Top : &Slice.NoLocal;
    *Mb.pGlobal = MbGlobalInfo{};
    Mb.pGlobal->SliceId = Slice.SliceId;
    if (kMbaff && IsField) Mb.pGlobal->MbFlags = MBFLAG_FIELD;
    *Mb.pLocal = MbLocalInfo{};
    Mb.pLocal->Qp = static_cast<int8_t>(Entropy.QpLuma);
    for (uint32_t& Bits : Coeffs.Bits) Bits = 0;
    if constexpr (kMbaff) SeeAcrossKinds(IsField);
}

} // namespace UMC
