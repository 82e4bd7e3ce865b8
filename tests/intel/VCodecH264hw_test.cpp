// The Intel engine's object: its slots, its assertions, and the frame around each of them.
#include "tests/intel/intel_test.h"

#include "front/engines.h"
#include "tests/support/interface_slots.h"

using namespace intel_test;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class IntelCodec : public IntelEngine
{
};

std::vector<std::string> TextsOf(const std::vector<LogLine>& Lines)
{
    static const std::regex s_Line("line=[0-9]+");
    std::vector<std::string> Texts;
    for (const LogLine& Line : Lines) Texts.push_back(std::regex_replace(Line.Text, s_Line, "line=N"));
    return Texts;
}

} // namespace

TEST_F(IntelCodec, TagsTellTheImplementation)
{
    const std::pair<int32_t, uint32_t> kKinds[] = {{1, 0x51535648}, {2, 0x51535653}, {3, 0x51535653}};
    for (const auto& [Kind, Tag] : kKinds) {
        const Engine Codec(Kind);
        EXPECT_EQ(Codec->GetBackendTag(), Tag);
        EXPECT_EQ(Codec->GetFamilyTag(), 0x495050u);
    }
    EXPECT_THAT(m_Script.Trace(), IsEmpty()); // neutral: no session
}

TEST_F(IntelCodec, EveryKindButTheSecondIsHardware)
{
    const Engine Codec(3);
    EXPECT_EQ(Codec->InitEncoder(96, 64, 15, 30, 400), 1);
    EXPECT_EQ(m_Script.Trace().front(), "MFXInit impl=4 major=1 minor=1");
}

TEST_F(IntelCodec, TheLastReferenceTearsBothSidesDown)
{
    auto* const pCodec = new CVCodecH264hw(1);
    ASSERT_EQ(pCodec->InitEncoder(96, 64, 15, 30, 400), 1);
    ASSERT_EQ(pCodec->InitDecoder(96, 64), 1);
    EXPECT_EQ(m_Script.Live("session"), 2);
    EXPECT_EQ(pCodec->AddRef(), 2);
    EXPECT_EQ(pCodec->Release(), 1);
    EXPECT_EQ(m_Script.Live("session"), 2);
    EXPECT_EQ(pCodec->Release(), 0);
    EXPECT_EQ(m_Script.Live(), 0);
}

TEST_F(IntelCodec, ResetGivesUpBothSessionsAndKeepsTheObject)
{
    const Engine Codec;
    ASSERT_EQ(Codec->InitEncoder(96, 64, 15, 30, 400), 1);
    ASSERT_EQ(Codec->InitDecoder(96, 64), 1);
    EXPECT_EQ(Codec->Reset(), 0);
    EXPECT_EQ(m_Script.Live(), 0);
    EXPECT_EQ(Encode(*Codec, 0).Result, 0);
    EXPECT_EQ(Codec->Reset(), 0);
    ASSERT_EQ(Codec->InitEncoder(96, 64, 15, 30, 400), 1);
    EXPECT_EQ(Encode(*Codec, 0).Type, 1);
}

TEST_F(IntelCodec, NullPointersAreAssertedInOrder)
{
    const Engine Codec;
    ASSERT_EQ(Codec->InitEncoder(96, 64, 15, 30, 400), 1);
    m_Log.Clear();
    Bytes Room(96 * 64 * 3);
    int32_t Length = 77, Type = 78;
    const uint8_t* const pIn = Picture(0).data();
    EXPECT_EQ(Codec->Encode(nullptr, nullptr, nullptr, 0, &Type), 0);
    EXPECT_EQ(Codec->Encode(pIn, nullptr, nullptr, 0, &Type), 0);
    EXPECT_EQ(Codec->Encode(pIn, Room.data(), nullptr, 0, &Type), 0);
    EXPECT_EQ(Codec->Encode(nullptr, Room.data(), &Length, 0, &Type), 0);
    EXPECT_EQ(Length, 77);
    EXPECT_EQ(Type, 78);
    EXPECT_THAT(TextsOf(m_Log.Lines()), ElementsAre("Assert failed: file=VCodecH264hw line=N expr=InBuf",
                                                    "Assert failed: file=VCodecH264hw line=N expr=OutBuf",
                                                    "Assert failed: file=VCodecH264hw line=N expr=pdwOutLen",
                                                    "Assert failed: file=VCodecH264hw line=N expr=InBuf"));
    EXPECT_EQ(m_Log.Lines().front().Level, kLogError);
    EXPECT_EQ(m_Script.Calls("MFXVideoENCODE_EncodeFrameAsync"), 0);
}

TEST_F(IntelCodec, ASizeOrARateOfNothingIsAsserted)
{
    const Engine Codec;
    EXPECT_EQ(Codec->InitEncoder(0, 64, 15, 30, 400), 0);
    EXPECT_EQ(Codec->InitEncoder(96, 0, 15, 30, 400), 0);
    EXPECT_EQ(Codec->SetBitrate(0), 0);
    EXPECT_THAT(TextsOf(m_Log.Lines()),
                ElementsAre("Assert failed: file=VCodecH264hw line=N expr=PictureWidth && PictureHeight",
                            "Assert failed: file=VCodecH264hw line=N expr=PictureWidth && PictureHeight",
                            "Assert failed: file=VCodecH264hw line=N expr=iKbps"));
    EXPECT_THAT(m_Script.Trace(), IsEmpty());
}

TEST_F(IntelCodec, SetBitrateAnswers0InAllCases)
{
    const Engine Codec;
    EXPECT_EQ(Codec->SetBitrate(300), 0); // no encoder
    ASSERT_EQ(Codec->InitEncoder(96, 64, 15, 30, 400), 1);
    EXPECT_EQ(Codec->SetBitrate(300), 0);
    EXPECT_EQ(m_Script.Calls("MFXVideoENCODE_Reset"), 1);
    m_Script.Answer("MFXVideoENCODE_Reset", -1);
    EXPECT_THAT(Reports([&] { EXPECT_EQ(Codec->SetBitrate(300), 0); }), ElementsAre("H264hwEnc 0"));
}

TEST_F(IntelCodec, TheSlotsAreTheInterfaces)
{
    const Engine Codec;
    IVCodec* const pSlots = &*Codec;
    EXPECT_EQ(static_cast<void*>(pSlots), static_cast<void*>(&*Codec));
    alignas(CVCodecH264hw) static std::byte s_Place[sizeof(CVCodecH264hw)];
    auto* const pInPlace = new (s_Place) CVCodecH264hw(2);
    ASSERT_EQ(pInPlace->InitEncoder(96, 64, 15, 30, 400), 1);
    EXPECT_EQ(pInPlace->DeletingDestructor(0), pInPlace); // without its memory
    EXPECT_EQ(m_Script.Live(), 0);
}

// ---- Faults ------------------------------------------------------------------------------------------------------

namespace {

struct FaultKind {
    const char* pName;
    DriverAction Action;
    int64_t Code;
};
const FaultKind s_Kinds[] = {
    {"Access", kDriverAccess, -1073741819},   {"Arithmetic", kDriverArithmetic, -1073741676},
    {"Illegal", kDriverIllegal, -1073741795}, {"Throw", kDriverThrow, -529697949},
#if !defined(_WIN32)
    {"Abort", kDriverAbort, 1073741845}, // caught where it is a signal
#endif
};

struct Slot {
    const char* pName;
    const char* pOperation; // of the SDK, in which it faults
    void (*pCall)(CVCodecH264hw& Codec);
};

int32_t s_Length, s_Type;
Bytes s_Room(96 * 64 * 3);

void CallEncode(CVCodecH264hw& Codec)
{
    EXPECT_EQ(Codec.Encode(Picture(0).data(), s_Room.data(), &s_Length, 0, &s_Type), 0);
    EXPECT_EQ(s_Length, -1);
    EXPECT_EQ(s_Type, -1);
    s_Length = 5; // and once more without a place for the type
    EXPECT_EQ(Codec.Encode(Picture(0).data(), s_Room.data(), &s_Length, 0, nullptr), 0);
    EXPECT_EQ(s_Length, -1);
}

const Bytes& KeyUnit() // made by the engine before anything faults
{
    static const Bytes s_Unit = [] {
        const Engine Encoder;
        EXPECT_EQ(Encoder->InitEncoder(96, 64, 15, 30, 400), 1);
        return Encode(*Encoder, 0).Unit();
    }();
    return s_Unit;
}

void CallDecode(CVCodecH264hw& Codec)
{
    EXPECT_EQ(Codec.Decode(KeyUnit().data(), static_cast<int32_t>(KeyUnit().size()), s_Room.data(), &s_Type), 0);
    EXPECT_EQ(s_Type, -1);
    EXPECT_EQ(Codec.Decode(KeyUnit().data(), static_cast<int32_t>(KeyUnit().size()), s_Room.data(), nullptr), 0);
}

void CallInitEncoder(CVCodecH264hw& Codec) { EXPECT_EQ(Codec.InitEncoder(96, 64, 15, 30, 400), 0); }
void CallInitDecoder(CVCodecH264hw& Codec) { EXPECT_EQ(Codec.InitDecoder(96, 64), 0); }
void CallReset(CVCodecH264hw& Codec) { EXPECT_EQ(Codec.Reset(), 0); }
void CallSetBitrate(CVCodecH264hw& Codec) { EXPECT_EQ(Codec.SetBitrate(300), 0); }

const Slot s_Slots[] = {{"InitEncoder", "MFXInit", CallInitEncoder},
                        {"InitEncoder", "MFXQueryVersion", CallInitEncoder},
                        {"InitEncoder", "MFXVideoCORE_SetFrameAllocator", CallInitEncoder},
                        {"InitEncoder", "MFXVideoENCODE_QueryIOSurf", CallInitEncoder},
                        {"InitEncoder", "MFXVideoENCODE_Init", CallInitEncoder},
                        {"InitEncoder", "MFXVideoENCODE_GetVideoParam", CallInitEncoder},
                        {"Encode", "MFXVideoENCODE_EncodeFrameAsync", CallEncode},
                        {"Encode", "MFXVideoCORE_SyncOperation", CallEncode},
                        {"InitDecoder", "MFXInit", CallInitDecoder},
                        {"InitDecoder", "MFXQueryVersion", CallInitDecoder},
                        {"Decode", "MFXVideoDECODE_DecodeHeader", CallDecode},
                        {"Decode", "MFXVideoDECODE_QueryIOSurf", CallDecode},
                        {"Decode", "MFXVideoDECODE_Init", CallDecode},
                        {"Decode", "MFXVideoDECODE_DecodeFrameAsync", CallDecode},
                        {"Decode", "MFXVideoCORE_SyncOperation", CallDecode},
                        {"SetBitrate", "MFXVideoENCODE_GetVideoParam", CallSetBitrate},
                        {"SetBitrate", "MFXVideoENCODE_Reset", CallSetBitrate},
                        {"Reset", "MFXVideoENCODE_Close", CallReset},
                        {"Reset", "MFXVideoDECODE_Close", CallReset},
                        {"Reset", "MFXClose", CallReset}};

class IntelFaults : public IntelEngine, public testing::WithParamInterface<std::tuple<Slot, FaultKind>>
{
};

} // namespace

TEST_P(IntelFaults, AreLoggedAndAFailureOfTheCallAlone)
{
    const auto& [Case, Kind] = GetParam();
    KeyUnit();
    {
        const Engine Codec;
        const bool bInit = std::string(Case.pName).starts_with("Init");
        if (!bInit) {
            ASSERT_EQ(Codec->InitEncoder(96, 64, 15, 30, 400), 1);
            ASSERT_EQ(Codec->InitDecoder(96, 64), 1);
            if (std::string(Case.pOperation) == "MFXVideoDECODE_Close") { // there has to be one
                ASSERT_EQ(Decode(*Codec, KeyUnit()).Type, 1);
            }
        }
        m_Log.Clear();
        m_Script.Fault(Case.pOperation, Kind.Action);
        Case.pCall(*Codec);
        const std::string Class = std::string("qvlx - CVCodecH264hw::") + Case.pName + "() MyFilterException";
        const std::string Filter = "qvlx - MyFilterException code=" + std::to_string(Kind.Code);
        const std::vector<LogLine> Found = m_Log.With("MyFilterException");
        ASSERT_GE(Found.size(), 2u);
        for (size_t i = 0; i < Found.size(); i += 2) {
            EXPECT_EQ(Found[i], (LogLine{kLogError, Filter}));
            EXPECT_EQ(Found[i + 1], (LogLine{kLogError, Class}));
        }
        EXPECT_EQ(GetIntelH264hwDevFailed(), 0); // by a status alone
    }                                            // released while the driver still faults
    m_Log.Clear();
    DriverReset(); // and whole again, in the same process
    const Engine Next;
    EXPECT_EQ(Next->InitEncoder(96, 64, 15, 30, 400), 1);
    EXPECT_EQ(Encode(*Next, 0).Type, 1);
}
INSTANTIATE_TEST_SUITE_P(All, IntelFaults, testing::Combine(testing::ValuesIn(s_Slots), testing::ValuesIn(s_Kinds)),
                         [](const auto& Info) {
                             return std::string(std::get<0>(Info.param).pName) + "_" +
                                    std::get<0>(Info.param).pOperation + "_" + std::get<1>(Info.param).pName;
                         });
