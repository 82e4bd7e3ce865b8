// What every stream must stand: its units hold no start code, and two decoders, ffmpeg's and ours, give exactly the
// encoder's own pictures.
#pragma once

#include "Common/h264/chroma_geometry.h"
#include "tests/encoder/encoder_testing.h"
#include "tests/support/decode_helper.h"
#include "tests/support/ffmpeg_oracle.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <sstream>
#include <string>

namespace encoder_testing {

// Names the first macroblock, in coding order, at which two pictures differ.
inline std::string FirstDifference(const Picture& a, const Picture& b, const UMC::VideoStreamInfo& Info,
                                   const ClipFormat& f)
{
    int32_t First = INT32_MAX, FirstPlane = 0;
    const int32_t MbWidth = (Info.m_Width + 15) / 16;
    const h264::ChromaGeometry& Chroma = h264::kChromaGeometry[f.Chroma];
    size_t i = 0;
    for (int Plane = 0; Plane < f.Planes(); ++Plane) {
        const int32_t w = f.PlaneWidth(Plane, Info.m_Width) * f.SampleBytes();
        const int32_t MbBytes = (Plane ? Chroma.MbWidth : 16) * f.SampleBytes(), MbRows = Plane ? Chroma.MbHeight : 16;
        for (int32_t y = 0; y < f.PlaneHeight(Plane, Info.m_Height); ++y)
            for (int32_t x = 0; x < w; ++x, ++i) {
                const int32_t Mb = y / MbRows * MbWidth + x / MbBytes;
                if (a[i] == b[i] || Mb >= First) continue;
                First = Mb;
                FirstPlane = Plane;
            }
    }
    std::ostringstream Text;
    Text << "macroblock " << First % MbWidth << ',' << First / MbWidth << ", plane " << FirstPlane;
    return Text.str();
}

inline bool IsSlice(const NalUnit& n) { return n.Type == 1 || n.Type == 5; }

/// Two zeros and a byte below 3 stand nowhere inside a unit (clause 7.4.1), and there are as many slices as were coded:
/// a start code inside one would make two of it.
inline void ExpectNoStartCodeInsideUnits(const CodedStream& d)
{
    size_t Slices = 0;
    for (const NalUnit& n : SplitNalUnits(d.Stream)) {
        ASSERT_TRUE(IsSlice(n) || n.Type == 7 || n.Type == 8 || n.Type == 9) << n.Type;
        Slices += IsSlice(n);
        for (size_t i = 2; i < n.Payload.size(); ++i)
            ASSERT_FALSE(n.Payload[i - 2] == 0 && n.Payload[i - 1] == 0 && n.Payload[i] < 3) << "byte " << i;
    }
    const size_t Pictures = d.Reconstruction.size() * (d.Params().coding_type == 1 ? 2 : 1);
    EXPECT_EQ(Slices, Pictures * static_cast<size_t>(d.Params().num_slices));
}

/// A decoder may make up chroma of pictures that have none: it is not looked at.
inline void ExpectSamePictures(const char* pDecoder, const std::vector<Picture>& Got,
                               const std::vector<Picture>& Wanted, const CodedStream& d)
{
    ASSERT_EQ(Got.size(), Wanted.size()) << pDecoder;
    for (size_t i = 0; i < Got.size(); ++i) {
        const size_t Size = Wanted[i].size();
        ASSERT_TRUE(d.Format().Chroma == 0 ? Got[i].size() >= Size : Got[i].size() == Size) << pDecoder;
        ASSERT_TRUE(std::equal(Wanted[i].begin(), Wanted[i].end(), Got[i].begin()))
            << pDecoder << ", picture " << i << ", "
            << FirstDifference(Got[i], Wanted[i], d.Params().m_Info, d.Format());
    }
}

/// ffmpeg's name of the format that it decodes a stream to.
inline std::string FfmpegFormat(const ClipFormat& f)
{
    const std::string Name = f.Chroma == 2 ? "yuv422p" : "yuv420p"; // it makes up chroma where there is none
    return f.LargestDepth() == 8 ? Name : Name + std::to_string(f.LargestDepth()) + "le";
}

/// What ffmpeg decodes, in display order, without a message.
inline std::vector<Picture> FfmpegPictures(const CodedStream& d, const std::string& Options = "")
{
    // strict: it waits for as many pictures as the level allows before it shows one. cpuflags: its vector code for
    // weights of deep samples gives other pictures than its plain code.
    const bool IsDeep = d.Format().SampleBytes() == 2;
    const std::string All = Options + " -strict strict -flags unaligned" + (IsDeep ? " -cpuflags 0" : "");
    const ffmpeg_oracle::Decoded Got = ffmpeg_oracle::Decode(d.Stream, FfmpegFormat(d.Format()), All);
    EXPECT_EQ(Got.Messages, "");
    const size_t Count = d.Reconstruction.size(), Size = Got.Pictures.size() / std::max<size_t>(Count, 1);
    EXPECT_GT(Size, 0u);
    EXPECT_EQ(Size * Count, Got.Pictures.size());
    std::vector<Picture> Pictures;
    for (size_t i = 0; i < Count; ++i) {
        const auto p = Got.Pictures.begin() + static_cast<ptrdiff_t>(i * Size);
        Pictures.emplace_back(p, p + static_cast<ptrdiff_t>(Size));
    }
    return Pictures;
}

/// Whether the encoder leaves pictures unfiltered that a decoder filters: those that none refers to.
inline bool HasUnfilteredPictures(const CodedStream& d)
{
    if (d.Params().deblocking_filter_idc == 1) return false;
    for (const NalUnit& n : SplitNalUnits(d.Stream))
        if (IsSlice(n) && n.RefIdc == 0) return true;
    return false;
}

/// For streams that ffmpeg does not know.
inline void ExpectOurDecoderGivesTheReconstruction(const CodedStream& d)
{
    ExpectNoStartCodeInsideUnits(d);
    ASSERT_FALSE(d.Reconstruction.empty());
    ExpectSamePictures("our decoder", test::DecodeAll(d.Stream), d.Displayed(), d);
}

inline void ExpectDecodesToReconstruction(const CodedStream& d)
{
    if (!HasUnfilteredPictures(d)) {
        ExpectOurDecoderGivesTheReconstruction(d);
        if (ffmpeg_oracle::IsInstalled()) ExpectSamePictures("ffmpeg", FfmpegPictures(d), d.Displayed(), d);
        return;
    }
    ExpectNoStartCodeInsideUnits(d);
    const std::vector<Picture> Own = test::DecodeAll(d.Stream);
    ASSERT_EQ(Own.size(), d.Reconstruction.size());
    if (!ffmpeg_oracle::IsInstalled()) return;
    ExpectSamePictures("ffmpeg without a filter of disposable pictures", FfmpegPictures(d, "-skip_loop_filter noref"),
                       d.Displayed(), d);
    ExpectSamePictures("our decoder, against ffmpeg", Own, FfmpegPictures(d), d);
}

} // namespace encoder_testing
