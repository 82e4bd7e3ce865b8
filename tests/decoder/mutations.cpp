#include "tests/decoder/mutations.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <random>

namespace test {

namespace {

class Damage
{
public:
    Damage(const Units& Clean, uint32_t Seed) : m_Clean(Clean), m_Random(Seed) {}

    Mutation FlipBits()
    {
        Bytes Stream = JoinUnits(m_Clean);
        for (size_t i = 1 + Below(12); i > 0; --i) Stream[Below(Stream.size())] ^= static_cast<uint8_t>(1u << Below(8));
        return {"flipped bits", Stream};
    }
    Mutation FlipSliceBits() // start codes and headers of other units stay whole
    {
        Units u = m_Clean;
        for (size_t i = 1 + Below(12); i > 0; --i) {
            Bytes& Unit = u[AnySlice()];
            Unit[1 + Below(Unit.size() - 1)] ^= static_cast<uint8_t>(1u << Below(8));
        }
        return {"flipped bits of slices", JoinUnits(u)};
    }
    Mutation CutUnits()
    {
        Units u = m_Clean;
        for (size_t i = 1 + Below(4); i > 0; --i) {
            Bytes& Unit = u[Below(u.size())];
            const auto Begin = static_cast<std::ptrdiff_t>(1 + Below(Unit.size()));
            const auto End =
                Below(2) ? static_cast<std::ptrdiff_t>(Unit.size())
                         : std::min<std::ptrdiff_t>(Begin + static_cast<std::ptrdiff_t>(Below(200)), Size(Unit));
            if (Begin < End) Unit.erase(Unit.begin() + Begin, Unit.begin() + End);
        }
        return {"cut units", JoinUnits(u)};
    }
    Mutation SwapUnits()
    {
        Units u = m_Clean;
        for (size_t i = 1 + Below(6); i > 0; --i) {
            const size_t a = Below(u.size()), b = Below(2) ? Below(u.size()) : std::min(a + 1, u.size() - 1);
            std::swap(u[a], u[b]);
        }
        return {"swapped units", JoinUnits(u)};
    }
    Mutation LoseSlices()
    {
        static constexpr size_t kPercent[] = {1, 2, 5, 10, 20, 30};
        const size_t Percent = kPercent[Below(std::size(kPercent))];
        Mutation m{"lost slices", {}, std::vector<bool>(m_Clean.size(), true)};
        for (size_t i = 0; i < m_Clean.size(); ++i)
            if (IsSliceUnit(m_Clean[i]) && Below(100) < Percent) m.Kept[i] = false;
        m.Kept[AnySlice()] = false;
        Units u;
        for (size_t i = 0; i < m_Clean.size(); ++i)
            if (m.Kept[i]) u.push_back(m_Clean[i]);
        m.Stream = JoinUnits(u);
        return m;
    }
    Mutation RepeatUnits()
    {
        Units u;
        for (const Bytes& Unit : m_Clean) {
            u.push_back(Unit);
            if (Below(4) == 0) u.push_back(Unit);
            if (Below(16) == 0) u.push_back(u[Below(u.size())]); // an old one again
        }
        return {"repeated units", JoinUnits(u)};
    }
    Mutation TruncateEnd()
    {
        Bytes Stream = JoinUnits(m_Clean);
        Stream.resize(1 + Below(Stream.size()));
        return {"truncated end", Stream};
    }
    Mutation SpliceSets() // of other sizes, formats and tools under the identifiers in use
    {
        Units u = m_Clean;
        for (size_t i = 1 + Below(3); i > 0; --i) {
            SeqParamSet Seq = Spliced();
            PicParamSet Pic{.cabac = Below(2) != 0};
            Pic.num_ref_idx[0] = static_cast<uint32_t>(1 + Below(3));
            Pic.weighted_pred = Below(3) == 0;
            Pic.has_transform_extension = Pic.transform_8x8_mode = Seq.profile_idc == 122;
            Units Sets = SplitUnits(Write(Seq) + (Below(3) ? Write(Pic) : Bytes{}));
            u.insert(u.begin() + static_cast<std::ptrdiff_t>(1 + Below(u.size())), Sets.begin(), Sets.end());
        }
        return {"spliced sets", JoinUnits(u)};
    }
    Mutation All()
    {
        Units u = SplitUnits(LoseSlices().Stream);
        for (auto Step : {&Damage::RepeatUnits, &Damage::SwapUnits, &Damage::SpliceSets, &Damage::FlipSliceBits}) {
            if (u.empty() || std::none_of(u.begin(), u.end(), IsBodied)) break;
            Damage Next(u, static_cast<uint32_t>(m_Random()));
            u = SplitUnits((Next.*Step)().Stream);
        }
        return {"several", JoinUnits(u)};
    }

private:
    static bool IsBodied(const Bytes& Unit) { return IsSliceUnit(Unit) && Unit.size() > 1; }
    static std::ptrdiff_t Size(const Bytes& Unit) { return static_cast<std::ptrdiff_t>(Unit.size()); }
    size_t Below(size_t Limit) { return m_Random() % Limit; }
    size_t AnySlice()
    {
        size_t i = Below(m_Clean.size());
        while (!IsBodied(m_Clean[i])) i = (i + 1) % m_Clean.size();
        return i;
    }
    SeqParamSet Spliced()
    {
        SeqParamSet Seq{.profile_idc = Below(2) ? 77u : 122u};
        if (Seq.profile_idc == 122) {
            Seq.chroma_format_idc = static_cast<uint32_t>(Below(3));
            Seq.bit_depth = static_cast<uint32_t>(8 + Below(2) * Below(7));
            Seq.bit_depth_chroma = static_cast<uint32_t>(8 + Below(2) * Below(7));
        }
        Seq.log2_max_frame_num = static_cast<uint32_t>(4 + Below(5));
        Seq.poc_type = static_cast<uint32_t>(Below(2) * 2);
        Seq.log2_max_poc_lsb = static_cast<uint32_t>(4 + Below(5));
        Seq.num_ref_frames = static_cast<uint32_t>(Below(6));
        Seq.gaps_allowed = Below(2) != 0;
        Seq.width_mbs = static_cast<uint32_t>(1 + Below(40));
        Seq.height_map_units = static_cast<uint32_t>(1 + Below(30));
        Seq.frame_mbs_only = Below(2) != 0;
        Seq.mbaff = Below(2) != 0;
        return Seq;
    }

    const Units& m_Clean;
    std::mt19937 m_Random;
};

} // namespace

Mutation Mutate(const Units& Clean, uint32_t Seed, uint32_t Number)
{
    static constexpr Mutation (Damage::*kKinds[])() = {
        &Damage::LoseSlices, &Damage::FlipSliceBits, &Damage::SpliceSets,  &Damage::CutUnits, &Damage::SwapUnits,
        &Damage::FlipBits,   &Damage::RepeatUnits,   &Damage::TruncateEnd, &Damage::All,      &Damage::LoseSlices};
    Damage Source(Clean, Seed * 65537 + Number);
    return (Source.*kKinds[Number % std::size(kKinds)])();
}

} // namespace test
