// The arithmetic coder of clause 9.3.4 and, with it, CABAC slices of the simplest macroblocks.
#pragma once

#include "decoder/stream/cabac.h"
#include "tests/support/h264_macroblock_writer.h"

#include <cstdint>
#include <vector>

namespace test {

// The encoder of clause 9.3.4, in its plain bit-by-bit form: the opposite of what the engine does, written apart from
// it.
class CabacEncoder
{
public:
    explicit CabacEncoder(const h264::CabacContexts& Contexts) : m_Contexts(Contexts) {}

    void Decide(int Context, uint32_t Bin)
    {
        const uint32_t State = static_cast<uint32_t>(m_Contexts[static_cast<size_t>(Context)]);
        uint32_t pStateIdx = State >> 1, Mps = State & 1;
        const uint32_t Lps = h264::kRangeLps[pStateIdx][(m_Range >> 6) & 3];
        m_Range -= Lps;
        if (Bin != Mps) {
            m_Low += m_Range;
            m_Range = Lps;
            if (pStateIdx == 0) Mps ^= 1;
            pStateIdx = h264::kTransIdxLps[pStateIdx];
        } else {
            pStateIdx = h264::kTransIdxMps[pStateIdx];
        }
        m_Contexts[static_cast<size_t>(Context)] = h264::PackContext(pStateIdx, Mps);
        Renormalise();
    }
    void Bypass(uint32_t Bin)
    {
        m_Low *= 2;
        if (Bin) m_Low += m_Range;
        if (m_Low >= 1024) {
            PutBit(1);
            m_Low -= 1024;
        } else if (m_Low < 512) {
            PutBit(0);
        } else {
            m_Low -= 512;
            ++m_Outstanding;
        }
    }
    void Terminate(uint32_t Bin)
    {
        m_Range -= 2;
        if (!Bin) return Renormalise();
        m_Low += m_Range;
        m_Range = 2;
        Renormalise();
        PutBit(m_Low >> 9 & 1);
        m_Bits.push_back(m_Low >> 8 & 1);
        m_Bits.push_back(true);
    }
    // The engine anew, behind the samples of I_PCM; the contexts stay.
    void Restart()
    {
        m_Low = 0;
        m_Range = 510;
        m_First = true;
    }
    std::vector<bool> m_Bits;

private:
    void Renormalise()
    {
        while (m_Range < 256) {
            if (m_Low < 256) {
                PutBit(0);
            } else if (m_Low >= 512) {
                m_Low -= 512;
                PutBit(1);
            } else {
                m_Low -= 256;
                ++m_Outstanding;
            }
            m_Range *= 2;
            m_Low *= 2;
        }
    }
    void PutBit(uint32_t Bit)
    {
        if (m_First)
            m_First = false;
        else
            m_Bits.push_back(Bit != 0);
        for (; m_Outstanding > 0; --m_Outstanding) m_Bits.push_back(Bit == 0);
    }

    h264::CabacContexts m_Contexts;
    uint32_t m_Low = 0, m_Range = 510;
    int m_Outstanding = 0;
    bool m_First = true;
};

// Whole slices of Count macroblocks whose parameter set has CABAC: every sample Value, or P_Skip.
Bytes CabacPcmSlice(const SeqParamSet& Seq, const PicParamSet& Pic, Slice Slice, uint8_t Value, int Count);
Bytes CabacSkipSlice(const SeqParamSet& Seq, const PicParamSet& Pic, Slice Slice, int Count);
// One macroblock, B_8x8 with four direct blocks and a level of 1 in the first 4x4 block; HasFlag: with
// transform_size_8x8_flag 0.
Bytes CabacDirect8x8Slice(const SeqParamSet& Seq, const PicParamSet& Pic, Slice Slice, bool HasFlag);
// One macroblock of a P slice, P_L0_16x16: its reference, vector difference and residual. The levels of an 8x8 block
// stand one behind the other in its four 4x4 blocks.
Bytes CabacInterSlice(const SeqParamSet& Seq, const PicParamSet& Pic, Slice Slice, const Macroblock& Mb);
// Macroblocks of Intra_16x16 alone, monochrome or 4:4:4.
Bytes CabacIntra16x16Slice(const SeqParamSet& Seq, const PicParamSet& Pic, Slice Slice,
                           const std::vector<Macroblock>& Mbs);

} // namespace test
