// A policy of WriteMacroblockSyntax with a listing beside it (Common/h264/trace/element_trace.h). Developer builds use
// it.
#pragma once

#include "Common/h264/trace/element_trace.h"
#include "encoder/state/encoder_types.h"
#include "encoder/write/block_levels.h"

#include <cstdint>

namespace UMC_H264_ENCODER {

template <class Policy>
class TracedSyntax : public Policy
{
public:
    using Policy::Policy;

    void Skip(bool IsSkip)
    {
        h264::trace::Element("mb_skip_flag", IsSkip);
        Policy::Skip(IsSkip);
    }
    void MbTypeI(uint32_t Type)
    {
        h264::trace::Element("mb_type", Type);
        Policy::MbTypeI(Type);
    }
    void MbTypeP(uint32_t Type)
    {
        h264::trace::Element("mb_type", Type);
        Policy::MbTypeP(Type);
    }
    void IntraMode(int32_t Rem)
    {
        h264::trace::Element("rem_intra_pred_mode", Rem);
        Policy::IntraMode(Rem);
    }
    void IntraChromaMode(uint32_t Mode)
    {
        h264::trace::Element("intra_chroma_pred_mode", Mode);
        Policy::IntraChromaMode(Mode);
    }
    void RefIdx(uint32_t Ref, uint32_t Count)
    {
        h264::trace::Element("ref_idx", Ref);
        Policy::RefIdx(Ref, Count);
    }
    void Difference(MotionVector d)
    {
        h264::trace::Element("mvd", d.x, d.y);
        Policy::Difference(d);
    }
    void CodedBlockPattern(uint32_t Pattern, bool IsIntraMb)
    {
        h264::trace::Element("coded_block_pattern", Pattern);
        Policy::CodedBlockPattern(Pattern, IsIntraMb);
    }
    void QpDelta(int32_t Delta)
    {
        h264::trace::Element("mb_qp_delta", Delta);
        Policy::QpDelta(Delta);
    }
    template <class LevelType>
    void LumaDc(const BlockLevels<LevelType>* pLevels)
    {
        h264::trace::Element("luma_dc", 0);
        List(pLevels);
        Policy::LumaDc(pLevels);
    }
    template <class LevelType>
    void ChromaDc(uint32_t Plane, uint32_t Blocks, const BlockLevels<LevelType>* pLevels)
    {
        h264::trace::Element("chroma_dc", Plane);
        List(pLevels);
        Policy::ChromaDc(Plane, Blocks, pLevels);
    }
    template <class LevelType>
    void Luma(h264::BlockCat Cat, uint32_t Index, const BlockLevels<LevelType>* pLevels)
    {
        h264::trace::Element("luma", Index);
        List(pLevels);
        Policy::Luma(Cat, Index, pLevels);
    }
    template <class LevelType>
    void ChromaAc(uint32_t Plane, uint32_t Index, const BlockLevels<LevelType>* pLevels)
    {
        h264::trace::Element("chroma_ac", Plane, Index);
        List(pLevels);
        Policy::ChromaAc(Plane, Index, pLevels);
    }

private:
    // From the last one on, as they are read.
    template <class LevelType>
    static void List(const BlockLevels<LevelType>* pLevels)
    {
        for (int32_t i = pLevels ? pLevels->Count : 0; i-- > 0;)
            h264::trace::Level(pLevels->Position[i], pLevels->Level[i]);
    }
};

} // namespace UMC_H264_ENCODER
