/* A client that ships its logging library beside the codec library, in another folder than its own: what is logged, at
 * which level, from load to unload.
 *
 * Usage: log_client LIBRARY RECORD    RECORD is made anew */
#include "moving_picture.h"
#include "raw_calls.h"

#include <stdint.h>
#include <stdio.h>
#include <string.h>

static char s_Record[1 << 16];

/* Everything recorded so far. */
static const char* Recorded(const char* pName)
{
    FILE* const pFile = fopen(pName, "rb");
    s_Record[0] = 0;
    if (!pFile) return s_Record;
    s_Record[fread(s_Record, 1, sizeof s_Record - 1, pFile)] = 0;
    fclose(pFile);
    return s_Record;
}

/* One line of each level. */
static void UseCodec(HMODULE Library)
{
    static uint8_t s_Picture[64 * 48 * 3 / 2];
    const uint8_t Byte = 0;
    void* const p = ((CreateVCodecCall*)FUNCTION(Library, "CreateVCodec"))(100);
    EXPECT(SLOT(p, kInitDecoder, int32_t, int32_t, int32_t)(p, 64, 48) == 1);
    for (int i = 0; i < 2; ++i) /* nothing to decode; a black picture stands in at the first call */
        EXPECT(SLOT(p, kDecode, int32_t, const uint8_t*, int32_t, uint8_t*, int32_t*)(p, &Byte, 1, s_Picture, NULL) ==
               !i);
    EXPECT(SLOT(p, kSetBitrate, int32_t, int32_t)(p, 50) == 0);
    EXPECT(SLOT(p, kCodecRelease, int32_t)(p) == 0);
}

static void SwitchKeyingOn(HMODULE Library)
{
    void* const p = ((CreateVideoProcessCall*)FUNCTION(Library, "CreateVideoProcess"))();
    EXPECT(SLOT(p, kSetKeyingEnabled, int32_t, int32_t)(p, 1) == 1);
    EXPECT(SLOT(p, kProcessRelease, int32_t)(p) == 0);
}

static const char kLoad[] = "0 [4] qvlx - CVCodecH264AMD::Init() res=1\n";
static const char kUnload[] = "0 [4] qvlx - CVCodecH264AMD::Terminate() res=0\n";
static const char kCodec[] = "0 [4] qvlx - CreateVCodec(100) IPP\n"
                             "0 [8] qvlx - CVCodec_H264::Decode() Decode Failed err=-996\n"
                             "0 [16] Assert failed: file=VCodec_H264 line=";

/* Whether pRest goes on with pText, which it then leaves behind. */
static int GoesOnWith(const char** pRest, const char* pText)
{
    const size_t Length = strlen(pText);
    if (strncmp(*pRest, pText, Length) != 0) return 0;
    *pRest += Length;
    return 1;
}

static void LookAtTheRecord(const char* pRecord)
{
    const char* p = Recorded(pRecord);
    EXPECT(GoesOnWith(&p, kLoad));
    EXPECT(GoesOnWith(&p, kCodec));
    p += strspn(p, "0123456789");
    EXPECT(GoesOnWith(&p, " expr=m_pH264Encoder && m_pH264EncoderParams\n"));
    EXPECT(GoesOnWith(&p, "user path of \\BrellixIni\n"));
    EXPECT(GoesOnWith(&p, kUnload));
    EXPECT(GoesOnWith(&p, kLoad));
    EXPECT(GoesOnWith(&p, kUnload));
    EXPECT(*p == 0);
    if (FailedExpectations()) fprintf(stderr, "recorded:\n%s", s_Record);
}

int main(int Count, char** pArguments)
{
    if (Count != 3) {
        fprintf(stderr, "usage: log_client LIBRARY RECORD\n");
        return 2;
    }
    DeleteFileA(pArguments[2]);
    SetEnvironmentVariableA("TESSELOG_RECORD", pArguments[2]);
    const HMODULE Library = LoadLibraryA(pArguments[1]);
    EXPECT(Library);
    if (!Library) return 1;
    UseCodec(Library);
    SwitchKeyingOn(Library);
    EXPECT(FreeLibrary(Library));
    EXPECT(!GetModuleHandleA("quilvex.dll"));
    EXPECT(FreeLibrary(LoadLibraryA(pArguments[1])));
    LookAtTheRecord(pArguments[2]);
    /* A process that ends with the library loaded ends well. */
    EXPECT(LoadLibraryA(pArguments[1]));
    printf("%d expectations do not hold\n", FailedExpectations());
    return FailedExpectations() != 0;
}
