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

    void Skip(bool IsSkip, bool IsB)
    {
        h264::trace::Element("mb_skip_flag", IsSkip);
        Policy::Skip(IsSkip, IsB);
    }
    void SkipBeside(bool IsSkip, bool IsB, uint8_t LeftType, uint8_t TopType)
    {
        h264::trace::Element("mb_skip_flag", IsSkip);
        Policy::SkipBeside(IsSkip, IsB, LeftType, TopType);
    }
    void FieldFlag(bool IsField, uint32_t Context)
    {
        h264::trace::Element("mb_field_decoding_flag", IsField);
        Policy::FieldFlag(IsField, Context);
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
    void MbTypeB(uint32_t Type)
    {
        h264::trace::Element("mb_type", Type);
        Policy::MbTypeB(Type);
    }
    void SubMbTypeP(uint32_t Type)
    {
        h264::trace::Element("sub_mb_type", Type);
        Policy::SubMbTypeP(Type);
    }
    void SubMbTypeB(uint32_t Type)
    {
        h264::trace::Element("sub_mb_type", Type);
        Policy::SubMbTypeB(Type);
    }
    void Transform8x8(bool Is8x8)
    {
        h264::trace::Element("transform_size_8x8_flag", Is8x8);
        Policy::Transform8x8(Is8x8);
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
    void RefIdx(uint32_t Quadrant, uint32_t Ref, uint32_t Count)
    {
        h264::trace::Element("ref_idx", Ref);
        Policy::RefIdx(Quadrant, Ref, Count);
    }
    void Difference(uint32_t List, uint32_t Block, const MotionVector* pOwn)
    {
        h264::trace::Element("mvd", pOwn[Block].x, pOwn[Block].y);
        Policy::Difference(List, Block, pOwn);
    }
    void CodedBlockPattern(uint32_t Pattern, bool IsIntraMb, bool HasChroma)
    {
        h264::trace::Element("coded_block_pattern", Pattern);
        Policy::CodedBlockPattern(Pattern, IsIntraMb, HasChroma);
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
    void Luma8x8(uint32_t Quadrant, const BlockLevels8x8<LevelType>* pBlocks, const BlockLevels<LevelType>* pLists)
    {
        h264::trace::Element("luma_8x8", Quadrant);
        if constexpr (Policy::kCabac) {
            List(&pBlocks[Quadrant]);
        } else {
            // By their places in the quadrant, list by list.
            for (int32_t Part = 0; Part < 4; ++Part) List(&pLists[4 * Quadrant + static_cast<uint32_t>(Part)], 4, Part);
        }
        Policy::Luma8x8(Quadrant, pBlocks, pLists);
    }
    template <class LevelType>
    void ChromaAc(uint32_t Plane, uint32_t Index, const BlockLevels<LevelType>* pLevels)
    {
        h264::trace::Element("chroma_ac", Plane, Index);
        List(pLevels);
        Policy::ChromaAc(Plane, Index, pLevels);
    }

private:
    // From the last one on, as they are read. Position n of the list is n * Step + First of the block.
    template <class Block>
    static void List(const Block* pLevels, int32_t Step = 1, int32_t First = 0)
    {
        for (int32_t i = pLevels ? pLevels->Count : 0; i-- > 0;)
            h264::trace::Level(pLevels->Position[i] * Step + First, pLevels->Level[i]);
    }
};

} // namespace UMC_H264_ENCODER
