#include "host/figures/HostCollection.h"

#include <dlfcn.h>

#include <algorithm>
#include <array>

#include "contract/Module.h"
#include "host/base/Error.h"
#include "host/base/LateModule.h"

namespace host {

namespace {

// Drawing loads an image library, which most work does not need.
struct LateClass {
    std::wstring_view className;
    const char* module;
};
constexpr std::array<LateClass, 4> kLateClasses = {
    {{L"CIFImageCANVAS", "CIF"}, {L"CIFGraphics", "CIF"}, {L"Assembly", "Geometry"}, {L"ROIRectangle", "ROI"}}};

void* Open(const std::string& file) {
    const ModuleTrial trial(file);
    void* const module = dlopen(file.c_str(), RTLD_NOW);
    if (module == nullptr) {
        throw Error("cannot load module", file, dlerror());
    }
    return module;
}

// Of the last module that failed. The module has one collection, and so has the process.
std::string gLoadFailure;

}  // namespace

void* ModuleFolder::Load(const std::string& name) {
    Require(name);
    void*& module = m_modules[name];
    if (module == nullptr) {
        module = Open(FileOf(name).string());
    }
    return module;
}

void ModuleFolder::Require(const std::string& name) {
    if (m_modules.contains(name)) {
        return;
    }
    const std::string path = FileOf(name).string();
    // What is not there fails in the loader's words.
    m_modules.emplace(name, CheckWhole(path) ? nullptr : Open(path));
}

void* ModuleFolder::FindSymbol(const std::string& module, const char* symbol) {
    void* const found = dlsym(Load(module), symbol);
    if (found == nullptr) {
        throw Error("cannot use module", FileOf(module).string(), dlerror());
    }
    return found;
}

ComponentCreator HostCollection::CreatorOf(const char* module, tagREFString className) {
    ComponentCreator& creator =
        m_creators[std::wstring(className.text, static_cast<std::size_t>(std::max(className.length, 0)))];
    if (creator == nullptr) {
        m_modules.Find<CreateFunctionEntry>(module, kCreateFunctionSymbol)(className, &creator);
    }
    return creator;
}

std::string HostCollection::WhyNot(std::string_view otherwise) {
    return gLoadFailure.empty() ? std::string(otherwise) : gLoadFailure;
}

Result HostCollection::CreateComponent(tagREFString className, const IID& iid, void** out) noexcept {
    *out = nullptr;
    const auto late = std::find_if(kLateClasses.begin(), kLateClasses.end(),
                                   [&](const LateClass& row) { return Text(row.className) == className; });
    if (late == kLateClasses.end()) {
        return m_framework->CreateComponent(className, iid, out);
    }
    try {
        const ModuleTrial trial = m_modules.Try(late->module);
        const ComponentCreator create = CreatorOf(late->module, className);
        IID wanted = iid;
        return create != nullptr ? create(nullptr, &wanted, out) : E_FAIL;
    } catch (const std::exception& failure) {
        gLoadFailure = failure.what();
        return E_FAIL;
    }
}

}  // namespace host
