// The driver's structures as the library's compiler lays them out: what they are published with, on every target.
#include "NVIDIA/inc/cuvid_driver.h"

#include <gtest/gtest.h>

#include <cstddef>

namespace {

constexpr bool kWidePointer = sizeof(void*) == 8;
constexpr bool kWideUlong = sizeof(unsigned long) == 8; // on 64-bit Linux alone
constexpr bool kAligned64 = alignof(int64_t) == 8;      // not on 32-bit Linux

// By pointers of 8 and of 4 bytes; by "ulong" of 8 and of 4.
constexpr size_t P(size_t Wide, size_t Narrow) { return kWidePointer ? Wide : Narrow; }
constexpr size_t U(size_t Wide, size_t Narrow) { return kWideUlong ? Wide : Narrow; }
// Behind the first pointer of CUVIDDECODECREATEINFO and of CUVIDSOURCEDATAPACKET both widths count.
constexpr size_t PU(size_t Wide, size_t NarrowUlong, size_t Narrow)
{
    return kWideUlong ? Wide : kWidePointer ? NarrowUlong : Narrow;
}

#define AT(Structure, Field, Offset) static_assert(offsetof(Structure, Field) == (Offset))

static_assert(sizeof(CUVIDPARSERPARAMS) == P(136, 88));
AT(CUVIDPARSERPARAMS, CodecType, 0);
AT(CUVIDPARSERPARAMS, ulMaxNumDecodeSurfaces, 4);
AT(CUVIDPARSERPARAMS, ulClockRate, 8);
AT(CUVIDPARSERPARAMS, ulErrorThreshold, 12);
AT(CUVIDPARSERPARAMS, ulMaxDisplayDelay, 16);
AT(CUVIDPARSERPARAMS, pUserData, 40);
AT(CUVIDPARSERPARAMS, pfnSequenceCallback, P(48, 44));
AT(CUVIDPARSERPARAMS, pfnDecodePicture, P(56, 48));
AT(CUVIDPARSERPARAMS, pfnDisplayPicture, P(64, 52));
AT(CUVIDPARSERPARAMS, pExtVideoInfo, P(128, 84));

static_assert(sizeof(CUVIDSOURCEDATAPACKET) == (kAligned64 ? PU(32, 24, 24) : 20));
AT(CUVIDSOURCEDATAPACKET, flags, 0);
AT(CUVIDSOURCEDATAPACKET, payload_size, U(8, 4));
AT(CUVIDSOURCEDATAPACKET, payload, U(16, 8));
AT(CUVIDSOURCEDATAPACKET, timestamp, kAligned64 ? PU(24, 16, 16) : 12);

static_assert(sizeof(CUVIDEOFORMAT) == 64);
AT(CUVIDEOFORMAT, codec, 0);
AT(CUVIDEOFORMAT, frame_rate.numerator, 4);
AT(CUVIDEOFORMAT, frame_rate.denominator, 8);
AT(CUVIDEOFORMAT, progressive_sequence, 12);
AT(CUVIDEOFORMAT, bit_depth_luma_minus8, 13);
AT(CUVIDEOFORMAT, bit_depth_chroma_minus8, 14);
AT(CUVIDEOFORMAT, coded_width, 16);
AT(CUVIDEOFORMAT, coded_height, 20);
AT(CUVIDEOFORMAT, display_area.left, 24);
AT(CUVIDEOFORMAT, display_area.top, 28);
AT(CUVIDEOFORMAT, display_area.right, 32);
AT(CUVIDEOFORMAT, display_area.bottom, 36);
AT(CUVIDEOFORMAT, chroma_format, 40);
AT(CUVIDEOFORMAT, bitrate, 44);
AT(CUVIDEOFORMAT, display_aspect_ratio.x, 48);
AT(CUVIDEOFORMAT, display_aspect_ratio.y, 52);
AT(CUVIDEOFORMAT, video_signal_description, 56);
AT(CUVIDEOFORMAT, seqhdr_data_length, 60);
static_assert(sizeof(CUVIDEOFORMATEX) == 1088);

static_assert(sizeof(CUVIDDECODECREATEINFO) == PU(176, 112, 104));
AT(CUVIDDECODECREATEINFO, ulWidth, 0);
AT(CUVIDDECODECREATEINFO, ulHeight, U(8, 4));
AT(CUVIDDECODECREATEINFO, ulNumDecodeSurfaces, U(16, 8));
AT(CUVIDDECODECREATEINFO, CodecType, U(24, 12));
AT(CUVIDDECODECREATEINFO, ChromaFormat, U(28, 16));
AT(CUVIDDECODECREATEINFO, ulCreationFlags, U(32, 20));
AT(CUVIDDECODECREATEINFO, bitDepthMinus8, U(40, 24));
AT(CUVIDDECODECREATEINFO, ulIntraDecodeOnly, U(48, 28));
AT(CUVIDDECODECREATEINFO, ulMaxWidth, U(56, 32));
AT(CUVIDDECODECREATEINFO, display_area, U(80, 44));
AT(CUVIDDECODECREATEINFO, OutputFormat, U(88, 52));
AT(CUVIDDECODECREATEINFO, DeinterlaceMode, U(92, 56));
AT(CUVIDDECODECREATEINFO, ulTargetWidth, U(96, 60));
AT(CUVIDDECODECREATEINFO, ulTargetHeight, U(104, 64));
AT(CUVIDDECODECREATEINFO, ulNumOutputSurfaces, U(112, 68));
AT(CUVIDDECODECREATEINFO, vidLock, U(120, 72));
AT(CUVIDDECODECREATEINFO, target_rect, PU(128, 80, 76));

static_assert(sizeof(CUVIDDECODECAPS) == 88);
AT(CUVIDDECODECAPS, eCodecType, 0);
AT(CUVIDDECODECAPS, eChromaFormat, 4);
AT(CUVIDDECODECAPS, nBitDepthMinus8, 8);
AT(CUVIDDECODECAPS, bIsSupported, 24);
AT(CUVIDDECODECAPS, nMaxWidth, 28);
AT(CUVIDDECODECAPS, nMaxHeight, 32);
AT(CUVIDDECODECAPS, nMaxMBCount, 36);
AT(CUVIDDECODECAPS, nMinWidth, 40);
AT(CUVIDDECODECAPS, nMinHeight, 42);

static_assert(sizeof(CUVIDPARSERDISPINFO) == 24);
AT(CUVIDPARSERDISPINFO, picture_index, 0);
AT(CUVIDPARSERDISPINFO, progressive_frame, 4);
AT(CUVIDPARSERDISPINFO, top_field_first, 8);
AT(CUVIDPARSERDISPINFO, repeat_first_field, 12);
AT(CUVIDPARSERDISPINFO, timestamp, 16);

static_assert(sizeof(CUVIDPROCPARAMS) == (kAligned64 ? P(264, 256) : 252));
AT(CUVIDPROCPARAMS, progressive_frame, 0);
AT(CUVIDPROCPARAMS, second_field, 4);
AT(CUVIDPROCPARAMS, top_field_first, 8);
AT(CUVIDPROCPARAMS, unpaired_field, 12);
AT(CUVIDPROCPARAMS, raw_input_dptr, 24);
AT(CUVIDPROCPARAMS, raw_output_dptr, 40);
AT(CUVIDPROCPARAMS, output_stream, 56);

static_assert(sizeof(CUVIDPICPARAMS) == P(4280, 4264));
AT(CUVIDPICPARAMS, CurrPicIdx, 8);
AT(CUVIDPICPARAMS, nBitstreamDataLen, 24);
AT(CUVIDPICPARAMS, pBitstreamData, P(32, 28));
AT(CUVIDPICPARAMS, nNumSlices, P(40, 32));
AT(CUVIDPICPARAMS, pSliceDataOffsets, P(48, 36));
AT(CUVIDPICPARAMS, intra_pic_flag, P(60, 44));
AT(CUVIDPICPARAMS, CodecSpecific, P(184, 168));

} // namespace

// Values as the driver is passed them and as it answers.
TEST(CuvidStructures, EnumerationsHaveTheDriversValues)
{
    EXPECT_EQ(int{cudaVideoCodec_H264}, 4);
    EXPECT_EQ(int{cudaVideoCodec_HEVC}, 8);
    EXPECT_EQ(int{cudaVideoChromaFormat_420}, 1);
    EXPECT_EQ(int{cudaVideoSurfaceFormat_NV12}, 0);
    EXPECT_EQ(int{cudaVideoSurfaceFormat_P016}, 1);
    EXPECT_EQ(int{cudaVideoDeinterlaceMode_Adaptive}, 2);
    EXPECT_EQ(int{cudaVideoCreate_PreferCUVID}, 4);
    EXPECT_EQ(int{CUVID_PKT_ENDOFPICTURE}, 8);
    EXPECT_EQ(CU_CTX_SCHED_BLOCKING_SYNC, 4);
}
