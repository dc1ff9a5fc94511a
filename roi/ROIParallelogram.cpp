#include "roi/ROIParallelogram.h"

#include <array>

#include "contract/Presentation.h"
#include "runtime/Pages.h"
#include "runtime/Persistence.h"

// ---------------------------------------------------------------------------------------------------
// Geometry

namespace roi {

void SetShear(Parallelogram& p, double radians, bool keepA) noexcept {
    constexpr double kSteepest = 1.5;
    const double sideA = SideA(p);
    if (radians > kSteepest) {
        radians = kSteepest;
    } else if (radians < -kSteepest) {
        radians = -kSteepest;
    }
    p.shear = Shear(radians);
    if (keepA) {
        p.width = sideA + p.shear.Tangent() * p.height;
    }
}

}  // namespace roi

Result CROIParallelogram::get_A(double* a) noexcept {
    *a = SideA(m_state);
    return S_OK;
}

Result CROIParallelogram::put_A(double a) noexcept {
    m_state.width = a + m_state.shear.Tangent() * m_state.height;
    return S_OK;
}

Result CROIParallelogram::get_B(double* b) noexcept {
    *b = SideB(m_state);
    return S_OK;
}

Result CROIParallelogram::put_B(double b) noexcept {
    m_state.height = std::cos(m_state.shear.Radians()) * b;
    return S_OK;
}

Result CROIParallelogram::get_Shear(double* radians) noexcept {
    *radians = m_state.shear.Radians();
    return S_OK;
}

Result CROIParallelogram::put_Shear(double radians, short keepA) noexcept {
    SetShear(m_state, radians, keepA != 0);
    return S_OK;
}

Result CROIParallelogram::GetMask(ICIF** /*mask*/) noexcept {
    // Success without a mask: hosts preset the output and take what they find.
    return S_OK;
}

Result CROIParallelogram::Transform(ITransform* transform) noexcept { return TransformBox(transform); }

Result CROIParallelogram::Replicate(IUnknown** copy) noexcept {
    SmartPtr<IROIParallelogram> parallelogram;
    const Result code = _CreateInstance(nullptr, &IID_IROIParallelogram, parallelogram.ReceiveVoid());
    if (Failed(code)) {
        return code;
    }
    parallelogram->SetSize(m_state.width, m_state.height);
    parallelogram->put_Roll(m_state.roll.Radians());
    parallelogram->put_Shear(m_state.shear.Radians(), 0);
    parallelogram->SetCenter(m_state.centerX, m_state.centerY);
    *copy = parallelogram.Detach();
    return S_OK;
}

// ---------------------------------------------------------------------------------------------------
// Nodes and dragging: RolledBox, and the shear grip

Result CROIParallelogram::GetCornerPoint(ROICorner corner, double* x, double* y) noexcept {
    if (corner != kNodeShearGrip) {
        return IRolledBoxImpl::GetCornerPoint(corner, x, y);
    }
    // Both grips share one length. A quarter turn back from the roll, leaning with the shear.
    constexpr double kQuarterTurn = kPi / 2.0;
    m_state.gripLength = RaisedGripLength(m_state);
    const double direction = m_state.roll.Radians() - kQuarterTurn - m_state.shear.Radians();
    *x = m_state.centerX + std::cos(direction) * m_state.gripLength;
    *y = m_state.centerY + std::sin(direction) * m_state.gripLength;
    return S_OK;
}

Result CROIParallelogram::SetCornerPoint(int corner, double x, double y) noexcept {
    if ((corner & kNodeMask) != kNodeShearGrip) {
        return IRolledBoxImpl::SetCornerPoint(corner, x, y);
    }
    if ((corner & kKeepCenter) != 0) {
        return E_INVALIDARG;
    }
    // Not clamped and without keeping A, unlike put_Shear.
    const roi::Point toCenter = Center(m_state) - roi::Point{x, y};
    m_state.gripLength = Length(toCenter);
    m_state.shear = roi::Shear(std::atan2(toCenter.x, toCenter.y) + m_state.roll.Radians());
    return S_OK;
}

// ---------------------------------------------------------------------------------------------------
// Parameters

namespace {

using roi::Parallelogram;

constexpr tagREFString kLockA = Text(L"LockA");
constexpr tagREFString kRoll = Text(L"Roll");
constexpr tagREFString kShear = Text(L"Shear");

constexpr auto kCenterX = Stored<Parallelogram, &Parallelogram::centerX>(Text(L"CenterX"), kPresentNumber);
constexpr auto kCenterY = Stored<Parallelogram, &Parallelogram::centerY>(Text(L"CenterY"), kPresentNumber);
constexpr auto kWidth = Stored<Parallelogram, &Parallelogram::width>(Text(L"Width"), kPresentNumber);
constexpr auto kHeight = Stored<Parallelogram, &Parallelogram::height>(Text(L"Height"), kPresentNumber);
constexpr auto kGripLength = Stored<Parallelogram, &Parallelogram::gripLength>(Text(L"RollGripLength"));

// Reads the shear, and keeps A from 1 radian on: the flag is the angle's integer part, in 16 bits, before
// the clamp. LockA has no say in it.
void ReadShear(ParameterReader& list, Parallelogram& state) noexcept {
    double degrees = 0.0;
    if (list.Variant(kShear, &degrees) == Lookup::kMissing) {
        return;
    }
    const double radians = degrees * kPi / 180.0;
    SetShear(state, radians, static_cast<short>(ToInt32(radians)) != 0);
}

}  // namespace

Result CROIParallelogram::GetParameters(INamedCollection** parameters, int /*flags*/) noexcept {
    ParameterWriter list;
    AddParameters(list, std::array{kCenterX, kCenterY, kWidth, kHeight}, m_state);
    // For show: SetParameters does not read the sides.
    list.Add(Text(L"A"), SideA(m_state), kPresentShown);
    list.Add(Text(L"B"), SideB(m_state), kPresentShown);
    list.Add(kRoll, RollInDegrees(m_state), kPresentNumber);
    list.Add(kShear, ToDegrees(m_state.shear.Radians()), kPresentShear);
    list.Add(kLockA, static_cast<int>(m_state.lockA), kPresentLock);
    AddParameters(list, std::array{kGripLength}, m_state);
    return list.HandOut(parameters);
}

Result CROIParallelogram::SetParameters(INamedCollection* parameters) noexcept {
    return StoreParameters(parameters, m_state, [](ParameterReader& list, Parallelogram& state) {
        ReadVariantRow(list, kWidth, state);
        ReadVariantRow(list, kHeight, state);
        ReadRoll(list, kRoll, state);
        int lockA = state.lockA;
        list.Variant(kLockA, &lockA);
        state.lockA = static_cast<short>(lockA);
        ReadShear(list, state);
        // Only the centre may come as a text.
        ReadNumberRow(list, kCenterX, state);
        ReadNumberRow(list, kCenterY, state);
        ReadVariantRow(list, kGripLength, state);
    });
}

Result CROIParallelogram::GetPages(int /*index*/, INamedCollection** pages, IUnknown** /*context*/) noexcept {
    return MakePages(Text(L"Parallelogram"), kParametricPage, m_ObjectName, pages);
}

// ---------------------------------------------------------------------------------------------------
// Persistence

Result CROIParallelogram::Load(IDataStream* stream, int /*flags*/) noexcept {
    m_state.lockA = 0;
    if (!TakesParameters(stream)) {
        return E_FAIL;
    }
    return LoadParametersThrough(*this, stream, CreateComponent<IParametersCreatable>(Text(L"ParametersCreatable")));
}
