#include "tools/common/png_file.h"

#include "tools/common/files.h"

#include <png.h>

namespace {

// Frees what libpng holds for a picture, whatever happens to it.
struct PngImage : png_image {
    PngImage() : png_image{} { version = PNG_IMAGE_VERSION; }
    ~PngImage() { png_image_free(this); }
    PngImage(const PngImage&) = delete;
    PngImage& operator=(const PngImage&) = delete;
};

} // namespace

FrameSize ReadPng(const std::string& Name, std::vector<uint8_t>& Rgb)
{
    const std::vector<uint8_t> File = ReadWholeFile(Name);
    PngImage Image;
    if (!png_image_begin_read_from_memory(&Image, File.data(), File.size())) throw CliError("not a PNG file: " + Name);
    constexpr png_uint_32 kLargest = 16384;
    if (Image.width > kLargest || Image.height > kLargest) throw CliError("the picture is too large: " + Name);
    Image.format = PNG_FORMAT_BGR;
    Image.flags |= PNG_IMAGE_FLAG_16BIT_sRGB; // deep samples are scaled like shallow ones, not taken for linear light
    Rgb.assign(PNG_IMAGE_SIZE(Image), 0);
    const png_color Black{};
    if (!png_image_finish_read(&Image, &Black, Rgb.data(), 0, nullptr))
        throw CliError("damaged PNG file " + Name + ": " + Image.message);
    return {static_cast<int32_t>(Image.width), static_cast<int32_t>(Image.height)};
}

void WritePng(const std::string& Name, FrameSize Size, const std::vector<uint8_t>& Rgb)
{
    PngImage Image;
    Image.width = static_cast<png_uint_32>(Size.Width);
    Image.height = static_cast<png_uint_32>(Size.Height);
    Image.format = PNG_FORMAT_BGR;
    Image.flags = PNG_IMAGE_FLAG_FAST;
    png_alloc_size_t Bytes = PNG_IMAGE_PNG_SIZE_MAX(Image);
    std::vector<uint8_t> File(Bytes);
    if (!png_image_write_to_memory(&Image, File.data(), &Bytes, 0, Rgb.data(), 0, nullptr))
        throw CliError("cannot compress " + Name + ": " + Image.message);
    OutputFile Out(Name);
    Out.Write(File.data(), Bytes);
    Out.Close();
}
