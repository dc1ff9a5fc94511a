// A session with the ROI module: its siblings loaded, the host's collection handed over, figures created by class
// name.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "contract/Module.h"
#include "contract/SmartPtr.h"
#include "host/base/ModuleFolder.h"
#include "host/figures/Figure.h"
#include "host/figures/HostCollection.h"

namespace host {

/// One at a time in a process: the module has one collection. For the thread that made it.
class Session {
  public:
    /// Loads the modules of a folder. The module and its siblings find each other relative to the current directory,
    /// which is therefore the folder of the modules until this returns, and from then on no longer matters. Throws
    /// Error, in the loader's own words, when a module is missing or broken.
    explicit Session(const std::filesystem::path& folder = DefaultModuleFolder());
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    /// The classes that the module makes, by registered name.
    std::vector<std::string> Classes() const;

    /// A new figure with its class's defaults. Throws a usage error for an unknown class. The name is taken as it is.
    Figure Create(const std::string& name, const std::string& className) const;

  private:
    struct Maker {
        const FigureClass* type;
        ComponentCreator create;
    };

    InitializeModuleEntry m_initializeModule = nullptr;
    // For each class that both the host knows and the module makes.
    std::vector<Maker> m_makers;
    SmartPtr<HostCollection> m_components;
};

}  // namespace host
