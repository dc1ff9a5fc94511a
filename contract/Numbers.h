// Numbers: pi, degrees, and conversions of doubles to integers without undefined behaviour.
#pragma once

#include <climits>
#include <cstdint>

inline constexpr double kPi = 3.141592653589793;

/// Truncates toward zero; NaN and values out of range give INT_MIN, as the x86-64 conversion does.
constexpr int ToInt32(double value) noexcept {
    return value > -2147483649.0 && value < 2147483648.0 ? static_cast<int>(value) : INT_MIN;
}

/// The low 32 bits of the 64-bit conversion (truncation toward zero); 0 for NaN and values out of the
/// 64-bit range, whose conversion is 0x8000000000000000.
constexpr unsigned int ToUInt32(double value) noexcept {
    return value >= -9223372036854775808.0 && value < 9223372036854775808.0
               ? static_cast<unsigned int>(static_cast<std::uint64_t>(static_cast<std::int64_t>(value)))
               : 0u;
}

/// Radians as the degrees of a parameter list. The way back differs from class to class.
constexpr double ToDegrees(double radians) noexcept { return 180.0 * radians / kPi; }
