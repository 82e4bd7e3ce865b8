// The AMD engine when memory runs out: each request fails once. A call answers as its contract has it, the object works
// again after its next Init, and nothing stays behind.
#include "tests/AMF/amd_run_time.h"

#include "front/load.h"
#include "front/probes.h"
#include "front/selection.h"
#include "platform/exception_frame.h"
#include "tests/front/out_of_memory.h"
#include "tests/support/drivers/heap_watch.h"
#include "tests/support/silent_log.h"

using namespace amd;

namespace {

struct AmdOutOfMemory : AmdTest {
    HeapWatch OfTheLibrary;
};

} // namespace

TEST_F(AmdOutOfMemory, EachRequestOfASessionMayFail)
{
    const SilentLog Silent;
    const Bytes In = Picture(0);
    amd::Unit Coded;
    Shown Out;
    const auto Session = [&](size_t n) {
        CVCodecH264AMD* const pCodec = new (std::nothrow) CVCodecH264AMD;
        if (!pCodec) return;
        const auto EncodeOne = [&] {
            return pCodec->Encode(In.data(), Coded.Room.data(), &Coded.Length, 0, &Coded.Type);
        };
        const auto DecodeOne = [&] {
            return pCodec->Decode(Coded.Room.data(), Coded.Length, Out.I420.data(), nullptr);
        };
        if (!amd::InitEncoder(*pCodec)) { // and its failure is passed over
            EXPECT_EQ(EncodeOne(), 0) << n;
            EXPECT_TRUE(amd::InitEncoder(*pCodec)) << n;
        }
        EXPECT_EQ(EncodeOne(), 1) << n;
        if (!pCodec->SetBitrate(400)) {
            EXPECT_TRUE(amd::InitEncoder(*pCodec)) << n;
        }
        EXPECT_EQ(EncodeOne(), 1) << n;
        if (!amd::InitDecoder(*pCodec)) {
            EXPECT_TRUE(amd::InitDecoder(*pCodec)) << n;
        }
        EXPECT_EQ(DecodeOne(), 1) << n;
        EXPECT_EQ(pCodec->Release(), 0) << n;
        GetMyBufferMgr().FreeAll(); // so that the next session asks for its picture
        EXPECT_EQ(Script().Live(), 0) << n;
    };
    EXPECT_GE(out_of_memory::ForEachRequest(Session), 2u); // the object and its picture
}

TEST_F(AmdOutOfMemory, EachRequestOfTheTrialMayFail)
{
    const SilentLog Silent;
    ResetSelectionState();
    const auto Session = [&](size_t n) {
        IVCodec* pCodec = nullptr;
        uint32_t Code = 0; // the selection has a frame around its steps
        const bool bEnded = platform::Guarded([&] { pCodec = CreateAMDH264hwVCodec(0); }, Code);
        EXPECT_TRUE(bEnded || Code == platform::kFaultCppException) << n;
        EXPECT_TRUE(pCodec || n) << n;
        if (pCodec) {
            EXPECT_EQ(pCodec->GetBackendTag(), kBackendAmd);
            EXPECT_EQ(pCodec->Release(), 0) << n;
        }
        EXPECT_EQ(AmdProbeHangCount, 0);
        EXPECT_EQ(Script().Live(), 0) << n;
    };
    EXPECT_GE(out_of_memory::ForEachRequest(Session), 3u); // the trial's record, its thread and the object
}

TEST_F(AmdOutOfMemory, APictureWithoutMemoryIsAsserted)
{
    const auto pCodec = NewCodec();
    {
        const FailingAllocation Fail(1, FailingAllocation::After::Fail);
        EXPECT_FALSE(amd::InitEncoder(*pCodec));
    }
    EXPECT_TRUE(Log().With("InitEncoder() res").empty());
    EXPECT_EQ(GetMyBufferMgr().InUse(), 1); // counts requests, the failed one included
    GetMyBufferMgr().FreeAll();
    EXPECT_TRUE(amd::InitEncoder(*pCodec));
}

TEST_F(AmdOutOfMemory, TheLoadOfTheLibraryEndsInAResult)
{
    g_AMFFactory.Terminate();
    for (size_t n = 0; n < 12; ++n) {
        const SilentLog Silent;
        {
            const FailingAllocation Fail(n);
            OnLibraryLoad();
        }
        if (g_AMFFactory.GetFactory()) {
            EXPECT_TRUE(CVCodecH264AMD::IsSupportH264hw_0());
        }
        OnLibraryUnload();
        std::construct_at(&g_AMFFactory);
    }
}

// ---- The pool ---------------------------------------------------------------------------------------------------

TEST(AmdPool, ABufferThatIsNotRememberedIsFreed)
{
    CMyBufferMgr Pool;
    for (int n = 0; n < 200; ++n) { // some of them need memory to be remembered
        uint8_t* const pBuffer = Pool.GetBuffer(100);
        ASSERT_TRUE(pBuffer);
        const FailingAllocation Fail(1, FailingAllocation::After::Fail);
        Pool.FreeBuffer(pBuffer);
        EXPECT_EQ(Pool.IdleCount(), Fail.Failed() ? 0u : 1u) << n;
        EXPECT_EQ(Pool.InUse(), 0);
    }
}
