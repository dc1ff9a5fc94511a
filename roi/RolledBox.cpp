#include "roi/RolledBox.h"

#include <array>

namespace roi {

namespace {

// The side on which a node lies, in halves of width and height: nodes 1 to 9.
struct Side {
    double x;
    double y;
};
constexpr std::array<Side, 10> kSides = {
    {{0, 0}, {0, 0}, {-1, -1}, {+1, -1}, {+1, +1}, {-1, +1}, {0, -1}, {+1, 0}, {0, +1}, {-1, 0}}};

constexpr bool IsCorner(int node) noexcept { return node >= kNodeCorner2 && node <= kNodeCorner5; }

// The corner diagonally across: 2 and 4, 3 and 5.
constexpr int OppositeCorner(int node) noexcept { return node <= kNodeCorner3 ? node + 2 : node - 2; }

// Half a size toward a side; 0 between the sides, whatever the size.
constexpr double Half(double side, double size) noexcept { return side == 0.0 ? 0.0 : side * (size * 0.5); }

constexpr Point LocalNode(const RolledBox& box, int node, double lean) noexcept {
    const Side side = kSides[static_cast<std::size_t>(node)];
    Point local{Half(side.x, box.width), Half(side.y, box.height)};
    if (node == kNodeCorner3) {
        local.x -= lean;
    } else if (node == kNodeCorner5) {
        local.x += lean;
    }
    return local;
}

// The size after a resizing node was dragged to `local`, in the box's own frame. From the opposite side,
// the extent is the half that stays and how far the point lies beyond the centre; about the centre, it
// is twice the latter.
Point DraggedSize(const RolledBox& box, int node, Point local) noexcept {
    const Side side = kSides[static_cast<std::size_t>(node & kNodeMask)];
    const bool keepCenter = (node & kKeepCenter) != 0;
    const auto reach = [keepCenter](double size, double beyond) {
        return keepCenter ? 2.0 * beyond : size * 0.5 + beyond;
    };
    Point size{box.width, box.height};
    if (side.x != 0.0) {
        size.x = reach(box.width, side.x * local.x);
    }
    if (side.y != 0.0) {
        size.y = reach(box.height, side.y * local.y);
    }

    const bool corner = side.x != 0.0 && side.y != 0.0;
    if ((node & kBothAxes) != 0) {
        const double equal = corner ? (size.x + size.y) * 0.5 : side.x != 0.0 ? size.x : size.y;
        size = {equal, equal};
    }
    if (box.aspectRatio > 0.0) {
        // A width edge leads the height, everything else leads the width.
        if (side.y == 0.0) {
            size.y = size.x / box.aspectRatio;
        } else {
            size.x = box.aspectRatio * size.y;
        }
    }
    return size;
}

// The centre after a node was dragged from the opposite side to `p` and the box got its new size.
Point DraggedCenter(const RolledBox& before, int node, double lean, Point p, Point size) noexcept {
    const int number = node & kNodeMask;
    const Side side = kSides[static_cast<std::size_t>(number)];
    const Point half{Half(side.x, size.x), Half(side.y, size.y)};
    if (IsCorner(number)) {
        const Point turned = before.roll.Turn(half);
        // A square drag holds on to the opposite corner, a free one puts the dragged corner on the point:
        // with a fixed aspect ratio the two differ, and both are expected.
        return (node & kBothAxes) != 0 ? ToImage(before, LocalNode(before, OppositeCorner(number), lean)) + turned
                                       : p - turned;
    }
    const Point local = ToLocal(before, p);
    const Point along{side.x != 0.0 ? local.x : 0.0, side.y != 0.0 ? local.y : 0.0};
    return ToImage(before, along - half);
}

// Turns the box so that its own x axis points to `p`; about the kept centre in steps of 15 degrees.
void DragRollGrip(RolledBox& box, Point p, bool inSteps) noexcept {
    // pi / 12 from ten digits of pi, not from all of them: snapped rolls are compared with this step.
    constexpr double kStep = 0.26179938783333334;
    const Point offset = p - Center(box);
    double roll = Direction(offset);
    if (inSteps) {
        roll = kStep * Round(roll / kStep);
    }
    box.gripLength = Length(offset);
    box.roll = Roll(roll);
}

}  // namespace

bool NodePosition(RolledBox& box, int node, double lean, Point* position) noexcept {
    if (node < kNodeCenter || node > kNodeRollGrip) {
        return false;
    }
    if (node == kNodeRollGrip) {
        // Written by a query on purpose: a box that was never given a grip gets one, and keeps it.
        box.gripLength = RaisedGripLength(box);
        *position = ToImage(box, {box.gripLength, 0.0});
    } else if (node == kNodeCenter) {
        *position = Center(box);
    } else {
        *position = ToImage(box, LocalNode(box, node, lean));
    }
    return true;
}

Result Drag(RolledBox& box, int node, double lean, Point p) noexcept {
    const int number = node & kNodeMask;
    if (number < kNodeCenter || number > kNodeRollGrip) {
        return E_INVALIDARG;
    }
    if (number == kNodeRollGrip) {
        DragRollGrip(box, p, (node & kKeepCenter) != 0);
        return S_OK;
    }
    Point center = p;
    if (number != kNodeCenter) {
        const Point size = DraggedSize(box, node, ToLocal(box, p));
        center = (node & kKeepCenter) != 0 ? Center(box) : DraggedCenter(box, node, lean, p, size);
        box.width = size.x;
        box.height = size.y;
    }
    box.centerX = center.x;
    box.centerY = center.y;
    return S_OK;
}

void MapThrough(ITransform& transform, RolledBox& box) noexcept {
    Point right = ToImage(box, LocalNode(box, kNodeEdge7, 0.0));
    Point bottom = ToImage(box, LocalNode(box, kNodeEdge8, 0.0));
    Point top = ToImage(box, LocalNode(box, kNodeEdge6, 0.0));
    Point left = ToImage(box, LocalNode(box, kNodeEdge9, 0.0));
    const Point center = MapPoint(transform, Center(box));
    right = MapPoint(transform, right);
    bottom = MapPoint(transform, bottom);
    left = MapPoint(transform, left);
    top = MapPoint(transform, top);

    box.centerX = center.x;
    box.centerY = center.y;
    box.width = Length(right - left);
    box.height = Length(bottom - top);
    box.roll = Roll(Direction(right - left));
    box.gripLength = 0.0;
}

}  // namespace roi
