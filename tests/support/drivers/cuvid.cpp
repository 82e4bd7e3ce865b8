// CUVID in place of the driver's: a parser that cuts nothing and leaves the work to the codec inside, and a decoder
// that hands out that codec's pictures.
//
// Settings, besides NAME.status, the answer of a call once its work is done:
//   caps.supported caps.min_width caps.min_height caps.max_width caps.max_height caps.max_mbs
//   format.codec .chroma .depth .width .height .left .top .right .bottom   what a sequence callback is told
//   sequence.each     1: a sequence callback a packet, also when nothing has changed
//   parser.old        1: a callback that fails does not fail the parse call
//   parser.show_only  1: neither sequence nor decode callbacks
//   parser.delay      1: a picture is shown a packet late, so that those of a reordered stream come in order
//   display.count     pictures shown a packet that shows any; several are the same one with its number as first sample
//   display.index display.progressive display.top_first display.repeat   what a display callback is told
//   display.null      1: a display callback without a picture ends each packet
//   decode.first      1: a decode callback before the first sequence
//   map.pitch         bytes of a row, also 0
//   map.unwritten     1: the outputs stay as they were
#include "tests/support/drivers/raw_driver.h"
#include "tests/support/drivers/stand_in_codec.h"

namespace {

using raw::At;
using raw::Field;
using raw::Get;
using raw::Put;

constexpr int32_t kInvalidValue = 1, kInvalidContext = 201, kInvalidHandle = 400;
constexpr int32_t kMaxSurfaces = 32;
constexpr int32_t kP016 = 1;

struct Surface { // a decoded picture
    int32_t Width, Height;
    uint8_t* pNv12; // Rows of Width bytes
    int32_t Bytes;
};

using Callback = int32_t(DRIVER_CALL*)(void* pUser, void* pArgument);

struct Parser {
    void* pCodec;
    void* pUser;
    Callback pSequence, pDecode, pDisplay;
    int32_t Surfaces; // that its pictures go round
    int32_t Decoded, Shown;
    int32_t bKnown;
    StandInFormat Known;
    Surface Pictures[kMaxSurfaces]; // by index
    alignas(8) uint8_t DecodeParams[At(4280, 4264)];
};

constexpr char kParser[] = "parser"; // the current one is that of the last packet: its decoder has its pictures

struct Decoder {
    int32_t Width, Height, Surfaces, SampleBytes, Outputs, Mapped;
};

struct Lock {
    void* pContext;
    int32_t Held;
};

// The answer of an operation whose work is done, also the late one that a script sets.
int32_t Done(const char* pSetting, int32_t Status = 0)
{
    return Status ? Status : static_cast<int32_t>(DriverSetting(pSetting, 0));
}

int32_t Set(const char* pSetting, int32_t Default) { return static_cast<int32_t>(DriverSetting(pSetting, Default)); }

bool Enter(const char* pOperation, int32_t* pStatus)
{
    int64_t Status = 0;
    const bool bGoOn = DriverEnter(pOperation, &Status) != 0;
    *pStatus = static_cast<int32_t>(Status);
    return bGoOn;
}

// What needs a context finds the caller's, or says so.
bool HasContext(const char* pOperation)
{
    if (DriverCurrent("CUcontext")) return true;
    DriverMisuse(pOperation);
    return false;
}

bool IsZero(const void* pBase, size_t From, size_t To)
{
    for (size_t i = From; i < To; ++i)
        if (static_cast<const uint8_t*>(pBase)[i]) return false;
    return true;
}

void CheckZero(const char* pStructure, const void* pBase, size_t From, size_t To)
{
    if (!IsZero(pBase, From, To)) DriverMisuse(pStructure);
}

// "ulong" of the driver's interface: 8 bytes on 64-bit Linux alone.
uint32_t Ulong(const char* pName, const void* pBase, size_t Offset)
{
    const auto Value = Get<unsigned long>(pBase, Offset);
    DriverField(pName, static_cast<int64_t>(Value));
    return static_cast<uint32_t>(Value);
}

uint8_t* Allocate(int32_t Bytes)
{
    return static_cast<uint8_t*>(DriverOpen("surface memory", static_cast<size_t>(Bytes)));
}

void Store(Surface& s, const StandInPicture& Picture)
{
    const int32_t Bytes = Picture.Width * Picture.Height * 3 / 2;
    if (s.pNv12) DriverClose("surface memory", s.pNv12);
    s = {Picture.Width, Picture.Height, Allocate(Bytes), Bytes};
    for (int32_t i = 0; i < Bytes; ++i) s.pNv12[i] = Picture.pNv12[i];
}

// ---- The parser ------------------------------------------------------------------------------------------------

// A callback's result, in the trace behind what it has called.
int32_t Told(const char* pOperation, int32_t Result)
{
    int32_t Unused;
    Enter(pOperation, &Unused);
    DriverField("result", Result);
    return Result;
}

bool CallSequence(Parser& p)
{
    const StandInFormat& f = p.Known;
    const int32_t Depth = Set("format.depth", f.BitDepth - 8);
    alignas(8) uint8_t Format[64] = {};
    Put(Format, 0, Set("format.codec", 4));
    Put(Format, 12, static_cast<uint8_t>(f.bProgressive));
    Put(Format, 13, static_cast<uint8_t>(Depth));
    Put(Format, 14, static_cast<uint8_t>(Depth));
    Put(Format, 16, Set("format.width", f.CodedWidth));
    Put(Format, 20, Set("format.height", f.CodedHeight));
    Put(Format, 24, Set("format.left", f.Left));
    Put(Format, 28, Set("format.top", f.Top));
    Put(Format, 32, Set("format.right", f.Right));
    Put(Format, 36, Set("format.bottom", f.Bottom));
    Put(Format, 40, Set("format.chroma", f.ChromaFormat));
    const int32_t Result = Told("sequence callback", p.pSequence(p.pUser, Format));
    if (Result > 1) p.Surfaces = Result;
    return Result != 0;
}

bool SameFormat(const StandInFormat& a, const StandInFormat& b)
{
    return a.CodedWidth == b.CodedWidth && a.CodedHeight == b.CodedHeight && a.Left == b.Left && a.Top == b.Top &&
           a.Right == b.Right && a.Bottom == b.Bottom && a.BitDepth == b.BitDepth && a.ChromaFormat == b.ChromaFormat &&
           a.bProgressive == b.bProgressive;
}

// Whether the codec has met another format than the one told last.
bool IsNewFormat(Parser& p, StandInFormat& Now)
{
    return StandInDecoderFormat(p.pCodec, &Now) && !(p.bKnown && SameFormat(p.Known, Now));
}

// Units of slices in an access unit.
int32_t CountSlices(const uint8_t* pBytes, uint32_t Size)
{
    int32_t Count = 0;
    for (uint32_t i = 3; i < Size; ++i) {
        const bool bStart = pBytes[i - 1] == 1 && pBytes[i - 2] == 0 && pBytes[i - 3] == 0;
        const int32_t Type = pBytes[i] & 31;
        if (bStart && (Type == 1 || Type == 5)) ++Count;
    }
    return Count;
}

bool CallDecode(Parser& p, const uint8_t* pBytes, uint32_t Size, int32_t Slices)
{
    uint8_t* const pParams = p.DecodeParams;
    const uint32_t Offset = 0;
    Put(pParams, 0, p.Known.CodedWidth / 16);
    Put(pParams, 4, p.Known.CodedHeight / 16);
    Put(pParams, 8, p.Decoded++ % p.Surfaces);
    Put(pParams, 24, Size);
    Put(pParams, At(32, 28), pBytes);
    Put(pParams, At(40, 32), Slices);
    Put(pParams, At(48, 36), &Offset);
    return Told("decode callback", p.pDecode(p.pUser, pParams)) != 0;
}

bool CallDisplay(Parser& p, const StandInPicture& Picture)
{
    const int32_t Index = p.Shown++ % p.Surfaces;
    Store(p.Pictures[Index], Picture);
    if (Set("display.count", 1) > 1) p.Pictures[Index].pNv12[0] = static_cast<uint8_t>(p.Shown);
    alignas(8) uint8_t Info[24] = {};
    Put(Info, 0, Set("display.index", Index));
    Put(Info, 4, Set("display.progressive", p.Known.bProgressive));
    Put(Info, 8, Set("display.top_first", 0));
    Put(Info, 12, Set("display.repeat", 0));
    return Told("display callback", p.pDisplay(p.pUser, Info)) != 0;
}

bool Show(Parser& p, const StandInPicture& Picture)
{
    bool bOk = true;
    const int32_t Count = Set("display.count", 1);
    for (int32_t i = 0; i < Count; ++i) bOk = CallDisplay(p, Picture) && bOk;
    return bOk;
}

bool Fits(const StandInFormat& f, const StandInPicture& Picture)
{
    return Picture.Width == f.Right - f.Left && Picture.Height == f.Bottom - f.Top;
}

// All callbacks of a packet: pictures of the old format leave first, then the new one is told, then the picture is
// decoded and what is ready is shown.
bool CallAll(Parser& p, const uint8_t* pBytes, uint32_t Size)
{
    bool bOk = true;
    StandInFormat Now{};
    StandInPicture Picture{};
    const bool bNew = IsNewFormat(p, Now);
    bool bPicture = StandInDecoderNext(p.pCodec, &Picture) != 0;
    for (; bNew && bPicture && p.bKnown && !Fits(Now, Picture); bPicture = StandInDecoderNext(p.pCodec, &Picture) != 0)
        bOk = Show(p, Picture) && bOk;
    const int32_t bShowOnly = Set("parser.show_only", 0);
    const int32_t Slices = bShowOnly ? 0 : CountSlices(pBytes, Size);
    if (Set("decode.first", 0)) bOk = CallDecode(p, pBytes, Size, Slices) && bOk;
    if (bNew) {
        p.Known = Now;
        p.bKnown = 1;
    }
    if (!bShowOnly && (bNew || (p.bKnown && Set("sequence.each", 0)))) bOk = CallSequence(p) && bOk;
    if (Slices && (bOk || Set("parser.old", 0))) bOk = CallDecode(p, pBytes, Size, Slices) && bOk;
    for (; bPicture; bPicture = StandInDecoderNext(p.pCodec, &Picture) != 0) bOk = Show(p, Picture) && bOk;
    if (Set("display.null", 0)) bOk = Told("display callback", p.pDisplay(p.pUser, nullptr)) && bOk;
    return bOk;
}

} // namespace

DRIVER_EXPORT int32_t DRIVER_CALL cuvidCreateVideoParser(void** ppParser, const void* pParams)
{
    int32_t Status;
    const bool bGoOn = Enter("cuvidCreateVideoParser", &Status);
    Field<int32_t>("CodecType", pParams, 0);
    Field<uint32_t>("ulMaxNumDecodeSurfaces", pParams, 4);
    Field<uint32_t>("ulClockRate", pParams, 8);
    Field<uint32_t>("ulErrorThreshold", pParams, 12);
    Field<uint32_t>("ulMaxDisplayDelay", pParams, 16);
    CheckZero("reserved of CUVIDPARSERPARAMS", pParams, 20, 40);
    CheckZero("reserved of CUVIDPARSERPARAMS", pParams, At(72, 56), At(136, 88)); // pExtVideoInfo too
    if (!bGoOn) return Status;
    auto* const p = static_cast<Parser*>(DriverOpen(kParser, sizeof(Parser)));
    p->pCodec = StandInDecoderOpen();
    p->Surfaces = Get<int32_t>(pParams, 4);
    p->pUser = Get<void*>(pParams, 40);
    p->pSequence = Get<Callback>(pParams, At(48, 44));
    p->pDecode = Get<Callback>(pParams, At(56, 48));
    p->pDisplay = Get<Callback>(pParams, At(64, 52));
    *ppParser = p;
    return Done("cuvidCreateVideoParser.status");
}

DRIVER_EXPORT int32_t DRIVER_CALL cuvidParseVideoData(void* pParser, const void* pPacket)
{
    int32_t Status;
    const bool bGoOn = Enter("cuvidParseVideoData", &Status);
    Ulong("flags", pPacket, 0);
    const uint32_t Size = Ulong("payload_size", pPacket, sizeof(long));
    if (!bGoOn) return Status;
    if (!DriverUse(kParser, pParser)) return kInvalidHandle;
    DriverSetCurrent(kParser, pParser);
    Parser& p = *static_cast<Parser*>(pParser);
    const bool bEnds = (Get<unsigned long>(pPacket, 0) & 8) != 0 && !Set("parser.delay", 0);
    const auto* const pBytes = Get<const uint8_t*>(pPacket, At(sizeof(long) * 2 > 8 ? 16 : 8, 8));
    StandInDecoderPut(p.pCodec, pBytes, static_cast<int32_t>(Size), bEnds); // damage is the codec's to hide
    const bool bOk = CallAll(p, pBytes, Size) || Set("parser.old", 0);
    return Done("cuvidParseVideoData.status", bOk ? 0 : kInvalidValue);
}

DRIVER_EXPORT int32_t DRIVER_CALL cuvidDestroyVideoParser(void* pParser)
{
    int32_t Status;
    if (!Enter("cuvidDestroyVideoParser", &Status)) return Status;
    if (!DriverUse(kParser, pParser)) return kInvalidHandle;
    StandInDecoderClose(static_cast<Parser*>(pParser)->pCodec);
    for (Surface& s : static_cast<Parser*>(pParser)->Pictures)
        if (s.pNv12) DriverClose("surface memory", s.pNv12);
    if (DriverCurrent(kParser) == pParser) DriverSetCurrent(kParser, nullptr);
    DriverClose(kParser, pParser);
    return Done("cuvidDestroyVideoParser.status");
}

// ---- The decoder -----------------------------------------------------------------------------------------------

DRIVER_EXPORT int32_t DRIVER_CALL cuvidGetDecoderCaps(void* pCaps)
{
    int32_t Status;
    const bool bGoOn = Enter("cuvidGetDecoderCaps", &Status);
    Field<int32_t>("eCodecType", pCaps, 0);
    Field<int32_t>("eChromaFormat", pCaps, 4);
    Field<uint32_t>("nBitDepthMinus8", pCaps, 8);
    CheckZero("rest of CUVIDDECODECAPS", pCaps, 12, 88);
    if (!bGoOn) return Status;
    if (!HasContext("cuvidGetDecoderCaps without a context")) return kInvalidContext;
    Put(pCaps, 24, static_cast<uint8_t>(Set("caps.supported", 1)));
    Put(pCaps, 28, Set("caps.max_width", 4096));
    Put(pCaps, 32, Set("caps.max_height", 4096));
    Put(pCaps, 36, Set("caps.max_mbs", 65536));
    Put(pCaps, 40, static_cast<uint16_t>(Set("caps.min_width", 48)));
    Put(pCaps, 42, static_cast<uint16_t>(Set("caps.min_height", 16)));
    return Done("cuvidGetDecoderCaps.status");
}

namespace {

// Offsets of CUVIDDECODECREATEINFO, which are those of 8-byte "ulong" fields or of 4-byte ones.
constexpr size_t Wide(size_t OnWide, size_t Otherwise) { return sizeof(long) == 8 ? OnWide : Otherwise; }

void TraceRectangle(const void* pInfo, size_t Offset)
{
    Field<int16_t>("left", pInfo, Offset);
    Field<int16_t>("top", pInfo, Offset + 2);
    Field<int16_t>("right", pInfo, Offset + 4);
    Field<int16_t>("bottom", pInfo, Offset + 6);
}

Decoder ReadCreateInfo(const void* pInfo)
{
    Decoder d{};
    Ulong("ulWidth", pInfo, 0);
    Ulong("ulHeight", pInfo, Wide(8, 4));
    d.Surfaces = static_cast<int32_t>(Ulong("ulNumDecodeSurfaces", pInfo, Wide(16, 8)));
    Field<int32_t>("CodecType", pInfo, Wide(24, 12));
    Field<int32_t>("ChromaFormat", pInfo, Wide(28, 16));
    Ulong("ulCreationFlags", pInfo, Wide(32, 20));
    Ulong("bitDepthMinus8", pInfo, Wide(40, 24));
    CheckZero("ulIntraDecodeOnly and behind", pInfo, Wide(48, 28), Wide(80, 44));
    TraceRectangle(pInfo, Wide(80, 44));
    Field<int32_t>("OutputFormat", pInfo, Wide(88, 52));
    d.SampleBytes = Get<int32_t>(pInfo, Wide(88, 52)) == kP016 ? 2 : 1;
    Field<int32_t>("DeinterlaceMode", pInfo, Wide(92, 56));
    d.Width = static_cast<int32_t>(Ulong("ulTargetWidth", pInfo, Wide(96, 60)));
    d.Height = static_cast<int32_t>(Ulong("ulTargetHeight", pInfo, Wide(104, 64)));
    d.Outputs = static_cast<int32_t>(Ulong("ulNumOutputSurfaces", pInfo, Wide(112, 68)));
    DriverUse("lock", Get<void*>(pInfo, Wide(120, 72)));
    CheckZero("target_rect and behind", pInfo, Wide(128, sizeof(void*) == 8 ? 80 : 76),
              Wide(176, sizeof(void*) == 8 ? 112 : 104));
    return d;
}

} // namespace

DRIVER_EXPORT int32_t DRIVER_CALL cuvidCreateDecoder(void** ppDecoder, const void* pInfo)
{
    int32_t Status;
    const bool bGoOn = Enter("cuvidCreateDecoder", &Status);
    const Decoder New = ReadCreateInfo(pInfo);
    if (!bGoOn) return Status;
    if (!HasContext("cuvidCreateDecoder without a context")) return kInvalidContext;
    auto* const p = static_cast<Decoder*>(DriverOpen("decoder", sizeof(Decoder)));
    *p = New;
    *ppDecoder = p;
    return Done("cuvidCreateDecoder.status");
}

DRIVER_EXPORT int32_t DRIVER_CALL cuvidDestroyDecoder(void* pDecoder)
{
    int32_t Status;
    if (!Enter("cuvidDestroyDecoder", &Status)) return Status;
    if (!HasContext("cuvidDestroyDecoder without a context")) return kInvalidContext;
    if (!DriverClose("decoder", pDecoder)) return kInvalidHandle;
    return Done("cuvidDestroyDecoder.status");
}

DRIVER_EXPORT int32_t DRIVER_CALL cuvidDecodePicture(void* pDecoder, const void* pParams)
{
    int32_t Status;
    const bool bGoOn = Enter("cuvidDecodePicture", &Status);
    Field<int32_t>("CurrPicIdx", pParams, 8);
    if (!bGoOn) return Status;
    if (!HasContext("cuvidDecodePicture without a context")) return kInvalidContext;
    if (!DriverUse("decoder", pDecoder)) return kInvalidHandle;
    const bool bFits = Get<int32_t>(pParams, 8) < static_cast<Decoder*>(pDecoder)->Surfaces;
    return Done("cuvidDecodePicture.status", bFits ? 0 : kInvalidValue);
}

namespace {

void TraceProcParams(const void* pParams)
{
    Field<int32_t>("progressive_frame", pParams, 0);
    Field<int32_t>("second_field", pParams, 4);
    Field<int32_t>("top_field_first", pParams, 8);
    Field<int32_t>("unpaired_field", pParams, 12);
    CheckZero("rest of CUVIDPROCPARAMS", pParams, 16, At(264, sizeof(int64_t) == alignof(int64_t) ? 256 : 252));
}

// A picture in memory of the device: as much of it as the decoder's target takes.
uint8_t* MakeFrame(const Decoder& d, const Surface& s, int32_t Pitch)
{
    const int32_t Rows = d.Height > 0 ? d.Height : 0;
    auto* const pFrame =
        static_cast<uint8_t*>(DriverOpen("frame", static_cast<size_t>(Pitch) * static_cast<size_t>(Rows) * 3 / 2));
    const int32_t Width = d.Width < s.Width ? d.Width : s.Width;
    for (int32_t y = 0; y < Rows + Rows / 2; ++y) {
        const int32_t From = y < Rows ? y : s.Height + y - Rows;
        const bool bThere = y < Rows ? y < s.Height : y - Rows < s.Height / 2;
        for (int32_t x = 0; bThere && d.SampleBytes == 1 && x < Width && x < Pitch; ++x)
            pFrame[y * Pitch + x] = s.pNv12[From * s.Width + x];
    }
    return pFrame;
}

template <class Address>
int32_t Map(const char* pOperation, void* pDecoder, int32_t Index, Address* pFrame, uint32_t* pPitch,
            const void* pParams)
{
    int32_t Status;
    const bool bGoOn = Enter(pOperation, &Status);
    DriverField("index", Index);
    TraceProcParams(pParams);
    if (!bGoOn) return Status;
    if (!HasContext("a picture is mapped without a context")) return kInvalidContext;
    if (!DriverUse("decoder", pDecoder)) return kInvalidHandle;
    Decoder& d = *static_cast<Decoder*>(pDecoder);
    if (Set("map.unwritten", 0)) return Done("cuvidMapVideoFrame.status");
    const auto* const pParser = static_cast<const Parser*>(DriverCurrent(kParser));
    if (!pParser || Index < 0 || Index >= d.Surfaces || !pParser->Pictures[Index].pNv12) return kInvalidValue;
    if (++d.Mapped > d.Outputs) DriverMisuse("too many pictures are mapped");
    const int32_t Pitch = Set("map.pitch", (d.Width * d.SampleBytes + 255) & ~255);
    *pFrame = static_cast<Address>(reinterpret_cast<uintptr_t>(MakeFrame(d, pParser->Pictures[Index], Pitch)));
    *pPitch = static_cast<uint32_t>(Pitch);
    return Done("cuvidMapVideoFrame.status");
}

int32_t Unmap(const char* pOperation, void* pDecoder, uint64_t Frame)
{
    int32_t Status;
    if (!Enter(pOperation, &Status)) return Status;
    if (!HasContext("a picture is unmapped without a context")) return kInvalidContext;
    if (!DriverUse("decoder", pDecoder)) return kInvalidHandle;
    if (!DriverClose("frame", reinterpret_cast<void*>(static_cast<uintptr_t>(Frame)))) return kInvalidHandle;
    --static_cast<Decoder*>(pDecoder)->Mapped;
    return Done("cuvidUnmapVideoFrame.status");
}

} // namespace

// The plain names take addresses of 32 bits in every process.
DRIVER_EXPORT int32_t DRIVER_CALL cuvidMapVideoFrame(void* pDecoder, int32_t Index, uint32_t* pFrame, uint32_t* pPitch,
                                                     const void* pParams)
{
    return Map("cuvidMapVideoFrame", pDecoder, Index, pFrame, pPitch, pParams);
}

DRIVER_EXPORT int32_t DRIVER_CALL cuvidMapVideoFrame64(void* pDecoder, int32_t Index, uint64_t* pFrame,
                                                       uint32_t* pPitch, const void* pParams)
{
    return Map("cuvidMapVideoFrame64", pDecoder, Index, pFrame, pPitch, pParams);
}

DRIVER_EXPORT int32_t DRIVER_CALL cuvidUnmapVideoFrame(void* pDecoder, uint32_t Frame)
{
    return Unmap("cuvidUnmapVideoFrame", pDecoder, Frame);
}

DRIVER_EXPORT int32_t DRIVER_CALL cuvidUnmapVideoFrame64(void* pDecoder, uint64_t Frame)
{
    return Unmap("cuvidUnmapVideoFrame64", pDecoder, Frame);
}

// ---- The context's lock ----------------------------------------------------------------------------------------

DRIVER_EXPORT int32_t DRIVER_CALL cuvidCtxLockCreate(void** ppLock, void* pContext)
{
    int32_t Status;
    if (!Enter("cuvidCtxLockCreate", &Status)) return Status;
    if (!DriverUse("CUcontext", pContext)) return kInvalidContext;
    auto* const p = static_cast<Lock*>(DriverOpen("lock", sizeof(Lock)));
    p->pContext = pContext;
    *ppLock = p;
    return Done("cuvidCtxLockCreate.status");
}

DRIVER_EXPORT int32_t DRIVER_CALL cuvidCtxLockDestroy(void* pLock)
{
    int32_t Status;
    if (!Enter("cuvidCtxLockDestroy", &Status)) return Status;
    if (!DriverUse("lock", pLock)) return kInvalidHandle;
    if (static_cast<Lock*>(pLock)->Held) DriverMisuse("a held lock is destroyed");
    DriverClose("lock", pLock);
    return Done("cuvidCtxLockDestroy.status");
}

namespace {

int32_t ChangeLock(const char* pOperation, void* pLock, uint32_t Reserved, int32_t Change)
{
    int32_t Status;
    const bool bGoOn = Enter(pOperation, &Status);
    DriverField("reserved", Reserved);
    if (!bGoOn) return Status;
    if (!DriverUse("lock", pLock)) return kInvalidHandle;
    Lock& l = *static_cast<Lock*>(pLock);
    l.Held += Change;
    if (l.Held < 0) DriverMisuse("a lock is given back twice");
    return 0;
}

} // namespace

DRIVER_EXPORT int32_t DRIVER_CALL cuvidCtxLock(void* pLock, uint32_t Reserved)
{
    return ChangeLock("cuvidCtxLock", pLock, Reserved, 1);
}

DRIVER_EXPORT int32_t DRIVER_CALL cuvidCtxUnlock(void* pLock, uint32_t Reserved)
{
    return ChangeLock("cuvidCtxUnlock", pLock, Reserved, -1);
}

// ---- Sources, which nobody may use -----------------------------------------------------------------------------

namespace {

int32_t NotForUse(const char* pOperation)
{
    DriverMisuse(pOperation);
    return kInvalidValue;
}

} // namespace

DRIVER_EXPORT int32_t DRIVER_CALL cuvidCreateVideoSource(void**, const char*, void*)
{
    return NotForUse("cuvidCreateVideoSource");
}
DRIVER_EXPORT int32_t DRIVER_CALL cuvidCreateVideoSourceW(void**, const wchar_t*, void*)
{
    return NotForUse("cuvidCreateVideoSourceW");
}
DRIVER_EXPORT int32_t DRIVER_CALL cuvidDestroyVideoSource(void*) { return NotForUse("cuvidDestroyVideoSource"); }
DRIVER_EXPORT int32_t DRIVER_CALL cuvidSetVideoSourceState(void*, int32_t)
{
    return NotForUse("cuvidSetVideoSourceState");
}
DRIVER_EXPORT int32_t DRIVER_CALL cuvidGetVideoSourceState(void*) { return NotForUse("cuvidGetVideoSourceState"); }
DRIVER_EXPORT int32_t DRIVER_CALL cuvidGetSourceVideoFormat(void*, void*, uint32_t)
{
    return NotForUse("cuvidGetSourceVideoFormat");
}
DRIVER_EXPORT int32_t DRIVER_CALL cuvidGetSourceAudioFormat(void*, void*, uint32_t)
{
    return NotForUse("cuvidGetSourceAudioFormat");
}
