// Collections.so: strings, variants, page collections and parameter lists.
#include <array>

#include "host/framework/CreatableString.h"
#include "host/framework/ModuleEntry.h"
#include "host/framework/ParametersCreatable.h"
#include "host/framework/SuperCollection.h"
#include "host/framework/Variant.h"

namespace {

constexpr std::array kClasses = {
    kRegistered<CCreatableString>,
    kRegistered<CVariant>,
    kRegistered<CSuperCollection>,
    kRegistered<CParametersCreatable>,
};

}  // namespace

constinit const std::span<const RegisteredClass> gModuleClasses = kClasses;
