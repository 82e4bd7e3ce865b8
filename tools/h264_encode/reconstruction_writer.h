// Where the reconstruction of a stream goes.
#pragma once

#include "media/umc_video_data.h"
#include "tools/common/compared_planes.h"
#include "tools/common/display_order.h"
#include "tools/common/files.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// Files by name; an empty one is none.
struct ReconstructionFiles {
    std::string Displayed; // receives the pictures in display order
    std::string Coded;     // receives them as they are coded
    std::string Compared;  // pictures that another decoder made of the stream, in display order
};

/// Pictures of a stream, cropped, in their own format and depth. CliError for a file that cannot be written, and at the
/// first picture that differs from the other decoder's.
class ReconstructionWriter
{
public:
    explicit ReconstructionWriter(const ReconstructionFiles& Files);

    /// Pictures come in coding order; DisplayOrder counts them from 0.
    void Add(const UMC::VideoData& Picture, int32_t DisplayOrder);
    /// CliError when a picture still waits for one before it.
    void Close();

private:
    using Samples = std::vector<uint8_t>;
    void Show(const Samples& Picture);

    std::optional<OutputFile> m_Displayed, m_Coded;
    std::optional<PictureComparison> m_Comparison;
    std::vector<ComparedPlane> m_Planes;
    DisplayOrder<Samples> m_Order;
};
