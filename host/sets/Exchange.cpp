#include "host/sets/Exchange.h"

#include <fmt/format.h>

#include <algorithm>
#include <unordered_map>
#include <unordered_set>

#include "framework/support/Utf8.h"
#include "host/base/Error.h"
#include "host/base/SafeFile.h"
#include "host/figures/FigureClass.h"

namespace host {

namespace {

constexpr std::size_t kLargest = std::size_t{256} << 20;

// Names that are taken, and those that the import gave out, so that equal names are counted on.
class FreeNames {
  public:
    explicit FreeNames(const RoiSet& set) {
        for (const Figure& figure : set.Figures()) {
            m_taken.insert(figure.name);
        }
    }

    std::string Take(const std::string& wanted) {
        std::string name = Fit(wanted);
        while (!m_taken.insert(name).second) {
            name = fmt::format("{} {}", Fit(wanted), ++m_last.try_emplace(wanted, 1).first->second);
        }
        return name;
    }

  private:
    // As CheckFigureName has it, with room for a number.
    static std::string Fit(const std::string& wanted) {
        constexpr std::size_t kLongest = 180;
        std::string name = ToUtf8(Text(FromUtf8(wanted)));
        for (char& c : name) {
            c = c == '/' || c == '\\' || static_cast<unsigned char>(c) < ' ' || c == '\x7F' ? '_' : c;
        }
        if (Harmless(name) != name) {
            name.clear();
        }
        std::size_t length = std::min(name.size(), kLongest);
        while (length < name.size() && (static_cast<unsigned char>(name[length]) & 0xC0) == 0x80) {
            --length;
        }
        name.resize(length);
        return name.empty() || name == "." || name == ".." ? "figure" : name;
    }

    std::unordered_set<std::string> m_taken;
    std::unordered_map<std::string, int> m_last;
};

}  // namespace

const FigureFormat& FormatFor(const UserPath& path, const std::string& name, std::string_view bytes) {
    const FigureFormat* marked = nullptr;
    const FigureFormat* plain = nullptr;
    const FigureFormat* first = nullptr;
    std::vector<std::string> known;
    const auto keepFirst = [](const FigureFormat*& kept, const FigureFormat& format) {
        kept = kept != nullptr ? kept : &format;
    };
    for (const FigureFormat& format : FigureFormats()) {
        known.emplace_back(format.name);
        if (name == format.name) {
            return format;
        }
        const bool byEnding = path.Extension() == format.ending;
        const bool isMarked = format.mark != nullptr && bytes.find(format.mark) != bytes.npos;
        if (isMarked && (byEnding || path.Extension() == ".json")) {
            keepFirst(marked, format);
        } else if (byEnding) {
            keepFirst(format.mark == nullptr ? plain : first, format);
        }
    }
    if (!name.empty()) {
        throw UnknownName("format", name, known);
    }
    if (IsOfKind(FileKind::imageJ, bytes)) {
        return FormatFor(path, "imagej");
    }
    for (const FigureFormat* const format : {marked, plain, first}) {
        if (format != nullptr) {
            return *format;
        }
    }
    throw UsageError("unknown format", path.Typed(), fmt::format("give --as: {}", fmt::join(known, ", ")));
}

std::vector<Warning> ImportFigures(const Session& session, RoiSet& set, const UserPath& path,
                                   const std::string& formatName) {
    return ImportFigures(session, set, path, formatName, ReadWholeFile("figures", path, kLargest));
}

std::vector<Warning> ImportFigures(const Session& session, RoiSet& set, const UserPath& path,
                                   const std::string& formatName, std::string_view bytes) {
    const FigureFormat& format = FormatFor(path, formatName, bytes);
    Reading reading;
    std::vector<Warning> warnings;
    try {
        FreeNames names(set);
        for (ForeignFigure& figure : format.read(bytes, reading)) {
            std::string name = names.Take(figure.name);
            if (name != figure.name && !figure.name.empty()) {
                warnings.push_back({figure.name, "it is named " + name + " in the set"});
            }
            figure.name = std::move(name);
            set.Add(Build(session, figure, warnings));
        }
    } catch (const std::exception& failure) {
        throw Error("cannot import", path.Typed(), failure.what());
    }
    return warnings;
}

}  // namespace host
