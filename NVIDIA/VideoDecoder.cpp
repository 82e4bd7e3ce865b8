#include "NVIDIA/VideoDecoder.h"

#include "NVIDIA/FrameQueue.h"

#include <cstdio>

namespace {

constexpr uint32_t kOutputSurfaces = 2; // that can be mapped at a time
constexpr CUresult kInvalidValue = static_cast<CUresult>(1);

void PrintCreationFlags(int32_t Flags)
{
    std::printf("> VideoDecoder::cudaVideoCreateFlags = <%d>", Flags);
    switch (Flags) {
    case cudaVideoCreate_Default: std::printf("Default (VP)\n"); break;
    case cudaVideoCreate_PreferCUDA: std::printf("Use CUDA decoder\n"); break;
    case cudaVideoCreate_PreferDXVA: std::printf("Use DXVA decoder\n"); break;
    case cudaVideoCreate_PreferCUVID: std::printf("Use CUVID decoder\n"); break;
    default: std::printf("Unknown value\n"); break;
    }
    std::printf("\n");
}

// Pictures come out at the size of what is shown of them, not at the coded one.
CUVIDDECODECREATEINFO CreateInfo(const CUVIDEOFORMAT& Format, int32_t CreationFlags, CUvideoctxlock Lock)
{
    CUVIDDECODECREATEINFO Info{};
    Info.CodecType = Format.codec;
    Info.ulWidth = Format.coded_width;
    Info.ulHeight = Format.coded_height;
    Info.ulNumDecodeSurfaces = FrameQueue::kCapacity;
    Info.ChromaFormat = Format.chroma_format;
    Info.bitDepthMinus8 = Format.bit_depth_luma_minus8;
    Info.OutputFormat = Format.bit_depth_luma_minus8 ? cudaVideoSurfaceFormat_P016 : cudaVideoSurfaceFormat_NV12;
    Info.DeinterlaceMode = cudaVideoDeinterlaceMode_Adaptive;
    Info.ulTargetWidth = static_cast<uint32_t>(Format.display_area.right - Format.display_area.left);
    Info.ulTargetHeight = static_cast<uint32_t>(Format.display_area.bottom - Format.display_area.top);
    Info.display_area.right = static_cast<int16_t>(Info.ulTargetWidth);
    Info.display_area.bottom = static_cast<int16_t>(Info.ulTargetHeight);
    Info.ulNumOutputSurfaces = kOutputSurfaces;
    Info.ulCreationFlags = static_cast<uint32_t>(CreationFlags);
    Info.vidLock = Lock;
    return Info;
}

} // namespace

VideoDecoder::VideoDecoder(const CUVIDEOFORMAT& Format, int32_t CreationFlags, CUvideoctxlock Lock)
    : m_Info(CreateInfo(Format, CreationFlags, Lock))
{
    PrintCreationFlags(CreationFlags);
    m_bSuccess = g_Cuvid.cuvidCreateDecoder(&m_Decoder, &m_Info) == CUDA_SUCCESS;
}

VideoDecoder::~VideoDecoder() noexcept(false)
{
    if (m_Decoder) g_Cuvid.cuvidDestroyDecoder(m_Decoder);
}

CUresult VideoDecoder::decodePicture(CUVIDPICPARAMS* pParams) const
{
    return g_Cuvid.cuvidDecodePicture(m_Decoder, pParams);
}

CUresult VideoDecoder::mapFrame(int32_t PictureIndex, CUdeviceptr* pFrame, unsigned int* pPitch,
                                CUVIDPROCPARAMS* pParams) const
{
    if (!pFrame) return kInvalidValue;
    const CUresult Status = g_Cuvid.cuvidMapVideoFrame(m_Decoder, PictureIndex, pFrame, pPitch, pParams);
    return Status == CUDA_SUCCESS && *pPitch == 0 ? kInvalidValue : Status;
}

CUresult VideoDecoder::unmapFrame(CUdeviceptr Frame) const { return g_Cuvid.cuvidUnmapVideoFrame(m_Decoder, Frame); }
