#include "fuzz/Target.h"

#include <dlfcn.h>

#include <bit>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include "contract/Extensions.h"
#include "framework/FrameworkComponent.h"

void Fail(const char* condition, const char* file, int line) noexcept {
    std::fprintf(stderr, "%s:%d: does not hold: %s\n", file, line, condition);
    std::abort();
}

const host::Session& Modules() {
    static const host::Session* const session = [] {
        std::filesystem::current_path(host::DefaultModuleFolder());
        const auto* opened = new host::Session;
        // What this program's and the module's runtime keep for good is made before anything is counted.
        CREFString::CreateString();
        CREFString::CreateVariant();
        CREFString::CreateCollection();
        BASEObject::CreateParameters();
        for (const std::string& name : opened->Classes()) {
            const auto figure = opened->Create(name, name).roi;
            SmartPtr<INamedCollection> list;
            if (const auto parametric = SmartPtr<IParametricObject>::QueryFrom(figure.Get())) {
                parametric->GetParameters(list.Receive(), 0);
            }
            if (const auto specify = SmartPtr<IUIPropertyPageSpecify>::QueryFrom(figure.Get())) {
                specify->GetPages(0, list.Receive(), nullptr);
            }
        }
        return opened;
    }();
    return *session;
}

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    Modules();
    return 0;
}

int NothingLeft::Alive() {
    static const std::vector<int (*)()> counts = [] {
        std::vector<int (*)()> found;
        for (const char* module : {"./Collections.so", "./CollectionsEx.so", "./CIF.so", "./Geometry.so"}) {
            found.push_back(reinterpret_cast<int (*)()>(dlsym(dlopen(module, RTLD_NOW), "LiveObjects")));
        }
        return found;
    }();
    int alive = gLiveObjects.load();
    for (const auto count : counts) {
        alive += count();
    }
    return alive;
}

bool Same(double a, double b) noexcept {
    return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b) || (std::isnan(a) && std::isnan(b));
}

double Named::Number() const noexcept {
    const auto* number = std::get_if<double>(&value);
    const auto* integer = std::get_if<int>(&value);
    return number != nullptr ? *number : integer != nullptr ? *integer : std::numeric_limits<double>::quiet_NaN();
}

std::vector<Named> EntriesOf(INamedCollection& list) {
    std::vector<Named> entries;
    const auto listing = SmartPtr<IListing>::QueryFrom(&list);
    REQUIRE(listing);
    for (int i = 0; i < listing->GetCount(); ++i) {
        tagREFString name{0, nullptr};
        SmartPtr<IUnknown> item;
        REQUIRE(listing->GetName(i, &name) == S_OK && list.GetItem(i, item.Receive()) == S_OK);
        const auto variant = SmartPtr<IVariant>::QueryFrom(item.Get());
        tagREFString text{0, nullptr};
        if (!variant) {
            REQUIRE(SmartPtr<IString>::QueryFrom(item.Get())->GetText(&text.text, &text.length) == S_OK);
        }
        Named entry{std::wstring(name.text, static_cast<std::size_t>(name.length)), 0};
        if (!variant) {
            entry.value = std::wstring(text.text, static_cast<std::size_t>(text.length));
        } else if (variant->GetKind() == kVariantDouble) {
            entry.value = variant->GetDouble();
        } else {
            entry.value = variant->GetInteger();
        }
        entries.push_back(std::move(entry));
    }
    return entries;
}

SmartPtr<INamedCollection> ListOf(const std::vector<Named>& entries) {
    SmartPtr<INamedCollection> list = BASEObject::CreateParameters();
    for (const Named& entry : entries) {
        const auto name = CreateStringOf(Record(entry.name));
        SmartPtr<IUnknown> item;
        if (const auto* text = std::get_if<std::wstring>(&entry.value)) {
            item = CreateStringOf(Record(*text));
        } else {
            auto variant = CREFString::CreateVariant();
            const auto* number = std::get_if<double>(&entry.value);
            REQUIRE((number != nullptr ? variant->SetDouble(*number)
                                       : variant->SetInteger(std::get<int>(entry.value))) == S_OK);
            item = std::move(variant);
        }
        REQUIRE(list->Add(name.Get(), item.Get(), 0, 0) == S_OK);
    }
    return list;
}

bool Same(const std::vector<Named>& a, const std::vector<Named>& b) noexcept {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](const Named& x, const Named& y) {
        const auto* number = std::get_if<double>(&x.value);
        return x.name == y.name &&
               (number != nullptr && std::holds_alternative<double>(y.value) ? Same(*number, std::get<double>(y.value))
                                                                             : x.value == y.value);
    });
}
