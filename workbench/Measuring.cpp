#include "workbench/Measuring.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <type_traits>

#include "host/figures/FigureClass.h"
#include "host/measure/Edges.h"
#include "host/measure/Histogram.h"
#include "host/measure/PageMeter.h"
#include "host/measure/ProfileCurve.h"
#include "workbench/FigureText.h"

namespace host::workbench {

namespace {

// One channel of a page, or the luma of a part of it, in the page's coordinates.
struct Plane {
    Raster luma;
    Channel channel;
};

Plane ChannelOf(const LoadedPage& page, int index) {
    return {{}, {page.ChannelNames()[static_cast<std::size_t>(index)], page.Pixels().Level(0).Channel(index)}};
}

// What is measured of a page: only the part in `box`, which must lie in it, can be relied on.
Plane MeasuredOf(const LoadedPage& page, std::optional<int> channel, const PixelRect& box) {
    if (channel || !page.Info().isColour || box.IsEmpty()) {
        return ChannelOf(page, channel.value_or(0));
    }
    const RasterView part = page.Pixels().Level(0).Part(box);
    Image copied{page.Info(), Raster(part.size, part.channels, part.depth), false};
    for (int y = 0; y < part.size.height; ++y) {
        std::copy_n(part.Row<std::byte>(y), copied.pixels.RowBytes(), copied.pixels.Row<std::byte>(y));
    }
    Plane plane{Luma(copied), {"L", {}}};
    RasterView view = plane.luma.View();
    view.data -= box.top * view.rowStride + box.left * view.columnStride;
    view.size = page.Info().size;
    plane.channel.values = view;
    return plane;
}

// The pixels that samples of a profile may touch.
PixelRect ReachOf(IROIProfile& profile, PixelSize page) {
    EdgeExtent extent{static_cast<double>(page.width), static_cast<double>(page.height), 0.0, 0.0};
    int count = 0;
    profile.GetNumberPoints(&count);
    for (int i = 0; i < count; ++i) {
        ImagePoint at;
        double thickness1 = 0.0;
        double thickness2 = 0.0;
        profile.GetPoint(i, &at.x, &at.y, nullptr, &thickness1, &thickness2);
        const double margin = std::max(std::abs(thickness1), std::abs(thickness2)) + 2.0;
        extent = {std::min(extent.left, at.x - margin), std::min(extent.top, at.y - margin),
                  std::max(extent.right, at.x + margin), std::max(extent.bottom, at.y + margin)};
    }
    const auto within = [](double value, int most) { return static_cast<int>(std::clamp<double>(value, 0.0, most)); };
    const int left = within(extent.left, page.width);
    const int top = within(extent.top, page.height);
    return {left, top, within(std::ceil(extent.right), page.width) - left,
            within(std::ceil(extent.bottom), page.height) - top};
}

// A number that is not finite becomes null.
template <class Values>
Json ListOf(const std::vector<CurvePoint>& curve, Values value) {
    Json list = Json::array();
    for (const CurvePoint& point : curve) {
        list.push_back(value(point));
    }
    return list;
}

// The distances of a curve in the unit of a scale, which may be another along rows than along columns.
Json LengthsOf(const std::vector<CurvePoint>& curve, const PixelScale& scale) {
    Json lengths = Json::array();
    double length = 0.0;
    for (std::size_t i = 0; i < curve.size(); ++i) {
        const ImagePoint step = i > 0 ? curve[i].at - curve[i - 1].at : ImagePoint();
        const double pixels = std::hypot(step.x, step.y);
        if (pixels > 0.0) {
            const double factor = std::hypot(step.x * scale.x, step.y * scale.y) / pixels;
            length += (curve[i].distance - curve[i - 1].distance) * factor;
        }
        lengths.push_back(length);
    }
    return lengths;
}

}  // namespace

void AppendRows(const Figure& figure, const Measurement& measurement, Json& rows) {
    const LoadedPage& page = *measurement.page;
    const View view = Region(figure, measurement.rule).In(page.Info().size);
    const PixelRect box = BoxAround(view.pixels);
    const int channels = measurement.channels ? static_cast<int>(page.ChannelNames().size()) : 1;
    std::vector<Plane> planes;
    std::vector<Channel> values;
    for (int i = 0; i < channels; ++i) {
        planes.push_back(MeasuredOf(page, measurement.channels ? std::optional(i) : std::nullopt, box));
        values.push_back(planes.back().channel);
    }
    const MeasuredPage measured{page.Path(), page.Id().page, measurement.scale};
    for (const auto& cells : MeasureFigures(measured, {figure}, {view}, values, measurement.columns)) {
        Json row = Json::array();
        for (const Cell& cell : cells) {
            row.push_back(CellJson(cell));
        }
        rows.push_back(std::move(row));
    }
}

Json HistogramOf(const Figure& figure, const LoadedPage& page, std::optional<int> channel) {
    constexpr int kMostBins = 256;
    const PixelSet pixels = Region(figure, PixelRule::outline).In(page.Info().size).pixels;
    const Plane plane = MeasuredOf(page, channel, BoxAround(pixels));
    const RasterView& values = plane.channel.values;
    const ValueStatistics measured = Measure(values, pixels, {.distribution = true});
    const Histogram histogram = host::HistogramOf(measured.distribution, kMostBins, values.depth < Depth::f32);
    return {{"edges", histogram.edges}, {"counts", histogram.areas}};
}

Json ProfileOf(const Figure& figure, const LoadedPage& page, std::optional<int> channel, const PixelScale& scale) {
    const auto profile = figure.As<IROIProfile>();
    if (!profile) {
        throw UsageError("not a profile", figure.name, fmt::format("it is of class {}", figure.type->name));
    }
    const Plane plane = MeasuredOf(page, channel, ReachOf(*profile, page.Info().size));
    const std::vector<CurvePoint> curve = ProfileBand(*profile, figure.name).Sample(plane.channel.values);
    return {{"distance", ListOf(curve, [](const CurvePoint& p) { return p.distance; })},
            {"length", LengthsOf(curve, scale)},
            {"unit", scale.unit},
            {"x", ListOf(curve, [](const CurvePoint& p) { return p.at.x; })},
            {"y", ListOf(curve, [](const CurvePoint& p) { return p.at.y; })},
            {"mean", ListOf(curve, [](const CurvePoint& p) { return p.mean; })},
            {"std", ListOf(curve, [](const CurvePoint& p) { return p.deviation; })},
            {"samples", ListOf(curve, [](const CurvePoint& p) { return p.samples; })}};
}

Json ValueAt(const LoadedPage& page, int x, int y) {
    const RasterView image = page.Pixels().Level(0);
    if (x < 0 || x >= image.size.width || y < 0 || !page.Pixels().IsThere(0, y)) {
        return nullptr;
    }
    return InType(image.depth, [&](auto* type) {
        using Value = std::remove_pointer_t<decltype(type)>;
        const Value* const pixel = image.Row<Value>(y) + static_cast<std::ptrdiff_t>(x) * image.channels;
        return Json(std::vector<Value>(pixel, pixel + image.channels));
    });
}

}  // namespace host::workbench
