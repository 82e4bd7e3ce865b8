// The elements of a macroblock with a listing beside them (Common/h264/trace/element_trace.h), in place of those that
// only read. Developer builds use them.
#pragma once

#include "Common/h264/trace/element_trace.h"
#include "decoder/slice/slice_cursor.h"

#include <cstdint>
#include <utility>

namespace UMC {

// Over CavlcSyntax or CabacSyntax.
template <class Elements>
struct TracedElements : Elements {
    template <class... A>
    static bool SkipFlag(A&&... a)
    {
        return Listed("mb_skip_flag", Elements::SkipFlag(std::forward<A>(a)...));
    }
    template <class... A>
    static bool FieldDecodingFlag(A&&... a)
    {
        return Listed("mb_field_decoding_flag", Elements::FieldDecodingFlag(std::forward<A>(a)...));
    }
    template <class... A>
    static uint32_t MbTypeI(A&&... a)
    {
        return Listed("mb_type", Elements::MbTypeI(std::forward<A>(a)...));
    }
    template <class... A>
    static uint32_t MbTypeP(A&&... a)
    {
        return Listed("mb_type", Elements::MbTypeP(std::forward<A>(a)...));
    }
    template <class... A>
    static uint32_t MbTypeB(A&&... a)
    {
        return Listed("mb_type", Elements::MbTypeB(std::forward<A>(a)...));
    }
    template <class... A>
    static uint32_t SubMbTypeP(A&&... a)
    {
        return Listed("sub_mb_type", Elements::SubMbTypeP(std::forward<A>(a)...));
    }
    template <class... A>
    static uint32_t SubMbTypeB(A&&... a)
    {
        return Listed("sub_mb_type", Elements::SubMbTypeB(std::forward<A>(a)...));
    }
    template <class... A>
    static uint32_t TransformSize8x8Flag(A&&... a)
    {
        return Listed("transform_size_8x8_flag", Elements::TransformSize8x8Flag(std::forward<A>(a)...));
    }
    template <class... A>
    static int IntraMode(A&&... a)
    {
        return Listed("rem_intra_pred_mode", Elements::IntraMode(std::forward<A>(a)...));
    }
    template <class... A>
    static uint8_t IntraChromaMode(A&&... a)
    {
        return Listed("intra_chroma_pred_mode", Elements::IntraChromaMode(std::forward<A>(a)...));
    }
    template <class... A>
    static uint8_t CodedBlockPattern(A&&... a)
    {
        return Listed("coded_block_pattern", Elements::CodedBlockPattern(std::forward<A>(a)...));
    }
    template <class... A>
    static int DeltaQp(A&&... a)
    {
        return Listed("mb_qp_delta", Elements::DeltaQp(std::forward<A>(a)...));
    }
    template <class... A>
    static int RefIdx(A&&... a)
    {
        return Listed("ref_idx", Elements::RefIdx(std::forward<A>(a)...));
    }
    template <class... A>
    static h264::MotionVector Mvd(A&&... a)
    {
        const h264::MotionVector Difference = Elements::Mvd(std::forward<A>(a)...);
        h264::trace::Element("mvd", Difference.x, Difference.y);
        return Difference;
    }

private:
    template <class T>
    static T Listed(const char* pName, T Value)
    {
        h264::trace::Element(pName, Value);
        return Value;
    }
};

// Over a residual reader: names each block in front of its levels.
template <class Residual>
struct TracedResidual : Residual {
    template <class... A>
    static bool LumaDc(A&&... a)
    {
        h264::trace::Element("luma_dc", 0);
        return Residual::LumaDc(std::forward<A>(a)...);
    }
    template <class... A>
    static bool LumaAc(EntropyState& e, const MbState& Mb, CountCache& Counts, int Block, A&&... a)
    {
        h264::trace::Element("luma", Block);
        return Residual::LumaAc(e, Mb, Counts, Block, std::forward<A>(a)...);
    }
    template <class... A>
    static bool Luma4x4(EntropyState& e, const MbState& Mb, CountCache& Counts, int Block, A&&... a)
    {
        h264::trace::Element("luma", Block);
        return Residual::Luma4x4(e, Mb, Counts, Block, std::forward<A>(a)...);
    }
    template <class... A>
    static bool Luma8x8(EntropyState& e, const MbState& Mb, CountCache& Counts, int Quadrant, A&&... a)
    {
        h264::trace::Element("luma_8x8", Quadrant);
        return Residual::Luma8x8(e, Mb, Counts, Quadrant, std::forward<A>(a)...);
    }
    template <class... A>
    static bool ChromaDc(EntropyState& e, const MbState& Mb, int Plane, A&&... a)
    {
        h264::trace::Element("chroma_dc", Plane);
        return Residual::ChromaDc(e, Mb, Plane, std::forward<A>(a)...);
    }
    template <class... A>
    static bool ChromaAc(EntropyState& e, const MbState& Mb, CountCache& Counts, int Plane, int Block, A&&... a)
    {
        h264::trace::Element("chroma_ac", Plane, Block);
        return Residual::ChromaAc(e, Mb, Counts, Plane, Block, std::forward<A>(a)...);
    }
};

} // namespace UMC
