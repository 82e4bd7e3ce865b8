#include "decoder/entropy/motion.h"

#include <cstring>

namespace UMC {

namespace {

constexpr int kTopRow = CachePos(0, -1);

} // namespace

template <bool kMbaff>
void LoadMotion(MotionCache& Cache, const H264MbInfo& Records, const MbState& Mb, int List)
{
    const h264::MotionVector* const pMv = Records.pMv[List];
    const int8_t* const pRef = Records.pRefIdx[List];

    const auto Put = [&](int Pos, int32_t Neighbour, int Block) {
        if (Neighbour >= 0) {
            Cache.Mv[Pos] = pMv[Neighbour * 16 + Block];
            Cache.Ref[Pos] = pRef[Neighbour * 16 + Block];
            if constexpr (kMbaff) SeeFrom(Mb, Records.pGlobal[Neighbour], Cache.Mv[Pos], Cache.Ref[Pos]);
        } else {
            Cache.Mv[Pos] = {0, 0};
            Cache.Ref[Pos] = h264::kRefUnavailable;
        }
    };
    Put(kCacheTopRight, Mb.TopRight, 12);
    if (kMbaff) {
        for (int x = 0; x < 4; ++x) Put(kTopRow + x, Mb.Top, 12 + x);
    } else if (Mb.Top >= 0) {
        std::memcpy(&Cache.Mv[kTopRow], pMv + Mb.Top * 16 + 12, 4 * sizeof(h264::MotionVector));
        std::memcpy(&Cache.Ref[kTopRow], pRef + Mb.Top * 16 + 12, 4);
    } else {
        std::memset(&Cache.Mv[kTopRow], 0, 4 * sizeof(h264::MotionVector));
        std::memset(&Cache.Ref[kTopRow], h264::kRefUnavailable, 4);
    }
    for (int y = 0; y < (kMbaff ? 4 : 1); ++y) {
        const NeighbourRow AboveLeft = AboveLeftBlock<kMbaff>(Mb, y);
        Put(CachePos(kMbaff ? -2 : -1, y - 1), AboveLeft.Mb, AboveLeft.Row * 4 + 3);
    }
    for (int y = 0; y < 4; ++y) {
        const NeighbourRow Left = LeftBlock<kMbaff>(Mb, y);
        Put(CachePos(-1, y), Left.Mb, Left.Row * 4 + 3);
    }
}
template void LoadMotion<false>(MotionCache&, const H264MbInfo&, const MbState&, int);
template void LoadMotion<true>(MotionCache&, const H264MbInfo&, const MbState&, int);

template <bool kMbaff>
void LoadMvd(MotionCache& Cache, const H264MbInfo& Records, const MbMvd* pMvd, const MbState& Mb)
{
    // The same shift for magnitudes as for vectors; those that are limited stay above all limits of contexts.
    const auto Scale = [&](int Pos, int32_t Neighbour) {
        if (Neighbour < 0 || IsFieldMb(Records.pGlobal[Neighbour]) == IsFieldMb(Mb)) return;
        uint8_t& y = Cache.Mvd[Pos][1];
        y = static_cast<uint8_t>(IsFieldMb(Mb) ? y / 2 : y * 2);
    };
    static constexpr MbMvd kNone{};
    const MbMvd& Top = Mb.Top >= 0 ? pMvd[Mb.Top] : kNone;
    std::memcpy(Cache.Mvd[kTopRow], Top.Bottom, 8);
    if constexpr (kMbaff)
        for (int x = 0; x < 4; ++x) Scale(kTopRow + x, Mb.Top);
    for (int y = 0; y < 4; ++y) {
        const NeighbourRow Left = LeftBlock<kMbaff>(Mb, y);
        std::memcpy(Cache.Mvd[CachePos(-1, y)], (Left.Mb >= 0 ? pMvd[Left.Mb] : kNone).Right[Left.Row], 2);
        if constexpr (kMbaff) Scale(CachePos(-1, y), Left.Mb);
    }
}
template void LoadMvd<false>(MotionCache&, const H264MbInfo&, const MbMvd*, const MbState&);
template void LoadMvd<true>(MotionCache&, const H264MbInfo&, const MbMvd*, const MbState&);

void StoreMotion(const MotionCache& Cache, const H264MbInfo& Records, int32_t Number, int List)
{
    h264::MotionVector* const pMv = Records.pMv[List] + Number * 16;
    int8_t* const pRef = Records.pRefIdx[List] + Number * 16;
    for (int y = 0; y < 4; ++y) {
        std::memcpy(pMv + y * 4, &Cache.Mv[CachePos(0, y)], 4 * sizeof(h264::MotionVector));
        std::memcpy(pRef + y * 4, &Cache.Ref[CachePos(0, y)], 4);
    }
}

void StoreUniformMotion(const H264MbInfo& Records, int32_t Number, int List, int RefIdx, h264::MotionVector Mv)
{
    std::fill_n(Records.pMv[List] + Number * 16, 16, Mv);
    std::memset(Records.pRefIdx[List] + Number * 16, RefIdx, 16);
}

void StoreQuadrantMotion(const H264MbInfo& Records, int32_t Number, int Quadrant, int List, int RefIdx,
                         h264::MotionVector Mv)
{
    const int32_t First = Number * 16 + (Quadrant & 1) * 2 + (Quadrant & 2) * 4;
    for (int y = 0; y < 8; y += 4) {
        std::fill_n(Records.pMv[List] + First + y, 2, Mv);
        std::memset(Records.pRefIdx[List] + First + y, RefIdx, 2);
    }
}

void StoreUnusedList(const H264MbInfo& Records, int32_t Number, int List)
{
    std::memset(Records.pRefIdx[List] + Number * 16, h264::kRefNone, 16);
}

void StoreMvd(const MotionCache& Cache, MbMvd& Mvd)
{
    std::memcpy(Mvd.Bottom, Cache.Mvd[CachePos(0, 3)], 8);
    for (int y = 0; y < 4; ++y) std::memcpy(Mvd.Right[y], Cache.Mvd[CachePos(3, y)], 2);
}

void StoreUniformMvd(MbMvd& Out, const uint8_t Mvd[2])
{
    for (int i = 0; i < 4; ++i) {
        std::memcpy(Out.Bottom[i], Mvd, 2);
        std::memcpy(Out.Right[i], Mvd, 2);
    }
}

} // namespace UMC
