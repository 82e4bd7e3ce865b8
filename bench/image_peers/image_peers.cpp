#include "bench/image_peers/image_peers.h"

// The kernels run on the caller's thread, and so do their peers.
[[maybe_unused]] static const bool s_OneThread = (cv::setNumThreads(1), true);
