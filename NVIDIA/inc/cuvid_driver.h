// The CUVID decoder of the driver, loaded by name and reached through pointers.
#pragma once

#include "NVIDIA/inc/cuda_driver.h"

#include <ffnvcodec/dynlink_cuviddec.h>
#include <ffnvcodec/dynlink_nvcuvid.h>

/// What the library calls of CUVID: process-wide, null until cuvidInit() has found them. The map calls are those of the
/// process's own width of pointers.
struct CuvidDriver {
    CUresult(CUDAAPI* cuvidCreateVideoParser)(CUvideoparser* pParser, CUVIDPARSERPARAMS* pParams);
    CUresult(CUDAAPI* cuvidParseVideoData)(CUvideoparser Parser, CUVIDSOURCEDATAPACKET* pPacket);
    CUresult(CUDAAPI* cuvidDestroyVideoParser)(CUvideoparser Parser);
    CUresult(CUDAAPI* cuvidGetDecoderCaps)(CUVIDDECODECAPS* pCaps);
    CUresult(CUDAAPI* cuvidCreateDecoder)(CUvideodecoder* pDecoder, CUVIDDECODECREATEINFO* pInfo);
    CUresult(CUDAAPI* cuvidDestroyDecoder)(CUvideodecoder Decoder);
    CUresult(CUDAAPI* cuvidDecodePicture)(CUvideodecoder Decoder, CUVIDPICPARAMS* pParams);
    CUresult(CUDAAPI* cuvidMapVideoFrame)(CUvideodecoder Decoder, int PictureIndex, CUdeviceptr* pFrame,
                                          unsigned int* pPitch, CUVIDPROCPARAMS* pParams);
    CUresult(CUDAAPI* cuvidUnmapVideoFrame)(CUvideodecoder Decoder, CUdeviceptr Frame);
    CUresult(CUDAAPI* cuvidCtxLockCreate)(CUvideoctxlock* pLock, CUcontext Context);
    CUresult(CUDAAPI* cuvidCtxLockDestroy)(CUvideoctxlock Lock);
    CUresult(CUDAAPI* cuvidCtxLock)(CUvideoctxlock Lock, unsigned int Reserved);
    CUresult(CUDAAPI* cuvidCtxUnlock)(CUvideoctxlock Lock, unsigned int Reserved);
};
extern CuvidDriver g_Cuvid;

/// Loads CUVID and resolves its names, every time; nothing is unloaded. Every name is required, the video sources'
/// included, which nothing calls: the first that is missing ends it, with a line on standard output.
/// @param Flags  Not used.
/// @return 0; 999 when the library or a name is missing.
CUresult cuvidInit(unsigned int Flags);
