#include "tools/h264_encode/param_fields.h"

#include <charconv>
#include <functional>
#include <map>
#include <type_traits>

namespace tools {

using UMC::H264EncoderParams;

namespace {

// How a field is written and read. Without a setter it is not to be had by its name: the command line has it otherwise.
struct Field {
    std::function<bool(H264EncoderParams&, const std::string&)> Set;
    std::function<JsonValue(const H264EncoderParams&)> Get;
};

template <class T>
bool Parse(const std::string& Text, T& Value)
{
    const char* const pEnd = Text.data() + Text.size();
    const auto [pLast, Error] = std::from_chars(Text.data(), pEnd, Value);
    return Error == std::errc() && pLast == pEnd;
}

// A field of any integer type, from a whole number that fits into it.
template <class T>
Field Integer(T H264EncoderParams::*pField)
{
    return {[pField](H264EncoderParams& p, const std::string& Text) { return Parse(Text, p.*pField); },
            [pField](const H264EncoderParams& p) { return JsonValue(p.*pField); }};
}

template <class T>
Field Info(T UMC::VideoStreamInfo::*pField)
{
    return {[pField](H264EncoderParams& p, const std::string& Text) { return Parse(Text, p.m_Info.*pField); },
            [pField](const H264EncoderParams& p) { return JsonValue(p.m_Info.*pField); }};
}

template <class Getter>
Field ReadOnly(Getter Get)
{
    return {nullptr, Get};
}

JsonValue TuningValues(const H264EncoderParams& p)
{
    const H264EncoderParams::Tuning& t = p.tuning;
    return JsonArray{t.Word0, t.Word1, t.Word2, t.Word3, t.Word4, t.Value0, t.Value1, t.Value2};
}

const std::map<std::string, Field>& Fields()
{
    using P = H264EncoderParams;
#define FIELD(Name)                                                                                                    \
    {                                                                                                                  \
#Name, Integer(&P::Name)                                                                                       \
    }
    static const std::map<std::string, Field> Table{
        FIELD(chroma_format_idc),
        FIELD(coding_type),
        FIELD(num_b_frames),
        FIELD(b_ref_mode),
        FIELD(num_ref_frames),
        FIELD(num_ref_to_start_b),
        FIELD(level_idc),
        FIELD(rate_control_method),
        FIELD(quant_i),
        FIELD(quant_p),
        FIELD(quant_b),
        FIELD(num_slices),
        FIELD(keep_pattern_at_key),
        FIELD(deblocking_filter_idc),
        FIELD(deblocking_alpha_offset),
        FIELD(deblocking_beta_offset),
        FIELD(search_method),
        FIELD(partition_level),
        FIELD(search_x),
        FIELD(search_y),
        FIELD(use_weighted_pred),
        FIELD(use_weighted_bipred),
        FIELD(use_implicit_weighted_bipred),
        FIELD(direct_pred_mode),
        FIELD(direct_8x8_inference),
        FIELD(entropy_coding_mode),
        FIELD(cabac_init_idc),
        FIELD(write_access_unit_delimiters),
        FIELD(key_frame_method),
        FIELD(key_frame_interval),
        FIELD(idr_interval),
        FIELD(profile_idc),
        FIELD(transform_8x8_mode),
        FIELD(qpprime_y_zero_transform_bypass),
        FIELD(use_default_scaling_matrix),
        FIELD(aux_format_idc),
        FIELD(alpha_incr_flag),
        FIELD(alpha_opaque_value),
        FIELD(alpha_transparent_value),
        FIELD(bit_depth_aux),
        FIELD(bit_depth_luma),
        FIELD(bit_depth_chroma),
        FIELD(num_frames),
        FIELD(analysis_level),
        {"bitrate", Info(&UMC::VideoStreamInfo::m_Bitrate)},
        {"frame_rate", Info(&UMC::VideoStreamInfo::m_FrameRate)},
        {"width", ReadOnly([](const P& p) { return JsonValue(p.m_Info.m_Width); })},
        {"height", ReadOnly([](const P& p) { return JsonValue(p.m_Info.m_Height); })},
        {"threads", ReadOnly([](const P& p) { return JsonValue(p.m_NumThreads); })},
        {"quality", ReadOnly([](const P& p) { return JsonValue(p.m_Quality); })},
        {"tuning", ReadOnly(TuningValues)}};
#undef FIELD
    return Table;
}

} // namespace

std::string SetField(H264EncoderParams& Params, const std::string& Assignment)
{
    const size_t Equals = Assignment.find('=');
    if (Equals == std::string::npos) return "expected NAME=VALUE, got '" + Assignment + "'";
    const std::string Name = Assignment.substr(0, Equals), Value = Assignment.substr(Equals + 1);
    const auto Found = Fields().find(Name);
    if (Found == Fields().end() || !Found->second.Set) return "unknown field '" + Name + "'";
    if (!Found->second.Set(Params, Value)) return "'" + Value + "' is no value for " + Name;
    return {};
}

std::string FieldNames()
{
    std::string Names;
    for (const auto& [Name, Each] : Fields())
        if (Each.Set) Names += (Names.empty() ? "" : " ") + Name;
    return Names;
}

JsonObject FieldValues(const H264EncoderParams& Params)
{
    JsonObject Values;
    for (const auto& [Name, Each] : Fields()) Values.push_back({Name, Each.Get(Params)});
    return Values;
}

} // namespace tools
