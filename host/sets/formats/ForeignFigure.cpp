#include "host/sets/formats/ForeignFigure.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <optional>
#include <stdexcept>

#include "contract/Numbers.h"
#include "host/figures/FigureClass.h"
#include "host/figures/MaskPicture.h"
#include "host/figures/Parameters.h"
#include "host/sets/formats/MaskOutline.h"

namespace host {

namespace {

constexpr double kSagitta = 0.001;

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

// Where the sides of loops cross rows of pixels, the rows one after the other.
class Crossings {
  public:
    // The rows are those from `top` on.
    Crossings(const std::vector<Loop>& loops, double top, int rows, Reading& reading) {
        for (const Loop& loop : loops) {
            for (std::size_t i = 0; i < loop.size(); ++i) {
                Append(loop[i], loop[(i + 1) % loop.size()], top, rows, reading);
            }
        }
        std::sort(m_sides.begin(), m_sides.end(), [](const Side& a, const Side& b) { return a.first < b.first; });
    }

    // Those of a row, from left to right. Each row but the first is asked for after the one above.
    const std::vector<double>& InRow(int row) {
        for (; m_next < m_sides.size() && m_sides[m_next].first <= row; ++m_next) {
            m_live.push_back(m_next);
        }
        std::erase_if(m_live, [&](std::size_t side) { return m_sides[side].end <= row; });
        m_found.clear();
        for (const std::size_t side : m_live) {
            m_found.push_back(m_sides[side].x + (row - m_sides[side].first) * m_sides[side].step);
        }
        std::sort(m_found.begin(), m_found.end());
        return m_found;
    }

  private:
    struct Side {
        int first, end;  // The rows that it crosses.
        double x, step;  // Where it crosses the first, and how much farther on each following.
    };

    // A side crosses the rows from its upper end, which counts, to its lower one, which does not.
    void Append(ImagePoint a, ImagePoint b, double top, int rows, Reading& reading) {
        if (a.y > b.y) {
            std::swap(a, b);
        }
        const double first = std::clamp(std::ceil(a.y - top), 0.0, static_cast<double>(rows));
        const double end = std::clamp(std::ceil(b.y - top), first, static_cast<double>(rows));
        if (first == end) {
            return;
        }
        reading.TakeCrossings(end - first);
        const double step = (b.x - a.x) / (b.y - a.y);
        m_sides.push_back({static_cast<int>(first), static_cast<int>(end), a.x + (first + top - a.y) * step, step});
    }

    std::vector<Side> m_sides;
    std::size_t m_next = 0;
    std::vector<std::size_t> m_live;
    std::vector<double> m_found;
};

// Marks the pixels between crossings, by the even-odd rule.
void FillRow(const std::vector<double>& crossings, double left, unsigned char* row, int width) {
    for (std::size_t i = 0; i + 1 < crossings.size(); i += 2) {
        const double from = std::clamp(std::ceil(crossings[i] - left), 0.0, static_cast<double>(width));
        const double to = std::clamp(std::ceil(crossings[i + 1] - left), from, static_cast<double>(width));
        std::fill(row + static_cast<int>(from), row + static_cast<int>(to), static_cast<unsigned char>(255));
    }
}

// Programs write coordinates with few decimals, some as numbers of 32 bits.
bool AreEqual(const Loop& a, const Loop& b) {
    constexpr double kTolerance = 0.01;
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](ImagePoint p, ImagePoint q) {
        return std::abs(p.x - q.x) <= kTolerance && std::abs(p.y - q.y) <= kTolerance;
    });
}
bool AreEqual(const std::vector<Loop>& a, const std::vector<Loop>& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](const Loop& x, const Loop& y) { return AreEqual(x, y); });
}

// The corners of the pixels whose centres lie inside upright boxes.
std::vector<Loop> WholePixels(std::vector<Loop> boxes) {
    for (Loop& box : boxes) {
        for (ImagePoint& corner : box) {
            corner = {std::ceil(corner.x) - 0.5, std::ceil(corner.y) - 0.5};
        }
    }
    return boxes;
}

// Loops in the order in which they are written: a region's holes behind its outlines.
std::vector<Loop> InOrder(const std::vector<Loops>& regions) {
    std::vector<Loop> loops;
    for (const Loops& region : regions) {
        loops.insert(loops.end(), region.outer.begin(), region.outer.end());
        loops.insert(loops.end(), region.holes.begin(), region.holes.end());
    }
    return loops;
}

// Whether what a file draws is the figure: its line, or its outline, in some formats without the holes or, when it is
// a box, as whole pixels, and when it is a mask, as polygons.
bool IsDrawnAs(const Figure& figure, const std::vector<Loop>& drawn) {
    if (figure.type->contents == Contents::points && AreEqual(drawn, {PointsOf(figure)})) {
        return true;
    }
    const Loops loops = LoopsOf(figure);
    return AreEqual(drawn, loops.outer) || AreEqual(drawn, InOrder({loops})) ||
           AreEqual(drawn, InOrder(PolygonsOf(figure))) || AreEqual(drawn, WholePixels(loops.outer));
}

ForeignFigure Placed(std::string name, const char* className, ImagePoint center) {
    return {
        .name = std::move(name), .className = className, .parameters = {{"CenterX", center.x}, {"CenterY", center.y}}};
}

void Take(double& left, double wanted, const char* what) {
    if (!(wanted <= left)) {
        throw std::runtime_error(what);
    }
    left -= wanted;
}

Figure BuildPlain(const Session& session, const ForeignFigure& description, const std::string& name) {
    Figure figure = session.Create(name, description.className);
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
    for (const auto& [parameter, value] : description.parameters) {
        assignments.emplace_back(parameter + '=' + NumberText(value));
    }
    SetParameters(figure, assignments);
    return figure;
}

// Nothing where no figure is carried, and where others have changed what is drawn.
std::optional<Figure> BuildCarried(const Session& session, const ForeignFigure& description) {
    if (description.carried == nullptr) {
        return std::nullopt;
    }
    try {
        Figure figure = BuildPlain(session, *description.carried, description.name);
        return IsDrawnAs(figure, description.drawn) ? std::optional(std::move(figure)) : std::nullopt;
    } catch (const Error&) {
        return std::nullopt;
    }
}

}  // namespace

void Reading::TakePixels(double pixels) { Take(m_pixelsLeft, pixels, "its masks have too many pixels"); }

void Reading::TakeCrossings(double rows) { Take(m_crossingsLeft, rows, "its outlines are too long"); }

ForeignFigure Describe(const Figure& figure) {
    ForeignFigure description{.name = figure.name, .className = figure.type->name, .mask = MaskImageOf(figure)};
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

Figure Build(const Session& session, const ForeignFigure& description, std::vector<Warning>& warnings) {
    if (auto carried = BuildCarried(session, description)) {
        return std::move(*carried);
    }
    if (!description.warning.empty()) {
        warnings.push_back({description.name, description.warning});
    }
    return BuildPlain(session, description, description.name);
}

Loops LoopsOf(const Figure& figure) {
    const Outline outline = figure.type->outline(figure);
    if (outline.isImage) {
        return RunsOf(figure);
    }
    std::vector<Loop> all;
    std::transform(outline.contours.begin(), outline.contours.end(), std::back_inserter(all),
                   [](const Contour& contour) { return CornersOf(contour, kSagitta); });
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

double SignedArea(const Loop& loop) {
    double area = 0.0;
    for (std::size_t i = 0; i < loop.size(); ++i) {
        const ImagePoint& a = loop[i];
        const ImagePoint& b = loop[(i + 1) % loop.size()];
        area += 0.5 * (a.x * b.y - b.x * a.y);
    }
    return area;
}

std::vector<Loops> PolygonsOf(const Figure& figure) {
    if (figure.type->outline(figure).isImage) {
        return PolygonsOf(MaskImageOf(figure), OriginOf(figure));
    }
    return {LoopsOf(figure)};
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
    ForeignFigure figure{.name = std::move(name), .className = "ROIProfile"};
    const double thickness = 0.5 * (width > 0.0 ? width : 1.0);
    for (const ImagePoint& at : points) {
        figure.points.push_back({at, thickness, thickness});
    }
    return figure;
}

ForeignFigure SpotFigure(std::string name, ImagePoint at) { return BoxFigure(std::move(name), at, 1.0, 1.0, 0.0); }

ForeignFigure RegionFigure(std::string name, const std::vector<Loop>& loops, Reading& reading) {
    if (loops.size() == 1 && loops.front().size() >= 3) {
        ForeignFigure shape{.name = std::move(name), .className = "ROIShape"};
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
    Crossings crossings(loops, low.y, mask.Size().height, reading);
    for (int y = 0; y < mask.Size().height; ++y) {
        FillRow(crossings.InRow(y), low.x, mask.Row<unsigned char>(y), mask.Size().width);
    }
    ForeignFigure figure =
        MaskFigure(std::move(name), std::move(mask), static_cast<int>(low.x), static_cast<int>(low.y));
    figure.warning = "a region of several outlines becomes a mask of its pixels";
    return figure;
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
