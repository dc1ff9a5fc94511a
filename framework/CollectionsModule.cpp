// Collections.so: strings, variants, page collections and parameter lists.
#include <array>

#include "framework/CreatableString.h"
#include "framework/ModuleEntry.h"
#include "framework/ParametersCreatable.h"
#include "framework/SuperCollection.h"
#include "framework/Variant.h"

namespace {

constexpr std::array kClasses = {
    kRegistered<CCreatableString>,
    kRegistered<CVariant>,
    kRegistered<CSuperCollection>,
    kRegistered<CParametersCreatable>,
};

}  // namespace

constinit const std::span<const RegisteredClass> gModuleClasses = kClasses;
