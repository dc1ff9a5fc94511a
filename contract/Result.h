// Result codes: what every operation of the framework returns.
#pragma once

#include <cstdint>

/// A 32-bit result code. Negative codes are failures; 0 is plain success.
using Result = std::int32_t;

inline constexpr Result S_OK = 0;
/// The operation is not offered by this class.
inline constexpr Result E_NOTIMPL = static_cast<Result>(0x80004001u);
/// The object does not answer the requested interface.
inline constexpr Result E_NOINTERFACE = static_cast<Result>(0x80004002u);
/// The operation failed; a hit test says so of a point outside the figure.
inline constexpr Result E_FAIL = static_cast<Result>(0x80004005u);
/// An argument is out of range or a required interface is null.
inline constexpr Result E_INVALIDARG = static_cast<Result>(0x80070057u);

constexpr bool Failed(Result code) noexcept { return code < 0; }
constexpr bool Succeeded(Result code) noexcept { return code >= 0; }
