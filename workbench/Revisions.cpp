#include "workbench/Revisions.h"

#include <algorithm>
#include <string_view>

namespace host::workbench {

namespace {

std::vector<std::string> NamesOf(const std::vector<Figure>& figures) {
    std::vector<std::string> names;
    std::transform(figures.begin(), figures.end(), std::back_inserter(names),
                   [](const Figure& figure) { return figure.name; });
    return names;
}

// Those of which the number lies above another.
std::vector<std::string> After(const std::unordered_map<std::string, std::int64_t>& when, std::int64_t revision) {
    std::vector<std::string> names;
    for (const auto& [name, last] : when) {
        if (last > revision) {
            names.push_back(name);
        }
    }
    return names;
}

}  // namespace

Revisions::Revisions(const std::vector<Figure>& figures) : m_names(NamesOf(figures)) {}

void Revisions::Count(const std::vector<FigureChange>& changes, const std::vector<Figure>& figures) {
    ++m_current;
    for (const FigureChange& change : changes) {
        const bool isGone = std::string_view(change.what) == "removes";
        // One that comes back comes at another place.
        m_order = m_removed.contains(change.name) ? m_current : m_order;
        (isGone ? m_removed : m_changed)[change.name] = m_current;
        (isGone ? m_changed : m_removed).erase(change.name);
    }
    const auto isSame = [](const std::string& name, const Figure& figure) { return name == figure.name; };
    const auto isStart = [&] {
        return m_names.size() <= figures.size() && std::equal(m_names.begin(), m_names.end(), figures.begin(), isSame);
    };
    if (m_names.size() == figures.size() && isStart()) {
        return;
    }
    std::erase_if(m_names, [this](const std::string& name) { return m_removed.contains(name); });
    m_order = isStart() ? m_order : m_current;
    m_names = NamesOf(figures);
}

std::int64_t Revisions::Of(const std::string& name) const {
    for (const auto* const kind : {&m_changed, &m_removed}) {
        if (const auto found = kind->find(name); found != kind->end()) {
            return found->second;
        }
    }
    return 1;
}

std::vector<std::string> Revisions::ChangedSince(std::int64_t revision) const { return After(m_changed, revision); }

std::vector<std::string> Revisions::RemovedSince(std::int64_t revision) const { return After(m_removed, revision); }

}  // namespace host::workbench
