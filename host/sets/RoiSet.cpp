#include "host/sets/RoiSet.h"

#include <algorithm>
#include <new>
#include <unordered_set>

#include "framework/support/Utf8.h"
#include "host/base/Error.h"
#include "host/base/OutputCheck.h"
#include "host/base/SafeFile.h"
#include "host/base/Text.h"
#include "host/sets/SetFile.h"

namespace host {

namespace {

constexpr std::size_t kLongestName = 200;
// More than any set that SetFile writes.
constexpr std::size_t kLargestSet = std::size_t{512} << 20;

bool IsXML(const UserPath& path) { return path.Extension() == ".xml"; }

std::string ReadSetFile(const UserPath& path) {
    CheckSetEnding(path);
    std::string bytes = ReadWholeFile("set", path, kLargestSet);
    if (IsOfKind(FileKind::imageJ, bytes)) {
        throw Error("not a set", path.Typed(), "it is a figure of ImageJ's; roi import SET FILE brings it into a set");
    }
    return bytes;
}

// Calls what reads a set, and says of which file it speaks.
template <class Read>
auto Sound(const UserPath& path, Read read) {
    try {
        return read();
    } catch (const std::bad_alloc&) {
        throw;  // The file has no part in it.
    } catch (const std::exception& failure) {
        throw Error("broken set", path.Typed(), failure.what());
    }
}

Error NameTaken(const std::string& name) { return {"name taken", name, "the set has a figure of that name"}; }

}  // namespace

void CheckSetEnding(const UserPath& path) {
    if (path.Extension() != ".roi" && !IsXML(path)) {
        throw UsageError("unknown kind of set", path.Typed(), "end the name in .roi or .xml");
    }
}

void CheckFigureName(const std::string& name) {
    const auto fail = [&](std::string_view why) { return UsageError("bad figure name", name, why); };
    if (name.empty() || name.size() > kLongestName) {
        throw fail("names have 1 to 200 bytes");
    }
    if (!ToWide(name)) {
        throw fail("not UTF-8");
    }
    if (Harmless(name) != name || name.find_first_of("/\\") != std::string::npos || name == "." || name == "..") {
        throw fail("names have no control characters and no slashes, and are neither . nor ..");
    }
}

RoiSet RoiSet::Load(const Session& session, const UserPath& path) {
    if (!IsXML(path)) {
        return Load(session, path, LoadArchive(path));
    }
    const std::string bytes = ReadSetFile(path);
    return Sound(path, [&] { return ReadXMLSet(session, bytes); });
}

std::shared_ptr<FolderArchive> RoiSet::LoadArchive(const UserPath& path) {
    const std::string bytes = ReadSetFile(path);
    return Sound(path, [&] { return ArchiveFromBytes(bytes); });
}

RoiSet RoiSet::Load(const Session& session, const UserPath& path, const std::shared_ptr<FolderArchive>& archive) {
    return Sound(path, [&] { return UnpackFigures(session, archive); });
}

RoiSet::RoiSet(std::vector<Figure> figures) {
    for (Figure& figure : figures) {
        Add(std::move(figure));
    }
}

RoiSet RoiSet::LoadOrCreate(const Session& session, const UserPath& path) {
    CheckSetEnding(path);
    std::error_code failure;
    return std::filesystem::exists(path.Absolute(), failure) || failure ? Load(session, path) : RoiSet();
}

std::vector<Warning> RoiSet::Save(const UserPath& path) const {
    CheckSetEnding(path);
    std::string bytes;
    try {
        bytes = IsXML(path) ? WriteXMLSet(m_figures) : WriteFolderSet(m_figures);
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception& failure) {
        throw Error("cannot write set", path.Typed(), failure.what());
    }
    WriteWholeFile("set", path, bytes);
    return LostIn(path);
}

std::vector<Warning> RoiSet::LostIn(const UserPath& path) const {
    std::vector<Warning> warnings;
    for (const Figure& figure : m_figures) {
        std::string lost = IsXML(path) ? LostInXML(figure) : std::string();
        if (!lost.empty()) {
            warnings.push_back({figure.name, std::move(lost)});
        }
    }
    return warnings;
}

std::vector<const Figure*> RoiSet::Chosen(const std::vector<std::string>& names) const {
    std::vector<const Figure*> chosen;
    chosen.reserve(names.empty() ? m_figures.size() : names.size());
    for (const std::string& name : names) {
        chosen.push_back(&At(name));
    }
    for (std::size_t i = 0; names.empty() && i < m_figures.size(); ++i) {
        chosen.push_back(&m_figures[i]);
    }
    return chosen;
}

const Figure& RoiSet::At(const std::string& name) const { return m_figures[IndexOf(name)]; }

void RoiSet::Reserve(std::size_t figures) {
    m_figures.reserve(figures);
    m_index.reserve(figures);
}

Figure& RoiSet::Add(const Session& session, const std::string& name, const std::string& className) {
    return Add(session.Create(name, className));
}

Figure& RoiSet::Add(Figure figure) {
    CheckFigureName(figure.name);
    if (!m_index.try_emplace(figure.name, m_figures.size()).second) {
        throw NameTaken(figure.name);
    }
    return m_figures.emplace_back(std::move(figure));
}

void RoiSet::Rename(const std::string& name, const std::string& newName) {
    const std::size_t index = IndexOf(name);
    CheckFigureName(newName);
    if (newName != name) {
        CheckFree(newName);
    }
    m_index.erase(name);
    m_index[newName] = index;
    m_figures[index].name = newName;
}

void RoiSet::Remove(std::span<const std::string> names) {
    std::for_each(names.begin(), names.end(), [this](const std::string& name) { IndexOf(name); });
    const std::unordered_set<std::string> gone(names.begin(), names.end());
    std::erase_if(m_figures, [&](const Figure& figure) { return gone.contains(figure.name); });
    m_index.clear();
    for (std::size_t i = 0; i < m_figures.size(); ++i) {
        m_index[m_figures[i].name] = i;
    }
}

std::size_t RoiSet::IndexOf(const std::string& name) const {
    const auto found = m_index.find(name);
    if (found == m_index.end()) {
        std::vector<std::string> known;
        std::transform(m_figures.begin(), m_figures.end(), std::back_inserter(known),
                       [](const Figure& figure) { return figure.name; });
        throw UnknownName("figure", name, known, ErrorKind::unknownName);
    }
    return found->second;
}

void RoiSet::CheckFree(const std::string& name) const {
    if (m_index.contains(name)) {
        throw NameTaken(name);
    }
}

}  // namespace host
