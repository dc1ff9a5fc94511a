// PBM, PGM and PPM, plain and raw. libvips takes whatever is missing, or no number, for 0, bits that nothing parts for
// one number, and a comment right behind a number for more of them.
#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <vector>

#include "host/images/codecs/Codecs.h"

namespace host {

namespace {

constexpr bool IsBlank(int c) noexcept { return c == ' ' || (c >= '\t' && c <= '\r'); }
constexpr bool IsDigit(int c) noexcept { return c >= '0' && c <= '9'; }

const char* Misplaced(int c) noexcept {
    return c == EOF ? "the file is cut short" : "it has something else where a number belongs";
}

// A bit that is set is black; as values, black is less than white.
constexpr std::uint16_t kBlack = 0;
constexpr std::uint16_t kWhite = 1;

class PnmReader : public FileReader {
  public:
    explicit PnmReader(std::FILE* file) : m_file(file) {}

    PageInfo Turn(int) override;
    bool ReadRow(std::byte* row) override;
    std::string Fault() const override { return m_fault.Text(); }

  private:
    int Get();
    int Next();
    std::uint32_t Number();
    void ReadPlain();
    void ReadRaw();

    std::FILE* m_file;
    host::Fault m_fault;
    bool m_isPlain = false;
    bool m_isBits = false;
    std::uint32_t m_largest = 1;
    std::size_t m_count = 0;  // of the values of a row
    std::vector<std::uint16_t> m_row;
    std::vector<std::uint8_t> m_bytes;  // as a raw file has them
};

PageInfo PnmReader::Turn(int) {
    std::rewind(m_file);
    std::fgetc(m_file);
    const int kind = std::fgetc(m_file) - '0';
    m_isPlain = kind <= 3;
    m_isBits = kind % 3 == 1;
    PageInfo page;
    page.size.width = static_cast<int>(Number());
    page.size.height = static_cast<int>(Number());
    m_largest = m_isBits ? 1 : Number();
    if (m_largest < 1 || m_largest > std::numeric_limits<std::uint16_t>::max()) {
        throw std::runtime_error("its values are of an unknown kind");
    }
    page.depth = m_largest > 255 ? Depth::u16 : Depth::u8;
    page.bits = std::bit_width(m_largest);
    page.channels = kind % 3 == 0 ? 3 : 1;
    page.isColour = page.channels == 3;
    m_count = static_cast<std::size_t>(page.size.width) * static_cast<std::size_t>(page.channels);
    return page;
}

// The next character; a comment is the end of its line.
int PnmReader::Get() {
    int c = getc_unlocked(m_file);
    if (c == '#') {
        while (c != '\n' && c != EOF) {
            c = getc_unlocked(m_file);
        }
    }
    return c;
}

// The next character that is not blank.
int PnmReader::Next() {
    int c = Get();
    while (IsBlank(c)) {
        c = Get();
    }
    return c;
}

// A number and the character behind it.
std::uint32_t PnmReader::Number() {
    constexpr std::uint32_t kMost = std::numeric_limits<int>::max();
    int c = Next();
    if (!IsDigit(c)) {
        throw std::runtime_error(Misplaced(c));
    }
    std::uint64_t number = 0;
    for (; IsDigit(c); c = Get()) {
        number = std::min<std::uint64_t>(10 * number + static_cast<unsigned>(c - '0'), kMost);
    }
    return static_cast<std::uint32_t>(number);
}

bool PnmReader::ReadRow(std::byte* row) {
    m_row.resize(m_count);
    try {
        m_isPlain ? ReadPlain() : ReadRaw();
    } catch (const std::runtime_error& fault) {
        m_fault.Note(fault.what());
        return false;
    }
    if (*std::max_element(m_row.begin(), m_row.end()) > m_largest) {
        m_fault.Note("it has a value above the largest that it names");
    }
    if (m_largest > 255) {
        std::memcpy(row, m_row.data(), m_count * sizeof m_row[0]);
    } else {
        std::transform(m_row.begin(), m_row.end(), row,
                       [](std::uint16_t value) { return static_cast<std::byte>(value); });
    }
    return true;
}

void PnmReader::ReadPlain() {
    for (std::uint16_t& value : m_row) {
        if (!m_isBits) {
            value = static_cast<std::uint16_t>(
                std::min<std::uint32_t>(Number(), std::numeric_limits<std::uint16_t>::max()));
            continue;
        }
        // Nothing needs to part them.
        const int bit = Next();
        if (bit != '0' && bit != '1') {
            throw std::runtime_error(Misplaced(bit));
        }
        value = bit == '1' ? kBlack : kWhite;
    }
}

void PnmReader::ReadRaw() {
    const std::size_t bytes = m_largest > 255 ? 2 : 1;
    m_bytes.resize(m_isBits ? (m_count + 7) / 8 : bytes * m_count);
    if (std::fread(m_bytes.data(), 1, m_bytes.size(), m_file) != m_bytes.size()) {
        throw std::runtime_error(Misplaced(EOF));
    }
    for (std::size_t i = 0; i < m_count; ++i) {
        const int value = m_isBits     ? (m_bytes[i / 8] >> (7 - i % 8) & 1) != 0 ? kBlack : kWhite
                          : bytes == 2 ? m_bytes[2 * i] << 8 | m_bytes[2 * i + 1]
                                       : m_bytes[i];
        m_row[i] = static_cast<std::uint16_t>(value);
    }
}

}  // namespace

std::unique_ptr<FileReader> OpenPnm(std::FILE* file) { return std::make_unique<PnmReader>(file); }

}  // namespace host
