#include "host/figures/FigureClass.h"

#include <algorithm>
#include <array>

#include "host/figures/classes/Rows.h"

namespace host {

std::span<const FigureClass* const> FigureClasses() noexcept {
    static constexpr std::array kClasses = {&kRectangle, &kParallelogram, &kEllipse, &kDonut,
                                            &kArcDonut,  &kProfile,       &kShape,   &kMask};
    return kClasses;
}

const FigureClass* FindFigureClass(std::string_view name) noexcept {
    const auto classes = FigureClasses();
    const auto found =
        std::find_if(classes.begin(), classes.end(), [&](const FigureClass* row) { return row->name == name; });
    return found == classes.end() ? nullptr : *found;
}

}  // namespace host
