// CIF.so: images and drawing, on OpenCV.
#include <array>

#include "framework/CIFGraphics.h"
#include "framework/CIFImageCANVAS.h"
#include "framework/ModuleEntry.h"

namespace {

constexpr std::array kClasses = {
    kRegistered<CCIFImageCANVAS>,
    kRegistered<CCIFGraphics>,
};

}  // namespace

constinit const std::span<const RegisteredClass> gModuleClasses = kClasses;
