// The readers and writers of this module, and what the C libraries below them have in common: they speak through
// callbacks and leave by longjmp. No exception passes through their frames.
#pragma once

#include <csetjmp>
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <memory>
#include <span>
#include <string>

#include "host/images/FileReader.h"

namespace host {

std::unique_ptr<FileReader> OpenPng(std::FILE* file);
std::unique_ptr<FileReader> OpenJpeg(std::FILE* file);
std::unique_ptr<FileReader> OpenTiff(std::FILE* file);

void WritePng(std::FILE* file, const RasterView& image);
void WriteJpeg(std::FILE* file, const RasterView& image);
void WriteTiff(std::FILE* file, const RasterView& image);

/// The first thing that a library has to say against a file.
class Fault {
  public:
    void Note(const char* text) noexcept { Format("%s", text); }
    [[gnu::format(printf, 2, 0)]] void Note(const char* format, std::va_list arguments) noexcept {
        if (m_text[0] == '\0') {
            std::vsnprintf(m_text, sizeof m_text, format, arguments);
        }
    }
    bool IsNoted() const noexcept { return m_text[0] != '\0'; }
    std::string Text() const { return m_text; }

  private:
    [[gnu::format(printf, 2, 3)]] void Format(const char* format, ...) noexcept {
        std::va_list arguments;
        va_start(arguments, format);
        Note(format, arguments);
        va_end(arguments);
    }

    char m_text[256] = "";
};

/// Calls a body that may leave by longjmp to `exit`; whether it came to its end. Nothing in the body may need a
/// destructor.
template <class Body>
bool Completes(std::jmp_buf& exit, const Body& body) {
    if (setjmp(exit) != 0) {
        return false;
    }
    body();
    return true;
}

/// The warning for an orientation tag; empty for one that changes nothing.
std::string OrientationWarning(unsigned orientation);
/// The orientation that a block of Exif data names, from its TIFF header on; 1 when it names none.
unsigned ExifOrientation(std::span<const unsigned char> exif) noexcept;

}  // namespace host
