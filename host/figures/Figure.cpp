#include "host/figures/Figure.h"

#include "contract/Components.h"
#include "host/figures/FigureClass.h"
#include "host/figures/HostCollection.h"

namespace host {

namespace {

void SetGeometry(Figure& figure, const std::vector<ImagePoint>& points) {
    std::vector<double> xy;
    for (const ImagePoint& point : points) {
        xy.insert(xy.end(), {point.x, point.y});
    }
    const auto shape = figure.As<IROIShape>();
    SmartPtr<IPointsStore> store = CreateComponent<IPointsStore>(Text(L"Assembly"));
    const auto geometry = SmartPtr<IGeometry>::QueryFrom(store.Get());
    if (!shape || !geometry || Failed(store->SetPoints(xy.data(), static_cast<int>(points.size())))) {
        throw Error("cannot set geometry", figure.name,
                    HostCollection::WhyNot("the framework does not take the points"));
    }
    shape->SetGeometry(geometry.Get());
    figure.geometry = std::move(store);
}

void AppendPoints(const Figure& figure, const std::vector<ImagePoint>& points) {
    const auto profile = figure.As<IROIProfile>();
    for (const ImagePoint& point : points) {
        if (!profile || Failed(profile->AddPoint(point.x, point.y))) {
            throw Error("cannot add point", figure.name, "out of memory");
        }
    }
}

}  // namespace

std::vector<ImagePoint> PointsOf(const Figure& figure) {
    std::vector<ImagePoint> points;
    int count = 0;
    if (const auto profile = figure.As<IROIProfile>()) {
        profile->GetNumberPoints(&count);
        for (int i = 0; i < count; ++i) {
            ImagePoint& point = points.emplace_back();
            profile->GetPoint(i, &point.x, &point.y, nullptr, nullptr, nullptr);
        }
    } else if (figure.geometry) {
        count = figure.geometry->GetCount();
        for (int i = 0; i < count; ++i) {
            ImagePoint& point = points.emplace_back();
            figure.geometry->GetPoint(i, &point.x, &point.y);
        }
    }
    return points;
}

void SetPoints(Figure& figure, const std::vector<ImagePoint>& points) {
    switch (figure.type->contents) {
        case Contents::geometry:
            return SetGeometry(figure, points);
        case Contents::points:
            return AppendPoints(figure, points);
        default:
            throw UsageError("cannot take points", figure.type->name,
                             "only ROIProfile and ROIShape are made of points");
    }
}

}  // namespace host
