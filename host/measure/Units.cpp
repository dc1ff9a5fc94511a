#include "host/measure/Units.h"

#include <algorithm>
#include <cmath>

namespace host {

namespace {

// Where the number at the start of a text ends.
std::size_t EndOfNumber(std::string_view text) noexcept {
    return std::min(text.find_first_not_of("0123456789.+-"), text.size());
}

}  // namespace

PixelScale::PixelScale(const std::string& text) {
    const auto fail = [&] {
        return UsageError("not a pixel size", text, "write a size with its unit, as in 0.65um or 0.65x0.70um");
    };
    std::string_view rest = text;
    const auto take = [&] {
        const std::size_t end = EndOfNumber(rest);
        const auto number = ParseNumber(rest.substr(0, end));
        if (!number || !(*number > 0.0)) {
            throw fail();
        }
        rest.remove_prefix(end);
        return *number;
    };
    width = take();
    height = width;
    if (rest.size() > 1 && rest.front() == 'x' && EndOfNumber(rest.substr(1)) > 0) {
        rest.remove_prefix(1);
        height = take();
    }
    unit = std::string(rest);
    if (unit.empty() || unit.find_first_of(" \t,;\"0123456789") != std::string::npos || !ToWide(unit)) {
        throw fail();
    }
}

double PixelScale::LengthOf(double x, double y) const noexcept { return std::hypot(x * width, y * height); }

}  // namespace host
