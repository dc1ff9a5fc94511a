// Quiet on standard error while a library decodes what may be broken.
#pragma once

namespace host {

/// Keeps everything that writes to STDERR_FILENO quiet while it lives: decoders have words of their own for broken
/// files. Several may live at once, on any threads.
class Silence {
  public:
    Silence() noexcept;
    ~Silence();
    Silence(const Silence&) = delete;
    Silence& operator=(const Silence&) = delete;
};

/// The file by which standard error can be written whether or not a Silence lives.
int StandardError() noexcept;

}  // namespace host
