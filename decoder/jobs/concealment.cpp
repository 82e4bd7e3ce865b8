#include "decoder/jobs/concealment.h"

#include "Common/h264/chroma_geometry.h"
#include "decoder/jobs/segment_decoder_hp.h"
#include "decoder/slice/neighbours.h"

#include <algorithm>
#include <cstring>

namespace UMC {

namespace {

// Where the samples come from; null for nowhere.
const H264DecoderFrame* FindSource(const H264Slice& Slice, const H264DBPList* pDpb)
{
    const H264DecoderFrame& Frame = *Slice.m_pFrame;
    const H264DecoderFrame* pSource = Slice.m_pRefPicList ? Slice.m_pRefPicList->List[0].Frame[0] : nullptr;
    if (!pSource || pSource->m_IsSkipped) pSource = pDpb ? pDpb->FindClosestForConcealment(&Frame) : nullptr;
    // Ranges of memory only match in pictures laid out alike.
    return pSource && pSource->m_Format == Frame.m_Format ? pSource : nullptr;
}

// The bytes From to To - 1 of a plane.
template <class Sample>
void CopyOrFill(uint8_t* pPlane, const uint8_t* pReference, ptrdiff_t From, ptrdiff_t To)
{
    if (pReference)
        std::memcpy(pPlane + From, pReference + From, static_cast<size_t>(To - From));
    else
        std::fill(reinterpret_cast<Sample*>(pPlane + From), reinterpret_cast<Sample*>(pPlane + To),
                  Sample{kGreySample});
}

using Restorer = void (*)(uint8_t*, const uint8_t*, ptrdiff_t, ptrdiff_t);
Restorer RestorerOf(const PictureView& Picture)
{
    return Picture.SampleBytes == 1 ? CopyOrFill<uint8_t> : CopyOrFill<uint16_t>;
}

// The lines of a field within a range of memory, which takes in the other field's: those stay as they are. So do the
// macroblocks in front of the first one, which were decoded. Height of a macroblock in lines, Width of the plane in
// bytes.
void CopyOrFillField(Restorer Restore, uint8_t* pPlane, const uint8_t* pReference, ptrdiff_t Pitch, int Width,
                     int Height, ptrdiff_t From, ptrdiff_t To)
{
    const ptrdiff_t FirstLine = From / Pitch, Left = From % Pitch;
    for (ptrdiff_t y = FirstLine; y * Pitch < To; ++y) {
        const ptrdiff_t Begin = y * Pitch + (y < FirstLine + Height ? Left : 0);
        const ptrdiff_t End = std::min(y * Pitch + Width, To);
        if (Begin < End) Restore(pPlane, pReference, Begin, End);
    }
}

} // namespace

void ConcealMacroblocks(int32_t Start, int32_t End, const H264Slice& Slice, const H264DBPList* pDpb)
{
    if (Start >= End || Slice.m_UsesSliceGroups) return;
    const SliceHeaderFields& Header = Slice.m_Header;
    Slice.m_pFrame->m_FrameExists = false;
    if (!FindSegmentDecoder(*Slice.m_pSeqParamSet, Header.field_pic_flag != 0, Header.MbaffFrameFlag != 0)) return;
    const PictureView Picture = ViewPicture(*Slice.m_pFrame, Header);
    const auto Patch = Header.MbaffFrameFlag ? CopyOrFillPairs : CopyOrFillRect;
    if (const H264DecoderFrame* const pSource = FindSource(Slice, pDpb)) {
        if (pSource == Slice.m_pFrame) return; // its first field: this field would be copied to itself
        const PictureView Source = ViewPicture(*pSource, Header);
        Patch(Start, End, Picture, &Source);
    } else {
        Patch(Start, End, Picture, nullptr);
    }
}

// The planes are taken as lines of memory: a range starts at the first macroblock's top left sample and ends at that of
// the last. The lowest lines of the last row of macroblocks stay as they were; deliberate, as the picture is not shown.
// Deliberate too: of a bottom field's range the first half alone is restored.
void CopyOrFillRect(int32_t Start, int32_t End, const PictureView& Picture, const PictureView* pReference)
{
    const h264::ChromaGeometry& Chroma = h264::kChromaGeometry[Picture.ChromaFormat];
    const Restorer Restore = RestorerOf(Picture);
    for (int i = 0; i < (Chroma.Blocks ? 3 : 1); ++i) {
        const ptrdiff_t Pitch = i == 0 ? Picture.PitchLuma : Picture.PitchChroma;
        const int Width = i == 0 ? 16 : Chroma.MbWidth, Height = i == 0 ? 16 : Chroma.MbHeight;
        const auto Offset = [&](int32_t Mb) {
            const MbPlace Place = PlaceOf<false>(Mb, Picture.MbWidth);
            return Place.Y * Height * Pitch + Place.X * Width * Picture.SampleBytes;
        };
        const uint8_t* const pFrom = pReference ? pReference->pPlane[i] : nullptr;
        const ptrdiff_t From = Offset(Start), To = Offset(End);
        if (Picture.IsField)
            CopyOrFillField(Restore, Picture.pPlane[i], pFrom, Pitch, Picture.MbWidth * Width * Picture.SampleBytes,
                            Height, From, Picture.IsBottom ? From + (To - From) / 2 : To);
        else
            Restore(Picture.pPlane[i], pFrom, From, To);
    }
}

// The places of Start and End are those of these numbers in a frame without pairs; deliberate, as above. What lies
// between them and belongs to other pairs was decoded and stays.
void CopyOrFillPairs(int32_t Start, int32_t End, const PictureView& Picture, const PictureView* pReference)
{
    const h264::ChromaGeometry& Chroma = h264::kChromaGeometry[Picture.ChromaFormat];
    const Restorer Restore = RestorerOf(Picture);
    const MbPlace First = PlaceOf<false>(Start, Picture.MbWidth), Last = PlaceOf<false>(End, Picture.MbWidth);
    for (int i = 0; i < (Chroma.Blocks ? 3 : 1); ++i) {
        const ptrdiff_t Pitch = i == 0 ? Picture.PitchLuma : Picture.PitchChroma;
        const int Width = (i == 0 ? 16 : Chroma.MbWidth) * Picture.SampleBytes, Height = i == 0 ? 16 : Chroma.MbHeight;
        for (int32_t y = First.Y * Height; y <= Last.Y * Height; ++y) {
            const int32_t FirstInRow = y / (2 * Height) * Picture.MbWidth; // pairs
            int32_t Left = std::max((Start + 1) / 2 - FirstInRow, 0),
                    Right = std::min(End / 2 - FirstInRow, Picture.MbWidth);
            if (y == First.Y * Height) Left = std::max(Left, First.X);
            if (y == Last.Y * Height) Right = std::min(Right, Last.X);
            if (Left < Right)
                Restore(Picture.pPlane[i], pReference ? pReference->pPlane[i] : nullptr, y * Pitch + Left * Width,
                        y * Pitch + Right * Width);
        }
    }
}

} // namespace UMC
