#include "workbench/PagePixels.h"

#include <fcntl.h>
#include <sys/mman.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <stdexcept>
#include <system_error>
#include <type_traits>

#include "host/base/Descriptor.h"

namespace host::workbench {

namespace {

// What may lie in memory; more goes to a file, which the system writes out and drops from memory as it sees fit.
constexpr std::size_t kMostMemory = std::size_t{256} << 20;

std::byte* Mapped(std::size_t bytes) {
    const auto check = [](bool good, int code) {
        if (!good) {
            throw std::runtime_error("no room for its pixels: " + std::generic_category().message(code));
        }
    };
    Descriptor file(-1);
    if (bytes > kMostMemory) {
        const std::filesystem::path folder = std::filesystem::temp_directory_path();
        file = Descriptor(open(folder.c_str(), O_RDWR | O_TMPFILE | O_CLOEXEC, 0600));
        check(file.Number() >= 0, errno);
        // A page of a file that the disk has no room for would end the program when it is touched.
        const int failure = posix_fallocate(file.Number(), 0, static_cast<off_t>(bytes));
        check(failure == 0, failure);
    }
    const bool inFile = file.Number() >= 0;
    void* const data = mmap(nullptr, std::max<std::size_t>(bytes, 1), PROT_READ | PROT_WRITE,
                            inFile ? MAP_SHARED : MAP_PRIVATE | MAP_ANONYMOUS, file.Number(), 0);
    check(data != MAP_FAILED, errno);
    return static_cast<std::byte*>(data);
}

// The mean of four values, rounded.
template <class Value>
Value Mean(Value a, Value b, Value c, Value d) noexcept {
    if constexpr (std::is_integral_v<Value> && sizeof(Value) < 8) {
        using Sum = std::conditional_t<sizeof(Value) < 4, std::int32_t, std::int64_t>;
        return static_cast<Value>((Sum{a} + Sum{b} + Sum{c} + Sum{d} + 2) / 4);
    } else {
        return static_cast<Value>(
            (static_cast<double>(a) + static_cast<double>(b) + static_cast<double>(c) + static_cast<double>(d)) / 4.0);
    }
}

// One row of a copy out of the two below it, which may be the last one alone. With the number of channels known, where
// it is not 0, the compiler takes several values at a time.
template <int kChannels, class Value>
void ReduceRow(const Value* upper, const Value* lower, int width, int channels, Value* to) noexcept {
    const int step = kChannels > 0 ? kChannels : channels;
    for (int x = 0; x < width / 2; ++x) {
        for (int channel = 0; channel < step; ++channel) {
            const int at = 2 * x * step + channel;
            to[x * step + channel] = Mean(upper[at], upper[at + step], lower[at], lower[at + step]);
        }
    }
    for (int channel = 0; width % 2 == 1 && channel < step; ++channel) {
        const int at = (width - 1) * step + channel;
        to[width / 2 * step + channel] = Mean(upper[at], upper[at], lower[at], lower[at]);
    }
}

}  // namespace

PagePixels::PagePixels(const PageInfo& page) : m_channels(page.channels), m_depth(page.depth) {
    for (PixelSize size = page.size;; size = {(size.width + 1) / 2, (size.height + 1) / 2}) {
        m_levels.push_back({size, m_bytes, nullptr});
        m_bytes += RowBytes(size) * static_cast<std::size_t>(size.height);
        m_bytes += (8 - m_bytes % 8) % 8;
        if (std::max(size.width, size.height) <= kTileSide) {
            break;
        }
    }
    // A band has whole rows of every copy.
    m_bandHeight = std::max(kTileSide, 1 << (m_levels.size() - 1));
    m_bands = (page.size.height + m_bandHeight - 1) / m_bandHeight;
    for (Copy& copy : m_levels) {
        copy.rows = std::make_unique<std::atomic<int>[]>(static_cast<std::size_t>(m_bands));
    }
    m_data = Mapped(m_bytes);
}

PagePixels::~PagePixels() { munmap(m_data, std::max<std::size_t>(m_bytes, 1)); }

std::size_t PagePixels::RowBytes(const PixelSize& size) const noexcept {
    return static_cast<std::size_t>(size.width) * static_cast<std::size_t>(m_channels) * BytesOf(m_depth);
}

std::byte* PagePixels::RowAt(const Copy& copy, int row) const noexcept {
    return m_data + copy.offset + RowBytes(copy.size) * static_cast<std::size_t>(row);
}

int PagePixels::HeightOf(std::size_t level, int band) const noexcept {
    return std::min(TopOf(level, band + 1), m_levels[level].size.height) - TopOf(level, band);
}

RasterView PagePixels::Level(int level) const noexcept {
    const Copy& copy = m_levels[static_cast<std::size_t>(level)];
    const auto value = static_cast<std::ptrdiff_t>(BytesOf(m_depth));
    return {m_data + copy.offset,
            copy.size,
            m_channels,
            m_depth,
            value,
            value * m_channels,
            static_cast<std::ptrdiff_t>(RowBytes(copy.size))};
}

bool PagePixels::IsThere(int level, int row) const noexcept {
    const auto at = static_cast<std::size_t>(level);
    const int band = BandOf(level, row);
    return row - TopOf(at, band) < m_levels[at].rows[static_cast<std::size_t>(band)];
}

bool PagePixels::IsWhole(int band) const noexcept {
    return m_levels.front().rows[static_cast<std::size_t>(band)] == HeightOf(0, band);
}

std::byte* PagePixels::NextRow(int band) noexcept {
    const Copy& whole = m_levels.front();
    return RowAt(whole, TopOf(band) + whole.rows[static_cast<std::size_t>(band)]);
}

void PagePixels::RowIsThere(int band) {
    const auto at = static_cast<std::size_t>(band);
    ++m_levels.front().rows[at];
    ++m_rows;
    for (std::size_t level = 0; level + 1 < m_levels.size(); ++level) {
        const int rows = m_levels[level].rows[at];
        if (rows % 2 == 1 && rows < HeightOf(level, band)) {
            return;
        }
        Reduce(level, band);
    }
}

// Makes the next row of a band of the copy after `from`, of its last two rows.
void PagePixels::Reduce(std::size_t from, int band) {
    const Copy& copy = m_levels[from + 1];
    std::atomic<int>& rows = copy.rows[static_cast<std::size_t>(band)];
    const RasterView source = Level(static_cast<int>(from));
    const int row = TopOf(from + 1, band) + rows;
    const int lower = std::min(2 * row + 1, source.size.height - 1);
    InType(m_depth, [&](auto* type) {
        using Value = std::remove_pointer_t<decltype(type)>;
        const auto reduce = m_channels == 1   ? ReduceRow<1, Value>
                            : m_channels == 3 ? ReduceRow<3, Value>
                            : m_channels == 4 ? ReduceRow<4, Value>
                                              : ReduceRow<0, Value>;
        reduce(source.Row<Value>(2 * row), source.Row<Value>(lower), source.size.width, m_channels,
               reinterpret_cast<Value*>(RowAt(copy, row)));
    });
    ++rows;
}

}  // namespace host::workbench
