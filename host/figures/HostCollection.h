// The component collection that the host hands to the module: classes by name, their modules loaded by absolute path
// when the first of them is wanted.
#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <string_view>

#include "contract/Components.h"
#include "host/base/ModuleTrial.h"

namespace host {

/// The modules of a folder, loaded once each and never closed.
class ModuleFolder {
  public:
    explicit ModuleFolder(std::filesystem::path folder) : m_folder(std::move(folder)) {}

    const std::filesystem::path& Path() const noexcept { return m_folder; }
    /// For as long as the code of a module runs that never ran before.
    ModuleTrial Try(const std::string& name) const { return ModuleTrial(FileOf(name).string()); }

    /// The handle of the module in the file NAME.so. Throws Error, in the loader's own words and with the file's whole
    /// path, when it is missing or broken.
    void* Load(const std::string& name);
    /// Throws as Load does for a module whose file is missing or cut short, and loads nothing otherwise.
    void Require(const std::string& name);
    /// One of a module's exported functions. Throws Error when it has none of that name.
    template <class Entry>
    Entry Find(const std::string& module, const char* symbol) {
        return reinterpret_cast<Entry>(FindSymbol(module, symbol));
    }

  private:
    void* FindSymbol(const std::string& module, const char* symbol);
    std::filesystem::path FileOf(const std::string& name) const { return m_folder / (name + ".so"); }

    std::filesystem::path m_folder;
    std::map<std::string, void*> m_modules;  // null for what is whole and not loaded yet
};

/// Answers for the classes whose modules may come late (figures for masks, images, drawing, geometry) itself and
/// forwards everything else to the framework's own collection.
class HostCollection final : public Component<HostCollection, IComponentCollection> {
  public:
    using Answers = InterfaceMap<IComponentCollection>;

    HostCollection(ModuleFolder modules, SmartPtr<IComponentCollection> framework) noexcept
        : m_modules(std::move(modules)), m_framework(std::move(framework)) {}

    ModuleFolder& Modules() noexcept { return m_modules; }

    Result GetItem(int index, IUnknown** item) noexcept override { return m_framework->GetItem(index, item); }
    Result FindByName(IString* name, int* index) noexcept override { return m_framework->FindByName(name, index); }
    /// E_FAIL with `*out` null for an unknown class and for one whose module does not load.
    Result CreateComponent(tagREFString className, const IID& iid, void** out) noexcept override;

    /// Why a component could not be had: in the loader's words when its module does not load, otherwise as given.
    static std::string WhyNot(std::string_view otherwise);

  private:
    ComponentCreator CreatorOf(const char* module, tagREFString className);

    ModuleFolder m_modules;
    SmartPtr<IComponentCollection> m_framework;
    std::map<std::wstring, ComponentCreator> m_creators;
};

}  // namespace host

template <>
inline const tagREFString IObjectInfoImpl<host::HostCollection>::m_ObjectName = Text(L"HostCollection");
