// CollectionsEx.so: component descriptors and the global component collection.
#include <array>

#include "framework/ComponentString.h"
#include "framework/GlobalComponentCollection.h"
#include "framework/ModuleEntry.h"

namespace {

constexpr std::array kClasses = {
    kRegistered<CComponentString>,
    kRegistered<CGlobalComponentCollection>,
};

}  // namespace

constinit const std::span<const RegisteredClass> gModuleClasses = kClasses;
