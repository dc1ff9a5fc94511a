#include "host/base/Text.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <climits>
#include <cmath>
#include <cstdint>
#include <numeric>
#include <utility>

#include "framework/support/Utf8.h"

namespace host {

std::optional<std::wstring> ToWide(std::string_view utf8) {
    std::wstring wide = FromUtf8(utf8);
    // What is no character was replaced by one, and does not come back the same.
    return ToUtf8(Text(wide)) == utf8 ? std::optional(std::move(wide)) : std::nullopt;
}

std::string NumberText(double value) { return fmt::format("{}", value == 0.0 ? 0.0 : value); }

namespace {

// The number that all of the characters are.
template <class Number, class... Base>
std::optional<Number> WholeText(std::string_view text, Base... base) {
    Number value{};
    const char* const end = text.data() + text.size();
    const auto [stop, failure] = std::from_chars(text.data(), end, value, base...);
    if (failure != std::errc() || stop != end) {
        return std::nullopt;
    }
    return value;
}

}  // namespace

std::optional<double> ParseNumber(std::string_view text) {
    if (!text.empty() && text.front() == '#') {
        const auto value = WholeText<std::uint64_t>(text.substr(1), 16);
        return value ? std::optional<double>(static_cast<double>(*value)) : std::nullopt;
    }
    // A plus sign is what people type and std::from_chars does not read; "+-1" is still no number.
    if (text.size() > 1 && text.front() == '+' && text[1] != '-') {
        text.remove_prefix(1);
    }
    const auto value = WholeText<double>(text);
    return value && std::isfinite(*value) ? value : std::nullopt;
}

std::optional<int> ParseInteger(std::string_view text) {
    const auto value = ParseNumber(text);
    if (!value || *value != std::trunc(*value) || *value < INT_MIN || *value > INT_MAX) {
        return std::nullopt;
    }
    return static_cast<int>(*value);
}

std::string CsvField(std::string text) {
    if (text.find_first_of(",\"\r\n") == std::string::npos) {
        return text;
    }
    std::string quoted = "\"";
    for (const char c : text) {
        quoted.append(c == '"' ? 2 : 1, c);
    }
    return quoted + '"';
}

ImagePoint::ImagePoint(const std::string& text) {
    const std::size_t comma = text.find(',');
    const std::string_view view = text;
    const auto parsedX = ParseNumber(view.substr(0, comma));
    const auto parsedY = comma == std::string::npos ? std::nullopt : ParseNumber(view.substr(comma + 1));
    if (!parsedX || !parsedY) {
        throw UsageError("not a point", text, "write X,Y in pixels, as in 12.5,40");
    }
    x = *parsedX;
    y = *parsedY;
}

namespace {

char Lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

// The edit distance in half steps: an insertion, a removal or another letter is 2, another case is 1.
std::size_t Distance(std::string_view a, std::string_view b) {
    std::vector<std::size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    std::for_each(row.begin(), row.end(), [](std::size_t& cost) { cost *= 2; });
    for (std::size_t i = 0; i < a.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = 2 * (i + 1);
        for (std::size_t j = 0; j < b.size(); ++j) {
            const std::size_t replacing = a[i] == b[j] ? 0 : Lower(a[i]) == Lower(b[j]) ? 1 : 2;
            const std::size_t cost = std::min({diagonal + replacing, row[j] + 2, row[j + 1] + 2});
            diagonal = std::exchange(row[j + 1], cost);
        }
    }
    return row.back();
}

}  // namespace

std::string NearestName(std::string_view name, const std::vector<std::string>& known) {
    std::string nearest;
    std::size_t least = SIZE_MAX;
    for (const std::string& candidate : known) {
        const std::size_t distance = Distance(name, candidate);
        if (distance < least) {
            least = distance;
            nearest = candidate;
        }
    }
    return nearest;
}

Error UnknownName(std::string_view kind, std::string_view name, const std::vector<std::string>& known,
                  ErrorKind errorKind) {
    const std::string nearest = NearestName(name, known);
    return {fmt::format("unknown {}", kind), name, nearest.empty() ? "there are none" : "the nearest is " + nearest,
            errorKind};
}

}  // namespace host
