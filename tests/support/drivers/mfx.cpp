// A run time of the Media SDK, or the dispatcher in front of one: the same names serve as both. What it codes and
// decodes is real. A null session is refused without a line in the trace.
//
// Settings (tests/support/drivers/driver_control.h), each with its default:
//   impl (1 or 2, by what was asked), major (1), minor (35)    what a session turns out to be
//   surfaces (3)         surfaces that encoder and decoder ask for
//   BufferSizeInKB (as much as a picture takes)
//   NAME.status (0)      status of an operation once its work is done
//   encode.warning (0)   a submit's positive status, without output and without a sync point
//   encode.held (0)      1: a submit holds its picture back
//   encode.length, encode.offset, encode.type    in place of the true ones
//   encode.locked (0)    1: surfaces stay locked
//   encode.surface       is set by a submit: the address of its surface
//   decode.status (0)    a call's status, without output; with -11 the surface is taken
//   decode.warning (0)   a call's positive status, with output
//   decode.locked (0)    1: surfaces stay locked
//   decode.silent (0)    1: no output surface is named
//   decode.width, decode.height, decode.type     in place of the true ones
//   decode.left          what a call leaves as the length of the bitstream's data
#include "tests/support/drivers/mfx_trace.h"
#include "tests/support/drivers/stand_in_codec.h"

using namespace mfx;

namespace {

constexpr int32_t kNotEnoughBuffer = -5, kInvalidHandle = -6, kLockMemory = -7, kNotInitialized = -8, kMoreData = -10,
                  kMoreSurface = -11, kIncompatible = -14;
constexpr uint32_t kNv12 = 0x3231564E;

struct Sync { // behind a sync point
    void* pSurface;
    int32_t bKeepLocked;
};

struct Session {
    int32_t Impl;
    void* pAllocator; // the client's table
    void* pEncoder;   // a stand-in
    uint8_t EncoderParam[kParamBytes];
    void* pDecoder; // a stand-in
    int32_t CodedWidth, CodedHeight;
    void* SyncPoints[64]; // not waited for
    void* pLastSurface;   // of a submit
    uint8_t* pFirstPlane; // of the decoder's surfaces, the one seen first
};

Session* Begin(const char* pOperation, void* pSession, int64_t* pStatus)
{
    *pStatus = kInvalidHandle;
    if (!pSession) return nullptr;
    if (!DriverUse("session", pSession)) return nullptr;
    return DriverEnter(pOperation, pStatus) ? static_cast<Session*>(pSession) : nullptr;
}

#define BEGIN(Name)                                                                                                    \
    int64_t Status;                                                                                                    \
    Session* const p = Begin(#Name, pSession, &Status);                                                                \
    if (!p) return static_cast<int32_t>(Status)
#define LATE_STATUS(Name) static_cast<int32_t>(DriverSetting(#Name ".status", 0))

int32_t Open(int32_t Impl, uint32_t Version, void** ppSession)
{
    int64_t Status;
    const int32_t bGoesOn = DriverEnter("MFXInit", &Status);
    DriverField("impl", Impl);
    DriverField("major", Version >> 16);
    DriverField("minor", Version & 0xFFFF);
    if (!bGoesOn) return static_cast<int32_t>(Status);
    *ppSession = DriverOpen("session", sizeof(Session));
    static_cast<Session*>(*ppSession)->Impl = Impl;
    return LATE_STATUS(MFXInit);
}

void* NewSync(Session* p, void* pSurface, int32_t bKeepLocked)
{
    void* const pNew = DriverOpen("sync", sizeof(Sync));
    *static_cast<Sync*>(pNew) = {pSurface, bKeepLocked};
    for (void*& pPlace : p->SyncPoints) {
        if (pPlace) continue;
        pPlace = pNew;
        return pNew;
    }
    return pNew;
}

void LockMore(void* pSurface, int32_t Change)
{
    const auto Locked = Get<uint16_t>(pSurface, kData + data::Locked);
    Put(pSurface, kData + data::Locked, static_cast<uint16_t>(Locked + Change));
}

void CloseEncoder(Session* p)
{
    if (p->pEncoder) StandInEncoderClose(p->pEncoder);
    p->pEncoder = nullptr;
}

void CloseDecoder(Session* p)
{
    if (p->pDecoder) StandInDecoderClose(p->pDecoder);
    p->pDecoder = nullptr;
}

uint16_t InfoOf(const void* pParam, size_t Field) { return Get<uint16_t>(pParam, param::FrameInfo + Field); }

void AnswerRequest(const void* pParam, void* pRequest, uint16_t Type)
{
    DriverField("request", BytesNotZero(static_cast<const uint8_t*>(pRequest), kRequestBytes));
    __builtin_memcpy(static_cast<uint8_t*>(pRequest) + request::Info,
                     static_cast<const uint8_t*>(pParam) + param::FrameInfo, kInfoBytes);
    const auto Surfaces = static_cast<uint16_t>(DriverSetting("surfaces", 3));
    Put(pRequest, request::NumFrameMin, uint16_t{1});
    Put(pRequest, request::NumFrameSuggested, Surfaces);
    Put(pRequest, request::Type, Type);
}

// ---- Encoding ----------------------------------------------------------------------------------------------------

using LockFunction = int32_t (*)(void* pThis, void* MemId, void* pData);

int32_t CallAllocator(Session* p, size_t Entry, void* MemId, void* pData)
{
    return Get<LockFunction>(p->pAllocator, Entry)(Get<void*>(p->pAllocator, allocator::This), MemId, pData);
}

// Codes the picture of a surface behind what the bitstream holds.
int32_t CodePicture(Session* p, const void* pControl, void* pSurface, void* pBitstream)
{
    uint8_t Data[kDataBytes] = {};
    void* const MemId = Get<void*>(pSurface, kData + data::MemId);
    if (CallAllocator(p, allocator::Lock, MemId, Data) < 0) return kLockMemory;
    const uint32_t Begin =
        Get<uint32_t>(pBitstream, bitstream::DataOffset) + Get<uint32_t>(pBitstream, bitstream::DataLength);
    const uint32_t Room = Get<uint32_t>(pBitstream, bitstream::MaxLength) - Begin;
    const int32_t bKey = pControl && (Get<uint16_t>(pControl, kControlFrameType) & 0x80) != 0;
    const auto Pitch = Get<uint16_t>(Data, data::Pitch);
    int32_t Type = 0;
    const int32_t Length =
        StandInEncoderPut(p->pEncoder, Get<uint8_t*>(Data, data::Y), Pitch, Get<uint8_t*>(Data, data::U), Pitch, bKey,
                          Get<uint8_t*>(pBitstream, bitstream::Data) + Begin, static_cast<int32_t>(Room), &Type);
    if (CallAllocator(p, allocator::Unlock, MemId, Data) < 0) return kLockMemory;
    if (Length < 0) return kNotEnoughBuffer;
    const int64_t Known = DriverSetting("encode.length", -1);
    Put(pBitstream, bitstream::DataLength, static_cast<uint32_t>(Known < 0 ? Length : Known));
    Put(pBitstream, bitstream::DataOffset, static_cast<uint32_t>(DriverSetting("encode.offset", Begin)));
    Put(pBitstream, bitstream::FrameType, static_cast<uint16_t>(DriverSetting("encode.type", Type == 1 ? 0xC1 : 0x42)));
    return 0;
}

void TraceSubmit(const void* pControl, const void* pSurface, const void* pBitstream)
{
    DriverField("control", pControl != nullptr);
    if (pControl) {
        static constexpr FieldOf kFields[] = {{"type", kControlFrameType, 2}};
        TraceAll(pControl, kControlBytes, kFields);
    }
    raw::Field<uint32_t>("FrameOrder", pSurface, kData + data::FrameOrder);
    raw::Field<uint16_t>("Locked", pSurface, kData + data::Locked);
    raw::Field<uint16_t>("Pitch", pSurface, kData + data::Pitch);
    DriverField("planes", Get<void*>(pSurface, kData + data::Y) != nullptr);
    raw::Field<uint16_t>("Width", pSurface, kInfo + info::Width);
    raw::Field<uint16_t>("CropH", pSurface, kInfo + info::CropH);
    TraceBitstream(pBitstream);
}

// ---- Decoding ----------------------------------------------------------------------------------------------------

const uint8_t* Bytes(const void* pBitstream)
{
    return Get<uint8_t*>(pBitstream, bitstream::Data) + Get<uint32_t>(pBitstream, bitstream::DataOffset);
}

// What a sequence parameter set among the bytes says; 0 when there is none.
int32_t ReadFormat(const void* pBitstream, StandInFormat* pFormat)
{
    const auto Length = static_cast<int32_t>(Get<uint32_t>(pBitstream, bitstream::DataLength));
    const uint8_t* const b = Bytes(pBitstream);
    int32_t bSet = 0;
    for (int32_t i = 0; i + 3 < Length; ++i) bSet |= !b[i] && !b[i + 1] && b[i + 2] == 1 && (b[i + 3] & 31) == 7;
    if (!bSet) return 0;
    void* const pReader = StandInDecoderOpen();
    StandInDecoderPut(pReader, b, Length, 0);
    const int32_t bRead = StandInDecoderFormat(pReader, pFormat);
    StandInDecoderClose(pReader);
    return bRead;
}

void Consume(void* pBitstream)
{
    const auto Length = Get<uint32_t>(pBitstream, bitstream::DataLength);
    Put(pBitstream, bitstream::DataOffset, Get<uint32_t>(pBitstream, bitstream::DataOffset) + Length);
    Put(pBitstream, bitstream::DataLength, static_cast<uint32_t>(DriverSetting("decode.left", 0)));
}

void WritePicture(const StandInPicture& Picture, void* pSurface)
{
    const size_t Pitch = Get<uint16_t>(pSurface, kData + data::Pitch);
    auto* const pY = Get<uint8_t*>(pSurface, kData + data::Y);
    auto* const pUV = Get<uint8_t*>(pSurface, kData + data::U);
    const auto Width = static_cast<size_t>(Picture.Width), Height = static_cast<size_t>(Picture.Height);
    for (size_t y = 0; y < Height; ++y) __builtin_memcpy(pY + y * Pitch, Picture.pNv12 + y * Width, Width);
    for (size_t y = 0; y < Height / 2; ++y)
        __builtin_memcpy(pUV + y * Pitch, Picture.pNv12 + (Height + y) * Width, Width);
    Put(pSurface, kInfo + info::CropW, static_cast<uint16_t>(DriverSetting("decode.width", Picture.Width)));
    Put(pSurface, kInfo + info::CropH, static_cast<uint16_t>(DriverSetting("decode.height", Picture.Height)));
}

void TraceDecode(Session* p, const void* pBitstream, const void* pSurface)
{
    TraceBitstream(pBitstream);
    auto* const pY = Get<uint8_t*>(pSurface, kData + data::Y);
    auto* const pU = Get<uint8_t*>(pSurface, kData + data::U);
    if (!p->pFirstPlane) p->pFirstPlane = pY;
    DriverField("at", pY - p->pFirstPlane);
    DriverField("U", pU - pY);
    DriverField("V", Get<uint8_t*>(pSurface, kData + data::V) - pU);
    raw::Field<uint16_t>("Pitch", pSurface, kData + data::Pitch);
    raw::Field<uint16_t>("Locked", pSurface, kData + data::Locked);
    raw::Field<uint32_t>("FourCC", pSurface, kInfo + info::FourCC);
    raw::Field<uint16_t>("Width", pSurface, kInfo + info::Width);
    raw::Field<uint16_t>("Height", pSurface, kInfo + info::Height);
}

int32_t GivePicture(Session* p, void* pBitstream, void* pSurface, void** ppOut, void** ppSync)
{
    StandInPicture Picture;
    if (!StandInDecoderNext(p->pDecoder, &Picture)) return kMoreData;
    WritePicture(Picture, pSurface);
    constexpr uint16_t kTypes[] = {0, 0xC1, 0x42, 4};
    Put(pBitstream, bitstream::FrameType,
        static_cast<uint16_t>(DriverSetting("decode.type", kTypes[Picture.FrameType & 3])));
    LockMore(pSurface, 1);
    *ppSync = NewSync(p, pSurface, static_cast<int32_t>(DriverSetting("decode.locked", 0)));
    if (!DriverSetting("decode.silent", 0)) *ppOut = pSurface;
    return static_cast<int32_t>(DriverSetting("decode.warning", 0));
}

} // namespace

// ---- The session -------------------------------------------------------------------------------------------------

DRIVER_EXPORT int32_t MFXInit(int32_t Impl, const uint32_t* pVersion, void** ppSession)
{
    return Open(Impl, *pVersion, ppSession);
}

struct InitParam { // by value
    int32_t Impl;
    uint32_t Version;
    void* Unread[At(9, 15)];
};
static_assert(sizeof(InitParam) == At(80, 68));

DRIVER_EXPORT int32_t MFXInitEx(InitParam Param, void** ppSession)
{
    return Open(Param.Impl, Param.Version, ppSession);
}

DRIVER_EXPORT int32_t MFXClose(void* pSession)
{
    BEGIN(MFXClose);
    DriverField("encoder", p->pEncoder != nullptr);
    DriverField("decoder", p->pDecoder != nullptr);
    if (p->pLastSurface) raw::Field<uint16_t>("Locked", p->pLastSurface, kData + data::Locked);
    CloseEncoder(p);
    CloseDecoder(p);
    for (void* const pSync : p->SyncPoints)
        if (pSync) DriverClose("sync", pSync);
    DriverClose("session", pSession);
    return LATE_STATUS(MFXClose);
}

DRIVER_EXPORT int32_t MFXQueryIMPL(void* pSession, int32_t* pImpl)
{
    BEGIN(MFXQueryIMPL);
    *pImpl = static_cast<int32_t>(DriverSetting("impl", p->Impl == 1 ? 1 : 2));
    return LATE_STATUS(MFXQueryIMPL);
}

DRIVER_EXPORT int32_t MFXQueryVersion(void* pSession, uint32_t* pVersion)
{
    BEGIN(MFXQueryVersion);
    *pVersion = static_cast<uint32_t>(DriverSetting("major", 1) << 16 | DriverSetting("minor", 35));
    return LATE_STATUS(MFXQueryVersion);
}

DRIVER_EXPORT int32_t MFXVideoCORE_SetFrameAllocator(void* pSession, void* pAllocator)
{
    BEGIN(MFXVideoCORE_SetFrameAllocator);
    constexpr size_t kEntries[] = {allocator::Alloc, allocator::Lock, allocator::Unlock, allocator::GetHDL,
                                   allocator::Free};
    int32_t Entries = 0;
    for (const size_t Entry : kEntries) Entries += Get<void*>(pAllocator, Entry) != nullptr;
    DriverField("entries", Entries);
    DriverField("pthis", Get<void*>(pAllocator, allocator::This) != nullptr);
    p->pAllocator = pAllocator;
    return LATE_STATUS(MFXVideoCORE_SetFrameAllocator);
}

DRIVER_EXPORT int32_t MFXVideoCORE_SyncOperation(void* pSession, void* pSync, uint32_t Wait)
{
    BEGIN(MFXVideoCORE_SyncOperation);
    DriverField("wait", Wait);
    if (!DriverUse("sync", pSync)) return kInvalidHandle;
    const Sync Known = *static_cast<Sync*>(pSync);
    const int32_t Late = LATE_STATUS(MFXVideoCORE_SyncOperation);
    if (Late > 0) return Late; // not finished in time
    if (Late == 0 && !Known.bKeepLocked) LockMore(Known.pSurface, -1);
    for (void*& pPlace : p->SyncPoints)
        if (pPlace == pSync) pPlace = nullptr;
    DriverClose("sync", pSync);
    return Late;
}

// ---- The encoder -------------------------------------------------------------------------------------------------

DRIVER_EXPORT int32_t MFXVideoENCODE_QueryIOSurf(void* pSession, void* pParam, void* pRequest)
{
    BEGIN(MFXVideoENCODE_QueryIOSurf);
    TraceParam(pParam);
    AnswerRequest(pParam, pRequest, 0x11); // the run time's own wish, which is not asked for
    return LATE_STATUS(MFXVideoENCODE_QueryIOSurf);
}

DRIVER_EXPORT int32_t MFXVideoENCODE_Init(void* pSession, void* pParam)
{
    BEGIN(MFXVideoENCODE_Init);
    TraceParam(pParam);
    __builtin_memcpy(p->EncoderParam, pParam, kParamBytes);
    Put<void*>(p->EncoderParam, param::ExtParam, nullptr);
    Put(p->EncoderParam, param::NumExtParam, uint16_t{0});
    CloseEncoder(p);
    p->pEncoder = StandInEncoderOpen(InfoOf(pParam, info::CropW), InfoOf(pParam, info::CropH), 30,
                                     Get<uint16_t>(pParam, param::TargetKbps));
    return p->pEncoder ? LATE_STATUS(MFXVideoENCODE_Init) : kNotInitialized;
}

DRIVER_EXPORT int32_t MFXVideoENCODE_GetVideoParam(void* pSession, void* pParam)
{
    BEGIN(MFXVideoENCODE_GetVideoParam);
    DriverField("given", BytesNotZero(static_cast<const uint8_t*>(pParam), kParamBytes));
    if (!p->pEncoder) return kNotInitialized;
    __builtin_memcpy(pParam, p->EncoderParam, kParamBytes);
    const int32_t Samples = InfoOf(p->EncoderParam, info::CropW) * InfoOf(p->EncoderParam, info::CropH);
    Put(pParam, param::BufferSizeInKB, static_cast<uint16_t>(DriverSetting("BufferSizeInKB", Samples * 3 / 1000 + 1)));
    return LATE_STATUS(MFXVideoENCODE_GetVideoParam);
}

DRIVER_EXPORT int32_t MFXVideoENCODE_Reset(void* pSession, void* pParam)
{
    BEGIN(MFXVideoENCODE_Reset);
    TraceParam(pParam);
    if (!p->pEncoder) return kNotInitialized;
    Put(p->EncoderParam, param::TargetKbps, Get<uint16_t>(pParam, param::TargetKbps));
    return LATE_STATUS(MFXVideoENCODE_Reset);
}

DRIVER_EXPORT int32_t MFXVideoENCODE_Close(void* pSession)
{
    BEGIN(MFXVideoENCODE_Close);
    if (!p->pEncoder) return kNotInitialized;
    CloseEncoder(p);
    return LATE_STATUS(MFXVideoENCODE_Close);
}

DRIVER_EXPORT int32_t MFXVideoENCODE_EncodeFrameAsync(void* pSession, void* pControl, void* pSurface, void* pBitstream,
                                                      void** ppSync)
{
    BEGIN(MFXVideoENCODE_EncodeFrameAsync);
    TraceSubmit(pControl, pSurface, pBitstream);
    if (!p->pEncoder) return kNotInitialized;
    if (const int64_t Warning = DriverSetting("encode.warning", 0)) return static_cast<int32_t>(Warning);
    p->pLastSurface = pSurface;
    const auto Address = static_cast<int64_t>(reinterpret_cast<uintptr_t>(pSurface));
    DriverSet("encode.surface", &Address, 1);
    if (DriverSetting("encode.held", 0)) {
        LockMore(pSurface, 1);
        return kMoreData;
    }
    const int32_t Coded = CodePicture(p, pControl, pSurface, pBitstream);
    if (Coded) return Coded;
    LockMore(pSurface, 1);
    *ppSync = NewSync(p, pSurface, static_cast<int32_t>(DriverSetting("encode.locked", 0)));
    return LATE_STATUS(MFXVideoENCODE_EncodeFrameAsync);
}

// ---- The decoder -------------------------------------------------------------------------------------------------

DRIVER_EXPORT int32_t MFXVideoDECODE_DecodeHeader(void* pSession, void* pBitstream, void* pParam)
{
    BEGIN(MFXVideoDECODE_DecodeHeader);
    TraceBitstream(pBitstream);
    TraceParam(pParam);
    StandInFormat Format;
    if (!ReadFormat(pBitstream, &Format)) {
        Consume(pBitstream);
        return kMoreData;
    }
    uint8_t* const pInfo = static_cast<uint8_t*>(pParam) + param::FrameInfo;
    Put(pInfo, info::FourCC, kNv12);
    Put(pInfo, info::Width, static_cast<uint16_t>(Format.CodedWidth));
    Put(pInfo, info::Height, static_cast<uint16_t>(Format.CodedHeight));
    Put(pInfo, info::CropW, static_cast<uint16_t>(Format.Right - Format.Left));
    Put(pInfo, info::CropH, static_cast<uint16_t>(Format.Bottom - Format.Top));
    Put(pInfo, info::ChromaFormat, uint16_t{1});
    return LATE_STATUS(MFXVideoDECODE_DecodeHeader);
}

DRIVER_EXPORT int32_t MFXVideoDECODE_QueryIOSurf(void* pSession, void* pParam, void* pRequest)
{
    BEGIN(MFXVideoDECODE_QueryIOSurf);
    TraceParam(pParam);
    AnswerRequest(pParam, pRequest, 0x11);
    return LATE_STATUS(MFXVideoDECODE_QueryIOSurf);
}

DRIVER_EXPORT int32_t MFXVideoDECODE_Init(void* pSession, void* pParam)
{
    BEGIN(MFXVideoDECODE_Init);
    TraceParam(pParam);
    CloseDecoder(p);
    p->pDecoder = StandInDecoderOpen();
    p->CodedWidth = InfoOf(pParam, info::Width);
    p->CodedHeight = InfoOf(pParam, info::Height);
    p->pFirstPlane = nullptr;
    return LATE_STATUS(MFXVideoDECODE_Init);
}

DRIVER_EXPORT int32_t MFXVideoDECODE_Close(void* pSession)
{
    BEGIN(MFXVideoDECODE_Close);
    if (!p->pDecoder) return kNotInitialized;
    CloseDecoder(p);
    return LATE_STATUS(MFXVideoDECODE_Close);
}

DRIVER_EXPORT int32_t MFXVideoDECODE_DecodeFrameAsync(void* pSession, void* pBitstream, void* pSurface, void** ppOut,
                                                      void** ppSync)
{
    BEGIN(MFXVideoDECODE_DecodeFrameAsync);
    TraceDecode(p, pBitstream, pSurface);
    if (!p->pDecoder) return kNotInitialized;
    if (const int64_t Given = DriverSetting("decode.status", 0)) {
        if (Given == kMoreSurface) LockMore(pSurface, 1);
        return static_cast<int32_t>(Given);
    }
    StandInFormat Format;
    if (ReadFormat(pBitstream, &Format) && (Format.CodedWidth != p->CodedWidth || Format.CodedHeight != p->CodedHeight))
        return kIncompatible;
    if (const auto Length = static_cast<int32_t>(Get<uint32_t>(pBitstream, bitstream::DataLength)))
        StandInDecoderPut(p->pDecoder, Bytes(pBitstream), Length, 1);
    Consume(pBitstream);
    return GivePicture(p, pBitstream, pSurface, ppOut, ppSync);
}

// ---- Names that a run time has to have, and that this library does not call
// --------------------------------------------

#define NOT_CALLED(Name)                                                                                               \
    DRIVER_EXPORT int32_t Name()                                                                                       \
    {                                                                                                                  \
        DriverMisuse(#Name);                                                                                           \
        return -3;                                                                                                     \
    }
NOT_CALLED(MFXJoinSession)
NOT_CALLED(MFXDisjoinSession)
NOT_CALLED(MFXCloneSession)
NOT_CALLED(MFXSetPriority)
NOT_CALLED(MFXGetPriority)
NOT_CALLED(MFXDoWork)
NOT_CALLED(MFXVideoCORE_SetBufferAllocator)
NOT_CALLED(MFXVideoCORE_SetHandle)
NOT_CALLED(MFXVideoCORE_GetHandle)
NOT_CALLED(MFXVideoCORE_QueryPlatform)
NOT_CALLED(MFXVideoENCODE_Query)
NOT_CALLED(MFXVideoENCODE_GetEncodeStat)
NOT_CALLED(MFXVideoDECODE_Query)
NOT_CALLED(MFXVideoDECODE_Reset)
NOT_CALLED(MFXVideoDECODE_GetVideoParam)
NOT_CALLED(MFXVideoDECODE_GetDecodeStat)
NOT_CALLED(MFXVideoDECODE_GetPayload)
NOT_CALLED(MFXVideoDECODE_SetSkipMode)
NOT_CALLED(MFXVideoVPP_Query)
NOT_CALLED(MFXVideoVPP_QueryIOSurf)
NOT_CALLED(MFXVideoVPP_Init)
NOT_CALLED(MFXVideoVPP_Reset)
NOT_CALLED(MFXVideoVPP_Close)
NOT_CALLED(MFXVideoVPP_GetVideoParam)
NOT_CALLED(MFXVideoVPP_GetVPPStat)
NOT_CALLED(MFXVideoVPP_RunFrameVPPAsync)
NOT_CALLED(MFXVideoVPP_RunFrameVPPAsyncEx)
NOT_CALLED(MFXVideoUSER_Register)
NOT_CALLED(MFXVideoUSER_Unregister)
NOT_CALLED(MFXVideoUSER_GetPlugin)
NOT_CALLED(MFXVideoUSER_ProcessFrameAsync)
NOT_CALLED(MFXVideoENC_Query)
NOT_CALLED(MFXVideoENC_QueryIOSurf)
NOT_CALLED(MFXVideoENC_Init)
NOT_CALLED(MFXVideoENC_Reset)
NOT_CALLED(MFXVideoENC_Close)
NOT_CALLED(MFXVideoENC_GetVideoParam)
NOT_CALLED(MFXVideoENC_ProcessFrameAsync)
NOT_CALLED(MFXVideoPAK_Query)
NOT_CALLED(MFXVideoPAK_QueryIOSurf)
NOT_CALLED(MFXVideoPAK_Init)
NOT_CALLED(MFXVideoPAK_Reset)
NOT_CALLED(MFXVideoPAK_Close)
NOT_CALLED(MFXVideoPAK_GetVideoParam)
NOT_CALLED(MFXVideoPAK_ProcessFrameAsync)
