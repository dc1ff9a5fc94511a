// A session with the ROI module: its siblings loaded, the global collection made and handed over,
// figures created by class name.
#pragma once

#include <string>
#include <vector>

#include "contract/Module.h"
#include "contract/SmartPtr.h"
#include "host/figures/Figure.h"

namespace host {

/// Makes the folder of the modules the current directory: beside the program, or where an installation
/// puts them. Resolve user paths before. Throws Error when it cannot be entered.
void EnterModuleFolder();

class Session {
  public:
    /// Makes the folder of the modules the current directory and loads them; resolve user paths before.
    /// Throws Error, in the loader's own words, when one is missing or broken.
    Session();
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    /// The classes that the module makes, by registered name.
    std::vector<std::string> Classes() const;

    /// A new figure with its class's defaults. Throws a usage error for an unknown class. The name is taken as it is.
    Figure Create(const std::string& name, const std::string& className) const;

  private:
    InitializeModuleEntry m_initializeModule = nullptr;
    CreateFunctionEntry m_createFunction = nullptr;
};

}  // namespace host
