// One decoder of the driver, and the two scopes that the engine's calls stand in.
#include "NVIDIA/VideoDecoder.h"

#include "NVIDIA/CuContextAutoPushPop.h"
#include "NVIDIA/CuvidAutoLock.h"
#include "tests/NVIDIA/cuvid_fixture.h"

#include <cstdio>

using namespace cuvid_test;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

namespace {

class CudaScopes : public WithDrivers
{
protected:
    void SetUp() override
    {
        ASSERT_EQ(cuInit(0, kCudaVersion, nullptr), CUDA_SUCCESS);
        ASSERT_EQ(cuvidInit(0), CUDA_SUCCESS);
        ASSERT_EQ(g_Cuda.cuCtxCreate(&m_Context, 4, 0), CUDA_SUCCESS);
        ASSERT_EQ(g_Cuvid.cuvidCtxLockCreate(&m_Lock, m_Context), CUDA_SUCCESS);
        m_Begun = m_Script.Trace().size();
    }
    /// The calls since SetUp().
    std::vector<std::string> Calls() const
    {
        std::vector<std::string> All = m_Script.Trace();
        All.erase(All.begin(), All.begin() + static_cast<ptrdiff_t>(m_Begun));
        return All;
    }

    CUcontext m_Context = nullptr;
    CUvideoctxlock m_Lock = nullptr;
    size_t m_Begun = 0;
};

class DriverDecoder : public CudaScopes
{
protected:
    DriverDecoder()
    {
        m_Format.codec = cudaVideoCodec_H264;
        m_Format.chroma_format = cudaVideoChromaFormat_420;
        m_Format.coded_width = 64;
        m_Format.coded_height = 48;
        m_Format.display_area = {2, 4, 62, 44};
    }
    std::string Printed(int32_t Flags)
    {
        testing::internal::CaptureStdout();
        const VideoDecoder Made(m_Format, Flags, m_Lock);
        std::fflush(stdout);
        return testing::internal::GetCapturedStdout();
    }

    CUVIDEOFORMAT m_Format{};
};

} // namespace

TEST_F(CudaScopes, AContextIsCurrentForItsScope)
{
    g_Cuda.cuCtxPopCurrent(nullptr);
    {
        const CuContextAutoPushPop Current(m_Context);
        EXPECT_EQ(DriverCurrent("CUcontext"), m_Context);
    }
    EXPECT_EQ(DriverCurrent("CUcontext"), nullptr);
    EXPECT_THAT(Calls(),
                ElementsAre("cuCtxPopCurrent_v2 wants=0", "cuCtxPushCurrent_v2", "cuCtxPopCurrent_v2 wants=0"));
    EXPECT_THAT(m_Log.Lines(), IsEmpty());
}

TEST_F(CudaScopes, NoContextMakesNoCall)
{
    const size_t Before = Calls().size();
    {
        const CuContextAutoPushPop Current(nullptr);
    }
    EXPECT_EQ(Calls().size(), Before);
}

TEST_F(CudaScopes, AContextThatCannotBeMadeCurrentIsToldAndNotTakenBack)
{
    m_Script.Answer("cuCtxPushCurrent_v2", 201);
    bool bRan = false;
    {
        const CuContextAutoPushPop Current(m_Context);
        bRan = true;
    }
    EXPECT_TRUE(bRan);
    EXPECT_THAT(Calls(), ElementsAre("cuCtxPushCurrent_v2"));
    EXPECT_EQ(m_Log.Lines(),
              ErrorLines({"qvlx - CuContextAutoPushPop::CuContextAutoPushPop() cuCtxPushCurrent error=201"}));
}

TEST_F(CudaScopes, AContextThatCannotBeTakenBackIsTold)
{
    m_Script.Answer("cuCtxPopCurrent_v2", 4);
    {
        const CuContextAutoPushPop Current(m_Context);
    }
    EXPECT_EQ(m_Log.Lines(),
              ErrorLines({"qvlx - CuContextAutoPushPop::~CuContextAutoPushPop() cuCtxPopCurrent error=4"}));
}

TEST_F(CudaScopes, ALockIsHeldForItsScopeAndItsStatusesAreNotLookedAt)
{
    {
        const CuvidAutoLock Locked(m_Lock);
    }
    EXPECT_THAT(Calls(), ElementsAre("cuvidCtxLock reserved=0", "cuvidCtxUnlock reserved=0"));
    m_Script.Answer("cuvidCtxLock", 999);
    m_Script.Answer("cuvidCtxUnlock", 999);
    {
        const CuvidAutoLock Locked(m_Lock);
    }
    EXPECT_EQ(m_Script.Calls("cuvidCtxUnlock"), 2);
    EXPECT_THAT(m_Log.Lines(), IsEmpty());
}

TEST_F(DriverDecoder, TellsItsCreationFlagsOnStandardOutput)
{
    const auto Line = [](const std::string& Number, const std::string& Name) {
        return "> VideoDecoder::cudaVideoCreateFlags = <" + Number + ">" + Name + "\n\n";
    };
    EXPECT_EQ(Printed(0), Line("0", "Default (VP)"));
    EXPECT_EQ(Printed(1), Line("1", "Use CUDA decoder"));
    EXPECT_EQ(Printed(2), Line("2", "Use DXVA decoder"));
    EXPECT_EQ(Printed(4), Line("4", "Use CUVID decoder"));
    EXPECT_EQ(Printed(3), Line("3", "Unknown value"));
    EXPECT_EQ(Printed(-1), Line("-1", "Unknown value"));
}

TEST_F(DriverDecoder, IsMadeForTheFormat)
{
    struct Row {
        const char* pName;
        void (*Change)(CUVIDEOFORMAT& Format);
        const char* pCall;
    };
    // The size that is shown and not the coded one, from 0 on; 20 and 2 surfaces whatever the format.
    static constexpr Row kRows[] = {
        {"8 bits", [](CUVIDEOFORMAT&) {},
         "ulWidth=64 ulHeight=48 ulNumDecodeSurfaces=20 CodecType=4 ChromaFormat=1 ulCreationFlags=4 bitDepthMinus8=0 "
         "left=0 top=0 right=60 bottom=40 OutputFormat=0 DeinterlaceMode=2 ulTargetWidth=60 ulTargetHeight=40 "
         "ulNumOutputSurfaces=2"},
        {"10 bits", [](CUVIDEOFORMAT& f) { f.bit_depth_luma_minus8 = 2; },
         "ulWidth=64 ulHeight=48 ulNumDecodeSurfaces=20 CodecType=4 ChromaFormat=1 ulCreationFlags=4 bitDepthMinus8=2 "
         "left=0 top=0 right=60 bottom=40 OutputFormat=1 DeinterlaceMode=2 ulTargetWidth=60 ulTargetHeight=40 "
         "ulNumOutputSurfaces=2"},
        {"chroma alone is deeper", [](CUVIDEOFORMAT& f) { f.bit_depth_chroma_minus8 = 2; },
         "ulWidth=64 ulHeight=48 ulNumDecodeSurfaces=20 CodecType=4 ChromaFormat=1 ulCreationFlags=4 bitDepthMinus8=0 "
         "left=0 top=0 right=60 bottom=40 OutputFormat=0 DeinterlaceMode=2 ulTargetWidth=60 ulTargetHeight=40 "
         "ulNumOutputSurfaces=2"},
        {"another codec and chroma format",
         [](CUVIDEOFORMAT& f) {
             f.codec = cudaVideoCodec_HEVC;
             f.chroma_format = cudaVideoChromaFormat_422;
         },
         "ulWidth=64 ulHeight=48 ulNumDecodeSurfaces=20 CodecType=8 ChromaFormat=2 ulCreationFlags=4 bitDepthMinus8=0 "
         "left=0 top=0 right=60 bottom=40 OutputFormat=0 DeinterlaceMode=2 ulTargetWidth=60 ulTargetHeight=40 "
         "ulNumOutputSurfaces=2"},
        {"a rectangle past 16 bits",
         [](CUVIDEOFORMAT& f) {
             f.coded_width = f.coded_height = 70000;
             f.display_area = {0, 0, 70000, 40000};
         },
         "ulWidth=70000 ulHeight=70000 ulNumDecodeSurfaces=20 CodecType=4 ChromaFormat=1 ulCreationFlags=4 "
         "bitDepthMinus8=0 left=0 top=0 right=4464 bottom=-25536 OutputFormat=0 DeinterlaceMode=2 ulTargetWidth=70000 "
         "ulTargetHeight=40000 ulNumOutputSurfaces=2"}};
    for (const Row& r : kRows) {
        SCOPED_TRACE(r.pName);
        CUVIDEOFORMAT Format = m_Format;
        r.Change(Format);
        const VideoDecoder Made(Format, cudaVideoCreate_PreferCUVID, m_Lock);
        EXPECT_TRUE(Made.isSuccess());
        EXPECT_EQ(m_Script.Trace("cuvidCreateDecoder ").back(), std::string("cuvidCreateDecoder ") + r.pCall);
        EXPECT_EQ(Made.codec(), Format.codec);
        EXPECT_EQ(Made.chromaFormat(), Format.chroma_format);
        EXPECT_EQ(Made.width(), Format.coded_width);
        EXPECT_EQ(Made.height(), Format.coded_height);
        EXPECT_EQ(Made.targetWidth(), Format.display_area.right - Format.display_area.left);
        EXPECT_EQ(Made.targetHeight(), Format.display_area.bottom - Format.display_area.top);
        EXPECT_EQ(Made.bytesPerSample(), Format.bit_depth_luma_minus8 ? 2 : 1);
    }
    EXPECT_EQ(m_Script.Live("decoder"), 0);
    EXPECT_EQ(m_Script.Calls("cuvidDestroyDecoder"), 5);
}

TEST_F(DriverDecoder, OneThatCouldNotBeMadeIsNoneAndWhatTheDriverLeftIsDestroyed)
{
    m_Script.Answer("cuvidCreateDecoder", 2, 1);
    {
        const VideoDecoder Refused(m_Format, 4, m_Lock);
        EXPECT_FALSE(Refused.isSuccess());
    }
    EXPECT_EQ(m_Script.Calls("cuvidDestroyDecoder"), 0);
    m_Script.Set("cuvidCreateDecoder.status", 2);
    {
        const VideoDecoder Refused(m_Format, 4, m_Lock);
        EXPECT_FALSE(Refused.isSuccess());
    }
    EXPECT_EQ(m_Script.Calls("cuvidDestroyDecoder"), 1);
    EXPECT_EQ(m_Script.Live("decoder"), 0);
}

TEST_F(DriverDecoder, PassesOnWhatTheDriverAnswers)
{
    const VideoDecoder Made(m_Format, 4, m_Lock);
    CUVIDPICPARAMS Picture{};
    Picture.CurrPicIdx = 19;
    EXPECT_EQ(Made.decodePicture(&Picture), CUDA_SUCCESS);
    EXPECT_THAT(m_Script.Trace("cuvidDecodePicture "), ElementsAre("cuvidDecodePicture CurrPicIdx=19"));
    m_Script.Answer("cuvidDecodePicture", 700);
    EXPECT_EQ(int{Made.decodePicture(&Picture)}, 700);
    m_Script.Answer(kUnmap, 206);
    EXPECT_EQ(int{Made.unmapFrame(1)}, 206);
}

TEST_F(DriverDecoder, MapsAPictureOrSaysWhyNot)
{
    const VideoDecoder Made(m_Format, 4, m_Lock);
    CUdeviceptr Frame = 0;
    unsigned int Pitch = 7;
    CUVIDPROCPARAMS Params{};
    EXPECT_EQ(int{Made.mapFrame(0, nullptr, &Pitch, &Params)}, 1);
    EXPECT_EQ(m_Script.Calls(kMap), 0); // the driver is not asked
    m_Script.Answer(kMap, 205);
    EXPECT_EQ(int{Made.mapFrame(0, &Frame, &Pitch, &Params)}, 205);
    m_Script.Answer(kMap, 0); // success, and nothing written
    Pitch = 0;
    EXPECT_EQ(int{Made.mapFrame(0, &Frame, &Pitch, &Params)}, 1);
    Pitch = 128;
    EXPECT_EQ(Made.mapFrame(0, &Frame, &Pitch, &Params), CUDA_SUCCESS);
}
