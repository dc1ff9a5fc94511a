#include "host/measure/Labels.h"

#include <algorithm>
#include <cstring>

namespace host {

namespace {

// Gives a span to the figure of that label and counts what earlier ones lose.
template <class Label>
void Paint(Label* first, int count, std::size_t label, std::vector<std::int64_t>& taken) {
    std::for_each(first, first + count, [label, &taken](Label& pixel) {
        if (pixel != 0) {
            ++taken[pixel - 1];
        }
        pixel = static_cast<Label>(label);
    });
}

}  // namespace

LabelImage LabelsOf(const Views& views, PixelSize size) {
    const bool wide = views->size() > 65535;
    LabelImage labels{Raster(size, 1, wide ? Depth::u32 : Depth::u16), std::vector<std::int64_t>(views->size())};
    std::memset(labels.image.Data(), 0, labels.image.RowBytes() * static_cast<std::size_t>(size.height));
    for (std::size_t i = 0; i < views->size(); ++i) {
        for (const Span& span : (*views)[i].pixels.spans) {
            if (wide) {
                Paint(labels.image.Row<std::uint32_t>(span.y) + span.firstX, span.Length(), i + 1, labels.taken);
            } else {
                Paint(labels.image.Row<std::uint16_t>(span.y) + span.firstX, span.Length(), i + 1, labels.taken);
            }
        }
    }
    return labels;
}

}  // namespace host
