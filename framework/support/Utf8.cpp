#include "framework/support/Utf8.h"

#include <fmt/format.h>

#include <algorithm>

#include "framework/support/PlainText.h"

namespace {

constexpr char32_t kReplacement = 0xFFFD;

constexpr bool IsCharacter(char32_t code) noexcept { return code <= 0x10FFFF && (code < 0xD800 || code > 0xDFFF); }

// The bytes of a character that begins with `lead`, or 0 for a byte that begins none.
constexpr std::size_t SequenceLength(unsigned char lead) noexcept {
    if (lead < 0x80) {
        return 1;
    }
    if (lead < 0xC2 || lead > 0xF4) {
        return 0;
    }
    return lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
}

// The first character of `rest`, which begins behind it afterwards.
char32_t TakeCharacter(std::string_view* rest) noexcept {
    constexpr char32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
    const auto lead = static_cast<unsigned char>(rest->front());
    const std::size_t length = SequenceLength(lead);
    char32_t code = length > 1 ? lead & (0x7Fu >> length) : lead;
    std::size_t read = 1;
    while (read < length && read < rest->size() && ((*rest)[read] & 0xC0) == 0x80) {
        code = code << 6 | (static_cast<unsigned char>((*rest)[read++]) & 0x3Fu);
    }
    const bool sound = length > 0 && read == length && code >= kSmallest[length] && IsCharacter(code);
    rest->remove_prefix(sound ? length : 1);
    return sound ? code : kReplacement;
}

std::string EscapedCharacter(unsigned char c) {
    switch (c) {
        case '\n':
            return "\\n";
        case '\r':
            return "\\r";
        case '\t':
            return "\\t";
        default:
            return fmt::format("\\x{:02X}", c);
    }
}

}  // namespace

bool AppendUtf8(tagREFString text, std::string* utf8) {
    const auto length = static_cast<std::size_t>(std::max(text.length, 0));
    const std::size_t start = utf8->size();
    utf8->resize(start + length);
    if (CopyPlain(text.text, length, utf8->data() + start)) {
        return true;
    }
    utf8->resize(start);
    for (std::size_t i = 0; i < length; ++i) {
        const auto code = static_cast<char32_t>(text.text[i]);
        if (code < 0x80) {
            *utf8 += static_cast<char>(code);
            continue;
        }
        if (!IsCharacter(code)) {
            return false;
        }
        const int following = code < 0x800 ? 1 : code < 0x10000 ? 2 : 3;
        const char32_t mark = 0xFF00u >> (following + 1);
        *utf8 += static_cast<char>((mark | code >> (6 * following)) & 0xFFu);
        for (int shift = 6 * (following - 1); shift >= 0; shift -= 6) {
            *utf8 += static_cast<char>(0x80u | (code >> shift & 0x3Fu));
        }
    }
    return true;
}

std::string ToUtf8(tagREFString text) {
    std::string utf8;
    AppendUtf8(text, &utf8);
    return utf8;
}

std::wstring FromUtf8(std::string_view utf8) {
    std::wstring text(utf8.size(), L'\0');  // A character takes a byte or more.
    if (CopyPlain(utf8.data(), utf8.size(), text.data())) {
        return text;
    }
    text.clear();
    while (!utf8.empty()) {
        text += static_cast<wchar_t>(TakeCharacter(&utf8));
    }
    return text;
}

std::string Harmless(std::string_view text) {
    const auto* const odd =
        std::find_if(text.begin(), text.end(), [](unsigned char c) { return c < 0x20 || c == 0x7F || c == 0xC2; });
    std::string line(text.begin(), odd);
    for (std::size_t i = line.size(); i < text.size(); ++i) {
        const auto c = static_cast<unsigned char>(text[i]);
        const auto next = static_cast<unsigned char>(i + 1 < text.size() ? text[i + 1] : 0);
        if (c < 0x20 || c == 0x7F) {
            line += EscapedCharacter(c);
        } else if (c == 0xC2 && next >= 0x80 && next < 0xA0) {
            // A second set of control characters, two bytes each in UTF-8.
            line += EscapedCharacter(next);
            ++i;
        } else {
            line += text[i];
        }
    }
    return line;
}
