// PBM, PGM and PPM files as libvips reads them right: raw ones without comments. In plain files it takes whatever is
// missing, or no number, for 0 and bits that nothing parts for one number; comments it takes for numbers, or for
// pixels; and what a raw file of bits lacks it makes up.
#pragma once

#include <vips/vips.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

namespace host {

/// A file, rewritten row by row as the library asks for it.
class PnmSource {
  public:
    /// Reads the header of a seekable file that outlives the source. Throws std::runtime_error for one that says
    /// nothing of use.
    explicit PnmSource(std::FILE* file);
    PnmSource(const PnmSource&) = delete;
    PnmSource& operator=(const PnmSource&) = delete;
    ~PnmSource() { g_object_unref(m_source); }

    /// What the library reads; nothing may read from it once this is gone.
    VipsSource* Source() const noexcept { return VIPS_SOURCE(m_source); }
    /// The bits that the largest value takes.
    int Bits() const noexcept;
    /// By how many bits the library moves values up.
    int Shift() const noexcept { return m_isBits ? 7 : 0; }
    /// Of the rows that were asked for, those of which everything was there; what stands for the others means nothing.
    int WholeRows() const noexcept { return m_wholeRows; }
    /// What was wrong in the file first; empty as long as nothing was.
    const char* Fault() const noexcept { return m_fault; }

  private:
    static gint64 Read(VipsSourceCustom* source, void* to, gint64 most, void* self) noexcept;

    int Get() noexcept;
    int Next() noexcept;
    std::uint32_t Number() noexcept;
    bool PrepareRow() noexcept;
    void ReadBits() noexcept;
    void ReadNumbers() noexcept;
    void ReadRaw() noexcept;
    std::uint32_t At(std::size_t i) const noexcept;
    void Put(std::size_t i, std::uint32_t value) noexcept;
    void Note(const char* fault) noexcept;
    void Stop(int c) noexcept;

    std::FILE* m_file;
    VipsSourceCustom* m_source = nullptr;
    bool m_isPlain = false;
    bool m_isBits = false;
    std::uint32_t m_largest = 1;
    std::size_t m_valueBytes = 1;
    std::size_t m_values = 0;  // of a row
    std::uint32_t m_rowsLeft = 0;
    int m_wholeRows = 0;
    bool m_isCut = false;
    const char* m_fault = "";
    std::string m_ready;      // The header, or a row behind it,
    std::size_t m_given = 0;  // and how much of it the library has.
};

}  // namespace host
