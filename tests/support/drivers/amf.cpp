// A substitute of the AMF run time. Its objects are records that begin with a table of operations, filled by the
// numbers under which the run time publishes them; what the library is not to call notes a misuse. Streams and pictures
// are real ones.
//
// Scripted operations are named "Factory.CreateContext"; a setting of that name is the status once the work is done.
// Other settings: "amf outputs" (of a picture: 0, 1, or 2, of which the first is a short one), "amf type" (the
// "OutputDataType" of an output), "amf frame type" (of a decoded surface), "amf pitch" (bytes behind each row).
#include "tests/support/drivers/raw_driver.h"
#include "tests/support/drivers/stand_in_codec.h"

namespace {

// ---- What the run time publishes ---------------------------------------------------------------------------------

enum Status : int32_t {
    kOk = 0,
    kFail = 1,
    kInvalidArgument = 4,
    kNoInterface = 8,
    kNotFound = 11,
    kNotInitialized = 13,
    kWrongState = 15,
    kEof = 23,
    kRepeat = 24
};
constexpr uint64_t kVersion = 0x0001000400040000;

struct Guid {
    uint32_t Data1;
    uint16_t Data2, Data3;
    uint8_t Data4[8];
};
constexpr Guid kBufferIid{0xB04B7248, 0xB6F0, 0x4321, {0xB6, 0x91, 0xBA, 0xA4, 0x74, 0x0F, 0x9F, 0xCB}};
constexpr Guid kSurfaceIid{0x3075DBE3, 0x8718, 0x4CFA, {0x86, 0xFB, 0x21, 0x14, 0xC0, 0xA5, 0xA4, 0x51}};

struct Variant { // as bytes at the published offsets; 24 in all
    int32_t Type, Padding;
    uint32_t Words[4];
};
static_assert(sizeof(Variant) == 24);
enum VariantType { kBool = 1, kInt64 = 2, kSize = 5, kRate = 7 };

int64_t Int64Of(const Variant& v) { return static_cast<int64_t>(uint64_t{v.Words[1]} << 32 | v.Words[0]); }

constexpr int kNv12 = 1, kHost = 1, kPlaneY = 2, kPlaneUV = 3, kIdr = 2;

// Slots of each interface.
constexpr int kBufferSlots = 28, kSurfaceSlots = 33, kPlaneSlots = 13, kContextSlots = 55, kComponentSlots = 28,
              kFactorySlots = 7, kTraceSlots = 25, kDebugSlots = 4;

// ---- Tables ------------------------------------------------------------------------------------------------------

using Slot = void (*)();

template <int Number>
int32_t DRIVER_CALL Uncalled(void*)
{
    char Text[] = "AMF slot 00 is not to be called";
    Text[9] = static_cast<char>('0' + Number / 10);
    Text[10] = static_cast<char>('0' + Number % 10);
    DriverMisuse(Text);
    return kFail;
}

template <int Count>
struct Filler {
    static void Fill(Slot* pTable)
    {
        Filler<Count - 1>::Fill(pTable);
        pTable[Count - 1] = reinterpret_cast<Slot>(&Uncalled<Count - 1>);
    }
};
template <>
struct Filler<0> {
    static void Fill(Slot*) {}
};

template <class Operation>
void Put(Slot* pTable, int Number, Operation* pOperation)
{
    pTable[Number] = reinterpret_cast<Slot>(pOperation);
}

Slot g_Factory[kFactorySlots], g_Trace[kTraceSlots], g_Debug[kDebugSlots], g_Context[kContextSlots],
    g_Component[kComponentSlots], g_Buffer[kBufferSlots], g_Surface[kSurfaceSlots], g_Plane[kPlaneSlots];

// ---- Objects -----------------------------------------------------------------------------------------------------

struct Singleton {
    const Slot* pTable;
};
Singleton g_TheFactory{g_Factory}, g_TheTrace{g_Trace}, g_TheDebug{g_Debug};

struct Object {
    const Slot* pTable;
    const char* pKind;
    int32_t References;
};

struct Context {
    Object Base;
    int32_t bTerminated;
};

struct Plane {
    Object Base;
    Object* pSurface;
    uint8_t* pBytes;
    int32_t Width, Height, Pitch; // in samples or pairs; rows; bytes
};

struct Surface {
    Object Base;
    Plane *pY, *pUV;
    int32_t Width, Height, bHost;
    int32_t ForcedType, bDelimiter;
};

struct Buffer {
    Object Base;
    uint8_t* pBytes;
    size_t Size;
    int64_t DataType; // below 0: it has none
};

struct Component {
    Object Base;
    Object* pContext;
    int32_t bEncoder, bInitialized, bTerminated, bDraining;
    int32_t Width, Height, FramesPerSecond, Kbps;
    void* pCodec;
    Object* Outputs[32]; // each with the component's reference
    int32_t First, Count;
};

template <class Record>
Record* New(const Slot* pTable, const char* pKind, size_t Extra = 0)
{
    auto* const p = static_cast<Record*>(DriverOpen(pKind, sizeof(Record) + Extra));
    Object& o = p->Base;
    o.pTable = pTable;
    o.pKind = pKind;
    o.References = 1;
    return p;
}

// ---- Script and trace --------------------------------------------------------------------------------------------

// A status of the script in place of the work, or the setting's once the work is done.
#define ENTER(Name)                                                                                                    \
    int64_t Scripted = 0;                                                                                              \
    const int32_t bWork = DriverEnter(Name, &Scripted)
#define ANSWER_SCRIPT                                                                                                  \
    if (!bWork) return static_cast<int32_t>(Scripted)

int32_t Late(const char* pOperation) { return static_cast<int32_t>(DriverSetting(pOperation, kOk)); }

void TextField(const char* pName, const wchar_t* pText)
{
    char Text[64] = "";
    for (int i = 0; i < 63 && pText[i]; ++i) Text[i] = static_cast<char>(pText[i] < 127 ? pText[i] : '?');
    DriverText(pName, Text);
}

void ValueFields(const wchar_t* pName, const Variant& Value)
{
    TextField("name", pName);
    DriverField("type", Value.Type);
    if (Value.Type == kBool) {
        DriverField("value", Value.Words[0] & 0xFF);
    } else if (Value.Type == kInt64) {
        DriverField("value", Int64Of(Value));
    } else {
        DriverField("first", static_cast<int32_t>(Value.Words[0]));
        DriverField("second", static_cast<int32_t>(Value.Words[1]));
    }
}

bool IsText(const wchar_t* pText, const char* pWanted)
{
    for (; *pWanted; ++pText, ++pWanted)
        if (*pText != static_cast<wchar_t>(*pWanted)) return false;
    return *pText == 0;
}

bool IsSame(const Guid& a, const Guid& b) { return __builtin_memcmp(&a, &b, sizeof a) == 0; }

// ---- References --------------------------------------------------------------------------------------------------

void Destroy(Object* p);

long DRIVER_CALL Acquire(void* p)
{
    auto* const pObject = static_cast<Object*>(p);
    DriverUse(pObject->pKind, p);
    return ++pObject->References;
}

long DRIVER_CALL Release(void* p)
{
    auto* const pObject = static_cast<Object*>(p);
    if (!DriverUse(pObject->pKind, p)) return 0;
    const int32_t Left = --pObject->References;
    if (Left == 0) Destroy(pObject);
    return Left;
}

// A plane lives as long as its surface; its count is of those who hold it besides.
long DRIVER_CALL ReleasePlane(void* p)
{
    auto* const pPlane = static_cast<Plane*>(p);
    if (!DriverUse("plane", p)) return 0;
    if (--pPlane->Base.References == 0) DriverMisuse("plane released too often");
    return pPlane->Base.References;
}

void ClosePlane(Plane* pPlane)
{
    if (pPlane->Base.References != 1) DriverMisuse("plane held longer than its surface");
    DriverClose("plane", pPlane);
}

void DropOutputs(Component& c)
{
    for (; c.Count; --c.Count, c.First = (c.First + 1) % 32) Release(c.Outputs[c.First]);
}

void CloseCodec(Component& c)
{
    if (c.pCodec) c.bEncoder ? StandInEncoderClose(c.pCodec) : StandInDecoderClose(c.pCodec);
    c.pCodec = nullptr;
}

void Destroy(Object* p)
{
    const char* const pKind = p->pKind;
    if (p->pTable == g_Component) {
        auto& c = *reinterpret_cast<Component*>(p);
        DropOutputs(c);
        CloseCodec(c);
        Release(c.pContext);
    } else if (p->pTable == g_Surface) {
        auto& s = *reinterpret_cast<Surface*>(p);
        ClosePlane(s.pY);
        ClosePlane(s.pUV);
    }
    DriverClose(pKind, p);
}

int32_t DRIVER_CALL QueryInterface(void* p, const Guid* pIid, void** ppOut)
{
    ENTER("Data.QueryInterface");
    auto* const pObject = static_cast<Object*>(p);
    DriverUse(pObject->pKind, p);
    const bool bBuffer = IsSame(*pIid, kBufferIid);
    DriverText("face", bBuffer ? "buffer" : IsSame(*pIid, kSurfaceIid) ? "surface" : "other");
    ANSWER_SCRIPT;
    if (bBuffer != (pObject->pTable == g_Buffer) || (!bBuffer && !IsSame(*pIid, kSurfaceIid))) return kNoInterface;
    Acquire(p);
    *ppOut = p;
    return kOk;
}

// ---- Buffers and surfaces ----------------------------------------------------------------------------------------

Buffer* NewBuffer(size_t OwnBytes)
{
    auto* const p = New<Buffer>(g_Buffer, "buffer", OwnBytes);
    p->pBytes = reinterpret_cast<uint8_t*>(p + 1);
    p->Size = OwnBytes;
    p->DataType = -1;
    return p;
}

int32_t DRIVER_CALL GetProperty(void* p, const wchar_t* pName, Variant* pValue)
{
    ENTER("Buffer.GetProperty");
    DriverUse("buffer", p);
    TextField("name", pName);
    if (pValue->Type != 0) DriverMisuse("value not empty");
    ANSWER_SCRIPT;
    const Buffer& b = *static_cast<Buffer*>(p);
    if (!IsText(pName, "OutputDataType") || b.DataType == -1) return kNotFound;
    pValue->Type = kInt64;
    pValue->Words[0] = static_cast<uint32_t>(b.DataType);
    pValue->Words[1] = static_cast<uint32_t>(static_cast<uint64_t>(b.DataType) >> 32);
    return Late("Buffer.GetProperty");
}

size_t DRIVER_CALL GetSize(void* p)
{
    ENTER("Buffer.GetSize");
    DriverUse("buffer", p);
    return bWork ? static_cast<Buffer*>(p)->Size : static_cast<size_t>(Scripted);
}

void* DRIVER_CALL GetBufferNative(void* p)
{
    ENTER("Buffer.GetNative");
    DriverUse("buffer", p);
    return bWork ? static_cast<Buffer*>(p)->pBytes : reinterpret_cast<void*>(static_cast<uintptr_t>(Scripted));
}

Plane* NewPlane(Surface* pSurface, uint8_t* pBytes, int32_t Width, int32_t Height, int32_t Pitch)
{
    auto* const p = New<Plane>(g_Plane, "plane");
    p->pSurface = &pSurface->Base;
    p->pBytes = pBytes;
    p->Width = Width;
    p->Height = Height;
    p->Pitch = Pitch;
    return p;
}

// pBytes null: room of its own.
Surface* NewSurface(int32_t Width, int32_t Height, int32_t Pitch, uint8_t* pBytes)
{
    const auto Luma = static_cast<size_t>(Pitch) * static_cast<size_t>(Height);
    auto* const p = New<Surface>(g_Surface, "surface", pBytes ? 0 : Luma * 2);
    if (!pBytes) pBytes = reinterpret_cast<uint8_t*>(p + 1);
    p->Width = Width;
    p->Height = Height;
    p->pY = NewPlane(p, pBytes, Width, Height, Pitch);
    p->pUV = NewPlane(p, pBytes + Luma, Width / 2, Height / 2, Pitch);
    return p;
}

int32_t DRIVER_CALL SetSurfaceProperty(void* p, const wchar_t* pName, Variant Value)
{
    ENTER("Surface.SetProperty");
    DriverUse("surface", p);
    ValueFields(pName, Value);
    ANSWER_SCRIPT;
    Surface& s = *static_cast<Surface*>(p);
    if (IsText(pName, "ForcePictureType")) s.ForcedType = static_cast<int32_t>(Int64Of(Value));
    if (IsText(pName, "InsertAUD")) s.bDelimiter = Value.Words[0] & 0xFF;
    return Late("Surface.SetProperty");
}

int32_t DRIVER_CALL Convert(void* p, int32_t Type)
{
    ENTER("Data.Convert");
    DriverUse("surface", p);
    DriverField("type", Type);
    ANSWER_SCRIPT;
    static_cast<Surface*>(p)->bHost = Type == kHost;
    return Late("Data.Convert");
}

Plane* DRIVER_CALL GetPlane(void* p, int32_t Type)
{
    ENTER("Surface.GetPlane");
    DriverUse("surface", p);
    DriverField("type", Type);
    if (!bWork) return nullptr;
    const Surface& s = *static_cast<Surface*>(p);
    return Type == kPlaneY ? s.pY : Type == kPlaneUV ? s.pUV : nullptr;
}

int32_t DRIVER_CALL GetFrameType(void* p)
{
    ENTER("Surface.GetFrameType");
    DriverUse("surface", p);
    ANSWER_SCRIPT;
    return static_cast<int32_t>(DriverSetting("amf frame type", 0));
}

void* DRIVER_CALL GetPlaneNative(void* p)
{
    ENTER("Plane.GetNative");
    DriverUse("plane", p);
    const Plane& Own = *static_cast<Plane*>(p);
    DriverField("plane", reinterpret_cast<const Surface*>(Own.pSurface)->pY == p ? kPlaneY : kPlaneUV);
    if (!reinterpret_cast<const Surface*>(Own.pSurface)->bHost) DriverMisuse("plane is not in host memory");
    return bWork ? Own.pBytes : nullptr;
}

#define PLANE_NUMBER(Name)                                                                                             \
    int32_t DRIVER_CALL Get##Name(void* p)                                                                             \
    {                                                                                                                  \
        ENTER("Plane.Get" #Name);                                                                                      \
        DriverUse("plane", p);                                                                                         \
        return bWork ? static_cast<Plane*>(p)->Name : static_cast<int32_t>(Scripted);                                  \
    }
PLANE_NUMBER(Width)
PLANE_NUMBER(Height)
PLANE_NUMBER(Pitch)

// ---- Context -----------------------------------------------------------------------------------------------------

int32_t DRIVER_CALL TerminateContext(void* p)
{
    ENTER("Context.Terminate");
    DriverUse("context", p);
    ANSWER_SCRIPT;
    static_cast<Context*>(p)->bTerminated = 1;
    return Late("Context.Terminate");
}

int32_t DRIVER_CALL InitDX9(void* p, void* pDevice)
{
    ENTER("Context.InitDX9");
    DriverUse("context", p);
    DriverField("device", pDevice != nullptr);
    ANSWER_SCRIPT;
    return Late("Context.InitDX9");
}

int32_t DRIVER_CALL InitDX11(void* p, void* pDevice, int32_t Version)
{
    ENTER("Context.InitDX11");
    DriverUse("context", p);
    DriverField("device", pDevice != nullptr);
    DriverField("version", Version);
    ANSWER_SCRIPT;
    return Late("Context.InitDX11");
}

int32_t DRIVER_CALL CreateBufferFromHostNative(void* p, void* pData, size_t Size, void** ppOut, void* pObserver)
{
    ENTER("Context.CreateBufferFromHostNative");
    DriverUse("context", p);
    DriverField("size", static_cast<int64_t>(Size));
    DriverField("observer", pObserver != nullptr);
    ANSWER_SCRIPT;
    if (static_cast<Context*>(p)->bTerminated) return kWrongState;
    auto* const pNew = NewBuffer(0);
    pNew->pBytes = static_cast<uint8_t*>(pData);
    pNew->Size = Size;
    *ppOut = pNew;
    return Late("Context.CreateBufferFromHostNative");
}

int32_t DRIVER_CALL CreateSurfaceFromHostNative(void* p, int32_t Format, int32_t Width, int32_t Height, int32_t HPitch,
                                                int32_t VPitch, void* pData, void** ppOut, void* pObserver)
{
    ENTER("Context.CreateSurfaceFromHostNative");
    DriverUse("context", p);
    DriverField("format", Format);
    DriverField("width", Width);
    DriverField("height", Height);
    DriverField("hpitch", HPitch);
    DriverField("vpitch", VPitch);
    DriverField("data", pData != nullptr);
    DriverField("observer", pObserver != nullptr);
    ANSWER_SCRIPT;
    if (static_cast<Context*>(p)->bTerminated) return kWrongState;
    if (!pData || Format != kNv12 || Width <= 0 || Height <= 0 || HPitch < Width || VPitch < Height)
        return kInvalidArgument;
    auto* const pNew = NewSurface(Width, Height, HPitch, static_cast<uint8_t*>(pData));
    pNew->bHost = 1;
    *ppOut = pNew;
    return Late("Context.CreateSurfaceFromHostNative");
}

// ---- Component ---------------------------------------------------------------------------------------------------

int32_t DRIVER_CALL SetComponentProperty(void* p, const wchar_t* pName, Variant Value)
{
    ENTER("Component.SetProperty");
    DriverUse("component", p);
    ValueFields(pName, Value);
    ANSWER_SCRIPT;
    Component& c = *static_cast<Component*>(p);
    if (c.bInitialized) DriverMisuse("property set behind Init");
    if (IsText(pName, "FrameRate")) c.FramesPerSecond = static_cast<int32_t>(Value.Words[0]);
    if (IsText(pName, "TargetBitrate")) c.Kbps = static_cast<int32_t>(Value.Words[0]) / 1000;
    return Late("Component.SetProperty");
}

int32_t DRIVER_CALL InitComponent(void* p, int32_t Format, int32_t Width, int32_t Height)
{
    ENTER("Component.Init");
    DriverUse("component", p);
    DriverField("format", Format);
    DriverField("width", Width);
    DriverField("height", Height);
    ANSWER_SCRIPT;
    Component& c = *static_cast<Component*>(p);
    c.Width = Width;
    c.Height = Height;
    c.pCodec = c.bEncoder ? StandInEncoderOpen(Width, Height, c.FramesPerSecond, c.Kbps) : StandInDecoderOpen();
    c.bInitialized = c.pCodec != nullptr;
    return c.bInitialized ? Late("Component.Init") : kInvalidArgument;
}

int32_t DRIVER_CALL TerminateComponent(void* p)
{
    ENTER("Component.Terminate");
    DriverUse("component", p);
    ANSWER_SCRIPT;
    Component& c = *static_cast<Component*>(p);
    DropOutputs(c);
    CloseCodec(c);
    c.bInitialized = 0;
    c.bTerminated = 1;
    return Late("Component.Terminate");
}

void PutOut(Component& c, Object* pOutput)
{
    if (c.Count == 32) {
        DriverMisuse("too many outputs");
        return;
    }
    c.Outputs[(c.First + c.Count++) % 32] = pOutput;
}

constexpr uint8_t kDelimiter[] = {0, 0, 0, 1, 9, 0xF0};

int64_t DataTypeOf(int32_t FrameType) { return DriverSetting("amf type", FrameType == 1 ? 0 : 2); }

void PutOutDelimiter(Component& c)
{
    Buffer* const p = NewBuffer(sizeof kDelimiter);
    __builtin_memcpy(p->pBytes, kDelimiter, sizeof kDelimiter);
    p->DataType = DriverSetting("amf first type", 3);
    PutOut(c, &p->Base);
}

int32_t EncodeSurface(Component& c, const Surface& s)
{
    const int64_t Outputs = DriverSetting("amf outputs", 1);
    const int32_t Room = c.Width * c.Height * 3 + 4096;
    Buffer* const p = NewBuffer(static_cast<size_t>(Room));
    size_t Length = 0;
    if (s.bDelimiter) {
        __builtin_memcpy(p->pBytes, kDelimiter, sizeof kDelimiter);
        Length = sizeof kDelimiter;
    }
    int32_t FrameType = 0;
    const int32_t Coded =
        StandInEncoderPut(c.pCodec, s.pY->pBytes, s.pY->Pitch, s.pUV->pBytes, s.pUV->Pitch, s.ForcedType == kIdr,
                          p->pBytes + Length, Room - static_cast<int32_t>(Length), &FrameType);
    p->Size = Coded < 0 ? 0 : Length + static_cast<size_t>(Coded);
    p->DataType = DataTypeOf(FrameType);
    if (Outputs > 1) PutOutDelimiter(c);
    if (Outputs > 0)
        PutOut(c, &p->Base);
    else
        Release(p);
    return Coded < 0 ? kFail : kOk;
}

Surface* SurfaceOf(const StandInPicture& Picture)
{
    const int32_t Pitch = Picture.Width + static_cast<int32_t>(DriverSetting("amf pitch", 64));
    Surface* const p = NewSurface(Picture.Width, Picture.Height, Pitch, nullptr);
    const uint8_t* pFrom = Picture.pNv12;
    for (int32_t y = 0; y < Picture.Height + Picture.Height / 2; ++y, pFrom += Picture.Width)
        __builtin_memcpy(p->pY->pBytes + static_cast<size_t>(y) * static_cast<size_t>(Pitch), pFrom,
                         static_cast<size_t>(Picture.Width));
    return p;
}

void DecodeBuffer(Component& c, const Buffer& b)
{
    StandInDecoderPut(c.pCodec, b.pBytes, static_cast<int32_t>(b.Size), 1);
    const int64_t Outputs = DriverSetting("amf outputs", 1);
    StandInPicture Picture;
    while (StandInDecoderNext(c.pCodec, &Picture))
        for (int64_t i = 0; i < Outputs; ++i) PutOut(c, &SurfaceOf(Picture)->Base);
}

int32_t DRIVER_CALL SubmitInput(void* p, void* pData)
{
    ENTER("Component.SubmitInput");
    DriverUse("component", p);
    DriverField("data", pData != nullptr);
    ANSWER_SCRIPT;
    Component& c = *static_cast<Component*>(p);
    if (!DriverUse(c.bEncoder ? "surface" : "buffer", pData)) return kInvalidArgument;
    if (!c.bInitialized) return kNotInitialized;
    if (c.bDraining) DriverMisuse("input behind a drain");
    Acquire(pData);
    const int32_t Result = c.bEncoder ? EncodeSurface(c, *static_cast<Surface*>(pData)) : int32_t{kOk};
    if (!c.bEncoder) DecodeBuffer(c, *static_cast<Buffer*>(pData));
    Release(pData);
    const int32_t Wanted = Late("Component.SubmitInput");
    return Wanted ? Wanted : Result;
}

int32_t DRIVER_CALL Drain(void* p)
{
    ENTER("Component.Drain");
    DriverUse("component", p);
    ANSWER_SCRIPT;
    static_cast<Component*>(p)->bDraining = 1;
    return Late("Component.Drain");
}

int32_t DRIVER_CALL Flush(void* p)
{
    ENTER("Component.Flush");
    DriverUse("component", p);
    ANSWER_SCRIPT;
    Component& c = *static_cast<Component*>(p);
    DropOutputs(c);
    c.bDraining = 0;
    return Late("Component.Flush");
}

int32_t DRIVER_CALL QueryOutput(void* p, Object** ppOut)
{
    ENTER("Component.QueryOutput");
    DriverUse("component", p);
    if (*ppOut) DriverMisuse("output not empty");
    ANSWER_SCRIPT;
    Component& c = *static_cast<Component*>(p);
    if (!c.Count) return c.bDraining || !c.bInitialized ? kEof : kRepeat;
    *ppOut = c.Outputs[c.First];
    c.First = (c.First + 1) % 32;
    --c.Count;
    return Late("Component.QueryOutput");
}

// ---- Factory -----------------------------------------------------------------------------------------------------

int32_t DRIVER_CALL CreateContext(void*, void** ppOut)
{
    ENTER("Factory.CreateContext");
    ANSWER_SCRIPT;
    *ppOut = New<Context>(g_Context, "context");
    return Late("Factory.CreateContext");
}

int32_t DRIVER_CALL CreateComponent(void*, void* pContext, const wchar_t* pId, void** ppOut)
{
    ENTER("Factory.CreateComponent");
    TextField("id", pId);
    ANSWER_SCRIPT;
    if (!DriverUse("context", pContext)) return kInvalidArgument;
    const bool bEncoder = IsText(pId, "AMFVideoEncoderVCE_AVC");
    if (!bEncoder && !IsText(pId, "AMFVideoDecoderUVD_H264_AVC")) return kNotFound;
    auto* const p = New<Component>(g_Component, "component");
    p->bEncoder = bEncoder;
    p->pContext = static_cast<Object*>(pContext);
    Acquire(pContext);
    *ppOut = p;
    return Late("Factory.CreateComponent");
}

int32_t DRIVER_CALL GetDebug(void*, void** ppOut)
{
    ENTER("Factory.GetDebug");
    ANSWER_SCRIPT;
    *ppOut = &g_TheDebug;
    return Late("Factory.GetDebug");
}

int32_t DRIVER_CALL GetTrace(void*, void** ppOut)
{
    ENTER("Factory.GetTrace");
    ANSWER_SCRIPT;
    *ppOut = &g_TheTrace;
    return Late("Factory.GetTrace");
}

// ---- The numbers of the operations -------------------------------------------------------------------------------

template <int Count>
void FillCounted(Slot (&Table)[Count])
{
    Filler<Count>::Fill(Table);
    Put(Table, 0, Acquire);
    Put(Table, 1, Release);
}

void FillData()
{
    FillCounted(g_Buffer);
    Put(g_Buffer, 2, QueryInterface);
    Put(g_Buffer, 4, GetProperty);
    Put(g_Buffer, 24, GetSize);
    Put(g_Buffer, 25, GetBufferNative);
    FillCounted(g_Surface);
    Put(g_Surface, 2, QueryInterface);
    Put(g_Surface, 3, SetSurfaceProperty);
    Put(g_Surface, 15, Convert);
    Put(g_Surface, 26, GetPlane);
    Put(g_Surface, 27, GetFrameType);
    FillCounted(g_Plane);
    Put(g_Plane, 1, ReleasePlane);
    Put(g_Plane, 4, GetPlaneNative);
    Put(g_Plane, 8, GetWidth);
    Put(g_Plane, 9, GetHeight);
    Put(g_Plane, 10, GetPitch);
}

void FillDevices()
{
    FillCounted(g_Context);
    Put(g_Context, 13, TerminateContext);
    Put(g_Context, 14, InitDX9);
    Put(g_Context, 18, InitDX11);
    Put(g_Context, 46, CreateBufferFromHostNative);
    Put(g_Context, 47, CreateSurfaceFromHostNative);
    FillCounted(g_Component);
    Put(g_Component, 3, SetComponentProperty);
    Put(g_Component, 17, InitComponent);
    Put(g_Component, 19, TerminateComponent);
    Put(g_Component, 20, Drain);
    Put(g_Component, 21, Flush);
    Put(g_Component, 22, SubmitInput);
    Put(g_Component, 23, QueryOutput);
}

void FillFactory()
{
    Filler<kFactorySlots>::Fill(g_Factory);
    Put(g_Factory, 0, CreateContext);
    Put(g_Factory, 1, CreateComponent);
    Put(g_Factory, 4, GetDebug);
    Put(g_Factory, 5, GetTrace);
    Filler<kTraceSlots>::Fill(g_Trace);
    Filler<kDebugSlots>::Fill(g_Debug);
}

} // namespace

DRIVER_EXPORT int32_t AMFInit(uint64_t Version, void** ppFactory)
{
    ENTER("AMFInit");
    DriverField("version", static_cast<int64_t>(Version));
    ANSWER_SCRIPT;
    FillData();
    FillDevices();
    FillFactory();
    *ppFactory = &g_TheFactory;
    return Late("AMFInit");
}

DRIVER_EXPORT int32_t AMFQueryVersion(uint64_t* pVersion)
{
    ENTER("AMFQueryVersion");
    ANSWER_SCRIPT;
    *pVersion = kVersion;
    return Late("AMFQueryVersion");
}
