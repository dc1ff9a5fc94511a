#include "host/images/vips/PnmSource.h"

#include <algorithm>
#include <bit>
#include <limits>
#include <new>
#include <stdexcept>

namespace host {

namespace {

constexpr bool IsBlank(int c) noexcept { return c == ' ' || (c >= '\t' && c <= '\r'); }
constexpr bool IsDigit(int c) noexcept { return c >= '0' && c <= '9'; }
// Other sizes the library passes over and takes 1 instead.
constexpr bool IsSide(std::uint32_t size) noexcept { return size >= 1 && size <= VIPS_MAX_COORD; }

}  // namespace

PnmSource::PnmSource(std::FILE* file) : m_file(file) {
    std::rewind(m_file);
    std::fgetc(m_file);
    const int kind = std::fgetc(m_file) - '0';
    m_isPlain = kind <= 3;
    m_isBits = kind % 3 == 1;
    const std::uint32_t width = Number();
    const std::uint32_t height = Number();
    m_largest = m_isBits ? 1 : Number();
    if (m_isCut) {
        throw std::runtime_error(m_fault);
    }
    if (m_largest < 1 || m_largest > std::numeric_limits<std::uint16_t>::max()) {
        throw std::runtime_error("its values are of an unknown kind");
    }
    const std::string size = std::to_string(width) + " " + std::to_string(height);
    if (!IsSide(width) || !IsSide(height)) {
        throw std::runtime_error("no image has its size, " + size);
    }
    m_valueBytes = m_largest > 255 ? 2 : 1;
    m_values = std::size_t{width} * (kind % 3 == 0 ? 3 : 1);
    m_rowsLeft = height;
    m_ready = "P" + std::to_string(kind + (m_isPlain ? 3 : 0)) + " " + size +
              (m_isBits ? "" : " " + std::to_string(m_largest)) + "\n";
    m_source = vips_source_custom_new();
    g_signal_connect(m_source, "read", G_CALLBACK(&PnmSource::Read), this);
}

int PnmSource::Bits() const noexcept { return static_cast<int>(std::bit_width(m_largest)); }

// The header comes by itself, so that nothing is read of an image that is too large.
gint64 PnmSource::Read(VipsSourceCustom*, void* to, gint64 most, void* self) noexcept {
    auto& pnm = *static_cast<PnmSource*>(self);
    if (pnm.m_given == pnm.m_ready.size() && !pnm.PrepareRow()) {
        return 0;
    }
    const std::size_t count = std::min(static_cast<std::size_t>(most), pnm.m_ready.size() - pnm.m_given);
    std::copy_n(pnm.m_ready.data() + pnm.m_given, count, static_cast<char*>(to));
    pnm.m_given += count;
    return static_cast<gint64>(count);
}

// False behind the last row.
bool PnmSource::PrepareRow() noexcept {
    if (m_rowsLeft == 0) {
        return false;
    }
    --m_rowsLeft;
    try {
        m_ready.assign(m_isBits ? (m_values + 7) / 8 : m_values * m_valueBytes, '\0');
    } catch (const std::bad_alloc&) {
        Note("out of memory");
        return false;
    }
    m_given = 0;
    if (!m_isCut) {
        m_isPlain ? m_isBits ? ReadBits() : ReadNumbers() : ReadRaw();
        m_wholeRows += m_isCut ? 0 : 1;
    }
    return true;
}

// The next character; a comment is the end of its line.
int PnmSource::Get() noexcept {
    int c = getc_unlocked(m_file);
    if (c == '#') {
        while (c != '\n' && c != EOF) {
            c = getc_unlocked(m_file);
        }
    }
    return c;
}

// The next character that is not blank.
int PnmSource::Next() noexcept {
    int c = Get();
    while (IsBlank(c)) {
        c = Get();
    }
    return c;
}

// A number and the character behind it.
std::uint32_t PnmSource::Number() noexcept {
    constexpr std::uint32_t kMost = std::numeric_limits<int>::max();
    int c = Next();
    if (!IsDigit(c)) {
        Stop(c);
    }
    std::uint64_t number = 0;
    for (; IsDigit(c); c = Get()) {
        number = std::min<std::uint64_t>(10 * number + static_cast<unsigned>(c - '0'), kMost);
    }
    return static_cast<std::uint32_t>(number);
}

// Nothing needs to part bits.
void PnmSource::ReadBits() noexcept {
    for (std::size_t i = 0; i < m_values && !m_isCut; ++i) {
        const int bit = Next();
        if (bit != '0' && bit != '1') {
            Stop(bit);
        }
        m_ready[i / 8] = static_cast<char>(m_ready[i / 8] | (bit & 1) << (7 - i % 8));
    }
}

void PnmSource::ReadNumbers() noexcept {
    for (std::size_t i = 0; i < m_values && !m_isCut; ++i) {
        Put(i, Number());
    }
}

void PnmSource::ReadRaw() noexcept {
    if (std::fread(m_ready.data(), 1, m_ready.size(), m_file) != m_ready.size()) {
        Stop(EOF);
        return;
    }
    for (std::size_t i = 0; i < m_values && !m_isBits; ++i) {
        Put(i, At(i));
    }
}

// Values of two bytes have the higher one first.
std::uint32_t PnmSource::At(std::size_t i) const noexcept {
    const auto byte = [this](std::size_t at) { return std::uint32_t{static_cast<unsigned char>(m_ready[at])}; };
    return m_valueBytes == 1 ? byte(i) : byte(2 * i) << 8 | byte(2 * i + 1);
}

void PnmSource::Put(std::size_t i, std::uint32_t value) noexcept {
    if (value > m_largest) {
        Note("it has a value above the largest that it names");
        value = m_largest;
    }
    if (m_valueBytes == 2) {
        m_ready[2 * i] = static_cast<char>(value >> 8);
    }
    m_ready[m_valueBytes * i + m_valueBytes - 1] = static_cast<char>(value);
}

void PnmSource::Note(const char* fault) noexcept { m_fault = m_fault[0] == '\0' ? fault : m_fault; }

// At a character where a number belongs.
void PnmSource::Stop(int c) noexcept {
    m_isCut = true;
    Note(c == EOF ? "the file is cut short" : "it has something else where a number belongs");
}

}  // namespace host
