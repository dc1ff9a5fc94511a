#include "host/figures/FigureClass.h"

#include <array>

#include "host/figures/classes/Rows.h"

namespace host {

std::span<const FigureClass* const> FigureClasses() noexcept {
    static constexpr std::array kClasses = {&kRectangle, &kParallelogram, &kEllipse, &kDonut,
                                            &kArcDonut,  &kProfile,       &kShape,   &kMask};
    return kClasses;
}

}  // namespace host
