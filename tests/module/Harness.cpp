#include "Harness.h"

#include <dlfcn.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdlib>
#include <new>
#include <ostream>

// ---------------------------------------------------------------------------------------------------
// Every operator new of the process ends here, those of the modules included.

namespace {

// Counted without order, which would hide from ThreadSanitizer what the module itself lacks.
std::atomic<long> gAllocations{0};
std::atomic<long> gUntilFailure{0};
std::atomic<bool> gFromThenOn{false};
std::atomic<bool> gHasFailed{false};

void* Allocate(std::size_t size) noexcept {
    if (gUntilFailure > 0 && --gUntilFailure == 0) {
        gHasFailed = true;
        gUntilFailure = gFromThenOn ? 1 : 0;
        return nullptr;
    }
    void* memory = std::malloc(size != 0 ? size : 1);
    gAllocations.fetch_add(memory != nullptr, std::memory_order_relaxed);
    return memory;
}

void* AllocateOrThrow(std::size_t size) {
    if (void* memory = Allocate(size)) {
        return memory;
    }
    throw std::bad_alloc();
}

void Free(void* memory) noexcept {
    gAllocations.fetch_sub(memory != nullptr, std::memory_order_relaxed);
    std::free(memory);
}

}  // namespace

void* operator new(std::size_t size) { return AllocateOrThrow(size); }
void* operator new[](std::size_t size) { return AllocateOrThrow(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return Allocate(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return Allocate(size); }
void operator delete(void* memory) noexcept { Free(memory); }
void operator delete[](void* memory) noexcept { Free(memory); }
void operator delete(void* memory, std::size_t) noexcept { Free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { Free(memory); }

long LiveAllocations() { return gAllocations; }
void FailAllocation(long n, bool fromThenOn) {
    gHasFailed = false;
    gFromThenOn = fromThenOn;
    gUntilFailure = n;
}
bool AllocationHasFailed() { return gHasFailed; }

// ---------------------------------------------------------------------------------------------------

void* ModuleSymbol(const std::string& module, const char* symbol) {
    void* handle = dlopen(("./" + module + ".so").c_str(), RTLD_NOW);
    return handle != nullptr ? dlsym(handle, symbol) : nullptr;
}

Result InitializeRoi(IComponentCollection* collection) {
    static const auto entry = reinterpret_cast<InitializeModuleEntry>(ModuleSymbol("ROI", kInitializeModuleSymbol));
    return entry(nullptr, collection);
}

Result FindRoiClass(tagREFString name, ComponentCreator* out) {
    static const auto entry = reinterpret_cast<CreateFunctionEntry>(ModuleSymbol("ROI", kCreateFunctionSymbol));
    return entry(name, out);
}

IComponentCollection* GlobalCollection() {
    static IComponentCollection* const collection = [] {
        // The copy of the runtime in this program and the one in ROI.so share the collection.
        IComponentCollection* made = GLOBALComponents().Detach();
        InitializeRoi(made);
        return made;
    }();
    return collection;
}

void* CreateFigure(std::wstring_view className, IID iid, Result* code) {
    GlobalCollection();
    ComponentCreator create = nullptr;
    void* object = nullptr;
    Result result = FindRoiClass(Ref(className), &create);
    if (result == S_OK) {
        result = create(nullptr, &iid, &object);
    }
    if (code != nullptr) {
        *code = result;
    }
    return object;
}

int LiveSiblingObjects() {
    int count = 0;
    for (const char* module : {"Collections", "CollectionsEx", "CIF", "Geometry"}) {
        if (auto live = reinterpret_cast<int (*)()>(ModuleSymbol(module, "LiveObjects"))) {
            count += live();
        }
    }
    return count;
}

std::wstring Wide(tagREFString text) { return std::wstring(text.text, static_cast<std::size_t>(text.length)); }

namespace {

std::wstring TextOf(IString* text) {
    tagREFString record{0, nullptr};
    text->GetText(&record.text, &record.length);
    return Wide(record);
}

Value ValueOf(IUnknown* item) {
    if (auto variant = As<IVariant>(item)) {
        return variant->GetKind() == kVariantInteger ? Value(variant->GetInteger()) : Value(variant->GetDouble());
    }
    auto text = As<IString>(item);
    return text ? TextOf(text.Get()) : std::wstring(L"neither a variant nor a string");
}

}  // namespace

void PrintTo(const Item& item, std::ostream* out) {
    *out << testing::PrintToString(item.name) << " = ";
    std::visit([&](const auto& value) { *out << testing::PrintToString(value); }, item.value);
    *out << " (kind " << item.kind << ")";
}

SmartPtr<INamedCollection> MakeList(const std::vector<Item>& items) {
    GlobalCollection();
    auto list = BASEObject::CreateParameters();
    for (const Item& item : items) {
        auto name = CreateStringOf(Ref(item.name));
        if (const auto* text = std::get_if<std::wstring>(&item.value)) {
            list->Add(name.Get(), CreateStringOf(Ref(*text)).Get(), 0, item.kind);
            continue;
        }
        auto variant = CREFString::CreateVariant();
        if (const auto* number = std::get_if<double>(&item.value)) {
            variant->SetDouble(*number);
        } else {
            variant->SetInteger(std::get<int>(item.value));
        }
        list->Add(name.Get(), variant.Get(), 0, item.kind);
    }
    return list;
}

std::vector<Item> ItemsOf(INamedCollection* list) {
    std::vector<Item> items;
    auto listing = As<IListing>(list);
    for (int i = 0; listing && i < listing->GetCount(); ++i) {
        tagREFString name{0, nullptr};
        SmartPtr<IUnknown> item;
        listing->GetName(i, &name);
        list->GetItem(i, item.Receive());
        items.push_back({Wide(name), ValueOf(item.Get()), listing->GetPresentationKind(i)});
    }
    return items;
}

std::vector<Item> Parameters(IUnknown* figure) {
    auto parametric = As<IParametricObject>(figure);
    SmartPtr<INamedCollection> list;
    if (parametric) {
        EXPECT_EQ(parametric->GetParameters(list.Receive(), 0), S_OK);
    }
    return ItemsOf(list.Get());
}

Result SetParameters(IUnknown* figure, const std::vector<Item>& items) {
    return As<IParametricObject>(figure)->SetParameters(MakeList(items).Get());
}

// ---------------------------------------------------------------------------------------------------

Result BlockStream::WriteBinary(IString* name, const void* data, int bytes, int reserved) noexcept {
    EXPECT_EQ(reserved, 0);
    const auto* first = static_cast<const std::uint8_t*>(data);
    blocks.emplace_back(TextOf(name), std::vector<std::uint8_t>(first, first + bytes));
    return S_OK;
}

Result BlockStream::ReadBinary(IString* name, void* data, int bytes, int reserved) noexcept {
    EXPECT_EQ(reserved, 0);
    for (const auto& [key, block] : blocks) {
        if (key == TextOf(name)) {
            const std::size_t wanted = static_cast<std::size_t>(bytes);
            std::copy_n(block.begin(), std::min(wanted, block.size()), static_cast<std::uint8_t*>(data));
            return block.size() >= wanted ? S_OK : E_FAIL;
        }
    }
    return E_FAIL;
}

Result Affine::TransformPoint(double* x, double* y, double* z) noexcept {
    asked.emplace_back(*x, *y);
    zWasZero = zWasZero && *z == 0.0;
    const Point mapped = Map({*x, *y});
    *x = mapped.real();
    *y = mapped.imag();
    *z = 7.0;
    return E_FAIL;  // What a transform answers is ignored.
}

// ---------------------------------------------------------------------------------------------------

bool IsClose(double a, double b) { return std::abs(a - b) <= 1e-9 * std::max({1.0, std::abs(a), std::abs(b)}); }

testing::AssertionResult Close(const char* left, const char* right, double a, double b) {
    return Close(left, right, Point(a), Point(b));
}

testing::AssertionResult Close(const char* left, const char* right, Point a, Point b) {
    if (IsClose(a.real(), b.real()) && IsClose(a.imag(), b.imag())) {
        return testing::AssertionSuccess();
    }
    return testing::AssertionFailure() << left << " is " << a << ", but " << right << " is " << b;
}

void ExpectClose(const std::vector<Item>& actual, const std::vector<Item>& expected) {
    std::vector<Item> rounded = actual;
    for (std::size_t i = 0; i < actual.size() && i < expected.size(); ++i) {
        const auto* a = std::get_if<double>(&actual[i].value);
        const auto* b = std::get_if<double>(&expected[i].value);
        if (a != nullptr && b != nullptr && IsClose(*a, *b)) {
            rounded[i].value = *b;
        }
    }
    EXPECT_EQ(rounded, expected);
}

void PrintTo(const Box& box, std::ostream* out) {
    *out << box.width << " x " << box.height << " at (" << box.left << ", " << box.top << ")";
}

Box BoundingRect(IROI* figure) {
    Box box{};
    EXPECT_EQ(figure->GetBoundingRect(&box.left, &box.top, &box.width, &box.height), S_OK);
    return box;
}
