// Texts of plain characters, which most are: they read the same in bytes and in 32-bit characters.
#pragma once

#include <cstddef>
#include <type_traits>

/// Copies characters as they are and says whether that was right: whether all are ASCII and none is a control
/// character.
template <class From, class To>
bool CopyPlain(const From* __restrict from, std::size_t count, To* __restrict to) noexcept {
    From bits = 0;
    for (std::size_t i = 0; i < count; ++i) {
        // What lies below the blank wraps, and so has high bits as what lies beyond ASCII has.
        bits |= static_cast<From>(from[i] | static_cast<From>(from[i] - ' '));
        to[i] = static_cast<To>(from[i]);
    }
    return static_cast<std::make_unsigned_t<From>>(bits) < 0x80;
}
