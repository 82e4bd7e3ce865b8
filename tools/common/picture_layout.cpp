#include "tools/common/picture_layout.h"

#include "quilvex/Quilvex.h"

size_t PictureBytes(PictureLayout Layout, FrameSize Size)
{
    switch (Layout) {
    case PictureLayout::Rgb24: return Size.LumaBytes() * 3;
    case PictureLayout::Rgb32: return Size.LumaBytes() * 4;
    default: return Size.I420Bytes();
    }
}

void CheckSize(PictureLayout Layout, FrameSize Size)
{
    if (Layout == PictureLayout::I420 && (Size.Width % 2 || Size.Height % 2))
        throw CliError("I420 pictures need an even width and height, not " + std::to_string(Size.Width) + "x" +
                       std::to_string(Size.Height));
}

void ChangeLayout(PictureLayout From, PictureLayout To, FrameSize Size, std::vector<uint8_t>& Picture)
{
    if (From == To) return;
    const int32_t w = Size.Width, h = Size.Height;
    if (From != PictureLayout::Rgb24 && To != PictureLayout::Rgb24) {
        ChangeLayout(From, PictureLayout::Rgb24, Size, Picture);
        From = PictureLayout::Rgb24;
    }
    std::vector<uint8_t> Changed(PictureBytes(To, Size));
    if (From == PictureLayout::I420)
        IPP_YUV420ToRGB24(Picture.data(), Changed.data(), w, h);
    else if (From == PictureLayout::Rgb32)
        IPP_RGB32ToRGB24(Picture.data(), w * 4, Changed.data(), w * 3, w, h);
    else if (To == PictureLayout::I420)
        IPP_RGB24ToYUV420(Picture.data(), Changed.data(), w, h);
    else
        IPP_RGB24ToRGB32(Picture.data(), w * 3, Changed.data(), w * 4, w, h);
    Picture.swap(Changed);
}
