#include "host/sets/History.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string_view>
#include <unordered_set>
#include <utility>

#include "host/sets/ArchiveDifference.h"

namespace host {

namespace {

using nlohmann::json;

constexpr const char* kLog = "log.json";
constexpr const char* kAbsent = "absent";  // Paths, each with a NUL behind it.
constexpr const char* kBlocks = "blocks/";
constexpr std::size_t kLongestLog = std::size_t{1} << 16;
// With room for the log and for what an archive adds.
constexpr std::size_t kLongestBlock = 2 * History::kMostBytes;

// In UTC, which takes no file of time zones, as the C library's calendar would.
std::string Now() {
    using namespace std::chrono;
    const auto now = floor<seconds>(system_clock::now());
    const auto midnight = floor<days>(now);
    const year_month_day date(midnight);
    const hh_mm_ss time(now - midnight);
    return fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}Z", static_cast<int>(date.year()),
                       static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()), time.hours().count(),
                       time.minutes().count(), time.seconds().count());
}

// At most as many bytes, and no character in part.
std::string Shortened(const std::string& text) {
    constexpr std::size_t kMost = 200;
    std::size_t end = kMost;
    while (end > 0 && end < text.size() && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) {
        --end;
    }
    return text.size() <= kMost ? text : text.substr(0, end) + "...";
}

FolderArchive::Block BlockOf(const std::string& bytes) { return {bytes.begin(), bytes.end()}; }

std::string_view BytesOf(const FolderArchive::Block& block) {
    return {reinterpret_cast<const char*>(block.data()), block.size()};
}

const FolderArchive::Block& Part(const FolderArchive& archive, const std::string& path) {
    const FolderArchive::Block* const block = archive.Find(path);
    if (block == nullptr) {
        throw std::runtime_error("its history is damaged");
    }
    return *block;
}

json LogOf(const FolderArchive& parts) {
    const FolderArchive::Block& block = Part(parts, kLog);
    if (block.size() > kLongestLog) {
        throw std::runtime_error("its history is damaged");
    }
    return json::parse(block);
}

// What makes `there` of `here`.
FolderArchive::Block Difference(const FolderArchive& here, const FolderArchive& there) {
    FolderArchive difference;
    std::string absent;
    ForEachDifference(here, there, [&](const std::string& path, const FolderArchive::Block* block) {
        if (path == kHistoryBlock) {
            return;
        }
        if (block != nullptr) {
            difference.Put(kBlocks + path, *block);
        } else {
            absent.append(path).push_back('\0');
        }
    });
    if (absent.empty() && difference.Blocks().empty()) {
        return {};
    }
    difference.Put(kAbsent, BlockOf(absent));
    return BlockOf(difference.ToBytes());
}

std::shared_ptr<const FolderArchive::Block> Shared(FolderArchive::Block block) {
    return std::make_shared<const FolderArchive::Block>(std::move(block));
}

bool AreSame(const History::Change& one, const History::Change& other) {
    return one.what == other.what && one.when == other.when && *one.otherSide == *other.otherSide;
}

FolderArchive Applied(const FolderArchive::Block& difference, const FolderArchive& set) {
    const FolderArchive changed = FolderArchive::FromBytes(BytesOf(difference));
    const std::string_view prefix = kBlocks;
    FolderArchive result;
    std::unordered_set<std::string_view> absent;
    for (std::string_view rest = BytesOf(Part(changed, kAbsent)); !rest.empty();) {
        const std::size_t end = std::min(rest.find('\0'), rest.size() - 1);
        absent.insert(rest.substr(0, end));
        rest.remove_prefix(end + 1);
    }
    for (const auto& [path, block] : set.Blocks()) {
        if (path != kHistoryBlock && !absent.contains(path)) {
            result.Put(path, block);
        }
    }
    for (const auto& [path, block] : changed.Blocks()) {
        if (path.starts_with(prefix)) {
            result.Put(path.substr(prefix.size()), block);
        }
    }
    return result;
}

}  // namespace

History::History(const FolderArchive& set) {
    const FolderArchive::Block* const block = set.Find(kHistoryBlock);
    if (block == nullptr) {
        return;
    }
    if (block->size() > kLongestBlock) {
        throw std::runtime_error("its history is damaged");
    }
    const FolderArchive parts = FolderArchive::FromBytes(BytesOf(*block));
    const json log = LogOf(parts);
    for (const json& entry : log.at("changes")) {
        m_changes.push_back(
            {entry.at("what"), entry.at("when"), Shared(Part(parts, std::to_string(m_changes.size())))});
    }
    m_done = log.at("done");
    if (m_done > m_changes.size()) {
        throw std::runtime_error("its history is damaged");
    }
}

bool History::Record(const std::string& what, const FolderArchive& before, const FolderArchive& after) {
    FolderArchive::Block difference = Difference(after, before);
    if (difference.empty()) {
        return true;
    }
    m_changes.resize(m_done);
    m_changes.push_back({Shortened(what), Now(), Shared(std::move(difference))});
    m_done = m_changes.size();
    return m_changes.back().otherSide->size() <= kMostBytes;
}

FolderArchive History::Undo(const FolderArchive& set) {
    Change& change = m_changes[m_done - 1];
    FolderArchive before = Applied(*change.otherSide, set);
    change.otherSide = Shared(Difference(before, set));
    --m_done;
    return before;
}

FolderArchive History::Redo(const FolderArchive& set) {
    Change& change = m_changes[m_done];
    FolderArchive after = Applied(*change.otherSide, set);
    change.otherSide = Shared(Difference(after, set));
    ++m_done;
    return after;
}

void History::SaveIn(FolderArchive& set) const {
    // Grown from the present on both sides, in turn.
    std::size_t first = m_done;
    std::size_t last = m_done;
    std::size_t bytes = 0;
    const auto takes = [&](std::size_t at) {
        const std::size_t with = bytes + (at < m_changes.size() ? m_changes[at].otherSide->size() : kMostBytes + 1);
        const bool fits = last - first < kMostChanges && with <= kMostBytes;
        bytes = fits ? with : bytes;
        return fits;
    };
    for (bool back = true, forth = true; back || forth;) {
        back = back && takes(first - 1);
        first -= back ? 1 : 0;
        forth = forth && takes(last);
        last += forth ? 1 : 0;
    }
    FolderArchive parts;
    json changes = json::array();
    for (std::size_t i = first; i < last; ++i) {
        parts.Put(std::to_string(i - first), *m_changes[i].otherSide);
        changes.push_back({{"what", m_changes[i].what}, {"when", m_changes[i].when}});
    }
    const json log{{"done", m_done - first}, {"changes", changes}};
    parts.Put(kLog, BlockOf(log.dump(1, ' ', false, json::error_handler_t::replace)));
    set.Put(kHistoryBlock, BlockOf(parts.ToBytes()));
}

void History::Remember(const History& earlier) {
    const auto& known = earlier.m_changes;
    for (std::size_t at = 0; at < earlier.m_done && m_done > 0; ++at) {
        const std::size_t common = std::min(earlier.m_done - at, m_done);
        const auto from = known.begin() + static_cast<std::ptrdiff_t>(at);
        if (std::equal(from, from + static_cast<std::ptrdiff_t>(common), m_changes.begin(), AreSame)) {
            m_changes.insert(m_changes.begin(), known.begin(), from);
            m_done += at;
            return;
        }
    }
}

}  // namespace host
