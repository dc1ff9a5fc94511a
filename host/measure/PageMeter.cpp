#include "host/measure/PageMeter.h"

#include <utility>

namespace host {

void PageMeter::Add(const std::vector<Channel>& rows) {
    if (m_channels.empty()) {
        const Wanted wanted = WantedBy(m_columns);
        for (const Channel& channel : rows) {
            m_channels.push_back(channel.name);
            for (const View& view : m_views) {
                m_collectors.push_back(NewCollector(channel.values.depth, view.pixels, wanted));
            }
        }
    }
    auto collector = m_collectors.begin();
    for (const Channel& channel : rows) {
        for (std::size_t figure = 0; figure < m_views.size(); ++figure) {
            (*collector++)->Add(channel.values, m_next);
        }
    }
    m_next += rows.front().values.size.height;
}

std::vector<std::vector<Cell>> PageMeter::Rows(const MeasuredPage& page) {
    const bool needOutline = NeedOutline(m_columns);
    std::vector<std::vector<Cell>> rows;
    for (std::size_t figure = 0; figure < m_figures.size(); ++figure) {
        const View view = page.damaged ? Above(m_views[figure], m_next) : m_views[figure];
        const std::optional<Place> place = PlaceOf(view.pixels);
        const auto [x, y, unit] = page.scale;
        OutlineShape shape{};
        if (needOutline) {
            shape = view.outline ? ShapeOf(*view.outline, x, y) : ShapeOf(view.pixels, x, y);
        }
        for (std::size_t channel = 0; channel < m_channels.size(); ++channel) {
            ValueCollector& collector = *m_collectors[channel * m_figures.size() + figure];
            rows.push_back(RowOf(m_columns, {page.image, page.page, m_figures[figure], view.placement, page.damaged,
                                             m_channels[channel], page.scale, place, shape, collector.Take()}));
        }
    }
    return rows;
}

std::vector<std::vector<Cell>> MeasureFigures(const MeasuredPage& page, const std::vector<Figure>& figures,
                                              const std::vector<View>& views, const std::vector<Channel>& channels,
                                              const Columns& columns) {
    PageMeter meter(figures, views, columns);
    meter.Add(channels);
    return meter.Rows(page);
}

}  // namespace host
