#include "host/images/codecs/StoredPng.h"

#include <isa-l/crc.h>
#include <isa-l/igzip_lib.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <optional>
#include <span>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace host {

namespace {

using Bytes = std::span<const unsigned char>;

// Larger files are read row by row, in memory that does not grow with them.
constexpr std::size_t kMostBytes = std::size_t{16} << 20;
constexpr std::size_t kSignature = 8;
constexpr std::size_t kAroundData = 12;  // Of a chunk: its length and type before its data, its check sum behind it.

std::uint32_t NumberAt(Bytes bytes, std::size_t at) noexcept {
    return std::uint32_t{bytes[at]} << 24 | std::uint32_t{bytes[at + 1]} << 16 | std::uint32_t{bytes[at + 2]} << 8 |
           bytes[at + 3];
}

unsigned char* PutNumber(std::size_t number, unsigned char* to) noexcept {
    for (const int shift : {24, 16, 8, 0}) {
        *to++ = static_cast<unsigned char>(number >> shift);
    }
    return to;
}

FileBytes ReadAll(std::FILE* file) {
    if (std::fseek(file, 0, SEEK_END) != 0) {
        return {};
    }
    const long size = std::ftell(file);
    std::rewind(file);
    if (size <= 0 || static_cast<std::size_t>(size) > kMostBytes) {
        return {};
    }
    FileBytes whole{std::make_unique_for_overwrite<unsigned char[]>(static_cast<std::size_t>(size)), 0};
    whole.size = std::fread(whole.bytes.get(), 1, static_cast<std::size_t>(size), file);
    return whole;
}

struct Chunk {
    std::string_view type;
    Bytes whole;
    Bytes data;
};

// The chunk that begins at a place; nothing when it is cut short or its check sum differs.
std::optional<Chunk> ChunkAt(Bytes file, std::size_t at) noexcept {
    if (file.size() - at < kAroundData || NumberAt(file, at) > file.size() - at - kAroundData) {
        return std::nullopt;
    }
    const std::size_t length = NumberAt(file, at);
    const Bytes checked = file.subspan(at + 4, 4 + length);
    if (crc32_gzip_refl(0, checked.data(), checked.size()) != NumberAt(file, at + 8 + length)) {
        return std::nullopt;
    }
    return Chunk{
        {reinterpret_cast<const char*>(checked.data()), 4}, file.subspan(at, kAroundData + length), checked.subspan(4)};
}

// How the rows of an image lie when they are inflated: each its filter, then its bytes.
struct Rows {
    std::size_t count = 0;
    std::size_t length = 0;  // with the filter
    std::size_t pixel = 0;   // a pixel's bytes, or 1

    std::size_t Size() const noexcept { return count * length; }
};

// Empty when they do not simply follow one another, or are too large.
Rows RowsOf(const Chunk& header) noexcept {
    constexpr int kChannels[] = {1, 0, 3, 1, 2, 0, 4};  // by the type of colour
    constexpr std::size_t kHeader = 13;
    if (header.type != "IHDR" || header.data.size() != kHeader || header.data[9] >= std::size(kChannels) ||
        header.data[12] != 0) {
        return {};
    }
    const unsigned bitsOfPixel = header.data[8] * static_cast<unsigned>(kChannels[header.data[9]]);
    const std::uint64_t bits = std::uint64_t{NumberAt(header.data, 0)} * bitsOfPixel;
    const std::uint64_t count = NumberAt(header.data, 4);
    const std::uint64_t length = (bits + 7) / 8 + 1;
    const bool isSound = bits > 0 && count > 0 && length <= kMostBytes / count;
    return isSound ? Rows{count, length, std::max(bitsOfPixel / 8, 1U)} : Rows{};
}

// What lies before and behind the data of the image, and those.
struct Parts {
    Bytes before;
    Bytes data;
    Bytes behind;
    Rows rows;
};

// Moves the data of the image together. Nothing when they do not lie in chunks one behind the other, all of them and
// all other chunks sound.
std::optional<Parts> PartsOf(FileBytes& file) noexcept {
    const Bytes whole(file.bytes.get(), file.size);
    const std::optional<Chunk> header = whole.size() > kSignature ? ChunkAt(whole, kSignature) : std::nullopt;
    Parts parts;
    parts.rows = header ? RowsOf(*header) : Rows{};
    if (parts.rows.count == 0) {
        return std::nullopt;
    }
    for (std::size_t at = kSignature; at < whole.size();) {
        const std::optional<Chunk> chunk = ChunkAt(whole, at);
        const bool isData = chunk && chunk->type == "IDAT";
        if (!chunk || (isData && !parts.data.empty() && at != whole.size() - parts.behind.size())) {
            return std::nullopt;
        }
        if (isData && parts.data.empty()) {
            parts.before = whole.first(at);
            parts.data = chunk->data.first(0);
        }
        at += chunk->whole.size();
        if (isData) {
            unsigned char* const end = file.bytes.get() + (parts.data.data() - whole.data()) + parts.data.size();
            std::copy(chunk->data.begin(), chunk->data.end(), end);
            parts.data = {parts.data.data(), parts.data.size() + chunk->data.size()};
            parts.behind = whole.subspan(at);
        }
    }
    return parts.data.empty() ? std::nullopt : std::optional(parts);
}

// Whether the data are those of so many bytes and of no more.
bool Inflate(Bytes data, unsigned char* rows, std::size_t size) {
    const auto state = std::make_unique_for_overwrite<inflate_state>();
    isal_inflate_init(state.get());
    state->crc_flag = ISAL_ZLIB;
    state->next_in = const_cast<unsigned char*>(data.data());
    state->avail_in = static_cast<std::uint32_t>(data.size());
    state->next_out = rows;
    state->avail_out = static_cast<std::uint32_t>(size);
    return isal_inflate(state.get()) == ISAL_DECOMP_OK && state->block_state == ISAL_BLOCK_FINISH &&
           state->avail_in == 0 && state->avail_out == 0;
}

// What the filters add to a byte, by the bytes of the pixels to its left, above it, and above to its left.
int Left(int left, int /*above*/, int /*corner*/) noexcept { return left; }
int Above(int /*left*/, int above, int /*corner*/) noexcept { return above; }
int Mean(int left, int above, int /*corner*/) noexcept { return (left + above) / 2; }
// Whichever is nearest to what a plane through the three would be.
int Nearest(int left, int above, int corner) noexcept {
    const int toLeft = std::abs(above - corner);
    const int toAbove = std::abs(left - corner);
    const int toCorner = std::abs(left + above - 2 * corner);
    if (toLeft <= toAbove && toLeft <= toCorner) {
        return left;
    }
    return toAbove <= toCorner ? above : corner;
}

template <auto kAdd, class Pixel>
void AddTo(unsigned char* row, const unsigned char* above, std::size_t length, Pixel pixel) noexcept {
    const auto grow = [&](std::size_t at, int left, int corner) {
        row[at] = static_cast<unsigned char>(row[at] + kAdd(left, above[at], corner));
    };
    for (std::size_t i = 0; i < std::min<std::size_t>(pixel, length); ++i) {
        grow(i, 0, 0);
    }
    for (std::size_t i = pixel; i < length; ++i) {
        grow(i, row[i - pixel], above[i - pixel]);
    }
}

// Of most images the pixels are bytes: then `pixel` is a constant.
template <auto kAdd>
void Undo(unsigned char* row, const unsigned char* above, std::size_t length, std::size_t pixel) noexcept {
    pixel == 1 ? AddTo<kAdd>(row, above, length, std::integral_constant<std::size_t, 1>())
               : AddTo<kAdd>(row, above, length, pixel);
}

void Keep(unsigned char* /*row*/, const unsigned char* /*above*/, std::size_t /*length*/,
          std::size_t /*pixel*/) noexcept {}

// Undoes the filters of all rows, of which libpng's loops for bytes are slow ones; false for a filter that there is
// not.
bool Unfilter(unsigned char* rows, const Rows& shape) {
    constexpr decltype(&Keep) kFilters[] = {Keep, Undo<Left>, Undo<Above>, Undo<Mean>, Undo<Nearest>};
    const std::vector<unsigned char> nothing(shape.length);
    const unsigned char* above = nothing.data();
    for (std::size_t i = 0; i < shape.count; ++i) {
        unsigned char* const row = rows + i * shape.length + 1;
        const std::size_t filter = std::exchange(row[-1], static_cast<unsigned char>(0));
        if (filter >= std::size(kFilters)) {
            return false;
        }
        kFilters[filter](row, above, shape.length - 1, shape.pixel);
        above = row;
    }
    return true;
}

}  // namespace

FileBytes StoredPng(std::FILE* file) {
    FileBytes whole = ReadAll(file);
    const std::optional<Parts> parts = PartsOf(whole);
    if (!parts) {
        return {};
    }
    // One chunk with a stream of blocks that are stored.
    constexpr std::size_t kMostInBlock = 65535;
    constexpr std::size_t kBlockHeader = 5;
    constexpr std::size_t kAroundStream = 6;  // Its header and its check sum.
    const std::size_t inflated = parts->rows.Size();
    const std::size_t blocks = (inflated + kMostInBlock - 1) / kMostInBlock;
    const std::size_t stream = kAroundStream + blocks * kBlockHeader + inflated;
    const std::size_t size = parts->before.size() + kAroundData + stream + parts->behind.size();
    FileBytes stored{std::make_unique_for_overwrite<unsigned char[]>(size), size};
    unsigned char* to = std::copy(parts->before.begin(), parts->before.end(), stored.bytes.get());
    to = PutNumber(stream, to);
    for (const unsigned char byte : {'I', 'D', 'A', 'T', '\x78', '\x01'}) {
        *to++ = byte;
    }
    // Inflated at the end of their place, from where the blocks move up, each behind its header.
    unsigned char* rows = to + blocks * kBlockHeader;
    if (!Inflate(parts->data, rows, inflated) || !Unfilter(rows, parts->rows)) {
        return {};
    }
    for (std::size_t left = inflated; left > 0;) {
        const std::size_t length = std::min(left, kMostInBlock);
        left -= length;
        const unsigned char header[kBlockHeader] = {
            static_cast<unsigned char>(left == 0 ? 1 : 0), static_cast<unsigned char>(length),
            static_cast<unsigned char>(length >> 8), static_cast<unsigned char>(~length),
            static_cast<unsigned char>(~length >> 8)};
        to = std::copy(std::begin(header), std::end(header), to);
        to = std::copy(rows, rows + length, to);
        rows += length;
    }
    to = PutNumber(0, PutNumber(0, to));  // The check sums of the stream and of the chunk.
    std::copy(parts->behind.begin(), parts->behind.end(), to);
    return stored;
}

}  // namespace host
