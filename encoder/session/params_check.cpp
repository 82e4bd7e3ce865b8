#include "encoder/session/params_check.h"

#include "Common/h264/levels.h"
#include "encoder/state/encoder_frame.h"
#include "encoder/state/encoder_types.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace UMC_H264_ENCODER {

using UMC::H264EncoderParams;
using UMC::Status;

namespace {

template <class T>
void ReplaceOutside(T& Field, int32_t Low, int32_t High, int32_t Replacement)
{
    if (Field < Low || Field > High) Field = static_cast<T>(Replacement);
}

// Samples of a picture are found by 32-bit offsets, and so are the bytes that code it. The room counts as the frame's
// padding and pitch do, generously.
bool IsTooLarge(const UMC::VideoStreamInfo& Info)
{
    constexpr int64_t kRoom = 512;
    return (Info.m_Width + kRoom) * (Info.m_Height + kRoom) > std::numeric_limits<int32_t>::max() / 4;
}

// Pictures that wait for an anchor are all held, and order counts of 16 bits tell no more of them apart.
constexpr int32_t kMostBFrames = 1 << 14;

void CheckRates(UMC::VideoStreamInfo& Info)
{
    if (!IsBitrate(Info.m_Bitrate)) Info.m_Bitrate = H264EncoderParams::kDefaultBitrate;
    if (!IsFrameRate(Info.m_FrameRate)) Info.m_FrameRate = H264EncoderParams::kDefaultFrameRate;
}

void CheckGop(H264EncoderParams& p)
{
    if (p.key_frame_interval == 1) {
        p.num_b_frames = 0;
        p.num_ref_frames = 1;
    }
    p.key_frame_method = 1;
    if (p.key_frame_interval < 0) p.key_frame_interval = 250;
    if (p.idr_interval < 0) p.idr_interval = 4;
    if (p.num_b_frames < 0) p.num_b_frames = 0;
    // b_ref_mode is deliberately never corrected: any value passes.
    ReplaceOutside(p.num_ref_frames, 0, 16, 2);
    if (p.num_b_frames > 0 && (p.num_ref_to_start_b < 1 || p.num_ref_to_start_b > p.num_ref_frames - 1)) {
        if (p.num_ref_to_start_b < 1) p.num_ref_to_start_b = 1;
        p.num_ref_frames = std::min(p.num_ref_to_start_b, 16) + 1; // the level allows no more in any case
    }
}

void CheckSlices(H264EncoderParams& p)
{
    p.m_NumThreads = 1;
    if (p.num_slices < 1) p.num_slices = static_cast<int16_t>(p.m_NumThreads);
    const int32_t Rows = (p.m_Info.m_Height + 15) / 16;
    if (p.num_slices > Rows) p.num_slices = static_cast<int16_t>(Rows);
}

void CheckLevel(H264EncoderParams& p)
{
    if (!h264::FindLevel(p.level_idc))
        p.level_idc = ChooseLevel(p.m_Info.m_Width, p.m_Info.m_Height, p.m_Info.m_FrameRate);
}

Status CheckHighFormat(const H264EncoderParams& p)
{
    for (const int32_t Depth : {p.bit_depth_luma, p.bit_depth_chroma, p.bit_depth_aux})
        if (Depth < 8 || Depth > 12) return UMC::StatusInvalidParams;
    if (p.chroma_format_idc > 2) return UMC::StatusNotImplemented;
    // Values that no stream can state.
    if (p.chroma_format_idc < 0 || p.aux_format_idc < 0 || p.aux_format_idc > 3) return UMC::StatusInvalidParams;
    return UMC::StatusOk;
}

bool IsEightBit(const H264EncoderParams& p)
{
    return p.bit_depth_luma == 8 && p.bit_depth_chroma == 8 && p.bit_depth_aux == 8;
}

bool FitsMainProfile(const H264EncoderParams& p)
{
    return IsEightBit(p) && p.aux_format_idc == 0 && p.alpha_incr_flag == 0 && p.alpha_opaque_value == 0 &&
           p.alpha_transparent_value == 0 && p.chroma_format_idc == 1 && p.transform_8x8_mode == 0 &&
           p.use_default_scaling_matrix == 0;
}

// Raises the profile until it carries what the other settings ask for.
Status CheckProfile(H264EncoderParams& p)
{
    for (;;) {
        switch (p.profile_idc) {
        case 66:
            if (p.num_b_frames > 0) {
                p.profile_idc = 77;
                break;
            }
            [[fallthrough]];
        case 77:
        case 88:
            if (FitsMainProfile(p)) return UMC::StatusOk;
            p.profile_idc = 100;
            break;
        case 100:
            if (!IsEightBit(p) || p.chroma_format_idc > 1) {
                p.profile_idc = 110;
                break;
            }
            [[fallthrough]];
        case 110:
        case 122:
            if (!p.qpprime_y_zero_transform_bypass) return CheckHighFormat(p);
            p.profile_idc = 144;
            break;
        case 144: return CheckHighFormat(p);
        default: return UMC::StatusInvalidParams;
        }
    }
}

void CheckQuantisers(H264EncoderParams& p)
{
    // The fields are bytes, so the lower bound of deep samples, which is negative, never bites.
    for (uint8_t* pQp : {&p.quant_i, &p.quant_p, &p.quant_b}) ReplaceOutside(*pQp, -6 * (p.bit_depth_luma - 8), 51, 0);
}

void CheckTools(H264EncoderParams& p)
{
    ReplaceOutside(p.search_method, SEARCH_FULL, SEARCH_UMBRELLA, SEARCH_HEXAGON_LOG);
    ReplaceOutside(p.partition_level, 0, 3, 1);
    ReplaceOutside(p.use_weighted_pred, 0, 1, 0);
    ReplaceOutside(p.use_weighted_bipred, 0, 1, 0);
    ReplaceOutside(p.use_implicit_weighted_bipred, 0, 1, 0);
    ReplaceOutside(p.direct_pred_mode, 0, 2, 2);
    ReplaceOutside(p.direct_8x8_inference, 0, 1, 0);
    ReplaceOutside(p.deblocking_filter_idc, 0, 2, 0);
    ReplaceOutside(p.deblocking_alpha_offset, -12, 12, 6);
    ReplaceOutside(p.deblocking_beta_offset, -12, 12, 6);
    ReplaceOutside(p.entropy_coding_mode, 0, 1, 0);
    ReplaceOutside(p.cabac_init_idc, 0, 2, 0);
    if (p.coding_type >= 3) p.coding_type = 0;
}

} // namespace

bool IsBitrate(int32_t BitsPerSecond) { return BitsPerSecond > 0; }
bool IsFrameRate(double FramesPerSecond) { return std::isfinite(FramesPerSecond) && FramesPerSecond > 0.0; }

uint8_t ChooseLevel(int32_t Width, int32_t Height, double FrameRate)
{
    const int64_t Macroblocks = ((int64_t{Width} + 15) / 16) * ((int64_t{Height} + 15) / 16);
    const double Rate = std::trunc(static_cast<double>(Macroblocks) * FrameRate);
    for (const h264::LevelLimits& l : h264::kLevelLimits) {
        // 1.3 and 4.1 are deliberately never chosen: in size and rate they allow no more than 2 and 4.
        if (l.level_idc == 13 || l.level_idc == 41) continue;
        if (Macroblocks <= l.MaxFS && Rate <= l.MaxMBPS) return l.level_idc;
    }
    return 51; // the highest, whatever it is asked to hold
}

int32_t ReferenceLimit(const H264EncoderParams& p)
{
    const int64_t w = (int64_t{p.m_Info.m_Width} + 15) / 16;
    const int64_t h = CodedRows(p.m_Info.m_Height, p.coding_type == CODING_FRAMES) / 16;
    return h264::PictureBufferFrames(p.level_idc, static_cast<uint32_t>(w), static_cast<uint32_t>(h));
}

Status CheckParams(H264EncoderParams& p)
{
    if (p.m_Info.m_Width < 1 || p.m_Info.m_Height < 1) return UMC::StatusInitFailed;
    if (IsTooLarge(p.m_Info) || p.num_b_frames > kMostBFrames) return UMC::StatusAllocFailed;
    CheckRates(p.m_Info);
    CheckGop(p);
    CheckSlices(p);
    CheckLevel(p);
    if (const Status s = CheckProfile(p); s != UMC::StatusOk) return s;
    ReplaceOutside(p.rate_control_method, RATE_CONTROL_NONE, RATE_CONTROL_CONSTANT_QP, RATE_CONTROL_LONG_WINDOWS);
    p.num_ref_frames = std::min(p.num_ref_frames, ReferenceLimit(p));
    CheckQuantisers(p);
    CheckTools(p);
    return UMC::StatusOk;
}

uint32_t AnalysisFlags(const H264EncoderParams& p)
{
    uint32_t Flags = ENC_ANALYSE_I4X4 | ENC_ANALYSE_I8X8 | ENC_ANALYSE_ME_EARLY_EXIT | ENC_ANALYSE_SUBPEL;
    if (p.partition_level != 0) Flags |= ENC_ANALYSE_P_8X8 | ENC_ANALYSE_B_8X8;
    if (p.partition_level > 1) Flags |= ENC_ANALYSE_P_SUB8X8 | ENC_ANALYSE_B_SUB8X8;
    if (p.analysis_level == 0) Flags |= ENC_ANALYSE_SAD;
    if (p.analysis_level >= 1 && p.chroma_format_idc != 0) Flags |= ENC_ANALYSE_ME_CHROMA;
    if (p.analysis_level >= 2 && p.entropy_coding_mode) Flags |= ENC_ANALYSE_RD_MODE | ENC_ANALYSE_RECODE;
    if (p.analysis_level >= 3 && p.entropy_coding_mode) Flags |= ENC_ANALYSE_RD_OPT | ENC_ANALYSE_RECODE;
    if (p.analysis_level >= 4) Flags |= ENC_ANALYSE_ALL_REFS;
    if (p.direct_pred_mode == 2) Flags |= ENC_ANALYSE_DIRECT_AUTO;
    return Flags;
}

} // namespace UMC_H264_ENCODER
