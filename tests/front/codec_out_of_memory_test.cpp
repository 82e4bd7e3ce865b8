// Whole coding sessions when memory runs out: each request fails once. A call answers as its contract has it, the
// object works again after its next Init, and nothing stays behind.
#include "tests/front/out_of_memory.h"

using namespace out_of_memory;

namespace {

constexpr uint8_t kDelimiter[] = {0, 0, 0, 1, 9, 0xF0};

// A stream, and what the decoder makes of each of its units.
struct Coded {
    std::vector<Bytes> Units;
    std::vector<Bytes> Decoded;
};

const Coded& Stream()
{
    static const Coded s_Coded = [] {
        Coded All;
        IVCodec *const pEncoder = CreateVCodec(0), *const pDecoder = CreateVCodec(100);
        EXPECT_TRUE(InitEncoder(*pEncoder) && InitDecoder(*pDecoder));
        Unit Out;
        for (int i = 0; i < kPictures; ++i) {
            EXPECT_EQ(Encode(*pEncoder, i, Out), 1);
            All.Units.push_back(Out.Copy());
        }
        All.Units.emplace_back(std::begin(kDelimiter), std::end(kDelimiter));
        for (const Bytes& Access : All.Units) {
            All.Decoded.emplace_back(kSize.I420Bytes());
            EXPECT_EQ(pDecoder->Decode(Access.data(), static_cast<int32_t>(Access.size()), All.Decoded.back().data(),
                                       nullptr),
                      1);
        }
        pEncoder->Release();
        pDecoder->Release();
        return All;
    }();
    return s_Coded;
}

int32_t Decode(IVCodec& Codec, size_t Index, Bytes& Out, int32_t* pType = nullptr)
{
    const Bytes& Access = Stream().Units[Index];
    return Codec.Decode(Access.data(), static_cast<int32_t>(Access.size()), Out.data(), pType);
}

} // namespace

TEST(CodecOutOfMemory, AnEncodingSessionAnswersEachCallAndRecovers)
{
    Pictures();
    Unit Out;
    const auto Session = [&](size_t n) {
        IVCodec* const pCodec = CreateVCodec(0);
        if (!pCodec) return;
        bool bOpen = InitEncoder(*pCodec);
        if (!bOpen) bOpen = InitEncoder(*pCodec); // one request fails, so the next Init finds memory
        EXPECT_TRUE(bOpen) << n;
        for (int i = 0; i < kPictures && bOpen; ++i) {
            if (Encode(*pCodec, i, Out) == 1) {
                EXPECT_GT(Out.Length, 0) << n;
            } else {
                EXPECT_EQ(Out.Length, 0) << n;
                EXPECT_EQ(Out.Type, -7) << n;
            }
        }
        if (bOpen) pCodec->SetBitrate(90);
        const auto IsWhole = [&] {
            return InitEncoder(*pCodec) && Encode(*pCodec, 0, Out) == 1 && Out.Type == kFrameI &&
                   Encode(*pCodec, 1, Out) == 1 && Out.Type == kFrameP;
        };
        EXPECT_TRUE(IsWhole() || IsWhole()) << n; // one request fails: of two tries one finds all its memory
        EXPECT_EQ(pCodec->Release(), 0) << n;
    };
    EXPECT_GT(ForEachRequest(Session), 20u);
}

TEST(CodecOutOfMemory, ADecodingSessionAnswersEachCallAndRecovers)
{
    const Coded& All = Stream();
    Bytes Out(kSize.I420Bytes());
    const auto Session = [&](size_t n) {
        IVCodec* const pCodec = CreateVCodec(100);
        if (!pCodec) return;
        bool bOpen = InitDecoder(*pCodec);
        if (!bOpen) bOpen = InitDecoder(*pCodec);
        EXPECT_TRUE(bOpen) << n;
        for (size_t i = 0; i < All.Units.size() && bOpen; ++i) {
            int32_t Type = -7;
            const int32_t Result = Decode(*pCodec, i, Out, &Type);
            EXPECT_TRUE(Result == 1 || (Result == 0 && Type == -7)) << n;
        }
        const auto IsWhole = [&] {
            bool bWhole = InitDecoder(*pCodec);
            for (size_t i = 0; i < All.Units.size(); ++i)
                bWhole = bWhole && Decode(*pCodec, i, Out) == 1 && Out == All.Decoded[i];
            return bWhole;
        };
        EXPECT_TRUE(IsWhole() || IsWhole()) << n; // one request fails: of two tries one finds all its memory
        EXPECT_EQ(pCodec->Release(), 0) << n;
    };
    EXPECT_GT(ForEachRequest(Session), 20u);
}

// A key picture brings the same session back.
TEST(CodecOutOfMemory, ADecoderThatLostAPictureGoesOnAtTheNextKeyPicture)
{
    const Coded& All = Stream(); // a key picture in four
    Bytes Out(kSize.I420Bytes());
    const auto Session = [&](size_t n) {
        IVCodec* const pCodec = CreateVCodec(100);
        if (!pCodec) return;
        if (InitDecoder(*pCodec)) {
            for (size_t i = 0; i < All.Units.size(); ++i) Decode(*pCodec, i, Out);
            const auto IsWhole = [&] {
                Decode(*pCodec, 0, Out); // the key picture again, whatever came before
                bool bWhole = true;
                for (size_t i = 1; i < 4; ++i) bWhole = Decode(*pCodec, i, Out) == 1 && Out == All.Decoded[i] && bWhole;
                return bWhole;
            };
            EXPECT_TRUE(IsWhole() || IsWhole()) << n;
        }
        pCodec->Release();
    };
    EXPECT_GT(ForEachRequest(Session), 20u);
}
