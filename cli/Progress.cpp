#include "cli/Progress.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <string>

#include "cli/Talk.h"

namespace host::cli {

namespace {

constexpr std::chrono::milliseconds kBetweenDrawings{100};

std::string Bar(double part) {
    constexpr int kLength = 24;
    const int full = static_cast<int>(kLength * part);
    return fmt::format("[{:=<{}}{:{}}] ", "", full, "", kLength - full);
}

std::string TimeText(double seconds) {
    const auto whole = static_cast<long long>(std::ceil(seconds));
    return whole >= 3600 ? fmt::format("{}:{:02}:{:02}", whole / 3600, whole / 60 % 60, whole % 60)
                         : fmt::format("{}:{:02}", whole / 60, whole % 60);
}

}  // namespace

void Progress::Advance() {
    ++m_done;
    const Clock::time_point now = Clock::now();
    if (!m_shown || (m_drawn && now - *m_drawn < kBetweenDrawings)) {
        return;
    }
    m_drawn = now;
    const auto done = static_cast<double>(m_done);
    const double rate = done / std::chrono::duration<double>(now - m_start).count();
    std::string line = fmt::format("{} images  {:.1f}/s", m_done, rate);
    if (m_total) {
        const auto total = static_cast<double>(*m_total);
        line = fmt::format("{}{}/{} images  {:.1f}/s  {} left", Bar(std::min(done / total, 1.0)), m_done, *m_total,
                           rate, TimeText(std::max(total - done, 0.0) / rate));
    }
    Say("\r\x1B[K" + line);
}

void Progress::Hide() {
    if (m_drawn) {
        Say("\r\x1B[K");
        m_drawn.reset();
    }
}

}  // namespace host::cli
