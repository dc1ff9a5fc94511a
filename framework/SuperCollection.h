// "SuperCollection": the collection that carries property pages.
#pragma once

#include <vector>

#include "contract/Extensions.h"
#include "framework/FrameworkComponent.h"

class CSuperCollection;
template <>
inline const tagREFString IObjectInfoImpl<CSuperCollection>::m_ObjectName = Text(L"SuperCollection");

class CSuperCollection final : public FrameworkComponent<CSuperCollection, ISuperCollection, IPageListing> {
  public:
    using Answers = InterfaceMap<IObjectInfo, ISuperCollection, IPageListing>;

    Result AddPage(IString* key, IString* pageClass, IString* objectName, int reserved) noexcept override;

    int GetCount() noexcept override;
    Result GetPage(int index, tagREFString* key, tagREFString* pageClass, tagREFString* objectName) noexcept override;

  private:
    struct Page {
        CREFString key;
        CREFString pageClass;
        CREFString objectName;
    };

    std::vector<Page> m_pages;
};
