// The CUVID decoder of the driver, loaded by name and reached through pointers.
#pragma once

#include "NVIDIA/inc/cuda_driver.h"

#include <ffnvcodec/dynlink_cuviddec.h>
#include <ffnvcodec/dynlink_nvcuvid.h>

/// What the library calls of CUVID: process-wide, null until cuvidInit() has found them. The map calls are those of the
/// process's own width of pointers.
struct CuvidDriver {
    DriverFunction<CUresult(CUDAAPI*)(CUvideoparser* pParser, CUVIDPARSERPARAMS* pParams)> cuvidCreateVideoParser;
    DriverFunction<CUresult(CUDAAPI*)(CUvideoparser Parser, CUVIDSOURCEDATAPACKET* pPacket)> cuvidParseVideoData;
    DriverFunction<CUresult(CUDAAPI*)(CUvideoparser Parser)> cuvidDestroyVideoParser;
    DriverFunction<CUresult(CUDAAPI*)(CUVIDDECODECAPS* pCaps)> cuvidGetDecoderCaps;
    DriverFunction<CUresult(CUDAAPI*)(CUvideodecoder* pDecoder, CUVIDDECODECREATEINFO* pInfo)> cuvidCreateDecoder;
    DriverFunction<CUresult(CUDAAPI*)(CUvideodecoder Decoder)> cuvidDestroyDecoder;
    DriverFunction<CUresult(CUDAAPI*)(CUvideodecoder Decoder, CUVIDPICPARAMS* pParams)> cuvidDecodePicture;
    DriverFunction<CUresult(CUDAAPI*)(CUvideodecoder Decoder, int PictureIndex, CUdeviceptr* pFrame,
                                      unsigned int* pPitch, CUVIDPROCPARAMS* pParams)>
        cuvidMapVideoFrame;
    DriverFunction<CUresult(CUDAAPI*)(CUvideodecoder Decoder, CUdeviceptr Frame)> cuvidUnmapVideoFrame;
    DriverFunction<CUresult(CUDAAPI*)(CUvideoctxlock* pLock, CUcontext Context)> cuvidCtxLockCreate;
    DriverFunction<CUresult(CUDAAPI*)(CUvideoctxlock Lock)> cuvidCtxLockDestroy;
    DriverFunction<CUresult(CUDAAPI*)(CUvideoctxlock Lock, unsigned int Reserved)> cuvidCtxLock;
    DriverFunction<CUresult(CUDAAPI*)(CUvideoctxlock Lock, unsigned int Reserved)> cuvidCtxUnlock;
};
extern CuvidDriver g_Cuvid;

/// Loads CUVID and resolves its names, every time; nothing is unloaded. Every name is required, the video sources'
/// included, which nothing calls: the first that is missing ends it, with a line on standard output.
/// @param Flags  Not used.
/// @return 0; 999 when the library or a name is missing.
CUresult cuvidInit(unsigned int Flags);
