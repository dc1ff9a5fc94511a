#include "host/draw/Overlay.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <opencv2/imgproc.hpp>
#include <string>

#include "contract/Numbers.h"
#include "host/base/Error.h"
#include "host/draw/Border.h"
#include "host/figures/FigureClass.h"
#include "host/figures/Nodes.h"
#include "host/measure/ClipLine.h"
#include "host/measure/Region.h"

namespace host {

namespace {

using Path = std::vector<cv::Point2d>;

// ---------------------------------------------------------------------------------------------------
// Outlines: open paths; a closed one ends where it begins

Path Closed(Path path) {
    if (!path.empty()) {
        path.push_back(path.front());
    }
    return path;
}

// Chords that leave the curve by no more than a tenth of a pixel, within reason and enlarged too.
void AppendArc(const Arc& arc, Path& path) {
    const double radius = std::max(std::abs(arc.radiusX), std::abs(arc.radiusY));
    const double chords = kPi * std::sqrt(radius / (2.0 * 0.1));
    const int count = chords < 4096.0 ? std::max(180, ToInt32(chords)) : 4096;
    for (int i = 0; i <= count; ++i) {
        const double angle = arc.start + arc.delta * i / count;
        path.emplace_back(arc.center.x + arc.radiusX * std::cos(angle), arc.center.y + arc.radiusY * std::sin(angle));
    }
}

Path PathOf(const Contour& contour) {
    Path path;
    for (const auto& piece : contour) {
        if (const auto* point = std::get_if<ImagePoint>(&piece)) {
            path.emplace_back(point->x, point->y);
        } else {
            AppendArc(std::get<Arc>(piece), path);
        }
    }
    return Closed(std::move(path));
}

Path BoundsPath(IROI& roi) {
    int left = 0;
    int top = 0;
    unsigned int width = 0;
    unsigned int height = 0;
    if (Failed(roi.GetBoundingRect(&left, &top, &width, &height))) {
        return {};
    }
    const double right = left + static_cast<double>(width) - 1.0;
    const double bottom = top + static_cast<double>(height) - 1.0;
    return Closed({cv::Point2d(left, top),
                   {right, static_cast<double>(top)},
                   {right, bottom},
                   {static_cast<double>(left), bottom}});
}

// Around everything that is drawn of a figure.
std::vector<Path> OutlinesOf(const Figure& figure, const Outline& outline) {
    if (outline.isImage) {
        return {BoundsPath(*figure.roi)};
    }
    std::vector<Path> paths;
    std::transform(outline.contours.begin(), outline.contours.end(), std::back_inserter(paths), PathOf);
    return paths;
}

// The polyline of a profile.
Path AxisOf(const Outline& outline) {
    Path axis;
    std::transform(outline.axis.begin(), outline.axis.end(), std::back_inserter(axis),
                   [](ImagePoint p) { return cv::Point2d(p.x, p.y); });
    return axis;
}

// The edge around the pixels that count.
std::vector<Path> EdgeOf(const PixelSet& pixels) {
    std::vector<Path> lines;
    for (const BorderLine& line : BorderOf(pixels)) {
        lines.push_back({{line.x0 - 0.5, line.y0 - 0.5}, {line.x1 - 0.5, line.y1 - 0.5}});
    }
    return lines;
}

// ---------------------------------------------------------------------------------------------------
// Drawing

const cv::Scalar kDark(16, 20, 24);

// Bright colours that differ in hue, in red, green and blue.
const std::array<cv::Scalar, 8> kPalette = {
    cv::Scalar(255, 205, 60), cv::Scalar(70, 200, 255),  cv::Scalar(255, 110, 150), cv::Scalar(120, 230, 110),
    cv::Scalar(255, 140, 70), cv::Scalar(200, 140, 255), cv::Scalar(60, 225, 210),  cv::Scalar(250, 190, 180),
};

// The Hershey letters know ASCII only: every other character is a question mark.
std::string Ascii(const std::string& utf8) {
    std::string ascii;
    for (const char c : utf8) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x80) {
            ascii.push_back(c);
        } else if (byte >= 0xC0) {
            ascii.push_back('?');
        }
    }
    return ascii;
}

class Pen {
  public:
    Pen(cv::Mat& picture, double boldness)
        : m_picture(picture),
          m_taken(picture.size(), CV_8U, cv::Scalar(0)),
          m_unit(boldness * UnitOf(std::max(picture.cols, picture.rows))) {}

    // A length that grows with the picture.
    double Scaled(double length) const noexcept { return length * m_unit; }

    void Tint(const cv::Rect& box, const cv::Scalar& color, double weight) const {
        const double share = 0.14 * weight;
        cv::Mat pixels = m_picture(box);
        pixels.convertTo(pixels, -1, 1.0 - share);
        cv::add(pixels, color * share, pixels);
    }

    void Draw(const Path& path, const cv::Scalar& color, double width) const {
        for (std::size_t i = 1; i < path.size(); ++i) {
            DrawLine(path[i - 1], path[i], color, width);
        }
    }

    void DrawNode(cv::Point2d at, const cv::Scalar& color) {
        if (Shows(at)) {
            cv::circle(m_picture, Fixed(at), Fixed(Scaled(3.6)), kDark, cv::FILLED, cv::LINE_AA, kShift);
            cv::circle(m_picture, Fixed(at), Fixed(Scaled(2.3)), color, cv::FILLED, cv::LINE_AA, kShift);
            const double reach = Scaled(4.0);
            Take(cv::Rect2d(at.x - reach, at.y - reach, 2.0 * reach, 2.0 * reach));
        }
    }

    cv::Size TextSize(const std::string& text, double height) const {
        int baseline = 0;
        return cv::getTextSize(text, kFont, FontScale(height), 1, &baseline);
    }

    // Writes a text around that one of several places where it covers the fewest nodes and texts; the
    // first counts among equals. The text is moved as little as needed to lie inside the picture.
    void Write(const std::string& text, const Path& places, double height, const cv::Scalar& color) {
        const cv::Size size = TextSize(text, height);
        cv::Rect best;
        int least = std::numeric_limits<int>::max();
        for (const cv::Point2d& place : places) {
            const cv::Rect box(Inside(place.x, size.width, m_picture.cols),
                               Inside(place.y, size.height, m_picture.rows), size.width, size.height);
            const int covered = cv::countNonZero(m_taken(box & Everything()));
            if (covered < least) {
                least = covered;
                best = box;
            }
        }
        Take(best);
        const cv::Point origin(best.x, best.y + best.height);
        const int width = std::max(1, ToInt32(std::round(Scaled(height / 12.0))));
        const int border = ToInt32(std::round(Scaled(1.2)));
        cv::putText(m_picture, text, origin, kFont, FontScale(height), kDark, width + 2 * border, cv::LINE_AA);
        cv::putText(m_picture, text, origin, kFont, FontScale(height), color, width, cv::LINE_AA);
    }

    bool Shows(cv::Point2d at) const noexcept {
        return at.x >= 0.0 && at.y >= 0.0 && at.x <= m_picture.cols - 1 && at.y <= m_picture.rows - 1;
    }

  private:
    static constexpr int kShift = 4;
    static constexpr int kFont = cv::FONT_HERSHEY_SIMPLEX;

    // Lengths are meant for a picture of 900 pixels. They grow in proportion; a thumbnail's shrink as far as
    // its letters stay readable.
    static double UnitOf(int side) noexcept { return std::clamp(side / 400.0, 0.6, std::max(1.0, side / 900.0)); }

    static int Fixed(double value) noexcept { return ToInt32(std::round(value * (1 << kShift))); }
    static cv::Point Fixed(cv::Point2d at) noexcept { return {Fixed(at.x), Fixed(at.y)}; }
    cv::Rect Everything() const noexcept { return {cv::Point(0, 0), m_picture.size()}; }
    void Take(const cv::Rect& box) { m_taken(box & Everything()).setTo(1); }

    // Where a length around `middle` begins, kept inside a room.
    int Inside(double middle, int length, int room) const noexcept {
        const double border = Scaled(3.0);
        return ToInt32(std::max(border, std::min(middle - 0.5 * length, room - length - border)));
    }

    // Capital letters of this font are 22 pixels high at scale 1.
    double FontScale(double height) const noexcept { return Scaled(height) / 22.0; }

    void DrawLine(cv::Point2d from, cv::Point2d to, const cv::Scalar& color, double width) const {
        // Wide enough that the ends of a cut line are not seen.
        constexpr double kMargin = 64.0;
        const ClipBox room{-kMargin, -kMargin, m_picture.cols + kMargin, m_picture.rows + kMargin};
        const cv::Point2d direction = to - from;
        if (const auto seen = ClipLine(room, {from.x, from.y}, {direction.x, direction.y}, {0.0, 1.0})) {
            cv::line(m_picture, Fixed(from + direction * seen->from), Fixed(from + direction * seen->to), color,
                     std::max(1, ToInt32(std::round(Scaled(width)))), cv::LINE_AA, kShift);
        }
    }

    cv::Mat& m_picture;
    cv::Mat m_taken;  // not 0 where a node or a text stands
    double m_unit;
};

// The middle of the points that are numbers.
cv::Point2d MiddleOf(const std::vector<Node>& nodes) {
    cv::Point2d sum;
    int count = 0;
    for (const Node& node : nodes) {
        if (std::isfinite(node.at.x) && std::isfinite(node.at.y)) {
            sum += cv::Point2d(node.at.x, node.at.y);
            ++count;
        }
    }
    return count > 0 ? sum / count : sum;
}

// A node's number stands on the side that faces away from the figure's middle, or turned from there as
// far as it takes to find room. A long profile shows its nodes without numbers.
void NumberNodes(Pen& pen, const std::vector<Node>& nodes, const cv::Scalar& color) {
    constexpr std::size_t kMostNumbers = 100;
    constexpr double kHeight = 7.5;
    if (nodes.size() > kMostNumbers) {
        return;
    }
    const cv::Point2d middle = MiddleOf(nodes);
    for (const Node& node : nodes) {
        const cv::Point2d at(node.at.x, node.at.y);
        if (!pen.Shows(at)) {
            continue;
        }
        const cv::Point2d away = at - middle;
        const double outward = std::hypot(away.x, away.y) > 2.0 ? std::atan2(away.y, away.x) : 0.5 * kPi;
        const cv::Size size = pen.TextSize(node.number, kHeight);
        const double gap = pen.Scaled(5.5);
        Path places;
        for (const int turn : {0, 1, -1, 2, -2, 3, -3, 4}) {
            const double angle = outward + turn * 0.25 * kPi;
            places.emplace_back(at.x + std::cos(angle) * (gap + 0.5 * size.width),
                                at.y + std::sin(angle) * (gap + 0.5 * size.height));
        }
        pen.Write(node.number, places, kHeight, color);
    }
}

// The smallest box around the points that are numbers, as its corners; the first lies beyond the last when
// there are none.
struct Extent {
    cv::Point2d first{std::numeric_limits<double>::infinity(), std::numeric_limits<double>::infinity()};
    cv::Point2d last{-first};

    void Include(cv::Point2d point) noexcept {
        if (std::isfinite(point.x) && std::isfinite(point.y)) {
            first = {std::min(first.x, point.x), std::min(first.y, point.y)};
            last = {std::max(last.x, point.x), std::max(last.y, point.y)};
        }
    }
    void Include(const std::vector<Path>& paths) noexcept {
        for (const Path& path : paths) {
            for (const cv::Point2d& point : path) {
                Include(point);
            }
        }
    }
};

// The name stands below the figure or above it.
void DrawName(Pen& pen, const std::string& name, const std::vector<Path>& outlines, cv::Size picture,
              const cv::Scalar& color) {
    Extent extent;
    extent.Include(outlines);
    const auto& [first, last] = extent;
    if (first.x > picture.width || first.y > picture.height || last.x < 0.0 || last.y < 0.0) {
        return;
    }
    constexpr double kHeight = 11.0;
    const double middle = 0.5 * (std::max(first.x, 0.0) + std::min(last.x, static_cast<double>(picture.width)));
    const double gap = pen.Scaled(24.0);
    const Path places = {{middle, last.y + gap}, {middle, first.y - gap}};
    const bool below = last.y + gap + pen.Scaled(kHeight) < picture.height;
    pen.Write(Ascii(name), below ? places : Path(places.rbegin(), places.rend()), kHeight, color);
}

// ---------------------------------------------------------------------------------------------------
// Pictures

// The part of an image that a picture shows, each of its pixels as a square of `scale` pixels, and how bold
// lines and letters are in it.
struct Frame {
    cv::Rect window;
    int scale = 1;
    double boldness = 1.0;

    // Pixel (i, j) is the point (i, j): the middle of its square.
    cv::Point2d Map(cv::Point2d at) const noexcept {
        return {(at.x - window.x + 0.5) * scale - 0.5, (at.y - window.y + 0.5) * scale - 0.5};
    }
    cv::Rect Map(const cv::Rect& pixels) const noexcept {
        const cv::Rect seen = pixels & window;
        return {(seen.x - window.x) * scale, (seen.y - window.y) * scale, seen.width * scale, seen.height * scale};
    }
};

// What is drawn of a figure, in the image's coordinates or, framed, in the picture's.
struct Sketch {
    const Figure* figure;
    cv::Scalar color;
    PixelSet pixels;
    std::vector<Path> lines;
    std::vector<Path> outlines;
    std::vector<Node> nodes;

    Sketch(const RoiSet& set, const Figure& drawn, PixelSize image, PixelRule rule)
        : figure(&drawn),
          color(kPalette[static_cast<std::size_t>(&drawn - set.Figures().data()) % kPalette.size()]),
          pixels(Region(drawn, rule).In(image).pixels),
          lines(EdgeOf(pixels)),
          nodes(NodesOf(drawn)) {
        const Outline outline = drawn.type->outline(drawn);
        outlines = OutlinesOf(drawn, outline);
        lines.push_back(AxisOf(outline));
    }

    void MapInto(const Frame& frame) {
        for (std::vector<Path>* const paths : {&lines, &outlines}) {
            for (Path& path : *paths) {
                std::transform(path.begin(), path.end(), path.begin(), [&](cv::Point2d p) { return frame.Map(p); });
            }
        }
        for (Node& node : nodes) {
            const cv::Point2d at = frame.Map(cv::Point2d(node.at.x, node.at.y));
            node.at = {at.x, at.y};
        }
    }
};

// In layers, so that no figure's border hides another's line or number.
void Draw(cv::Mat& picture, const Frame& frame, std::vector<Sketch> sketches, const OverlayOptions& options) {
    Pen pen(picture, frame.boldness);
    for (Sketch& sketch : sketches) {
        sketch.MapInto(frame);
        for (const Span& span : sketch.pixels.spans) {
            pen.Tint(frame.Map(cv::Rect(span.firstX, span.y, span.Length(), 1)), sketch.color, 1.0);
        }
        for (const PartPixel& part : sketch.pixels.parts) {
            pen.Tint(frame.Map(cv::Rect(part.x, part.y, 1, 1)), sketch.color, part.weight);
        }
    }
    const auto drawLines = [&pen](const Sketch& sketch, const cv::Scalar& color, double width) {
        for (const Path& path : sketch.lines) {
            pen.Draw(path, color, width);
        }
    };
    for (const Sketch& sketch : sketches) {
        drawLines(sketch, kDark, 2.8);
    }
    for (const Sketch& sketch : sketches) {
        drawLines(sketch, sketch.color, 1.2);
    }
    if (options.nodes) {
        for (const Sketch& sketch : sketches) {
            for (const Node& node : sketch.nodes) {
                pen.DrawNode({node.at.x, node.at.y}, sketch.color);
            }
        }
        for (const Sketch& sketch : sketches) {
            NumberNodes(pen, sketch.nodes, sketch.color);
        }
    }
    if (options.names) {
        for (const Sketch& sketch : sketches) {
            DrawName(pen, sketch.figure->name, sketch.outlines, picture.size(), sketch.color);
        }
    }
}

// The figure and its nodes with a margin, as far as they lie in the image; empty when they do not.
cv::Rect WindowOf(const Sketch& sketch, cv::Size image) {
    Extent extent;
    extent.Include(sketch.outlines);
    for (const Node& node : sketch.nodes) {
        extent.Include(cv::Point2d(node.at.x, node.at.y));
    }
    const cv::Point2d size = extent.last - extent.first;
    const double margin = std::max(8.0, 0.12 * std::max(size.x, size.y));
    const auto low = [margin](double first) { return ToInt32(std::floor(std::max(first - margin, 0.0))); };
    const auto high = [margin](double last, int room) {
        return ToInt32(std::ceil(std::min(last + margin, room - 1.0))) + 1;
    };
    if (!(extent.first.x < image.width && extent.first.y < image.height && extent.last.x >= 0.0 &&
          extent.last.y >= 0.0)) {
        return {};
    }
    return {cv::Point(low(extent.first.x), low(extent.first.y)),
            cv::Point(high(extent.last.x, image.width), high(extent.last.y, image.height))};
}

}  // namespace

void DrawOverlay(Raster& picture, const RoiSet& set, const OverlayOptions& options) {
    std::vector<Sketch> sketches;
    const auto add = [&](const Figure& figure) { sketches.emplace_back(set, figure, picture.Size(), options.rule); };
    std::for_each(options.only.begin(), options.only.end(), [&](const std::string& name) { add(set.At(name)); });
    if (options.only.empty()) {
        std::for_each(set.Figures().begin(), set.Figures().end(), add);
    }
    cv::Mat pixels(picture.Size().height, picture.Size().width, CV_8UC3, picture.Data());
    Draw(pixels, {cv::Rect(cv::Point(0, 0), pixels.size())}, std::move(sketches), options);
}

Raster DrawCloseUp(const RasterView& image, const RoiSet& set, const std::string& name, const OverlayOptions& options) {
    constexpr int kLeastSide = 600;
    constexpr double kBoldness = 1.6;  // One figure has the picture to itself.
    const Sketch sketch(set, set.At(name), image.size, options.rule);
    const cv::Rect window = WindowOf(sketch, {image.size.width, image.size.height});
    if (window.empty()) {
        throw Error("cannot crop", name, "the figure lies outside the image");
    }
    const int side = std::max(window.width, window.height);
    const int scale = std::max(1, (kLeastSide + side - 1) / side);
    Raster picture({window.width * scale, window.height * scale}, 3, Depth::u8);
    cv::Mat pixels(picture.Size().height, picture.Size().width, CV_8UC3, picture.Data());
    // OpenCV takes a matrix and only reads it.
    const cv::Mat source(image.size.height, image.size.width, CV_8UC3, const_cast<std::byte*>(image.data),
                         static_cast<std::size_t>(image.rowStride));
    cv::resize(source(window), pixels, pixels.size(), 0.0, 0.0, cv::INTER_NEAREST);
    Draw(pixels, {window, scale, kBoldness}, {sketch}, options);
    return picture;
}

}  // namespace host
