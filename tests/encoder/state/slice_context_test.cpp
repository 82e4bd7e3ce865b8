// The parts of a slice: what a stage is given const it can only read, to the last sample and record.
#include "encoder/decide/macroblock_decision.h"
#include "encoder/state/slice_context.h"

#include <gtest/gtest.h>

#include <type_traits>

namespace {

using namespace UMC_H264_ENCODER;

template <class Holder>
concept WritesSamples = requires(Holder& mb)
{
    mb.pRecY[0] = mb.pRecU[0] = mb.pRecV[0] = 1;
};
template <class Holder>
concept WritesSource = requires(Holder& mb)
{
    mb.pSrcY[0] = 1;
};
template <class Holder>
concept WritesSlice = requires(Holder& mb)
{
    mb.pSlice->slice_type = 1;
}
|| requires(Holder& mb) { mb.pQuant->Qp = 1; };
template <class Holder>
concept WritesRecords = requires(Holder& mb)
{
    mb.Records.pLocal->Cost = 1;
}
|| requires(Holder& mb) { mb.Records.pGlobal->Type = MB_PCM; }
|| requires(Holder& mb) { mb.Records.pVectors[0][0] = MotionVector{}; }
|| requires(Holder& mb) { mb.Records.pReferences[0][0] = 1; }
|| requires(Holder& mb) { mb.Records.pDifferences[0][0] = MotionVector{}; }
|| requires(Holder& mb) { mb.Records.pIntraModes[0] = 1; }
|| requires(Holder& mb) { mb.Records.pCounts[0] = 1; };

TEST(SliceParts, AConstMacroblockIsOnlyRead)
{
    using Mb = CurrentMacroblock<uint8_t>;
    static_assert(WritesSamples<Mb> && WritesRecords<Mb>);
    static_assert(!WritesSamples<const Mb> && !WritesRecords<const Mb>);
    static_assert(!WritesSource<Mb> && !WritesSlice<Mb>); // what is given to be coded, and how, is for nobody to write
    // A decision gets nothing else of the macroblock.
    static_assert(
        std::is_same_v<decltype(AnalyseMacroblock<uint8_t>),
                       Candidate(const EncoderSettings&, const Mb&, WorkArea<uint8_t>&, TrialCoder<uint8_t>*)>);
}

TEST(SliceParts, ARecordReachedThroughADeepPointerIsTheOnePointedAt)
{
    LocalMacroblock Local{};
    MacroblockRecords r;
    r.pLocal = &Local;
    r.pLocal->Cost = 7;
    const MacroblockRecords& Reader = r;
    EXPECT_EQ(Local.Cost, 7);
    EXPECT_EQ(Reader.pLocal->Cost, 7);
    EXPECT_EQ(&*Reader.pLocal, &Local);
    EXPECT_EQ(MacroblockRecords{}.pLocal, nullptr);
}

} // namespace
