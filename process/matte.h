// The matte of chroma keying and the blend by it.
#pragma once

#include "process/chroma_key.h"

#include <cstdint>

/// The planes that the matte is made in, each Width x Height without padding. None is owned.
struct MattePlanes {
    uint8_t *pU, *pV;               // chroma of the picture, smoothed by the call
    float *pDistanceA, *pDistanceB; // work
    uint8_t* pMask;                 // receives the matte
    int32_t Width, Height;
};

/// Makes the matte: 0 within the key's inner radius, 255 beyond the outer one, between them a ramp in the square of the
/// distance. The chroma is smoothed by a binomial filter and the matte by a plain mean, on purpose; the outermost rows
/// and columns are not smoothed.
void MakeMatte(const MattePlanes& Planes, const ChromaKey& Key);

/// Lays a picture over a background by its matte: for each colour the mean of the two, weighted by the mask and by what
/// it leaves of 255. All are Width x Height without padding, the pictures of four bytes a pixel.
/// @param pPicture     Receives the result; its fourth bytes the sum of both alphas.
/// @param pBackground  Receives the background's alpha in its fourth bytes.
/// @param pAlpha       Receives the background's alpha.
void BlendOver(uint8_t* pPicture, uint8_t* pBackground, const uint8_t* pMask, uint8_t* pAlpha, int32_t Width,
               int32_t Height);
