#include "tests/support/ffmpeg_oracle.h"

#include "tests/support/temporary_folder.h"
#include "tests/support/whole_files.h"

#include <cstdio>
#include <cstdlib>

namespace ffmpeg_oracle {

bool IsInstalled()
{
    static const bool bInstalled = test_system::RunCommand("ffmpeg -version > /dev/null 2>&1") == 0;
    return bInstalled;
}

Decoded Decode(const std::vector<uint8_t>& Stream, const std::string& PixelFormat, const std::string& Options)
{
    const TemporaryFolder Folder;
    const std::string In = Folder.File("in.264"), Out = Folder.File("out.yuv"), Log = Folder.File("log");
    test::WriteWholeFile(In, Stream);
    const std::string Command = "ffmpeg -v warning -nostdin -threads 1 " + Options + " -f h264 -i " + In +
                                " -f rawvideo -fps_mode passthrough -bsf:v setts=ts=N -pix_fmt " + PixelFormat +
                                " -y " + Out + " > " + Log + " 2>&1"; // field pictures would share a time stamp
    const int Result = test_system::RunCommand(Command);
    const std::vector<uint8_t> Messages = test::ReadWholeFile(Log);
    Decoded d{test::ReadWholeFile(Out), {Messages.begin(), Messages.end()}};
    if (Result != 0 && d.Messages.empty()) d.Messages = "ffmpeg failed";
    return d;
}

std::vector<uint8_t> ConvertPicture(const std::vector<uint8_t>& Raw, int Width, int Height, const std::string& From,
                                    const std::string& To)
{
    const TemporaryFolder Folder;
    const std::string In = Folder.File("in.raw"), Out = Folder.File("out.raw");
    test::WriteWholeFile(In, Raw);
    // ffmpeg keeps this layout as a codec of its own, with the bottom line first.
    const bool bFlip = (From == "y41p") != (To == "y41p");
    const std::string Size = std::to_string(Width) + "x" + std::to_string(Height);
    const std::string Command =
        "ffmpeg -v error -nostdin -threads 1 -f rawvideo " +
        (From == "y41p" ? "-c:v y41p -pixel_format yuv411p" : "-pixel_format " + From) + " -video_size " + Size +
        " -i " + In + (bFlip ? " -vf vflip" : "") + " -sws_flags accurate_rnd+full_chroma_int+bitexact " +
        (To == "y41p" ? "-c:v y41p -pix_fmt yuv411p" : "-pix_fmt " + To) + " -f rawvideo -y " + Out + " 2> /dev/null";
    return test_system::RunCommand(Command) == 0 ? test::ReadWholeFile(Out) : std::vector<uint8_t>();
}

} // namespace ffmpeg_oracle
