// The published interfaces as they are declared here: every operation in its slot, every value at its place.
#include "AMF/common/AMFFactory.h"
#include "AMF/common/AMFVariant.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

// A pointer to a virtual member holds the offset in the table, and 1.
template <class Member>
size_t SlotOf(Member pMember)
{
    uintptr_t Word;
    std::memcpy(&Word, &pMember, sizeof Word);
    EXPECT_EQ(Word & 1, 1u);
    return (Word - 1) / sizeof(void*);
}

std::string Text(const AMFGuid& Guid)
{
    char Printed[64];
    const auto& d = Guid.Data4;
    std::snprintf(Printed, sizeof Printed, "%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X", Guid.Data1, Guid.Data2,
                  Guid.Data3, d[0], d[1], d[2], d[3], d[4], d[5], d[6], d[7]);
    return Printed;
}

#define EXPECT_SLOT(Number, Interface, Operation) EXPECT_EQ(SlotOf(&Interface::Operation), size_t{Number})

} // namespace

TEST(AmfInterfaces, PropertyStorageHasItsSlots)
{
    EXPECT_SLOT(0, AMFPropertyStorage, Acquire);
    EXPECT_SLOT(1, AMFPropertyStorage, Release);
    EXPECT_SLOT(2, AMFPropertyStorage, QueryInterface);
    EXPECT_SLOT(3, AMFPropertyStorage, SetProperty);
    EXPECT_SLOT(4, AMFPropertyStorage, GetProperty);
    EXPECT_SLOT(5, AMFPropertyStorage, HasProperty);
    EXPECT_SLOT(6, AMFPropertyStorage, GetPropertyCount);
    EXPECT_SLOT(7, AMFPropertyStorage, GetPropertyAt);
    EXPECT_SLOT(8, AMFPropertyStorage, Clear);
    EXPECT_SLOT(9, AMFPropertyStorage, AddTo);
    EXPECT_SLOT(10, AMFPropertyStorage, CopyTo);
    EXPECT_SLOT(11, AMFPropertyStorage, AddObserver);
    EXPECT_SLOT(12, AMFPropertyStorage, RemoveObserver);
    EXPECT_SLOT(13, AMFPropertyStorageEx, GetPropertiesInfoCount);
    EXPECT_SLOT(16, AMFPropertyStorageEx, ValidateProperty);
}

TEST(AmfInterfaces, DataHasItsSlots)
{
    EXPECT_SLOT(13, AMFData, GetMemoryType);
    EXPECT_SLOT(14, AMFData, Duplicate);
    EXPECT_SLOT(15, AMFData, Convert);
    EXPECT_SLOT(16, AMFData, Interop);
    EXPECT_SLOT(17, AMFData, GetDataType);
    EXPECT_SLOT(18, AMFData, IsReusable);
    EXPECT_SLOT(19, AMFData, SetPts);
    EXPECT_SLOT(20, AMFData, GetPts);
    EXPECT_SLOT(21, AMFData, SetDuration);
    EXPECT_SLOT(22, AMFData, GetDuration);
    EXPECT_SLOT(23, AMFBuffer, SetSize);
    EXPECT_SLOT(24, AMFBuffer, GetSize);
    EXPECT_SLOT(25, AMFBuffer, GetNative);
    EXPECT_SLOT(26, AMFBuffer, AddBufferObserver);
    EXPECT_SLOT(27, AMFBuffer, RemoveBufferObserver);
    EXPECT_SLOT(23, AMFSurface, GetFormat);
    EXPECT_SLOT(24, AMFSurface, GetPlanesCount);
    EXPECT_SLOT(25, AMFSurface, GetPlaneAt);
    EXPECT_SLOT(26, AMFSurface, GetPlane);
    EXPECT_SLOT(27, AMFSurface, GetFrameType);
    EXPECT_SLOT(28, AMFSurface, SetFrameType);
    EXPECT_SLOT(29, AMFSurface, SetCrop);
    EXPECT_SLOT(30, AMFSurface, CopySurfaceRegion);
    EXPECT_SLOT(31, AMFSurface, AddSurfaceObserver);
    EXPECT_SLOT(32, AMFSurface, RemoveSurfaceObserver);
}

TEST(AmfInterfaces, PlaneHasItsSlots)
{
    EXPECT_SLOT(3, AMFPlane, GetType);
    EXPECT_SLOT(4, AMFPlane, GetNative);
    EXPECT_SLOT(5, AMFPlane, GetPixelSizeInBytes);
    EXPECT_SLOT(6, AMFPlane, GetOffsetX);
    EXPECT_SLOT(7, AMFPlane, GetOffsetY);
    EXPECT_SLOT(8, AMFPlane, GetWidth);
    EXPECT_SLOT(9, AMFPlane, GetHeight);
    EXPECT_SLOT(10, AMFPlane, GetHPitch);
    EXPECT_SLOT(11, AMFPlane, GetVPitch);
    EXPECT_SLOT(12, AMFPlane, IsTiled);
}

TEST(AmfInterfaces, ContextHasItsSlots)
{
    EXPECT_SLOT(13, AMFContext, Terminate);
    EXPECT_SLOT(14, AMFContext, InitDX9);
    EXPECT_SLOT(17, AMFContext, UnlockDX9);
    EXPECT_SLOT(18, AMFContext, InitDX11);
    EXPECT_SLOT(21, AMFContext, UnlockDX11);
    EXPECT_SLOT(22, AMFContext, InitOpenCL);
    EXPECT_SLOT(26, AMFContext, GetOpenCLComputeFactory);
    EXPECT_SLOT(29, AMFContext, UnlockOpenCL);
    EXPECT_SLOT(30, AMFContext, InitOpenGL);
    EXPECT_SLOT(35, AMFContext, InitXV);
    EXPECT_SLOT(39, AMFContext, InitGralloc);
    EXPECT_SLOT(43, AMFContext, AllocBuffer);
    EXPECT_SLOT(44, AMFContext, AllocSurface);
    EXPECT_SLOT(45, AMFContext, AllocAudioBuffer);
    EXPECT_SLOT(46, AMFContext, CreateBufferFromHostNative);
    EXPECT_SLOT(47, AMFContext, CreateSurfaceFromHostNative);
    EXPECT_SLOT(48, AMFContext, CreateSurfaceFromDX9Native);
    EXPECT_SLOT(49, AMFContext, CreateSurfaceFromDX11Native);
    EXPECT_SLOT(50, AMFContext, CreateSurfaceFromOpenGLNative);
    EXPECT_SLOT(51, AMFContext, CreateSurfaceFromGrallocNative);
    EXPECT_SLOT(52, AMFContext, CreateSurfaceFromOpenCLNative);
    EXPECT_SLOT(53, AMFContext, CreateBufferFromOpenCLNative);
    EXPECT_SLOT(54, AMFContext, GetCompute);
}

TEST(AmfInterfaces, ComponentAndFactoryHaveTheirSlots)
{
    EXPECT_SLOT(17, AMFComponent, Init);
    EXPECT_SLOT(18, AMFComponent, ReInit);
    EXPECT_SLOT(19, AMFComponent, Terminate);
    EXPECT_SLOT(20, AMFComponent, Drain);
    EXPECT_SLOT(21, AMFComponent, Flush);
    EXPECT_SLOT(22, AMFComponent, SubmitInput);
    EXPECT_SLOT(23, AMFComponent, QueryOutput);
    EXPECT_SLOT(24, AMFComponent, GetContext);
    EXPECT_SLOT(25, AMFComponent, SetOutputDataAllocatorCB);
    EXPECT_SLOT(26, AMFComponent, GetCaps);
    EXPECT_SLOT(27, AMFComponent, Optimize);
    EXPECT_SLOT(0, AMFFactory, CreateContext);
    EXPECT_SLOT(1, AMFFactory, CreateComponent);
    EXPECT_SLOT(2, AMFFactory, SetCacheFolder);
    EXPECT_SLOT(3, AMFFactory, GetCacheFolder);
    EXPECT_SLOT(4, AMFFactory, GetDebug);
    EXPECT_SLOT(5, AMFFactory, GetTrace);
    EXPECT_SLOT(6, AMFFactory, GetPrograms);
}

TEST(AmfInterfaces, AreKnownByTheirPublishedNumbers)
{
    EXPECT_EQ(Text(AMFInterface::kIid), "9D872F34-90DC-4B93-B6B2-6CA37C8525DB");
    EXPECT_EQ(Text(AMFBuffer::kIid), "B04B7248-B6F0-4321-B691-BAA4740F9FCB");
    EXPECT_EQ(Text(AMFSurface::kIid), "3075DBE3-8718-4CFA-86FB-2114C0A5A451");
    EXPECT_EQ(AmfVersion(1, 4, 4, 0), 0x0001000400040000u);
}

TEST(AmfVariant, CarriesItsTypeAndItsValueAtTheirPlaces)
{
    const auto Word = [](const AMFVariantStruct& v, size_t Offset) {
        int32_t Read;
        std::memcpy(&Read, reinterpret_cast<const char*>(&v) + Offset, sizeof Read);
        return Read;
    };
    const AMFVariantStruct Bool = AmfVariant(true), Number = AmfVariant(amf_int64{-2}),
                           Size = AmfVariant(AMFSize{3, 4}), Rate = AmfVariant(AMFRate{5, 6});
    EXPECT_EQ(Word(Bool, 0), 1);
    EXPECT_EQ(Word(Bool, 8) & 0xFF, 1);
    EXPECT_EQ(Word(Number, 0), 2);
    EXPECT_EQ(Word(Number, 8), -2);
    EXPECT_EQ(Word(Number, 12), -1);
    EXPECT_EQ(Word(Size, 0), 5);
    EXPECT_EQ(Word(Size, 8), 3);
    EXPECT_EQ(Word(Size, 12), 4);
    EXPECT_EQ(Word(Rate, 0), 7);
    EXPECT_EQ(Word(Rate, 8), 5);
    EXPECT_EQ(Word(Rate, 12), 6);
    EXPECT_EQ(Word(AMFVariantStruct{}, 0), 0);
}
