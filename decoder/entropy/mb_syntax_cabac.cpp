// Macroblock syntax in CABAC, clauses 7.3.5 and 9.3.3.1.
#include "decoder/entropy/mb_syntax.h"

#include <algorithm>

namespace UMC {

using h264::CabacContext;
using Offset = h264::CtxIdxOffset;

namespace {

[[noreturn]] void ThrowDamaged() { throw h264_exception(StatusInvalidParams); }

// Bins of an Intra 16x16 mb_type behind the terminate bin: coded block pattern and prediction mode. Contexts as offsets
// from c, since I slices and the prefixed form of P and B slices share some of them differently.
struct IntraTypeContexts {
    int Luma, Chroma, ChromaAc, Mode0, Mode1;
};
constexpr IntraTypeContexts kIntraSliceContexts{3, 4, 5, 6, 7}, kPrefixedContexts{1, 2, 2, 3, 3};

uint32_t IntraType(CabacEngine& e, CabacContext* c, CabacContext& First, const IntraTypeContexts& At)
{
    if (!e.Decide(First)) return 0;
    if (e.Terminate()) return h264::kIntraPcmType;
    uint32_t Type = 1 + 12 * e.Decide(c[At.Luma]);
    if (e.Decide(c[At.Chroma])) Type += 4 + 4 * e.Decide(c[At.ChromaAc]);
    Type += 2 * e.Decide(c[At.Mode0]);
    return Type + e.Decide(c[At.Mode1]);
}

// A copy of the engine for the length of one element of several bins, so that its fields live in registers.
class LocalEngine
{
public:
    explicit LocalEngine(CabacDecoder& Cabac) : m_Cabac(Cabac), m_Engine(Cabac.m_Engine) {}
    ~LocalEngine() { m_Cabac.m_Engine = m_Engine; }
    LocalEngine(const LocalEngine&) = delete;
    LocalEngine& operator=(const LocalEngine&) = delete;
    CabacEngine* operator->() { return &m_Engine; }
    CabacEngine& operator*() { return m_Engine; }

private:
    CabacDecoder& m_Cabac;
    CabacEngine m_Engine;
};

// Suffix of UEG3 with prefix up to 9 ones (clause 9.3.2.3), sign included. Sum is the neighbours' magnitudes.
[[gnu::always_inline]] inline int MvdComponent(CabacEngine& e, CabacContext* c, uint32_t Sum)
{
    if (!e.Decide(c[(Sum > 2) + (Sum > 32)])) return 0;
    uint32_t Value = 1; // bins 1..3 have contexts of their own, those behind share one
    if (e.Decide(c[3])) {
        Value = 2;
        if (e.Decide(c[4])) {
            Value = 3;
            if (e.Decide(c[5])) do
                    ++Value;
                while (Value < 9 && e.Decide(c[6]));
        }
    }
    if (Value == 9) {
        uint32_t k = 3;
        while (e.Bypass()) { // bounded for damaged data; 16-bit vectors need fewer
            Value += 1u << k;
            if (++k > 20) ThrowDamaged();
        }
        while (k--) Value += e.Bypass() << k;
    }
    const uint32_t Sign = e.BypassMask();
    return static_cast<int>((Value ^ Sign) - Sign);
}

} // namespace

bool CabacSyntax::SkipFlag(EntropyState& State, const MbState& Mb, bool IsBSlice)
{
    const uint32_t Inc = !(Mb.pLeftGlobal->MbFlags & MBFLAG_SKIPPED) + !(Mb.pTopGlobal->MbFlags & MBFLAG_SKIPPED);
    return State.Cabac.m_Engine.Decide(State.Cabac.m_Contexts[(IsBSlice ? Offset::kSkipB : Offset::kSkipP) + Inc]);
}

bool CabacSyntax::FieldDecodingFlag(EntropyState& State, const MbState& Mb)
{
    const auto Inc = static_cast<uint32_t>(Mb.Pairs.FieldPairsAround());
    return State.Cabac.m_Engine.Decide(State.Cabac.m_Contexts[Offset::kFieldDecoding + Inc]);
}

uint32_t CabacSyntax::MbTypeI(EntropyState& State, const MbState& Mb)
{
    const auto IsNxN = [](const MbGlobalInfo& Mb) { return Mb.MbType == MBTYPE_INTRA4x4; };
    CabacContext* const c = &State.Cabac.m_Contexts[Offset::kMbTypeI];
    const int Inc = !IsNxN(*Mb.pLeftGlobal) + !IsNxN(*Mb.pTopGlobal);
    return IntraType(State.Cabac.m_Engine, c, c[Inc], kIntraSliceContexts);
}

uint32_t CabacSyntax::MbTypeP(EntropyState& State)
{
    CabacEngine& e = State.Cabac.m_Engine;
    CabacContext* const c = &State.Cabac.m_Contexts[Offset::kMbTypeP];
    CabacContext* const pIntra = &State.Cabac.m_Contexts[Offset::kMbTypeIntraInP];
    if (e.Decide(c[0])) return h264::kFirstIntraTypeP + IntraType(e, pIntra, *pIntra, kPrefixedContexts);
    if (e.Decide(c[1])) return e.Decide(c[3]) ? 1 : 2;
    return e.Decide(c[2]) ? 3 : 0;
}

uint32_t CabacSyntax::MbTypeB(EntropyState& State, const MbState& Mb)
{
    const auto IsDirect = [](const MbGlobalInfo& Mb) { return Mb.MbType == MBTYPE_DIRECT; };
    LocalEngine e(State.Cabac);
    CabacContext* const c = &State.Cabac.m_Contexts[Offset::kMbTypeB];
    if (!e->Decide(c[!IsDirect(*Mb.pLeftGlobal) + !IsDirect(*Mb.pTopGlobal)])) return 0;
    if (!e->Decide(c[3])) return 1 + e->Decide(c[5]);
    uint32_t Bins = e->Decide(c[4]);
    for (int i = 0; i < 3; ++i) Bins = Bins * 2 + e->Decide(c[5]);
    if (Bins < 8) return 3 + Bins;
    if (Bins == 13) {
        CabacContext* const pIntra = &State.Cabac.m_Contexts[Offset::kMbTypeIntraInB];
        return h264::kFirstIntraTypeB + IntraType(*e, pIntra, *pIntra, kPrefixedContexts);
    }
    if (Bins == 14) return 11;
    if (Bins == 15) return 22;
    return 12 + (Bins - 8) * 2 + e->Decide(c[5]);
}

uint32_t CabacSyntax::SubMbTypeP(EntropyState& State)
{
    LocalEngine e(State.Cabac);
    CabacContext* const c = &State.Cabac.m_Contexts[Offset::kSubMbTypeP];
    if (e->Decide(c[0])) return 0;
    if (!e->Decide(c[1])) return 1;
    return e->Decide(c[2]) ? 2 : 3;
}

uint32_t CabacSyntax::SubMbTypeB(EntropyState& State)
{
    LocalEngine e(State.Cabac);
    CabacContext* const c = &State.Cabac.m_Contexts[Offset::kSubMbTypeB];
    if (!e->Decide(c[0])) return 0;
    if (!e->Decide(c[1])) return 1 + e->Decide(c[3]);
    uint32_t Type = 3;
    if (e->Decide(c[2])) {
        if (e->Decide(c[3])) return 11 + e->Decide(c[3]);
        Type = 7;
    }
    Type += 2 * e->Decide(c[3]);
    return Type + e->Decide(c[3]);
}

uint32_t CabacSyntax::TransformSize8x8Flag(EntropyState& State, const MbState& Mb)
{
    const auto Flag = [](const MbGlobalInfo& Mb) { return (Mb.MbFlags & MBFLAG_TRANSFORM8x8) != 0; };
    const uint32_t Inc = Flag(*Mb.pLeftGlobal) + Flag(*Mb.pTopGlobal);
    return State.Cabac.m_Engine.Decide(State.Cabac.m_Contexts[Offset::kTransform8x8 + Inc]);
}

int CabacSyntax::IntraMode(EntropyState& State)
{
    LocalEngine e(State.Cabac);
    if (e->Decide(State.Cabac.m_Contexts[Offset::kPrevIntraMode])) return -1;
    CabacContext& Rem = State.Cabac.m_Contexts[Offset::kRemIntraMode];
    uint32_t Mode = e->Decide(Rem);
    Mode += 2 * e->Decide(Rem);
    Mode += 4 * e->Decide(Rem);
    return static_cast<int>(Mode);
}

uint8_t CabacSyntax::IntraChromaMode(EntropyState& State, const MbState& Mb)
{
    // The mode is kept for intra macroblocks only; the field is 0 for I_PCM.
    const auto HasMode = [](const MbGlobalInfo& Mb, const MbLocalInfo& Local) {
        return IsIntra(Mb) && Local.SubBlockDirection[2] != 0;
    };
    CabacEngine& e = State.Cabac.m_Engine;
    CabacContext* const c = &State.Cabac.m_Contexts[Offset::kIntraChromaMode];
    const int Inc = HasMode(*Mb.pLeftGlobal, *Mb.pLeftLocal) + HasMode(*Mb.pTopGlobal, *Mb.pTopLocal);
    uint8_t Mode = 0;
    if (e.Decide(c[Inc])) do
            ++Mode;
        while (Mode < 3 && e.Decide(c[3]));
    return Mode;
}

uint8_t CabacSyntax::CodedBlockPattern(EntropyState& State, const MbState& Mb, bool HasChroma, bool)
{
    LocalEngine e(State.Cabac);
    CabacContext* const c = &State.Cabac.m_Contexts[Offset::kPatternLuma];
    const uint32_t Left = Mb.pLeftLocal->CodedBlockPattern, Top = Mb.pTopLocal->CodedBlockPattern;
    const auto Inc = [](uint32_t A, uint32_t B) { return (~A & 1) + 2 * (~B & 1); };

    const uint32_t b0 = e->Decide(c[Inc(Left >> 1, Top >> 2)]);
    const uint32_t b1 = e->Decide(c[Inc(b0, Top >> 3)]);
    const uint32_t b2 = e->Decide(c[Inc(Left >> 3, b0)]);
    const uint32_t b3 = e->Decide(c[Inc(b2, b1)]);
    uint32_t Pattern = b0 | b1 << 1 | b2 << 2 | b3 << 3;
    if (!HasChroma) return static_cast<uint8_t>(Pattern);

    const uint32_t LeftChroma = Left >> 4, TopChroma = Top >> 4;
    CabacContext* const pChroma = &State.Cabac.m_Contexts[Offset::kPatternChroma];
    if (e->Decide(pChroma[(LeftChroma != 0) + 2 * (TopChroma != 0)]))
        Pattern |= 16u << e->Decide(pChroma[4 + (LeftChroma == 2) + 2 * (TopChroma == 2)]);
    return static_cast<uint8_t>(Pattern);
}

int CabacSyntax::DeltaQp(EntropyState& State)
{
    LocalEngine e(State.Cabac);
    CabacContext* const c = &State.Cabac.m_Contexts[Offset::kQpDelta];
    if (!e->Decide(c[State.PrevDeltaQp != 0])) return 0;
    int Bins = 1;
    if (e->Decide(c[2])) do
            if (++Bins > 2 * (52 + 6 * 8)) ThrowDamaged(); // beyond every depth's range
        while (e->Decide(c[3]));
    return Bins & 1 ? (Bins + 1) / 2 : -(Bins / 2);
}

int CabacSyntax::RefIdx(EntropyState& State, const MbState& Mb, int List, int Quadrant, int Count)
{
    CabacEngine& e = State.Cabac.m_Engine;
    CabacContext* const c = &State.Cabac.m_Contexts[Offset::kRefIdx];
    const uint32_t Own = Mb.pLocal->RefIdxContext[List];
    const uint32_t A = Quadrant & 1 ? Own >> (Quadrant - 1) : Mb.pLeftLocal->RefIdxContext[List] >> (Quadrant + 1);
    const uint32_t B = Quadrant & 2 ? Own >> (Quadrant - 2) : Mb.pTopLocal->RefIdxContext[List] >> (Quadrant + 2);
    if (!e.Decide(c[(A & 1) + 2 * (B & 1)])) return 0;
    int RefIdx = 1;
    uint32_t Inc = 4;
    while (RefIdx < Count && e.Decide(c[Inc])) {
        ++RefIdx;
        Inc = 5;
    }
    if (RefIdx >= Count) ThrowDamaged();
    return RefIdx;
}

h264::MotionVector CabacSyntax::Mvd(EntropyState& State, const MotionCache& Cache, int Pos, uint8_t Magnitude[2])
{
    const uint8_t* const pA = Cache.Mvd[Pos - 1];
    const uint8_t* const pB = Cache.Mvd[Pos - kCacheStride];
    LocalEngine e(State.Cabac);
    const int x = MvdComponent(*e, &State.Cabac.m_Contexts[Offset::kMvdX], uint32_t{pA[0]} + pB[0]);
    const int y = MvdComponent(*e, &State.Cabac.m_Contexts[Offset::kMvdY], uint32_t{pA[1]} + pB[1]);
    Magnitude[0] = static_cast<uint8_t>(std::min(x < 0 ? -x : x, 127));
    Magnitude[1] = static_cast<uint8_t>(std::min(y < 0 ? -y : y, 127));
    return {static_cast<int16_t>(x), static_cast<int16_t>(y)};
}

} // namespace UMC
