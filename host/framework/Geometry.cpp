// Geometry.so: geometries made of points.
#include <array>

#include "host/framework/Assembly.h"
#include "host/framework/ModuleEntry.h"

namespace {

constexpr std::array kClasses = {kRegistered<CAssembly>};

}  // namespace

constinit const std::span<const RegisteredClass> gModuleClasses = kClasses;
