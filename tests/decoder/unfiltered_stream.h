// Streams without the edge filter, and their slices handed to a member of the family that a test chooses.
#pragma once

#include "decoder/slice/slice_cursor.h"
#include "decoder/stream/headers_store.h"
#include "decoder/stream/nal_splitter.h"
#include "media/umc_default_memory_allocator.h"
#include "tests/decoder/encoded_noise.h"
#include "tests/decoder/parsed_unit.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>

namespace UMC {

using test::Bytes;

// M::Decode(SliceCursor&) decodes all macroblocks of a slice; M::SampleType is what the pictures are made of. Pictures
// of one slice each, or of two fields with one; P pictures refer to the picture before, fields to its field of
// their parity or, in the first frame, to the first field.
class UnfilteredStream
{
public:
    template <class M>
    Bytes Decode(const Bytes& Stream)
    {
        static constexpr uint8_t kStart[] = {0, 0, 1};
        for (auto At = std::search(Stream.begin(), Stream.end(), kStart, kStart + 3); At != Stream.end();) {
            const auto Next = std::search(At + 3, Stream.end(), kStart, kStart + 3);
            TakeUnit<M>(Bytes(At, Next));
            At = Next;
        }
        return std::move(m_Pictures);
    }

private:
    template <class M>
    void TakeUnit(const Bytes& Data)
    {
        test::Unit Unit(Data);
        switch (Data[3] & 31) {
        case 7: {
            H264SeqParamSet Set{};
            ASSERT_EQ(ReadSeqParamSet(Unit.Bits, Set), StatusOk);
            m_Headers.m_SeqParamSets.Add(Set, true);
            break;
        }
        case 8: {
            auto pSet = std::make_unique<H264PicParamSet>();
            ASSERT_EQ(ReadPicParamSet(Unit.Bits, m_Headers, *pSet), StatusOk);
            m_Headers.m_PicParamSets.Add(*pSet, true);
            break;
        }
        case 1:
        case 5: DecodeSlice<M>(Data); break;
        default: break;
        }
    }
    template <class M>
    void DecodeSlice(const Bytes& Data)
    {
        H264HeapPiece Piece(static_cast<uint32_t>(Data.size()));
        uint32_t Size = 0;
        Swapper().SwapMemory(Piece.m_pData, Size, Data.data(), static_cast<uint32_t>(Data.size()));
        Piece.Seal(Size);
        H264Slice Slice;
        ASSERT_TRUE(Slice.ReadStart(Piece));
        Slice.m_pPicParamSet = m_Headers.m_PicParamSets.Get(Slice.m_Header.pic_parameter_set_id);
        ASSERT_NE(Slice.m_pPicParamSet, nullptr);
        Slice.m_pSeqParamSet = m_Headers.m_SeqParamSets.Get(Slice.m_pPicParamSet->seq_parameter_set_id);
        SliceHeaderTables Tables;
        ASSERT_TRUE(Slice.Init(Tables));
        ASSERT_EQ(Slice.m_Header.disable_deblocking_filter_idc, 1u) << "the members here do not filter";
        Place(Slice);
        const auto pCursor = std::make_unique<SliceCursor>();
        pCursor->View(Slice);
        pCursor->Begin(Slice);
        pCursor->BeginReading(Slice, nullptr);
        M::Decode(*pCursor);
        if (!Slice.m_Header.field_pic_flag || Slice.m_Header.bottom_field_flag)
            Store<typename M::SampleType>(*Slice.m_pFrame);
    }
    // Gives the slice its frame, its records and its list.
    void Place(H264Slice& Slice)
    {
        const bool IsField = Slice.m_Header.field_pic_flag, IsBottom = Slice.m_Header.bottom_field_flag;
        if (!IsBottom) ++m_FrameCount;
        H264DecoderFrame& Frame = m_Frames[m_FrameCount % 2];
        if (!IsBottom) {
            Frame.SetAllocator(&m_Allocator);
            ASSERT_EQ(Frame.Allocate(PictureFormat::Of(*Slice.m_pSeqParamSet)), StatusOk);
            ASSERT_EQ(Frame.AllocateMbInfo(Frame.m_Format.MbCount()), StatusOk);
            Frame.ClearMbInfo();
            m_Local.Allocate(Frame.m_Format.MbCount());
        }
        m_Lists = {};
        const bool IsOfFirst = IsBottom && m_FrameCount == 1;
        m_Lists.List[0].Frame[0] = IsOfFirst ? &Frame : &m_Frames[(m_FrameCount + 1) % 2];
        const int Field = !IsField ? -1 : IsBottom && !IsOfFirst;
        m_Lists.List[0].Flag[0] = static_cast<uint8_t>(kRefFlagShortTerm | (Field & 7));
        Slice.m_pFrame = &Frame;
        Slice.m_pRefPicList = &m_Lists;
        Slice.m_pLocal = &m_Local.Buffers();
        Slice.m_SliceNumber = 1 + IsBottom;
    }
    template <class Sample>
    void Store(const H264DecoderFrame& Frame)
    {
        const PictureView View = ViewPicture(Frame, FRAME_PICTURE);
        for (int i = 0; i < (View.ChromaFormat == 0 ? 1 : 3); ++i) {
            const PictureSize Size = i == 0 ? Frame.m_Format.Size : Frame.m_Format.ChromaSize();
            for (int y = 0; y < Size.Height; ++y) {
                const uint8_t* const pRow = View.pPlane[i] + y * (i == 0 ? View.PitchLuma : View.PitchChroma);
                m_Pictures.insert(m_Pictures.end(), pRow, pRow + Size.Width * static_cast<int>(sizeof(Sample)));
            }
        }
    }

    Headers m_Headers;
    DefaultMemoryAllocator m_Allocator;
    H264DecoderFrame m_Frames[2];
    LocalMbMemory m_Local;
    H264DecoderRefPicList m_Lists{};
    int m_FrameCount = 0;
    Bytes m_Pictures;
};

// An I picture and two P pictures, twice.
inline Bytes EncodeUnfiltered(const std::string& Options, bool Is422)
{
    return test::EncodeNoise("--slices 1 --bframes 0 --ref 1 --weightp 0 --keyint 3 --no-deblock " + Options, 64, 48,
                             Is422);
}

} // namespace UMC
