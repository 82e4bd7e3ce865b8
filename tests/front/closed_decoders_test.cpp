// The decoder objects that outlive their sessions.
#include "front/closed_decoders.h"

#include "decoder/session/video_decoder.h"
#include "front/VCodec_H264.h"
#include "process/video_processing.h"
#include "tests/support/failing_allocation.h"
#include "tools/common/camera_scene.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <thread>
#include <vector>

using namespace UMC;

namespace {

constexpr FrameSize kSize{48, 32};

// Takes what is kept, so that the store is empty; gives it back at the end.
class EmptyStore
{
public:
    EmptyStore()
    {
        const FailingAllocation Fail(1, FailingAllocation::After::Fail);
        for (H264VideoDecoder* p = TakeDecoder(); p && m_Count < 100; p = TakeDecoder()) m_Taken[m_Count++] = p;
    }
    ~EmptyStore()
    {
        while (m_Count) LeaveDecoder(m_Taken[--m_Count]);
    }

private:
    H264VideoDecoder* m_Taken[100];
    size_t m_Count = 0;
};

std::vector<uint8_t> KeyPicture()
{
    IVCodec* const pCodec = new CVCodec_H264;
    EXPECT_EQ(pCodec->InitEncoder(kSize.Width, kSize.Height, 15, 0, 60), 1);
    std::vector<uint8_t> Picture, Out(kSize.LumaBytes() * 3);
    CameraScene(kSize, 15).Render(0, Picture);
    int32_t Length = 0;
    EXPECT_EQ(pCodec->Encode(Picture.data(), Out.data(), &Length, 0, nullptr), 1);
    Out.resize(static_cast<size_t>(Length));
    pCodec->Release();
    return Out;
}

Status InitPlain(H264VideoDecoder& Decoder)
{
    VideoDecoderParams Params;
    Params.m_NumThreads = 1;
    return Decoder.Init(&Params);
}

// One session, from the object to its release.
void RunSession(const std::vector<uint8_t>& Unit, std::vector<uint8_t>& Out, int Inits = 1)
{
    IVCodec* const pCodec = new CVCodec_H264;
    for (int i = 0; i < Inits; ++i) EXPECT_EQ(pCodec->InitDecoder(kSize.Width, kSize.Height), 1);
    for (int i = 0; i < 3; ++i) pCodec->Decode(Unit.data(), static_cast<int32_t>(Unit.size()), Out.data(), nullptr);
    EXPECT_EQ(pCodec->Release(), 0);
}

} // namespace

TEST(ClosedDecoders, OneThatIsLeftIsTakenByTheNext)
{
    const EmptyStore Empty;
    H264VideoDecoder* const pFirst = TakeDecoder();
    H264VideoDecoder* const pSecond = TakeDecoder();
    ASSERT_NE(pFirst, nullptr);
    ASSERT_NE(pSecond, pFirst);
    EXPECT_TRUE(LeaveDecoder(pFirst));
    EXPECT_EQ(TakeDecoder(), pFirst);
    EXPECT_TRUE(LeaveDecoder(pFirst));
    EXPECT_TRUE(LeaveDecoder(pSecond));
    EXPECT_TRUE(LeaveDecoder(nullptr));
}

TEST(ClosedDecoders, WithNoneKeptAndNoMemoryThereIsNone)
{
    const EmptyStore Empty;
    const FailingAllocation Fail(1);
    EXPECT_EQ(TakeDecoder(), nullptr);
}

TEST(ClosedDecoders, NothingOfASessionIsLeftInTheObject)
{
    const EmptyStore Empty;
    H264VideoDecoder* const pDecoder = TakeDecoder();
    ASSERT_EQ(InitPlain(*pDecoder), StatusOk);
    auto Unit = KeyPicture();
    MediaData Input;
    VideoData Output;
    Output.Init(kSize.Width, kSize.Height, YUV420, 8);
    Output.Alloc();
    Input.SetBufferPointer(Unit.data(), Unit.size());
    Input.SetDataSize(Unit.size());
    pDecoder->GetFrame(&Input, &Output);
    ASSERT_EQ(pDecoder->GetFrame(nullptr, &Output), StatusOk);
    VideoProcessing Converter;
    ASSERT_EQ(pDecoder->ApplyPostProcessing(&Output, &Converter), StatusOk); // the last picture, once more

    EXPECT_TRUE(LeaveDecoder(pDecoder));
    ASSERT_EQ(TakeDecoder(), pDecoder);
    VideoDecoderParams Info;
    EXPECT_EQ(pDecoder->GetFrame(nullptr, &Output), StatusNotInitialized);
    EXPECT_EQ(pDecoder->GetInfo(&Info), StatusNotInitialized);
    EXPECT_EQ(pDecoder->ApplyPostProcessing(&Output, nullptr), StatusNotInitialized);
    EXPECT_EQ(pDecoder->ApplyPostProcessing(&Output, &Converter), StatusNotEnoughData);
    EXPECT_EQ(InitPlain(*pDecoder), StatusOk);
    EXPECT_EQ(pDecoder->GetFrame(nullptr, &Output), StatusNotEnoughData);
    EXPECT_TRUE(LeaveDecoder(pDecoder));
}

TEST(ClosedDecoders, SessionsOneAfterAnotherHoldNoMoreThanOne)
{
    const auto Unit = KeyPicture();
    std::vector<uint8_t> Out(kSize.I420Bytes());
    RunSession(Unit, Out);
    const FailingAllocation Count(0);
    for (int i = 0; i < 200; ++i) RunSession(Unit, Out, 1 + i % 3); // a second Init gives up what the first one made
    EXPECT_EQ(FailingAllocation::BlocksHeld(), 0);
    EXPECT_GT(FailingAllocation::Requests(), 200u);
}

TEST(ClosedDecoders, SessionsAtOnceHoldAsManyAsThereWereAtOnce)
{
    const EmptyStore Empty;
    const FailingAllocation Count(0);
    for (int Round = 0; Round < 3; ++Round) {
        IVCodec* Open[5];
        for (IVCodec*& pCodec : Open) {
            pCodec = new CVCodec_H264;
            EXPECT_EQ(pCodec->InitDecoder(kSize.Width, kSize.Height), 1);
        }
        for (IVCodec* const pCodec : Open) pCodec->Release();
        EXPECT_EQ(FailingAllocation::BlocksHeld(), 5) << Round;
    }
}

TEST(ClosedDecoders, NoTwoThreadsGetTheSameOne)
{
    std::atomic<bool> bShared{false};
    std::atomic<H264VideoDecoder*> InUse[64]{};
    std::vector<std::thread> Threads;
    for (int t = 0; t < 4; ++t)
        Threads.emplace_back([&] {
            for (int i = 0; i < 500; ++i) {
                H264VideoDecoder* const p = TakeDecoder();
                for (auto& Entry : InUse)
                    if (Entry.load() == p) bShared = true;
                std::atomic<H264VideoDecoder*>* pMine = nullptr;
                for (auto& Entry : InUse) {
                    H264VideoDecoder* pNone = nullptr;
                    if (Entry.compare_exchange_strong(pNone, p)) {
                        pMine = &Entry;
                        break;
                    }
                }
                std::this_thread::yield();
                *pMine = nullptr;
                LeaveDecoder(p);
            }
        });
    for (std::thread& Thread : Threads) Thread.join();
    EXPECT_FALSE(bShared);
}
