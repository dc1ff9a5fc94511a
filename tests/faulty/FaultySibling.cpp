// A module or a sibling that is wrong in one operation, which the variable ROI_FAULT names:
//
//     MODULE CLASS INTERFACE SLOT WAY
//
// It stands in the place of the real MODULE.so, whose objects it hands out, and bends the table of one
// interface of one class.
#include <dlfcn.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>

#include "contract/Components.h"
#include "contract/IROI.h"
#include "contract/Module.h"

namespace {

struct Fault {
    char module[32] = "";
    char className[32] = "";
    char interfaceName[32] = "";
    int slot = 0;
    char way[16] = "";

    Fault() {
        const char* text = std::getenv("ROI_FAULT");
        if (text == nullptr ||
            std::sscanf(text, "%31s %31s %31s %d %15s", module, className, interfaceName, &slot, way) != 5) {
            std::abort();
        }
    }
};

const Fault& TheFault() {
    static const Fault kFault;
    return kFault;
}

// A table with room for every operation, behind the two words that stand before each.
using Table = std::array<void*, 2 + 40>;
Table gTable;
void** gRealTable = nullptr;

template <class Operation>
Operation Real() {
    return reinterpret_cast<Operation>(gRealTable[TheFault().slot]);
}

// What a call leaves in the registers of results, whole numbers and doubles alike.
struct Answer {
    std::int64_t code;
    double number;
};
Answer Pretend() { return {S_OK, 0.0}; }
Answer Refuse() { return {E_FAIL, -1.0}; }
Answer Crash() { std::abort(); }
Answer Hang() {
    for (;;) {
        pause();
    }
}

Result KeepItem(void* self, int index, IUnknown** item) {
    const Result code = Real<Result (*)(void*, int, IUnknown**)>()(self, index, item);
    (*item)->AddRef();
    return code;
}
Result KeepCreated(void* self, const IID& iid, IUnknown** out) {
    const Result code = Real<Result (*)(void*, const IID&, IUnknown**)>()(self, iid, out);
    if (*out != nullptr) {
        (*out)->AddRef();
    }
    return code;
}
Result KeepName(void* self, IString* name, IUnknown* value, int reserved, int kind) {
    name->AddRef();
    value->AddRef();
    return Real<Result (*)(void*, IString*, IUnknown*, int, int)>()(self, name, value, reserved, kind);
}
Result FindFirst(void* self, IString* name, int* index) {
    *index = 0;
    Real<Result (*)(void*, IString*, int*)>()(self, name, index);
    return S_OK;
}
Result ShortLine(ICIFGraphics* self, float x1, float y1, float x2, float y2) {
    const auto line = Real<Result (*)(ICIFGraphics*, float, float, float, float)>();
    return line(self, x1, y1, x1 + (x2 - x1) * 0.9F, y1 + (y2 - y1) * 0.9F);
}
Result FillFromCorner(ICIFGraphics* self, int /*x*/, int /*y*/, int mode) {
    return Real<Result (*)(ICIFGraphics*, int, int, int)>()(self, 0, 0, mode);
}
Result SwapRadii(ICIFGraphics* self, float cx, float cy, float rx, float ry, float start, float end, int mode) {
    const auto arc = Real<Result (*)(ICIFGraphics*, float, float, float, float, float, float, int)>();
    return arc(self, cx, cy, ry, rx, start, end, mode);
}
Result CreateAcross(ICIF* self, int width, int height, int planes, int bits, std::uint32_t format) {
    return Real<Result (*)(ICIF*, int, int, int, int, std::uint32_t)>()(self, height, width, planes, bits, format);
}
Result StoreFloat(IVariant* self, double value) {
    return Real<Result (*)(IVariant*, double)>()(self, static_cast<float>(value));
}

void SwapTwo(double* a, double* b) {
    if (a != nullptr && b != nullptr) {
        std::swap(*a, *b);
    }
}
Result SwapResults(IROI* self, double* a, double* b) {
    const Result code = Real<Result (*)(IROI*, double*, double*)>()(self, a, b);
    SwapTwo(a, b);
    return code;
}
Result SwapNode(IROI* self, int node, double* x, double* y) {
    const Result code = Real<Result (*)(IROI*, int, double*, double*)>()(self, node, x, y);
    SwapTwo(x, y);
    return code;
}
Result SwapGiven(IROI* self, double x, double y) { return Real<Result (*)(IROI*, double, double)>()(self, y, x); }
Result SwapGivenNode(IROI* self, int node, double x, double y) {
    return Real<Result (*)(IROI*, int, double, double)>()(self, node, y, x);
}
Result HitContrary(IROI* self, double x, double y, int* hit) {
    const bool inside = Real<Result (*)(IROI*, double, double, int*)>()(self, x, y, nullptr) == S_OK;
    if (hit != nullptr) {
        *hit = inside ? 0 : 1;
    }
    return inside ? E_FAIL : S_OK;
}
Result WiderBox(IROI* self, int* left, int* top, unsigned int* width, unsigned int* height) {
    const Result code =
        Real<Result (*)(IROI*, int*, int*, unsigned int*, unsigned int*)>()(self, left, top, width, height);
    ++*width;
    return code;
}
Result CopySelf(IROI* self, IUnknown** copy) {
    self->AddRef();
    *copy = self;
    return S_OK;
}

// Makes a descriptor that it does not keep.
Result DescribeAgain(void* self, int index, INamedCollection** pages, IUnknown** context) {
    SmartPtr<IComponentString> descriptor;
    MODULECreateFunction(Text(L"CollectionsEx"), Text(L"ComponentString"))(nullptr, &IID_IComponentString,
                                                                           descriptor.ReceiveVoid());
    return Real<Result (*)(void*, int, INamedCollection**, IUnknown**)>()(self, index, pages, context);
}

void* OperationOf(const std::string& way) {
    static const std::pair<const char*, void*> kWays[] = {{"pretend", reinterpret_cast<void*>(Pretend)},
                                                          {"refuse", reinterpret_cast<void*>(Refuse)},
                                                          {"crash", reinterpret_cast<void*>(Crash)},
                                                          {"hang", reinterpret_cast<void*>(Hang)},
                                                          {"keepItem", reinterpret_cast<void*>(KeepItem)},
                                                          {"keepCreated", reinterpret_cast<void*>(KeepCreated)},
                                                          {"keepName", reinterpret_cast<void*>(KeepName)},
                                                          {"findFirst", reinterpret_cast<void*>(FindFirst)},
                                                          {"shortLine", reinterpret_cast<void*>(ShortLine)},
                                                          {"fillCorner", reinterpret_cast<void*>(FillFromCorner)},
                                                          {"swapRadii", reinterpret_cast<void*>(SwapRadii)},
                                                          {"across", reinterpret_cast<void*>(CreateAcross)},
                                                          {"storeFloat", reinterpret_cast<void*>(StoreFloat)},
                                                          {"swapResults", reinterpret_cast<void*>(SwapResults)},
                                                          {"swapNode", reinterpret_cast<void*>(SwapNode)},
                                                          {"swapGiven", reinterpret_cast<void*>(SwapGiven)},
                                                          {"swapGivenNode", reinterpret_cast<void*>(SwapGivenNode)},
                                                          {"hitContrary", reinterpret_cast<void*>(HitContrary)},
                                                          {"wider", reinterpret_cast<void*>(WiderBox)},
                                                          {"copySelf", reinterpret_cast<void*>(CopySelf)},
                                                          {"describe", reinterpret_cast<void*>(DescribeAgain)}};
    const auto* const found =
        std::find_if(std::begin(kWays), std::end(kWays), [&](const auto& entry) { return entry.first == way; });
    return found != std::end(kWays) ? found->second : nullptr;
}

void Bend(IUnknown* object) {
    void* face = nullptr;
    if (object->QueryInterface(__IIDOfc(TheFault().interfaceName), &face) != S_OK) {
        return;
    }
    auto& table = *static_cast<void***>(face);
    if (gRealTable == nullptr) {
        gRealTable = table;
        std::copy_n(table - 2, gTable.size(), gTable.begin());
        gTable[2 + static_cast<std::size_t>(TheFault().slot)] = OperationOf(TheFault().way);
    }
    table = gTable.data() + 2;
    object->Release();
}

ComponentCreator gRealCreator = nullptr;

Result CreateBent(void* outer, IID* iid, void** result) {
    const Result code = gRealCreator(outer, iid, result);
    if (code == S_OK && std::strcmp(TheFault().way, "createNothing") == 0) {
        static_cast<IUnknown*>(std::exchange(*result, nullptr))->Release();
        return S_OK;
    }
    if (code == S_OK) {
        Bend(static_cast<IUnknown*>(*result));
    }
    return code;
}

}  // namespace

template <class Entry>
Entry EntryOf(const char* symbol) {
    static void* const kReal = dlopen((std::string(BIN_DIR "/") + TheFault().module + ".so").c_str(), RTLD_NOW);
    return reinterpret_cast<Entry>(dlsym(kReal, symbol));
}

Result InitializeModule(void* reserved, IComponentCollection* collection) noexcept {
    const auto initialize = EntryOf<InitializeModuleEntry>(kInitializeModuleSymbol);
    return initialize != nullptr ? initialize(reserved, collection) : S_OK;
}

extern "C" MODULE_EXPORT Result CreateFunction(tagREFString className, ComponentCreator* out) noexcept {
    const auto create = EntryOf<CreateFunctionEntry>(kCreateFunctionSymbol);
    const Result code = create(className, out);
    const std::string bent = TheFault().className;
    if (code == S_OK && className == Text(std::wstring(bent.begin(), bent.end()))) {
        gRealCreator = std::exchange(*out, CreateBent);
    }
    return code;
}
