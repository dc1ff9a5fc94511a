// The module's two entry points, and the table of the classes it makes.
#include <array>

#include "contract/Components.h"
#include "contract/Module.h"
#include "roi/ROIArcDonut.h"
#include "roi/ROIDonut.h"
#include "roi/ROIEllipse.h"
#include "roi/ROIMask.h"
#include "roi/ROIParallelogram.h"
#include "roi/ROIProfile.h"
#include "roi/ROIRectangle.h"
#include "roi/ROIShape.h"

namespace {

// Compared in this order.
constexpr std::array kClasses = {
    kRegistered<CROIDonut>,         kRegistered<CROIArcDonut>, kRegistered<CROIEllipse>,   kRegistered<CROIMask>,
    kRegistered<CROIParallelogram>, kRegistered<CROIProfile>,  kRegistered<CROIRectangle>, kRegistered<CROIShape>,
};

}  // namespace

Result InitializeModule(void* /*reserved*/, IComponentCollection* collection) noexcept {
    UseComponents(collection);
    return S_OK;
}

extern "C" Result CreateFunction(tagREFString className, ComponentCreator* out) noexcept {
    return FindRegisteredClass(kClasses, className, out);
}
