// Numbers: conversion of doubles to integers without undefined behaviour, and of texts to numbers and
// back without regard to the process's locale.
#pragma once

#include <climits>
#include <cstdint>

#include "runtime/REFString.h"

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

/// Reads a number as people type it into a parameter: blanks and control characters are skipped, '#'
/// starts a hexadecimal integer (wrapping in 64 bits), otherwise an optional sign, digits, and at most
/// one '.' with up to 18 digits behind it. The first other character ends the number. Returns false,
/// with `*value` left alone, only when nothing but blanks is there; a text without digits reads as 0.
bool TextToNumber(tagREFString text, double* value) noexcept;

/// Reads an integer as reference strings do: an optional sign and an optional '#' for base 16, in
/// either order, then digits up to the first other character. No digits give 0; overflow wraps in 32 bits.
int TextToInteger(tagREFString text) noexcept;

/// The longest text of a number with that many decimals: sign, 309 digits, point, decimals.
constexpr int RoomForNumber(int decimals) noexcept { return 1 + 309 + 1 + decimals; }

/// Writes `value` with exactly `decimals` decimals to `text`, which has RoomForNumber(decimals)
/// characters; returns how many were written. Nothing is terminated.
int NumberToText(double value, int decimals, char* text) noexcept;

/// The number of decimals, up to 9, after which `value` has no fraction worth printing (1e-8).
int DecimalsNeeded(double value) noexcept;
