// Texts of plain characters, which most are: they read the same in bytes and in 32-bit characters.
#pragma once

#include <cstddef>
#include <cstring>
#include <type_traits>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

/// Copies characters as they are and says whether that was right: whether all are ASCII and none is a control
/// character.
template <class From, class To>
bool CopyPlain(const From* from, std::size_t count, To* to) noexcept;

// What lies below the blank wraps, and so has high bits as what lies beyond ASCII has.

#ifdef __SSE2__

// Four characters side by side, read from either form and written in either.
inline __m128i LoadFour(const wchar_t* from) noexcept {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
}
inline __m128i LoadFour(const char* from) noexcept {
    int bytes = 0;
    std::memcpy(&bytes, from, sizeof bytes);
    const __m128i zero = _mm_setzero_si128();
    return _mm_unpacklo_epi16(_mm_unpacklo_epi8(_mm_cvtsi32_si128(bytes), zero), zero);
}
inline void StoreFour(__m128i four, wchar_t* to) noexcept { _mm_storeu_si128(reinterpret_cast<__m128i*>(to), four); }
inline void StoreFour(__m128i four, char* to) noexcept {
    const __m128i halves = _mm_packs_epi32(four, four);
    const int bytes = _mm_cvtsi128_si32(_mm_packus_epi16(halves, halves));
    std::memcpy(to, &bytes, sizeof bytes);
}

template <class From, class To>
bool CopyPlain(const From* from, std::size_t count, To* to) noexcept {
    if (count < 4) {
        bool plain = true;
        for (std::size_t i = 0; i < count; ++i) {
            plain = plain && from[i] >= ' ' && from[i] <= 0x7F;
            to[i] = static_cast<To>(from[i]);
        }
        return plain;
    }
    __m128i bits = _mm_setzero_si128();
    const auto copyFour = [&](std::size_t at) {
        const __m128i four = LoadFour(from + at);
        bits = _mm_or_si128(bits, _mm_or_si128(four, _mm_sub_epi32(four, _mm_set1_epi32(' '))));
        StoreFour(four, to + at);
    };
    for (std::size_t at = 0; at + 4 < count; at += 4) {
        copyFour(at);
    }
    copyFour(count - 4);  // Some of these perhaps a second time.
    return _mm_movemask_epi8(_mm_cmpeq_epi32(_mm_srli_epi32(bits, 7), _mm_setzero_si128())) == 0xFFFF;
}

#else

template <class From, class To>
bool CopyPlain(const From* from, std::size_t count, To* to) noexcept {
    From bits = 0;
    for (std::size_t i = 0; i < count; ++i) {
        bits |= static_cast<From>(from[i] | static_cast<From>(from[i] - ' '));
        to[i] = static_cast<To>(from[i]);
    }
    return static_cast<std::make_unsigned_t<From>>(bits) < 0x80;
}

#endif
