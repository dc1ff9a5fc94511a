#include "host/figures/Points.h"

#include <fmt/format.h>

#include "host/base/Error.h"
#include "host/figures/FigureClass.h"

namespace host {

namespace {

void CheckIndex(const Figure& figure, int index, std::size_t points, std::size_t end) {
    if (figure.type->contents != Contents::points && figure.type->contents != Contents::geometry) {
        throw UsageError("cannot edit points", figure.name, "only a ROIProfile and a ROIShape are made of points");
    }
    if (index < 0 || static_cast<std::size_t>(index) >= end) {
        throw UsageError("no such point", std::to_string(index),
                         fmt::format("the {} has {} points, counted from 0",
                                     figure.type->contents == Contents::points ? "profile" : "polygon", points));
    }
}

// Edits the points of a polygon as a list; a profile keeps the thicknesses of its points and does it itself.
template <class InProfile, class InList>
void Change(Figure& figure, int index, bool mayEnd, InProfile inProfile, InList inList) {
    std::vector<ImagePoint> points = PointsOf(figure);
    CheckIndex(figure, index, points.size(), points.size() + (mayEnd ? 1 : 0));
    if (const auto profile = figure.As<IROIProfile>()) {
        if (Failed(inProfile(*profile))) {
            throw Error("cannot edit points", figure.name, "out of memory");
        }
        return;
    }
    inList(points, points.begin() + index);
    SetPoints(figure, points);
}

}  // namespace

void AddPoint(Figure& figure, ImagePoint at) { InsertPoint(figure, static_cast<int>(PointsOf(figure).size()), at); }

void InsertPoint(Figure& figure, int index, ImagePoint at) {
    const bool atEnd = static_cast<std::size_t>(index) == PointsOf(figure).size();
    Change(
        figure, index, true,
        [&](IROIProfile& profile) {
            return atEnd ? profile.AddPoint(at.x, at.y) : profile.InsertPoint(index, at.x, at.y);
        },
        [at](auto& points, auto before) { points.insert(before, at); });
}

void MovePoint(Figure& figure, int index, ImagePoint at) {
    Change(
        figure, index, false, [&](IROIProfile& profile) { return profile.SetPoint(index, at.x, at.y); },
        [at](auto&, auto point) { *point = at; });
}

void RemovePoint(Figure& figure, int index) {
    Change(
        figure, index, false, [index](IROIProfile& profile) { return profile.RemovePoint(index); },
        [](auto& points, auto point) { points.erase(point); });
}

}  // namespace host
