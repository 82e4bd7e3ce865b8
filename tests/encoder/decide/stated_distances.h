// A macroblock that is decided again where a test states every distance: to a place in a reference, to a prediction
// that is derived or joined, or to one that is intra. QP 12 makes a bit's price 1.
#pragma once

#include "encoder/session/core_init.h"
#include "encoder/session/frame_step.h"
#include "kernels/dispatch/kernels.h"
#include "media/umc_default_memory_allocator.h"
#include "tests/encoder/encoder_testing.h"
#include "tests/encoder/slice_stages.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <set>
#include <vector>

namespace encoder_testing {

using namespace UMC_H264_ENCODER;

// What a block of the source is compared with. x and y count 4x4 blocks.
struct Compared {
    enum Where { DERIVED, JOINED, INTRA, REFERENCE };
    int Width, Height, x, y;
    Where With;
    int Ref = -1;       // place of the reference in coding order, 0 the first picture
    int dx = 0, dy = 0; // of the place in it from the block's own, in samples

    bool Is(int W, int H) const { return Width == W && Height == H; }
};

class StatedDistances : public testing::Test
{
protected:
    static constexpr int32_t kSide = 48, kQp = 12;
    static constexpr int32_t kVector = 2, kRef = 1; // prices of a vector as predicted and of the only reference

    /// Codes grey pictures, of which the last is the one whose last macroblock is decided again.
    /// @param Pictures  coded before it
    void Start(int Pictures, const std::function<void(UMC::H264EncoderParams&)>& Set)
    {
        UMC::H264EncoderParams p = SizedParams(kSide, kSide);
        p.rate_control_method = 3;
        p.quant_i = p.quant_p = p.quant_b = kQp;
        p.deblocking_filter_idc = 1;
        p.num_ref_frames = Pictures;
        Set(p);
        ASSERT_EQ(InitCore(c, p, &m_Allocator), UMC::StatusOk);
        Picture Grey(kSide * kSide * 3 / 2, 100);
        UMC::VideoData Input;
        InitInput(p, Input);
        UMC::MediaData Output(1 << 20);
        for (int Given = 0, Coded = 0; Coded <= Pictures;) {
            Input.SetBufferPointer(Grey.data(), Grey.size());
            Output.Reset();
            c.Request = Given > Pictures ? static_cast<uint32_t>(REQUEST_FLUSH) : 0;
            const UMC::Status s = FrameStep(c, Given++ > Pictures ? nullptr : &Input, &Output);
            ASSERT_TRUE(s == UMC::StatusOk || (c.State & STATE_NEED_INPUT));
            if (s != UMC::StatusOk) continue;
            ++Coded;
            m_Frames.push_back(c.Job.pCurrent);
        }
        ASSERT_EQ(Mb().mb_index, 8);
        // Nothing that a skip could be.
        for (int32_t i = 0; i < 256; ++i) m_Source[i] = i % 5 == 0 ? uint8_t{250} : uint8_t{100};
        Mb().pSrcY = m_Source;
        Mb().pSrcU = Mb().pSrcV = m_Grey;
        Mb().SrcPitch = 16;
        std::fill_n(m_Grey, 16 * 16, uint8_t{100});
        c.Settings.AnalysisFlags &= ~static_cast<uint32_t>(ENC_ANALYSE_SUBPEL | ENC_ANALYSE_I4X4 | ENC_ANALYSE_I8X8);
        c.Settings.ThresholdME[kQp] = kLimit;
        TakeKernels();
    }
    void StartP(int Pictures, int32_t Level)
    {
        Start(Pictures, [Level](auto& p) { p.partition_level = Level; });
        ASSERT_EQ(Slice().Facts.slice_type, h264::SLICE_P);
    }
    /// One reference in each list: picture 0 in list 0, picture 1 in list 1.
    void StartB(
        int32_t Level, const std::function<void(UMC::H264EncoderParams&)>& Set = [](auto&) {})
    {
        Start(2, [&](auto& p) {
            p.num_b_frames = 1;
            p.partition_level = Level;
            Set(p);
        });
        auto& s = Slice().Facts;
        ASSERT_EQ(s.slice_type, h264::SLICE_B);
        s.num_ref_idx_l0 = s.num_ref_idx_l1 = 1;
        ASSERT_EQ(s.ref_pic_lists.Pictures[0][0].pFrame, m_Frames[0]);
        ASSERT_EQ(s.ref_pic_lists.Pictures[1][0].pFrame, m_Frames[1]);
    }
    Slice8& Slice() { return c.Job.Slices[0]; }
    CurrentMacroblock<uint8_t>& Mb() { return Slice().cur_mb; }
    const MacroblockMotion& Motion() { return Slice().work_area.Motion[0]; }

    Candidate Decide()
    {
        m_Seen.clear();
        auto& s = Slice();
        return s.Facts.slice_type == h264::SLICE_B ? DecideB<uint8_t>(c.Settings, s.cur_mb, 0, s.work_area, nullptr)
                                                   : DecideP<uint8_t>(c.Settings, s.cur_mb, 0, s.work_area, nullptr);
    }
    size_t Seen(int Width, int Height) const
    {
        return static_cast<size_t>(
            std::count_if(m_Seen.begin(), m_Seen.end(), [&](const Compared& s) { return s.Is(Width, Height); }));
    }
    /// The references that a part was searched in.
    std::set<int> RefsOf(int Width, int Height, int x, int y) const
    {
        std::set<int> Refs;
        for (const Compared& s : m_Seen)
            if (s.Is(Width, Height) && s.x == x && s.y == y && s.With == Compared::REFERENCE) Refs.insert(s.Ref);
        return Refs;
    }
    void TearDown() override { kernels::g_Kernels = m_Kernels; }

    static constexpr int32_t kLimit = 160;
    UMC::DefaultMemoryAllocator m_Allocator;
    Core8 c;
    std::function<int32_t(const Compared&)> m_Distance; // what the test states
    std::vector<Compared> m_Seen;                       // by the last Decide

private:
    void TakeKernels()
    {
        s_pTest = this;
        auto& k = kernels::g_Kernels;
        k.Sad16x16 = Stated<16, 16>;
        k.Sad16x8 = Stated<16, 8>;
        k.Sad8x16 = Stated<8, 16>;
        k.Sad8x8 = Stated<8, 8>;
        k.Sad8x4 = Stated<8, 4>;
        k.Sad4x8 = Stated<4, 8>;
        k.Sad4x4 = Stated<4, 4>;
        k.Sad16x16x4 = [](const uint8_t* pA, ptrdiff_t StepA, const uint8_t* const ppB[4], ptrdiff_t StepB,
                          int32_t* pSum) {
            for (int i = 0; i < 4; ++i) pSum[i] = Stated<16, 16>(pA, StepA, ppB[i], StepB);
        };
    }
    template <int kWidth, int kHeight>
    static int32_t Stated(const uint8_t* pA, ptrdiff_t, const uint8_t* pB, ptrdiff_t)
    {
        StatedDistances& t = *s_pTest;
        if (pA < t.m_Source || pA >= t.m_Source + 256) return 0; // chroma
        const auto At = static_cast<int>(pA - t.m_Source);
        Compared s{kWidth, kHeight, At % 16 / 4, At / 64, t.WhereIs(pB)};
        if (s.With == Compared::REFERENCE) t.FindPlace(pB, s);
        t.m_Seen.push_back(s);
        return t.m_Distance(s);
    }
    Compared::Where WhereIs(const uint8_t* p)
    {
        const WorkArea<uint8_t>& w = Slice().work_area;
        const auto IsIn = [p](const uint8_t* pBlock) { return p >= pBlock && p < pBlock + 256; };
        if (IsIn(w.Inter[0].PredY)) return Compared::DERIVED;
        if (IsIn(w.JoinedY)) return Compared::JOINED;
        if (IsIn(w.IntraY[0]) || IsIn(w.IntraY[1])) return Compared::INTRA;
        return Compared::REFERENCE;
    }
    void FindPlace(const uint8_t* p, Compared& s)
    {
        for (size_t i = 0; i < m_Frames.size(); ++i) {
            const auto& f = *m_Frames[i];
            if (p < f.m_pY - kLumaPadding * (f.m_Pitch + 1) || p >= f.m_pY + (kSide + kLumaPadding) * f.m_Pitch)
                continue;
            s.Ref = static_cast<int>(i);
            constexpr ptrdiff_t kAbove = 1024; // rows, so that none counts as negative
            const ptrdiff_t Own = Mb().pPosition->Luma + 4 * s.y * f.m_Pitch + 4 * s.x,
                            Off = p - f.m_pY - Own + kAbove * f.m_Pitch + f.m_Pitch / 2;
            s.dy = static_cast<int>(Off / f.m_Pitch - kAbove);
            s.dx = static_cast<int>(Off % f.m_Pitch - f.m_Pitch / 2);
            return;
        }
        ADD_FAILURE() << "a place in no picture";
    }

    static inline StatedDistances* s_pTest = nullptr;
    kernels::KernelSlots m_Kernels = kernels::g_Kernels; // those of the processor, which come back at the end
    std::vector<const H264EncoderFrame<uint8_t>*> m_Frames;
    uint8_t m_Source[256], m_Grey[256];
};

} // namespace encoder_testing
