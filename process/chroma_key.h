// The numbers of chroma keying: the key colour as chroma, the two radii around it, and finding a key in a picture.
#pragma once

#include <cstdint>

struct RgbColor {
    uint8_t R, G, B;
    bool operator==(const RgbColor&) const = default;
};

/// A key in chroma with the squares of the distances at which it begins and ends to be foreground.
struct ChromaKey {
    int32_t U, V;
    int32_t Threshold1, Threshold2; // inner, outer
    bool operator==(const ChromaKey&) const = default;
};

/// The settings of key detection: the same two radii for each of the two keys looked for.
struct KeyThresholds {
    int32_t Green1, Green2, Blue1, Blue2;
};

inline constexpr KeyThresholds kDefaultKeyThresholds{3600, 4624, 4900, 6400};
inline constexpr int32_t kDefaultKeyDistance = 60;
inline constexpr uint8_t kDefaultKeyLuma = 170;
inline constexpr ChromaKey kDefaultKey{85, 60, kDefaultKeyThresholds.Green1, kDefaultKeyThresholds.Green2};

/// The integer conversion that gives the default key colour its RGB; video range in, 0 to 255 out.
RgbColor ColorOfChroma(int32_t Y, int32_t U, int32_t V);

/// The key's chroma for a colour. The default colour gives the default key exactly: the general formula does not lead
/// back to it.
void KeyChromaOfColor(RgbColor Color, int32_t& U, int32_t& V);

/// Both thresholds for a distance in chroma levels. The default distance has an outer radius of 68, where the formula
/// would give 67: a stated value. Squares that do not fit stay at the largest 32-bit number.
void KeyRadiiOfDistance(int32_t iDistance, int32_t& Threshold1, int32_t& Threshold2);

/// Looks whether a chroma value lies within the inner radius of the green or the blue key; the first that fits is
/// stored. False, and nothing stored, when none does.
bool MatchKeyColor(const KeyThresholds& Thresholds, int32_t U, int32_t V, ChromaKey& Found);

/// Looks at a patch of 3x3 samples near each corner of the chroma planes, bottom left first, then bottom right, top
/// left, top right, and stores the first key that a patch's mean matches. False, and nothing stored, when none does or
/// the planes have fewer than 7 rows or columns.
/// @param iPitch  Bytes from one row to the next, also taken for the width; both planes have it.
bool DetectKeyColor(const KeyThresholds& Thresholds, int32_t iPitch, int32_t iHeight, const uint8_t* pU,
                    const uint8_t* pV, ChromaKey& Found);
