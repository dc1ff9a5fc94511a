#include "host/figures/HostCollection.h"

#include <dlfcn.h>
#include <elf.h>

#include <algorithm>
#include <array>
#include <fstream>

#include "contract/Module.h"
#include "host/base/Error.h"

namespace host {

namespace {

// Drawing loads an image library, which most work does not need.
struct LateClass {
    std::wstring_view className;
    const char* module;
};
constexpr std::array<LateClass, 4> kLateClasses = {
    {{L"CIFImageCANVAS", "CIF"}, {L"CIFGraphics", "CIF"}, {L"Assembly", "Geometry"}, {L"ROIRectangle", "ROI"}}};

// Throws for a shared object of which a part is missing: to open it would end the process. What is none at all is left
// to the loader to refuse.
void CheckWhole(const std::filesystem::path& file) {
    std::error_code failure;
    const std::uintmax_t size = std::filesystem::file_size(file, failure);
    std::ifstream stream(file, std::ios::binary);
    Elf64_Ehdr header{};
    if (failure || !stream.read(reinterpret_cast<char*>(&header), sizeof header) ||
        !std::equal(header.e_ident, header.e_ident + SELFMAG, ELFMAG) || header.e_phentsize != sizeof(Elf64_Phdr)) {
        return;
    }
    stream.seekg(static_cast<std::streamoff>(header.e_phoff));
    for (int i = 0; i < header.e_phnum; ++i) {
        Elf64_Phdr part{};
        if (!stream.read(reinterpret_cast<char*>(&part), sizeof part) || part.p_offset > size ||
            part.p_filesz > size - part.p_offset) {
            throw Error("cannot load module", file.string(), "the file is cut short");
        }
    }
}

// Of the last module that failed. The module has one collection, and so has the process.
std::string gLoadFailure;

}  // namespace

void* ModuleFolder::Load(const std::string& name) {
    void*& module = m_loaded[name];
    if (module == nullptr) {
        CheckWhole(FileOf(name));
        const std::string file = FileOf(name).string();
        module = dlopen(file.c_str(), RTLD_NOW);
        if (module == nullptr) {
            throw Error("cannot load module", file, dlerror());
        }
    }
    return module;
}

void ModuleFolder::Require(const std::string& name) {
    std::error_code failure;
    if (!std::filesystem::exists(FileOf(name), failure)) {
        Load(name);
    }
    CheckWhole(FileOf(name));
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
        const ComponentCreator create = CreatorOf(late->module, className);
        IID wanted = iid;
        return create != nullptr ? create(nullptr, &wanted, out) : E_FAIL;
    } catch (const std::exception& failure) {
        gLoadFailure = failure.what();
        return E_FAIL;
    }
}

}  // namespace host
