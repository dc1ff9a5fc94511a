// What rectangle and parallelogram share: a box of width w and height h, turned by the roll about its
// centre, with its nodes, extent, dragging and mapping. The parallelogram's corners 3 and 5 are shifted
// along the box's own x axis by the lean; a rectangle has a lean of 0.
//
//        2 ---- 6 ---- 3          +---> own x axis, turned by the roll
//        |             |          |
//        9      1      7  10      v own y axis
//        |             |
//        5 ---- 8 ---- 4
#pragma once

#include "contract/IROI.h"
#include "roi/Geometry.h"
#include "runtime/ParameterTable.h"

namespace roi {

struct RolledBox {
    double width = 50.0;  ///< May be zero or negative: drags across the opposite side make it so.
    double height = 50.0;
    Roll roll;
    double centerX = 50.0;
    double centerY = 50.0;
    double aspectRatio = 0.0;  ///< Width divided by height while dragging; 0 or less is free.
    double gripLength = 0.0;   ///< Distance of the roll grip, and the shear grip, from the centre.
};

constexpr Point Center(const RolledBox& box) noexcept { return {box.centerX, box.centerY}; }

/// An image point in the box's own frame: turned back by the roll about the centre.
constexpr Point ToLocal(const RolledBox& box, Point p) noexcept { return box.roll.TurnBack(p - Center(box)); }

/// The image position of a point of the box's own frame.
constexpr Point ToImage(const RolledBox& box, Point local) noexcept { return Center(box) + box.roll.Turn(local); }

/// Inside the box or on its edge, by its absolute sizes; false for NaN.
inline bool Contains(const RolledBox& box, Point p) noexcept {
    const Point local = ToLocal(box, p);
    // No early return: points come at random, and a mispredicted branch costs more than the arithmetic.
    const int within = static_cast<int>(std::abs(box.width) * 0.5 >= std::abs(local.x));
    return (within & static_cast<int>(std::abs(box.height) * 0.5 >= std::abs(local.y))) != 0;
}

/// Width and height of the upright box around the turned one.
inline Point BoundingSize(const RolledBox& box) noexcept {
    const double c = box.roll.Cosine();
    const double s = box.roll.Sine();
    return {std::abs(s * box.height) + std::abs(c * box.width), std::abs(c * box.height) + std::abs(s * box.width)};
}

/// The grip's length as a query for a grip finds it: at least a quarter of the (signed) width.
constexpr double RaisedGripLength(const RolledBox& box) noexcept { return std::max(box.gripLength, 0.25 * box.width); }

/// Writes the image position of nodes 1 to 10; false, with nothing written, for any other. Node 10
/// raises the stored grip length, which stays.
bool NodePosition(RolledBox& box, int node, double lean, Point* position) noexcept;

/// Drags nodes 1 to 10, with NodeFlag modifiers; E_INVALIDARG, with nothing changed, for any other. The
/// lean only counts where a square drag holds on to the opposite corner.
Result Drag(RolledBox& box, int node, double lean, Point p) noexcept;

/// Maps the centre and the middles of the edges: sizes are the distances between opposite middles, so
/// shear is lost. The grip length goes back to 0.
void MapThrough(ITransform& transform, RolledBox& box) noexcept;

/// The roll as lists show it.
inline double RollInDegrees(const RolledBox& box) noexcept { return ToDegrees(box.roll.Radians()); }

/// Reads the roll from a list. What the field holds afterwards is taken for degrees whether or not the
/// name was there, so a list without it scales the stored radians once more: hosts pass whole lists.
inline void ReadRoll(ParameterReader& list, tagREFString name, RolledBox& box) noexcept {
    double degrees = box.roll.Radians();
    list.Variant(name, &degrees);
    box.roll = Roll(kPi * degrees / 180.0);
}

/// The operations that rectangle and parallelogram have in common, for the class T and its interface I.
/// T has `Lean()` and the state `m_state`, which is a RolledBox.
template <class T, class I, class State>
class IRolledBoxImpl : public I {
  public:
    Result GetBoundingSize(double* width, double* height) noexcept override {
        const Point size = BoundingSize(m_state);
        *width = size.x;
        *height = size.y;
        return S_OK;
    }
    Result GetCenter(double* x, double* y) noexcept override {
        *x = m_state.centerX;
        *y = m_state.centerY;
        return S_OK;
    }
    Result SetCenter(double x, double y) noexcept override {
        m_state.centerX = x;
        m_state.centerY = y;
        return S_OK;
    }
    Result HitTest(double x, double y, int* hit) noexcept override { return HitResult(Contains(m_state, {x, y}), hit); }
    /// The box around the integer corners 2 to 5, both border pixels counted.
    Result GetBoundingRect(int* left, int* top, unsigned int* width, unsigned int* height) noexcept override {
        int x = 0;
        int y = 0;
        Self().GetCornerPointI(kNodeCorner2, &x, &y);
        Extent<int> extent{x, x, y, y};
        for (const ROICorner corner : {kNodeCorner3, kNodeCorner4, kNodeCorner5}) {
            Self().GetCornerPointI(corner, &x, &y);
            extent.Include(x, y);
        }
        const PixelBox box = BoxOfPixels(extent);
        *left = box.left;
        *top = box.top;
        *width = box.width;
        *height = box.height;
        return S_OK;
    }

    Result GetSize(double* width, double* height) noexcept override {
        *width = m_state.width;
        *height = m_state.height;
        return S_OK;
    }
    Result SetSize(double width, double height) noexcept override {
        m_state.width = width;
        m_state.height = height;
        return S_OK;
    }
    Result get_Roll(double* radians) noexcept override {
        *radians = m_state.roll.Radians();
        return S_OK;
    }
    Result put_Roll(double radians) noexcept override {
        m_state.roll = Roll(radians);
        return S_OK;
    }
    /// Node 10 raises the stored grip length to a quarter of the width, and it stays; lists show it.
    Result GetCornerPoint(ROICorner corner, double* x, double* y) noexcept override {
        Point position;
        if (!NodePosition(m_state, corner, Self().Lean(), &position)) {
            return E_INVALIDARG;
        }
        *x = position.x;
        *y = position.y;
        return S_OK;
    }
    Result SetCornerPoint(int corner, double x, double y) noexcept override {
        return Drag(m_state, corner, Self().Lean(), {x, y});
    }

  protected:
    ~IRolledBoxImpl() = default;

    /// GetCornerPoint in whole pixels, half away from zero; outputs untouched when it fails. Raises the grip length as
    /// it does.
    Result IntegerCornerPoint(ROICorner corner, int* x, int* y) noexcept {
        Point position;
        if (Failed(Self().GetCornerPoint(corner, &position.x, &position.y))) {
            return E_INVALIDARG;
        }
        *x = Round(position.x);
        *y = Round(position.y);
        return S_OK;
    }

    Result TransformBox(ITransform* transform) noexcept {
        if (transform == nullptr) {
            return E_INVALIDARG;
        }
        MapThrough(*transform, m_state);
        return S_OK;
    }

    State m_state;

  private:
    T& Self() noexcept { return static_cast<T&>(*this); }
};

}  // namespace roi
