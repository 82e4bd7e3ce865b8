#include "moving_picture.h"

#include <math.h>
#include <stdio.h>

static int s_Failed = 0;

void RenderPicture(int Index, uint8_t* pPicture)
{
    const int Left = 8 + 3 * Index % 100, Top = 10 + 2 * Index % 70;
    for (int y = 0; y < kHeight; ++y)
        for (int x = 0; x < kWidth; ++x) {
            const int bSquare = x >= Left && x < Left + 40 && y >= Top && y < Top + 40;
            pPicture[y * kWidth + x] = (uint8_t)(bSquare ? 200 - (x - Left + y - Top) : 30 + x / 2 + y / 3);
        }
    for (int i = 0; i < kLuma / 4; ++i) {
        const int x = i % (kWidth / 2), y = i / (kWidth / 2);
        pPicture[kLuma + i] = (uint8_t)(100 + x / 3);
        pPicture[kLuma + kLuma / 4 + i] = (uint8_t)(150 - y / 2);
    }
}

double LumaPsnr(const uint8_t* pOne, const uint8_t* pOther)
{
    double Sum = 0;
    for (int i = 0; i < kLuma; ++i) Sum += (double)(pOne[i] - pOther[i]) * (pOne[i] - pOther[i]);
    return Sum > 0 ? 10 * log10(255.0 * 255.0 * kLuma / Sum) : 99;
}

void Expect(int bHolds, const char* pText, const char* pFile, int Line)
{
    if (bHolds) return;
    ++s_Failed;
    fprintf(stderr, "%s:%d: does not hold: %s\n", pFile, Line, pText);
}

int FailedExpectations(void) { return s_Failed; }
