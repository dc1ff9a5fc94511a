#include "workbench/Desk.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "host/measure/Region.h"

namespace host::workbench {

namespace {

double DistanceToLine(ImagePoint p, ImagePoint a, ImagePoint b) noexcept {
    const ImagePoint along = b - a;
    const ImagePoint from = p - a;
    const double length2 = along.x * along.x + along.y * along.y;
    const double t = length2 > 0.0 ? std::clamp((from.x * along.x + from.y * along.y) / length2, 0.0, 1.0) : 0.0;
    return std::hypot(from.x - t * along.x, from.y - t * along.y);
}

bool PassesNear(const Rings& rings, ImagePoint p, double tolerance) noexcept {
    for (const auto& ring : rings.closed) {
        for (std::size_t i = 0; i < ring.size(); ++i) {
            if (DistanceToLine(p, ring[i], ring[(i + 1) % ring.size()]) <= tolerance) {
                return true;
            }
        }
    }
    for (std::size_t i = 0; i + 1 < rings.axis.size(); ++i) {
        if (DistanceToLine(p, rings.axis[i], rings.axis[i + 1]) <= tolerance) {
            return true;
        }
    }
    return false;
}

}  // namespace

Desk::Desk(const UserPath& set, std::function<void(const Desk&)> changed)
    : m_changed(std::move(changed)),
      m_file(m_session, set,
             [this](const std::vector<FigureChange>& changes) {
                 m_revisions.Count(changes, Set().Figures());
                 m_changed(*this);
             }),
      m_revisions(Set().Figures()) {}

std::size_t Desk::PlaceOf(const std::string& name) const {
    const auto& figures = Set().Figures();
    return Set().Has(name) ? static_cast<std::size_t>(&Set().At(name) - figures.data()) : figures.size();
}

std::string Desk::ChangesSince(std::int64_t revision, double tolerance) const {
    std::string text = "\"revision\":" + std::to_string(m_revisions.Current()) + ",\"figures\":[";
    const auto& figures = Set().Figures();
    const char* comma = "";
    for (std::size_t i = 0; i < figures.size(); ++i) {
        if (m_revisions.Of(figures[i].name) > revision) {
            text += std::exchange(comma, ",") + FigureText(figures[i], i, Detail::nodes, tolerance);
        }
    }
    text += "],\"removed\":" + TextOf(Json(m_revisions.RemovedSince(revision)));
    if (m_revisions.OrderChangedSince(revision)) {
        Json names = Json::array();
        for (const Figure& figure : figures) {
            names.push_back(figure.name);
        }
        text += ",\"order\":" + TextOf(names);
    }
    return text;
}

std::vector<std::string> Desk::Hits(ImagePoint at, double tolerance) {
    // A chord lies that far inside its arc.
    const double reach = tolerance + kTolerance;
    std::vector<std::string> names;
    const auto& figures = Set().Figures();
    for (auto figure = figures.rbegin(); figure != figures.rend(); ++figure) {
        const HitBox& box = BoxOf(*figure);
        if (at.x >= box.left - reach && at.x <= box.right + reach && at.y >= box.top - reach &&
            at.y <= box.bottom + reach &&
            (HoldsPoint(*figure, at, PixelRule::outline) || PassesNear(RingsOf(*figure, kTolerance), at, tolerance))) {
            names.push_back(figure->name);
        }
    }
    return names;
}

const HitBox& Desk::BoxOf(const Figure& figure) {
    KnownBox& known = m_boxes[figure.name];
    const std::int64_t revision = m_revisions.Of(figure.name);
    if (known.revision != revision) {
        known = {revision, BoxAround(RingsOf(figure, kTolerance))};
    }
    return known.box;
}

ModuleThread::ModuleThread(const UserPath& set, std::function<void(const Desk&)> changed) {
    m_thread.Run([&] { m_desk = std::make_unique<Desk>(set, std::move(changed)); }).get();
}

// The desk goes where it came from.
ModuleThread::~ModuleThread() {
    m_thread.Run([this] { m_desk.reset(); }).get();
}

}  // namespace host::workbench
