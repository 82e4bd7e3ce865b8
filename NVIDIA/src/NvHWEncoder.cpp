#include "NVIDIA/inc/NvHWEncoder.h"

#include "NVIDIA/inc/console_line.h"
#include "NVIDIA/inc/encoder_settings.h"
#include "front/stdafx.h"
#include "platform/driver_names.h"
#include "platform/exception_frame.h"
#include "platform/shared_library.h"

#include <algorithm>
#include <cctype>
#include <iterator>
#include <new>
#include <utility>

#define QUILVEX_SOURCE "NvHWEncoder"
#define REPORT_AND_RETURN(Status) ASSERT_RETURN((Status) == NV_ENC_SUCCESS, "0", Status)

namespace {

using CreateInstance = NVENCSTATUS(NVENCAPI*)(NV_ENCODE_API_FUNCTION_LIST* pList);

constexpr uint32_t kMostGuids = 256; // of a list; drivers have some twenty

struct PresetName {
    const char* pName;
    const GUID& Preset;
};
constexpr PresetName kPresets[] = {{"hq", nvenc::kPresetHq},
                                   {"lowLatencyHP", nvenc::kPresetLowLatencyHp},
                                   {"hp", nvenc::kPresetHp},
                                   {"lowLatencyHQ", nvenc::kPresetLowLatencyHq},
                                   {"lossless", nvenc::kPresetLossless}};

bool SameWithoutCase(const char* pA, const char* pB)
{
    const auto Lower = [](char c) { return std::tolower(static_cast<unsigned char>(c)); };
    while (*pA && Lower(*pA) == Lower(*pB)) {
        ++pA;
        ++pB;
    }
    return Lower(*pA) == Lower(*pB);
}

struct GuidList {
    GUID Guids[kMostGuids];
    uint32_t Count = 0;
    bool Has(const GUID& Wanted) const
    {
        return std::any_of(Guids, Guids + Count, [&](const GUID& g) { return nvenc::Same(g, Wanted); });
    }
};

// Takes a locked access unit, whole or not at all.
void Read(const NV_ENC_LOCK_BITSTREAM& Locked, EncodedUnit& Unit)
{
    Unit.bRead = true;
    Unit.Length = Locked.bitstreamSizeInBytes;
    std::memcpy(&Unit.PictureType, &Locked.pictureType, sizeof Unit.PictureType); // perhaps none of the type's values
    if (Unit.Length == 0 || Unit.IsTooLong()) return;
    if (!Locked.bitstreamBufferPtr) platform::RaiseFault(platform::kFaultAccess); // deliberate: what reading there does
    std::memcpy(Unit.pBytes, Locked.bitstreamBufferPtr, Unit.Length);
}

} // namespace

CNvHWEncoder::CNvHWEncoder()
{
    nvenc::Clear(m_InitializeParams);
    nvenc::Clear(m_EncodeConfig);
}

CNvHWEncoder::~CNvHWEncoder()
{
    delete m_pEncodeAPI;
    if (m_hLibrary) platform::Libraries().Close(m_hLibrary);
}

// ---- The session ----------------------------------------------------------------------------------------------------

NVENCSTATUS CNvHWEncoder::Initialize(void* pDevice, NV_ENC_DEVICE_TYPE DeviceType)
{
    m_hLibrary = platform::Libraries().Open(platform::kNvencLibrary);
    if (!m_hLibrary) return NV_ENC_ERR_OUT_OF_MEMORY;
    const auto pCreate =
        reinterpret_cast<CreateInstance>(platform::Libraries().Symbol(m_hLibrary, "NvEncodeAPICreateInstance"));
    if (!pCreate) return NV_ENC_ERR_OUT_OF_MEMORY;

    m_pEncodeAPI = new (std::nothrow) NV_ENCODE_API_FUNCTION_LIST;
    if (!m_pEncodeAPI) return NV_ENC_ERR_OUT_OF_MEMORY;
    nvenc::Clear(*m_pEncodeAPI);
    NVENCSTATUS Status = pCreate(m_pEncodeAPI);
    REPORT_AND_RETURN(Status);

    NV_ENC_OPEN_ENCODE_SESSION_EX_PARAMS Params;
    nvenc::Clear(Params);
    Params.deviceType = DeviceType;
    Params.device = pDevice;
    Params.apiVersion = nvenc::kApiVersion;
    Status = m_pEncodeAPI->nvEncOpenEncodeSessionEx(&Params, &m_hEncoder);
    REPORT_AND_RETURN(Status);
    return Status;
}

NVENCSTATUS CNvHWEncoder::NvEncDestroyEncoder()
{
    if (!m_hEncoder) return NV_ENC_SUCCESS;
    m_bEncoderInitialized = false;
    const NVENCSTATUS Status = m_pEncodeAPI->nvEncDestroyEncoder(std::exchange(m_hEncoder, nullptr));
    REPORT_AND_RETURN(Status);
    return Status;
}

// ---- The encoder ----------------------------------------------------------------------------------------------------

NVENCSTATUS CNvHWEncoder::CreateEncoder(EncodeConfig* pConfig)
{
    NVENCSTATUS Status = CheckConfig(pConfig);
    if (Status != NV_ENC_SUCCESS) return Status;
    m_CodecGUID = CodecGuid(*pConfig);
    Status = FindCodec();
    if (Status != NV_ENC_SUCCESS) {
        TELL_ON_CONSOLE("codec not supported \n");
        return Status;
    }
    FillInitializeParams(*pConfig, m_MaxWidth, m_MaxHeight, m_InitializeParams);
    m_InitializeParams.encodeConfig = &m_EncodeConfig;
    Status = LoadPreset(*pConfig);
    if (Status != NV_ENC_SUCCESS) {
        TELL_ON_CONSOLE("nvEncGetEncodePresetConfig returned failure");
        return Status;
    }
    OverridePreset(*pConfig, m_EncodeConfig);

    int bAsynchronous = 0;
    QueryCapability(NV_ENC_CAPS_ASYNC_ENCODE_SUPPORT, &bAsynchronous); // whatever its status
    m_InitializeParams.enableEncodeAsync = static_cast<uint32_t>(bAsynchronous);
    pConfig->enableAsyncMode = bAsynchronous;

    if (pConfig->enableMEOnly == 1 || pConfig->enableMEOnly == 2)
        Status = RequireCapability(NV_ENC_CAPS_SUPPORT_MEONLY_MODE, "NV_ENC_CAPS_SUPPORT_MEONLY_MODE");
    if (Status != NV_ENC_SUCCESS) return Status;
    if (pConfig->enableTemporalAQ == 1) {
        Status = RequireCapability(NV_ENC_CAPS_SUPPORT_TEMPORAL_AQ, "NV_ENC_CAPS_SUPPORT_TEMPORAL_AQ");
        if (Status != NV_ENC_SUCCESS) return Status;
        m_EncodeConfig.rcParams.enableTemporalAQ = 1;
    }
    Status = m_pEncodeAPI->nvEncInitializeEncoder(m_hEncoder, &m_InitializeParams);
    if (Status != NV_ENC_SUCCESS) TELL_ON_CONSOLE("Encode Session Initialization failed");
    REPORT_AND_RETURN(Status);
    m_bEncoderInitialized = true;
    return Status;
}

NVENCSTATUS CNvHWEncoder::CheckConfig(const EncodeConfig* pConfig)
{
    if (!pConfig) return NV_ENC_ERR_INVALID_PARAM;
    const auto Size = [](int32_t Value) { return static_cast<uint32_t>(Value); };
    m_CurWidth = Size(pConfig->width);
    m_CurHeight = Size(pConfig->height);
    m_MaxWidth = pConfig->maxWidth > 0 ? Size(pConfig->maxWidth) : m_CurWidth;
    m_MaxHeight = pConfig->maxHeight > 0 ? Size(pConfig->maxHeight) : m_CurHeight;
    if (m_CurWidth > m_MaxWidth || m_CurHeight > m_MaxHeight) return NV_ENC_ERR_INVALID_PARAM;
    m_fOutput = pConfig->fOutput;
    if (m_CurWidth == 0 || m_CurHeight == 0) return NV_ENC_ERR_INVALID_PARAM;
    const bool bDeep = pConfig->inputFormat == NV_ENC_BUFFER_FORMAT_YUV420_10BIT ||
                       pConfig->inputFormat == NV_ENC_BUFFER_FORMAT_YUV444_10BIT;
    if (bDeep && pConfig->codec == kCodecIndexH264) {
        TELL_ON_CONSOLE("10 bit is not supported with H264 \n");
        return NV_ENC_ERR_INVALID_PARAM;
    }
    return NV_ENC_SUCCESS;
}

NVENCSTATUS CNvHWEncoder::FindCodec()
{
    GuidList List;
    uint32_t Count = 0;
    NVENCSTATUS Status = m_pEncodeAPI->nvEncGetEncodeGUIDCount(m_hEncoder, &Count);
    REPORT_AND_RETURN(Status);
    Status = m_pEncodeAPI->nvEncGetEncodeGUIDs(m_hEncoder, List.Guids, std::min(Count, kMostGuids), &List.Count);
    REPORT_AND_RETURN(Status);
    List.Count = std::min({List.Count, Count, kMostGuids});
    return List.Has(m_CodecGUID) ? NV_ENC_SUCCESS : NV_ENC_ERR_INVALID_PARAM;
}

GUID CNvHWEncoder::GetPresetGUID(const char* pName, int32_t Codec)
{
    EncodeConfig OfCodec{};
    OfCodec.codec = Codec;
    const auto* const pFound = std::find_if(std::begin(kPresets), std::end(kPresets), [&](const PresetName& p) {
        return pName && SameWithoutCase(pName, p.pName);
    });
    const bool bKnown = !pName || pFound != std::end(kPresets);
    const GUID& Chosen = pFound != std::end(kPresets) ? pFound->Preset : nvenc::kPresetDefault;
    const char* const pTold = pName ? pName : "(null)";
    if (!bKnown) TELL_ON_CONSOLE("Unsupported preset guid %s\n", pTold);
    if (IsPresetListed(Chosen, CodecGuid(OfCodec))) return Chosen;
    TELL_ON_CONSOLE("Unsupported preset guid %s\n", pTold);
    return nvenc::kPresetDefault;
}

bool CNvHWEncoder::IsPresetListed(const GUID& Preset, const GUID& Codec)
{
    GuidList List;
    uint32_t Count = 0;
    NVENCSTATUS Status = m_pEncodeAPI->nvEncGetEncodePresetCount(m_hEncoder, Codec, &Count);
    ASSERT_RETURN(Status == NV_ENC_SUCCESS, "0", false);
    Status = m_pEncodeAPI->nvEncGetEncodePresetGUIDs(m_hEncoder, Codec, List.Guids, std::min(Count, kMostGuids),
                                                     &List.Count);
    ASSERT_RETURN(Status == NV_ENC_SUCCESS, "0", false);
    List.Count = std::min({List.Count, Count, kMostGuids});
    return List.Has(Preset);
}

NVENCSTATUS CNvHWEncoder::LoadPreset(const EncodeConfig& Config)
{
    NV_ENC_PRESET_CONFIG Preset;
    nvenc::Clear(Preset);
    Preset.presetCfg.version = nvenc::kVersion<NV_ENC_CONFIG>;
    const NVENCSTATUS Status =
        m_pEncodeAPI->nvEncGetEncodePresetConfig(m_hEncoder, m_CodecGUID, Config.presetGUID, &Preset);
    REPORT_AND_RETURN(Status);
    m_EncodeConfig = Preset.presetCfg;
    return Status;
}

NVENCSTATUS CNvHWEncoder::QueryCapability(NV_ENC_CAPS Capability, int* pValue)
{
    NV_ENC_CAPS_PARAM Params;
    nvenc::Clear(Params);
    Params.capsToQuery = Capability;
    const NVENCSTATUS Status = m_pEncodeAPI->nvEncGetEncodeCaps(m_hEncoder, m_CodecGUID, &Params, pValue);
    REPORT_AND_RETURN(Status);
    return Status;
}

NVENCSTATUS CNvHWEncoder::RequireCapability(NV_ENC_CAPS Capability, const char* pName)
{
    int Value = 0;
    const NVENCSTATUS Status = QueryCapability(Capability, &Value);
    if (Status != NV_ENC_SUCCESS) {
        TELL_ON_CONSOLE("Encode Session Initialization failed");
        return Status;
    }
    if (Value != 1) {
        TELL_ON_CONSOLE("%s not supported\n", pName);
        return NV_ENC_ERR_UNSUPPORTED_DEVICE;
    }
    std::printf("%s  supported\n", pName);
    return Status;
}

// ---- Buffers and events ---------------------------------------------------------------------------------------------

NVENCSTATUS CNvHWEncoder::NvEncCreateInputBuffer(uint32_t Width, uint32_t Height, NV_ENC_INPUT_PTR* ppSurface,
                                                 NV_ENC_BUFFER_FORMAT Format)
{
    NV_ENC_CREATE_INPUT_BUFFER Params;
    nvenc::Clear(Params);
    Params.width = Width;
    Params.height = Height;
    Params.memoryHeap = NV_ENC_MEMORY_HEAP_SYSMEM_CACHED;
    Params.bufferFmt = Format;
    const NVENCSTATUS Status = m_pEncodeAPI->nvEncCreateInputBuffer(m_hEncoder, &Params);
    REPORT_AND_RETURN(Status);
    *ppSurface = Params.inputBuffer;
    return Status;
}

NVENCSTATUS CNvHWEncoder::NvEncDestroyInputBuffer(NV_ENC_INPUT_PTR pSurface)
{
    const NVENCSTATUS Status = m_pEncodeAPI->nvEncDestroyInputBuffer(m_hEncoder, pSurface);
    REPORT_AND_RETURN(Status);
    return Status;
}

NVENCSTATUS CNvHWEncoder::NvEncCreateBitstreamBuffer(uint32_t Size, NV_ENC_OUTPUT_PTR* ppBitstream)
{
    NV_ENC_CREATE_BITSTREAM_BUFFER Params;
    nvenc::Clear(Params);
    Params.size = Size;
    Params.memoryHeap = NV_ENC_MEMORY_HEAP_SYSMEM_CACHED;
    const NVENCSTATUS Status = m_pEncodeAPI->nvEncCreateBitstreamBuffer(m_hEncoder, &Params);
    REPORT_AND_RETURN(Status);
    *ppBitstream = Params.bitstreamBuffer;
    return Status;
}

NVENCSTATUS CNvHWEncoder::NvEncDestroyBitstreamBuffer(NV_ENC_OUTPUT_PTR pBitstream)
{
    const NVENCSTATUS Status = m_pEncodeAPI->nvEncDestroyBitstreamBuffer(m_hEncoder, pBitstream);
    REPORT_AND_RETURN(Status);
    return Status;
}

NVENCSTATUS CNvHWEncoder::NvEncLockInputBuffer(NV_ENC_INPUT_PTR pSurface, void** ppData, uint32_t* pPitch)
{
    NV_ENC_LOCK_INPUT_BUFFER Params;
    nvenc::Clear(Params);
    Params.inputBuffer = pSurface;
    const NVENCSTATUS Status = m_pEncodeAPI->nvEncLockInputBuffer(m_hEncoder, &Params);
    REPORT_AND_RETURN(Status);
    *ppData = Params.bufferDataPtr;
    *pPitch = Params.pitch;
    return Status;
}

NVENCSTATUS CNvHWEncoder::NvEncUnlockInputBuffer(NV_ENC_INPUT_PTR pSurface)
{
    const NVENCSTATUS Status = m_pEncodeAPI->nvEncUnlockInputBuffer(m_hEncoder, pSurface);
    REPORT_AND_RETURN(Status);
    return Status;
}

NVENCSTATUS CNvHWEncoder::NvEncRegisterAsyncEvent(platform::Event** ppEvent)
{
    // The owner holds it before the driver is called: a fault there does not lose it.
    *ppEvent = new (std::nothrow) platform::Event;
    NVENCSTATUS Status = NV_ENC_ERR_OUT_OF_MEMORY;
    if (*ppEvent && (*ppEvent)->Ok()) {
        NV_ENC_EVENT_PARAMS Params;
        nvenc::Clear(Params);
        Params.completionEvent = (*ppEvent)->Handle();
        Status = m_pEncodeAPI->nvEncRegisterAsyncEvent(m_hEncoder, &Params);
    }
    if (Status != NV_ENC_SUCCESS) delete std::exchange(*ppEvent, nullptr);
    REPORT_AND_RETURN(Status);
    return Status;
}

NVENCSTATUS CNvHWEncoder::NvEncUnregisterAsyncEvent(platform::Event* pEvent)
{
    if (!pEvent) return NV_ENC_SUCCESS;
    NV_ENC_EVENT_PARAMS Params;
    nvenc::Clear(Params);
    Params.completionEvent = pEvent->Handle();
    const NVENCSTATUS Status = m_pEncodeAPI->nvEncUnregisterAsyncEvent(m_hEncoder, &Params);
    REPORT_AND_RETURN(Status);
    return Status;
}

// ---- Pictures -------------------------------------------------------------------------------------------------------

NVENCSTATUS CNvHWEncoder::NvEncEncodeFrame(const EncodeBuffer& Buffer, const NvEncPictureCommand& Command,
                                           uint32_t Width, uint32_t Height, NV_ENC_PIC_STRUCT PictureStruct)
{
    NV_ENC_PIC_PARAMS Params;
    nvenc::Clear(Params);
    Params.inputBuffer = Buffer.Input.pSurface;
    Params.bufferFmt = Buffer.Input.Format;
    Params.inputWidth = Width;
    Params.inputHeight = Height;
    Params.outputBitstream = Buffer.Output.pBitstream;
    Params.completionEvent = Buffer.Output.pEvent ? Buffer.Output.pEvent->Handle() : nullptr;
    Params.inputTimeStamp = m_EncodeIdx;
    Params.pictureStruct = PictureStruct;
    if (Command.bForceIDR) {
        Params.pictureType = NV_ENC_PIC_TYPE_IDR;
        Params.encodePicFlags |= NV_ENC_PIC_FLAG_FORCEIDR | NV_ENC_PIC_FLAG_OUTPUT_SPSPPS;
    }
    NVENCSTATUS Status = m_pEncodeAPI->nvEncEncodePicture(m_hEncoder, &Params);
    if (Status == NV_ENC_ERR_NEED_MORE_INPUT) Status = NV_ENC_SUCCESS;
    REPORT_AND_RETURN(Status);
    ++m_EncodeIdx;
    return Status;
}

NVENCSTATUS CNvHWEncoder::NvEncFlushEncoderQueue(platform::Event* pEvent)
{
    NV_ENC_PIC_PARAMS Params;
    nvenc::Clear(Params);
    Params.encodePicFlags = NV_ENC_PIC_FLAG_EOS;
    Params.completionEvent = pEvent ? pEvent->Handle() : nullptr;
    const NVENCSTATUS Status = m_pEncodeAPI->nvEncEncodePicture(m_hEncoder, &Params);
    REPORT_AND_RETURN(Status);
    return Status;
}

NVENCSTATUS CNvHWEncoder::ProcessOutput(const EncodeOutputBuffer& Buffer, EncodedUnit* pUnit)
{
    if (!Buffer.pBitstream && !Buffer.bEndOfStream) return NV_ENC_ERR_INVALID_PARAM;
    if (Buffer.bWaitOnEvent) {
        if (!Buffer.pEvent) return NV_ENC_ERR_INVALID_PARAM;
        Buffer.pEvent->Wait(platform::Event::kForever);
    }
    if (Buffer.bEndOfStream) return NV_ENC_SUCCESS;

    NV_ENC_LOCK_BITSTREAM Params;
    nvenc::Clear(Params);
    Params.outputBitstream = Buffer.pBitstream;
    Params.doNotWait = 0; // a synchronous encoder waits here
    NVENCSTATUS Status = m_pEncodeAPI->nvEncLockBitstream(m_hEncoder, &Params);
    if (Status != NV_ENC_SUCCESS) TELL_ON_CONSOLE("lock bitstream function failed \n");
    REPORT_AND_RETURN(Status);
    if (pUnit) Read(Params, *pUnit);
    Status = m_pEncodeAPI->nvEncUnlockBitstream(m_hEncoder, Buffer.pBitstream);
    REPORT_AND_RETURN(Status);
    return Status;
}
