#include "host/images/vips/FileHeaders.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <stdexcept>
#include <string_view>

namespace host {

namespace {

using namespace std::string_view_literals;

std::string BytesAt(std::FILE* file, std::int64_t at, std::size_t most) {
    std::string bytes(most, '\0');
    bytes.resize(fseeko(file, at, SEEK_SET) == 0 ? std::fread(bytes.data(), 1, most, file) : 0);
    return bytes;
}

// A number of some bytes, the highest first; 0 beyond the end.
std::uint64_t NumberIn(std::string_view bytes, std::size_t at, std::size_t length) noexcept {
    std::uint64_t number = 0;
    for (std::size_t i = at; i < at + length && at + length <= bytes.size(); ++i) {
        number = number << 8 | static_cast<unsigned char>(bytes[i]);
    }
    return number;
}

// Where the codestream of a JPEG 2000 file begins: in a box of that name, or at once.
std::int64_t CodestreamIn(std::FILE* file) {
    for (std::int64_t at = 0;;) {
        const std::string box = BytesAt(file, at, 16);
        const std::uint64_t name = NumberIn(box, 4, 4);
        const std::uint64_t length = NumberIn(box, 0, 4) == 1 ? NumberIn(box, 8, 8) : NumberIn(box, 0, 4);
        if (box.starts_with("\xFF\x4F"sv)) {
            return at;
        }
        constexpr std::uint64_t kCodestream = 0x6A703263;  // jp2c
        if (name == kCodestream) {
            return at + (NumberIn(box, 0, 4) == 1 ? 16 : 8);
        }
        constexpr std::uint64_t kMost = std::uint64_t{1} << 40;
        if (length < 8 || length > kMost) {
            throw std::runtime_error("it has no codestream");
        }
        at += static_cast<std::int64_t>(length);
    }
}

// Takes what comes before the next NUL off.
std::string_view Taken(std::string_view& rest) noexcept {
    const std::string_view text = rest.substr(0, rest.find('\0'));
    rest.remove_prefix(std::min(rest.size(), text.size() + 1));
    return text;
}

std::uint32_t LittleNumber(std::string_view bytes) noexcept {
    std::uint32_t number = 0;
    for (std::size_t i = std::min<std::size_t>(bytes.size(), 4); i-- > 0;) {
        number = number << 8 | static_cast<unsigned char>(bytes[i]);
    }
    return number;
}

std::string_view Without(std::string_view bytes, std::size_t count) noexcept {
    return bytes.substr(std::min(bytes.size(), count));
}

// The list of channels in the header of an OpenEXR file.
std::string_view ChannelsIn(std::string_view header) {
    for (std::string_view rest = Without(header, 8); !rest.empty() && rest.front() != '\0';) {
        const std::string_view name = Taken(rest);
        Taken(rest);
        const std::uint32_t size = LittleNumber(rest);
        rest = Without(rest, 4);
        if (name == "channels") {
            return rest.substr(0, size);
        }
        rest = Without(rest, size);
    }
    throw std::runtime_error("it names no channels");
}

}  // namespace

int ShiftOf(std::FILE* file) {
    constexpr std::size_t kSize = 43;  // Up to the bits of the first component.
    const std::string start = BytesAt(file, CodestreamIn(file), kSize);
    if (start.size() < kSize || !start.starts_with("\xFF\x4F\xFF\x51"sv)) {
        throw std::runtime_error("it has no codestream");
    }
    if (NumberIn(start, 16, 8) != 0) {
        throw std::runtime_error("its first pixel is not at the origin of its grid");
    }
    const int bits = static_cast<int>(NumberIn(start, 42, 1) & 0x7F) + 1;
    return bits > 16 ? std::max(32 - bits, 0) : -bits & 7;
}

std::vector<std::string> LossesOf(std::FILE* file) {
    constexpr std::size_t kMostHeader = std::size_t{1} << 20;
    constexpr std::array<std::string_view, 5> kKnown = {"R", "G", "B", "A", "Y"};
    enum Type : std::uint32_t { whole, half };
    const std::string header = BytesAt(file, 0, kMostHeader);
    std::string others;
    int colours = 0;
    bool isGrey = false;
    bool isRounded = false;
    for (std::string_view rest = ChannelsIn(header); !rest.empty() && rest.front() != '\0';) {
        const std::string_view name = Taken(rest);
        const std::uint32_t type = LittleNumber(rest);
        rest = Without(rest, 16);
        if (std::find(kKnown.begin(), kKnown.end(), name) == kKnown.end()) {
            others += (others.empty() ? "" : ", ") + std::string(name);
            continue;
        }
        if (type == whole) {
            throw std::runtime_error("its values are of an unknown kind");
        }
        isGrey = isGrey || name == "Y";
        colours += name == "Y" || name == "A" ? 0 : 1;
        isRounded = isRounded || type != half;
    }
    if (!isGrey && colours < 3) {
        throw std::runtime_error("it has neither colours (channels R, G and B) nor grey (Y)");
    }
    std::vector<std::string> losses;
    if (isRounded) {
        losses.emplace_back("its values are rounded to 16 bits; those above 65504 are lost");
    }
    if (!others.empty()) {
        losses.push_back("its channels " + others + " are not read");
    }
    return losses;
}

}  // namespace host
