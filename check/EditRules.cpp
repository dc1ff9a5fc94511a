#include "check/EditRules.h"

#include <algorithm>
#include <cmath>

#include "contract/Numbers.h"

namespace {

using Foreseen = std::vector<Wanted>;

double Distance(Place a, Place b) noexcept { return std::hypot(a.x - b.x, a.y - b.y); }

// A place through the map of a step.
Place Mapped(const Numbers& numbers, Place p) noexcept {
    AffineMap map;
    double z = 0.0;
    map.Take(numbers);
    map.TransformPoint(&p.x, &p.y, &z);
    return p;
}

int Integer(double number) noexcept { return static_cast<int>(number); }

// An operation that is foreseen, with what it was given.
struct Edit {
    std::string_view operation;
    const Numbers& given;

    bool Is(std::string_view name) const { return operation == name; }
    bool Maps() const { return operation == "Transform" && !given.empty(); }
    // Heights and the order of points are not foreseen.
    bool MapsOddly() const { return Maps() && given.size() > kBentMap.size(); }
    int Node() const { return Integer(given[0]); }
    Place Point() const { return {given[1], given[2]}; }
};

// ---------------------------------------------------------------------------------------------------
// Rectangle, mask, parallelogram

constexpr const char* kGrip = "read RollGripLength";

struct Box {
    bool leans;
    double width, height, x, y, roll;
    double aspect = 0.0;  // of those that do not lean
    double shear = 0.0;
    double grip = kAnything;  // of those that list it

    Place At(double u, double v) const noexcept {
        return {x + u * std::cos(roll) - v * std::sin(roll), y + u * std::sin(roll) + v * std::cos(roll)};
    }
    double SideA() const noexcept { return width - height * std::tan(shear); }
    void SetGrip(double length) noexcept { grip = grip != kAnything ? length : grip; }
    void DragGrip(Place p) noexcept { SetGrip(Distance(p, {x, y})); }
    // Who asks for a grip raises it.
    bool HasGrip(int node) const noexcept { return node == 10 || (leans && node == 11); }

    Foreseen After() const {
        Foreseen wanted = {{"GetSize", {}, {width, height}},
                           {"GetCenter", {}, {x, y}},
                           {"get_Roll", {}, {roll}},
                           leans ? Wanted{"get_Shear", {}, {shear}} : Wanted{"GetAspectRatio", {}, {aspect}}};
        if (grip != kAnything) {
            wanted.push_back({kGrip, {}, {grip}});
        }
        return wanted;
    }
};

Box BoxOf(const Rules& rules) {
    const Numbers size = rules.Ask("GetSize");
    const Numbers center = rules.Ask("GetCenter");
    const bool leans = rules.Is("ROIParallelogram");
    Box box = {leans, size[0], size[1], center[0], center[1], rules.Ask("get_Roll")[0]};
    (leans ? box.shear : box.aspect) = rules.Ask(leans ? "get_Shear" : "GetAspectRatio")[0];
    box.grip = rules.Answers("IParametricObject") ? rules.Ask(kGrip)[0] : kAnything;
    return box;
}

// The width and the height that a drag of a side or corner to a place in the box's own frame leaves.
Place DraggedSize(const Box& box, int node, Place side, Place local) noexcept {
    const auto reach = [node](double size, double beyond) {
        return (node & kCenterFlag) != 0 ? 2 * beyond : size / 2 + beyond;
    };
    Place size = {side.x != 0 ? reach(box.width, side.x * local.x) : box.width,
                  side.y != 0 ? reach(box.height, side.y * local.y) : box.height};
    if ((node & kBothFlag) != 0) {
        const double equal = side.x == 0 ? size.y : side.y == 0 ? size.x : (size.x + size.y) / 2;
        size = {equal, equal};
    }
    if (box.aspect > 0) {
        size = side.y == 0 ? Place{size.x, size.x / box.aspect} : Place{size.y * box.aspect, size.y};
    }
    return size;
}

// `opposite` is where the corner across is now.
void DragSide(Box& box, int node, Place p, Place opposite) noexcept {
    const Place side = kSides[(node & 0xFF) - 1];
    const Box back = {false, 0, 0, 0, 0, -box.roll};
    const Place local = back.At(p.x - box.x, p.y - box.y);
    const Place size = DraggedSize(box, node, side, local);
    const Place half = {side.x * size.x / 2, side.y * size.y / 2};
    Place center = {box.x, box.y};
    if ((node & kCenterFlag) == 0) {
        const bool corner = side.x != 0 && side.y != 0;
        const Place turned = box.At(half.x, half.y);
        const Place anchor =
            (node & kBothFlag) != 0 ? opposite : Place{p.x - 2 * (turned.x - box.x), p.y - 2 * (turned.y - box.y)};
        center = corner ? Place{anchor.x + turned.x - box.x, anchor.y + turned.y - box.y}
                        : box.At((side.x != 0 ? local.x : 0) - half.x, (side.y != 0 ? local.y : 0) - half.y);
    }
    box.width = size.x;
    box.height = size.y;
    box.x = center.x;
    box.y = center.y;
}

void DragRollGrip(Box& box, bool inSteps, Place p) noexcept {
    const double angle = std::atan2(p.y - box.y, p.x - box.x);
    box.roll = inSteps ? kSnapStep * Round(angle / kSnapStep) : angle;
}

void Drag(const Rules& rules, Box& box, int node, Place p) {
    const int number = node & 0xFF;
    if (number == 1) {
        box.x = p.x;
        box.y = p.y;
    } else if (number >= 2 && number <= 9) {
        static constexpr double kOpposite[] = {4, 5, 2, 3};
        const Numbers opposite = rules.Ask("GetCornerPoint", {number <= 5 ? kOpposite[number - 2] : 1.0});
        DragSide(box, node, p, {opposite[0], opposite[1]});
    } else if (number == 10) {
        DragRollGrip(box, (node & kCenterFlag) != 0, p);
        box.DragGrip(p);
    } else if (number == 11 && box.leans && (node & kCenterFlag) == 0) {
        box.shear = std::atan2(box.x - p.x, box.y - p.y) + box.roll;
        box.DragGrip(p);
    }
}

void Map(Box& box, const Numbers& map) noexcept {
    const Place right = Mapped(map, box.At(box.width / 2, 0));
    const Place left = Mapped(map, box.At(-box.width / 2, 0));
    const Place center = Mapped(map, {box.x, box.y});
    const double height = Distance(Mapped(map, box.At(0, box.height / 2)), Mapped(map, box.At(0, -box.height / 2)));
    box.width = Distance(right, left);
    box.height = height;
    box.roll = std::atan2(right.y - left.y, right.x - left.x);
    box.SetGrip(0);
    box.x = center.x;
    box.y = center.y;
}

void SetShear(Box& box, double shear, bool keepsA) noexcept {
    const double sideA = box.SideA();
    box.shear = std::clamp(shear, -1.5, 1.5);
    if (keepsA) {
        box.width = sideA + box.height * std::tan(box.shear);
    }
}

Foreseen AfterEdit(const Rules& rules, Box box, const Edit& edit) {
    const Numbers& given = edit.given;
    if (edit.Is("SetSize")) {
        box.width = given[0];
        box.height = given[1];
    } else if (edit.Is("SetCenter")) {
        box.x = given[0];
        box.y = given[1];
    } else if (edit.Is("put_Roll")) {
        box.roll = given[0];
    } else if (edit.Is("SetAspectRatio")) {
        box.aspect = given[0];
        box.height = given[0] > 0 ? box.width / given[0] : box.height;
    } else if (edit.Is("put_A")) {
        box.width = given[0] + box.height * std::tan(box.shear);
    } else if (edit.Is("put_B")) {
        box.height = given[0] * std::cos(box.shear);
    } else if (edit.Is("put_Shear")) {
        SetShear(box, given[0], static_cast<short>(Integer(given[1])) != 0);
    } else if ((edit.Is("GetCornerPoint") || edit.Is("GetCornerPointI")) && box.HasGrip(edit.Node())) {
        box.SetGrip(std::max(box.grip, 0.25 * box.width));
    } else if (edit.Is("SetCornerPoint")) {
        Drag(rules, box, edit.Node(), edit.Point());
    } else if (edit.Maps()) {
        Map(box, given);
    }
    return box.After();
}

// ---------------------------------------------------------------------------------------------------
// Ellipse, donut, arc donut

// An ellipse is a ring of one.
struct RoundState {
    double x, y;
    std::vector<Numbers> radii;
    Numbers limits;

    Foreseen After() const {
        Foreseen wanted = {{"GetCenter", {}, {x, y}}};
        if (limits.empty()) {
            wanted.push_back({"GetRadius", {}, radii[0]});
            return wanted;
        }
        wanted.push_back({"GetRadius", {0}, radii[0]});
        wanted.push_back({"GetRadius", {1}, radii[1]});
        wanted.push_back({"GetLimits", {}, limits});
        return wanted;
    }
};

RoundState RoundOf(const Rules& rules) {
    const Numbers center = rules.Ask("GetCenter");
    if (rules.Is("ROIEllipse")) {
        return {center[0], center[1], {rules.Ask("GetRadius")}, {}};
    }
    return {center[0], center[1], {rules.Ask("GetRadius", {0}), rules.Ask("GetRadius", {1})}, rules.Ask("GetLimits")};
}

// Nodes 2 and 3 of an ellipse, 2 to 5 of a donut; two more do nothing, and all others move the centre.
void DragNode(RoundState& figure, int node, Place p) noexcept {
    const int number = node & 0xFF;
    const int rings = static_cast<int>(figure.radii.size());
    const int idle = rings == 1 ? 5 : 7;
    if (number >= 2 && number < 2 + 2 * rings) {
        Numbers& radii = figure.radii[(number - 2) / 2];
        const double radius = number % 2 == 0 ? std::abs(p.x - figure.x) : std::abs(p.y - figure.y);
        radii[number % 2] = radius;
        if ((node & kBothFlag) != 0) {
            radii = {radius, radius};
        }
    } else if (number != idle && number != idle + 1) {
        figure.x = p.x;
        figure.y = p.y;
    }
}

// The whole value of a node counts.
void DragSectorNode(RoundState& figure, int node, Place p) noexcept {
    const double distance = Distance(p, {figure.x, figure.y});
    const double angle = std::atan2(p.y - figure.y, p.x - figure.x);
    if (node == 1) {
        figure.x = p.x;
        figure.y = p.y;
    } else if (node >= 2 && node <= 5) {
        figure.radii[node % 2] = {distance, distance};
    } else if (node == 6) {
        figure.limits[0] = angle;
    } else if (node == 7) {
        const double delta = angle - figure.limits[0];
        const bool small = delta < kPi / 2 && figure.limits[1] < kPi / 2;
        figure.limits[1] = !small && figure.limits[1] * delta < 0 ? delta + 2 * kPi : delta;
    }
}

void Map(RoundState& figure, const Numbers& map) noexcept {
    const Place center = Mapped(map, {figure.x, figure.y});
    for (Numbers& radii : figure.radii) {
        radii = {Distance(Mapped(map, {figure.x + radii[0], figure.y}), center),
                 Distance(Mapped(map, {figure.x, figure.y + radii[1]}), center)};
    }
    figure.x = center.x;
    figure.y = center.y;
}

// A sector that is set by its edges says too little.
bool SetsSector(const Rules& rules, const Edit& edit) {
    return rules.Is("ROIArcDonut") && edit.Is("SetNode") && edit.Node() >= kCenterFlag + 2 &&
           edit.Node() <= kCenterFlag + 5;
}

Foreseen AfterEdit(const Rules& rules, RoundState figure, const Edit& edit) {
    const Numbers& given = edit.given;
    if (SetsSector(rules, edit)) {
        return {};
    }
    if (edit.Is("SetCenter")) {
        figure.x = given[0];
        figure.y = given[1];
    } else if (edit.Is("SetRadius")) {
        const std::size_t ring = given.size() == 3 && given[0] != 0 ? 1 : 0;
        figure.radii[ring].assign(given.end() - 2, given.end());
    } else if (edit.Is("SetLimits")) {
        figure.limits = given;
    } else if (edit.Is("SetNode")) {
        rules.Is("ROIArcDonut") ? DragSectorNode(figure, edit.Node(), edit.Point())
                                : DragNode(figure, edit.Node(), edit.Point());
    } else if (edit.Maps()) {
        Map(figure, given);
    }
    return figure.After();
}

// ---------------------------------------------------------------------------------------------------
// Profile

using Points = std::vector<Numbers>;

Foreseen After(const Points& points) {
    Foreseen wanted = {{"GetNumberPoints", {}, {static_cast<double>(points.size())}}};
    for (std::size_t i = 0; i < points.size(); ++i) {
        const Numbers& point = points[i];
        const auto at = static_cast<double>(i);
        wanted.push_back({"GetNodePoint", {1, at}, {point[0], point[1]}});
        wanted.push_back({"GetThickness", {at}, {point[2], point[3]}});
    }
    return wanted;
}

void Move(Numbers& point, double x, double y) noexcept {
    point[0] += x;
    point[1] += y;
}

void Insert(Points& points, int index, Place p) {
    const int size = static_cast<int>(points.size());
    const int at = index >= 0 && index <= size ? index : size;
    const Numbers first = {0, 0, 20, 20};
    const Numbers like = at > 0 ? points[at - 1] : size >= 2 ? points[0] : first;
    points.insert(points.begin() + at, {p.x, p.y, like[2], like[3]});
}

// The signed distance of a place from the line of a segment.
double DistanceFrom(const Points& points, int segment, Place p) noexcept {
    const Numbers& from = points[segment];
    const double x = from[0] - points[segment + 1][0];
    const double y = from[1] - points[segment + 1][1];
    const double length = std::hypot(x, y);
    return length == 0 ? p.x : (y * (p.x - from[0]) - x * (p.y - from[1])) / length;
}

// False where a segment is named that does not begin, or is too short to have a direction.
bool DragNode(Points& points, int kind, int index, Place p) {
    const int size = static_cast<int>(points.size());
    if (index < 0 || index >= size || kind == 2 || kind == 3) {
        return true;
    }
    if (kind < 4 || kind > 6) {
        points[index][0] = p.x;
        points[index][1] = p.y;
        return true;
    }
    if (index + 1 >= size) {
        return false;
    }
    Numbers& from = points[index];
    Numbers& to = points[index + 1];
    if (kind == 6) {
        const Place shift = {p.x - (from[0] + to[0]) / 2, p.y - (from[1] + to[1]) / 2};
        Move(from, shift.x, shift.y);
        Move(to, shift.x, shift.y);
        return true;
    }
    const double distance = DistanceFrom(points, index, p);
    from[kind - 2] = kind == 4 ? -distance : distance;
    return std::hypot(from[0] - to[0], from[1] - to[1]) != 0 || (from[0] == to[0] && from[1] == to[1]);
}

Foreseen AfterEdit(const Rules& rules, Points points, const Edit& edit) {
    const Numbers& given = edit.given;
    const int size = static_cast<int>(points.size());
    const int index = given.empty() ? -1 : Integer(given[0]);
    const bool has = index >= 0 && index < size;
    if (edit.Is("AddPoint")) {
        Insert(points, size, {given[0], given[1]});
    } else if (edit.Is("InsertPoint")) {
        Insert(points, index, edit.Point());
    } else if (edit.Is("RemovePoint") && index >= 0 && index <= size) {
        points.erase(points.begin() + std::min(index, size - 1));
    } else if (edit.Is("SetPoint") && has) {
        points[index] = {given[1], given[2], points[index][2], points[index][3]};
    } else if (edit.Is("SetThickness") && has) {
        points[index] = {points[index][0], points[index][1], given[1], given[2]};
    } else if (edit.Is("SetUniformThickness")) {
        std::for_each(points.begin(), points.end(), [&](Numbers& p) { p = {p[0], p[1], given[0], given[1]}; });
    } else if (edit.Is("SetCenter")) {
        const Numbers center = rules.Ask("GetCenter");
        std::for_each(points.begin(), points.end(),
                      [&](Numbers& p) { Move(p, given[0] - center[0], given[1] - center[1]); });
    } else if (edit.Is("SetNodePoint") && !DragNode(points, index, Integer(given[1]), {given[2], given[3]})) {
        return {};
    } else if (edit.Maps()) {
        for (Numbers& point : points) {
            const Place mapped = Mapped(given, {point[0], point[1]});
            point = {mapped.x, mapped.y, kAnything, kAnything};
        }
    }
    return After(points);
}

bool AreAllModerate(const Foreseen& wanted) {
    return std::all_of(wanted.begin(), wanted.end(), [](const Wanted& one) { return AreModerate(one.outputs); });
}

}  // namespace

std::vector<Wanted> Foresee(const ClassContract& figure, IROI& roi, std::string_view operation,
                            const Numbers& arguments) {
    const Rules rules(figure, roi);
    const Edit edit = {operation, arguments};
    const bool ofList = operation.find(' ') != std::string_view::npos;
    if (ofList || edit.MapsOddly() || !AreModerate(arguments) || figure.Answers("IROIShape")) {
        return {};
    }
    const auto after = [&](const auto& state, const Foreseen& now) {
        return AreAllModerate(now) ? AfterEdit(rules, state, edit) : Foreseen();
    };
    if (figure.Answers("IROIProfile")) {
        const Points points = PointsOf(rules);
        return points.empty() ? Foreseen() : after(points, After(points));
    }
    if (figure.Answers("IROIEllipse") || figure.Answers("IROIDonut")) {
        const RoundState state = RoundOf(rules);
        return after(state, state.After());
    }
    const Box box = BoxOf(rules);
    return after(box, box.After());
}

namespace {

// A box's height follows its fixed aspect; shears are clamped, and grips and what is fit for no copy left behind.
Foreseen ForeseeCopy(const ClassContract& figure, const Rules& rules) {
    if (figure.Answers("IROIProfile")) {
        return After(PointsOf(rules));
    }
    if (figure.Answers("IROIDonut")) {
        return RoundOf(rules).After();
    }
    Box box = BoxOf(rules);
    box.height = box.aspect > 0 ? box.width / box.aspect : box.height;
    box.shear = std::clamp(box.shear, -1.5, 1.5);
    box.SetGrip(0);
    return box.After();
}

}  // namespace

void CheckCopying(Checks& checks, const ClassContract& figure, IROI& roi) {
    if (figure.Answers("IROIEllipse") || figure.Answers("IROIShape")) {
        return;
    }
    const Foreseen foreseen = ForeseeCopy(figure, Rules(figure, roi));
    const Answer answer = Call(roi, figure.At("Replicate"), {});
    const auto copy = SmartPtr<IROI>::QueryFrom(answer.object.Get());
    checks.Expect(answer.code == S_OK && copy, "a copy", answer.Text());
    if (copy) {
        CheckForeseen(checks, figure, *copy, foreseen);
    }
}

void CheckForeseen(Checks& checks, const ClassContract& figure, IROI& roi, const std::vector<Wanted>& foreseen) {
    Rules rules(figure, roi);
    for (const Wanted& wanted : foreseen) {
        rules.Expect(wanted.query, wanted.arguments, wanted.outputs);
    }
    rules.Report(checks);
}
