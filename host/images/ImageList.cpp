#include "host/images/ImageList.h"

#include <cerrno>
#include <iostream>
#include <system_error>
#include <utility>

#include "host/base/Error.h"
#include "host/base/Text.h"

namespace host {

namespace {

Error UnreadableList(const UserPath& list, int code) {
    return {"cannot read list", list.Typed(), std::generic_category().message(code)};
}

// The next path; false at the end. Lines may end either way.
bool NextPath(std::istream& lines, PathEnd end, std::string& line) {
    while (std::getline(lines, line, static_cast<char>(end))) {
        if (end == PathEnd::line && line.ends_with('\r')) {
            line.pop_back();
        }
        if (!line.empty()) {
            return true;
        }
    }
    return false;
}

void SkipMark(std::istream& lines) {
    constexpr std::string_view kMark = "\xEF\xBB\xBF";
    // No path begins with a part of it.
    for (const char c : kMark) {
        if (lines.peek() != std::istream::traits_type::to_int_type(c)) {
            break;
        }
        lines.ignore();
    }
    lines.clear(lines.rdstate() & ~(std::ios::eofbit | std::ios::failbit));
}

}  // namespace

Shard::Shard(const std::string& text) {
    const std::size_t slash = text.find('/');
    const std::string_view view = text;
    const auto part = ParseInteger(view.substr(0, slash));
    const auto parts = slash == std::string::npos ? std::nullopt : ParseInteger(view.substr(slash + 1));
    if (!part || !parts || *part < 1 || *part > *parts) {
        throw UsageError("not a shard", text, "write I/N with I from 1 to N, as in 3/8");
    }
    index = static_cast<std::size_t>(*part);
    count = static_cast<std::size_t>(*parts);
}

ImageList::ImageList(std::vector<UserPath> images, UserPath list, Shard shard, PathEnd end)
    : m_images(std::move(images)), m_list(std::move(list)), m_shard(shard), m_end(end) {
    if (m_list.Typed() == "-") {
        m_lines = &std::cin;
    } else if (!m_list.Typed().empty()) {
        m_file.open(m_list.Absolute());
        if (!m_file) {
            throw UnreadableList(m_list, errno);
        }
        m_lines = &m_file;
    }
    if (m_lines != nullptr) {
        SkipMark(*m_lines);
        if (m_lines->bad()) {
            throw UnreadableList(m_list, errno);
        }
    }
}

std::optional<ImageName> ImageList::Next() {
    for (;;) {
        std::optional<ImageName> image = NextOfAll();
        if (!image || (m_taken - 1) % m_shard.count == m_shard.index - 1) {
            return image;
        }
    }
}

std::optional<ImageName> ImageList::NextOfAll() {
    if (m_taken < m_images.size()) {
        return m_images[m_taken++];
    }
    std::string line;
    if (m_lines == nullptr || !NextPath(*m_lines, m_end, line)) {
        if (m_lines != nullptr && m_lines->bad()) {
            throw UnreadableList(m_list, errno);
        }
        return std::nullopt;
    }
    if (line.find('\0') != std::string::npos) {
        throw Error("cannot read list", m_list.Typed(),
                    "it has a NUL in a line; --from0 reads paths that end with one");
    }
    ++m_taken;
    return UserPath(line, m_folder);
}

std::optional<std::size_t> ImageList::Count() const {
    std::size_t all = m_images.size();
    if (m_lines != nullptr) {
        std::error_code failure;
        if (m_lines != &m_file || !std::filesystem::is_regular_file(m_list.Absolute(), failure)) {
            return std::nullopt;
        }
        std::ifstream file(m_list.Absolute());
        for (std::string line; NextPath(file, m_end, line);) {
            ++all;
        }
    }
    return (all + m_shard.count - m_shard.index) / m_shard.count;
}

}  // namespace host
