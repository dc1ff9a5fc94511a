#include "roi/ROIMask.h"

Result CROIMask::FinalConstruct() noexcept {
    m_rectangle = CreateComponent<IROIRectangle>(Text(L"ROIRectangle"));
    return S_OK;
}

// ---------------------------------------------------------------------------------------------------
// Geometry

Result CROIMask::GetBoundingSize(double* width, double* height) noexcept {
    return Forward(&IROIRectangle::GetBoundingSize, width, height);
}

Result CROIMask::GetCenter(double* x, double* y) noexcept { return Forward(&IROIRectangle::GetCenter, x, y); }

Result CROIMask::SetCenter(double x, double y) noexcept { return Forward(&IROIRectangle::SetCenter, x, y); }

Result CROIMask::Transform(ITransform* transform) noexcept { return Forward(&IROIRectangle::Transform, transform); }

Result CROIMask::HitTest(double x, double y, int* hit) noexcept { return Forward(&IROIRectangle::HitTest, x, y, hit); }

Result CROIMask::GetBoundingRect(int* left, int* top, unsigned int* width, unsigned int* height) noexcept {
    const Result code = Forward(&IROIRectangle::GetBoundingRect, left, top, width, height);
    if (m_rectangle && m_mask) {
        SizeOf(*m_mask, reinterpret_cast<int*>(width), reinterpret_cast<int*>(height));
    }
    return code;
}

Result CROIMask::GetSize(double* width, double* height) noexcept {
    return Forward(&IROIRectangle::GetSize, width, height);
}

Result CROIMask::SetSize(double width, double height) noexcept {
    return Forward(&IROIRectangle::SetSize, width, height);
}

Result CROIMask::get_Roll(double* radians) noexcept { return Forward(&IROIRectangle::get_Roll, radians); }

Result CROIMask::put_Roll(double radians) noexcept { return Forward(&IROIRectangle::put_Roll, radians); }

Result CROIMask::GetAspectRatio(double* ratio) noexcept { return Forward(&IROIRectangle::GetAspectRatio, ratio); }

Result CROIMask::SetAspectRatio(double ratio) noexcept { return Forward(&IROIRectangle::SetAspectRatio, ratio); }

Result CROIMask::Replicate(IUnknown** copy) noexcept {
    SmartPtr<IROIMask> mask;
    const Result code = _CreateInstance(nullptr, &IID_IROIMask, mask.ReceiveVoid());
    if (Failed(code)) {
        return code;
    }
    // Without either rectangle there is no figure to copy.
    if (!m_rectangle || !static_cast<CROIMask&>(*mask).m_rectangle) {
        return E_FAIL;
    }
    double width = 0.0;
    double height = 0.0;
    double roll = 0.0;
    double x = 0.0;
    double y = 0.0;
    double ratio = 0.0;
    // Whatever the rectangle answers: a value that it does not give is copied as 0.
    m_rectangle->GetSize(&width, &height);
    mask->SetSize(width, height);
    m_rectangle->get_Roll(&roll);
    mask->put_Roll(roll);
    m_rectangle->GetCenter(&x, &y);
    mask->SetCenter(x, y);
    m_rectangle->GetAspectRatio(&ratio);
    mask->SetAspectRatio(ratio);
    mask->SetMask(m_mask.Get(), 0);
    *copy = mask.Detach();
    return S_OK;
}

// ---------------------------------------------------------------------------------------------------
// Mask

Result CROIMask::GetMask(ICIF** mask) noexcept {
    *mask = SmartPtr<ICIF>(m_mask).Detach();
    return m_mask ? S_OK : E_FAIL;
}

Result CROIMask::SetMask(ICIF* mask, int /*flags*/) noexcept {
    m_mask = SmartPtr<ICIF>::Share(mask);
    return S_OK;
}

// ---------------------------------------------------------------------------------------------------
// Nodes and dragging

Result CROIMask::GetCornerPoint(ROICorner corner, double* x, double* y) noexcept {
    return Forward(&IROIRectangle::GetCornerPoint, corner, x, y);
}

Result CROIMask::GetCornerPointI(ROICorner corner, int* x, int* y) noexcept {
    return Forward(&IROIRectangle::GetCornerPointI, corner, x, y);
}

Result CROIMask::SetCornerPoint(int corner, double x, double y) noexcept {
    return Forward(&IROIRectangle::SetCornerPoint, corner, x, y);
}
