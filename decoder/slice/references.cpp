#include "decoder/slice/references.h"

#include "Common/h264/chroma_geometry.h"
#include "decoder/picture/direct_tables.h"

#include <algorithm>

namespace UMC {

namespace {

constexpr int kNoField = -1;

// One sample of the middle of its range.
const uint8_t* GreySample(const PictureFormat& Format, int32_t Depth)
{
    static constexpr uint8_t kGrey = 128;
    static constexpr uint16_t kDeepGrey[] = {1 << 7, 1 << 8, 1 << 9, 1 << 10, 1 << 11, 1 << 12, 1 << 13}; // 8..14 bits
    return Format.SampleBytes() == 1 ? &kGrey : reinterpret_cast<const uint8_t*>(&kDeepGrey[Depth - 8]);
}

// What stands for a picture that cannot be predicted from.
ReferencePlanes MissingReference(const PictureFormat& Format)
{
    const uint8_t* const pChroma = GreySample(Format, Format.BitDepthChroma);
    return {{GreySample(Format, Format.BitDepthLuma), pChroma, pChroma}, 0, 0, 1, 1, 1, 1, 0};
}

// A list entry: a frame, or its field Field for a field or field macroblock of parity Parity.
ReferencePlanes DescribeReference(const H264DecoderFrame* pFrame, int Field, const H264DecoderFrame& Current,
                                  int Parity)
{
    const bool Usable = pFrame && pFrame->m_pPlaneY && pFrame->m_Format == Current.m_Format;
    if (!Usable) return MissingReference(Current.m_Format);
    const PictureView View = ViewPicture(*pFrame, Field == kNoField ? int{FRAME_PICTURE} : Field);
    const h264::ChromaGeometry& Chroma = h264::kChromaGeometry[View.ChromaFormat];
    // Table 8-9, 4:2:0 alone: the lines of a bottom field lie half a chroma line lower.
    const int32_t Offset = View.ChromaFormat == h264::CHROMA_420 ? 2 * (Parity - Field) : 0;
    return {{View.pPlane[0], View.pPlane[1], View.pPlane[2]},
            View.PitchLuma,
            View.PitchChroma,
            View.MbWidth * 16,
            View.MbHeight * 16,
            View.MbWidth * Chroma.MbWidth,
            View.MbHeight * Chroma.MbHeight,
            Offset};
}

// The fields that field macroblocks of a parity know the frames of the lists by.
H264DecoderRefPicList FieldsOf(const H264DecoderRefPicList& Frames, int Parity)
{
    H264DecoderRefPicList Fields{};
    for (int List = 0; List < 2; ++List)
        for (int i = 0; i < 32; ++i) {
            const int Field = Parity ^ (i & 1);
            Fields.List[List].Frame[i] = Frames.List[List].Frame[i / 2];
            Fields.List[List].Flag[i] =
                static_cast<uint8_t>((Frames.List[List].Flag[i / 2] & kRefFlagShortTerm) | Field);
        }
    return Fields;
}

} // namespace

void FillPictureReferences(const ReferenceSource& From, SliceReferences& References)
{
    const SliceHeaderFields& Header = From.Header;
    const bool IsP = Header.slice_type == SLICE_P, IsB = Header.slice_type == SLICE_B;
    References.Active[0] = IsP || IsB ? std::clamp(Header.num_ref_idx_l0_active, 1, 32) : 0;
    References.Active[1] = IsB ? std::clamp(Header.num_ref_idx_l1_active, 1, 32) : 0;
    References.ExplicitWeights =
        (IsP && From.PictureSet.weighted_pred_flag) || (IsB && From.PictureSet.weighted_bipred_idc == 1);
    References.ImplicitWeights = IsB && From.PictureSet.weighted_bipred_idc == 2;
    ReferenceSet& Set = References.Sets[REFERENCES_PICTURE];
    const bool IsField = Header.field_pic_flag != 0;
    const int Parity = IsField ? Header.bottom_field_flag : kNoField;
    for (int List = 0; List < 2; ++List)
        for (int i = 0; i < References.Active[List]; ++i) {
            const H264DecoderFrame* const pFrame = From.pLists ? From.pLists->List[List].Frame[i] : nullptr;
            const int Field = IsField && pFrame ? RefFlagField(From.pLists->List[List].Flag[i]) : kNoField;
            Set.Planes[List][i] = DescribeReference(pFrame, Field, From.Frame, Parity);
        }
}

void FillFieldReferences(const ReferenceSource& From, int32_t PicOrderCnt, SliceReferences& References)
{
    const int32_t TakenOff = PicOrderCnt - From.Frame.PicOrderCnt(); // by memory command 5
    SliceHeaderFields Header = From.Header;
    Header.field_pic_flag = 1;
    Header.num_ref_idx_l0_active = std::min(2 * References.Active[0], 32);
    Header.num_ref_idx_l1_active = std::min(2 * References.Active[1], 32);
    const int Count[2] = {Header.num_ref_idx_l0_active, Header.num_ref_idx_l1_active};
    const ReferenceSet& Frames = References.Sets[REFERENCES_PICTURE];
    for (int Parity = 0; Parity < 2; ++Parity) {
        ReferenceSet& Set = References.Sets[REFERENCES_TOP_FIELD + Parity];
        const H264DecoderRefPicList Fields = FieldsOf(*From.pLists, Parity);
        for (int List = 0; List < 2; ++List)
            for (int i = 0; i < Count[List]; ++i) {
                Set.Planes[List][i] = DescribeReference(Fields.List[List].Frame[i],
                                                        RefFlagField(Fields.List[List].Flag[i]), From.Frame, Parity);
                Set.Weights[List][i] = Frames.Weights[List][i / 2];
            }
        if (Header.slice_type == SLICE_B)
            ComputeDirectTables(Fields, Header, From.Frame.m_PicOrderCnt[Parity] + TakenOff, References.ImplicitWeights,
                                Set.Tables);
    }
}

} // namespace UMC
