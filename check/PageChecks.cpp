// Property pages: one entry each, under known texts.
#include <fmt/format.h>

#include "check/Groups.h"
#include "check/TestedModule.h"
#include "contract/Extensions.h"
#include "framework/support/Utf8.h"

namespace {

struct Page {
    const char* className;
    const char* key;
    const char* pageClass;
};

constexpr Page kPages[] = {{"ROIDonut", "ROIDonut", "UIPropPages.UIParametricObjectPropPage"},
                           {"ROIArcDonut", "ROIArcDonut", "UIParametricObjectPropPage"},
                           {"ROIParallelogram", "Parallelogram", "UIPropPages.UIParametricObjectPropPage"},
                           {"ROIProfile", "ROIProfile", "UIParametricObjectPropPage"},
                           {"ROIRectangle", "Rectangle", "UIPropPages.UIParametricObjectPropPage"}};

void CheckPage(Checks& checks, const Page& page) {
    checks.Begin(fmt::format("{} names its property page", page.className));
    const auto specify = Require<IUIPropertyPageSpecify>(checks.module.New<IROI>(ClassNamed(page.className)));
    SmartPtr<INamedCollection> pages;
    auto* const preset = reinterpret_cast<IUnknown*>(&pages);
    IUnknown* context = preset;
    checks.Code(specify->GetPages(0, pages.Receive(), nullptr), S_OK);
    checks.Expect(static_cast<bool>(pages), "pages", "null");
    checks.Code(specify->GetPages(9, pages.Receive(), &context), S_OK);
    checks.Expect(context == preset, "an untouched context", "a written one");
    const auto listing = Require<IPageListing>(pages);
    checks.Equal(listing->GetCount(), 1);
    tagREFString key{};
    tagREFString pageClass{};
    tagREFString objectName{};
    checks.Code(listing->GetPage(0, &key, &pageClass, &objectName), S_OK);
    checks.Equal(ToUtf8(key), page.key);
    checks.Equal(ToUtf8(pageClass), page.pageClass);
    checks.Equal(ToUtf8(objectName), page.className);
}

}  // namespace

void CheckPages(Checks& checks) {
    for (const Page& page : kPages) {
        checks.Try([&] { CheckPage(checks, page); });
    }
}
