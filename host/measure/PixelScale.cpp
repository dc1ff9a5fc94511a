#include "host/measure/PixelScale.h"

#include <cmath>
#include <optional>
#include <string_view>

#include "host/base/Text.h"

namespace host {

namespace {

// A length above 0.
std::optional<double> LengthOf(std::string_view text) {
    const std::optional<double> length = ParseNumber(text);
    return length && *length > 0.0 ? length : std::nullopt;
}

}  // namespace

PixelScale::PixelScale(const std::string& text) {
    if (text == unit) {
        return;
    }
    const std::string_view view = text;
    const std::size_t word = view.find_last_of("0123456789.") + 1;
    const std::string_view numbers = view.substr(0, word);
    const std::size_t cross = numbers.find('x');
    const auto columns = LengthOf(numbers.substr(0, cross));
    const auto rows = cross == numbers.npos ? columns : LengthOf(numbers.substr(cross + 1));
    if (!columns || !rows || word == view.size() || view[word] == 'x') {
        throw UsageError("not the size of a pixel", text, "write a length and its unit, as in 0.65um or 0.65x0.70um");
    }
    x = *columns;
    y = *rows;
    unit = view.substr(word);
}

PixelScale::PixelScale(const PageInfo& page) {
    constexpr double kMicrons = 1e6;
    if (page.pitch && std::isnormal(page.pitch->x) && std::isnormal(page.pitch->y)) {
        x = kMicrons * page.pitch->x;
        y = kMicrons * page.pitch->y;
        unit = "um";
    }
}

}  // namespace host
