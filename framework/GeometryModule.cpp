// Geometry.so: geometries made of points.
#include <array>

#include "framework/Assembly.h"
#include "framework/ModuleEntry.h"

namespace {

constexpr std::array kClasses = {kRegistered<CAssembly>};

}  // namespace

constinit const std::span<const RegisteredClass> gModuleClasses = kClasses;
