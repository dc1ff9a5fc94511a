#include "host/draw/Overlay.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <span>
#include <stdexcept>
#include <utility>

#include "contract/Numbers.h"
#include "host/base/Error.h"
#include "host/base/LateModule.h"
#include "host/base/SafeFile.h"
#include "host/figures/FigureClass.h"
#include "host/figures/Nodes.h"
#include "host/images/Image.h"
#include "host/measure/Border.h"
#include "host/measure/ClipLine.h"
#include "host/measure/Edges.h"

namespace host {

namespace {

constexpr Colour kDark{16, 20, 24};

// Bright colours that differ in hue.
constexpr std::array<Colour, 8> kPalette = {{
    {255, 205, 60},
    {70, 200, 255},
    {255, 110, 150},
    {120, 230, 110},
    {255, 140, 70},
    {200, 140, 255},
    {60, 225, 210},
    {250, 190, 180},
}};

}  // namespace

std::span<const Colour> FigureColours() noexcept { return kPalette; }

namespace {

// ---------------------------------------------------------------------------------------------------
// What is drawn of a figure, in the image's coordinates

// The smallest box around points that are numbers; the left lies right of the right when there are none.
struct Extent {
    ClipBox box{std::numeric_limits<double>::infinity(), std::numeric_limits<double>::infinity(),
                -std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity()};

    void Include(ImagePoint point) noexcept {
        if (std::isfinite(point.x) && std::isfinite(point.y)) {
            box = {std::min(box.left, point.x), std::min(box.top, point.y), std::max(box.right, point.x),
                   std::max(box.bottom, point.y)};
        }
    }
    bool Meets(PixelSize image) const noexcept {
        return box.left < image.width && box.top < image.height && box.right >= 0.0 && box.bottom >= 0.0;
    }
};

Extent ExtentOf(const Figure& figure, const Outline& outline) {
    Extent extent;
    if (outline.isImage) {
        int left = 0;
        int top = 0;
        unsigned int width = 0;
        unsigned int height = 0;
        if (Succeeded(figure.roi->GetBoundingRect(&left, &top, &width, &height))) {
            extent.Include(ImagePoint(left, top));
            extent.Include({left + static_cast<double>(width) - 1.0, top + static_cast<double>(height) - 1.0});
        }
        return extent;
    }
    const EdgeExtent curves = ExtentOf(EdgesOf(outline));
    extent.Include({curves.left, curves.top});
    extent.Include({curves.right, curves.bottom});
    // What is level has no edges.
    for (const Contour& contour : outline.contours) {
        for (const auto& piece : contour) {
            if (const auto* point = std::get_if<ImagePoint>(&piece)) {
                extent.Include(*point);
            }
        }
    }
    return extent;
}

struct Sketch {
    std::string name;
    Colour colour;
    PixelSet pixels;
    std::vector<Path> edge;  // around the pixels that count
    Path axis;               // the polyline of a profile
    std::vector<Node> nodes;
    Extent extent;

    Sketch(const RoiSet& set, const Figure& figure, PixelSize image, PixelRule rule)
        : name(figure.name),
          colour(kPalette[static_cast<std::size_t>(&figure - set.Figures().data()) % kPalette.size()]),
          pixels(Region(figure, rule).In(image).pixels),
          nodes(NodesOf(figure)) {
        for (const BorderLine& line : BorderOf(pixels)) {
            edge.push_back({{line.x0 - 0.5, line.y0 - 0.5}, {line.x1 - 0.5, line.y1 - 0.5}});
        }
        Outline outline = figure.type->outline(figure);
        extent = ExtentOf(figure, outline);
        axis = std::move(outline.axis);
    }
};

// The figure and its nodes with a margin, as far as they lie in the image; empty when they do not.
PixelRect WindowAround(const Sketch& sketch, PixelSize image) {
    Extent extent = sketch.extent;
    for (const Node& node : sketch.nodes) {
        extent.Include(node.at);
    }
    if (!extent.Meets(image)) {
        return {};
    }
    const ClipBox& box = extent.box;
    const double margin = std::max(8.0, 0.12 * std::max(box.right - box.left, box.bottom - box.top));
    const auto low = [margin](double first) { return ToInt32(std::floor(std::max(first - margin, 0.0))); };
    const auto length = [margin](double last, int room, int first) {
        return ToInt32(std::ceil(std::min(last + margin, room - 1.0))) + 1 - first;
    };
    const int left = low(box.left);
    const int top = low(box.top);
    return {left, top, length(box.right, image.width, left), length(box.bottom, image.height, top)};
}

// The part of an image that a picture shows, each of its pixels as a square of `scale` pixels.
struct Frame {
    PixelRect window;
    int scale;

    PixelSize Picture() const noexcept { return {window.width * scale, window.height * scale}; }
    ImagePoint Map(ImagePoint at) const noexcept {
        return {(at.x - window.left + 0.5) * scale, (at.y - window.top + 0.5) * scale};
    }
    PixelRect Map(const PixelRect& pixels) const noexcept {
        const PixelRect seen = Intersection(pixels, window);
        return {(seen.left - window.left) * scale, (seen.top - window.top) * scale, seen.width * scale,
                seen.height * scale};
    }
    void MapLines(Sketch& sketch) const {
        const auto map = [this](Path& path) {
            std::transform(path.begin(), path.end(), path.begin(), [this](ImagePoint p) { return Map(p); });
        };
        std::for_each(sketch.edge.begin(), sketch.edge.end(), map);
        map(sketch.axis);
        for (Node& node : sketch.nodes) {
            node.at = Map(node.at);
        }
        if (ClipBox& box = sketch.extent.box; box.left <= box.right) {
            const ImagePoint first = Map(ImagePoint(box.left, box.top));
            const ImagePoint last = Map(ImagePoint(box.right, box.bottom));
            box = {first.x, first.y, last.x, last.y};
        }
    }
};

// ---------------------------------------------------------------------------------------------------
// Drawing

// Where nodes and texts stand, in cells.
class Places {
  public:
    Places(PixelSize picture, double cell)
        : m_cell(cell), m_columns(CellOf(picture.width) + 1), m_rows(CellOf(picture.height) + 1) {
        m_taken.resize(static_cast<std::size_t>(m_columns) * static_cast<std::size_t>(m_rows));
    }

    void Take(const ClipBox& box) {
        ForEach(box, [](std::uint8_t& taken) { taken = 1; });
    }
    int CountTaken(const ClipBox& box) {
        int count = 0;
        ForEach(box, [&count](std::uint8_t taken) { count += taken; });
        return count;
    }

  private:
    int CellOf(double at) const noexcept { return ToInt32(std::floor(at / m_cell)); }

    template <class Visit>
    void ForEach(const ClipBox& box, Visit visit) {
        const PixelRect cells{CellOf(box.left), CellOf(box.top), CellOf(box.right) - CellOf(box.left) + 1,
                              CellOf(box.bottom) - CellOf(box.top) + 1};
        const PixelRect seen = Intersection(cells, {0, 0, m_columns, m_rows});
        for (int y = seen.top; y < seen.Bottom(); ++y) {
            const auto row = m_taken.begin() + std::ptrdiff_t{y} * m_columns + seen.left;
            std::for_each(row, row + seen.width, visit);
        }
    }

    double m_cell;
    int m_columns;
    int m_rows;
    std::vector<std::uint8_t> m_taken;
};

class Pen {
  public:
    Pen(Canvas& canvas, PixelSize picture, double boldness)
        : m_canvas(canvas),
          m_picture(picture),
          m_unit(boldness * UnitOf(std::max(picture.width, picture.height))),
          m_places(picture, Scaled(2.0)) {}

    // A length that grows with the picture.
    double Scaled(double length) const noexcept { return length * m_unit; }
    const PixelSize& Picture() const noexcept { return m_picture; }

    void Tint(const std::vector<PixelRect>& boxes, Colour colour, double weight) {
        constexpr double kShare = 0.14;
        m_canvas.Tint(boxes, colour, kShare * weight);
    }

    // Lines in layers: of all figures the dark ones below, then the bright ones. A bright line is at least two pixels
    // wide and has one dark pixel at least on either side, so that one of both shows on any ground.
    void DrawDark(const Sketch& sketch) { Draw(sketch, kDark, Width() + 2.0 * std::max(1.0, Scaled(0.8))); }
    void DrawBright(const Sketch& sketch) { Draw(sketch, sketch.colour, Width()); }

    void DrawNode(ImagePoint at, Colour colour) {
        if (Shows(at)) {
            m_canvas.Disc(at, Scaled(3.6), kDark);
            m_canvas.Disc(at, Scaled(2.3), colour);
            const double reach = Scaled(4.0);
            m_places.Take({at.x - reach, at.y - reach, at.x + reach, at.y + reach});
        }
    }

    double TextWidth(const std::string& text, double height) { return m_canvas.TextWidth(text, Scaled(height)); }

    // Writes a text around that one of several places where it covers the fewest nodes and texts; the
    // first counts among equals. The text is moved as little as needed to lie inside the picture.
    void Write(const std::string& text, const Path& places, double height, Colour colour) {
        const double width = TextWidth(text, height);
        const double high = Scaled(height);
        ClipBox best{};
        int least = std::numeric_limits<int>::max();
        for (const ImagePoint& place : places) {
            const double left = Inside(place.x, width, m_picture.width);
            const double top = Inside(place.y, high, m_picture.height);
            const ClipBox box{left, top, left + width, top + high};
            if (const int covered = m_places.CountTaken(box); covered < least) {
                least = covered;
                best = box;
            }
        }
        m_places.Take(best);
        m_canvas.Write(text, {best.left, best.bottom}, high, colour, kDark, Scaled(1.2));
    }

    bool Shows(ImagePoint at) const noexcept {
        return at.x >= 0.0 && at.y >= 0.0 && at.x <= m_picture.width && at.y <= m_picture.height;
    }

  private:
    // Lengths are meant for a picture of 900 pixels. They grow in proportion; a thumbnail's shrink as far as
    // its letters stay readable.
    static double UnitOf(int side) noexcept { return std::clamp(side / 400.0, 0.6, std::max(1.0, side / 900.0)); }

    double Width() const noexcept { return std::max(2.0, Scaled(1.2)); }

    void Draw(const Sketch& sketch, Colour colour, double width) {
        m_canvas.Stroke(Seen(sketch.edge), colour, width);
        m_canvas.Stroke(Seen({&sketch.axis, 1}), colour, width);
    }

    // Where a length around `middle` begins, kept inside a room.
    double Inside(double middle, double length, int room) const noexcept {
        const double border = Scaled(3.0);
        return std::max(border, std::min(middle - 0.5 * length, room - length - border));
    }

    // What can be seen of lines, with a margin in which the ends of what is cut do not show.
    std::vector<Path> Seen(std::span<const Path> paths) const {
        const double margin = Scaled(64.0);
        const ClipBox room{-margin, -margin, m_picture.width + margin, m_picture.height + margin};
        std::vector<Path> seen;
        for (const Path& path : paths) {
            bool goesOn = false;
            for (std::size_t i = 1; i < path.size(); ++i) {
                const ImagePoint direction = path[i] - path[i - 1];
                const auto part = ClipLine(room, path[i - 1], direction, {0.0, 1.0});
                if (part && !(goesOn && part->from == 0.0)) {
                    seen.push_back({path[i - 1] + part->from * direction});
                }
                if (part) {
                    seen.back().push_back(path[i - 1] + part->to * direction);
                }
                goesOn = part && part->to == 1.0;
            }
        }
        return seen;
    }

    Canvas& m_canvas;
    PixelSize m_picture;
    double m_unit;
    Places m_places;
};

// The middle of the points that are numbers.
ImagePoint MiddleOf(const std::vector<Node>& nodes) {
    ImagePoint sum;
    int count = 0;
    for (const Node& node : nodes) {
        if (std::isfinite(node.at.x) && std::isfinite(node.at.y)) {
            sum = sum + node.at;
            ++count;
        }
    }
    return count > 0 ? (1.0 / count) * sum : sum;
}

// A node's number stands on the side that faces away from the figure's middle, or turned from there as
// far as it takes to find room. A long profile shows its nodes without numbers.
void NumberNodes(Pen& pen, const std::vector<Node>& nodes, Colour colour) {
    constexpr std::size_t kMostNumbers = 100;
    constexpr double kHeight = 7.5;
    if (nodes.size() > kMostNumbers) {
        return;
    }
    const ImagePoint middle = MiddleOf(nodes);
    for (const Node& node : nodes) {
        const ImagePoint at = node.at;
        if (!pen.Shows(at)) {
            continue;
        }
        const ImagePoint away = at - middle;
        const double outward = std::hypot(away.x, away.y) > 2.0 ? std::atan2(away.y, away.x) : 0.5 * kPi;
        const double width = pen.TextWidth(node.number, kHeight);
        const double gap = pen.Scaled(5.5);
        Path places;
        for (const int turn : {0, 1, -1, 2, -2, 3, -3, 4}) {
            const double angle = outward + turn * 0.25 * kPi;
            places.emplace_back(at.x + std::cos(angle) * (gap + 0.5 * width),
                                at.y + std::sin(angle) * (gap + 0.5 * pen.Scaled(kHeight)));
        }
        pen.Write(node.number, places, kHeight, colour);
    }
}

// The name stands below the figure or above it.
void DrawName(Pen& pen, const Sketch& sketch) {
    if (!sketch.extent.Meets(pen.Picture())) {
        return;
    }
    constexpr double kHeight = 11.0;
    const ClipBox& box = sketch.extent.box;
    const double middle =
        0.5 * (std::max(box.left, 0.0) + std::min(box.right, static_cast<double>(pen.Picture().width)));
    const double gap = pen.Scaled(24.0);
    const Path places = {{middle, box.bottom + gap}, {middle, box.top - gap}};
    const bool below = box.bottom + gap + pen.Scaled(kHeight) < pen.Picture().height;
    pen.Write(sketch.name, below ? places : Path(places.rbegin(), places.rend()), kHeight, sketch.colour);
}

void Tint(Pen& pen, const Sketch& sketch, const Frame& frame) {
    std::vector<PixelRect> boxes;
    for (const Span& span : sketch.pixels.spans) {
        boxes.push_back(frame.Map(PixelRect{span.firstX, span.y, span.Length(), 1}));
    }
    pen.Tint(boxes, sketch.colour, 1.0);
    for (const PartPixel part : sketch.pixels.parts) {
        pen.Tint({frame.Map(PixelRect{part.x, part.y, 1, 1})}, sketch.colour, part.weight);
    }
}

// In layers, so that no figure's border hides another's line or number.
void Draw(Pen& pen, const Frame& frame, std::vector<Sketch> sketches, const OverlayOptions& options) {
    for (Sketch& sketch : sketches) {
        Tint(pen, sketch, frame);
        frame.MapLines(sketch);
    }
    for (const Sketch& sketch : sketches) {
        pen.DrawDark(sketch);
    }
    for (const Sketch& sketch : sketches) {
        pen.DrawBright(sketch);
    }
    if (options.nodes) {
        for (const Sketch& sketch : sketches) {
            for (const Node& node : sketch.nodes) {
                pen.DrawNode(node.at, sketch.colour);
            }
        }
        for (const Sketch& sketch : sketches) {
            NumberNodes(pen, sketch.nodes, sketch.colour);
        }
    }
    if (options.names) {
        for (const Sketch& sketch : sketches) {
            DrawName(pen, sketch);
        }
    }
}

std::vector<Sketch> SketchesOf(const RoiSet& set, PixelSize image, const OverlayOptions& options) {
    const std::vector<std::string> closeUp(options.closeUp.empty() ? 0 : 1, options.closeUp);
    std::vector<Sketch> sketches;
    for (const Figure* figure : set.Chosen(closeUp.empty() ? options.only : closeUp)) {
        sketches.emplace_back(set, *figure, image, options.rule);
    }
    return sketches;
}

// An image, each of its pixels as a square.
Raster Enlarged(const RasterView& image, int scale) {
    Raster large({image.size.width * scale, image.size.height * scale}, 3, Depth::u8);
    for (int y = 0; y < large.Size().height; ++y) {
        const auto* const from = image.Row<std::uint8_t>(y / scale);
        auto* to = large.Row<std::uint8_t>(y);
        for (int x = 0; x < large.Size().width; ++x) {
            to = std::copy_n(from + x / scale * image.columnStride, 3, to);
        }
    }
    return large;
}

// What the module says, about what it draws.
template <class Body>
auto Drawn(Body body) {
    try {
        return body();
    } catch (const std::runtime_error& failure) {
        throw Error("cannot draw", "overlay", failure.what());
    }
}

std::optional<DocumentFormat> DocumentFormatOf(const UserPath& path) {
    const std::string ending = path.Extension();
    return ending == ".svg"   ? std::optional(DocumentFormat::svg)
           : ending == ".pdf" ? std::optional(DocumentFormat::pdf)
                              : std::nullopt;
}

}  // namespace

Overlay::Overlay(const RoiSet& set, PixelSize image, const OverlayOptions& options)
    : m_window{0, 0, image.width, image.height} {
    std::vector<Sketch> sketches = SketchesOf(set, image, options);
    double boldness = 1.0;
    if (!options.closeUp.empty()) {
        constexpr int kLeastSide = 600;
        m_window = WindowAround(sketches.front(), image);
        if (m_window.IsEmpty()) {
            throw Error("cannot crop", options.closeUp, "the figure lies outside the image");
        }
        const int side = std::max(m_window.width, m_window.height);
        m_scale = std::max(1, (kLeastSide + side - 1) / side);
        boldness = 1.6;  // One figure has the picture to itself.
    }
    const Frame frame{m_window, m_scale};
    m_canvas.reset(Drawn([&] { return EntryOf<NewCanvasEntry>(kCanvasModule, kNewCanvasSymbol)(frame.Picture()); }));
    Pen pen(*m_canvas, frame.Picture(), boldness);
    Draw(pen, frame, std::move(sketches), options);
}

Raster Overlay::Picture(const RasterView& window) const {
    Raster picture = Enlarged(window, m_scale);
    Drawn([&] { m_canvas->PaintOn(picture.Row<std::uint8_t>(0), picture.Size()); });
    return picture;
}

std::string Overlay::Document(DocumentFormat format, const RasterView& window) const {
    return Drawn([&] { return m_canvas->Document(format, Enlarged(window, m_scale).View()); });
}

void CheckOverlayEnding(const UserPath& path) {
    if (!DocumentFormatOf(path) && !IsImageEnding(path)) {
        throw UsageError("unknown image format", path.Typed(), "end the name in .png, .jpg, .tif, .svg or .pdf");
    }
}

void SaveOverlay(const UserPath& path, const Overlay& overlay, const RasterView& window) {
    if (const auto format = DocumentFormatOf(path)) {
        WriteWholeFile("overlay", path, overlay.Document(*format, window));
    } else {
        SaveImage("overlay", path, overlay.Picture(window).View());
    }
}

}  // namespace host
