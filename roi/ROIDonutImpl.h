// What donut and arc donut share: two concentric ellipses along the image's axes, called ring 0 and
// ring 1, either of which may be the inner one, and a pair of angular limits. The limits shape nodes and
// parameters only: the region is always the full ring between the two.
//
//          .-------.
//        /  .-----.  \          angles run from +x toward +y (downward)
//       |  |   o   |--|----> +x
//        \  `-----'  /
//          `---v---'
//             +y
#pragma once

#include "contract/IROI.h"
#include "roi/Geometry.h"
#include "roi/MaskImage.h"
#include "runtime/ParameterTable.h"
#include "runtime/Persistence.h"

namespace roi {

inline constexpr double kTwoPi = 2.0 * kPi;

struct Ring {
    double radiusX;
    double radiusY;
};

struct Annulus {
    double centerX = 50.0;
    double centerY = 50.0;
    Ring rings[2] = {{20.0, 20.0}, {30.0, 30.0}};
    double start = 0.0;     ///< Radians, never normalised.
    double delta = kTwoPi;  ///< Radians from the start; negative turns the other way.
};

constexpr Point Center(const Annulus& a) noexcept { return {a.centerX, a.centerY}; }

/// Between the two circles whose squared radii are radiusX * radiusY, edges included; the ring with the
/// larger x radius is the outer one. False for NaN.
constexpr bool Contains(const Annulus& a, Point p) noexcept {
    const double square0 = a.rings[0].radiusX * a.rings[0].radiusY;
    const double square1 = a.rings[1].radiusX * a.rings[1].radiusY;
    const bool outerIs0 = a.rings[0].radiusX > a.rings[1].radiusX;
    const double inner = outerIs0 ? square1 : square0;
    const double outer = outerIs0 ? square0 : square1;
    const double square = SquaredLength(p - Center(a));
    return (static_cast<int>(inner <= square) & static_cast<int>(square <= outer)) != 0;
}

/// Width and height of the box around both ellipses; the limits do not count.
constexpr Point BoundingSize(const Annulus& a) noexcept {
    return {2.0 * std::max(a.rings[0].radiusX, a.rings[1].radiusX),
            2.0 * std::max(a.rings[0].radiusY, a.rings[1].radiusY)};
}

/// A box of that size about the centre; the size is rounded like the corner, not from corner to corner.
constexpr PixelBox BoundingBox(const Annulus& a, double width, double height) noexcept {
    return {Round(a.centerX - width * 0.5), Round(a.centerY - height * 0.5), RoundUnsigned(width),
            RoundUnsigned(height)};
}

/// Maps the centre and the ends of each ring's half-axes; rings stay along the image's axes and the
/// limits stay as they are.
void MapThrough(ITransform& transform, Annulus& a) noexcept;

/// Draws both ellipses and fills the band between them from a seed halfway between the rings, right of
/// the centre. The centre is drawn at the middle of the image, not at the figure's sub-pixel centre.
void DrawRings(const Annulus& a, ICIFGraphics& graphics, unsigned int width, unsigned int height) noexcept;

/// The row of a ring's radius in a parameter table.
template <int ring, double Ring::*axis>
constexpr Parameter<Annulus> RingRow(tagREFString name) noexcept {
    return {name, [](const Annulus& a) noexcept -> double { return a.rings[ring].*axis; },
            [](Annulus& a, double value) noexcept { a.rings[ring].*axis = value; }};
}

/// The row of an angle; `toRadians` is the class's own way back from degrees.
template <double Annulus::*angle, double (*toRadians)(double)>
constexpr Parameter<Annulus> AngleRow(tagREFString name) noexcept {
    return {name, [](const Annulus& a) noexcept -> double { return ToDegrees(a.*angle); },
            [](Annulus& a, double degrees) noexcept { a.*angle = toRadians(degrees); }};
}

}  // namespace roi

/// The operations of ITransformableObject and I (IROIArcDonut) for the class T, with the mask cached:
/// made by the first GetMask, dropped by SetNode, SetRadius and Transform only. SetCenter, SetLimits and
/// SetParameters leave it in place, so a mask can outlive a change of the figure.
template <class T, class I>
class IROIDonutImpl : public ITransformableObject, public I {
  public:
    Result GetBoundingSize(double* width, double* height) noexcept override {
        const roi::Point size = BoundingSize(m_state);
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
    Result Transform(ITransform* transform) noexcept override {
        if (transform == nullptr) {
            return E_INVALIDARG;
        }
        m_mask.Reset();
        MapThrough(*transform, m_state);
        return S_OK;
    }
    /// Draws the mask when there is none and keeps it: later calls hand out the same image. E_FAIL with a null mask for
    /// a box under two pixels and without the image or drawing component. An image that refused the size of the box is
    /// handed out without pixels.
    Result GetMask(ICIF** mask) noexcept override {
        *mask = nullptr;
        if (!m_mask) {
            const Result code = MakeMask();
            if (Failed(code)) {
                return code;
            }
        }
        *mask = SmartPtr<ICIF>(m_mask).Detach();
        return S_OK;
    }
    Result HitTest(double x, double y, int* hit) noexcept override {
        return roi::HitResult(Contains(m_state, {x, y}), hit);
    }
    Result GetBoundingRect(int* left, int* top, unsigned int* width, unsigned int* height) noexcept override {
        double w = 0.0;
        double h = 0.0;
        GetBoundingSize(&w, &h);
        const roi::PixelBox box = BoundingBox(m_state, w, h);
        *left = box.left;
        *top = box.top;
        *width = box.width;
        *height = box.height;
        return S_OK;
    }

    Result GetRadius(int ring, double* radiusX, double* radiusY) noexcept override {
        const roi::Ring& radii = m_state.rings[ring == 0 ? 0 : 1];
        *radiusX = radii.radiusX;
        *radiusY = radii.radiusY;
        return S_OK;
    }
    Result SetRadius(int ring, double radiusX, double radiusY) noexcept override {
        m_mask.Reset();
        m_state.rings[ring == 0 ? 0 : 1] = {radiusX, radiusY};
        return S_OK;
    }

  protected:
    ~IROIDonutImpl() = default;

    Result StoreLimits(double start, double delta) noexcept {
        m_state.start = start;
        m_state.delta = delta;
        return S_OK;
    }
    Result ReadLimits(double* start, double* delta) const noexcept {
        if (start != nullptr) {
            *start = m_state.start;
        }
        if (delta != nullptr) {
            *delta = m_state.delta;
        }
        return S_OK;
    }

    /// A copy with the same figure and no mask yet, handed out as IROIDonut.
    Result ReplicateAs(IUnknown** copy) noexcept {
        SmartPtr<IROIDonut> donut;
        const Result code = T::_CreateInstance(nullptr, &IID_IROIDonut, donut.ReceiveVoid());
        if (Failed(code)) {
            return code;
        }
        static_cast<IROIDonutImpl*>(donut.Get())->m_state = m_state;
        *copy = donut.Detach();
        return S_OK;
    }

    /// Reads every row of a class's table, as a number or a text. A missing angle keeps its exact bits.
    template <class Table>
    Result StoreRows(const Table& table, INamedCollection* parameters) noexcept {
        return StoreParameters(parameters, m_state, [&table](ParameterReader& list, roi::Annulus& state) {
            for (const auto& row : table) {
                ReadNumberRow(list, row, state);
            }
        });
    }

    roi::Annulus m_state;
    SmartPtr<ICIF> m_mask;

  private:
    Result MakeMask() noexcept {
        int left = 0;
        int top = 0;
        unsigned int width = 0;
        unsigned int height = 0;
        GetBoundingRect(&left, &top, &width, &height);
        // Read as signed: negative radii must not ask for a gigantic image.
        if (static_cast<int>(width) <= 1 || static_cast<int>(height) <= 1) {
            return E_FAIL;
        }
        SmartPtr<ICIF> image = roi::NewMaskImage();
        if (!image) {
            return E_FAIL;
        }
        roi::AllocateMask(*image, width, height);
        image->Fill(0);
        const SmartPtr<ICIFGraphics> graphics = roi::NewMaskGraphics(*image);
        if (!graphics) {
            return E_FAIL;
        }
        DrawRings(m_state, *graphics, width, height);
        m_mask = std::move(image);
        return S_OK;
    }
};
