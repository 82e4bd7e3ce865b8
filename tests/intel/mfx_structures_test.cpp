// The Media SDK's records lie as the run times have them, on both widths: the layout that the substitutes are written
// by.
#include "intel/SysMemBufferAllocator.h"
#include "intel/SysMemFrameAllocator.h"
#include "intel/mfx_session.h"
#include "tests/support/drivers/mfx_layout.h"

#include <gtest/gtest.h>

#include <cstddef>

using mfx::At;

TEST(MfxStructures, HaveThePublishedSizes)
{
    EXPECT_EQ(sizeof(mfxFrameInfo), 68u);
    EXPECT_EQ(sizeof(mfxFrameData), At(96, 72));
    EXPECT_EQ(sizeof(mfxFrameSurface1), At(184, 160));
    EXPECT_EQ(sizeof(mfxInfoMFX), 136u);
    EXPECT_EQ(sizeof(mfxVideoParam), At(208, 196));
    EXPECT_EQ(sizeof(mfxBitstream), At(72, 64));
    EXPECT_EQ(sizeof(mfxEncodeCtrl), At(56, 48));
    EXPECT_EQ(sizeof(mfxExtBuffer), 8u);
    EXPECT_EQ(sizeof(mfxExtCodingOption), 64u);
    EXPECT_EQ(sizeof(mfxFrameAllocRequest), 92u);
    EXPECT_EQ(sizeof(mfxFrameAllocResponse), At(32, 24));
    EXPECT_EQ(sizeof(mfxFrameAllocator), At(64, 40));
    EXPECT_EQ(sizeof(mfxBufferAllocator), At(56, 36));
    EXPECT_EQ(sizeof(mfxVersion), 4u);
    EXPECT_EQ(sizeof(mfxStatus), 4u);
    EXPECT_EQ(sizeof(mfxIMPL), 4u);
    EXPECT_EQ(sizeof(MFXVideoSession), At(16, 8));
    EXPECT_EQ(kMfxVersion.Version, 0x10001u); // 1.1, minor first
    EXPECT_EQ(offsetof(mfxVersion, Minor), 0u);
}

namespace {

struct Offset {
    const char* pName;
    size_t Is, Published;
};
#define OFFSET(Type, Field, On64, On32)                                                                                \
    {                                                                                                                  \
#Type "." #Field, offsetof(Type, Field), At(On64, On32)                                                        \
    }
const Offset s_Offsets[] = {OFFSET(mfxFrameInfo, FourCC, 32, 32),
                            OFFSET(mfxFrameInfo, Width, 36, 36),
                            OFFSET(mfxFrameInfo, Height, 38, 38),
                            OFFSET(mfxFrameInfo, CropX, 40, 40),
                            OFFSET(mfxFrameInfo, CropW, 44, 44),
                            OFFSET(mfxFrameInfo, CropH, 46, 46),
                            OFFSET(mfxFrameInfo, FrameRateExtN, 48, 48),
                            OFFSET(mfxFrameInfo, FrameRateExtD, 52, 52),
                            OFFSET(mfxFrameInfo, PicStruct, 62, 62),
                            OFFSET(mfxFrameInfo, ChromaFormat, 64, 64),
                            OFFSET(mfxFrameData, FrameOrder, 40, 40),
                            OFFSET(mfxFrameData, Locked, 44, 44),
                            OFFSET(mfxFrameData, Pitch, 46, 46),
                            OFFSET(mfxFrameData, Y, 48, 48),
                            OFFSET(mfxFrameData, Y16, 48, 48),
                            OFFSET(mfxFrameData, R, 48, 48),
                            OFFSET(mfxFrameData, U, 56, 52),
                            OFFSET(mfxFrameData, UV, 56, 52),
                            OFFSET(mfxFrameData, G, 56, 52),
                            OFFSET(mfxFrameData, V, 64, 56),
                            OFFSET(mfxFrameData, B, 64, 56),
                            OFFSET(mfxFrameData, A, 72, 60),
                            OFFSET(mfxFrameData, MemId, 80, 64),
                            OFFSET(mfxFrameSurface1, Info, 16, 16),
                            OFFSET(mfxFrameSurface1, Data, 88, 88),
                            OFFSET(mfxVideoParam, AsyncDepth, 14, 14),
                            OFFSET(mfxVideoParam, mfx, 16, 16),
                            OFFSET(mfxVideoParam, IOPattern, 186, 186),
                            OFFSET(mfxVideoParam, ExtParam, 192, 188),
                            OFFSET(mfxVideoParam, NumExtParam, 200, 192),
                            OFFSET(mfxInfoMFX, FrameInfo, 32, 32),
                            OFFSET(mfxInfoMFX, CodecId, 100, 100),
                            OFFSET(mfxInfoMFX, TargetUsage, 110, 110),
                            OFFSET(mfxInfoMFX, GopPicSize, 112, 112),
                            OFFSET(mfxInfoMFX, GopRefDist, 114, 114),
                            OFFSET(mfxInfoMFX, RateControlMethod, 120, 120),
                            OFFSET(mfxInfoMFX, BufferSizeInKB, 124, 124),
                            OFFSET(mfxInfoMFX, TargetKbps, 126, 126),
                            OFFSET(mfxInfoMFX, MaxKbps, 128, 128),
                            OFFSET(mfxInfoMFX, NumRefFrame, 132, 132),
                            OFFSET(mfxBitstream, Data, 40, 40),
                            OFFSET(mfxBitstream, DataOffset, 48, 44),
                            OFFSET(mfxBitstream, DataLength, 52, 48),
                            OFFSET(mfxBitstream, MaxLength, 56, 52),
                            OFFSET(mfxBitstream, FrameType, 62, 58),
                            OFFSET(mfxEncodeCtrl, FrameType, 32, 32),
                            OFFSET(mfxExtCodingOption, RefPicMarkRep, 44, 44),
                            OFFSET(mfxExtCodingOption, MaxDecFrameBuffering, 54, 54),
                            OFFSET(mfxFrameAllocRequest, Info, 16, 16),
                            OFFSET(mfxFrameAllocRequest, Type, 84, 84),
                            OFFSET(mfxFrameAllocRequest, NumFrameMin, 86, 86),
                            OFFSET(mfxFrameAllocRequest, NumFrameSuggested, 88, 88),
                            OFFSET(mfxFrameAllocResponse, mids, 16, 16),
                            OFFSET(mfxFrameAllocResponse, NumFrameActual, 24, 20),
                            OFFSET(mfxFrameAllocator, pthis, 16, 16),
                            OFFSET(mfxFrameAllocator, Alloc, 24, 20),
                            OFFSET(mfxFrameAllocator, Lock, 32, 24),
                            OFFSET(mfxFrameAllocator, Unlock, 40, 28),
                            OFFSET(mfxFrameAllocator, GetHDL, 48, 32),
                            OFFSET(mfxFrameAllocator, Free, 56, 36),
                            OFFSET(mfxBufferAllocator, pthis, 16, 16),
                            OFFSET(mfxBufferAllocator, Alloc, 24, 20),
                            OFFSET(mfxBufferAllocator, Lock, 32, 24),
                            OFFSET(mfxBufferAllocator, Unlock, 40, 28),
                            OFFSET(mfxBufferAllocator, Free, 48, 32)};

} // namespace

TEST(MfxStructures, HaveThePublishedOffsets)
{
    for (const Offset& Field : s_Offsets) EXPECT_EQ(Field.Is, Field.Published) << Field.pName;
}

// The table that the SDK is given lies behind the virtual table.
TEST(MfxStructures, AnAllocatorIsMoreThanItsTable)
{
    SysMemFrameAllocator Frames;
    SysMemBufferAllocator Buffers;
    mfxFrameAllocator* const pFrames = &Frames;
    mfxBufferAllocator* const pBuffers = &Buffers;
    EXPECT_NE(static_cast<void*>(pFrames), static_cast<void*>(&Frames));
    EXPECT_NE(static_cast<void*>(pBuffers), static_cast<void*>(&Buffers));
    EXPECT_EQ(pFrames->pthis, static_cast<MFXFrameAllocator*>(&Frames));
    EXPECT_EQ(pBuffers->pthis, static_cast<MFXBufferAllocator*>(&Buffers));
}

TEST(MfxStructures, ValuesAreThePublishedOnes)
{
    EXPECT_EQ(MFX_FRAMETYPE_I | MFX_FRAMETYPE_REF | MFX_FRAMETYPE_IDR, 193);
    EXPECT_EQ(MFX_FRAMETYPE_P | MFX_FRAMETYPE_REF, 66);
    EXPECT_EQ(MFX_MEMTYPE_FROM_ENCODE | MFX_MEMTYPE_SYSTEM_MEMORY | MFX_MEMTYPE_EXTERNAL_FRAME, 0x142);
    EXPECT_EQ(MFX_FOURCC_NV12, 0x3231564E);
    EXPECT_EQ(MFX_FOURCC_A2RGB10, 0x30314752);
    EXPECT_EQ(MFX_FOURCC_R16, 0x55363152);
    EXPECT_EQ(MFX_EXTBUFF_CODING_OPTION, 0x504F4443);
    EXPECT_EQ(MfxImplementation(1), 4);
    EXPECT_EQ(MfxImplementation(2), 1);
    EXPECT_EQ(MfxImplementation(7), 4); // any other kind is hardware
}
