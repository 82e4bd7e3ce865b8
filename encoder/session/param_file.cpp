// The encoder's text parameter file.
#include "encoder/state/encoder_params.h"

#include <cstdarg>
#include <cstdio>
#include <memory>

namespace UMC {

namespace {

struct CloseFile {
    void operator()(std::FILE* p) const { std::fclose(p); }
};

// Hands out the values of the file line by line and remembers the first line that has too few.
class ParamFile
{
public:
    explicit ParamFile(const char* pPath) : m_File(std::fopen(pPath, "r")) {}
    bool IsOpen() const { return m_File != nullptr; }
    bool Good() const { return m_Good; }
    void SkipLine() { ReadLine(); }

    // The next line's values, in order; those after the last one asked for are ignored. Nothing is stored from a line
    // with too few values, nor from any line after it.
    template <class... Field>
    void Line(Field&... Fields)
    {
        int Values[5] = {};
        if (!m_Good || !ReadLine()) {
            m_Good = false;
            return;
        }
        const int Found =
            std::sscanf(m_Line, "%d %d %d %d %d", &Values[0], &Values[1], &Values[2], &Values[3], &Values[4]);
        if (Found < static_cast<int>(sizeof...(Fields))) {
            m_Good = false;
            return;
        }
        // Byte fields keep the low byte of what the file says.
        const int* pValue = Values;
        ((Fields = static_cast<Field>(*pValue++)), ...);
    }

private:
    bool ReadLine() { return m_File && std::fgets(m_Line, sizeof(m_Line), m_File.get()) != nullptr; }

    std::unique_ptr<std::FILE, CloseFile> m_File;
    char m_Line[255]; // lines hold at most 254 characters
    bool m_Good = true;
};

// The codes of the film and television rates stand for whole numbers.
double FrameRateOfCode(int32_t Code)
{
    switch (Code) {
    case 1: return 15.0;
    case 2: return 24.0;
    case 3: return 25.0;
    case 6: return 50.0;
    case 7:
    case 8: return 60.0;
    default: return 30.0;
    }
}

} // namespace

Status H264EncoderParams::ReadParamFile(const char* pPath)
{
    if (!pPath) return StatusNullPointer;
    ParamFile File(pPath);
    if (!File.IsOpen()) return StatusOpenFailed;
    for (int i = 0; i < 3; ++i) File.SkipLine();
    int32_t FrameRateCode = 0, Ignored = 0;
    File.Line(num_frames);
    File.Line(key_frame_method, key_frame_interval, idr_interval);
    File.Line(num_b_frames, b_ref_mode);
    File.Line(num_ref_frames, num_ref_to_start_b, num_slices);
    File.Line(profile_idc, level_idc);
    File.Line(m_Info.m_Width);
    File.Line(m_Info.m_Height);
    File.Line(FrameRateCode);
    if (File.Good()) m_Info.m_FrameRate = FrameRateOfCode(FrameRateCode);
    File.Line(chroma_format_idc, bit_depth_luma, bit_depth_chroma);
    File.Line(aux_format_idc, bit_depth_aux, alpha_incr_flag, alpha_opaque_value, alpha_transparent_value);
    File.Line(rate_control_method, quant_i, quant_p, quant_b, m_Info.m_Bitrate);
    File.Line(search_method, partition_level, search_x, search_y);
    File.Line(use_weighted_pred, use_weighted_bipred, use_implicit_weighted_bipred);
    File.Line(direct_pred_mode, direct_8x8_inference);
    File.Line(deblocking_filter_idc, deblocking_alpha_offset, deblocking_beta_offset);
    if (File.Good()) {
        deblocking_alpha_offset &= ~1;
        deblocking_beta_offset &= ~1;
    }
    File.Line(transform_8x8_mode, use_default_scaling_matrix, qpprime_y_zero_transform_bypass);
    File.Line(Ignored);
    File.Line(Ignored);
    File.Line(entropy_coding_mode, cabac_init_idc);
    File.Line(coding_type);
    File.Line(analysis_level);
    return File.Good() ? StatusOk : StatusInvalidParams;
}

} // namespace UMC
