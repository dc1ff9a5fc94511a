#include "check/QueryRules.h"

#include <algorithm>
#include <cmath>
#include <set>

#include "check/FigureLists.h"
#include "check/Rules.h"
#include "contract/Numbers.h"

namespace {

// The least box over places that are given as pairs.
struct Bounds {
    double minX = HUGE_VAL, maxX = -HUGE_VAL, minY = HUGE_VAL, maxY = -HUGE_VAL;

    void Include(const Numbers& place) noexcept {
        minX = std::min(minX, place[0]);
        maxX = std::max(maxX, place[0]);
        minY = std::min(minY, place[1]);
        maxY = std::max(maxY, place[1]);
    }
    // Both border pixels count.
    Numbers InPixels() const { return {minX, minY, maxX - minX + 1, maxY - minY + 1}; }
};

// ---------------------------------------------------------------------------------------------------
// Rectangle, mask, parallelogram

// Places in halves of width and height, just inside and just outside.
constexpr Place kInside[] = {{0.99999, 0.99999}, {-0.99999, 0.99999}, {0.99999, -0.5}, {0, 0}};
constexpr Place kOutside[] = {{1.00001, 0.9}, {-1.00001, -0.9}, {0.9, 1.00001}, {-0.3, -1.00001}};

void CheckBox(Rules& rules) {
    const Numbers size = rules.Ask("GetSize");
    const Numbers center = rules.Ask("GetCenter");
    const double roll = rules.Ask("get_Roll")[0];
    if (!AreModerate({size[0], size[1], center[0], center[1], roll})) {
        return;
    }
    const double c = std::cos(roll);
    const double s = std::sin(roll);
    const auto at = [&](double x, double y) { return Place{center[0] + x * c - y * s, center[1] + x * s + y * c}; };
    const double lean = rules.Is("ROIParallelogram") ? size[1] * std::tan(rules.Ask("get_Shear")[0]) : 0.0;
    Bounds pixels;
    for (int node = 1; node <= 9; ++node) {
        const double shift = node == 3 ? -lean : node == 5 ? lean : 0.0;
        const Place side = kSides[node - 1];
        const Place place = at(side.x * size[0] / 2 + shift, side.y * size[1] / 2);
        rules.Expect("GetCornerPoint", {1.0 * node}, {place.x, place.y});
        const Numbers told = rules.Ask("GetCornerPoint", {1.0 * node});
        if (!AreModerate(told)) {
            return;
        }
        const Numbers rounded = {Round(told[0]), Round(told[1])};
        if (!rules.Is("ROIParallelogram")) {
            rules.Expect("GetCornerPointI", {1.0 * node}, rounded);
        }
        if (node >= 2 && node <= 5) {
            pixels.Include(rounded);
        }
    }
    rules.Expect("GetBoundingSize", {},
                 {std::abs(s * size[1]) + std::abs(c * size[0]), std::abs(c * size[1]) + std::abs(s * size[0])});
    Numbers box = pixels.InPixels();
    if (rules.Is("ROIMask")) {
        box[2] = box[3] = kAnything;  // An image has a size of its own.
    }
    rules.Expect("GetBoundingRect", {}, box);
    if (std::min(std::abs(size[0]), std::abs(size[1])) < 1e-3) {
        return;
    }
    for (const Place& side : kInside) {
        rules.ExpectHit(at(side.x * size[0] / 2, side.y * size[1] / 2), true);
    }
    for (const Place& side : kOutside) {
        rules.ExpectHit(at(side.x * size[0] / 2, side.y * size[1] / 2), false);
    }
}

// ---------------------------------------------------------------------------------------------------
// Ellipse, donut, arc donut

// Hits count from one squared distance to another, ends included: tried just beside both, in any direction.
void CheckDistances(Rules& rules, const Numbers& center, double from, double to) {
    for (const double square : {from, to}) {
        for (const double factor : {0.99999, 1.00001}) {
            const double distance = factor * std::sqrt(std::abs(square));
            const double tried = distance * distance;
            const auto isBeside = [tried](double bound) { return std::abs(tried - bound) <= 1e-6 * tried; };
            if (tried < 1e-6 || isBeside(from) || isBeside(to)) {
                continue;
            }
            for (const Place& side : {Place{0.6, 0.8}, Place{-0.8, 0.6}, Place{0, -1}}) {
                rules.ExpectHit({center[0] + distance * side.x, center[1] + distance * side.y},
                                from <= tried && tried <= to);
            }
        }
    }
}

void CheckEllipse(Rules& rules) {
    const Numbers center = rules.Ask("GetCenter");
    const Numbers radii = rules.Ask("GetRadius");
    if (!AreModerate({center[0], center[1], radii[0], radii[1]})) {
        return;
    }
    rules.Expect("GetNode", {2}, {center[0] + radii[0], center[1]});
    rules.Expect("GetNode", {3}, {center[0], center[1] - radii[1]});
    rules.Expect("GetBoundingSize", {}, radii);
    rules.Expect("GetBoundingRect", {},
                 {Round(center[0] - 0.5 * radii[0]), Round(center[1] - 0.5 * radii[1]),
                  radii[0] < 0 ? kAnything : std::ceil(radii[0]), radii[1] < 0 ? kAnything : std::ceil(radii[1])});
    CheckDistances(rules, center, -1.0, radii[0] * radii[1]);
}

// The nodes of a donut lie right of and above its centre, those of an arc donut at its limits.
void CheckRingNodes(Rules& rules, const Numbers& center, const Numbers (&radii)[2]) {
    const Numbers limits = rules.Ask("GetLimits");
    const bool isSector = rules.Is("ROIArcDonut");
    for (int node = 2; node <= (isSector ? 7 : 5); ++node) {
        const Numbers middle = {(radii[0][0] + radii[1][0]) / 2, (radii[0][1] + radii[1][1]) / 2};
        const Numbers& ring = node >= 6 ? middle : radii[isSector ? node % 2 : node / 4];
        const bool atStart = node == 2 || node == 3 || node == 6;
        const double angle = atStart ? limits[0] : limits[0] + limits[1];
        const double x = isSector ? std::cos(angle) : node % 2 == 0 ? 1.0 : 0.0;
        const double y = isSector ? std::sin(angle) : node % 2 == 0 ? 0.0 : -1.0;
        if (AreModerate({angle})) {
            rules.Expect("GetNode", {1.0 * node}, {center[0] + x * ring[0], center[1] + y * ring[1]});
        }
    }
}

void CheckRing(Rules& rules) {
    const Numbers center = rules.Ask("GetCenter");
    const Numbers radii[2] = {rules.Ask("GetRadius", {0}), rules.Ask("GetRadius", {1})};
    if (!AreModerate({center[0], center[1], radii[0][0], radii[0][1], radii[1][0], radii[1][1]})) {
        return;
    }
    const double width = 2 * std::max(radii[0][0], radii[1][0]);
    const double height = 2 * std::max(radii[0][1], radii[1][1]);
    rules.Expect("GetBoundingSize", {}, {width, height});
    rules.Expect("GetBoundingRect", {},
                 {Round(center[0] - width * 0.5), Round(center[1] - height * 0.5), width < 0 ? kAnything : Round(width),
                  height < 0 ? kAnything : Round(height)});
    CheckRingNodes(rules, center, radii);
    const Numbers& inner = radii[radii[0][0] > radii[1][0] ? 1 : 0];
    const Numbers& outer = radii[radii[0][0] > radii[1][0] ? 0 : 1];
    CheckDistances(rules, center, inner[0] * inner[1], outer[0] * outer[1]);
}

// ---------------------------------------------------------------------------------------------------
// Profile

bool IsHit(const std::vector<Numbers>& points, Place p, double slack) {
    for (std::size_t i = 1; i < points.size(); ++i) {
        const Numbers& from = points[i - 1];
        const Numbers& to = points[i];
        const double margin = (from[2] + from[3]) / 2 + slack;
        if (std::min(from[0], to[0]) - margin <= p.x && p.x <= std::max(from[0], to[0]) + margin &&
            std::min(from[1], to[1]) - margin <= p.y && p.y <= std::max(from[1], to[1]) + margin) {
            return true;
        }
    }
    return false;
}

// Beside the corners of a segment's box, and between its points.
void CheckSegment(Rules& rules, const std::vector<Numbers>& points, std::size_t segment) {
    constexpr double kSlack = 1e-6;
    const Numbers& from = points[segment];
    const Numbers& to = points[segment + 1];
    const double margin = (from[2] + from[3]) / 2;
    for (const double beyond : {-2 * kSlack, 2 * kSlack}) {
        const double reach = margin + beyond;
        for (const Place& p : {Place{std::min(from[0], to[0]) - reach, std::max(from[1], to[1]) + reach},
                               Place{std::max(from[0], to[0]) + reach, std::min(from[1], to[1]) - reach},
                               Place{(from[0] + to[0]) / 2, std::min(from[1], to[1]) - reach}}) {
            if (IsHit(points, p, kSlack) == IsHit(points, p, -kSlack)) {
                rules.ExpectHit(p, IsHit(points, p, 0));
            }
        }
    }
}

// Of many segments some are tried, among them those farthest out in every direction and the longest.
std::set<std::size_t> TriedSegments(const std::vector<Numbers>& points) {
    using Measure = double (*)(const Numbers& from, const Numbers& to);
    static constexpr Measure kMeasures[] = {
        [](const Numbers& from, const Numbers& to) { return std::max(from[0], to[0]); },
        [](const Numbers& from, const Numbers& to) { return -std::min(from[0], to[0]); },
        [](const Numbers& from, const Numbers& to) { return std::max(from[1], to[1]); },
        [](const Numbers& from, const Numbers& to) { return -std::min(from[1], to[1]); },
        [](const Numbers& from, const Numbers& to) { return std::hypot(to[0] - from[0], to[1] - from[1]); }};
    const std::size_t segments = points.size() - 1;
    std::set<std::size_t> tried;
    for (std::size_t i = 0; i < segments; i += 1 + points.size() / 16) {
        tried.insert(i);
    }
    for (const Measure measure : kMeasures) {
        std::size_t most = 0;
        for (std::size_t i = 0; i < segments; ++i) {
            most = measure(points[i], points[i + 1]) > measure(points[most], points[most + 1]) ? i : most;
        }
        if (segments > 0) {
            tried.insert(most);
        }
    }
    return tried;
}

// The line of a segment, moved to one of the outlines.
struct Outline {
    double a, b, c;

    Outline(const Numbers& from, const Numbers& to, double shift) : a(1), b(0), c(shift) {
        const double x = from[0] - to[0];
        const double y = from[1] - to[1];
        if (const double length = std::hypot(x, y); length > 0) {
            a = y / length;
            b = -x / length;
            c += (to[1] * x - to[0] * y) / length;
        }
    }
};

// Where the outlines of two segments meet, or else beside the point; nothing is said of those that are all but
// parallel.
Numbers CornerOf(const std::vector<Numbers>& points, int i, double angle, bool first) {
    const auto thickness = [&](int of) { return first ? points[of][2] : -points[of][3]; };
    const int last = static_cast<int>(points.size()) - 1;
    if (i > 0 && i < last) {
        const Outline before(points[i - 1], points[i], thickness(i - 1));
        const Outline after(points[i], points[i + 1], thickness(i));
        const double determinant = before.b * after.a - before.a * after.b;
        if (std::abs(determinant) > 0.00011) {
            return {(after.b * before.c - before.b * after.c) / determinant,
                    (before.a * after.c - after.a * before.c) / determinant};
        }
        if (std::abs(determinant) > 0.00009) {
            return {kAnything, kAnything};
        }
    }
    const double beside = thickness(i == last ? std::max(last - 1, 0) : i);
    return {points[i][0] + beside * std::cos(angle), points[i][1] + beside * std::sin(angle)};
}

void CheckProfile(Rules& rules) {
    const std::vector<Numbers> points = PointsOf(rules);
    if (points.empty() || !std::all_of(points.begin(), points.end(), AreModerate)) {
        return;
    }
    Bounds exact;
    Bounds pixels;
    const int last = static_cast<int>(points.size()) - 1;
    for (int i = 0; i <= last; ++i) {
        const double index = i;
        rules.Expect("GetNodePoint", {1, index}, {points[i][0], points[i][1]});
        rules.Expect("GetThickness", {index}, {points[i][2], points[i][3]});
        const Numbers& previous = points[std::max(i - 1, 0)];
        const Numbers& next = points[std::min(i + 1, last)];
        const double angle = last > 0 ? std::atan2(previous[0] - next[0], next[1] - previous[1]) : -1000.0;
        rules.Expect("GetPoint", {index}, {points[i][0], points[i][1], angle, points[i][2], points[i][3]});
        for (const double corner : {2.0, 3.0}) {
            rules.Expect("GetNodePoint", {corner, index}, CornerOf(points, i, angle, corner == 2.0));
            const Numbers node = rules.Ask("GetNodePoint", {corner, index});
            if (!AreModerate(node)) {
                return;
            }
            exact.Include(node);
            const Numbers rounded = {Round(node[0]), std::trunc(node[1] + 0.5)};
            pixels.Include(rounded);
            rules.Expect("GetNodePointI", {corner, index}, rounded);
            if (i < last) {
                const Numbers other = rules.Ask("GetNodePoint", {corner, index + 1});
                rules.Expect("GetNodePoint", {corner + 2, index}, {(node[0] + other[0]) / 2, (node[1] + other[1]) / 2});
            }
        }
    }
    rules.Expect("GetBoundingSize", {}, {exact.maxX - exact.minX, exact.maxY - exact.minY});
    rules.Expect("GetCenter", {}, {(exact.minX + exact.maxX) / 2, (exact.minY + exact.maxY) / 2});
    rules.Expect("GetBoundingRect", {}, pixels.InPixels());
    for (const std::size_t segment : TriedSegments(points)) {
        CheckSegment(rules, points, segment);
    }
}

// ---------------------------------------------------------------------------------------------------
// Lists

// A listed value that a query tells too.
struct Listed {
    const char* read;
    const char* query;
    std::size_t output;
    Numbers arguments = {};
    double factor = 1.0;
};
const std::vector<Listed>& AllListed() {
    static const double kDegrees = 180.0 / kPi;
    static const std::vector<Listed> kListed = {{"read CenterX", "GetCenter", 0},
                                                {"read CenterY", "GetCenter", 1},
                                                {"read Width", "GetSize", 0},
                                                {"read Height", "GetSize", 1},
                                                {"read Angle", "get_Roll", 0, {}, kDegrees},
                                                {"read Roll", "get_Roll", 0, {}, kDegrees},
                                                {"read FixedAspect", "GetAspectRatio", 0},
                                                {"read A", "get_A", 0},
                                                {"read B", "get_B", 0},
                                                {"read Shear", "get_Shear", 0, {}, kDegrees},
                                                {"read RadiusX", "GetRadius", 0},
                                                {"read RadiusY", "GetRadius", 1},
                                                {"read RadiusX1", "GetRadius", 0, {0}},
                                                {"read RadiusY1", "GetRadius", 1, {0}},
                                                {"read RadiusX2", "GetRadius", 0, {1}},
                                                {"read RadiusY2", "GetRadius", 1, {1}},
                                                {"read Radius1X", "GetRadius", 0, {0}},
                                                {"read Radius1Y", "GetRadius", 1, {0}},
                                                {"read Radius2X", "GetRadius", 0, {1}},
                                                {"read Radius2Y", "GetRadius", 1, {1}},
                                                {"read StartAngle", "GetLimits", 0, {}, kDegrees},
                                                {"read DeltaAngle", "GetLimits", 1, {}, kDegrees},
                                                {"read Thickness1", "GetThickness", 0, {0}},
                                                {"read Thickness2", "GetThickness", 1, {0}}};
    return kListed;
}

void CheckList(Rules& rules, const std::vector<NamedValue>& values) {
    for (const NamedValue& value : values) {
        const std::string read = "read " + value.name;
        const auto& all = AllListed();
        const auto row = std::find_if(all.begin(), all.end(), [&](const Listed& one) { return read == one.read; });
        if (row == all.end()) {
            continue;
        }
        if (const double told = rules.Ask(row->query, row->arguments)[row->output]; told != kUntouched) {
            rules.Expect(row->read, {}, {told * row->factor});
        }
    }
}

}  // namespace

void CheckRules(Checks& checks, const ClassContract& figure, const SmartPtr<IROI>& roi) {
    Rules rules(figure, *roi);
    if (figure.Answers("IROIProfile")) {
        CheckProfile(rules);
    } else if (figure.Answers("IROIEllipse")) {
        CheckEllipse(rules);
    } else if (figure.Answers("IROIDonut")) {
        CheckRing(rules);
    } else if (!figure.Answers("IROIShape")) {
        CheckBox(rules);
    }
    if (figure.Answers("IParametricObject")) {
        CheckList(rules, ParametersOf(roi));
    }
    rules.Report(checks);
}
