#include "roi/ROIRectangle.h"

#include <array>

#include "roi/MaskImage.h"
#include "runtime/Pages.h"

// ---------------------------------------------------------------------------------------------------
// Geometry

Result CROIRectangle::GetAspectRatio(double* ratio) noexcept {
    *ratio = m_state.aspectRatio;
    return S_OK;
}

Result CROIRectangle::SetAspectRatio(double ratio) noexcept {
    m_state.aspectRatio = ratio;
    if (ratio > 0.0) {
        m_state.height = m_state.width / ratio;
    }
    return S_OK;
}

Result CROIRectangle::Transform(ITransform* transform) noexcept { return TransformBox(transform); }

Result CROIRectangle::Replicate(IUnknown** copy) noexcept {
    SmartPtr<IROIRectangle> rectangle;
    const Result code = _CreateInstance(nullptr, &IID_IROIRectangle, rectangle.ReceiveVoid());
    if (Failed(code)) {
        return code;
    }
    rectangle->SetSize(m_state.width, m_state.height);
    rectangle->put_Roll(m_state.roll.Radians());
    rectangle->SetCenter(m_state.centerX, m_state.centerY);
    // Last, so a stored ratio makes the copy's height from its width; the grip starts at 0.
    rectangle->SetAspectRatio(m_state.aspectRatio);
    *copy = rectangle.Detach();
    return S_OK;
}

namespace {

// The outline through the integer corners, in the mask's own pixels, and the region around the centre of
// the box. A rectangle thinner than a pixel may have its seed on the outline; nothing is done about it.
void DrawMask(IROIRectangle& rectangle, ICIFGraphics& graphics, int left, int top, unsigned int width,
              unsigned int height) noexcept {
    int x = 0;
    int y = 0;
    rectangle.GetCornerPointI(kNodeCorner5, &x, &y);
    for (const ROICorner corner : {kNodeCorner2, kNodeCorner3, kNodeCorner4, kNodeCorner5}) {
        const int fromX = x;
        const int fromY = y;
        rectangle.GetCornerPointI(corner, &x, &y);
        const auto inMask = [](int coordinate, int origin) {
            return static_cast<float>(static_cast<double>(coordinate) - static_cast<double>(origin));
        };
        graphics.Line(inMask(fromX, left), inMask(fromY, top), inMask(x, left), inMask(y, top));
    }
    graphics.FloodFill(static_cast<int>(width >> 1), static_cast<int>(height >> 1), 0);
}

}  // namespace

Result CROIRectangle::GetMask(ICIF** mask) noexcept {
    constexpr double kNoRoll = 0.0001;
    if (std::abs(m_state.roll.Radians()) < kNoRoll) {
        *mask = nullptr;
        return S_OK;
    }
    int left = 0;
    int top = 0;
    unsigned int width = 0;
    unsigned int height = 0;
    GetBoundingRect(&left, &top, &width, &height);
    SmartPtr<ICIF> image = roi::NewMaskImage();
    if (!image) {
        return E_FAIL;
    }
    *mask = nullptr;
    roi::AllocateMask(*image, width, height);
    const SmartPtr<ICIFGraphics> graphics = roi::NewMaskGraphics(*image);
    if (!graphics) {
        return E_FAIL;
    }
    DrawMask(*this, *graphics, left, top, width, height);
    *mask = image.Detach();
    return S_OK;
}

// ---------------------------------------------------------------------------------------------------
// Nodes and dragging: RolledBox

Result CROIRectangle::GetCornerPointI(ROICorner corner, int* x, int* y) noexcept {
    return IntegerCornerPoint(corner, x, y);
}

// ---------------------------------------------------------------------------------------------------
// Parameters

namespace {

using roi::RolledBox;

constexpr std::array kParameters = {
    Stored<RolledBox, &RolledBox::centerX>(Text(L"CenterX")),
    Stored<RolledBox, &RolledBox::centerY>(Text(L"CenterY")),
    Stored<RolledBox, &RolledBox::width>(Text(L"Width")),
    Stored<RolledBox, &RolledBox::height>(Text(L"Height")),
    Parameter<RolledBox>{Text(L"Angle"), roi::RollInDegrees, nullptr},
    Stored<RolledBox, &RolledBox::aspectRatio>(Text(L"FixedAspect")),
    Stored<RolledBox, &RolledBox::gripLength>(Text(L"RollGripLength")),
};

// A list is searched in another order than it is written: size and angle first.
constexpr std::array<std::size_t, kParameters.size()> kReadingOrder = {2, 3, 4, 0, 1, 5, 6};

}  // namespace

Result CROIRectangle::GetParameters(INamedCollection** parameters, int /*flags*/) noexcept {
    return HandOutParameters(kParameters, m_state, parameters);
}

Result CROIRectangle::SetParameters(INamedCollection* parameters) noexcept {
    return StoreParameters(parameters, m_state, [](ParameterReader& list, RolledBox& state) {
        for (const std::size_t index : kReadingOrder) {
            const Parameter<RolledBox>& row = kParameters[index];
            if (row.write != nullptr) {
                ReadVariantRow(list, row, state);
            } else {
                roi::ReadRoll(list, row.name, state);
            }
        }
    });
}

Result CROIRectangle::GetPages(int /*index*/, INamedCollection** pages, IUnknown** /*context*/) noexcept {
    return MakePages(Text(L"Rectangle"), kParametricPage, m_ObjectName, pages);
}

// ---------------------------------------------------------------------------------------------------
// Persistence: IDataPersistParametricImpl
