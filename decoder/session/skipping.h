// Which pictures need not be decoded or deblocked when the client asks for speed.
#pragma once

#include <cstdint>

namespace UMC {

class Skipping
{
public:
    virtual ~Skipping() = default;

    // Adds Step to the speed, 0 (everything) to 7, and writes the speed that results back to it.
    void ChangeVideoDecodingSpeed(int32_t& Step);

    struct SkipInfo {
        bool IsDeblockingReduced; // speed 5 or 7
        int32_t SkippedFrames;
    };
    SkipInfo GetSkipInfo() const;

    bool IsSkipWanted(bool IsReference); // counts the picture; to be asked once a picture
    bool IsDeblockingUnwanted(bool IsReferenceField) const;
    void ResetSkipping(); // keeps the place in the cycle

private:
    int32_t m_DecodingSpeed = 0;
    int32_t m_SkipCycle = 1;      // pictures after which the pattern begins anew
    int32_t m_SkipModulo = 1;     // every picture of the cycle whose number it divides is skipped
    int32_t m_DeblockingMode = 0; // 0 on, 1 off for non-reference pictures, 2 off
    int32_t m_SkipCounter = 0;    // non-reference pictures in the cycle
    int32_t m_SkippedFrames = 0;
};

} // namespace UMC
