#include "host/draw/Overlay.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <opencv2/imgproc.hpp>
#include <string>

#include "contract/Numbers.h"
#include "host/base/Error.h"
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

// Along the outermost pixels of what an image shows of a mask, holes included.
std::vector<Path> Contours(const std::vector<Span>& /*spans*/) {
    std::vector<std::vector<cv::Point>> contours;
    std::vector<Path> paths;
    paths.reserve(contours.size());
    for (const auto& contour : contours) {
        paths.push_back(Closed(Path(contour.begin(), contour.end())));
    }
    return paths;
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

std::vector<Path> OutlinesOf(const Figure& figure, const View& view) {
    const Outline outline = figure.type->outline(figure);
    std::vector<Path> paths;
    if (outline.isImage) {
        paths = Contours(view.pixels.spans);
        paths.push_back(BoundsPath(*figure.roi));
        return paths;
    }
    std::transform(outline.contours.begin(), outline.contours.end(), std::back_inserter(paths), PathOf);
    Path axis;
    std::transform(outline.axis.begin(), outline.axis.end(), std::back_inserter(axis),
                   [](ImagePoint p) { return cv::Point2d(p.x, p.y); });
    paths.push_back(std::move(axis));
    return paths;
}

// ---------------------------------------------------------------------------------------------------
// Drawing

const cv::Scalar kDark(24, 20, 16);

// Bright colours that differ in hue, in blue, green and red.
const std::array<cv::Scalar, 8> kPalette = {
    cv::Scalar(60, 205, 255), cv::Scalar(255, 200, 70),  cv::Scalar(150, 110, 255), cv::Scalar(110, 230, 120),
    cv::Scalar(70, 140, 255), cv::Scalar(255, 140, 200), cv::Scalar(210, 225, 60),  cv::Scalar(180, 190, 250),
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

    void Tint(const cv::Rect& box, const cv::Scalar& color) const {
        constexpr double kShare = 0.14;
        cv::Mat pixels = m_picture(box);
        pixels.convertTo(pixels, -1, 1.0 - kShare);
        cv::add(pixels, color * kShare, pixels);
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
        const cv::Rect2d room(-kMargin, -kMargin, m_picture.cols + 2.0 * kMargin, m_picture.rows + 2.0 * kMargin);
        const cv::Point2d direction = to - from;
        if (const auto seen = ClipLine(room, from, direction, {0.0, 1.0})) {
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
    View view;
    std::vector<Path> outlines;
    std::vector<Node> nodes;

    Sketch(const std::vector<Figure>& figures, std::size_t index, cv::Size image)
        : figure(&figures[index]),
          color(kPalette[index % kPalette.size()]),
          view(Region(*figure, PixelRule::outline).In({image.width, image.height})),
          outlines(OutlinesOf(*figure, view)),
          nodes(NodesOf(*figure)) {}

    void MapInto(const Frame& frame) {
        for (Path& path : outlines) {
            for (cv::Point2d& point : path) {
                point = frame.Map(point);
            }
        }
        for (Node& node : nodes) {
            const cv::Point2d at = frame.Map(cv::Point2d(node.at.x, node.at.y));
            node.at = {at.x, at.y};
        }
    }
};

// In layers, so that no figure's border hides another's line or number.
void Draw(cv::Mat& picture, const Frame& frame, std::vector<Sketch> sketches, NodeMarks marks) {
    Pen pen(picture, frame.boldness);
    for (Sketch& sketch : sketches) {
        sketch.MapInto(frame);
        for (const Span& span : sketch.view.pixels.spans) {
            pen.Tint(frame.Map(cv::Rect(span.firstX, span.y, span.Length(), 1)), sketch.color);
        }
    }
    const auto drawOutlines = [&pen](const Sketch& sketch, const cv::Scalar& color, double width) {
        for (const Path& path : sketch.outlines) {
            pen.Draw(path, color, width);
        }
    };
    for (const Sketch& sketch : sketches) {
        drawOutlines(sketch, kDark, 2.8);
    }
    for (const Sketch& sketch : sketches) {
        drawOutlines(sketch, sketch.color, 1.2);
    }
    for (const Sketch& sketch : sketches) {
        for (const Node& node : sketch.nodes) {
            pen.DrawNode({node.at.x, node.at.y}, sketch.color);
        }
    }
    for (const Sketch& sketch : sketches) {
        if (marks == NodeMarks::numbered) {
            NumberNodes(pen, sketch.nodes, sketch.color);
        }
    }
    for (const Sketch& sketch : sketches) {
        DrawName(pen, sketch.figure->name, sketch.outlines, picture.size(), sketch.color);
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

void DrawOverlay(cv::Mat& picture, const std::vector<Figure>& figures, NodeMarks marks) {
    std::vector<Sketch> sketches;
    for (std::size_t i = 0; i < figures.size(); ++i) {
        sketches.emplace_back(figures, i, picture.size());
    }
    Draw(picture, {cv::Rect(cv::Point(0, 0), picture.size())}, std::move(sketches), marks);
}

cv::Mat DrawCloseUp(const cv::Mat& image, const std::vector<Figure>& figures, std::size_t index, NodeMarks marks) {
    constexpr int kLeastSide = 600;
    constexpr double kBoldness = 1.6;  // One figure has the picture to itself.
    const Sketch sketch(figures, index, image.size());
    const cv::Rect window = WindowOf(sketch, image.size());
    if (window.empty()) {
        throw Error("cannot crop", figures[index].name, "the figure lies outside the image");
    }
    const int side = std::max(window.width, window.height);
    const int scale = std::max(1, (kLeastSide + side - 1) / side);
    cv::Mat picture;
    cv::resize(image(window), picture, {}, scale, scale, cv::INTER_NEAREST);
    Draw(picture, {window, scale, kBoldness}, {sketch}, marks);
    return picture;
}

}  // namespace host
