// The parts of the runtime that figures reach in passing: named values, texts of variants, reference strings,
// modules by name, and the slots that only keep an order.
#include "runtime/ParameterList.h"
#include "runtime/Persistence.h"
#include "runtime/VariantText.h"

#include <dlfcn.h>

#include <climits>
#include <filesystem>

#include "Harness.h"

namespace {

/// Calls the slots from `first` to `last`; each must say that it was called, and fail.
void ExpectUnused(void* object, const char* interfaceName, std::initializer_list<std::pair<int, int>> ranges) {
    ASSERT_NE(object, nullptr) << interfaceName;
    for (const auto& [first, last] : ranges) {
        for (int slot = first; slot <= last; ++slot) {
            testing::internal::CaptureStderr();
            EXPECT_EQ(CallSlot(object, slot), E_NOTIMPL) << interfaceName << ' ' << slot;
            EXPECT_EQ(testing::internal::GetCapturedStderr(), interfaceName + (": operation " + std::to_string(slot)) +
                                                                  " was called, which is not part of the contract\n");
        }
    }
}

TEST(Siblings, FailAloudWhenCalledOutsideTheContract) {
    auto* const components = GlobalCollection();
    SmartPtr<IUnknown> item;
    components->GetItem(0, item.Receive());
    ExpectUnused(components, "IComponentCollection", {{3, 3}, {6, 15}});
    ExpectUnused(As<IComponentString>(item.Get()).Get(), "IComponentString", {{3, 4}});
    ExpectUnused(CREFString::CreateVariant().Get(), "IVariant", {{8, 8}, {10, 10}});
    ExpectUnused(BASEObject::CreateParameters().Get(), "INamedCollection", {{3, 3}, {6, 17}});
    ExpectUnused(CREFString::CreateCollection().Get(), "ISuperCollection", {{3, 15}});
    ExpectUnused(CreateComponent<ICIFImageCANVAS>(Text(L"CIFImageCANVAS")).Get(), "ICIF", {{4, 5}, {7, 8}});
    ExpectUnused(CreateComponent<ICIFGraphics>(Text(L"CIFGraphics")).Get(), "ICIFGraphics", {{6, 9}});
    struct Structured final : Lent<IXMLStream> {
        Result WriteValue(IString*, int, IString*, int) noexcept override { return S_OK; }
        Result NextChild(tagREFString*) noexcept override { return E_FAIL; }
        Result OpenChild(tagREFString, tagREFString*, IUnknown**, int) noexcept override { return E_FAIL; }
    } xml;
    ExpectUnused(&xml, "IXMLStream", {{3, 11}, {13, 13}});
    BlockStream folder;
    ExpectUnused(static_cast<IFolderStream*>(&folder), "IFolderStream", {{3, 10}, {12, 15}});
}

using Reading = IParametricImpl<void>;

TEST(NamedValues, ComeFromVariantsAndTexts) {
    const auto list =
        MakeList({{L"double", -2.5}, {L"integer", 7}, {L"text", L" #1F"}, {L"blank", L"  "}, {L"huge", 1e300}});
    list->Add(CreateStringOf(Text(L"list")).Get(), MakeList({}).Get(), 0, 0);
    const std::tuple<const wchar_t*, Result, double, int> cases[] = {
        {L"double", S_OK, -2.5, -2},        {L"integer", S_OK, 7, 7},           {L"text", S_OK, 31, 31},
        {L"huge", S_OK, 1e300, INT_MIN},    {L"blank", E_FAIL, kUntouched, 99}, {L"list", E_FAIL, kUntouched, 99},
        {L"absent", E_FAIL, kUntouched, 99}};
    for (const auto& [name, code, number, integer] : cases) {
        double d = kUntouched;
        int i = 99;
        const auto text = CreateStringOf(Ref(name));
        EXPECT_EQ(Reading::PARAMDouble(list.Get(), text.Get(), &d), code) << testing::PrintToString(name);
        EXPECT_EQ(Reading::PARAMInteger(list.Get(), text.Get(), &i), code) << testing::PrintToString(name);
        EXPECT_EQ(d, number) << testing::PrintToString(name);
        EXPECT_EQ(i, integer) << testing::PrintToString(name);
    }
}

std::wstring TextOf(const SmartPtr<IString>& string) {
    tagREFString text{};
    return string && string->GetText(&text.text, &text.length) == S_OK ? Wide(text) : L"null";
}

TEST(TextOfAVariant, DependsOnWhatItHolds) {
    const auto variant = CREFString::CreateVariant();
    const auto both = [&variant](short precision) {
        return TextOf(ISCreate(variant.Get(), precision)) + L" " + TextOf(ISCreate(variant.Get()));
    };
    EXPECT_EQ(TextOf(ISCreate(nullptr, 2)) + TextOf(ISCreate(nullptr)), L"nullnull");
    EXPECT_EQ(both(3), L"null ") << "nothing held: no number, but an empty text";
    variant->SetDouble(-3.25);
    EXPECT_EQ(both(-1), L"-3.25 -3.25");
    EXPECT_EQ(both(0), L"-3 -3.25");
    EXPECT_EQ(both(3), L"-3.250 -3.25");
    variant->SetDouble(-3.5);
    EXPECT_EQ(both(1), L"-3.5 -3.5");
    variant->SetInteger(7);
    EXPECT_EQ(both(3), L"7 7");
    const auto store = As<IVariantStore>(variant.Get());
    const auto string = CreateStringOf(Text(L"as it is"));
    store->PutString(string.Get());
    EXPECT_EQ(both(3), L"as it is as it is");
    EXPECT_EQ(ISCreate(variant.Get()).Get(), string.Get()) << "the very string";
    struct Named final : Lent<IObjectInfo> {
        Result GetName(int reserved, tagREFString* name) noexcept override {
            *name = reserved == 0 ? Text(L"its name") : Text(L"asked otherwise");
            return S_OK;
        }
    } named;
    store->PutObject(&named);
    EXPECT_EQ(both(3), L"null its name");
    store->PutObject(nullptr);
    EXPECT_EQ(named.references, 1);
}

TEST(ModuleByName, NeedsAFileWithItsEntryPointAndTheClass) {
    namespace fs = std::filesystem;
    // A library of the system stands for a module without the entry point.
    Dl_info library{};
    ASSERT_NE(dladdr(reinterpret_cast<void*>(static_cast<double (*)(double)>(&std::cos)), &library), 0);
    const fs::path link = fs::path(testing::TempDir()) / "roi-no-entry.so";
    fs::remove(link);
    fs::create_symlink(library.dli_fname, link);
    const std::wstring noEntry = fs::relative(link.parent_path() / "roi-no-entry").wstring();
    const tagREFString ellipse = Text(L"ROIEllipse");
    EXPECT_EQ(MODULECreateFunction(Ref(noEntry), ellipse), nullptr);
    fs::remove(link);
    // Names are cut; what has no bytes in the locale leaves none.
    const std::pair<std::wstring, std::string> missing[] = {
        {L"", "./.so"},
        {L"x", "./x.so"},
        {std::wstring(300, L'x'), "./" + std::string(254, 'x') + ".so"},
        {L"\x20AC", "./"}};
    for (const auto& [name, file] : missing) {
        testing::internal::CaptureStdout();
        EXPECT_EQ(MODULECreateFunction(Ref(name), ellipse), nullptr);
        EXPECT_EQ(testing::internal::GetCapturedStdout().find("Module not available " + file + ", error " + file), 0U)
            << file;
    }
    EXPECT_EQ(MODULECreateFunction(Text(L"ROI"), Text(L"ROICircle")), nullptr);
    EXPECT_NE(MODULECreateFunction(Text(L"ROI"), ellipse), nullptr);
}

}  // namespace
