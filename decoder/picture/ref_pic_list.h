// The two reference picture lists of one slice.
#pragma once

#include <cstdint>

namespace UMC {

class H264DecoderFrame;

inline constexpr int kMaxFrames = 32;     // of one decoder
inline constexpr int kMaxRefEntries = 34; // 32, one more for the closing null, one spare

// Flag byte of an entry: the low 3 bits hold, signed, the field that it means (0 top, 1 bottom, -1 none), bit 3 whether
// it is a short-term reference.
inline constexpr uint8_t kRefFlagShortTerm = 8;
inline int RefFlagField(uint8_t Flag) { return static_cast<int8_t>(static_cast<uint8_t>(Flag << 5)) >> 5; }

struct H264RefList {
    H264DecoderFrame* Frame[kMaxRefEntries]; // the entry behind the last one used is null
    uint8_t Flag[kMaxRefEntries];
    bool operator==(const H264RefList&) const = default;
};

// Of a frame's slice frames, of a field's slice fields, 32 at most. A field macroblock of an MBAFF frame reads the same
// lists in another way and needs none of its own: its refIdx means a field of the frame at refIdx >> 1, that of the
// macroblock's own parity for an even one and the other for an odd one (clause 8.4.2.1). A frame's lists have 16
// entries in use at most where they are read so: the frames of the buffer, and num_ref_idx_active in frames
// (clause 7.4.3).
struct H264DecoderRefPicList {
    H264RefList List[2];
    bool operator==(const H264DecoderRefPicList&) const = default;
};

// A picture as a number: twice the H264DecoderFrame::m_Index of its frame, plus 1 for a bottom field.
inline int FramePicture(int32_t FrameIndex) { return 2 * FrameIndex; }
inline int PictureIndex(int32_t FrameIndex, int Field) { return FramePicture(FrameIndex) + (Field == 1); }

// What remains of a slice's lists when its picture is decoded: the pictures, by PictureIndex(), for the direct
// prediction of later pictures.
struct H264RefPicIndices {
    static constexpr uint8_t kNone = 0xFF;
    uint8_t Index[2][32];
};

} // namespace UMC
