/* A client in C that knows of the library its file, eight names and the order of the operations, and no header.
 *
 * Usage: raw_client LIBRARY [STREAM PICTURES]    writes what it compressed and what came back of it
 *
 * It calls as loosely as the 32-bit conventions allow: with a stack at every multiple of 4 bytes, and with other bits
 * above arguments of 8 bits. */
#include "moving_picture.h"
#include "raw_calls.h"

#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

/* The image functions. */
typedef int32_t ConvertCall(const uint8_t* pIn, uint8_t* pOut, int32_t Width, int32_t Height);
typedef int32_t RepackCall(const uint8_t* pSource, int32_t SourcePitch, uint8_t* pTarget, int32_t TargetPitch,
                           int32_t Width, int32_t Height);
typedef int32_t ScaleYuvCall(const uint8_t* pSource, int32_t SourceWidth, int32_t SourceHeight, uint8_t* pTarget,
                             int32_t TargetWidth, int32_t TargetHeight);
typedef int32_t ScaleRgbCall(const uint8_t* pSource, int32_t SourceWidth, int32_t SourceHeight, int32_t SourcePitch,
                             uint8_t* pTarget, int32_t TargetWidth, int32_t TargetHeight, int32_t TargetPitch);

static const char* const kNames[] = {"CreateVCodec",     "CreateVideoProcess", "IPP_RGB24ToYUV420", "IPP_YUV420ToRGB24",
                                     "IPP_RGB24ToRGB32", "IPP_RGB32ToRGB24",   "IPP_YUV420_Scale",  "IPP_RGB24_Scale"};
enum { kNameCount = sizeof kNames / sizeof *kNames };

static HMODULE s_Library;

static void* Function(const char* pName) { return FUNCTION(s_Library, pName); }

/* The eight names, and not one more, with or without a name. */
static void LookAtTheExports(void)
{
    const uint8_t* const pBase = (const uint8_t*)s_Library;
    const IMAGE_NT_HEADERS32* const pHeaders =
        (const IMAGE_NT_HEADERS32*)(pBase + ((const IMAGE_DOS_HEADER*)pBase)->e_lfanew);
    const IMAGE_EXPORT_DIRECTORY* const pExports =
        (const IMAGE_EXPORT_DIRECTORY*)(pBase + pHeaders->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT]
                                                    .VirtualAddress);
    EXPECT(pExports->NumberOfNames == kNameCount);
    EXPECT(pExports->NumberOfFunctions == kNameCount);
    for (int i = 0; i < kNameCount; ++i) EXPECT(Function(kNames[i]));
    EXPECT(!Function("_CreateVCodec"));
    EXPECT(!Function("CreateVCodec@4"));
}

/* ---- The codec ------------------------------------------------------------------------------------------------- */

enum { kPictures = 24, kForcedKey = 8, kRateChange = 16, kStreamRoom = kPictures * kLuma };

typedef struct {
    uint8_t Stream[kStreamRoom]; /* as compressed */
    int Bytes;
    uint8_t Pictures[kPictures][kPicture]; /* as they came back */
    int Count;
} Session;

static void KeepPicture(Session* pOwn, const uint8_t* pPicture, int32_t Type)
{
    const int i = pOwn->Count++;
    const int bKey = i == 0 || i == kForcedKey || i == kRateChange;
    EXPECT(i < kPictures);
    if (i >= kPictures) return;
    EXPECT(Type == (bKey ? 1 : 2));
    memcpy(pOwn->Pictures[i], pPicture, kPicture);
    static uint8_t s_Source[kPicture];
    RenderPicture(i, s_Source);
    EXPECT(LumaPsnr(pPicture, s_Source) > 36);
}

static void DecodeUnit(void* pDecoder, Session* pOwn, const uint8_t* pUnit, int32_t Length, int bFirst)
{
    static uint8_t s_Picture[kPicture];
    int32_t Type = 0;
    const int32_t Result = SLOT(pDecoder, kDecode, int32_t, const uint8_t*, int32_t, uint8_t*,
                                int32_t*)(pDecoder, pUnit, Length, s_Picture, &Type);
    EXPECT(Result == 1);
    EXPECT((Type == 0) == bFirst); /* the first call's picture stands in for one that is to come */
    if (Type) KeepPicture(pOwn, s_Picture, Type);
}

static int32_t EncodePicture(void* pEncoder, int Index, uint8_t* pUnit)
{
    static uint8_t s_Source[kPicture];
    int32_t Length = -7, Type = -7;
    const int bForced = Index == kForcedKey, bKey = Index == 0 || bForced || Index == kRateChange;
    RenderPicture(Index, s_Source);
    const int32_t Result = SLOT(pEncoder, kEncode, int32_t, const uint8_t*, uint8_t*, int32_t*, int32_t,
                                int32_t*)(pEncoder, s_Source, pUnit, &Length, bForced, &Type);
    EXPECT(Result == 1);
    EXPECT(Type == (bKey ? 1 : 2));
    EXPECT(Length > 5);
    EXPECT(memcmp(pUnit, "\0\0\0\1", 4) == 0 || memcmp(pUnit, "\0\0\1", 3) == 0);
    return Length;
}

static void CodeTheSequence(void* pEncoder, void* pDecoder, Session* pOwn)
{
    static uint8_t s_Unit[kLuma * 3];
    static const uint8_t s_Delimiter[] = {0, 0, 0, 1, 9, 0xF0};
    for (int i = 0; i < kPictures; ++i) {
        if (i == kRateChange) EXPECT(SLOT(pEncoder, kSetBitrate, int32_t, int32_t)(pEncoder, 150) == 1);
        const int32_t Length = EncodePicture(pEncoder, i, s_Unit);
        if (Length <= 0 || pOwn->Bytes + Length > kStreamRoom) return;
        memcpy(pOwn->Stream + pOwn->Bytes, s_Unit, (size_t)Length);
        pOwn->Bytes += Length;
        DecodeUnit(pDecoder, pOwn, s_Unit, Length, i == 0);
    }
    DecodeUnit(pDecoder, pOwn, s_Delimiter, sizeof s_Delimiter, 0);
    EXPECT(pOwn->Count == kPictures);
}

static void LookAtTheCounts(void* pCodec)
{
    EXPECT(SLOT(pCodec, kGetFamilyTag, uint32_t)(pCodec) == 0x495050);
    EXPECT(SLOT(pCodec, kGetBackendTag, uint32_t)(pCodec) == 0x495050);
    EXPECT(SLOT(pCodec, kCodecAddRef, int32_t)(pCodec) == 2);
    EXPECT(SLOT(pCodec, kReset, int32_t)(pCodec) == 0);
    EXPECT(SLOT(pCodec, kCodecRelease, int32_t)(pCodec) == 1);
}

static void UseCodecs(Session* pOwn)
{
    CreateVCodecCall* const pCreate = (CreateVCodecCall*)Function("CreateVCodec");
    void *const pEncoder = pCreate(1), *const pDecoder = pCreate(101);
    EXPECT(pEncoder && pDecoder);
    EXPECT(!pCreate(11)); /* hardware only: there is none */
    if (!pEncoder || !pDecoder) return;
    LookAtTheCounts(pEncoder);
    LookAtTheCounts(pDecoder);
    EXPECT(SLOT(pEncoder, kInitEncoder, int32_t, int32_t, int32_t, int32_t, int32_t, int32_t)(pEncoder, kWidth, kHeight,
                                                                                              15, 75, 300) == 1);
    EXPECT(SLOT(pDecoder, kInitDecoder, int32_t, int32_t, int32_t)(pDecoder, kWidth, kHeight) == 1);
    CodeTheSequence(pEncoder, pDecoder, pOwn);
    EXPECT(SLOT(pEncoder, kCodecRelease, int32_t)(pEncoder) == 0);
    /* What the other compiler's `delete` does. */
    EXPECT(SLOT(pDecoder, kCodecDestroy, void*, uint32_t)(pDecoder, 1) == pDecoder);
}

/* ---- Camera pictures ------------------------------------------------------------------------------------------- */

enum { kSide = 32, kRgbPitch = kSide * 3, kRgb = kSide * kRgbPitch };

static void Paint(uint8_t* pRgb, int R, int G, int B)
{
    for (int i = 0; i < kRgb; i += 3) {
        pRgb[i] = (uint8_t)B;
        pRgb[i + 1] = (uint8_t)G;
        pRgb[i + 2] = (uint8_t)R;
    }
}

static void UseKey(void* p)
{
    uint8_t Key[3] = {0}, Default[3] = {0};
    int32_t Distance = 0, DefaultDistance = 0;
    EXPECT(SLOT(p, kSetKeyColor, int32_t, uint32_t, uint32_t, uint32_t)(p, 0xDEADBE05, 0xFFFFFFFA, 0x80000010) == 1);
    EXPECT(SLOT(p, kGetKeyColor, int32_t, uint8_t*, uint8_t*, uint8_t*)(p, &Key[0], &Key[1], &Key[2]) == 1);
    EXPECT(Key[0] == 0x05 && Key[1] == 0xFA && Key[2] == 0x10);
    EXPECT(SLOT(p, kGetDefaultKeyColor, int32_t, uint8_t*, uint8_t*, uint8_t*)(p, &Default[0], &Default[1],
                                                                               &Default[2]) == 1);
    EXPECT(Default[0] == 69 && Default[1] == 250 && Default[2] == 92);
    EXPECT(SLOT(p, kSetKeyDistance, int32_t, int32_t)(p, 33) == 1);
    EXPECT(SLOT(p, kGetKeyDistance, int32_t, int32_t*)(p, &Distance) == 1);
    EXPECT(SLOT(p, kGetDefaultKeyDistance, int32_t, int32_t*)(p, &DefaultDistance) == 1);
    EXPECT(Distance == 33 && DefaultDistance == 60);
}

static void TreatFrames(void* p)
{
    static uint8_t s_Frame[kRgb], s_Background[kRgb];
    Paint(s_Background, 200, 30, 40);
    Paint(s_Frame, 5, 250, 16);
    EXPECT(SLOT(p, kSetBackgroundImage, int32_t, int32_t, int32_t, const uint8_t*,
                int32_t)(p, kSide, kSide, s_Background, kRgbPitch) == 1);
    EXPECT(SLOT(p, kSetKeyingEnabled, int32_t, int32_t)(p, 2) == 1);
    EXPECT(SLOT(p, kGetKeyingEnabled, int32_t)(p) == 2);
    EXPECT(SLOT(p, kProcessFrame, int32_t, int32_t, int32_t, uint8_t*, int32_t)(p, kSide, kSide, s_Frame, kRgbPitch) ==
           1);
    EXPECT(memcmp(s_Frame, s_Background, kRgb) == 0);
    EXPECT(SLOT(p, kSetKeyingEnabled, int32_t, int32_t)(p, 0) == 1);
    EXPECT(SLOT(p, kSetSmoothingEnabled, int32_t, int32_t)(p, 1) == 1);
    EXPECT(SLOT(p, kGetSmoothingEnabled, int32_t)(p) == 1);
    EXPECT(SLOT(p, kSetBrightness, int32_t, float)(p, -0.5f) == 1);
    EXPECT(SLOT(p, kGetBrightness, float)(p) == -0.5f);
    Paint(s_Frame, 100, 100, 100);
    EXPECT(SLOT(p, kProcessFrame, int32_t, int32_t, int32_t, uint8_t*, int32_t)(p, kSide, kSide, s_Frame, kRgbPitch) ==
           1);
    /* Luma 102 of 16 to 235 halved is 51, and that is 41 of 0 to 255. */
    for (int i = 0; i < kRgb; ++i) EXPECT(s_Frame[i] >= 40 && s_Frame[i] <= 42);
}

static void UseVideoProcess(void)
{
    CreateVideoProcessCall* const pCreate = (CreateVideoProcessCall*)Function("CreateVideoProcess");
    void *const p = pCreate(), *const pOther = pCreate();
    EXPECT(p && pOther);
    if (!p || !pOther) return;
    EXPECT(SLOT(p, kProcessAddRef, int32_t)(p) == 2);
    EXPECT(SLOT(p, kProcessRelease, int32_t)(p) == 1);
    UseKey(p);
    TreatFrames(p);
    EXPECT(SLOT(p, kProcessRelease, int32_t)(p) == 0);
    EXPECT(SLOT(pOther, kProcessDestroy, void*, uint32_t)(pOther, 1) == pOther);
}

/* ---- Image functions ------------------------------------------------------------------------------------------- */

static int AreNear(const uint8_t* pOne, const uint8_t* pOther, int Count, int Distance)
{
    for (int i = 0; i < Count; ++i)
        if (abs(pOne[i] - pOther[i]) > Distance) return 0;
    return 1;
}

static void ConvertPictures(const uint8_t* pRgb)
{
    static uint8_t s_Yuv[kSide * kSide * 3 / 2], s_Back[kRgb], s_Flipped[kRgb];
    ConvertCall* const pToYuv = (ConvertCall*)Function("IPP_RGB24ToYUV420");
    ConvertCall* const pToRgb = (ConvertCall*)Function("IPP_YUV420ToRGB24");
    EXPECT(pToYuv(pRgb, s_Yuv, kSide, kSide) == 1);
    EXPECT(pToYuv(NULL, s_Yuv, kSide, kSide) == 0);
    EXPECT(pToRgb(s_Yuv, s_Back, kSide, kSide) == 1);
    EXPECT(pToRgb(s_Yuv, s_Flipped, kSide, -kSide) == 1);
    EXPECT(pToRgb(s_Yuv, s_Flipped, kSide, 0) == 0);
    EXPECT(AreNear(pRgb, s_Back, kRgb, 6));
    for (int y = 0; y < kSide; ++y)
        EXPECT(memcmp(s_Back + y * kRgbPitch, s_Flipped + (kSide - 1 - y) * kRgbPitch, kRgbPitch) == 0);
}

static void RepackPictures(const uint8_t* pRgb)
{
    static uint8_t s_Rgb32[kSide * kSide * 4], s_Back[kRgb];
    RepackCall* const pTo32 = (RepackCall*)Function("IPP_RGB24ToRGB32");
    RepackCall* const pTo24 = (RepackCall*)Function("IPP_RGB32ToRGB24");
    EXPECT(pTo32(pRgb, kRgbPitch, s_Rgb32, kSide * 4, kSide, kSide) == 0);
    EXPECT(pTo32(NULL, kRgbPitch, s_Rgb32, kSide * 4, kSide, kSide) == -1);
    for (int i = 0; i < kSide * kSide; ++i)
        EXPECT(memcmp(s_Rgb32 + 4 * i, pRgb + 3 * i, 3) == 0 && s_Rgb32[4 * i + 3] == 255);
    EXPECT(pTo24(s_Rgb32, kSide * 4, s_Back, kRgbPitch, kSide, kSide) == 0);
    EXPECT(pTo24(s_Rgb32, kSide * 4, NULL, kRgbPitch, kSide, kSide) == -1);
    EXPECT(memcmp(s_Back, pRgb, kRgb) == 0);
}

static void ScalePictures(const uint8_t* pRgb)
{
    static uint8_t s_Yuv[kPicture], s_Half[kPicture / 4], s_Rgb[kRgb];
    ScaleYuvCall* const pScaleYuv = (ScaleYuvCall*)Function("IPP_YUV420_Scale");
    ScaleRgbCall* const pScaleRgb = (ScaleRgbCall*)Function("IPP_RGB24_Scale");
    memset(s_Yuv, 77, sizeof s_Yuv);
    EXPECT(pScaleYuv(s_Yuv, kWidth, kHeight, s_Half, kWidth / 2, kHeight / 2) == 0);
    EXPECT(memcmp(s_Half, s_Yuv, sizeof s_Half) == 0);
    EXPECT(pScaleYuv(NULL, kWidth, kHeight, s_Half, kWidth / 2, kHeight / 2) == -1);
    EXPECT(pScaleRgb(pRgb, kSide, kSide, kRgbPitch, s_Rgb, kSide, kSide, kRgbPitch) == 0);
    EXPECT(AreNear(pRgb, s_Rgb, kRgb, 1));
    EXPECT(pScaleRgb(NULL, kSide, kSide, kRgbPitch, s_Rgb, kSide, kSide, kRgbPitch) == 0);
}

static void UseImageFunctions(void)
{
    static uint8_t s_Rgb[kRgb];
    for (int i = 0; i < kRgb; ++i) s_Rgb[i] = (uint8_t)(60 + i % 3 * 10 + i / kRgbPitch * 2);
    ConvertPictures(s_Rgb);
    RepackPictures(s_Rgb);
    ScalePictures(s_Rgb);
}

/* ---- The whole, from every stack ------------------------------------------------------------------------------- */

static Session s_Sessions[4];
static unsigned s_StacksSeen; /* bit n: a stack at 4 * n bytes above a multiple of 16 */

static void UseTheLibrary(Session* pOwn)
{
    s_StacksSeen |= 1u << ((uintptr_t)__builtin_frame_address(0) / 4 % 4);
    UseCodecs(pOwn);
    UseVideoProcess();
    UseImageFunctions();
}

/* Calls pRun(pOwn) with the stack Offset bytes below a multiple of 16. */
__attribute__((naked)) static void CallOnStack(void (*pRun)(Session*), Session* pOwn, uint32_t Offset)
{
    (void)pRun, (void)pOwn, (void)Offset;
    __asm__("pushl %ebp\n\t"
            "movl %esp, %ebp\n\t"
            "andl $-16, %esp\n\t"
            "subl 16(%ebp), %esp\n\t"
            "pushl 12(%ebp)\n\t"
            "call *8(%ebp)\n\t"
            "leave\n\t"
            "ret");
}

static void WriteFileWhole(const char* pName, const void* pBytes, size_t Size)
{
    FILE* const pFile = fopen(pName, "wb");
    EXPECT(pFile);
    if (!pFile) return;
    EXPECT(fwrite(pBytes, 1, Size, pFile) == Size);
    EXPECT(fclose(pFile) == 0);
}

int main(int Count, char** pArguments)
{
    if (Count != 2 && Count != 4) {
        fprintf(stderr, "usage: raw_client LIBRARY [STREAM PICTURES]\n");
        return 2;
    }
    s_Library = LoadLibraryA(pArguments[1]);
    EXPECT(s_Library);
    if (!s_Library) return 1;
    LookAtTheExports();
    EXPECT(!GetModuleHandleA("Tesselog.dll")); /* none lies there, and nothing asks for it */
    for (int i = 0; i < 4; ++i) {
        CallOnStack(UseTheLibrary, &s_Sessions[i], (uint32_t)(4 * i));
        EXPECT(s_Sessions[i].Bytes == s_Sessions[0].Bytes);
        EXPECT(memcmp(&s_Sessions[i], &s_Sessions[0], sizeof(Session)) == 0);
    }
    EXPECT(s_StacksSeen == 15);
    if (Count == 4) {
        WriteFileWhole(pArguments[2], s_Sessions[0].Stream, (size_t)s_Sessions[0].Bytes);
        WriteFileWhole(pArguments[3], s_Sessions[0].Pictures, sizeof s_Sessions[0].Pictures);
    }
    EXPECT(FreeLibrary(s_Library));
    printf("%d pictures in %d bytes from four stacks, %d expectations do not hold\n", s_Sessions[0].Count,
           s_Sessions[0].Bytes, FailedExpectations());
    return FailedExpectations() != 0;
}
