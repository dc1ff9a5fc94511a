// What a framework module says about itself: its table of classes. The exported functions, the same
// for all of them, stand in ModuleEntry.cpp, which every module links.
#pragma once

#include <span>

#include "framework/FrameworkComponent.h"

/// The classes of this module; each module defines it.
extern const std::span<const RegisteredClass> gModuleClasses;
