// A module that is wrong in one way, FAULT: it hands out the objects of the real ROI.so, whose tables of
// operations it bends, and so shows that the host's checks find such a module out.
#include <dlfcn.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <utility>

#include "contract/IROI.h"
#include "contract/Module.h"

namespace {

enum Fault { swappedSlots, wrongIdentity, lostCopy, extraReference, wrongCode, extraSymbol, crash, hang };

template <class Entry>
Entry Real(const char* symbol) {
    static void* const kModule = dlopen("./ROI.so", RTLD_NOW);
    return reinterpret_cast<Entry>(dlsym(kModule, symbol));
}

/// The class whose objects are bent, and the interface whose operations.
struct Target {
    tagREFString className;
    const char* interfaceName;
};
constexpr Target kTargets[] = {{Text(L"ROIEllipse"), "IROI"},
                               {Text(L"ROIEllipse"), "IObjectInfo"},
                               {Text(L"ROIRectangle"), "IROI"},
                               {Text(L"ROIParallelogram"), "IROI"},
                               {Text(L"ROIDonut"), "IROI"},
                               {Text(L"none"), "IROI"},
                               {Text(L"ROIRectangle"), "IUIPropertyPageSpecify"},
                               {Text(L"ROIArcDonut"), "IROI"}};
constexpr Target kTarget = kTargets[FAULT];

// A table with room for every operation, behind the two words that stand before each.
using Table = std::array<void*, 2 + 40>;
Table gTable;
void** gRealTable = nullptr;

template <class Operation>
Operation RealOperation(int slot) {
    return reinterpret_cast<Operation>(gRealTable[slot]);
}

Result AnswersAnything(IUnknown* self, const IID& iid, void** out) {
    const Result code = RealOperation<Result (*)(IUnknown*, const IID&, void**)>(0)(self, iid, out);
    if (code == E_NOINTERFACE && iid == __IIDOfc("IROIDonut")) {
        return self->QueryInterface(__IIDOfc("IROIEllipse"), out);
    }
    return code;
}

Result ReplicateTwice(IROI* self, IUnknown** copy) {
    const auto replicate = RealOperation<Result (*)(IROI*, IUnknown**)>(7);
    replicate(self, copy);
    return replicate(self, copy);
}

Result HitsAnything(IROI* self, double x, double y, int* hit) {
    RealOperation<Result (*)(IROI*, double, double, int*)>(9)(self, x, y, hit);
    return S_OK;
}

Result CrashInGetPages(IUnknown* /*self*/, int /*index*/, INamedCollection** /*pages*/, IUnknown** /*context*/) {
    std::raise(SIGSEGV);
    return S_OK;
}

// It hears no signal that can be ignored.
Result LoopInGetMask(IROI* /*self*/, ICIF** /*image*/) {
    sigset_t all;
    sigfillset(&all);
    sigprocmask(SIG_BLOCK, &all, nullptr);
    for (volatile bool again = true; again;) {
    }
    return S_OK;
}

template <class Operation>
void Replace(int slot, Operation operation) {
    gTable[2 + static_cast<std::size_t>(slot)] = reinterpret_cast<void*>(operation);
}

void BendTable() {
    switch (FAULT) {
        case swappedSlots:
            return std::swap(gTable[2 + 3], gTable[2 + 4]);
        case wrongIdentity:
            return Replace(0, AnswersAnything);
        case lostCopy:
            return Replace(7, ReplicateTwice);
        case wrongCode:
            return Replace(9, HitsAnything);
        case crash:
            return Replace(3, CrashInGetPages);
        case hang:
            return Replace(8, LoopInGetMask);
        default:
            return;
    }
}

void Bend(IUnknown* object) {
    void* face = nullptr;
    if (object->QueryInterface(__IIDOfc(kTarget.interfaceName), &face) != S_OK) {
        return;
    }
    auto& table = *static_cast<void***>(face);
    if (gRealTable == nullptr) {
        gRealTable = table;
        std::copy_n(table - 2, gTable.size(), gTable.begin());
        BendTable();
    }
    table = gTable.data() + 2;
    if (FAULT != extraReference) {
        object->Release();
    }
}

ComponentCreator gRealCreator = nullptr;

Result CreateBent(void* outer, IID* iid, void** result) {
    const Result code = gRealCreator(outer, iid, result);
    if (code == S_OK) {
        Bend(static_cast<IUnknown*>(*result));
    }
    return code;
}

}  // namespace

#if FAULT_EXPORTS
extern "C" MODULE_EXPORT int Helper() { return 0; }
#endif

Result InitializeModule(void* reserved, IComponentCollection* collection) noexcept {
    return Real<InitializeModuleEntry>(kInitializeModuleSymbol)(reserved, collection);
}

extern "C" Result CreateFunction(tagREFString className, ComponentCreator* out) noexcept {
    const Result code = Real<CreateFunctionEntry>(kCreateFunctionSymbol)(className, out);
    if (code == S_OK && className == kTarget.className) {
        gRealCreator = std::exchange(*out, CreateBent);
    }
    return code;
}
