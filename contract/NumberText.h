// Numbers as texts: read as people type them, written without regard to the process's locale.
#pragma once

#include "contract/REFString.h"

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
