#include "contract/NumberText.h"

#include <charconv>
#include <cmath>
#include <cstdint>
#include <cwctype>
#include <string>

namespace {

constexpr bool IsDigit(wchar_t c) noexcept { return c >= L'0' && c <= L'9'; }

// The value of a hexadecimal digit of either case, or -1.
constexpr int HexDigit(wchar_t c) noexcept {
    if (IsDigit(c)) {
        return c - L'0';
    }
    if (c >= L'A' && c <= L'F') {
        return c - L'A' + 10;
    }
    return c >= L'a' && c <= L'f' ? c - L'a' + 10 : -1;
}

bool IsBlank(wchar_t c) noexcept {
    const std::wint_t code = std::char_traits<wchar_t>::to_int_type(c);
    return std::iswspace(code) != 0 || std::iswcntrl(code) != 0;
}

double ReadHexadecimal(const wchar_t* at, const wchar_t* end) noexcept {
    std::uint64_t value = 0;
    for (; at != end && HexDigit(*at) >= 0; ++at) {
        value = value * 16 + static_cast<std::uint64_t>(HexDigit(*at));
    }
    return static_cast<double>(value);
}

double ReadDecimal(const wchar_t* at, const wchar_t* end) noexcept {
    constexpr std::uint64_t kLargestScale = 999999999999999999;
    double sign = 1.0;
    if (at != end && (*at == L'-' || *at == L'+')) {
        sign = *at == L'-' ? -1.0 : 1.0;
        ++at;
    }
    double integer = 0.0;
    for (; at != end && IsDigit(*at); ++at) {
        integer = integer * 10.0 + (*at - L'0');
    }
    std::uint64_t fraction = 0;
    std::uint64_t scale = 1;
    if (at != end && *at == L'.') {
        for (++at; at != end && IsDigit(*at) && scale <= kLargestScale; ++at) {
            fraction = fraction * 10 + static_cast<std::uint64_t>(*at - L'0');
            scale *= 10;
        }
    }
    return sign * (integer + static_cast<double>(fraction) / static_cast<double>(scale));
}

}  // namespace

bool TextToNumber(tagREFString text, double* value) noexcept {
    const wchar_t* at = text.text;
    const wchar_t* const end = text.length > 0 ? at + text.length : at;
    while (at != end && IsBlank(*at)) {
        ++at;
    }
    if (at == end) {
        return false;
    }
    *value = *at == L'#' ? ReadHexadecimal(at + 1, end) : ReadDecimal(at, end);
    return true;
}

int TextToInteger(tagREFString text) noexcept {
    const wchar_t* at = text.text;
    const wchar_t* const end = text.length > 0 ? at + text.length : at;
    bool negative = false;
    bool signRead = false;
    int base = 10;
    for (; at != end; ++at) {
        if ((*at == L'-' || *at == L'+') && !signRead) {
            signRead = true;
            negative = *at == L'-';
        } else if (*at == L'#' && base == 10) {
            base = 16;
        } else {
            break;
        }
    }
    std::uint32_t value = 0;  // Unsigned, so that overflow wraps.
    for (; at != end; ++at) {
        const int digit = HexDigit(*at);
        if (digit < 0 || digit >= base) {
            break;
        }
        value = value * static_cast<std::uint32_t>(base) + static_cast<std::uint32_t>(digit);
    }
    return static_cast<int>(negative ? 0u - value : value);
}

int NumberToText(double value, int decimals, char* text) noexcept {
    const auto written = std::to_chars(text, text + RoomForNumber(decimals), value, std::chars_format::fixed, decimals);
    return static_cast<int>(written.ptr - text);
}

int DecimalsNeeded(double value) noexcept {
    int decimals = 0;
    for (double scale = 1.0; decimals < 9; ++decimals, scale *= 10.0) {
        const double scaled = std::abs(value) * scale;
        if (scaled - std::floor(scaled) < 1e-08) {
            break;
        }
    }
    return decimals;
}
