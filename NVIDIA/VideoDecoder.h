// One decoder of the driver, made for one format.
#pragma once

#include "NVIDIA/inc/cuvid_driver.h"

#include <cstdint>

class VideoDecoder
{
public:
    /// The context that the lock is of has to be current. Writes the creation flags (cudaVideoCreateFlags) on standard
    /// output. isSuccess() tells whether there is a decoder now.
    VideoDecoder(const CUVIDEOFORMAT& Format, int32_t CreationFlags, CUvideoctxlock Lock);
    /// The context has to be current. A driver may throw.
    ~VideoDecoder() noexcept(false);
    VideoDecoder(const VideoDecoder&) = delete;
    VideoDecoder& operator=(const VideoDecoder&) = delete;

    bool isSuccess() const { return m_bSuccess; }

    CUresult decodePicture(CUVIDPICPARAMS* pParams) const;
    /// Makes a decoded picture readable until unmapFrame(): rows of *pPitch bytes, the chroma behind the rows of luma.
    /// @return The driver's status; 1 for a null pFrame or a pitch of 0, with which the picture may be mapped
    ///         nevertheless: *pFrame then is not 0.
    CUresult mapFrame(int32_t PictureIndex, CUdeviceptr* pFrame, unsigned int* pPitch, CUVIDPROCPARAMS* pParams) const;
    CUresult unmapFrame(CUdeviceptr Frame) const;

    cudaVideoCodec codec() const { return m_Info.CodecType; }
    cudaVideoChromaFormat chromaFormat() const { return m_Info.ChromaFormat; }
    uint32_t width() const { return static_cast<uint32_t>(m_Info.ulWidth); } // coded, in samples
    uint32_t height() const { return static_cast<uint32_t>(m_Info.ulHeight); }
    int32_t targetWidth() const { return static_cast<int32_t>(m_Info.ulTargetWidth); } // shown, in samples
    int32_t targetHeight() const { return static_cast<int32_t>(m_Info.ulTargetHeight); }
    int32_t bytesPerSample() const { return m_Info.bitDepthMinus8 ? 2 : 1; }

private:
    CUVIDDECODECREATEINFO m_Info;
    CUvideodecoder m_Decoder = nullptr; // what the driver gave, also with a status of failure
    bool m_bSuccess = false;
};
