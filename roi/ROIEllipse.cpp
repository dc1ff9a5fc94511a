#include "roi/ROIEllipse.h"

#include <array>
#include <cwctype>
#include <string>

#include "contract/NumberText.h"
#include "runtime/Persistence.h"
#include "runtime/VariantText.h"

// ---------------------------------------------------------------------------------------------------
// Geometry

namespace roi {

PixelBox BoundingBox(const Ellipse& e, double width, double height) noexcept {
    return {Round(e.centerX - 0.5 * width), Round(e.centerY - 0.5 * height), ToUInt32(std::ceil(width)),
            ToUInt32(std::ceil(height))};
}

Ellipse Mapped(ITransform& transform, const Ellipse& e) noexcept {
    const Point center = MapPoint(transform, {e.centerX, e.centerY});
    const Point right = MapPoint(transform, {e.centerX + e.radiusX, e.centerY});
    const Point below = MapPoint(transform, {e.centerX, e.centerY + e.radiusY});
    return {center.x, center.y, Length(right - center), Length(below - center)};
}

void Drag(Ellipse& e, int node, Point p) noexcept {
    const bool circular = (node & kBothAxes) != 0;
    switch (node & kNodeMask) {
        case 2:
            e.radiusX = std::abs(p.x - e.centerX);
            if (circular) {
                e.radiusY = e.radiusX;
            }
            break;
        case 3:
            e.radiusY = std::abs(p.y - e.centerY);
            if (circular) {
                e.radiusX = e.radiusY;
            }
            break;
        case 5:
        case 6:
            break;
        default:
            e.centerX = p.x;
            e.centerY = p.y;
    }
}

}  // namespace roi

Result CROIEllipse::GetBoundingSize(double* width, double* height) noexcept {
    // The half-axes: GetBoundingRect and hosts rely on it.
    return GetRadius(width, height);
}

Result CROIEllipse::GetCenter(double* x, double* y) noexcept {
    *x = m_state.centerX;
    *y = m_state.centerY;
    return S_OK;
}

Result CROIEllipse::SetCenter(double x, double y) noexcept {
    m_state.centerX = x;
    m_state.centerY = y;
    return S_OK;
}

Result CROIEllipse::GetRadius(double* radiusX, double* radiusY) noexcept {
    *radiusX = m_state.radiusX;
    *radiusY = m_state.radiusY;
    return S_OK;
}

Result CROIEllipse::SetRadius(double radiusX, double radiusY) noexcept {
    m_state.radiusX = radiusX;
    m_state.radiusY = radiusY;
    return S_OK;
}

Result CROIEllipse::GetBoundingRect(int* left, int* top, unsigned int* width, unsigned int* height) noexcept {
    double w = 0.0;
    double h = 0.0;
    GetBoundingSize(&w, &h);
    const roi::PixelBox box = roi::BoundingBox(m_state, w, h);
    *left = box.left;
    *top = box.top;
    *width = box.width;
    *height = box.height;
    return S_OK;
}

Result CROIEllipse::HitTest(double x, double y, int* hit) noexcept {
    return roi::HitResult(Contains(m_state, {x, y}), hit);
}

Result CROIEllipse::GetMask(ICIF** /*image*/) noexcept { return E_NOTIMPL; }

Result CROIEllipse::Transform(ITransform* transform) noexcept {
    if (transform == nullptr) {
        return E_INVALIDARG;
    }
    m_state = Mapped(*transform, m_state);
    return S_OK;
}

Result CROIEllipse::Replicate(IUnknown** /*copy*/) noexcept {
    // The copy is asked for an interface that an ellipse does not answer, so an ellipse never has a copy.
    // Hosts rely on the refusal.
    void* copy = nullptr;
    return _CreateInstance(nullptr, &IID_IROIDonut, &copy);
}

// ---------------------------------------------------------------------------------------------------
// Nodes and dragging

Result CROIEllipse::GetNode(int node, double* x, double* y) noexcept {
    // The whole value counts here, but only the low byte in SetNode: 0x202 reads the centre and drags
    // node 2.
    switch (node) {
        case 2:
            *x = m_state.centerX + m_state.radiusX;
            *y = m_state.centerY;
            return S_OK;
        case 3:
            *x = m_state.centerX;
            *y = m_state.centerY - m_state.radiusY;
            return S_OK;
        case 5:
        case 6:
            return S_OK;
        default:
            return GetCenter(x, y);
    }
}

Result CROIEllipse::SetNode(int node, double x, double y) noexcept {
    Drag(m_state, node, {x, y});
    return S_OK;
}

// ---------------------------------------------------------------------------------------------------
// Parameters

namespace {

using roi::Ellipse;

constexpr std::array kParameters = {
    Stored<Ellipse, &Ellipse::centerX>(Text(L"CenterX")),
    Stored<Ellipse, &Ellipse::centerY>(Text(L"CenterY")),
    Stored<Ellipse, &Ellipse::radiusX>(Text(L"RadiusX")),
    Stored<Ellipse, &Ellipse::radiusY>(Text(L"RadiusY")),
};

}  // namespace

Result CROIEllipse::GetParameters(INamedCollection** parameters, int /*flags*/) noexcept {
    return HandOutParameters(kParameters, m_state, parameters);
}

Result CROIEllipse::SetParameters(INamedCollection* parameters) noexcept {
    return StoreParameters(parameters, m_state, [](ParameterReader& list, Ellipse& state) {
        for (const auto& row : kParameters) {
            ReadVariantRow(list, row, state);
        }
    });
}

// ---------------------------------------------------------------------------------------------------
// Persistence

namespace {

// Writes one element per parameter, with as many decimals as its value needs.
void SaveAsText(const Ellipse& state, IXMLStream& stream) noexcept {
    for (const auto& row : kParameters) {
        const SmartPtr<IVariant> value = CREFString::CreateVariant();
        const SmartPtr<IString> name = CreateStringOf(row.name);
        if (!value || !name) {
            continue;
        }
        value->SetDouble(row.read(state));
        if (const SmartPtr<IString> text = ISCreate(value.Get())) {
            stream.WriteValue(name.Get(), 0, text.Get(), 0);
        }
    }
}

bool EqualIgnoringCase(tagREFString a, tagREFString b) noexcept {
    const auto lower = [](wchar_t c) { return std::towlower(std::char_traits<wchar_t>::to_int_type(c)); };
    return a.length == b.length &&
           (a.length <= 0 ||
            std::equal(a.text, a.text + a.length, b.text, [&](wchar_t x, wchar_t y) { return lower(x) == lower(y); }));
}

// An element's text comes through OpenChild's output or, failing that, through the child's IString.
int IntegerOf(tagREFString text, IUnknown* child) noexcept {
    const auto string = SmartPtr<IString>::QueryFrom(text.length > 0 ? nullptr : child);
    if (string) {
        string->GetText(&text.text, &text.length);
    }
    return TextToInteger(text);
}

// Calls `visit(name, text, child)` for every child element of a stream.
template <class Visit>
void ForEachChild(IXMLStream& stream, Visit visit) noexcept {
    tagREFString name{0, nullptr};
    while (Succeeded(stream.NextChild(&name))) {
        tagREFString text{0, nullptr};
        SmartPtr<IUnknown> child;
        if (Succeeded(stream.OpenChild(name, &text, child.Receive(), 1))) {
            visit(name, text, child.Get());
        }
    }
}

// Reads the elements of the stream's entries, exactly two levels down. Values come back as integers,
// although they were written with decimals: the XML form of an ellipse is lossy by contract.
void LoadFromText(Ellipse& state, IXMLStream& stream) noexcept {
    const auto readElement = [&state](tagREFString name, tagREFString text, IUnknown* child) {
        for (const auto& row : kParameters) {
            if (EqualIgnoringCase(name, row.name)) {
                row.write(state, IntegerOf(text, child));
                return;
            }
        }
    };
    ForEachChild(stream, [&](tagREFString, tagREFString, IUnknown* entry) {
        if (const auto elements = SmartPtr<IXMLStream>::QueryFrom(entry)) {
            ForEachChild(*elements, readElement);
        }
    });
}

}  // namespace

Result CROIEllipse::Save(IDataStream* stream, int flags) noexcept {
    if (const auto xml = SmartPtr<IXMLStream>::QueryFrom(stream)) {
        SaveAsText(m_state, *xml);
    }
    if (SmartPtr<IFolderStream>::QueryFrom(stream)) {
        SaveParameters(*this, stream, flags);
    }
    return S_OK;
}

Result CROIEllipse::Load(IDataStream* stream, int /*flags*/) noexcept {
    if (const auto xml = SmartPtr<IXMLStream>::QueryFrom(stream)) {
        LoadFromText(m_state, *xml);
    }
    if (SmartPtr<IFolderStream>::QueryFrom(stream)) {
        return LoadParameters(*this, stream);
    }
    return S_OK;
}
