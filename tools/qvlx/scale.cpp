#include "tools/qvlx/pictures.h"
#include "tools/qvlx/qvlx.h"

namespace {

struct Options : PictureOptions {
    std::string ToSize;
};

// Planes by the bilinear function, everything else by the cubic one.
void ScalePicture(PictureLayout Layout, FrameSize From, FrameSize To, std::vector<uint8_t>& Picture)
{
    std::vector<uint8_t> Scaled(PictureBytes(Layout, To));
    if (Layout == PictureLayout::I420)
        IPP_YUV420_Scale(Picture.data(), From.Width, From.Height, Scaled.data(), To.Width, To.Height);
    else
        IPP_RGB24_Scale(Picture.data(), From.Width, From.Height, From.Width * 3, Scaled.data(), To.Width, To.Height,
                        To.Width * 3);
    Picture.swap(Scaled);
}

void Scale(const Options& Set)
{
    const FrameSize To = ParseFrameSize(Set.ToSize);
    PictureSource Source = OpenPictures(Set);
    const FrameSize From = Source.Size();
    const PictureLayout Layout = Source.Layout() == PictureLayout::I420 ? PictureLayout::I420 : PictureLayout::Rgb24;
    CheckSize(Layout, To);
    RunPictures(Set, Source, {"scaled", Layout, To, [=](std::vector<uint8_t>& Picture) {
                                  ScalePicture(Layout, From, To, Picture);
                              }});
}

} // namespace

Command AddScale(CommandLine& App)
{
    const auto pSet = std::make_shared<Options>();
    AddPictureOptions(App, *pSet);
    App.Add("--to-size", pSet->ToSize, "WxH of the pictures to write").Required();
    return [pSet] { Scale(*pSet); };
}
