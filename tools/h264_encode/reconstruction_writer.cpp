#include "tools/h264_encode/reconstruction_writer.h"

#include "tools/common/cli_error.h"

#include <utility>

namespace {

ptrdiff_t RowBytes(const ComparedPlane& Plane) { return ptrdiff_t{Plane.Width} * Plane.SampleBytes; }

} // namespace

ReconstructionWriter::ReconstructionWriter(const ReconstructionFiles& Files)
{
    if (!Files.Displayed.empty()) m_Displayed.emplace(Files.Displayed);
    if (!Files.Coded.empty()) m_Coded.emplace(Files.Coded);
    if (!Files.Compared.empty()) m_Comparison.emplace(Files.Compared);
}

void ReconstructionWriter::Add(const UMC::VideoData& Picture, int32_t DisplayOrder)
{
    if (!m_Displayed && !m_Coded && !m_Comparison) return;
    m_Planes = PlanesOf(Picture);
    Samples Copy;
    for (const ComparedPlane& Plane : m_Planes)
        for (int32_t y = 0; y < Plane.Height; ++y) {
            const uint8_t* const pRow = Plane.pSamples + y * Plane.Pitch;
            Copy.insert(Copy.end(), pRow, pRow + RowBytes(Plane));
        }
    if (m_Coded) m_Coded->Write(Copy.data(), Copy.size());
    m_Order.Add(DisplayOrder, std::move(Copy));
    while (const auto Next = m_Order.Next()) Show(*Next);
}

void ReconstructionWriter::Show(const Samples& Picture)
{
    if (m_Displayed) m_Displayed->Write(Picture.data(), Picture.size());
    if (!m_Comparison) return;
    const uint8_t* pSamples = Picture.data();
    for (ComparedPlane& Plane : m_Planes) { // all pictures have one geometry
        Plane.pSamples = pSamples;
        Plane.Pitch = RowBytes(Plane);
        pSamples += Plane.Pitch * Plane.Height;
    }
    if (const std::string Difference = m_Comparison->Next(m_Planes); !Difference.empty()) throw CliError(Difference);
}

void ReconstructionWriter::Close()
{
    if (m_Order.Waiting() != 0)
        throw CliError(std::to_string(m_Order.Waiting()) + " pictures wait for one that was never coded");
    if (m_Displayed) m_Displayed->Close();
    if (m_Coded) m_Coded->Close();
}
