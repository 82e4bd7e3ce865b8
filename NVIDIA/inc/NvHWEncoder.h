// One session of the driver's encoder: the calls of its function list.
#pragma once

#include "NVIDIA/inc/encode_buffers.h"
#include "NVIDIA/inc/encode_config.h"

/// What is asked of one picture.
struct NvEncPictureCommand {
    bool bForceIDR = false;
};

/// Where an access unit goes, and what came.
struct EncodedUnit {
    uint8_t* pBytes = nullptr;
    uint64_t Room = 0;                              // bytes
    bool bRead = false;                             // the driver has told the two below
    uint32_t Length = 0;                            // bytes; where they exceed the room, none is copied
    uint32_t PictureType = NV_ENC_PIC_TYPE_UNKNOWN; // a driver may answer any number
    bool IsTooLong() const { return Length > Room; }
};

/// Every operation answers the driver's status. A status other than 0 of one of its calls is reported as an assertion
/// first. Handles are null until they are made.
class CNvHWEncoder
{
public:
    CNvHWEncoder();
    CNvHWEncoder(const CNvHWEncoder&) = delete;
    CNvHWEncoder& operator=(const CNvHWEncoder&) = delete;
    virtual ~CNvHWEncoder(); // unloads the driver's library, but ends no session

    /// Loads the driver's library and opens a session. 10 when library, entry or memory is missing.
    NVENCSTATUS Initialize(void* pDevice, NV_ENC_DEVICE_TYPE DeviceType);
    /// Makes the session an encoder, and writes to the configuration whether it is asynchronous.
    NVENCSTATUS CreateEncoder(EncodeConfig* pConfig);
    /// The preset of a name, whatever its case; the default one for null, and for one that the driver does not list.
    GUID GetPresetGUID(const char* pName, int32_t Codec);
    NVENCSTATUS NvEncDestroyEncoder(); // nothing without a session

    NVENCSTATUS NvEncCreateInputBuffer(uint32_t Width, uint32_t Height, NV_ENC_INPUT_PTR* ppSurface,
                                       NV_ENC_BUFFER_FORMAT Format);
    NVENCSTATUS NvEncDestroyInputBuffer(NV_ENC_INPUT_PTR pSurface);
    NVENCSTATUS NvEncCreateBitstreamBuffer(uint32_t Size, NV_ENC_OUTPUT_PTR* ppBitstream);
    NVENCSTATUS NvEncDestroyBitstreamBuffer(NV_ENC_OUTPUT_PTR pBitstream);
    NVENCSTATUS NvEncLockInputBuffer(NV_ENC_INPUT_PTR pSurface, void** ppData, uint32_t* pPitch);
    NVENCSTATUS NvEncUnlockInputBuffer(NV_ENC_INPUT_PTR pSurface);
    /// Makes an event and makes it known to the driver. After a failure there is none.
    NVENCSTATUS NvEncRegisterAsyncEvent(platform::Event** ppEvent);
    NVENCSTATUS NvEncUnregisterAsyncEvent(platform::Event* pEvent); // the event stays; null is allowed

    NVENCSTATUS NvEncEncodeFrame(const EncodeBuffer& Buffer, const NvEncPictureCommand& Command, uint32_t Width,
                                 uint32_t Height, NV_ENC_PIC_STRUCT PictureStruct);
    /// Submits the end of the stream, which signals the event when all before it is done.
    NVENCSTATUS NvEncFlushEncoderQueue(platform::Event* pEvent);
    /// Waits for a picture, without a limit, and reads it.
    /// @param pUnit  Null when nobody wants it.
    NVENCSTATUS ProcessOutput(const EncodeOutputBuffer& Buffer, EncodedUnit* pUnit);

private:
    NVENCSTATUS CheckConfig(const EncodeConfig* pConfig);
    NVENCSTATUS FindCodec();
    bool IsPresetListed(const GUID& Preset, const GUID& Codec);
    NVENCSTATUS QueryCapability(NV_ENC_CAPS Capability, int* pValue);
    NVENCSTATUS RequireCapability(NV_ENC_CAPS Capability, const char* pName);
    NVENCSTATUS LoadPreset(const EncodeConfig& Config);

    uint32_t m_EncodeIdx = 0; // pictures submitted
    void* m_fOutput = nullptr;
    uint32_t m_MaxWidth = 0, m_MaxHeight = 0;
    uint32_t m_CurWidth = 0, m_CurHeight = 0;
    bool m_bEncoderInitialized = false;
    GUID m_CodecGUID{};
    NV_ENCODE_API_FUNCTION_LIST* m_pEncodeAPI = nullptr; // owned
    void* m_hLibrary = nullptr;
    void* m_hEncoder = nullptr;
    NV_ENC_INITIALIZE_PARAMS m_InitializeParams;
    NV_ENC_CONFIG m_EncodeConfig;
};
