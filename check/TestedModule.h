// The module under test, loaded from any file and reached through its two entry points alone, with the
// framework's own modules around it.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "check/Checks.h"
#include "check/ContractTables.h"
#include "check/StandIns.h"
#include "contract/SmartPtr.h"

class TestedModule {
  public:
    /// Loads a module, by itself. Throws CheckFailed when it does not load, or lacks an entry point.
    explicit TestedModule(const std::string& file);
    /// Takes the collection back, which does not outlive this.
    ~TestedModule();
    TestedModule(const TestedModule&) = delete;
    TestedModule& operator=(const TestedModule&) = delete;

    /// Loads the framework's modules from the current directory, and gives the module a collection that makes its own
    /// classes. Throws std::runtime_error when the framework is missing.
    void GiveFramework();

    const std::string& File() const noexcept { return m_file; }
    /// Calls the entry points.
    Result Initialize(IComponentCollection* collection) const { return m_initialize(nullptr, collection); }
    Result Find(tagREFString className, ComponentCreator* out) const { return m_find(className, out); }

    /// The collection that GiveFramework gave the module.
    TestedComponents& Components() noexcept { return *m_components; }

    /// Calls a class's creation function. `*object` takes what it writes; `outer` is not to matter.
    Result Create(const ClassContract& figure, IID iid, void** object, void* outer = nullptr) const;
    /// A new object of a class. Throws CheckFailed when the module gives none.
    template <class Interface>
    SmartPtr<Interface> New(const ClassContract& figure) const {
        return SmartPtr<Interface>::Adopt(static_cast<Interface*>(NewAs(figure, IidOf<Interface>())));
    }

    /// The framework's components that are alive, in all its modules.
    int LiveFrameworkObjects() const;
    /// The descriptors, and collections of them, that the framework has made since it was loaded, for whoever asked.
    int MadeDescriptors() const;

  private:
    void* NewAs(const ClassContract& figure, const IID& iid) const;

    std::string m_file;
    InitializeModuleEntry m_initialize = nullptr;
    CreateFunctionEntry m_find = nullptr;
    std::optional<TestedComponents> m_components;
};

/// An interface of an object that its class answers. Throws CheckFailed when it does not.
template <class Interface, class Other>
SmartPtr<Interface> Require(const SmartPtr<Other>& object) {
    auto answer = SmartPtr<Interface>::QueryFrom(object.Get());
    if (!answer) {
        throw CheckFailed{"an answered interface", "a refusal"};
    }
    return answer;
}
