// CIF.so: images and drawing, on OpenCV.
#include <array>

#include "host/framework/CIFGraphics.h"
#include "host/framework/CIFImageCANVAS.h"
#include "host/framework/ModuleEntry.h"

namespace {

constexpr std::array kClasses = {
    kRegistered<CCIFImageCANVAS>,
    kRegistered<CCIFGraphics>,
};

}  // namespace

constinit const std::span<const RegisteredClass> gModuleClasses = kClasses;
