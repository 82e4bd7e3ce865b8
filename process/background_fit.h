// Which part of a stored background is shown behind a frame.
#pragma once

#include <cstdint>

struct CropRectangle {
    int32_t X, Y, Width, Height;
    bool operator==(const CropRectangle&) const = default;
};

/// The centred crop of a background that is resized to the frame. All sizes are positive. The choice of the side that
/// is kept whole looks at which of the frame's sides is longer, not at the two shapes: where the crop meets the limit
/// of the background, the picture is stretched. At least one row and column are left.
CropRectangle FitBackground(int32_t FrameWidth, int32_t FrameHeight, int32_t BackgroundWidth, int32_t BackgroundHeight);
