#include "decoder/session/dump/decoding_statistics.h"

#include "media/umc_video_data.h"

#include <algorithm>

namespace UMC {

namespace {

constexpr const char* kTypeName[4] = {"None", "I_PICTURE", "P_PICTURE", "B_PICTURE"};

int32_t TypeOf(const H264DecoderFrame& Frame) { return Frame.m_FrameType & 3; }

int32_t BitsOf(const H264DecoderFrame& Frame)
{
    return static_cast<int32_t>((Frame.m_Au[0].m_UnitBytes + Frame.m_Au[1].m_UnitBytes) * 8);
}

struct MbCounts {
    int32_t ByType[MBTYPE_BIDIRECTIONAL + 1] = {}, SubTypes[4] = {};
    int32_t Direct = 0, Skipped = 0, ZeroMvs = 0;
};

// Whether an inter macroblock has no vector but 0.
bool IsStill(const H264DecoderFrame& Frame, int32_t Mb)
{
    const auto First = static_cast<size_t>(Mb) * 16;
    for (int List = 0; List < 2; ++List)
        for (size_t i = First; i < First + 16; ++i) {
            const h264::MotionVector& Mv = Frame.m_MbInfo.pMv[List][i];
            if (Frame.m_MbInfo.pRefIdx[List][i] >= 0 && (Mv.x != 0 || Mv.y != 0)) return false;
        }
    return true;
}

MbCounts CountMbs(const H264DecoderFrame& Frame)
{
    MbCounts Counts;
    for (int32_t Mb = 0; Mb < Frame.m_Format.MbCount(); ++Mb) {
        const MbGlobalInfo& Info = Frame.m_MbInfo.pGlobal[Mb];
        if (Info.SliceId == kNoSlice) continue;
        ++Counts.ByType[Info.MbType];
        const bool IsSkipped = Info.MbType == MBTYPE_SKIPPED || (Info.MbFlags & MBFLAG_SKIPPED) != 0;
        Counts.Skipped += IsSkipped;
        Counts.Direct += Info.MbType == MBTYPE_DIRECT && !IsSkipped;
        Counts.ZeroMvs += Info.MbType > MBTYPE_PCM && IsStill(Frame, Mb);
        if (Info.MbType != MBTYPE_INTER8x8 && Info.MbType != MBTYPE_INTER8x8_REF0) continue;
        for (const uint8_t SubType : Info.SubBlockType)
            if (SubType < 4) ++Counts.SubTypes[SubType]; // else direct
    }
    return Counts;
}

void WriteLists(const H264DecoderFrame& Frame, std::FILE* pOut)
{
    const H264DecoderRefPicList* const pLists = Frame.RefPicListOf(1);
    for (int List = 0; List < 2 && pLists; ++List) {
        std::fprintf(pOut, List == 0 ? "\n ref list 0 \n" : "\n ref list 1 \n");
        for (H264DecoderFrame* const* p = pLists->List[List].Frame; *p; ++p)
            std::fprintf(pOut, "ref frame uid - %d\n", (*p)->m_Uid);
    }
}

void WriteMbs(const H264DecoderFrame& Frame, std::FILE* pOut)
{
    const MbCounts Counts = CountMbs(Frame);
    const auto Of = [&](MbType Type) { return Counts.ByType[Type]; };
    std::fprintf(pOut, "I16x16 - %d\n", Of(MBTYPE_INTRA16x16));
    std::fprintf(pOut, "I4x4 - %d\n", Of(MBTYPE_INTRA4x4));
    if (Frame.m_FrameType == I_PICTURE) return;
    std::fprintf(pOut, "Inter16x16 - %d\n",
                 Of(MBTYPE_INTER16x16) + Of(MBTYPE_FORWARD) + Of(MBTYPE_BACKWARD) + Of(MBTYPE_BIDIRECTIONAL));
    std::fprintf(pOut, "Inter16x8 - %d\n", Of(MBTYPE_INTER16x8));
    std::fprintf(pOut, "Inter8x16 - %d\n", Of(MBTYPE_INTER8x16));
    std::fprintf(pOut, "Inter8x8 - %d\n", Of(MBTYPE_INTER8x8));
    std::fprintf(pOut, "Inter8x8_Ref0 - %d\n", Of(MBTYPE_INTER8x8_REF0));
    std::fprintf(pOut, " subtype 8x8 - %d\n", Counts.SubTypes[0]);
    std::fprintf(pOut, " subtype 8x4 - %d\n", Counts.SubTypes[1]);
    std::fprintf(pOut, " subtype 4x8 - %d\n", Counts.SubTypes[2]);
    std::fprintf(pOut, " subtype 4x4 - %d\n", Counts.SubTypes[3]);
    if (Frame.m_FrameType == B_PICTURE) std::fprintf(pOut, "Direct - %d\n", Counts.Direct);
    std::fprintf(pOut, "Skipped - %d\n", Counts.Skipped);
    std::fprintf(pOut, "Zero MVs count - %d\n", Counts.ZeroMvs);
}

} // namespace

void DecodingStatistics::Add(const H264DecoderFrame& Frame, std::FILE* pOut)
{
    const int32_t Type = TypeOf(Frame), Bits = BitsOf(Frame);
    ++m_Totals[Type].Frames;
    m_Totals[Type].Bits += Bits;
    std::fprintf(pOut, "frame type - %s, uid - %d, size - %d\n", kTypeName[Type], Frame.m_Uid, Bits);
    WriteLists(Frame, pOut);
    WriteMbs(Frame, pOut);
}

void DecodingStatistics::WriteTotals(std::FILE* pOut) const
{
    for (int Type = I_PICTURE; Type <= B_PICTURE; ++Type) {
        const Total& t = m_Totals[Type];
        std::fprintf(pOut, "%s frames - %d, size in bits - %d, avg size - %d\n", kTypeName[Type], t.Frames, t.Bits,
                     t.Frames != 0 ? t.Bits / t.Frames : 0);
    }
}

} // namespace UMC
