// ImageJ's own files: numbers from the most significant byte on, a header of 64 bytes, coordinates, and a second header
// behind them. Pixel (i, j) covers i to i + 1 there: half a pixel is added on the way out.
#include <fmt/format.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <stdexcept>

#include "contract/Numbers.h"
#include "framework/support/FolderStream.h"
#include "framework/support/Utf8.h"
#include "host/figures/FigureClass.h"
#include "host/sets/formats/Formats.h"
#include "host/sets/formats/JsonText.h"

namespace host {

namespace {

constexpr double kHalf = 0.5;
constexpr std::size_t kHeader = 64;
constexpr int kVersion = 228;

enum Type : int {
    kPolygon = 0,
    kRect = 1,
    kOval = 2,
    kLine = 3,
    kFreeLine = 4,
    kPolyline = 5,
    kFreehand = 7,
    kTraced = 8,
    kAngle = 9,
    kPoint = 10
};
enum Subtype : int { kArrow = 2, kEllipse = 3, kRotatedRect = 5 };
constexpr int kSubPixel = 128;
// Where the fields are, in the header and in the second one.
enum Field : std::size_t {
    kVersionAt = 4,
    kTypeAt = 6,
    kTopAt = 8,
    kLeftAt = 10,
    kBottomAt = 12,
    kRightAt = 14,
    kCountAt = 16,
    kX1At = 18,
    kManyAt = 18,
    kY1At = 22,
    kX2At = 26,
    kY2At = 30,
    kStrokeAt = 34,
    kShapeSizeAt = 36,
    kSubtypeAt = 48,
    kOptionsAt = 50,
    kFloatAt = 52,
    kCornerAt = 54,
    kHeader2At = 60,
    kNameAt = 16,
    kNameLengthAt = 20,
    kGroupAt = 30,
    kFloatStrokeAt = 36,
    kPropertiesAt = 40,
    kPropertiesLengthAt = 44
};

// ---------------------------------------------------------------------------------------------------
// Reading

class Bytes {
  public:
    explicit Bytes(std::string_view bytes) : m_bytes(bytes) {}

    std::uint32_t Unsigned(std::size_t at, std::size_t size) const {
        if (at > m_bytes.size() || size > m_bytes.size() - at) {
            throw std::runtime_error("a figure of ImageJ's is cut short");
        }
        std::uint32_t value = 0;
        for (std::size_t i = 0; i < size; ++i) {
            value = value << 8 | static_cast<unsigned char>(m_bytes[at + i]);
        }
        return value;
    }
    int Short(std::size_t at) const { return static_cast<std::int16_t>(Unsigned(at, 2)); }
    double Float(std::size_t at) const {
        const double value = std::bit_cast<float>(Unsigned(at, 4));
        if (!std::isfinite(value)) {
            throw std::runtime_error("a figure of ImageJ's has a number that is none");
        }
        return value;
    }
    std::size_t Size() const noexcept { return m_bytes.size(); }

  private:
    std::string_view m_bytes;
};

// A number of the second header; 0 where there is none.
std::uint32_t Second(const Bytes& bytes, Field field, std::size_t size) {
    const std::size_t header2 = bytes.Unsigned(kHeader2At, 4);
    return header2 == 0 || header2 + kHeader > bytes.Size() ? 0 : bytes.Unsigned(header2 + field, size);
}

// A text to which two fields of the second header point, or its beginning.
std::string TextIn(const Bytes& bytes, Field start, Field count, std::size_t most) {
    const std::size_t at = Second(bytes, start, 4);
    const std::size_t length = at == 0 ? 0 : std::min<std::size_t>(Second(bytes, count, 4), most);
    std::wstring text;
    for (std::size_t i = 0; i < length; ++i) {
        std::uint32_t unit = bytes.Unsigned(at + 2 * i, 2);
        if ((unit & 0xFC00) == 0xD800 && i + 1 < length) {
            unit = 0x10000 + ((unit & 0x3FF) << 10 | (bytes.Unsigned(at + 2 * ++i, 2) & 0x3FF));
        }
        text.push_back(static_cast<wchar_t>(unit));
    }
    return ToUtf8(Text(text));
}

std::string NameIn(const Bytes& bytes) {
    constexpr std::size_t kLongest = 1000;
    return TextIn(bytes, kNameAt, kNameLengthAt, kLongest);
}

// The figure's own values among its properties, each of which is a line with a colon.
nlohmann::ordered_json ValuesIn(const Bytes& bytes) {
    const std::string lines = '\n' + TextIn(bytes, kPropertiesAt, kPropertiesLengthAt, bytes.Size());
    const std::string key = fmt::format("\n{}: ", kCarried);
    const std::size_t at = lines.find(key);
    if (at == lines.npos) {
        return nlohmann::ordered_json::object();
    }
    const std::size_t start = at + key.size();
    return {{kCarried, ParseJsonText(std::string_view(lines).substr(start, lines.find('\n', start) - start))}};
}

double StrokeIn(const Bytes& bytes) {
    const double exact = std::bit_cast<float>(Second(bytes, kFloatStrokeAt, 4));
    return exact > 0.0 && std::isfinite(exact) ? exact : bytes.Short(kStrokeAt);
}

// Points as whole numbers from the corner of the bounds or, where the file has them, exactly.
std::vector<ImagePoint> PointsIn(const Bytes& bytes, bool subPixel) {
    const std::size_t few = bytes.Unsigned(kCountAt, 2);
    const std::size_t count = few > 0 ? few : bytes.Unsigned(kManyAt, 4);
    const int left = bytes.Short(kLeftAt);
    const int top = bytes.Short(kTopAt);
    std::vector<ImagePoint> points;
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t at = kHeader + 2 * i;
        const std::size_t exact = kHeader + 4 * count + 4 * i;
        points.push_back(subPixel
                             ? ImagePoint(bytes.Float(exact) - kHalf, bytes.Float(exact + 4 * count) - kHalf)
                             : ImagePoint(left + bytes.Short(at) - kHalf, top + bytes.Short(at + 2 * count) - kHalf));
    }
    return points;
}

// A composite: closed paths of straight lines; curves are taken by their ends.
std::vector<Loop> PathsIn(const Bytes& bytes) {
    constexpr std::size_t kNumbersOf[] = {2, 2, 4, 6, 0};
    const std::size_t count = bytes.Unsigned(kShapeSizeAt, 4);
    std::vector<Loop> loops;
    for (std::size_t i = 0; i < count;) {
        const double kind = bytes.Float(kHeader + 4 * i++);
        if (!(kind >= 0.0 && kind <= 4.0)) {
            throw std::runtime_error("a composite of ImageJ's has an unknown part");
        }
        const std::size_t numbers = kNumbersOf[static_cast<std::size_t>(kind)];
        if (kind == 0.0 || loops.empty()) {
            loops.emplace_back();
        }
        if (numbers > 0) {
            const std::size_t end = kHeader + 4 * (i + numbers - 2);
            loops.back().emplace_back(bytes.Float(end) - kHalf, bytes.Float(end + 4) - kHalf);
        }
        i += numbers;
    }
    std::erase_if(loops, [](const Loop& loop) { return loop.size() < 3; });
    return loops;
}

// The line along which a rolled box or ellipse lies, and how wide it is across. An ellipse that is not upright is the
// polygon that ImageJ draws.
ForeignFigure RolledFigure(std::string name, const Bytes& bytes, int subtype, bool subPixel, Reading& reading) {
    const ImagePoint a(bytes.Float(kX1At) - kHalf, bytes.Float(kY1At) - kHalf);
    const ImagePoint b(bytes.Float(kX2At) - kHalf, bytes.Float(kY2At) - kHalf);
    const ImagePoint center(0.5 * (a.x + b.x), 0.5 * (a.y + b.y));
    const double length = std::hypot(b.x - a.x, b.y - a.y);
    const double across = bytes.Float(kFloatAt);
    if (subtype == kRotatedRect) {
        return BoxFigure(std::move(name), center, length, across, std::atan2(b.y - a.y, b.x - a.x) * 180.0 / kPi);
    }
    const double radius = 0.5 * length;
    if (a.x == b.x || a.y == b.y) {
        const bool lies = a.y == b.y;
        return EllipseFigure(std::move(name), center, lies ? radius : radius * across, lies ? radius * across : radius);
    }
    ForeignFigure figure = RegionFigure(std::move(name), {PointsIn(bytes, subPixel)}, reading);
    figure.warning = "a rolled ellipse becomes a polygon";
    return figure;
}

// The corners of a box as chords of quarters of an ellipse.
Loop RoundedLoop(double left, double top, double width, double height, double diameter) {
    constexpr int kChords = 12;
    const double radiusX = 0.5 * std::min(diameter, width);
    const double radiusY = 0.5 * std::min(diameter, height);
    Loop loop;
    for (int corner = 0; corner < 4; ++corner) {
        const double x = corner == 0 || corner == 3 ? left + width - radiusX : left + radiusX;
        const double y = corner < 2 ? top + height - radiusY : top + radiusY;
        for (int i = 0; i <= kChords; ++i) {
            const double angle = 0.5 * kPi * (corner + static_cast<double>(i) / kChords);
            loop.emplace_back(x + radiusX * std::cos(angle) - kHalf, y + radiusY * std::sin(angle) - kHalf);
        }
    }
    return loop;
}

ForeignFigure BoundedFigure(std::string name, const Bytes& bytes, bool isOval, bool subPixel, Reading& reading) {
    double left = bytes.Short(kLeftAt);
    double top = bytes.Short(kTopAt);
    double width = bytes.Short(kRightAt) - left;
    double height = bytes.Short(kBottomAt) - top;
    if (subPixel) {
        left = bytes.Float(kX1At);
        top = bytes.Float(kY1At);
        width = bytes.Float(kX2At);
        height = bytes.Float(kY2At);
    }
    const ImagePoint center(left + 0.5 * width - kHalf, top + 0.5 * height - kHalf);
    if (isOval) {
        return EllipseFigure(std::move(name), center, 0.5 * width, 0.5 * height);
    }
    const int corner = bytes.Short(kCornerAt);
    if (corner <= 0) {
        ForeignFigure box = BoxFigure(std::move(name), center, width, height, 0.0);
        const ImagePoint low(left - kHalf, top - kHalf);
        const ImagePoint high(low.x + width, low.y + height);
        box.drawn = {{low, {high.x, low.y}, high, {low.x, high.y}}};
        return box;
    }
    ForeignFigure figure = RegionFigure(std::move(name), {RoundedLoop(left, top, width, height, corner)}, reading);
    figure.warning = "a rounded rectangle becomes a polygon";
    return figure;
}

ForeignFigure FigureOf(const Bytes& bytes, const std::string& name, Reading& reading) {
    const int type = static_cast<int>(bytes.Unsigned(kTypeAt, 1));
    const int subtype = bytes.Short(kSubtypeAt);
    const bool subPixel = (bytes.Short(kOptionsAt) & kSubPixel) != 0 && bytes.Short(kVersionAt) >= 222;
    const auto drawing = [](ForeignFigure figure, std::vector<Loop> drawn) {
        figure.drawn = std::move(drawn);
        return figure;
    };
    if (bytes.Unsigned(kShapeSizeAt, 4) > 0) {
        const std::vector<Loop> paths = PathsIn(bytes);
        return drawing(RegionFigure(name, paths, reading), paths);
    }
    switch (type) {
        case kRect:
        case kOval:
            return BoundedFigure(name, bytes, type == kOval, subPixel, reading);
        case kLine: {
            const Loop ends = {{bytes.Float(kX1At) - kHalf, bytes.Float(kY1At) - kHalf},
                               {bytes.Float(kX2At) - kHalf, bytes.Float(kY2At) - kHalf}};
            return drawing(LineFigure(name, ends, StrokeIn(bytes)), {ends});
        }
        case kFreeLine:
        case kPolyline:
        case kAngle: {
            const Loop points = PointsIn(bytes, subPixel);
            return drawing(LineFigure(name, points, StrokeIn(bytes)), {points});
        }
        case kPolygon:
        case kFreehand:
        case kTraced: {
            const Loop points = PointsIn(bytes, subPixel);
            const bool rolled = type == kFreehand && (subtype == kEllipse || subtype == kRotatedRect);
            return drawing(
                rolled ? RolledFigure(name, bytes, subtype, subPixel, reading) : RegionFigure(name, {points}, reading),
                {points});
        }
        default:
            throw std::runtime_error(fmt::format("a figure of ImageJ's of unknown type {}", type));
    }
}

void AppendFigure(std::string_view file, std::string name, Reading& reading, std::vector<ForeignFigure>& figures) {
    const Bytes bytes(file);
    if (!IsOfKind(FileKind::imageJ, file)) {
        throw std::runtime_error("not a figure of ImageJ's");
    }
    if (const std::string own = NameIn(bytes); !own.empty()) {
        name = own;
    }
    if (bytes.Unsigned(kTypeAt, 1) == kPoint) {
        for (const ImagePoint& at : PointsIn(bytes, (bytes.Short(kOptionsAt) & kSubPixel) != 0)) {
            // Whole numbers mean the pixel and not its corner.
            figures.push_back(SpotFigure(name, {std::floor(at.x + kHalf), std::floor(at.y + kHalf)}));
        }
        return;
    }
    ForeignFigure figure = FigureOf(bytes, name, reading);
    TakeCarried(ValuesIn(bytes), figure, reading);
    if (const std::uint32_t group = Second(bytes, kGroupAt, 1); group > 0) {
        figure.warning += fmt::format("{}its group {} is not kept", figure.warning.empty() ? "" : "; ", group);
    }
    figures.push_back(std::move(figure));
}

// ---------------------------------------------------------------------------------------------------
// Writing

class File {
  public:
    File(int type, int options) : m_bytes("Iout" + std::string(kHeader - 4, '\0')) {
        Put(kVersionAt, kVersion, 2);
        Put(kTypeAt, static_cast<std::uint32_t>(type), 1);
        Put(kOptionsAt, static_cast<std::uint32_t>(options), 2);
    }

    void Put(std::size_t at, std::uint32_t value, std::size_t size) {
        for (std::size_t i = 0; i < size; ++i) {
            m_bytes[at + i] = static_cast<char>(value >> 8 * (size - 1 - i));
        }
    }
    void PutShort(std::size_t at, double value) {
        Put(at, static_cast<std::uint32_t>(static_cast<int>(std::clamp(value, -32768.0, 32767.0))), 2);
    }
    void PutFloat(std::size_t at, double value) { Put(at, std::bit_cast<std::uint32_t>(static_cast<float>(value)), 4); }
    void AppendShort(double value) {
        m_bytes.append(2, '\0');
        PutShort(m_bytes.size() - 2, value);
    }
    void AppendFloat(double value) {
        m_bytes.append(4, '\0');
        PutFloat(m_bytes.size() - 4, value);
    }

    void PutBounds(double left, double top, double right, double bottom) {
        PutShort(kLeftAt, left);
        PutShort(kTopAt, top);
        PutShort(kRightAt, right);
        PutShort(kBottomAt, bottom);
    }
    void PutLine(ImagePoint a, ImagePoint b) {
        PutFloat(kX1At, a.x + kHalf);
        PutFloat(kY1At, a.y + kHalf);
        PutFloat(kX2At, b.x + kHalf);
        PutFloat(kY2At, b.y + kHalf);
    }
    void PutBoundsOf(const std::vector<Loop>& loops) {
        ImagePoint low(HUGE_VAL, HUGE_VAL);
        ImagePoint high(-HUGE_VAL, -HUGE_VAL);
        for (const Loop& loop : loops) {
            for (const ImagePoint& at : loop) {
                low = {std::min(low.x, at.x), std::min(low.y, at.y)};
                high = {std::max(high.x, at.x), std::max(high.y, at.y)};
            }
        }
        m_left = std::floor(low.x + kHalf);
        m_top = std::floor(low.y + kHalf);
        PutBounds(m_left, m_top, std::ceil(high.x + kHalf), std::ceil(high.y + kHalf));
    }
    // After the bounds.
    void AppendPoints(const std::vector<ImagePoint>& points) {
        Put(kCountAt, static_cast<std::uint32_t>(points.size()), 2);
        for (const ImagePoint& at : points) {
            AppendShort(std::floor(at.x + kHalf) - m_left);
        }
        for (const ImagePoint& at : points) {
            AppendShort(std::floor(at.y + kHalf) - m_top);
        }
        for (const ImagePoint& at : points) {
            AppendFloat(at.x + kHalf);
        }
        for (const ImagePoint& at : points) {
            AppendFloat(at.y + kHalf);
        }
    }
    void AppendPaths(const std::vector<Loop>& loops) {
        const std::size_t start = m_bytes.size();
        for (const Loop& loop : loops) {
            for (const ImagePoint& at : loop) {
                AppendFloat(&at == &loop.front() ? 0.0 : 1.0);
                AppendFloat(at.x + kHalf);
                AppendFloat(at.y + kHalf);
            }
            AppendFloat(4.0);
        }
        Put(kShapeSizeAt, static_cast<std::uint32_t>((m_bytes.size() - start) / 4), 4);
    }

    // The second header, and behind it the name and the figure's own values, which ImageJ keeps as a property.
    std::string Finished(const ForeignFigure& values, double stroke = 0.0) {
        const std::size_t header2 = m_bytes.size();
        Put(kHeader2At, static_cast<std::uint32_t>(header2), 4);
        PutShort(kStrokeAt, std::round(stroke));
        m_bytes.append(kHeader, '\0');
        PutFloat(header2 + kFloatStrokeAt, stroke);
        AppendText(values.name, header2 + kNameAt, header2 + kNameLengthAt);
        AppendText(fmt::format("{}: {}\n", kCarried, ValuesOf(values).dump()), header2 + kPropertiesAt,
                   header2 + kPropertiesLengthAt);
        return m_bytes;
    }

  private:
    void AppendText(const std::string& text, std::size_t startAt, std::size_t countAt) {
        const std::size_t start = m_bytes.size();
        const auto append = [this](std::uint32_t unit) {
            m_bytes.append(2, '\0');
            Put(m_bytes.size() - 2, unit, 2);
        };
        for (const wchar_t c : FromUtf8(text)) {
            const std::uint32_t code = static_cast<char32_t>(c);
            if (code >= 0x10000) {
                append(0xD800 + ((code - 0x10000) >> 10));
            }
            append(code >= 0x10000 ? 0xDC00 + ((code - 0x10000) & 0x3FF) : code);
        }
        Put(startAt, static_cast<std::uint32_t>(start), 4);
        Put(countAt, static_cast<std::uint32_t>((m_bytes.size() - start) / 2), 4);
    }

    std::string m_bytes;
    double m_left = 0.0;
    double m_top = 0.0;
};

double ParameterOf(const ForeignFigure& figure, std::string_view name) {
    const auto found = std::find_if(figure.parameters.begin(), figure.parameters.end(),
                                    [&](const auto& parameter) { return parameter.first == name; });
    return found == figure.parameters.end() ? 0.0 : found->second;
}

// An upright box as the whole pixels in it, as ImageJ has them; a rolled one exactly.
std::string BoxFile(const Figure& figure, const ForeignFigure& values, std::vector<Warning>& warnings) {
    const ImagePoint center(ParameterOf(values, "CenterX"), ParameterOf(values, "CenterY"));
    const ImagePoint half(0.5 * std::abs(ParameterOf(values, "Width")), 0.5 * std::abs(ParameterOf(values, "Height")));
    const double angle = ParameterOf(values, "Angle") * kPi / 180.0;
    if (angle == 0.0) {
        const ImagePoint low(std::ceil(center.x - half.x), std::ceil(center.y - half.y));
        const ImagePoint end(std::ceil(center.x + half.x), std::ceil(center.y + half.y));
        if (low.x - kHalf != center.x - half.x || end.x - kHalf != center.x + half.x ||
            low.y - kHalf != center.y - half.y || end.y - kHalf != center.y + half.y) {
            warnings.push_back({figure.name, "ImageJ shows the whole pixels of a rectangle"});
        }
        File file(kRect, 0);
        file.PutBounds(low.x, low.y, end.x, end.y);
        return file.Finished(values);
    }
    File file(kFreehand, kSubPixel);
    file.Put(kSubtypeAt, kRotatedRect, 2);
    const ImagePoint along(half.x * std::cos(angle), half.x * std::sin(angle));
    file.PutLine(center - along, center + along);
    file.PutFloat(kFloatAt, 2.0 * half.y);
    const Loops loops = LoopsOf(figure);
    file.PutBoundsOf(loops.outer);
    file.AppendPoints(loops.outer.front());
    return file.Finished(values);
}

// Nothing for an ellipse whose box is not made of whole pixels: ImageJ would measure one that is.
std::string OvalFile(const ForeignFigure& values) {
    const double width = 2.0 * std::abs(ParameterOf(values, "RadiusX"));
    const double height = 2.0 * std::abs(ParameterOf(values, "RadiusY"));
    const double left = ParameterOf(values, "CenterX") + kHalf - 0.5 * width;
    const double top = ParameterOf(values, "CenterY") + kHalf - 0.5 * height;
    for (const double number : {width, height, left, top}) {
        if (number != std::round(number)) {
            return {};
        }
    }
    File file(kOval, 0);
    file.PutBounds(left, top, left + width, top + height);
    return file.Finished(values);
}

std::string LineFile(const Figure& figure, const ForeignFigure& values, std::vector<Warning>& warnings) {
    const std::vector<ImagePoint> points = PointsOf(figure);
    const ForeignPoint& first = values.points.front();
    const bool uniform = std::all_of(values.points.begin(), values.points.end(), [&](const ForeignPoint& point) {
        return point.thickness1 == first.thickness1 && point.thickness2 == first.thickness1;
    });
    if (!uniform) {
        warnings.push_back({figure.name, "ImageJ shows one width of a line, as wide on both sides"});
    }
    const bool straight = points.size() == 2;
    File file(straight ? kLine : kPolyline, kSubPixel);
    file.PutBoundsOf({points});
    if (straight) {
        file.PutLine(points[0], points[1]);
    } else {
        file.AppendPoints(points);
    }
    return file.Finished(values, first.thickness1 + first.thickness2);
}

std::string AreaFile(const Figure& figure, const ForeignFigure& values, std::vector<Warning>& warnings) {
    Loops loops = LoopsOf(figure);
    if (loops.outer.empty()) {
        throw std::runtime_error(figure.name + ": it encloses nothing");
    }
    if (figure.type->contents == Contents::nothing) {
        warnings.push_back({figure.name, std::string("ImageJ shows the outline of a ") + figure.type->name +
                                             " and not its parameters"});
    }
    constexpr std::size_t kMostPoints = 65535;
    if (loops.outer.size() == 1 && loops.holes.empty() && loops.outer.front().size() <= kMostPoints) {
        File file(kPolygon, kSubPixel);
        file.PutBoundsOf(loops.outer);
        file.AppendPoints(loops.outer.front());
        return file.Finished(values);
    }
    loops.outer.insert(loops.outer.end(), loops.holes.begin(), loops.holes.end());
    File file(kRect, 0);
    file.PutBoundsOf(loops.outer);
    file.AppendPaths(loops.outer);
    return file.Finished(values);
}

std::string FileOf(const Figure& figure, std::vector<Warning>& warnings) {
    const std::string_view type = figure.type->name;
    const ForeignFigure values = Describe(figure);
    if (type == "ROIRectangle") {
        return BoxFile(figure, values, warnings);
    }
    if (std::string oval = type == "ROIEllipse" ? OvalFile(values) : ""; !oval.empty()) {
        return oval;
    }
    if (type == "ROIProfile" && values.points.size() > 1) {
        return LineFile(figure, values, warnings);
    }
    return AreaFile(figure, values, warnings);
}

}  // namespace

std::vector<ForeignFigure> ReadImageJ(std::string_view bytes, Reading& reading) {
    std::vector<ForeignFigure> figures;
    if (IsOfKind(FileKind::imageJ, bytes)) {
        AppendFigure(bytes, "", reading, figures);
        return figures;
    }
    const FolderArchive archive = FolderArchive::FromBytes(bytes);
    for (const auto& [path, block] : archive.Blocks()) {
        if (path.ends_with(".roi")) {
            AppendFigure({reinterpret_cast<const char*>(block.data()), block.size()}, path.substr(0, path.size() - 4),
                         reading, figures);
        }
    }
    return figures;
}

std::string WriteImageJ(const std::vector<Figure>& figures, std::vector<Warning>& warnings) {
    FolderArchive archive;
    for (std::size_t i = 0; i < figures.size(); ++i) {
        try {
            const std::string file = FileOf(figures[i], warnings);
            // ImageJ lists the figures in the order of their files; the names are in the files.
            archive.Put(fmt::format("{:06}.roi", i + 1), {file.begin(), file.end()});
        } catch (const std::runtime_error& failure) {
            warnings.push_back({figures[i].name, "it encloses nothing and is left out"});
        }
    }
    return archive.ToBytes();
}

}  // namespace host
