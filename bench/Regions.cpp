// How fast are the pixels inside outlines found, and how much of each?
#include <cairo.h>
#include <fmt/format.h>
#include <geos_c.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <opencv2/imgproc.hpp>

#include "bench/Questions.h"
#include "bench/RatioTable.h"
#include "contract/Numbers.h"
#include "host/figures/FigureClass.h"
#include "host/measure/Coverage.h"
#include "host/measure/Edges.h"
#include "host/measure/Region.h"
#include "host/measure/Spans.h"

namespace {

using Polygons = std::vector<std::vector<Point>>;

// An outline as the others take it: an ellipse as chords of about a pixel.
Polygons PolygonsOf(const host::Figure& figure) {
    Polygons polygons;
    for (const host::Contour& contour : figure.type->outline(figure).contours) {
        std::vector<Point>& polygon = polygons.emplace_back();
        for (const auto& piece : contour) {
            if (const auto* corner = std::get_if<host::ImagePoint>(&piece)) {
                polygon.push_back({corner->x, corner->y});
                continue;
            }
            const auto& arc = std::get<host::Arc>(piece);
            const int chords = static_cast<int>(std::ceil(std::abs(arc.delta) * std::max(arc.radiusX, arc.radiusY)));
            for (int i = 0; i < chords; ++i) {
                const double angle = arc.start + arc.delta * i / chords;
                polygon.push_back(
                    {arc.center.x + arc.radiusX * std::cos(angle), arc.center.y + arc.radiusY * std::sin(angle)});
            }
        }
    }
    return polygons;
}

std::int64_t CountOf(const host::PixelSet& pixels) {
    std::int64_t count = 0;
    for (const host::Span& span : pixels.spans) {
        count += span.Length();
    }
    return count;
}

// ---------------------------------------------------------------------------------------------------
// The same by others

// Draws the polygons one after the other, as a band that crosses itself needs it; a ring's hole at last.
cv::Mat FilledByOpenCV(const std::vector<std::vector<cv::Point>>& polygons, bool isRing, int size) {
    cv::Mat image(size, size, CV_8U, cv::Scalar(0));
    if (isRing) {
        cv::fillPoly(image, polygons, 255);
    } else {
        for (const auto& polygon : polygons) {
            cv::fillPoly(image, std::vector{polygon}, 255);
        }
    }
    return image;
}

cv::Mat EllipsesByOpenCV(const std::vector<host::Arc>& arcs, int size) {
    cv::Mat image(size, size, CV_8U, cv::Scalar(0));
    for (std::size_t i = 0; i < arcs.size(); ++i) {
        const auto& [center, radiusX, radiusY, start, delta] = arcs[i];
        cv::ellipse(image, cv::Point(cvRound(center.x), cvRound(center.y)),
                    cv::Size(cvRound(radiusX), cvRound(radiusY)), 0.0, 0.0, 360.0, i == 0 ? 255 : 0, cv::FILLED);
    }
    return image;
}

std::shared_ptr<cairo_surface_t> FilledByCairo(const Polygons& polygons, int size, cairo_antialias_t parts) {
    std::shared_ptr<cairo_surface_t> surface(cairo_image_surface_create(CAIRO_FORMAT_A8, size, size),
                                             cairo_surface_destroy);
    const std::unique_ptr<cairo_t, decltype(&cairo_destroy)> pen(cairo_create(surface.get()), cairo_destroy);
    cairo_set_antialias(pen.get(), parts);
    for (const auto& polygon : polygons) {
        for (const Point& p : polygon) {
            cairo_line_to(pen.get(), p.x + 0.5, p.y + 0.5);
        }
        cairo_close_path(pen.get());
    }
    cairo_fill(pen.get());
    cairo_surface_flush(surface.get());
    return surface;
}

// How much of every pixel lies in the polygons, by cutting each of those about the border.
class Geos {
  public:
    Geos(const Polygons& polygons, bool isRing) {
        std::vector<GEOSGeometry*> parts;
        for (const auto& polygon : polygons) {
            GEOSCoordSequence* const corners =
                GEOSCoordSeq_create_r(m_geos, static_cast<unsigned>(polygon.size()) + 1, 2);
            for (unsigned i = 0; i <= polygon.size(); ++i) {
                const Point p = polygon[i % polygon.size()];
                GEOSCoordSeq_setXY_r(m_geos, corners, i, p.x, p.y);
            }
            parts.push_back(GEOSGeom_createPolygon_r(m_geos, GEOSGeom_createLinearRing_r(m_geos, corners), nullptr, 0));
        }
        m_figure =
            GEOSGeom_createCollection_r(m_geos, GEOS_MULTIPOLYGON, parts.data(), static_cast<unsigned>(parts.size()));
        m_area = isRing ? GEOSSymDifference_r(m_geos, GEOSGetGeometryN_r(m_geos, m_figure, 0),
                                              GEOSGetGeometryN_r(m_geos, m_figure, 1))
                        : GEOSUnaryUnion_r(m_geos, m_figure);
    }
    ~Geos() {
        GEOSGeom_destroy_r(m_geos, m_area);
        GEOSGeom_destroy_r(m_geos, m_figure);
        GEOS_finish_r(m_geos);
    }
    Geos(const Geos&) = delete;
    Geos& operator=(const Geos&) = delete;

    double Parts(const host::PartPixels& border) const {
        double sum = 0.0;
        for (const host::PartPixel pixel : border) {
            GEOSGeometry* const part =
                GEOSClipByRect_r(m_geos, m_area, pixel.x - 0.5, pixel.y - 0.5, pixel.x + 0.5, pixel.y + 0.5);
            double area = 0.0;
            GEOSArea_r(m_geos, part, &area);
            GEOSGeom_destroy_r(m_geos, part);
            sum += area;
        }
        return sum;
    }

  private:
    GEOSContextHandle_t m_geos = GEOS_init_r();
    GEOSGeometry* m_figure;
    GEOSGeometry* m_area;
};

// ---------------------------------------------------------------------------------------------------
// Rows

std::vector<host::Arc> ArcsOf(const host::Figure& figure) {
    std::vector<host::Arc> arcs;
    for (const host::Contour& contour : figure.type->outline(figure).contours) {
        for (const auto& piece : contour) {
            if (const auto* arc = std::get_if<host::Arc>(&piece)) {
                arcs.push_back(*arc);
            }
        }
    }
    std::sort(arcs.begin(), arcs.end(), [](const auto& a, const auto& b) { return a.radiusX > b.radiusX; });
    return arcs;
}

void AddFigure(const std::string& what, int size, const host::Figure& figure) {
    const host::PixelRect field{0, 0, size, size};
    // Like the others ours starts from outlines that are known.
    const auto find = [outline = figure.type->outline(figure), field](auto inside) {
        return Repeat([=] { return inside(host::EdgesOf(outline), host::Searched(field)); });
    };
    const Polygons polygons = PolygonsOf(figure);
    std::vector<std::vector<cv::Point>> corners;
    for (const auto& polygon : polygons) {
        auto& rounded = corners.emplace_back();
        for (const Point& p : polygon) {
            rounded.emplace_back(cvRound(p.x), cvRound(p.y));
        }
    }
    const std::vector<host::Arc> arcs = ArcsOf(figure);
    const bool isRing = arcs.size() == 2;
    const std::int64_t count = CountOf(host::FindPixels(figure, field, host::PixelRule::outline).set);
    const auto differing = std::abs(cv::countNonZero(FilledByOpenCV(corners, isRing, size)) - count);
    if (differing > 20 * size) {
        throw std::runtime_error(fmt::format("{}: {} pixels differ", what, differing));
    }
    Row row(fmt::format("region, {}, {} wide", what, size));
    row.Ours(find(host::SpansOf))
        .Peer("OpenCV fillPoly", 3.0, Repeat([=] { return FilledByOpenCV(corners, isRing, size).data; }))
        .Peer("cairo, A8", 3.0, Repeat([=] { return FilledByCairo(polygons, size, CAIRO_ANTIALIAS_NONE); }));
    if (!arcs.empty()) {
        row.Peer("OpenCV ellipse", 3.0, Repeat([=] { return EllipsesByOpenCV(arcs, size).data; }));
    }
    Row parts(fmt::format("exact parts, {}, {} wide", what, size));
    parts.Ours(find(host::CoverageOf))
        .Limit("whole pixels", size == 2000 ? 3.0 : 0.0, find(host::SpansOf))
        .Peer("cairo, A8, antialiased", 0.0,
              Repeat([=] { return FilledByCairo(polygons, size, CAIRO_ANTIALIAS_BEST); }));
    const auto border = host::FindPixels(figure, field, host::PixelRule::exact).set.parts;
    parts.Peer("GEOS, clipping at the border only", 20.0,
               Repeat([geos = std::make_shared<const Geos>(polygons, isRing), border] { return geos->Parts(border); }));
}

host::Figure RolledRectangle(const host::Session& session, double size) {
    host::Figure figure = session.Create("rectangle", "ROIRectangle");
    const auto rectangle = figure.As<IROIRectangle>();
    rectangle->SetSize(0.86 * size, 0.516 * size);
    rectangle->SetCenter(0.5 * size, 0.5 * size);
    rectangle->put_Roll(0.4);
    return figure;
}

host::Figure Ellipse(const host::Session& session, double size) {
    host::Figure figure = session.Create("ellipse", "ROIEllipse");
    figure.roi->SetCenter(0.5 * size, 0.5 * size);
    figure.As<IROIEllipse>()->SetRadius(0.49 * size, 0.4 * size);
    return figure;
}

host::Figure RoundRing(const host::Session& session, double size) {
    host::Figure figure = session.Create("ring", "ROIDonut");
    figure.roi->SetCenter(0.5 * size, 0.5 * size);
    figure.As<IROIDonut>()->SetRadius(0, 0.29 * size, 0.29 * size);
    figure.As<IROIDonut>()->SetRadius(1, 0.49 * size, 0.49 * size);
    return figure;
}

host::Figure Band(const host::Session& session, double size) {
    host::Figure figure = session.Create("band", "ROIProfile");
    const auto profile = figure.As<IROIProfile>();
    constexpr int kPoints = 100;
    for (int i = 0; i < kPoints; ++i) {
        profile->AddPoint(size * (0.05 + 0.9 * i / (kPoints - 1)), size * (0.5 + 0.4 * std::sin(0.3 * i)));
        profile->SetThickness(i, 0.01 * size, 0.01 * size);
    }
    return figure;
}

}  // namespace

void AddRegions(const host::Session& session) {
    for (const int size : {71, 500, 2000}) {
        AddFigure("rolled rectangle", size, RolledRectangle(session, size));
        AddFigure("ellipse", size, Ellipse(session, size));
        AddFigure("ring", size, RoundRing(session, size));
        AddFigure("band of 100 points", size, Band(session, size));
    }
}
