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
    std::erase_if(m_names, [this](const std::string& name) { return m_removed.contains(name); });
    std::vector<std::string> names = NamesOf(figures);
    const bool isKept = m_names.size() <= names.size() && std::equal(m_names.begin(), m_names.end(), names.begin());
    m_order = isKept ? m_order : m_current;
    m_names = std::move(names);
}

std::int64_t Revisions::Of(const std::string& name) const {
    for (const auto* const kind : {&m_changed, &m_removed}) {
        if (const auto found = kind->find(name); found != kind->end()) {
            return found->second;
        }
    }
    return 1;
}

std::vector<std::string> Revisions::RemovedSince(std::int64_t revision) const {
    std::vector<std::string> names;
    for (const auto& [name, when] : m_removed) {
        if (when > revision) {
            names.push_back(name);
        }
    }
    return names;
}

}  // namespace host::workbench
