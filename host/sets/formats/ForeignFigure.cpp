#include "host/sets/formats/ForeignFigure.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <stdexcept>

#include "contract/Numbers.h"
#include "host/figures/FigureClass.h"
#include "host/figures/MaskPicture.h"
#include "host/figures/Parameters.h"

namespace host {

namespace {

// Chords of an arc, without its end when it goes all the way round.
void AppendChords(const Arc& arc, Loop& loop) {
    constexpr double kSagitta = 0.02;
    const double radius = std::max({std::abs(arc.radiusX), std::abs(arc.radiusY), kSagitta});
    const double step = 2.0 * std::acos(std::max(1.0 - kSagitta / radius, 0.0));
    const int count = static_cast<int>(std::clamp(std::ceil(std::abs(arc.delta) / step), 8.0, 1440.0));
    const bool full = std::abs(arc.delta) >= 2.0 * kPi;
    for (int i = 0; i < (full ? count : count + 1); ++i) {
        const double angle = arc.start + arc.delta * i / count;
        loop.emplace_back(arc.center.x + arc.radiusX * std::cos(angle), arc.center.y + arc.radiusY * std::sin(angle));
    }
}

Loop LoopOf(const Contour& contour) {
    Loop loop;
    for (const auto& part : contour) {
        if (const Arc* const arc = std::get_if<Arc>(&part)) {
            AppendChords(*arc, loop);
        } else {
            loop.push_back(std::get<ImagePoint>(part));
        }
    }
    return loop;
}

double SignedArea(const Loop& loop) {
    double area = 0.0;
    for (std::size_t i = 0; i < loop.size(); ++i) {
        const ImagePoint& a = loop[i];
        const ImagePoint& b = loop[(i + 1) % loop.size()];
        area += 0.5 * (a.x * b.y - b.x * a.y);
    }
    return area;
}

// Where the first pixel of a mask figure lies in the image: where its pixels are measured.
ImagePoint OriginOf(const Figure& figure) {
    int left = 0;
    int top = 0;
    unsigned int width = 0;
    unsigned int height = 0;
    figure.roi->GetBoundingRect(&left, &top, &width, &height);
    return {static_cast<double>(left), static_cast<double>(top)};
}

Loops RunsOf(const Figure& figure) {
    Raster mask = MaskImageOf(figure);
    const auto [width, height] = mask.Size();
    const ImagePoint origin = OriginOf(figure);
    Loops loops;
    for (int y = 0; y < height; ++y) {
        const unsigned char* const row = mask.Row<unsigned char>(y);
        for (int x = 0; x < width; ++x) {
            if (row[x] == 0) {
                continue;
            }
            const double left = origin.x + x - 0.5;
            while (x < width && row[x] != 0) {
                ++x;
            }
            const double right = origin.x + x - 0.5;
            const double top = origin.y + y - 0.5;
            loops.outer.push_back({{left, top}, {right, top}, {right, top + 1.0}, {left, top + 1.0}});
        }
    }
    return loops;
}

// The pixels inside the loops, by the even-odd rule.
void FillRow(const std::vector<Loop>& loops, double y, double left, unsigned char* row, int width) {
    std::vector<double> crossings;
    for (const Loop& loop : loops) {
        for (std::size_t i = 0; i < loop.size(); ++i) {
            const ImagePoint& a = loop[i];
            const ImagePoint& b = loop[(i + 1) % loop.size()];
            if ((a.y <= y) != (b.y <= y)) {
                crossings.push_back(a.x + (y - a.y) / (b.y - a.y) * (b.x - a.x) - left);
            }
        }
    }
    std::sort(crossings.begin(), crossings.end());
    for (std::size_t i = 0; i + 1 < crossings.size(); i += 2) {
        const double from = std::clamp(std::ceil(crossings[i]), 0.0, static_cast<double>(width));
        const double to = std::clamp(std::ceil(crossings[i + 1]), from, static_cast<double>(width));
        std::fill(row + static_cast<int>(from), row + static_cast<int>(to), static_cast<unsigned char>(255));
    }
}

ForeignFigure Placed(std::string name, const char* className, ImagePoint center) {
    return {std::move(name), className, {{"CenterX", center.x}, {"CenterY", center.y}}, {}, {}};
}

}  // namespace

void Reading::TakePixels(double pixels) {
    if (!(pixels <= m_pixelsLeft)) {
        throw std::runtime_error("its masks have too many pixels");
    }
    m_pixelsLeft -= pixels;
}

ForeignFigure Describe(const Figure& figure) {
    ForeignFigure description{figure.name, figure.type->name, {}, {}, MaskImageOf(figure)};
    const auto profile = figure.As<IROIProfile>();
    for (const ImagePoint& at : PointsOf(figure)) {
        ForeignPoint& point = description.points.emplace_back(ForeignPoint{at});
        if (profile) {
            const int index = static_cast<int>(description.points.size()) - 1;
            profile->GetThickness(index, &point.thickness1, &point.thickness2);
        }
    }
    for (const NamedValue& value : profile ? std::vector<NamedValue>() : Settable(ReadParameters(figure))) {
        if (const double* const number = std::get_if<double>(&value.value)) {
            description.parameters.emplace_back(value.name, *number);
        } else if (const int* const integer = std::get_if<int>(&value.value)) {
            description.parameters.emplace_back(value.name, *integer);
        }
    }
    return description;
}

Figure Build(const Session& session, const ForeignFigure& description) {
    Figure figure = session.Create(description.name, description.className);
    std::vector<ImagePoint> points;
    std::transform(description.points.begin(), description.points.end(), std::back_inserter(points),
                   [](const ForeignPoint& point) { return point.at; });
    if (!points.empty()) {
        SetPoints(figure, points);
    }
    const auto profile = figure.As<IROIProfile>();
    for (std::size_t i = 0; profile && i < points.size(); ++i) {
        const ForeignPoint& point = description.points[i];
        profile->SetThickness(static_cast<int>(i), point.thickness1, point.thickness2);
    }
    if (!description.mask.IsEmpty()) {
        SetMaskImage(figure, description.mask.View());
    }
    std::vector<Assignment> assignments;
    for (const auto& [name, value] : description.parameters) {
        assignments.emplace_back(name + '=' + NumberText(value));
    }
    SetParameters(figure, assignments);
    return figure;
}

Loops LoopsOf(const Figure& figure) {
    const Outline outline = figure.type->outline(figure);
    if (outline.isImage) {
        return RunsOf(figure);
    }
    std::vector<Loop> all;
    std::transform(outline.contours.begin(), outline.contours.end(), std::back_inserter(all), LoopOf);
    std::erase_if(all, [](const Loop& loop) { return loop.size() < 3; });
    std::vector<double> areas;
    std::transform(all.begin(), all.end(), std::back_inserter(areas), SignedArea);
    const auto largest =
        std::max_element(areas.begin(), areas.end(), [](double a, double b) { return std::abs(a) < std::abs(b); });
    Loops loops;
    for (std::size_t i = 0; i < all.size(); ++i) {
        (areas[i] * *largest < 0.0 ? loops.holes : loops.outer).push_back(std::move(all[i]));
    }
    return loops;
}

ForeignFigure BoxFigure(std::string name, ImagePoint center, double width, double height, double degrees) {
    ForeignFigure figure = Placed(std::move(name), "ROIRectangle", center);
    figure.parameters.insert(figure.parameters.end(), {{"Width", width}, {"Height", height}, {"Angle", degrees}});
    return figure;
}

ForeignFigure EllipseFigure(std::string name, ImagePoint center, double radiusX, double radiusY) {
    ForeignFigure figure = Placed(std::move(name), "ROIEllipse", center);
    figure.parameters.insert(figure.parameters.end(), {{"RadiusX", radiusX}, {"RadiusY", radiusY}});
    return figure;
}

ForeignFigure LineFigure(std::string name, const std::vector<ImagePoint>& points, double width) {
    ForeignFigure figure{std::move(name), "ROIProfile", {}, {}, {}};
    const double thickness = 0.5 * (width > 0.0 ? width : 1.0);
    for (const ImagePoint& at : points) {
        figure.points.push_back({at, thickness, thickness});
    }
    return figure;
}

ForeignFigure SpotFigure(std::string name, ImagePoint at) { return BoxFigure(std::move(name), at, 0.0, 0.0, 0.0); }

ForeignFigure RegionFigure(std::string name, const std::vector<Loop>& loops, Reading& reading) {
    if (loops.size() == 1 && loops.front().size() >= 3) {
        ForeignFigure shape{std::move(name), "ROIShape", {}, {}, {}};
        for (const ImagePoint& at : loops.front()) {
            shape.points.push_back(ForeignPoint{at});
        }
        return shape;
    }
    ImagePoint low(HUGE_VAL, HUGE_VAL);
    ImagePoint high(-HUGE_VAL, -HUGE_VAL);
    for (const Loop& loop : loops) {
        for (const ImagePoint& at : loop) {
            low = {std::min(low.x, std::ceil(at.x)), std::min(low.y, std::ceil(at.y))};
            high = {std::max(high.x, std::floor(at.x)), std::max(high.y, std::floor(at.y))};
        }
    }
    const double width = high.x - low.x + 1.0;
    const double height = high.y - low.y + 1.0;
    constexpr double kFarthest = 1e9;
    if (!(width >= 1.0 && height >= 1.0 && std::abs(low.x) < kFarthest && std::abs(low.y) < kFarthest)) {
        throw std::runtime_error(fmt::format("{}: a region without pixels", name));
    }
    reading.TakePixels(width * height);
    Raster mask = EmptyMask(static_cast<int>(width), static_cast<int>(height));
    for (int y = 0; y < mask.Size().height; ++y) {
        FillRow(loops, low.y + y, low.x, mask.Row<unsigned char>(y), mask.Size().width);
    }
    reading.warnings.push_back({name, "a region of several outlines becomes a mask of its pixels"});
    return MaskFigure(std::move(name), mask, static_cast<int>(low.x), static_cast<int>(low.y));
}

Raster EmptyMask(int width, int height) {
    Raster mask({width, height}, 1, Depth::u8);
    std::fill_n(mask.Data(), mask.RowBytes() * static_cast<std::size_t>(height), std::byte{0});
    return mask;
}

ForeignFigure MaskFigure(std::string name, Raster mask, int left, int top) {
    const double width = mask.Size().width - 1.0;
    const double height = mask.Size().height - 1.0;
    ForeignFigure figure = Placed(std::move(name), "ROIMask", {left + 0.5 * width, top + 0.5 * height});
    figure.parameters.insert(figure.parameters.end(), {{"Width", width}, {"Height", height}});
    figure.mask = std::move(mask);
    return figure;
}

}  // namespace host
