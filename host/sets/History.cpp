#include "host/sets/History.h"

#include <fmt/chrono.h>
#include <fmt/format.h>

#include <algorithm>
#include <ctime>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string_view>
#include <unordered_set>
#include <utility>

namespace host {

namespace {

using nlohmann::json;

constexpr const char* kLog = "log.json";
constexpr const char* kAbsent = "absent";  // Paths, each with a NUL behind it.
constexpr const char* kBlocks = "blocks/";
constexpr std::size_t kLongestLog = std::size_t{1} << 16;
// With room for the log and for what an archive adds.
constexpr std::size_t kLongestBlock = 2 * History::kMostBytes;

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
    for (const auto& [path, block] : there.Blocks()) {
        const FolderArchive::Block* const own = here.Find(path);
        if (path != kHistoryBlock && (own == nullptr || *own != block)) {
            difference.Put(kBlocks + path, block);
        }
    }
    for (const auto& [path, block] : here.Blocks()) {
        if (path != kHistoryBlock && there.Find(path) == nullptr) {
            absent.append(path).push_back('\0');
        }
    }
    if (absent.empty() && difference.Blocks().empty()) {
        return {};
    }
    difference.Put(kAbsent, BlockOf(absent));
    return BlockOf(difference.ToBytes());
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
        m_changes.push_back({entry.at("what"), entry.at("when"), Part(parts, std::to_string(m_changes.size()))});
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
    m_changes.push_back({Shortened(what), fmt::format("{:%Y-%m-%dT%H:%M:%SZ}", fmt::gmtime(std::time(nullptr))),
                         std::move(difference)});
    Forget();
    return m_done > 0;
}

FolderArchive History::Undo(const FolderArchive& set) {
    Change& change = m_changes[m_done - 1];
    FolderArchive before = Applied(change.otherSide, set);
    change.otherSide = Difference(before, set);
    --m_done;
    return before;
}

FolderArchive History::Redo(const FolderArchive& set) {
    Change& change = m_changes[m_done];
    FolderArchive after = Applied(change.otherSide, set);
    change.otherSide = Difference(after, set);
    ++m_done;
    return after;
}

void History::SaveIn(FolderArchive& set) const {
    FolderArchive parts;
    json changes = json::array();
    for (const Change& change : m_changes) {
        parts.Put(std::to_string(changes.size()), change.otherSide);
        changes.push_back({{"what", change.what}, {"when", change.when}});
    }
    parts.Put(kLog, BlockOf(json{{"done", m_done}, {"changes", changes}}.dump(1, ' ', false,
                                                                              json::error_handler_t::replace)));
    set.Put(kHistoryBlock, BlockOf(parts.ToBytes()));
}

void History::Forget() {
    std::size_t bytes = 0;
    std::size_t kept = 0;
    while (kept < m_changes.size() && kept < kMostChanges) {
        bytes += m_changes[m_changes.size() - 1 - kept].otherSide.size();
        if (bytes > kMostBytes) {
            break;
        }
        ++kept;
    }
    m_changes.erase(m_changes.begin(), m_changes.end() - static_cast<std::ptrdiff_t>(kept));
    m_done = m_changes.size();
}

}  // namespace host
