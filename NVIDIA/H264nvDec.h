// The H.264 decoder of NVIDIA's video engine.
#pragma once

#include "NVIDIA/inc/cuvid_driver.h"

#include <cstdint>
#include <memory>

class FrameQueue;
class VideoDecoder;

/// Decodes on the caller's thread: the driver's parser calls back from within Decode(). A fault or an exception of the
/// driver passes through, so every operation and the destructor need a frame around them; what was done up to it stays
/// done, and Reset() gives up the rest.
class CH264nvDec
{
public:
    /// Takes what the engine's object was made with, without an effect.
    explicit CH264nvDec(int32_t iArgument);
    ~CH264nvDec() noexcept(false);
    CH264nvDec(const CH264nvDec&) = delete;
    CH264nvDec& operator=(const CH264nvDec&) = delete;

    /// Gives up what there is and opens the driver anew. The size bounds what Decode() writes; a stream says itself how
    /// large its pictures are.
    /// @return 1; 0, with a line in the log, when the driver refuses or is not made for the size.
    int32_t InitDecoder(int32_t iWidth, int32_t iHeight);

    /// Decodes one access unit and writes the oldest picture that waits to be shown, if there is one.
    /// @param OutBuf      Room for a picture of InitDecoder()'s size. A larger one is not written: the call fails.
    /// @param pFrameType  Receives 2 for a picture, whatever its type, 0 for none, -1 for a failure; may be null.
    /// @return 1, with a picture or without; 0 for a failure, and the next call tries again.
    int32_t Decode(const uint8_t* InBuf, int32_t iInLen, uint8_t* OutBuf, int32_t* pFrameType);

    /// Gives up everything; InitDecoder() is next.
    void Reset();

    /// Whether a decoder for pictures of that size can be opened with the driver of this machine: opens one and closes
    /// it. In a frame, too; what a fault cuts short is left behind.
    static bool Try(int32_t iWidth, int32_t iHeight);

private:
    int32_t InitCuvid();
    bool OpenDevice();
    bool CheckCaps();
    bool MakeParser();
    bool MakeQueue();
    void Close();
    int32_t PutDataToDecode(const uint8_t* pData, int32_t iLength);
    int32_t GetDecodedFrame(uint8_t* OutBuf, int32_t* pFrameType);
    int32_t CopyFrame(const CUVIDPARSERDISPINFO& Info, CUdeviceptr* pFrame, uint8_t* OutBuf);
    bool CopyToHost(CUdeviceptr Frame, uint64_t LumaBytes);
    bool MakeHostBuffer(uint64_t Bytes);
    int32_t WritePicture(uint32_t Pitch, uint8_t* OutBuf);
    int32_t FailInCallback(const char* pCallback);

    // The parser's callbacks: 1 goes on, 0 fails.
    static int CUDAAPI HandleVideoSequence(void* pUser, CUVIDEOFORMAT* pFormat);
    static int CUDAAPI HandlePictureDecode(void* pUser, CUVIDPICPARAMS* pParams);
    static int CUDAAPI HandlePictureDisplay(void* pUser, CUVIDPARSERDISPINFO* pInfo);

protected:
    int32_t m_iWidth = 0, m_iHeight = 0;
    int32_t m_bInitialised = 0;
    CUcontext m_Context = nullptr; // current on no thread between the calls
    CUvideoctxlock m_Lock = nullptr;
    CUvideoparser m_Parser = nullptr;
    std::unique_ptr<FrameQueue> m_pFrameQueue;
    // Owned; made and replaced by the stream's sequence parameter sets. No object that deletes it by itself, which
    // would call a driver that has thrown.
    VideoDecoder* m_pVideoDecoder = nullptr;
    uint8_t* m_pHost = nullptr; // page-locked, of the first picture's size
    uint64_t m_HostBytes = 0;
    int32_t m_bCuHasError = 0; // set by the callbacks, read after the parse
};
