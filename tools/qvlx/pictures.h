// What the commands that turn pictures into pictures share: their options, and the way of each picture.
#pragma once

#include "tools/common/command_line.h"
#include "tools/common/picture_files.h"

#include <functional>

struct PictureOptions {
    std::string In, Out, Size, From, To;
    int64_t Frames = -1;
    bool bJson = false, bQuiet = false;
};

void AddPictureOptions(CommandLine& App, PictureOptions& Set);

/// What is done to each picture, in the layout and size that the command works in.
struct PictureWork {
    const char* pDone;    // for progress and report, such as "scaled"
    PictureLayout Layout; // that the pictures are brought to before
    FrameSize OutSize;    // that they have afterwards
    std::function<void(std::vector<uint8_t>&)> Treat;
};

/// Opens what the options name.
PictureSource OpenPictures(const PictureOptions& Set);
/// Takes every picture of the source to the output file and reports.
void RunPictures(const PictureOptions& Set, PictureSource& Source, const PictureWork& Work);
