// Substitute of the NVENC encoder. What it codes is a real stream.
//
// Settings, with their defaults:
//   "nvenc.h264" (1), "nvenc.codecs" (the true number): whether H.264 is listed, and the number that is told
//   "nvenc.default" (1), "nvenc.presets" (the true number): the same of the default preset
//   "nvenc.caps.N" (0): capabilities 30, 36, 38
//   "nvenc.pitch" (the width, rounded up to 64, and 64 more)
//   "nvenc.lock" (1): whether locking an input buffer writes its outputs
//   "nvenc.output" (1): whether locking a bitstream does; "nvenc.size": the size that it tells; "nvenc.bytes" (1):
//   whether it gives an address; "nvenc.type": the picture type that it tells
//   "nvenc.signal.picture" (1), "nvenc.signal.pair" (1), "nvenc.signal.end" (1): of completion events by what is
//   submitted, a picture or an end of the stream, on a picture's event or on another: 1 at once, 0 never, 2 when the
//   next picture comes
//   "NAME.status" (0): what a function answers when its work is done
// Ledger: "encoder", "input buffer", "bitstream buffer", "event" (one for each that is registered).
#include "tests/support/drivers/raw_driver.h"
#include "tests/support/drivers/stand_in_codec.h"

#if defined(_WIN32)
extern "C" __declspec(dllimport) int __stdcall SetEvent(void* pEvent);
#else
extern "C" long write(int File, const void* pBytes, size_t Size);
#endif

namespace {

constexpr int32_t kNoDevice = 4, kInvalidEvent = 7, kInvalidParam = 8, kInvalidCall = 9, kNotInitialized = 11;
constexpr int32_t kInvalidVersion = 15;
constexpr int32_t kInvalidPointer = 6, kGeneric = 20;

constexpr int32_t kMostEvents = 8;
constexpr uint32_t kGuardBytes = 64;
constexpr uint8_t kGuard = 0xA7;

struct Guid {
    uint32_t Data1;
    uint16_t Data2, Data3;
    uint8_t Data4[8];
};
constexpr Guid kH264{0x6BC82762, 0x4E63, 0x4CA4, {0xAA, 0x85, 0x1E, 0x50, 0xF3, 0x21, 0xF6, 0xBF}};
constexpr Guid kHevc{0x790CDC88, 0x4522, 0x4D7B, {0x94, 0x25, 0xBD, 0xA9, 0x97, 0x5F, 0x76, 0x03}};
constexpr Guid kDefault{0xB2DFB705, 0x4EBD, 0x4C49, {0x9B, 0x5F, 0x24, 0xA7, 0x77, 0xD3, 0xE5, 0x87}};
constexpr Guid kOtherPresets[] = {{0x60E4C59F, 0xE846, 0x4484, {0xA5, 0x6D, 0xCD, 0x45, 0xBE, 0x9F, 0xDD, 0xF6}},
                                  {0x34DBA71D, 0xA77B, 0x4B8F, {0x9C, 0x3E, 0xB6, 0xD5, 0xDA, 0x24, 0xC0, 0x12}},
                                  {0xC5F733B9, 0xEA97, 0x4CF9, {0xBE, 0xC2, 0xBF, 0x78, 0xA7, 0x4F, 0xD1, 0x05}},
                                  {0x67082A44, 0x4BAD, 0x48FA, {0x98, 0xEA, 0x93, 0x05, 0x6D, 0x15, 0x0A, 0x58}},
                                  {0x149998E7, 0x2364, 0x411D, {0x82, 0xEF, 0x17, 0x98, 0x88, 0x09, 0x34, 0x09}}};
constexpr uint32_t kOtherPresetCount = sizeof kOtherPresets / sizeof *kOtherPresets;

bool Same(const Guid& a, const Guid& b) { return __builtin_memcmp(&a, &b, sizeof a) == 0; }

struct Event {
    void* pSignal; // what the client gave
    void* pLedger;
    bool bLate; // to be signalled with the next picture
};

struct Encoder {
    bool bInitialized, bAsync;
    int32_t Width, Height;
    int32_t Inputs, Bitstreams; // that are open
    int32_t Made[3];            // numbers given to inputs, bitstreams, events
    uint64_t Pictures;
    void* pStandIn;
    Event Events[kMostEvents];
};

struct Surface { // its bytes follow, then the guard
    int32_t Number;
    int32_t Width, Height;
    uint32_t Pitch;
    bool bLocked;
};
struct Bitstream { // its bytes follow
    int32_t Number;
    int32_t Room;
    uint32_t Size;
    int32_t Type;
    uint64_t TimeStamp;
    bool bLocked;
};

uint8_t* BytesOf(Surface* p) { return reinterpret_cast<uint8_t*>(p + 1); }
uint8_t* BytesOf(Bitstream* p) { return reinterpret_cast<uint8_t*>(p + 1); }
uint32_t Rows(const Surface& s) { return static_cast<uint32_t>(s.Height + (s.Height + 1) / 2); }

void TextOf(const Guid& g, char* pText)
{
    const uint8_t Bytes[16] = {static_cast<uint8_t>(g.Data1 >> 24),
                               static_cast<uint8_t>(g.Data1 >> 16),
                               static_cast<uint8_t>(g.Data1 >> 8),
                               static_cast<uint8_t>(g.Data1),
                               static_cast<uint8_t>(g.Data2 >> 8),
                               static_cast<uint8_t>(g.Data2),
                               static_cast<uint8_t>(g.Data3 >> 8),
                               static_cast<uint8_t>(g.Data3),
                               g.Data4[0],
                               g.Data4[1],
                               g.Data4[2],
                               g.Data4[3],
                               g.Data4[4],
                               g.Data4[5],
                               g.Data4[6],
                               g.Data4[7]};
    for (int i = 0; i < 16; ++i) {
        if (i == 4 || i == 6 || i == 8 || i == 10) *pText++ = '-';
        *pText++ = "0123456789ABCDEF"[Bytes[i] >> 4];
        *pText++ = "0123456789ABCDEF"[Bytes[i] & 15];
    }
    *pText = 0;
}

void GuidField(const char* pName, const Guid& g)
{
    char Text[40];
    TextOf(g, Text);
    DriverText(pName, Text);
}

// What is reserved has to be zero.
void CheckZero(const char* pText, const void* pBase, size_t From, size_t End)
{
    for (size_t i = From; i < End; ++i)
        if (raw::Get<uint8_t>(pBase, i) != 0) return DriverMisuse(pText);
}

bool HasVersion(const void* pBase, uint32_t Version)
{
    DriverField("version", raw::Get<uint32_t>(pBase, 0));
    return raw::Get<uint32_t>(pBase, 0) == Version;
}

Encoder* Open(void* pEncoder) { return DriverUse("encoder", pEncoder) ? static_cast<Encoder*>(pEncoder) : nullptr; }
Encoder* Running(void* pEncoder)
{
    Encoder* const p = Open(pEncoder);
    if (p && !p->bInitialized) DriverMisuse("not initialised");
    return p && p->bInitialized ? p : nullptr;
}

// 0 for none, -1 for one that is not registered.
int32_t EventNumber(const Encoder& e, const void* pSignal)
{
    if (!pSignal) return 0;
    for (int32_t i = 0; i < kMostEvents; ++i)
        if (e.Events[i].pSignal == pSignal) return i + 1;
    DriverMisuse("event not registered");
    return -1;
}

void Signal(void* pSignal)
{
#if defined(_WIN32)
    SetEvent(pSignal);
#else
    const uint64_t One = 1;
    if (write(static_cast<int>(reinterpret_cast<intptr_t>(pSignal)) - 1, &One, sizeof One) != sizeof One)
        DriverMisuse("event cannot be signalled");
#endif
}

void Complete(Encoder& e, int32_t Number, const char* pSetting)
{
    if (Number <= 0) return;
    const int64_t How = DriverSetting(pSetting, 1);
    if (How == 1) Signal(e.Events[Number - 1].pSignal);
    e.Events[Number - 1].bLate = How == 2;
}

void SignalLateOnes(Encoder& e)
{
    for (Event& v : e.Events) {
        if (v.bLate) Signal(v.pSignal);
        v.bLate = false;
    }
}

} // namespace

#define ENTER(Name)                                                                                                    \
    int64_t Status = 0;                                                                                                \
    if (!DriverEnter(#Name, &Status)) return static_cast<int32_t>(Status)
#define DONE(Name) return static_cast<int32_t>(DriverSetting(#Name ".status", 0))

static int32_t DRIVER_CALL OpenSession(void* pParams, void** ppEncoder)
{
    ENTER(nvEncOpenEncodeSessionEx);
    raw::Field<uint32_t>("deviceType", pParams, 4);
    void* const pDevice = raw::Get<void*>(pParams, 8);
    DriverField("device", pDevice != nullptr);
    raw::Field<uint32_t>("apiVersion", pParams, raw::At(24, 16));
    CheckZero("reserved of the session", pParams, raw::At(16, 12), raw::At(24, 16));
    CheckZero("reserved of the session", pParams, raw::At(28, 20), raw::At(1552, 1288));
    if (!HasVersion(pParams, 0x70010008)) return kInvalidVersion;
    if (!pDevice || !DriverUse("CUcontext", pDevice)) return kNoDevice;
    *ppEncoder = DriverOpen("encoder", sizeof(Encoder));
    DONE(nvEncOpenEncodeSessionEx);
}

static int32_t DRIVER_CALL GetGuidCount(void* pEncoder, uint32_t* pCount)
{
    ENTER(nvEncGetEncodeGUIDCount);
    if (!Open(pEncoder)) return kInvalidPointer;
    *pCount = static_cast<uint32_t>(DriverSetting("nvenc.codecs", DriverSetting("nvenc.h264", 1) ? 2 : 1));
    DONE(nvEncGetEncodeGUIDCount);
}

static int32_t DRIVER_CALL GetGuids(void* pEncoder, Guid* pGuids, uint32_t Size, uint32_t* pCount)
{
    ENTER(nvEncGetEncodeGUIDs);
    DriverField("size", Size);
    if (!Open(pEncoder)) return kInvalidPointer;
    const uint32_t Listed = DriverSetting("nvenc.h264", 1) ? 2 : 1;
    if (Size > 0) pGuids[0] = kHevc;
    if (Size > 1 && Listed > 1) pGuids[1] = kH264;
    *pCount = static_cast<uint32_t>(DriverSetting("nvenc.codecs", Listed));
    DONE(nvEncGetEncodeGUIDs);
}

static int32_t DRIVER_CALL GetCaps(void* pEncoder, Guid Codec, void* pParams, int32_t* pValue)
{
    ENTER(nvEncGetEncodeCaps);
    GuidField("encodeGUID", Codec);
    raw::Field<uint32_t>("capsToQuery", pParams, 4);
    CheckZero("reserved of a capability", pParams, 8, 256);
    if (!Open(pEncoder)) return kInvalidPointer;
    if (!HasVersion(pParams, 0x70010008)) return kInvalidVersion;
    switch (raw::Get<uint32_t>(pParams, 4)) {
    case 30: *pValue = static_cast<int32_t>(DriverSetting("nvenc.caps.30", 0)); break;
    case 36: *pValue = static_cast<int32_t>(DriverSetting("nvenc.caps.36", 0)); break;
    case 38: *pValue = static_cast<int32_t>(DriverSetting("nvenc.caps.38", 0)); break;
    default: return kInvalidParam;
    }
    DONE(nvEncGetEncodeCaps);
}

static uint32_t PresetCount() { return kOtherPresetCount + (DriverSetting("nvenc.default", 1) ? 1 : 0); }

static int32_t DRIVER_CALL GetPresetCount(void* pEncoder, Guid Codec, uint32_t* pCount)
{
    ENTER(nvEncGetEncodePresetCount);
    GuidField("encodeGUID", Codec);
    if (!Open(pEncoder)) return kInvalidPointer;
    *pCount = static_cast<uint32_t>(DriverSetting("nvenc.presets", PresetCount()));
    DONE(nvEncGetEncodePresetCount);
}

static int32_t DRIVER_CALL GetPresets(void* pEncoder, Guid Codec, Guid* pGuids, uint32_t Size, uint32_t* pCount)
{
    ENTER(nvEncGetEncodePresetGUIDs);
    GuidField("encodeGUID", Codec);
    DriverField("size", Size);
    if (!Open(pEncoder)) return kInvalidPointer;
    for (uint32_t i = 0; i < PresetCount() && i < Size; ++i)
        pGuids[i] = i < kOtherPresetCount ? kOtherPresets[i] : kDefault;
    *pCount = static_cast<uint32_t>(DriverSetting("nvenc.presets", PresetCount()));
    DONE(nvEncGetEncodePresetGUIDs);
}

// The words of the settings up to what is reserved, and of these the ones that are not numbers.
constexpr size_t kSettingsWords = 368 / 4;

// Every field of a preset is told apart by a value of its own: the offset, with a bit more for what is above 16 bits.
static void PutPreset(void* pSettings)
{
    for (size_t i = 1; i < kSettingsWords; ++i)
        raw::Put<uint32_t>(pSettings, i * 4, static_cast<uint32_t>(1000 + i * 4));
    raw::Put<uint32_t>(pSettings, 76, 0x8);   // flags of the rates: adaptive quantisation
    raw::Put<uint32_t>(pSettings, 168, 0x40); // flags of H.264: delimiters
}

static int32_t DRIVER_CALL GetPresetConfig(void* pEncoder, Guid Codec, Guid Preset, void* pParams)
{
    ENTER(nvEncGetEncodePresetConfig);
    GuidField("encodeGUID", Codec);
    GuidField("presetGUID", Preset);
    const size_t Settings = raw::At(8, 4);
    raw::Field<uint32_t>("presetCfg.version", pParams, Settings);
    CheckZero("reserved of a preset", pParams, Settings + 4, raw::At(5128, 4352));
    if (!Open(pEncoder)) return kInvalidPointer;
    if (!HasVersion(pParams, 0xF0040008) || raw::Get<uint32_t>(pParams, Settings) != 0xF0060008) return kInvalidVersion;
    if (!Same(Codec, kH264)) return kInvalidParam;
    PutPreset(static_cast<uint8_t*>(pParams) + Settings);
    DONE(nvEncGetEncodePresetConfig);
}

// "wN=value" for each word whose value is not the preset's.
static void TraceSettings(const void* pSettings)
{
    raw::Field<uint32_t>("config.version", pSettings, 0);
    for (size_t i = 1; i < kSettingsWords; ++i) {
        const uint32_t Value = raw::Get<uint32_t>(pSettings, i * 4);
        if (Value == 1000 + i * 4) continue;
        char Name[8] = {'w', static_cast<char>('0' + i * 4 / 100), static_cast<char>('0' + i * 4 / 10 % 10),
                        static_cast<char>('0' + i * 4 % 10)};
        DriverField(Name, Value);
    }
    CheckZero("reserved of the settings", pSettings, kSettingsWords * 4, raw::At(3584, 3072));
}

static int32_t DRIVER_CALL Initialize(void* pEncoder, void* pParams)
{
    ENTER(nvEncInitializeEncoder);
    GuidField("encodeGUID", raw::Get<Guid>(pParams, 4));
    GuidField("presetGUID", raw::Get<Guid>(pParams, 20));
    const struct {
        const char* pName;
        size_t Offset;
    } Fields[] = {{"encodeWidth", 36},
                  {"encodeHeight", 40},
                  {"darWidth", 44},
                  {"darHeight", 48},
                  {"frameRateNum", 52},
                  {"frameRateDen", 56},
                  {"enableEncodeAsync", 60},
                  {"enablePTD", 64},
                  {"flags", 68},
                  {"maxEncodeWidth", raw::At(96, 84)},
                  {"maxEncodeHeight", raw::At(100, 88)}};
    for (const auto& f : Fields) raw::Field<uint32_t>(f.pName, pParams, f.Offset);
    CheckZero("reserved of the encoder", pParams, 72, raw::At(88, 80));
    CheckZero("reserved of the encoder", pParams, raw::At(104, 92), raw::At(1808, 1536));
    const void* const pSettings = raw::Get<const void*>(pParams, raw::At(88, 80));
    Encoder* const pOpen = Open(pEncoder);
    if (!pOpen) return kInvalidPointer;
    if (!HasVersion(pParams, 0xF0050008) || !pSettings) return kInvalidVersion;
    TraceSettings(pSettings);
    if (pOpen->bInitialized) {
        DriverMisuse("initialised twice");
        return kInvalidCall;
    }
    pOpen->Width = raw::Get<int32_t>(pParams, 36);
    pOpen->Height = raw::Get<int32_t>(pParams, 40);
    pOpen->bAsync = raw::Get<uint32_t>(pParams, 60) != 0;
    pOpen->pStandIn = StandInEncoderOpen(pOpen->Width, pOpen->Height, raw::Get<int32_t>(pParams, 52),
                                         raw::Get<int32_t>(pSettings, 60) / 1000);
    if (!pOpen->pStandIn) return kInvalidParam;
    pOpen->bInitialized = true;
    DONE(nvEncInitializeEncoder);
}

static int32_t DRIVER_CALL CreateInput(void* pEncoder, void* pParams)
{
    ENTER(nvEncCreateInputBuffer);
    raw::Field<uint32_t>("width", pParams, 4);
    raw::Field<uint32_t>("height", pParams, 8);
    raw::Field<uint32_t>("memoryHeap", pParams, 12);
    raw::Field<uint32_t>("bufferFmt", pParams, 16);
    CheckZero("reserved of an input buffer", pParams, 20, raw::At(776, 512));
    Encoder* const p = Running(pEncoder);
    if (!p) return kNotInitialized;
    if (!HasVersion(pParams, 0x70010008)) return kInvalidVersion;
    Surface New{++p->Made[0], raw::Get<int32_t>(pParams, 4), raw::Get<int32_t>(pParams, 8), 0, false};
    New.Pitch = static_cast<uint32_t>(DriverSetting("nvenc.pitch", ((New.Width + 63) & ~63) + 64));
    const size_t Bytes = size_t{New.Pitch} * Rows(New);
    auto* const pSurface = static_cast<Surface*>(DriverOpen("input buffer", sizeof New + Bytes + kGuardBytes));
    *pSurface = New;
    __builtin_memset(BytesOf(pSurface) + Bytes, kGuard, kGuardBytes);
    ++p->Inputs;
    raw::Put<void*>(pParams, raw::At(24, 24), pSurface);
    DONE(nvEncCreateInputBuffer);
}

static int32_t DRIVER_CALL DestroyInput(void* pEncoder, void* pBuffer)
{
    ENTER(nvEncDestroyInputBuffer);
    Encoder* const p = Running(pEncoder);
    if (!p) return kNotInitialized;
    if (!DriverUse("input buffer", pBuffer)) return kInvalidParam;
    auto* const pSurface = static_cast<Surface*>(pBuffer);
    DriverField("input", pSurface->Number);
    const uint8_t* const pGuard = BytesOf(pSurface) + size_t{pSurface->Pitch} * Rows(*pSurface);
    for (uint32_t i = 0; i < kGuardBytes; ++i)
        if (pGuard[i] != kGuard) DriverMisuse("written behind an input buffer");
    DriverClose("input buffer", pBuffer);
    --p->Inputs;
    DONE(nvEncDestroyInputBuffer);
}

static int32_t DRIVER_CALL CreateBitstream(void* pEncoder, void* pParams)
{
    ENTER(nvEncCreateBitstreamBuffer);
    raw::Field<uint32_t>("size", pParams, 4);
    raw::Field<uint32_t>("memoryHeap", pParams, 8);
    CheckZero("reserved of a bitstream buffer", pParams, 12, raw::At(776, 512));
    Encoder* const p = Running(pEncoder);
    if (!p) return kNotInitialized;
    if (!HasVersion(pParams, 0x70010008)) return kInvalidVersion;
    // Less than it was asked for, which nothing that the stand-in makes of a picture would fill.
    const int32_t Room = p->Width * p->Height * 3 + 0x1000;
    auto* const pNew =
        static_cast<Bitstream*>(DriverOpen("bitstream buffer", sizeof(Bitstream) + static_cast<size_t>(Room)));
    pNew->Number = ++p->Made[1];
    pNew->Room = Room;
    ++p->Bitstreams;
    raw::Put<void*>(pParams, 16, pNew);
    DONE(nvEncCreateBitstreamBuffer);
}

static int32_t DRIVER_CALL DestroyBitstream(void* pEncoder, void* pBuffer)
{
    ENTER(nvEncDestroyBitstreamBuffer);
    Encoder* const p = Running(pEncoder);
    if (!p) return kNotInitialized;
    if (!DriverUse("bitstream buffer", pBuffer)) return kInvalidParam;
    DriverField("bitstream", static_cast<Bitstream*>(pBuffer)->Number);
    DriverClose("bitstream buffer", pBuffer);
    --p->Bitstreams;
    DONE(nvEncDestroyBitstreamBuffer);
}

static int32_t DRIVER_CALL RegisterEvent(void* pEncoder, void* pParams)
{
    ENTER(nvEncRegisterAsyncEvent);
    void* const pSignal = raw::Get<void*>(pParams, 8);
    CheckZero("reserved of an event", pParams, raw::At(16, 12), raw::At(1544, 1280));
    Encoder* const p = Running(pEncoder);
    if (!p) return kNotInitialized;
    if (!HasVersion(pParams, 0x70010008)) return kInvalidVersion;
    if (!pSignal || !p->bAsync) return kInvalidEvent;
    for (int32_t i = 0; i < kMostEvents; ++i) {
        if (p->Events[i].pSignal) continue;
        p->Events[i] = {pSignal, DriverOpen("event", 1), false};
        DriverField("event", i + 1);
        DONE(nvEncRegisterAsyncEvent);
    }
    return kGeneric;
}

static int32_t DRIVER_CALL UnregisterEvent(void* pEncoder, void* pParams)
{
    ENTER(nvEncUnregisterAsyncEvent);
    CheckZero("reserved of an event", pParams, raw::At(16, 12), raw::At(1544, 1280));
    Encoder* const p = Running(pEncoder);
    if (!p) return kNotInitialized;
    if (!HasVersion(pParams, 0x70010008)) return kInvalidVersion;
    const int32_t Number = EventNumber(*p, raw::Get<void*>(pParams, 8));
    DriverField("event", Number);
    if (Number <= 0) return kInvalidEvent;
    DriverClose("event", p->Events[Number - 1].pLedger);
    p->Events[Number - 1] = {};
    DONE(nvEncUnregisterAsyncEvent);
}

static int32_t SubmitEnd(Encoder& e, const void* pParams, int32_t Number)
{
    CheckZero("fields of an end of the stream", pParams, 4, 16);
    CheckZero("fields of an end of the stream", pParams, 20, raw::At(56, 48));
    CheckZero("fields of an end of the stream", pParams, raw::At(64, 52), raw::At(3344, 2816));
    // The first events belong to pictures; the last one registered to the end.
    int32_t Last = 0;
    for (int32_t i = 0; i < kMostEvents; ++i)
        if (e.Events[i].pSignal) Last = i + 1;
    Complete(e, Number, Number == Last ? "nvenc.signal.end" : "nvenc.signal.pair");
    DONE(nvEncEncodePicture);
}

static int32_t SubmitPicture(Encoder& e, const void* pParams, int32_t Number)
{
    const struct {
        const char* pName;
        size_t Offset;
    } Fields[] = {{"inputWidth", 4},
                  {"inputHeight", 8},
                  {"inputPitch", 12},
                  {"frameIdx", 20},
                  {"bufferFmt", raw::At(64, 52)},
                  {"pictureStruct", raw::At(68, 56)},
                  {"pictureType", raw::At(72, 60)}};
    for (const auto& f : Fields) raw::Field<uint32_t>(f.pName, pParams, f.Offset);
    raw::Field<uint64_t>("inputTimeStamp", pParams, 24);
    CheckZero("reserved of a picture", pParams, 32, 40);
    CheckZero("reserved of a picture", pParams, raw::At(80, 64), raw::At(3344, 2816));
    auto* const pInput = raw::Get<Surface*>(pParams, raw::At(40, 40));
    auto* const pOutput = raw::Get<Bitstream*>(pParams, raw::At(48, 44));
    if (!DriverUse("input buffer", pInput) || !DriverUse("bitstream buffer", pOutput)) return kInvalidParam;
    DriverField("input", pInput->Number);
    DriverField("bitstream", pOutput->Number);
    if (pInput->bLocked || pOutput->bLocked) DriverMisuse("picture in a locked buffer");
    SignalLateOnes(e);
    const bool bKey = (raw::Get<uint32_t>(pParams, 16) & 2) != 0;
    int32_t Type = 0;
    const uint8_t* const pLuma = BytesOf(pInput);
    const int32_t Length =
        StandInEncoderPut(e.pStandIn, pLuma, static_cast<int32_t>(pInput->Pitch),
                          pLuma + size_t{pInput->Pitch} * static_cast<size_t>(pInput->Height),
                          static_cast<int32_t>(pInput->Pitch), bKey, BytesOf(pOutput), pOutput->Room, &Type);
    if (Length < 0) return kGeneric;
    pOutput->Size = static_cast<uint32_t>(Length);
    pOutput->Type = Type == 1 ? 3 : 0; // IDR or P
    pOutput->TimeStamp = raw::Get<uint64_t>(pParams, 24);
    ++e.Pictures;
    Complete(e, Number, "nvenc.signal.picture");
    DONE(nvEncEncodePicture);
}

static int32_t DRIVER_CALL EncodePicture(void* pEncoder, void* pParams)
{
    ENTER(nvEncEncodePicture);
    const uint32_t Flags = raw::Get<uint32_t>(pParams, 16);
    DriverField("flags", Flags);
    Encoder* const p = Running(pEncoder);
    if (!p) return kNotInitialized;
    if (!HasVersion(pParams, 0xF0040008)) return kInvalidVersion;
    void* const pSignal = raw::Get<void*>(pParams, raw::At(56, 48));
    if ((pSignal != nullptr) != p->bAsync) DriverMisuse("event in the wrong mode");
    const int32_t Number = EventNumber(*p, pSignal);
    DriverField("event", Number);
    if (Number < 0) return kInvalidEvent;
    return Flags & 8 ? SubmitEnd(*p, pParams, Number) : SubmitPicture(*p, pParams, Number);
}

static int32_t DRIVER_CALL LockBitstream(void* pEncoder, void* pParams)
{
    ENTER(nvEncLockBitstream);
    raw::Field<uint32_t>("flags", pParams, 4);
    CheckZero("fields of a bitstream lock", pParams, raw::At(16, 12), raw::At(1544, 1276));
    if (!Running(pEncoder)) return kNotInitialized;
    if (!HasVersion(pParams, 0x70010008)) return kInvalidVersion;
    auto* const pOutput = raw::Get<Bitstream*>(pParams, 8);
    if (!DriverUse("bitstream buffer", pOutput)) return kInvalidParam;
    DriverField("bitstream", pOutput->Number);
    if (pOutput->bLocked) DriverMisuse("bitstream locked twice");
    pOutput->bLocked = true;
    if (DriverSetting("nvenc.output", 1)) {
        raw::Put<uint32_t>(pParams, raw::At(36, 28), static_cast<uint32_t>(DriverSetting("nvenc.size", pOutput->Size)));
        raw::Put<uint64_t>(pParams, raw::At(40, 32), pOutput->TimeStamp);
        if (DriverSetting("nvenc.bytes", 1)) raw::Put<void*>(pParams, raw::At(56, 48), BytesOf(pOutput));
        raw::Put<uint32_t>(pParams, raw::At(64, 52), static_cast<uint32_t>(DriverSetting("nvenc.type", pOutput->Type)));
    }
    DONE(nvEncLockBitstream);
}

static int32_t DRIVER_CALL UnlockBitstream(void* pEncoder, void* pBuffer)
{
    ENTER(nvEncUnlockBitstream);
    if (!Running(pEncoder)) return kNotInitialized;
    if (!DriverUse("bitstream buffer", pBuffer)) return kInvalidParam;
    auto* const pOutput = static_cast<Bitstream*>(pBuffer);
    DriverField("bitstream", pOutput->Number);
    if (!pOutput->bLocked) DriverMisuse("bitstream not locked");
    pOutput->bLocked = false;
    DONE(nvEncUnlockBitstream);
}

static int32_t DRIVER_CALL LockInput(void* pEncoder, void* pParams)
{
    ENTER(nvEncLockInputBuffer);
    raw::Field<uint32_t>("flags", pParams, 4);
    CheckZero("fields of an input lock", pParams, raw::At(16, 12), raw::At(1544, 1280));
    if (!Running(pEncoder)) return kNotInitialized;
    if (!HasVersion(pParams, 0x70010008)) return kInvalidVersion;
    auto* const pInput = raw::Get<Surface*>(pParams, 8);
    if (!DriverUse("input buffer", pInput)) return kInvalidParam;
    DriverField("input", pInput->Number);
    if (pInput->bLocked) DriverMisuse("input locked twice");
    pInput->bLocked = true;
    if (DriverSetting("nvenc.lock", 1)) {
        raw::Put<void*>(pParams, raw::At(16, 12), BytesOf(pInput));
        raw::Put<uint32_t>(pParams, raw::At(24, 16), pInput->Pitch);
    }
    DONE(nvEncLockInputBuffer);
}

static int32_t DRIVER_CALL UnlockInput(void* pEncoder, void* pBuffer)
{
    ENTER(nvEncUnlockInputBuffer);
    if (!Running(pEncoder)) return kNotInitialized;
    if (!DriverUse("input buffer", pBuffer)) return kInvalidParam;
    auto* const pInput = static_cast<Surface*>(pBuffer);
    DriverField("input", pInput->Number);
    if (!pInput->bLocked) DriverMisuse("input not locked");
    pInput->bLocked = false;
    DONE(nvEncUnlockInputBuffer);
}

static int32_t DRIVER_CALL DestroyEncoder(void* pEncoder)
{
    ENTER(nvEncDestroyEncoder);
    Encoder* const p = Open(pEncoder);
    if (!p) return kInvalidPointer;
    if (p->Inputs || p->Bitstreams) DriverMisuse("encoder destroyed before its buffers");
    for (const Event& v : p->Events)
        if (v.pSignal) DriverMisuse("encoder destroyed before its events");
    if (p->pStandIn) StandInEncoderClose(p->pStandIn);
    DriverClose("encoder", pEncoder);
    DONE(nvEncDestroyEncoder);
}

// The whole list is written, as far as it reaches for this width of pointers.
DRIVER_EXPORT int32_t DRIVER_CALL NvEncodeAPICreateInstance(void* pList)
{
    ENTER(NvEncodeAPICreateInstance);
    CheckZero("reserved of the list", pList, 4, raw::At(2552, 1280));
    if (!HasVersion(pList, 0x70020008)) return kInvalidVersion;
    for (size_t i = raw::At(304, 156); i < raw::At(2552, 1280); i += sizeof(void*)) raw::Put<void*>(pList, i, nullptr);
    const auto Slot = [&](size_t n, auto* pFunction) {
        raw::Put(pList, 8 + n * sizeof(void*), reinterpret_cast<void*>(pFunction));
    };
    Slot(1, GetGuidCount);
    Slot(4, GetGuids);
    Slot(7, GetCaps);
    Slot(8, GetPresetCount);
    Slot(9, GetPresets);
    Slot(10, GetPresetConfig);
    Slot(11, Initialize);
    Slot(12, CreateInput);
    Slot(13, DestroyInput);
    Slot(14, CreateBitstream);
    Slot(15, DestroyBitstream);
    Slot(16, EncodePicture);
    Slot(17, LockBitstream);
    Slot(18, UnlockBitstream);
    Slot(19, LockInput);
    Slot(20, UnlockInput);
    Slot(23, RegisterEvent);
    Slot(24, UnregisterEvent);
    Slot(27, DestroyEncoder);
    Slot(29, OpenSession);
    DONE(NvEncodeAPICreateInstance);
}
