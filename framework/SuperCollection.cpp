#include "framework/SuperCollection.h"

Result CSuperCollection::AddPage(IString* key, IString* pageClass, IString* objectName, int reserved) noexcept {
    if (key == nullptr || pageClass == nullptr || objectName == nullptr) {
        return Misuse("ISuperCollection::AddPage", "null text");
    }
    if (reserved != 0) {
        return Misuse("ISuperCollection::AddPage", "the last argument is not 0");
    }
    return Guarded("ISuperCollection::AddPage", [&] {
        Page page;
        if (!CopyText(*key, page.key) || !CopyText(*pageClass, page.pageClass) ||
            !CopyText(*objectName, page.objectName)) {
            return E_FAIL;
        }
        m_pages.push_back(std::move(page));
        return S_OK;
    });
}

int CSuperCollection::GetCount() noexcept { return static_cast<int>(m_pages.size()); }

Result CSuperCollection::GetPage(int index, tagREFString* key, tagREFString* pageClass,
                                 tagREFString* objectName) noexcept {
    if (key == nullptr || pageClass == nullptr || objectName == nullptr) {
        return Misuse("IPageListing::GetPage", "null output");
    }
    if (index < 0 || index >= GetCount()) {
        return E_INVALIDARG;
    }
    const Page& page = m_pages[static_cast<std::size_t>(index)];
    *key = page.key;
    *pageClass = page.pageClass;
    *objectName = page.objectName;
    return S_OK;
}
