// A line on standard error that tells how far a batch is, for people who wait in front of a terminal.
#pragma once

#include <chrono>
#include <cstddef>
#include <optional>

namespace host::cli {

class Progress {
  public:
    /// Shown or not; `total` images, where that is known.
    Progress(bool shown, std::optional<std::size_t> total) : m_shown(shown), m_total(total) {}
    ~Progress() { Hide(); }
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// One more image is done.
    void Advance();
    /// Takes the line away, until the next image is done, for something else to be said.
    void Hide();

  private:
    using Clock = std::chrono::steady_clock;

    bool m_shown;
    std::optional<std::size_t> m_total;
    std::size_t m_done = 0;
    Clock::time_point m_start = Clock::now();
    std::optional<Clock::time_point> m_drawn;
};

}  // namespace host::cli
