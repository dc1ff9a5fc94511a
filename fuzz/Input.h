// The bytes of one fuzzing input as the arguments of calls. When they run out, everything reads as 0.
#pragma once

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <limits>
#include <string>
#include <string_view>

class Input {
  public:
    Input(const std::uint8_t* data, std::size_t size) noexcept : m_at(data), m_left(size) {}

    bool AtEnd() const noexcept { return m_left == 0; }

    template <class Word>
    Word Raw() noexcept {
        Word word{};
        const std::size_t size = std::min(sizeof word, m_left);
        if (size > 0) {
            std::memcpy(&word, m_at, size);
        }
        Drop(size);
        return word;
    }
    std::uint8_t Byte() noexcept { return Raw<std::uint8_t>(); }
    int Below(int count) noexcept { return Byte() % count; }
    bool Flag() noexcept { return (Byte() & 1) != 0; }

    /// Mostly small, sometimes on the edge of the type, sometimes anything.
    int Integer() noexcept {
        static constexpr int kEdges[] = {INT_MIN, INT_MAX, INT_MIN + 1, -1, 255, 256, 1 << 20, 1 << 30};
        const std::uint8_t kind = Byte();
        if (kind < 160) {
            return kind - 32;
        }
        return kind < 224 ? kEdges[kind % std::size(kEdges)] : Raw<int>();
    }

    /// Mostly coordinates in steps of a quarter pixel, sometimes what arithmetic stumbles on, sometimes
    /// any bits at all.
    double Number() noexcept {
        using Limits = std::numeric_limits<double>;
        static constexpr double kEdges[] = {0.0,
                                            -0.0,
                                            Limits::quiet_NaN(),
                                            Limits::infinity(),
                                            -Limits::infinity(),
                                            Limits::max(),
                                            Limits::lowest(),
                                            Limits::denorm_min(),
                                            2147483647.5,
                                            -2147483648.5,
                                            4294967295.5,
                                            9223372036854775808.0,
                                            1e18,
                                            -1e300,
                                            1.5707963267948966,
                                            3.141592653589793};
        const std::uint8_t kind = Byte();
        if (kind < 192) {
            return 0.25 * Raw<std::int8_t>() + (kind < 96 ? kind : 0);
        }
        return kind < 240 ? kEdges[kind % std::size(kEdges)] : Raw<double>();
    }
    float Single() noexcept { return Flag() ? static_cast<float>(Byte()) * 0.25f : Raw<float>(); }

    std::string_view Bytes(std::size_t count) noexcept {
        const std::string_view bytes(reinterpret_cast<const char*>(m_at), std::min(count, m_left));
        Drop(bytes.size());
        return bytes;
    }
    std::string_view Rest() noexcept { return Bytes(m_left); }

    /// Characters of one byte each, those above 0xF0 followed by four bytes of any value.
    std::wstring Wide(std::size_t count) {
        std::wstring text;
        while (text.size() < count && !AtEnd()) {
            const std::uint8_t c = Byte();
            text += static_cast<wchar_t>(c < 0xF0 ? c : Raw<std::uint32_t>());
        }
        return text;
    }

  private:
    void Drop(std::size_t count) noexcept {
        m_at += count;
        m_left -= count;
    }

    const std::uint8_t* m_at;
    std::size_t m_left;
};
