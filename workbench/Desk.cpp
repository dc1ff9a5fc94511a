#include "workbench/Desk.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace host::workbench {

Desk::Desk(const UserPath& set, std::function<void(const Desk&)> changed)
    : m_changed(std::move(changed)),
      m_file(m_session, set,
             [this](const std::vector<FigureChange>& changes) {
                 m_revisions.Count(changes, Set().Figures());
                 m_hits.Note(changes);
                 m_changed(*this);
             }),
      m_revisions(Set().Figures()) {}

std::size_t Desk::PlaceOf(const std::string& name) const {
    const auto& figures = Set().Figures();
    return Set().Has(name) ? static_cast<std::size_t>(&Set().At(name) - figures.data()) : figures.size();
}

std::vector<std::size_t> Desk::NewSince(std::int64_t revision) const {
    std::vector<std::size_t> places;
    if (revision < 1) {
        places.resize(Set().Figures().size());
        std::iota(places.begin(), places.end(), std::size_t{0});
        return places;
    }
    for (const std::string& name : m_revisions.ChangedSince(revision)) {
        places.push_back(PlaceOf(name));
    }
    std::sort(places.begin(), places.end());
    return places;
}

std::string Desk::ChangesSince(std::int64_t revision, double tolerance) const {
    std::string text = "\"revision\":" + std::to_string(m_revisions.Current()) + ",\"figures\":[";
    const char* comma = "";
    for (const std::size_t place : NewSince(revision)) {
        text += std::exchange(comma, ",") + FigureText(Set().Figures()[place], place, Detail::nodes, tolerance);
    }
    text += "],\"removed\":" + TextOf(Json(m_revisions.RemovedSince(revision)));
    if (m_revisions.OrderChangedSince(revision)) {
        Json names = Json::array();
        for (const Figure& figure : Set().Figures()) {
            names.push_back(figure.name);
        }
        text += ",\"order\":" + TextOf(names);
    }
    return text;
}

std::vector<std::string> Desk::HitsAt(ImagePoint at, double tolerance) { return m_hits.At(Set(), at, tolerance); }

ModuleThread::ModuleThread(const UserPath& set, std::function<void(const Desk&)> changed) {
    m_thread.Run([&] { m_desk = std::make_unique<Desk>(set, std::move(changed)); }).get();
}

// The desk goes where it came from.
ModuleThread::~ModuleThread() {
    m_thread.Run([this] { m_desk.reset(); }).get();
}

}  // namespace host::workbench
