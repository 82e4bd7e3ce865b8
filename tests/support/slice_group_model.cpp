#include "tests/support/slice_group_model.h"

#include <algorithm>
#include <cstddef>

namespace test {

std::vector<int> MapUnitToSliceGroupMap(const SeqParamSet& Seq, const SliceGroups& Groups, uint32_t ChangeCycle)
{
    const int PicWidthInMbs = static_cast<int>(Seq.width_mbs);
    const int PicHeightInMapUnits = static_cast<int>(Seq.height_map_units);
    const int PicSizeInMapUnits = PicWidthInMbs * PicHeightInMapUnits;
    const int num_slice_groups_minus1 = static_cast<int>(Groups.count) - 1;
    const int dir = Groups.change_direction;
    const int mapUnitsInSliceGroup0 = static_cast<int>(
        std::min<uint64_t>(uint64_t{ChangeCycle} * Groups.change_rate, static_cast<uint64_t>(PicSizeInMapUnits)));
    const int sizeOfUpperLeftGroup = dir ? PicSizeInMapUnits - mapUnitsInSliceGroup0 : mapUnitsInSliceGroup0;
    std::vector<int> map(static_cast<size_t>(PicSizeInMapUnits));
    const auto At = [&](int x, int y) -> int& { return map[static_cast<size_t>(y * PicWidthInMbs + x)]; };
    if (num_slice_groups_minus1 == 0) return map;
    switch (Groups.map_type) {
    case 0: { // clause 8.2.2.1
        const auto run_length = [&](int i) { return static_cast<int>(Groups.run_length[static_cast<size_t>(i)]); };
        int i = 0;
        do
            for (int iGroup = 0; iGroup <= num_slice_groups_minus1 && i < PicSizeInMapUnits; i += run_length(iGroup++))
                for (int j = 0; j < run_length(iGroup) && i + j < PicSizeInMapUnits; j++)
                    map[static_cast<size_t>(i + j)] = iGroup;
        while (i < PicSizeInMapUnits);
        break;
    }
    case 1: // clause 8.2.2.2
        for (int i = 0; i < PicSizeInMapUnits; i++)
            map[static_cast<size_t>(i)] =
                ((i % PicWidthInMbs) + (((i / PicWidthInMbs) * (num_slice_groups_minus1 + 1)) / 2)) %
                (num_slice_groups_minus1 + 1);
        break;
    case 2: // clause 8.2.2.3
        std::fill(map.begin(), map.end(), num_slice_groups_minus1);
        for (int iGroup = num_slice_groups_minus1 - 1; iGroup >= 0; iGroup--) {
            const int top_left = static_cast<int>(Groups.top_left[static_cast<size_t>(iGroup)]);
            const int bottom_right = static_cast<int>(Groups.bottom_right[static_cast<size_t>(iGroup)]);
            for (int y = top_left / PicWidthInMbs; y <= bottom_right / PicWidthInMbs; y++)
                for (int x = top_left % PicWidthInMbs; x <= bottom_right % PicWidthInMbs; x++) At(x, y) = iGroup;
        }
        break;
    case 3: { // clause 8.2.2.4
        std::fill(map.begin(), map.end(), 1);
        int x = (PicWidthInMbs - dir) / 2, y = (PicHeightInMapUnits - dir) / 2;
        int leftBound = x, topBound = y, rightBound = x, bottomBound = y;
        int xDir = dir - 1, yDir = dir, mapUnitVacant;
        for (int k = 0; k < mapUnitsInSliceGroup0; k += mapUnitVacant) {
            mapUnitVacant = At(x, y) == 1;
            if (mapUnitVacant) At(x, y) = 0;
            if (xDir == -1 && x == leftBound) {
                leftBound = std::max(leftBound - 1, 0);
                x = leftBound;
                xDir = 0;
                yDir = 2 * dir - 1;
            } else if (xDir == 1 && x == rightBound) {
                rightBound = std::min(rightBound + 1, PicWidthInMbs - 1);
                x = rightBound;
                xDir = 0;
                yDir = 1 - 2 * dir;
            } else if (yDir == -1 && y == topBound) {
                topBound = std::max(topBound - 1, 0);
                y = topBound;
                xDir = 1 - 2 * dir;
                yDir = 0;
            } else if (yDir == 1 && y == bottomBound) {
                bottomBound = std::min(bottomBound + 1, PicHeightInMapUnits - 1);
                y = bottomBound;
                xDir = 2 * dir - 1;
                yDir = 0;
            } else {
                x += xDir;
                y += yDir;
            }
        }
        break;
    }
    case 4: // clause 8.2.2.5
        for (int i = 0; i < PicSizeInMapUnits; i++)
            map[static_cast<size_t>(i)] = i < sizeOfUpperLeftGroup ? dir : 1 - dir;
        break;
    case 5: // clause 8.2.2.6
        for (int j = 0, k = 0; j < PicWidthInMbs; j++)
            for (int i = 0; i < PicHeightInMapUnits; i++) At(j, i) = k++ < sizeOfUpperLeftGroup ? dir : 1 - dir;
        break;
    default: // clause 8.2.2.7
        for (size_t i = 0; i < map.size(); i++) map[i] = static_cast<int>(Groups.group_id[i]);
    }
    return map;
}

std::vector<int> MbToSliceGroupMap(const SeqParamSet& Seq, const PicParamSet& Pic, const Slice& Slice)
{
    const std::vector<int> Units = MapUnitToSliceGroupMap(Seq, Pic.groups, Slice.slice_group_change_cycle);
    std::vector<int> map(PictureMbs(Seq, Slice));
    const size_t PicWidthInMbs = Seq.width_mbs;
    for (size_t i = 0; i < map.size(); i++) { // clause 8.2.2.8
        if (Seq.frame_mbs_only || Slice.field)
            map[i] = Units[i];
        else if (Seq.mbaff)
            map[i] = Units[i / 2];
        else
            map[i] = Units[(i / (2 * PicWidthInMbs)) * PicWidthInMbs + (i % PicWidthInMbs)];
    }
    return map;
}

} // namespace test
