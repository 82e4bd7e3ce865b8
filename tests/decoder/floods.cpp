#include "tests/decoder/floods.h"

#include <algorithm>
#include <string>

namespace test {

namespace {

constexpr uint32_t kLargest = 36864; // macroblocks: 256 x 144

constexpr SeqParamSet Sized(uint32_t Width, uint32_t Height)
{
    SeqParamSet Seq;
    Seq.level_idc = 51;
    Seq.log2_max_frame_num = 16;
    Seq.num_ref_frames = 1;
    Seq.width_mbs = Width;
    Seq.height_map_units = Height;
    return Seq;
}

Slice At(uint32_t FirstMb, uint32_t FrameNum = 0)
{
    Slice s;
    s.nal_unit_type = FrameNum == 0 ? 5 : 1;
    s.first_mb = FirstMb;
    s.frame_num = FrameNum;
    s.disable_deblocking = 0;
    return s;
}

// An I slice of Count macroblocks of 128.
Bytes FlatSlice(const SeqParamSet& Seq, const PicParamSet& Pic, Slice s, int Count = 1)
{
    s.slice_type = 7;
    BitWriter b = Header(Seq, Pic, s);
    for (int i = 0; i < Count; ++i) {
        b.UE(3);   // I_16x16_2_0_0: the mean of the neighbours
        b.UE(0);   // intra_chroma_pred_mode
        b.SE(0);   // mb_qp_delta
        b.U(1, 1); // no coefficients of the DC block
    }
    return Finish(b, s);
}

Slice Inter(uint32_t FirstMb, uint32_t FrameNum)
{
    Slice s = At(FirstMb, FrameNum);
    s.slice_type = 5;
    return s;
}

// Pictures of 64 columns, a slice for each macroblock.
Flood SlicesOfOneMacroblock(uint32_t Count)
{
    const SeqParamSet Seq = Sized(64, Count / 64);
    const PicParamSet Pic;
    Flood f{Write(Seq) + Write(Pic), Count};
    for (uint32_t Mb = 0; Mb < Count; ++Mb) f.Stream += FlatSlice(Seq, Pic, At(Mb));
    return f;
}

// The same in the wrong order, and with arithmetic coding.
Flood SlicesFromTheLast(uint32_t Count)
{
    const SeqParamSet Seq = Sized(64, Count / 64);
    const PicParamSet Pic{.cabac = true};
    Flood f{Write(Seq) + Write(Pic), Count};
    for (uint32_t Mb = Count; Mb-- > 0;) {
        BitWriter b = Header(Seq, Pic, At(Mb));
        b.Align(1);
        b.U(32, 0x3A5C9E71); // whatever it is
        f.Stream += Finish(b, At(Mb));
    }
    return f;
}

Flood EmptySlices(uint32_t Count)
{
    const SeqParamSet Seq = Sized(64, Count / 64);
    const PicParamSet Pic;
    Flood f{Write(Seq) + Write(Pic), Count};
    for (uint32_t Mb = 0; Mb < Count; ++Mb) {
        BitWriter b = Header(Seq, Pic, At(Mb));
        f.Stream += Finish(b, At(Mb));
    }
    return f;
}

// Each of them covers all of the picture but its first macroblock.
Flood SlicesOverEachOther(uint32_t Count)
{
    const SeqParamSet Seq = Sized(64, Count / 64);
    const PicParamSet Pic;
    Flood f{Write(Seq) + Write(Pic) + FlatSlice(Seq, Pic, At(0), static_cast<int>(Count)), 2 * uint64_t{Count}};
    f.Stream += SkipSlice(Seq, Pic, Inter(0, 1), 1);
    for (uint32_t i = 1; i < Count; ++i) f.Stream += SkipSlice(Seq, Pic, Inter(1, 1), static_cast<int>(Count) - 1);
    return f;
}

// Each opens a picture.
Flood SlicesThatStartAtZero(uint32_t Count)
{
    const SeqParamSet Seq = Sized(4, 4);
    const PicParamSet Pic;
    Flood f{Write(Seq) + Write(Pic), 16 * uint64_t{Count}};
    for (uint32_t i = 0; i < Count; ++i) f.Stream += FlatSlice(Seq, Pic, At(0, i == 0 ? 0 : 1));
    return f;
}

Flood SlicesOfNoParameterSet(uint32_t Count)
{
    const SeqParamSet Seq = Sized(4, 4);
    Flood f{Write(Seq) + Write(PicParamSet{})};
    Slice s = At(0);
    s.pps_id = 9;
    for (uint32_t i = 0; i < Count; ++i) f.Stream += FlatSlice(Seq, {}, s);
    return f;
}

// Missing frame numbers, which the buffer's size of frames is made up for.
Flood Gaps(uint32_t Count)
{
    SeqParamSet Seq = Sized(4, 4);
    Seq.gaps_allowed = true;
    const PicParamSet Pic;
    Flood f{Write(Seq) + Write(Pic) + FlatSlice(Seq, Pic, At(0), 16), 16};
    for (uint32_t i = 1; i < Count; ++i) f.Stream += SkipSlice(Seq, Pic, Inter(0, i * 1000 % 65536 + 1), 16);
    f.Macroblocks = 17 * 16 * uint64_t{Count};
    return f;
}

// Reordering and marking commands, as many as fit.
Flood Commands(uint32_t Count)
{
    SeqParamSet Seq = Sized(4, 4);
    Seq.num_ref_frames = 16;
    const PicParamSet Pic;
    Flood f{Write(Seq) + Write(Pic) + FlatSlice(Seq, Pic, At(0), 16), 16 * uint64_t{Count}};
    for (uint32_t i = 1; i < Count; ++i) {
        Slice s = Inter(0, i);
        s.num_ref_idx[0] = 32;
        for (uint32_t k = 0; k < 32; ++k) s.reordering[0].emplace_back(k % 2, k % 16);
        for (uint32_t k = 0; k < 10; ++k) {
            s.marking.push_back({6, k});
            s.marking.push_back({2, k});
            s.marking.push_back({1, k});
        }
        f.Stream += SkipSlice(Seq, Pic, s, 16);
    }
    return f;
}

// The longest order cycle, summed for each picture and slice.
Flood OrderCycle(uint32_t Count)
{
    SeqParamSet Seq = Sized(2, 1);
    Seq.poc_type = 1;
    Seq.offset_for_ref_frame.assign(255, 2);
    const PicParamSet Pic;
    Flood f{Write(Seq) + Write(Pic), 2 * uint64_t{Count}};
    for (uint32_t i = 0; i < Count; ++i) f.Stream += FlatSlice(Seq, Pic, At(0, i), 2);
    return f;
}

// Every identifier by turns, with other contents each time, while a picture is in work.
Flood PicParamSets(uint32_t Count)
{
    const SeqParamSet Seq = Sized(4, 4);
    Flood f{Write(Seq) + Write(PicParamSet{}) + FlatSlice(Seq, {}, At(0), 16), 16};
    for (uint32_t i = 0; i < Count; ++i)
        f.Stream += Write(PicParamSet{.id = i % 256, .pic_init_qp = 20 + static_cast<int32_t>(i / 256 % 7)});
    return f;
}

Flood SeqParamSets(uint32_t Count)
{
    SeqParamSet Seq = Sized(4, 4);
    Flood f{Write(Seq) + Write(PicParamSet{}) + FlatSlice(Seq, {}, At(0), 16), 16};
    for (uint32_t i = 0; i < Count; ++i) {
        Seq.id = i % 32;
        Seq.num_ref_frames = 1 + i / 32 % 3;
        f.Stream += Write(Seq);
    }
    return f;
}

Flood OneUnit(uint32_t Type, const Bytes& Payload) { return {Write(Sized(4, 4)) + NalUnit(0, Type, Payload)}; }

// Messages of type 0 and size 0, with an end that is no zero.
Flood SeiOfZeros(uint32_t Count)
{
    Bytes Payload(Count * 1000, 0);
    Payload.insert(Payload.end(), {1, 0, 0x80});
    return OneUnit(6, Payload);
}
Flood SeiOfOnes(uint32_t Count) { return OneUnit(6, Bytes(Count * 1000, 0xFF)); }

Flood UserData(uint32_t Count)
{
    Bytes Payload;
    for (uint32_t i = 0; i < Count; ++i) Payload += Bytes{4, 6, 0xB5, 1, 2, 3, 4, static_cast<uint8_t>(i)};
    Payload.push_back(0x80);
    return OneUnit(6, Payload);
}

Flood Delimiters(uint32_t Count)
{
    Flood f{Write(Sized(4, 4))};
    for (uint32_t i = 0; i < Count; ++i) f.Stream += Bytes{0, 0, 1, 9, 0x10};
    return f;
}

Flood BareStartCodes(uint32_t Count)
{
    Flood f{Write(Sized(4, 4))};
    for (uint32_t i = 0; i < Count; ++i) f.Stream += Bytes{0, 0, 1};
    return f;
}

Flood Zeros(uint32_t Count) { return {Write(Sized(4, 4)) + Bytes(Count * 1000, 0)}; }

Flood ZerosBehindASlice(uint32_t Count)
{
    const SeqParamSet Seq = Sized(4, 4);
    return {Write(Seq) + Write(PicParamSet{}) + FlatSlice(Seq, {}, At(0), 16) + Bytes(Count * 1000, 0) +
                FlatSlice(Seq, {}, At(0, 1), 16),
            32};
}

// Units of every size up to a bound, each larger than the one before.
Flood GrowingUnits(uint32_t Count)
{
    Flood f{Write(Sized(4, 4))};
    for (uint32_t i = 0; i < Count; ++i) {
        f.Stream += Bytes{0, 0, 1, 12};
        f.Stream += Bytes(i % 500, 0xFF);
    }
    return f;
}

// Another size at each picture.
Flood Sizes(uint32_t Count)
{
    Flood f;
    for (uint32_t i = 0; i < Count; ++i) {
        const SeqParamSet Seq = Sized(2 + i % 7, 2 + i % 5);
        const uint32_t Mbs = Seq.width_mbs * Seq.height_map_units;
        f.Stream += Write(Seq) + Write(PicParamSet{}) + FlatSlice(Seq, {}, At(0), static_cast<int>(Mbs));
        f.Macroblocks += Mbs;
    }
    return f;
}

constexpr FloodKind kFloods[] = {
    {"slices of one macroblock", SlicesOfOneMacroblock, 192},
    {"slices from the last", SlicesFromTheLast, 64},
    {"empty slices", EmptySlices, 64},
    {"slices over each other", SlicesOverEachOther, 192},
    {"slices that start at zero", SlicesThatStartAtZero, 40},
    {"slices of no parameter set", SlicesOfNoParameterSet, 1000},
    {"gaps", Gaps, 30},
    {"commands", Commands, 60},
    {"order cycle", OrderCycle, 100},
    {"picture parameter sets", PicParamSets, 500},
    {"sequence parameter sets", SeqParamSets, 500},
    {"SEI of zeros", SeiOfZeros, 6},
    {"SEI of ones", SeiOfOnes, 100},
    {"user data", UserData, 1000},
    {"delimiters", Delimiters, 2000},
    {"bare start codes", BareStartCodes, 2000},
    {"zeros", Zeros, 300},
    {"zeros behind a slice", ZerosBehindASlice, 300},
    {"growing units", GrowingUnits, 400},
    {"sizes", Sizes, 40},
};

} // namespace

std::span<const FloodKind> AllFloods() { return kFloods; }

Flood OneMacroblockSlices()
{
    const SeqParamSet Seq = Sized(256, 144);
    Flood f{Write(Seq) + Write(PicParamSet{}), kLargest};
    for (uint32_t Mb = 0; Mb < kLargest; ++Mb) f.Stream += FlatSlice(Seq, {}, At(Mb));
    return f;
}

Flood TooManySlices()
{
    const SeqParamSet Seq = Sized(256, 144);
    Flood f{Write(Seq) + Write(PicParamSet{}), kLargest};
    for (uint32_t i = 0; i < 100000; ++i) f.Stream += FlatSlice(Seq, {}, At(i == 0 ? 0 : 1 + i % (kLargest - 1)));
    return f;
}

Flood TooLargePicture()
{
    const SeqParamSet Seq = Sized(300, 300);
    Flood f{Write(Seq) + Write(PicParamSet{})};
    for (uint32_t Mb = 0; Mb < 90000; ++Mb) f.Stream += FlatSlice(Seq, {}, At(Mb));
    return f;
}

Flood LargestParameterSets()
{
    Flood f{Write(Sized(256, 144))};
    for (uint32_t Round = 0; Round < 2; ++Round)
        for (uint32_t Id = 0; Id < 256; ++Id) {
            BitWriter b;
            b.UE(Id);
            b.UE(0);
            b.U(2, 0);
            b.UE(7); // eight slice groups
            b.UE(6); // of each macroblock by itself
            b.UE(kLargest - 1);
            for (uint32_t i = 0; i < kLargest; ++i) b.U(3, (i + Round) % 8);
            b.UE(0);
            b.UE(0);
            b.U(3, 0);
            for (int i = 0; i < 3; ++i) b.SE(0);
            b.U(3, 0);
            b.TrailingBits();
            f.Stream += NalUnit(3, 8, b.Data());
        }
    return f;
}

Flood LongSlices()
{
    const SeqParamSet Seq = Sized(64, 64);
    Flood f{Write(Seq) + Write(PicParamSet{}), 64 * 64};
    for (uint32_t Mb = 0; Mb < 64; ++Mb) {
        Bytes Slice = FlatSlice(Seq, {}, At(Mb));
        Slice += Bytes(400000, 0xFF);
        Slice += Bytes(400000, 0);
        f.Stream += Slice;
    }
    return f;
}

Flood ListsOfTheirOwn()
{
    SeqParamSet Seq = Sized(256, 144);
    Seq.num_ref_frames = 5;
    Flood f{Write(Seq) + Write(PicParamSet{}), 8 * uint64_t{kLargest}};
    f.Stream += FlatSlice(Seq, {}, At(0), kLargest);
    for (uint32_t Picture = 1; Picture < 8; ++Picture)
        for (uint32_t Mb = 0; Mb < kLargest; ++Mb) {
            Slice s = Inter(Mb, Picture);
            s.num_ref_idx[0] = 32;
            if (Mb % 2 != 0) s.reordering[0].emplace_back(0, 0);
            if (Mb % 4 > 1) s.reordering[0].emplace_back(0, 0);
            f.Stream += SkipSlice(Seq, {}, s, 1);
        }
    return f;
}

Flood References444()
{
    SeqParamSet Seq = Sized(64, 64);
    Seq.profile_idc = 144;
    Seq.chroma_format_idc = 3;
    Seq.num_ref_frames = 16;
    Flood f{Write(Seq) + Write(PicParamSet{}) + FlatSlice(Seq, {}, At(0), 4096), 4096};
    for (uint32_t FrameNum = 1; FrameNum < 24; ++FrameNum, f.Macroblocks += 4096)
        f.Stream += SkipSlice(Seq, {}, Inter(0, FrameNum), 4096);
    return f;
}

Flood ManySizes()
{
    Flood f;
    for (uint32_t i = 0; i < 60; ++i) {
        // Small pictures first, of which a buffer holds many.
        const SeqParamSet Seq = i < 20 ? Sized(8, 8) : Sized(256 - i % 20, 130 + i % 14);
        const uint32_t Mbs = Seq.width_mbs * Seq.height_map_units;
        f.Stream += Write(Seq) + Write(PicParamSet{}) + FlatSlice(Seq, {}, At(0), static_cast<int>(Mbs));
        f.Macroblocks += Mbs;
    }
    return f;
}

Flood SmallBehindLarge()
{
    Flood f;
    for (const uint32_t Side : {144u, 4u}) {
        SeqParamSet Seq = Sized(Side == 4 ? 4 : 256, Side);
        Seq.num_ref_frames = 5;
        const int Mbs = static_cast<int>(Seq.width_mbs * Side);
        f.Stream += Write(Seq) + Write(PicParamSet{});
        for (uint32_t Picture = 0; Picture < 9; ++Picture) f.Stream += FlatSlice(Seq, {}, At(0, Picture), Mbs);
        f.Macroblocks += 9 * static_cast<uint64_t>(Mbs);
    }
    return f;
}

} // namespace test
