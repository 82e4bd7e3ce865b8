// The one interface of every H.264 engine in the library.
#pragma once

#include <stdint.h>

/// Frame types that Encode and Decode report.
enum QuilvexFrameType : int32_t {
    kFrameNone = 0, ///< no picture, or a type without a number of its own
    kFrameI = 1,
    kFrameP = 2,
    kFrameB = 3,
    kFrameFailed = -1 ///< a hardware engine that has failed: release the object and call CreateVCodec again
};

/// What GetBackendTag answers: four characters, most significant first.
enum QuilvexBackendTag : uint32_t {
    kBackendSoftware = 0x495050,    ///< "IPP", the library's own codec; also every engine's family tag
    kBackendNvidia = 0x4E564441,    ///< "NVDA"
    kBackendIntelHard = 0x51535648, ///< "QSVH"
    kBackendIntelSoft = 0x51535653, ///< "QSVS"
    kBackendAmd = 0x414D44          ///< "AMD"
};

/// An H.264 encoder or decoder. The object is neutral when CreateVCodec returns it, with a reference count of 1; it
/// becomes an encoder by InitEncoder and a decoder by InitDecoder. Do not mix the two on one object: the picture size
/// is shared.
///
/// Raw pictures are I420: luma (width * height bytes), Cb, Cr (a quarter of that each), contiguous, rows without
/// padding. Compressed data is an Annex B byte stream, one access unit a call. Buffers belong to the caller and are
/// used during the call only. Nothing is thrown.
///
/// One thread at a time uses an object; AddRef and Release may be called from any thread. Separate objects share
/// nothing.
///
/// The order of the eleven operations is the contract: a client calls them by their place in the object's table. On
/// 32-bit Windows each is a thiscall, as members are there for every compiler.
struct IVCodec {
    /// Slot 0; a client calls Release instead. Tears everything down, frees the object's memory when bit 0 of the flags
    /// is set, and returns the object's address. That is what Microsoft's compiler makes of a virtual destructor, so a
    /// client of that compiler whose own declaration has one there finds the same table, and its `delete` passes 1
    /// here. Other compilers give a virtual destructor two slots; an ordinary member has one everywhere.
    virtual void* DeletingDestructor(uint32_t iFlags) = 0;

    /// 0x495050 on every engine: the interface's family.
    virtual uint32_t GetFamilyTag() = 0;
    /// Adds a reference; returns the new count.
    virtual int32_t AddRef() = 0;
    /// Gives a reference back; returns the new count. At 0 everything below the object is torn down and it is deleted.
    virtual int32_t Release() = 0;
    /// A hint to give up the sessions and keep the object; the software and AMD engines do nothing. Afterwards call
    /// InitEncoder or InitDecoder again. Always 0.
    virtual int32_t Reset() = 0;
    /// Which engine this is (QuilvexBackendTag).
    virtual uint32_t GetBackendTag() = 0;

    /// Makes the object an encoder; a previous encoder of the object is torn down first.
    /// @param PictureWidth, PictureHeight  Not 0.
    /// @param iFramesPerSecond  Nominal input rate; 0 or below: 30.
    /// @param iKeyinterval      Pictures between key pictures; 0: the software and Intel engines' default. The NVIDIA
    ///                          and AMD engines divide by it: a client that may get one gives a positive number.
    /// @param iKbps             Target rate in kilobits a second; 0 or below: the engine's default.
    /// @return 1, or 0 with a line in the log. A hardware engine whose trial passed may still refuse here; the client
    ///         then releases it and asks for the software engine (id 0).
    virtual int32_t InitEncoder(int32_t PictureWidth, int32_t PictureHeight, int32_t iFramesPerSecond,
                                int32_t iKeyinterval, int32_t iKbps) = 0;

    /// Compresses one picture.
    /// @param InBuf      One I420 picture of the size given to InitEncoder.
    /// @param OutBuf     Receives the access unit; room for width * height * 3 bytes.
    /// @param pdwOutLen  Receives its length in bytes; 0 while the engine buffers, -1 when a hardware engine has
    /// failed.
    /// @param bForceKey  Exactly 1 asks for a key picture. The first picture is one anyway.
    /// @param pFrameType Receives a QuilvexFrameType; may be null.
    /// @return 1; 0 for a null argument or a picture that could not be coded. A software encoder may go on with the
    /// next.
    virtual int32_t Encode(const uint8_t* InBuf, uint8_t* OutBuf, int32_t* pdwOutLen, int32_t bForceKey,
                           int32_t* pFrameType) = 0;

    /// Makes the object a decoder of pictures of this size; both positive.
    /// @return 1, or 0 with a line in the log.
    virtual int32_t InitDecoder(int32_t PictureWidth, int32_t PictureHeight) = 0;

    /// Decompresses one access unit and delivers at most one picture: a hardware engine the one of the access unit,
    /// where the stream does not reorder; the software engine's output runs one access unit late. Behind the last
    /// access unit, calls with an access unit delimiter (0, 0, 0, 1, 9, 0xF0) bring out what is left, a picture each,
    /// until one brings none.
    /// @param InBuf, iInLen  The access unit and its length in bytes. The software engine takes several of them, or
    /// some
    ///                       whole units of one, in a call: no picture is lost, a further one leaves in a later call.
    ///                       Of a client that keeps handing over more than it takes, the oldest are passed over in the
    ///                       end.
    /// @param OutBuf         Receives one I420 picture of the size given to InitDecoder: width * height * 3 / 2 bytes.
    /// @param pFrameType     Receives a QuilvexFrameType when a picture was written; may be null. Set it to 0 before
    /// the
    ///                       call and tell a written picture by it.
    /// @return 1 when OutBuf was written: a picture, or on the software engine's first call a black one that stands in
    ///         for it (the frame type is then left alone). Also 1, with kFrameNone, when the NVIDIA or Intel engine has
    ///         no picture to give. 0 otherwise.
    virtual int32_t Decode(const uint8_t* InBuf, int32_t iInLen, uint8_t* OutBuf, int32_t* pFrameType) = 0;

    /// Changes an encoder's rate, in kilobits a second, not 0. The software and AMD engines start a new stream with the
    /// next picture. @return 1 or 0 on those two; 0 on the others whatever the outcome.
    virtual int32_t SetBitrate(int32_t iKbps) = 0;

protected:
    ~IVCodec() = default; // no `delete` by a client: Release
};
