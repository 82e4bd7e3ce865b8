// A client built by Microsoft's compiler, in whose place clang stands: tables, member calls and `delete` are that
// compiler's. Without a run time of its own; the program around it (foreign_main.c) is mingw's.
#include INTERFACE_HEADER

#include "moving_picture.h"

extern "C" int _fltused = 0; // that compiler asks for it wherever floating point is used

namespace {

// By `delete` where the declaration has a destructor, by the member that stands in its place elsewhere.
template <class Object>
void Destroy(Object* p)
{
    if constexpr (__has_virtual_destructor(Object))
        delete p;
    else
        EXPECT(p->DeletingDestructor(1) == p);
}

constexpr int kPictures = 6;
uint8_t s_Source[kPicture], s_Unit[kLuma * 3], s_Picture[kPicture];
int s_Delivered = 0;

void DecodeUnit(IVCodec* pDecoder, const uint8_t* pUnit, int32_t iLength)
{
    int32_t iType = 0;
    EXPECT(pDecoder->Decode(pUnit, iLength, s_Picture, &iType) == 1);
    if (!iType) return; // a picture that stands in for the first
    RenderPicture(s_Delivered++, s_Source);
    EXPECT(LumaPsnr(s_Picture, s_Source) > 36);
}

void CodePictures(IVCodec* pEncoder, IVCodec* pDecoder)
{
    for (int i = 0; i < kPictures; ++i) {
        int32_t iLength = 0, iType = 0;
        RenderPicture(i, s_Source);
        EXPECT(pEncoder->Encode(s_Source, s_Unit, &iLength, i == 3, &iType) == 1);
        EXPECT(iType == (i == 0 || i == 3 ? 1 : 2));
        DecodeUnit(pDecoder, s_Unit, iLength);
    }
    const uint8_t Delimiter[] = {0, 0, 0, 1, 9, 0xF0};
    DecodeUnit(pDecoder, Delimiter, sizeof Delimiter);
    EXPECT(s_Delivered == kPictures);
}

void UseCodecs()
{
    IVCodec *const pEncoder = CreateVCodec(1), *const pDecoder = CreateVCodec(101);
    EXPECT(pEncoder && pDecoder);
    EXPECT(pEncoder->GetFamilyTag() == 0x495050);
    EXPECT(pEncoder->GetBackendTag() == 0x495050);
    EXPECT(pEncoder->AddRef() == 2);
    EXPECT(pEncoder->Reset() == 0);
    EXPECT(pEncoder->InitEncoder(kWidth, kHeight, 15, 75, 300) == 1);
    EXPECT(pDecoder->InitDecoder(kWidth, kHeight) == 1);
    CodePictures(pEncoder, pDecoder);
    EXPECT(pEncoder->SetBitrate(200) == 1);
    EXPECT(pEncoder->Release() == 1);
    EXPECT(pEncoder->Release() == 0);
    Destroy(pDecoder);
}

void UseKey(IVideoProcess* p)
{
    uint8_t R = 0, G = 0, B = 0;
    int32_t iDistance = 0;
    EXPECT(p->SetKeyColor(5, 250, 16) == 1);
    EXPECT(p->GetKeyColor(&R, &G, &B) == 1 && R == 5 && G == 250 && B == 16);
    EXPECT(p->GetDefaultKeyColor(&R, &G, &B) == 1 && R == 69 && G == 250 && B == 92);
    EXPECT(p->SetKeyDistance(33) == 1);
    EXPECT(p->GetKeyDistance(&iDistance) == 1 && iDistance == 33);
    EXPECT(p->GetDefaultKeyDistance(&iDistance) == 1 && iDistance == 60);
}

void UseVideoProcess()
{
    constexpr int32_t iSide = 16, iPitch = iSide * 3;
    uint8_t Frame[iSide * iPitch], Background[iSide * iPitch];
    for (int i = 0; i < iSide * iPitch; i += 3) {
        Frame[i] = 16, Frame[i + 1] = 250, Frame[i + 2] = 5;
        Background[i] = 40, Background[i + 1] = 30, Background[i + 2] = 200;
    }
    IVideoProcess *const p = CreateVideoProcess(), *const pOther = CreateVideoProcess();
    EXPECT(p && pOther);
    UseKey(p);
    EXPECT(p->SetBackgroundImage(iSide, iSide, Background, iPitch) == 1);
    EXPECT(p->SetKeyingEnabled(1) == 1 && p->GetKeyingEnabled() == 1);
    EXPECT(p->ProcessFrame(iSide, iSide, Frame, iPitch) == 1);
    for (int i = 0; i < iSide * iPitch; ++i) EXPECT(Frame[i] == Background[i]);
    EXPECT(p->SetSmoothingEnabled(1) == 1 && p->GetSmoothingEnabled() == 1);
    EXPECT(p->SetBrightness(0.75f) == 1 && p->GetBrightness() == 0.75f);
    EXPECT(p->AddRef() == 2 && p->Release() == 1 && p->Release() == 0);
    Destroy(pOther);
}

} // namespace

extern "C" void UseTheLibrary(void)
{
    UseCodecs();
    UseVideoProcess();
}
