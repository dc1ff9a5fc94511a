#include "check/Checks.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>

#include "framework/support/Utf8.h"

std::string CodeText(Result code) {
    switch (code) {
        case S_OK:
            return "S_OK";
        case E_FAIL:
            return "E_FAIL";
        case E_INVALIDARG:
            return "E_INVALIDARG";
        case E_NOINTERFACE:
            return "E_NOINTERFACE";
        case E_NOTIMPL:
            return "E_NOTIMPL";
        default:
            return fmt::format("code {:#010x}", static_cast<std::uint32_t>(code));
    }
}

namespace {

// At most `room` bytes of a text, of which no character is cut.
std::string Cut(std::string text, std::size_t room) {
    if (text.size() <= room) {
        return text;
    }
    std::size_t length = room - 3;
    while (length > 0 && (static_cast<unsigned char>(text[length]) & 0xC0) == 0x80) {
        --length;
    }
    return text.substr(0, length) + "...";
}

}  // namespace

void TellFailure(std::string_view group, std::string_view sentence, std::string_view expected, std::string_view got) {
    constexpr std::size_t kLongestLine = 300;
    const std::string told = Cut(Harmless(got), 80);
    const std::size_t frame = fmt::formatted_size("roi: check failed: {}: : expected , got \n", group) + told.size();
    const std::size_t room = kLongestLine - frame;
    const std::string wanted = Harmless(expected);
    const std::string what = Cut(Harmless(sentence), std::max(room / 2, room - std::min(room, wanted.size())));
    fmt::print(stderr, "roi: check failed: {}: {}: expected {}, got {}\n", group, what, Cut(wanted, room - what.size()),
               told);
}

void CheckReport::Bits(double actual, double expected) {
    Expect(actual == expected, fmt::format("{:.17g}", expected), fmt::format("{:.17g}", actual));
}

void CheckReport::Begin(std::string_view sentence) {
    const std::size_t length = std::min(sentence.size(), sizeof m_progress.sentence - 1);
    std::copy_n(sentence.data(), length, m_progress.sentence);
    m_progress.sentence[length] = '\0';
}

void CheckReport::Expect(bool holds, std::string_view expected, std::string_view got) {
    if (holds) {
        ++m_progress.passed;
        return;
    }
    if (++m_progress.failed <= kMostTold) {
        TellFailure(m_group, m_progress.sentence, expected, got);
    } else if (m_progress.failed == kMostTold + 1) {
        fmt::print(stderr, "roi: check: {}: further failures are counted only\n", m_group);
    }
}
