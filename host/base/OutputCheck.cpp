#include "host/base/OutputCheck.h"

#include <algorithm>
#include <array>

#include "host/base/Error.h"
#include "host/base/SafeFile.h"

namespace host {

namespace {

using namespace std::string_view_literals;

// More than enough for what comes before the first element of an XML file.
constexpr std::size_t kLooksAt = 4096;

constexpr std::array kImageStarts = {"\x89PNG\r\n\x1A\n"sv,
                                     "\xFF\xD8\xFF"sv,
                                     "II*\0"sv,
                                     "MM\0*"sv,
                                     "II+\0"sv,
                                     "MM\0+"sv,
                                     "BM"sv,
                                     "P1"sv,
                                     "P2"sv,
                                     "P3"sv,
                                     "P4"sv,
                                     "P5"sv,
                                     "P6"sv,
                                     "Pf"sv,
                                     "PF"sv,
                                     "GIF8"sv,
                                     "#?"sv,
                                     "\x76\x2F\x31\x01"sv,
                                     "\0\0\0\x0CjP  "sv,
                                     "\xFF\x4F\xFF"sv,
                                     "Y\xA6j\x95"sv};

// The first entry of the archive that a set is.
bool IsFolderSet(std::string_view start) noexcept {
    constexpr std::size_t kName = 30;
    return start.size() > kName && start.substr(kName).starts_with("figures.json");
}

bool IsXML(std::string_view start, std::string_view element) noexcept {
    return start.find(element) != start.npos && start.substr(start.find_first_not_of(" \t\r\n")).starts_with('<');
}

bool IsText(std::string_view start) noexcept {
    return std::none_of(start.begin(), start.end(), [](char c) {
        return static_cast<unsigned char>(c) < ' ' && c != '\n' && c != '\r' && c != '\t';
    });
}

}  // namespace

bool IsOfKind(FileKind kind, std::string_view start) noexcept {
    const bool isArchive = start.starts_with("PK\3\4") || start.starts_with("PK\5\6");
    switch (kind) {
        case FileKind::image:
            return std::any_of(kImageStarts.begin(), kImageStarts.end(),
                               [&](std::string_view known) { return start.starts_with(known); }) ||
                   (start.starts_with("RIFF") && start.size() > 12 && start.substr(8).starts_with("WEBP"));
        case FileKind::drawing:
            return IsXML(start, "<svg") || start.starts_with("%PDF-");
        case FileKind::set:
            return isArchive ? IsFolderSet(start) : IsXML(start, "<figures");
        case FileKind::imageJ:
            return start.starts_with("Iout");
        case FileKind::archive:
            return isArchive && !IsFolderSet(start);
        case FileKind::json: {
            const std::size_t first = start.find_first_not_of(" \t\r\n");
            return first != start.npos && (start[first] == '{' || start[first] == '[') && IsText(start);
        }
        default:
            return IsText(start);
    }
}

void CheckOutput(const UserPath& path, std::initializer_list<UserPath> inputs, std::initializer_list<FileKind> kinds,
                 bool force) {
    std::error_code failure;
    for (const UserPath& input : inputs) {
        if (!input.Typed().empty() && std::filesystem::equivalent(path.Absolute(), input.Absolute(), failure)) {
            throw UsageError("output is an input", path.Typed(), "it would replace what the command reads");
        }
    }
    const std::string start = StartOfFile(path, kLooksAt);
    const auto fits = [&start](FileKind kind) { return IsOfKind(kind, start); };
    if (!force && !start.empty() && std::none_of(kinds.begin(), kinds.end(), fits)) {
        throw UsageError("another file is there", path.Typed(),
                         "it is not of the kind that the command writes; --force replaces it");
    }
}

}  // namespace host
