#include "host/figures/Session.h"

#include <dlfcn.h>

#include <filesystem>

#include "contract/Components.h"
#include "host/base/Error.h"
#include "host/base/ModuleFolder.h"
#include "host/base/Text.h"
#include "host/figures/FigureClass.h"

namespace host {

namespace {

void* LoadModule(const char* file) {
    void* module = dlopen(file, RTLD_NOW);
    if (module == nullptr) {
        throw Error("cannot load module", file, dlerror());
    }
    return module;
}

template <class Entry>
Entry FindEntry(void* module, const char* symbol) {
    const auto entry = reinterpret_cast<Entry>(dlsym(module, symbol));
    if (entry == nullptr) {
        throw Error("cannot use module", "./ROI.so", dlerror());
    }
    return entry;
}

// Null for a name that is not registered.
ComponentCreator CreatorOf(CreateFunctionEntry createFunction, const std::string& className) {
    ComponentCreator creator = nullptr;
    if (const auto wide = ToWide(className)) {
        createFunction(Text(*wide), &creator);
    }
    return creator;
}

}  // namespace

void EnterModuleFolder() {
    std::error_code failure;
    const std::filesystem::path folder = ModuleFolder();
    std::filesystem::current_path(folder, failure);
    if (failure) {
        throw Error("cannot enter the folder of the modules", folder.string(), failure.message());
    }
}

Session::Session() {
    EnterModuleFolder();
    // A sibling that is missing would show only later, one figure at a time and on standard output.
    for (const char* sibling : {"./CollectionsEx.so", "./Collections.so", "./CIF.so", "./Geometry.so"}) {
        LoadModule(sibling);
    }
    void* const module = LoadModule("./ROI.so");
    m_initializeModule = FindEntry<InitializeModuleEntry>(module, kInitializeModuleSymbol);
    m_createFunction = FindEntry<CreateFunctionEntry>(module, kCreateFunctionSymbol);
    const SmartPtr<IComponentCollection> components = GLOBALComponents();
    if (!components) {
        throw Error("cannot use module", "./CollectionsEx.so", "it gives no component collection");
    }
    m_initializeModule(nullptr, components.Get());
}

Session::~Session() {
    m_initializeModule(nullptr, nullptr);
    gGlobalComponentCollection.Reset();
}

std::vector<std::string> Session::Classes() const {
    std::vector<std::string> classes;
    for (const FigureClass* type : FigureClasses()) {
        if (CreatorOf(m_createFunction, type->name) != nullptr) {
            classes.emplace_back(type->name);
        }
    }
    return classes;
}

Figure Session::Create(const std::string& name, const std::string& className) const {
    const ComponentCreator create = CreatorOf(m_createFunction, className);
    const FigureClass* const type = FindFigureClass(className);
    if (create == nullptr || type == nullptr) {
        throw UnknownName("class", className, Classes());
    }
    SmartPtr<IROI> roi;
    if (Failed(create(nullptr, &IidOf<IROI>(), roi.ReceiveVoid()))) {
        throw Error("cannot create", className, "the module refuses");
    }
    return {name, type, std::move(roi), nullptr};
}

}  // namespace host
