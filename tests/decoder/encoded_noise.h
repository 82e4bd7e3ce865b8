// Streams of another encoder.
#pragma once

#include "tests/support/h264_stream_writer.h"
#include "tests/support/system.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/whole_files.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace test {

// Six pictures by x264 of moving noise, slopes and combed lines.
inline Bytes EncodeNoise(const std::string& Options, int Width, int Height, bool Is422 = false, uint32_t Seed = 7)
{
    const TemporaryFolder Folder;
    const std::string In = Folder.File("in.yuv"), Out = Folder.File("out.264");
    Bytes Source;
    std::minstd_rand Random(Seed);
    for (int t = 0; t < 6; ++t)
        for (int Plane = 0; Plane < 3; ++Plane)
            for (int y = 0; y < (Plane && !Is422 ? Height / 2 : Height); ++y)
                for (int x = 0; x < (Plane ? Width / 2 : Width); ++x) {
                    const int Noise = (x + t) / 16 % 2 ? static_cast<int>(Random() >> 8) % 60 : 0;
                    Source.push_back(
                        static_cast<uint8_t>(40 + x + 2 * y / (Plane + 1) + 3 * t + Noise + (x & 32) * (y & 1)));
                }
    WriteWholeFile(In, Source);
    const std::string Command = "x264 --quiet --threads 1 --demuxer raw --input-res " + std::to_string(Width) + "x" +
                                std::to_string(Height) + " --input-csp " +
                                (Is422 ? "i422 --output-csp i422 " : "i420 ") + Options + " -o " + Out + " " + In +
                                " > /dev/null 2>&1";
    EXPECT_EQ(test_system::RunCommand(Command), 0) << Command;
    return ReadWholeFile(Out);
}

} // namespace test
