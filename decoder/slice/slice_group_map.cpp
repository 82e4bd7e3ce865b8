#include "decoder/slice/slice_group_map.h"

#include <algorithm>

namespace UMC {

namespace {

// mapUnitToSliceGroupMap under way: groups of map units in raster order.
struct UnitMap {
    std::vector<uint8_t>& Group;
    int32_t Width, Height; // map units
    const H264PicParamSet& Pic;

    int32_t Size() const { return Width * Height; }
};

void Interleave(UnitMap& m) // clause 8.2.2.1
{
    size_t i = 0;
    while (i < m.Group.size())
        for (uint32_t Group = 0; Group < m.Pic.num_slice_groups && i < m.Group.size(); ++Group) {
            const size_t Run = std::min<size_t>(m.Pic.run_length[Group], m.Group.size() - i);
            std::fill_n(m.Group.begin() + static_cast<ptrdiff_t>(i), Run, static_cast<uint8_t>(Group));
            i += Run;
        }
}

void Disperse(UnitMap& m) // clause 8.2.2.2
{
    const auto Groups = static_cast<int32_t>(m.Pic.num_slice_groups);
    for (int32_t i = 0; i < m.Size(); ++i)
        m.Group[static_cast<size_t>(i)] = static_cast<uint8_t>((i % m.Width + i / m.Width * Groups / 2) % Groups);
}

void PlaceForeground(UnitMap& m) // clause 8.2.2.3
{
    const auto Width = static_cast<uint32_t>(m.Width), Height = static_cast<uint32_t>(m.Height);
    const uint32_t Background = m.Pic.num_slice_groups - 1;
    std::fill(m.Group.begin(), m.Group.end(), static_cast<uint8_t>(Background));
    for (uint32_t Group = Background; Group-- > 0;) { // the lower one lies on top
        const uint32_t First = m.Pic.top_left[Group], Last = m.Pic.bottom_right[Group];
        const uint32_t Left = First % Width, Right = Last % Width;
        for (uint32_t y = First / Width; y <= Last / Width && y < Height; ++y)
            for (uint32_t x = Left; x <= Right; ++x) m.Group[y * Width + x] = static_cast<uint8_t>(Group);
    }
}

// Clause 8.2.2.4. Where the box has reached an edge of the picture, the units along that edge have been taken: the walk
// goes at once to their end, or it would take as many steps as a flat picture is wide for every few units.
void BoxOut(UnitMap& m, uint32_t Count)
{
    const int32_t Direction = m.Pic.slice_group_change_direction_flag;
    int32_t x = (m.Width - Direction) / 2, y = (m.Height - Direction) / 2;
    int32_t Left = x, Right = x, Top = y, Bottom = y;
    int32_t StepX = Direction - 1, StepY = Direction;
    std::fill(m.Group.begin(), m.Group.end(), uint8_t{1});
    while (Count > 0) {
        uint8_t& Group = m.Group[static_cast<size_t>(y * m.Width + x)];
        Count -= Group;
        Group = 0;
        const bool IsAtEdge = (StepX < 0 && x == 0) || (StepX > 0 && x == m.Width - 1) || (StepY < 0 && y == 0) ||
                              (StepY > 0 && y == m.Height - 1);
        if (StepX < 0 && x == Left) {
            x = Left = std::max(Left - 1, 0);
            StepX = 0;
            StepY = 2 * Direction - 1;
            if (IsAtEdge) y = Direction ? Bottom : Top;
        } else if (StepX > 0 && x == Right) {
            x = Right = std::min(Right + 1, m.Width - 1);
            StepX = 0;
            StepY = 1 - 2 * Direction;
            if (IsAtEdge) y = Direction ? Top : Bottom;
        } else if (StepY < 0 && y == Top) {
            y = Top = std::max(Top - 1, 0);
            StepX = 1 - 2 * Direction;
            StepY = 0;
            if (IsAtEdge) x = Direction ? Left : Right;
        } else if (StepY > 0 && y == Bottom) {
            y = Bottom = std::min(Bottom + 1, m.Height - 1);
            StepX = 2 * Direction - 1;
            StepY = 0;
            if (IsAtEdge) x = Direction ? Right : Left;
        } else {
            x += StepX;
            y += StepY;
        }
    }
}

// Clauses 8.2.2.5 and 8.2.2.6: the first units, row by row or column by column, against the others.
void Divide(UnitMap& m, uint32_t Count, bool ByColumns)
{
    const uint8_t Direction = m.Pic.slice_group_change_direction_flag;
    const int32_t First = Direction ? m.Size() - static_cast<int32_t>(Count) : static_cast<int32_t>(Count);
    for (int32_t i = 0; i < m.Size(); ++i) {
        const int32_t Unit = ByColumns ? i % m.Height * m.Width + i / m.Height : i;
        m.Group[static_cast<size_t>(Unit)] = i < First ? Direction : static_cast<uint8_t>(1 - Direction);
    }
}

void FillUnitMap(UnitMap& m, uint32_t ChangeCycle)
{
    const auto Count = static_cast<uint32_t>(std::min(uint64_t{ChangeCycle} * m.Pic.slice_group_change_rate,
                                                      static_cast<uint64_t>(m.Size()))); // mapUnitsInSliceGroup0
    switch (m.Pic.slice_group_map_type) {
    case 0: Interleave(m); break;
    case 1: Disperse(m); break;
    case 2: PlaceForeground(m); break;
    case 3: BoxOut(m, Count); break;
    case 4: Divide(m, Count, false); break;
    case 5: Divide(m, Count, true); break;
    default: // clause 8.2.2.7
        std::copy_n(m.Pic.slice_group_id.begin(), std::min(m.Pic.slice_group_id.size(), m.Group.size()),
                    m.Group.begin());
    }
}

} // namespace

uint32_t PictureMbs(const H264SeqParamSet& Seq, const SliceHeaderFields& Header)
{
    return Seq.frame_width_in_mbs * (Seq.frame_height_in_mbs >> (Header.field_pic_flag ? 1 : 0));
}

void FillNextMbMap(const H264SeqParamSet& Seq, const H264PicParamSet& Pic, const SliceHeaderFields& Header,
                   std::vector<uint8_t>& Units, uint32_t* pNextMb)
{
    const uint32_t Width = Seq.frame_width_in_mbs, Height = Seq.frame_height_in_mbs / (2u - Seq.frame_mbs_only_flag);
    Units.assign(size_t{Width} * Height, 0);
    UnitMap Map{Units, static_cast<int32_t>(Width), static_cast<int32_t>(Height), Pic};
    FillUnitMap(Map, Header.slice_group_change_cycle);

    // Clause 8.2.2.8. A unit is a macroblock, a pair, or in a frame without pairs two macroblocks one above the other.
    const bool IsOneMb = Seq.frame_mbs_only_flag || Header.field_pic_flag;
    const auto UnitOf = [&](uint32_t Mb) {
        if (IsOneMb) return Mb;
        return Header.MbaffFrameFlag ? Mb / 2 : Mb / (2 * Width) * Width + Mb % Width;
    };
    const uint32_t Count = PictureMbs(Seq, Header);
    uint32_t Next[8];
    std::fill(std::begin(Next), std::end(Next), Count);
    for (uint32_t Mb = Count; Mb-- > 0;) {
        const uint8_t Group = Units[UnitOf(Mb)];
        pNextMb[Mb] = Next[Group];
        Next[Group] = Mb;
    }
}

} // namespace UMC
