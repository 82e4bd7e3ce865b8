/* What the clients in C and for other compilers share: a picture sequence, how far a decoded one is from it, and what
 * they expect. */
#pragma once

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

enum { kWidth = 176, kHeight = 144, kLuma = kWidth * kHeight, kPicture = kLuma * 3 / 2 };

/** Renders picture Index as I420: a square travels over a ramp. */
void RenderPicture(int Index, uint8_t* pPicture);
/** PSNR of the luma in decibels; 99 for equal pictures. */
double LumaPsnr(const uint8_t* pOne, const uint8_t* pOther);

/** Counts an expectation that does not hold, and says where. */
void Expect(int bHolds, const char* pText, const char* pFile, int Line);
int FailedExpectations(void);
#define EXPECT(Expression) Expect((Expression) != 0, #Expression, __FILE__, __LINE__)

#ifdef __cplusplus
}
#endif
