// The exported symbols and the two entry points.
#include <fmt/format.h>
#include <fmt/ranges.h>

#include <fstream>
#include <iterator>
#include <set>

#include "check/ElfSymbols.h"
#include "check/Groups.h"
#include "check/TestedModule.h"
#include "framework/support/Utf8.h"

namespace {

std::string BytesOf(const std::string& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

void CheckSymbols(Checks& checks) {
    checks.Begin("the module exports its two entry points and nothing else");
    const std::set<std::string> wanted = {kCreateFunctionSymbol, kInitializeModuleSymbol};
    const std::set<std::string> exported = ExportedSymbols(BytesOf(checks.module.File()));
    checks.Equal(fmt::format("{}", fmt::join(exported, " ")), fmt::format("{}", fmt::join(wanted, " ")));
}

void CheckNames(Checks& checks) {
    for (const ClassContract& figure : ClassContracts()) {
        checks.Begin(fmt::format("the module knows the class {}", figure.name));
        const auto name = FromUtf8(figure.name);
        ComponentCreator create = nullptr;
        checks.Code(checks.module.Find(Text(name), &create), S_OK);
        checks.Expect(create != nullptr, "a creation function", "null");
    }
}

void CheckRefusedNames(Checks& checks) {
    // Lengths count, not terminators.
    const tagREFString refused[] = {Text(L"roirectangle"),  Text(L"ROIRectangle "), Text(L" ROIRectangle"),
                                    Text(L"CROIRectangle"), Text(L"ROIEllipsf"),    Text(L"ROICircle"),
                                    {3, L"ROIEllipse"},     {0, L"ROIEllipse"},     {0, nullptr},
                                    {-1, L"ROIEllipse"}};
    constexpr ComponentCreator kPreset = [](void*, IID*, void**) -> Result { return E_FAIL; };
    for (const tagREFString& name : refused) {
        checks.Begin(fmt::format("no other name is a class: a text of length {}", name.length));
        ComponentCreator create = kPreset;
        checks.Code(checks.module.Find(name, &create), E_FAIL);
        checks.Expect(create == kPreset, "an untouched output", "a written one");
    }
}

void CheckCollectionIsHeldOnce(Checks& checks) {
    checks.Begin("the module holds one reference to the latest collection");
    TestedComponents& usual = checks.module.Components();
    TestedComponents first = usual;
    TestedComponents second = usual;
    first.references = second.references = 1;
    for (TestedComponents* given : {&first, &first, &second, &first, static_cast<TestedComponents*>(nullptr)}) {
        checks.Code(checks.module.Initialize(given), S_OK);
        checks.Equal(first.references, given == &first ? 2 : 1);
        checks.Equal(second.references, given == &second ? 2 : 1);
        checks.Equal(usual.references, 1);
    }
    checks.Code(checks.module.Initialize(&usual), S_OK);
    checks.Equal(usual.references, 2);
}

}  // namespace

void CheckExports(Checks& checks) {
    CheckSymbols(checks);
    CheckNames(checks);
    CheckRefusedNames(checks);
    CheckCollectionIsHeldOnce(checks);
}
