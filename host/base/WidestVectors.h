// Loops that are worth compiling for wider vectors than every processor has.
#pragma once

#include <cstddef>  // Tells whether the C library is GNU's.

#if defined(__x86_64__) && defined(__GLIBC__)
#define _Bool bool  // The header is C's; not every compiler takes that word in C++.
#include <sys/platform/x86.h>
#undef _Bool
#endif

namespace host {

#if defined(__x86_64__) && defined(__GLIBC__)

template <auto kFunction, class... Values>
[[gnu::target("avx2"), gnu::flatten]] void OnAvx2(Values... values) noexcept {
    kFunction(values...);
}

template <auto kFunction, class... Values>
[[gnu::target("avx512f"), gnu::flatten]] void OnAvx512(Values... values) noexcept {
    kFunction(values...);
}

/// Calls a function with everything that it calls compiled for the widest vectors that the processor has. The results
/// are the same to the last bit. What the C library knows of the processor is asked, since the processor itself answers
/// slowly where it is a virtual one, and a library that asks does so at every start.
template <auto kFunction, class... Values>
void OnWidestVectors(Values... values) noexcept {
    static void (*const call)(Values...) = CPU_FEATURE_ACTIVE(AVX512F) ? OnAvx512<kFunction, Values...>
                                           : CPU_FEATURE_ACTIVE(AVX2)  ? OnAvx2<kFunction, Values...>
                                                                       : +[](Values... all) { kFunction(all...); };
    call(values...);
}

#else

template <auto kFunction, class... Values>
void OnWidestVectors(Values... values) noexcept {
    kFunction(values...);
}

#endif

}  // namespace host
