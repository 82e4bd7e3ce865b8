/* Measures how long a client waits for the library: medians over many loads, in microseconds.
 *
 * Usage: load_time LIBRARY [LOADS] */
#include "raw_calls.h"

#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>

enum { kMostLoads = 10000 };

static double s_PerTick;

static double Microseconds(void)
{
    LARGE_INTEGER Ticks;
    QueryPerformanceCounter(&Ticks);
    return (double)Ticks.QuadPart * s_PerTick;
}

static int Compare(const void* pOne, const void* pOther)
{
    const double One = *(const double*)pOne, Other = *(const double*)pOther;
    return (One > Other) - (One < Other);
}

static double Median(double* pTimes, int Count)
{
    qsort(pTimes, (size_t)Count, sizeof *pTimes, Compare);
    return pTimes[Count / 2];
}

/* One load that ends with the library in the process. */
static HMODULE Load(const char* pPath)
{
    const HMODULE Library = LoadLibraryA(pPath);
    if (!Library) {
        fprintf(stderr, "load_time: no library at %s\n", pPath);
        exit(1);
    }
    return Library;
}

/* Ends with the library gone, or the next load would find it. */
static void Unload(HMODULE Library, const char* pPath)
{
    if (FreeLibrary(Library) && !GetModuleHandleA(pPath)) return;
    fprintf(stderr, "load_time: the library stays\n");
    exit(1);
}

static double LoadAndFree(const char* pPath)
{
    const double Start = Microseconds();
    const HMODULE Library = Load(pPath);
    Unload(Library, pPath);
    return Microseconds() - Start;
}

/* The codec's life ends outside of the time. */
static double LoadAndCreate(const char* pPath)
{
    const double Start = Microseconds();
    const HMODULE Library = Load(pPath);
    CreateVCodecCall* const pCreate = (CreateVCodecCall*)FUNCTION(Library, "CreateVCodec");
    void* const pCodec = pCreate ? pCreate(0) : NULL;
    const double Time = Microseconds() - Start;
    if (!pCodec) {
        fprintf(stderr, "load_time: no codec\n");
        exit(1);
    }
    SLOT(pCodec, kCodecRelease, int32_t)(pCodec);
    Unload(Library, pPath);
    return Time;
}

int main(int argc, char** argv)
{
    static double s_Free[kMostLoads], s_Create[kMostLoads];
    const int Loads = argc > 2 ? atoi(argv[2]) : 500;
    if (argc < 2 || Loads < 1 || Loads > kMostLoads) {
        fprintf(stderr, "usage: load_time LIBRARY [LOADS, 1 to %d]\n", kMostLoads);
        return 2;
    }
    LARGE_INTEGER PerSecond;
    QueryPerformanceFrequency(&PerSecond);
    s_PerTick = 1e6 / (double)PerSecond.QuadPart;
    for (int i = 0; i < Loads; ++i) {
        s_Free[i] = LoadAndFree(argv[1]);
        s_Create[i] = LoadAndCreate(argv[1]);
    }
    printf("{\"loads\": %d, \"load_and_free\": %.1f, \"load_and_create\": %.1f}\n", Loads, Median(s_Free, Loads),
           Median(s_Create, Loads));
    return 0;
}
