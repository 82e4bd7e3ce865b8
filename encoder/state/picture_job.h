// The coding of one picture, one attempt at it.
#pragma once

#include "encoder/state/slice_context.h"

#include <memory>
#include <vector>

namespace UMC_H264_ENCODER {

/// The frame step says which picture and of what class; the stages below write what they make of it. The tables and
/// buffers are made once and serve every picture.
template <class Sample>
struct PictureJob {
    H264EncoderFrame<Sample>* pCurrent = nullptr; // its tables are written here too
    int32_t picture_class = CLASS_IDR;            // PictureClass
    PictureStructure Structure = STRUCTURE_FRAME;
    bool IsAuxiliary = false; // the frame's alpha plane, coded as a picture without chroma
    PicturePart Part() const { return {Structure, IsAuxiliary}; }
    bool IsField() const { return Structure != STRUCTURE_FRAME; }
    int32_t Poc() const { return IsField() ? pCurrent->poc[Structure] : pCurrent->Poc(); }
    int32_t PictureId() const { return pCurrent->picture_id + (Structure == STRUCTURE_BOTTOM); }
    // Samples are compared with the source, and predicted from and written to the reconstruction, which has the pitch
    // of the encoder's layout.
    PictureView<const Sample> Source;
    PictureView<Sample> Reconstruction;

    // The picture's macroblocks in the tables of its frame.
    int32_t FirstMb = 0, MbCount = 0;

    /// Takes up a frame, or a field of it, which is coded in place.
    void Begin(H264EncoderFrame<Sample>& Frame, PicturePart Which, int32_t PictureClass)
    {
        pCurrent = &Frame;
        picture_class = PictureClass;
        Structure = Which.Structure;
        IsAuxiliary = Which.IsAuxiliary;
        Reconstruction = ViewOf(Frame, Which);
        Source = ReadOnly(Reconstruction);
        MbCount = Reconstruction.Width / 16 * (Reconstruction.Height / 16);
        FirstMb = FirstMbOf(Which);
    }
    /// Reads the same part of another frame, which stays as it is, so that a second attempt finds the source again.
    void KeepSourceIn(const H264EncoderFrame<Sample>& Frame) { Source = ReadOnly(ViewOf(Frame, Part())); }

    static PictureView<Sample> ViewOf(const H264EncoderFrame<Sample>& Frame, PicturePart Part)
    {
        return PartOf(Part.IsAuxiliary ? Frame.AlphaView() : Frame.View(), Part.Structure);
    }
    /// Where a part of a frame begins in the tables: the bottom field behind the top one, the auxiliary picture behind
    /// both.
    int32_t FirstMbOf(PicturePart Part) const
    {
        const int32_t OfFrame = Part.Structure == STRUCTURE_FRAME ? MbCount : 2 * MbCount;
        return (Part.IsAuxiliary ? OfFrame : 0) + (Part.Structure == STRUCTURE_BOTTOM ? MbCount : 0);
    }

    // What a picture is coded from while its own planes take the reconstruction; null where it is coded in place.
    std::unique_ptr<H264EncoderFrame<Sample>> pScratch;

    std::unique_ptr<SliceContext<Sample>[]> Slices; // with the bits that they produced
    std::unique_ptr<uint8_t[]> SliceBuffers;
    std::vector<LocalMacroblock> LocalMacroblocks;
    std::vector<MotionVector> VectorDifferences[2]; // of the lists; 16 for each macroblock, as are the modes
    std::vector<uint8_t> IntraModes;
    std::vector<uint8_t> CoeffCounts; // kCountsPerMb for each macroblock, CAVLC

    /// For frames of Count macroblocks, those of auxiliary pictures included. Throws std::bad_alloc
    void MakeTables(size_t Count)
    {
        LocalMacroblocks.resize(Count);
        // Of both lists in any case: a client may ask for a B picture whatever the settings say.
        for (auto& List : VectorDifferences) List.resize(Count * 16);
        IntraModes.resize(Count * 16);
        CoeffCounts.resize(Count * kCountsPerMb);
    }
};

} // namespace UMC_H264_ENCODER
