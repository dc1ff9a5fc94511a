// CollectionsEx.so: component descriptors and the global component collection.
#include <array>

#include "host/framework/ComponentString.h"
#include "host/framework/GlobalComponentCollection.h"
#include "host/framework/ModuleEntry.h"

namespace {

constexpr std::array kClasses = {
    kRegistered<CComponentString>,
    kRegistered<CGlobalComponentCollection>,
};

}  // namespace

constinit const std::span<const RegisteredClass> gModuleClasses = kClasses;
