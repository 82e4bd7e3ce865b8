// Calls a kernel as a client's compiler may: on 32 bits from a stack that is aligned to no more than the 4 bytes
// promised there. After the call the processor must be as it was: no MMX state, direction flag clear, the same
// rounding.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

namespace foreign_caller {

/// Adds a failure on its way out when what a function has to leave alone is not as it was.
class StateGuard
{
public:
    StateGuard();
    ~StateGuard();
    StateGuard(const StateGuard&) = delete;
    StateGuard& operator=(const StateGuard&) = delete;

private:
    uint32_t m_Rounding;
};

/// What remains of the stack pointer modulo 16 when the function called next is entered: 0, 4, 8 and 12 in an order
/// that no loop of a test shares.
uint32_t NextResidue();

#ifdef __i386__
/// Enters pFn with the words as its arguments on the stack, whose pointer leaves Residue modulo 16 then. Declared
/// without a result; cast it to a function that returns what pFn returns.
extern "C" void CallOnStack(void* pFn, const uint32_t* pWords, size_t Count, uint32_t Residue) asm("CallOnStack");

template <class T>
void PutArgument(uint32_t*& pWord, T Value)
{
    if constexpr (std::is_integral_v<T> && sizeof(T) < 4) {
        *pWord++ = static_cast<uint32_t>(Value);
    } else {
        std::memcpy(pWord, &Value, sizeof Value);
        pWord += (sizeof Value + 3) / 4;
    }
}
#endif

template <class Sig>
class Caller;

/// Call() passes its arguments on to s_pFn: a plain function that stands for any other of its signature.
template <class R, class... A>
class Caller<R(A...)>
{
public:
    static inline R (*s_pFn)(A...) = nullptr;

    static R Call(A... Arguments)
    {
        const StateGuard Guard;
#ifdef __i386__
        static_assert(!(std::is_reference_v<A> || ...));
        std::array<uint32_t, (size_t{1} + ... + ((sizeof(A) + 3) / 4))> Words;
        uint32_t* pWord = Words.data();
        (PutArgument(pWord, Arguments), ...);
        const auto pEnter =
            reinterpret_cast<R (*)(void*, const uint32_t*, size_t, uint32_t)>(reinterpret_cast<void*>(&CallOnStack));
        return pEnter(reinterpret_cast<void*>(s_pFn), Words.data(), static_cast<size_t>(pWord - Words.data()),
                      NextResidue());
#else
        return s_pFn(Arguments...);
#endif
    }
};

} // namespace foreign_caller
