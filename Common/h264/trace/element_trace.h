// A listing of the syntax elements of one macroblock, as the encoder wrote and the decoder reads them: for chasing a
// stream that two decoders see differently. It is built with QUILVEX_TRACE alone; elsewhere these functions are empty.
#pragma once

#include <cstdint>

namespace h264::trace {

#if defined(QUILVEX_TRACE)
inline constexpr bool kIsBuilt = true;
#else
inline constexpr bool kIsBuilt = false;
#endif

// One macroblock of a sequence: pictures count from 0 in coding order, X and Y are its column and row in the picture.
struct Place {
    int32_t Picture = -1, X = 0, Y = 0;
    bool operator==(const Place&) const = default;
};

/// From now on the macroblock at Wanted is listed on standard error. For one codec on one thread.
void Choose(const Place& Wanted);

struct State {
    Place Wanted{-1, -1, -1}, Current; // none is wanted
    bool IsListed = false;             // the macroblock in hand is the wanted one
};
extern State g_State;

void Write(const char* pName, int32_t Value);
void Write(const char* pName, int32_t First, int32_t Second);

/// The next picture begins.
inline void BeginPicture()
{
    if constexpr (kIsBuilt) ++g_State.Current.Picture;
}

inline void BeginMacroblock([[maybe_unused]] int32_t X, [[maybe_unused]] int32_t Y)
{
    if constexpr (kIsBuilt) {
        g_State.Current.X = X;
        g_State.Current.Y = Y;
        g_State.IsListed = g_State.Current == g_State.Wanted;
    }
}

/// An element by the standard's name, or two that belong together.
template <class... Values>
inline void Element([[maybe_unused]] const char* pName, [[maybe_unused]] Values... v)
{
    if constexpr (kIsBuilt)
        if (g_State.IsListed) Write(pName, static_cast<int32_t>(v)...);
}

/// A level that is not 0 and its place in the list of the block that was named last.
inline void Level([[maybe_unused]] int32_t Position, [[maybe_unused]] int32_t Value)
{
    Element("  level", Position, Value);
}

} // namespace h264::trace
