#include "process/background_fit.h"

#include <algorithm>

// Length of the crop's other side at a ratio, 1 to Limit. Limited before it is cut to a whole number, which a narrow
// background's would not fit.
static int32_t OtherSide(int32_t FrameSide, double Ratio, int32_t Limit)
{
    return std::max(1, static_cast<int32_t>(std::min<double>(FrameSide / Ratio, Limit)));
}

CropRectangle FitBackground(int32_t FrameWidth, int32_t FrameHeight, int32_t BackgroundWidth, int32_t BackgroundHeight)
{
    CropRectangle Crop{0, 0, BackgroundWidth, BackgroundHeight};
    if (FrameWidth >= FrameHeight) {
        const double Ratio = static_cast<double>(FrameWidth) / BackgroundWidth;
        Crop.Height = OtherSide(FrameHeight, Ratio, BackgroundHeight);
    } else {
        const double Ratio = static_cast<double>(FrameHeight) / BackgroundHeight;
        Crop.Width = OtherSide(FrameWidth, Ratio, BackgroundWidth);
    }
    Crop.X = (BackgroundWidth - Crop.Width) / 2;
    Crop.Y = (BackgroundHeight - Crop.Height) / 2;
    return Crop;
}
