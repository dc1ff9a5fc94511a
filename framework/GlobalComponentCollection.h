// "GlobalComponentCollection": the framework's components by name.
#pragma once

#include <array>

#include "framework/FrameworkComponent.h"
#include "framework/Listing.h"

/// One component: the name of its class and the module that has it.
struct FrameworkClass {
    tagREFString className;
    tagREFString moduleName;
};

inline constexpr std::array kFrameworkClasses = {
    FrameworkClass{Text(L"CreatableString"), Text(L"Collections")},
    FrameworkClass{Text(L"Variant"), Text(L"Collections")},
    FrameworkClass{Text(L"SuperCollection"), Text(L"Collections")},
    FrameworkClass{Text(L"ParametersCreatable"), Text(L"Collections")},
    FrameworkClass{Text(L"ROIDonut"), Text(L"ROI")},
    FrameworkClass{Text(L"ROIArcDonut"), Text(L"ROI")},
    FrameworkClass{Text(L"ROIEllipse"), Text(L"ROI")},
    FrameworkClass{Text(L"ROIMask"), Text(L"ROI")},
    FrameworkClass{Text(L"ROIParallelogram"), Text(L"ROI")},
    FrameworkClass{Text(L"ROIProfile"), Text(L"ROI")},
    FrameworkClass{Text(L"ROIRectangle"), Text(L"ROI")},
    FrameworkClass{Text(L"ROIShape"), Text(L"ROI")},
    FrameworkClass{Text(L"CIFImageCANVAS"), Text(L"CIF")},
    FrameworkClass{Text(L"CIFGraphics"), Text(L"CIF")},
    FrameworkClass{Text(L"Assembly"), Text(L"Geometry")},
};

class CGlobalComponentCollection;
template <>
inline const tagREFString IObjectInfoImpl<CGlobalComponentCollection>::m_ObjectName =
    Text(L"GlobalComponentCollection");

class CGlobalComponentCollection final
    : public FrameworkComponent<CGlobalComponentCollection, IComponentCollection, IListingImpl> {
  public:
    using Answers = InterfaceMap<IObjectInfo, IComponentCollection, IListing>;

    /// Hands out a new descriptor, which the receiver may change without harm to the collection.
    Result GetItem(int index, IUnknown** item) noexcept override;
    Result FindByName(IString* name, int* index) noexcept override;
    /// E_FAIL with `*out` null for a name that is not in the collection or whose module is missing.
    Result CreateComponent(tagREFString className, const IID& iid, void** out) noexcept override;

    int GetCount() noexcept override;
    int GetPresentationKind(int index) noexcept override;

  private:
    Result GetEntryName(int index, tagREFString* name) noexcept override;
    // Found on first use, in the order of kFrameworkClasses.
    std::array<ComponentCreator, kFrameworkClasses.size()> m_creators{};
};
