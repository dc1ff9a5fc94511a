#include "host/measure/Region.h"

#include <algorithm>
#include <cmath>

#include "host/figures/FigureClass.h"
#include "host/measure/Coverage.h"
#include "host/measure/Edges.h"
#include "host/measure/ModulePixels.h"
#include "host/measure/Spans.h"

namespace host {

namespace {

PixelSet Inside(const std::vector<Edge>& edges, const PixelRect& field, PixelRule rule) {
    return rule == PixelRule::exact ? CoverageOf(edges, field) : SpansOf(edges, field);
}

bool Holds(const PixelRect& box, const EdgeExtent& extent) noexcept {
    return box.left <= extent.left && box.top <= extent.top && extent.right <= static_cast<double>(box.Right() - 1) &&
           extent.bottom <= static_cast<double>(box.Bottom() - 1);
}

// The whole numbers around an outline; nothing when it is too large.
std::optional<PixelRect> BoxAround(const EdgeExtent& extent) noexcept {
    constexpr double kFar = 1 << 29;
    if (!(extent.left <= extent.right)) {
        return PixelRect{};
    }
    if (!(extent.left >= -kFar && extent.top >= -kFar && extent.right <= kFar && extent.bottom <= kFar)) {
        return std::nullopt;
    }
    const auto left = static_cast<int>(std::floor(extent.left));
    const auto top = static_cast<int>(std::floor(extent.top));
    return PixelRect{left, top, static_cast<int>(std::ceil(extent.right)) + 1 - left,
                     static_cast<int>(std::ceil(extent.bottom)) + 1 - top};
}

bool IsSmall(const std::optional<PixelRect>& box) noexcept {
    return box && static_cast<std::int64_t>(box->width) * box->height <= kMostPixels;
}

// Those of a figure whose outline is this.
Pixels FindInside(const Figure& figure, const Outline& outline, const PixelRect& field, PixelRule rule) {
    if (outline.isImage) {
        return {MarkedPixels(figure).value_or(PixelSet{}), true};
    }
    const std::vector<Edge> edges = EdgesOf(outline);
    const PixelRect searched = Searched(field);
    return {Inside(edges, searched, rule), edges.empty() || Holds(searched, ExtentOf(edges))};
}

}  // namespace

Pixels FindPixels(const Figure& figure, const PixelRect& field, PixelRule rule) {
    return rule == PixelRule::module ? FindModulePixels(figure, field)
                                     : FindInside(figure, figure.type->outline(figure), field, rule);
}

std::optional<PixelSet> FindAllPixels(const Figure& figure, PixelRule rule) {
    if (rule == PixelRule::module) {
        const auto box = ModuleExtent(figure);
        return IsSmall(box) ? std::optional(FindModulePixels(figure, *box).set) : std::nullopt;
    }
    const Outline outline = figure.type->outline(figure);
    if (outline.isImage) {
        return MarkedPixels(figure);
    }
    const std::vector<Edge> edges = EdgesOf(outline);
    const auto box = BoxAround(ExtentOf(edges));
    return IsSmall(box) ? std::optional(Inside(edges, *box, rule)) : std::nullopt;
}

bool HoldsPoint(const Figure& figure, ImagePoint point, PixelRule rule) {
    if (rule == PixelRule::module) {
        return Succeeded(figure.roi->HitTest(point.x, point.y, nullptr));
    }
    const Outline outline = figure.type->outline(figure);
    if (!outline.isImage) {
        return Encloses(EdgesOf(outline), point);
    }
    const PixelSet marked = MarkedPixels(figure).value_or(PixelSet{});
    return std::any_of(marked.spans.begin(), marked.spans.end(), [point](const Span& span) {
        return std::floor(point.y + 0.5) == span.y && std::floor(point.x + 0.5) >= span.firstX &&
               std::floor(point.x + 0.5) <= span.lastX;
    });
}

// ---------------------------------------------------------------------------------------------------
// Views

namespace {

View Clip(const Pixels& pixels, PixelSize image) {
    View view;
    bool lost = !pixels.complete;
    const auto inside = [](int value, int size) { return value >= 0 && value < size; };
    for (const Span& span : pixels.set.spans) {
        const Span seen{span.y, std::max(span.firstX, 0), std::min(span.lastX, image.width - 1)};
        const bool any = inside(span.y, image.height) && seen.firstX <= seen.lastX;
        lost = lost || !any || seen.Length() < span.Length();
        if (any) {
            view.pixels.spans.push_back(seen);
        }
    }
    for (const PartPixel part : pixels.set.parts) {
        const bool any = inside(part.y, image.height) && inside(part.x, image.width);
        lost = lost || !any;
        if (any) {
            view.pixels.parts.push_back(part);
        }
    }
    if (view.pixels.IsEmpty()) {
        view.placement = lost ? Placement::outside : Placement::empty;
    } else {
        view.placement = lost ? Placement::clipped : Placement::ok;
    }
    return view;
}

bool Exceeds(PixelSize size, PixelSize limit) noexcept {
    return size.width > limit.width || size.height > limit.height;
}

}  // namespace

View Above(const View& view, int rows) {
    View above = view;
    const auto isBelow = [rows](const auto& span) { return span.y >= rows; };
    PartPixels& parts = above.pixels.parts;
    const auto below = std::find_if(parts.spans.begin(), parts.spans.end(), isBelow);
    if (below != parts.spans.end()) {
        parts.weights.resize(static_cast<std::size_t>(below->weights));
    }
    const auto erase = [isBelow](auto& spans) { return std::erase_if(spans, isBelow); };
    if (erase(above.pixels.spans) + erase(parts.spans) > 0) {
        above.placement = above.pixels.IsEmpty() ? Placement::outside : Placement::clipped;
    }
    return above;
}

View Region::In(PixelSize image) {
    if (!m_outline && m_rule != PixelRule::module) {
        m_outline = std::make_shared<const Outline>(m_figure->type->outline(*m_figure));
    }
    if (!m_pixels || (!m_pixels->complete && Exceeds(image, m_field))) {
        m_field = {std::max(m_field.width, image.width), std::max(m_field.height, image.height)};
        const PixelRect field{0, 0, m_field.width, m_field.height};
        m_pixels = m_outline ? FindInside(*m_figure, *m_outline, field, m_rule) : FindModulePixels(*m_figure, field);
    }
    View view = Clip(*m_pixels, image);
    view.outline = m_outline && !m_outline->isImage ? m_outline : nullptr;
    return view;
}

}  // namespace host
