// All figures of a set measured on one page of an image, whose rows come from the top down.
#pragma once

#include <memory>
#include <vector>

#include "host/base/Cell.h"
#include "host/images/Image.h"
#include "host/measure/Columns.h"
#include "host/measure/Region.h"
#include "host/measure/Statistics.h"

namespace host {

/// What the rows say of the page that they are measured on.
struct MeasuredPage {
    const UserPath& image;
    int page = 1;
    PixelScale scale = {};
    bool damaged = false;  ///< whether the image was read in spite of damage
};

/// Asks the module nothing, so any thread may use it. Figures, views and columns are referred to.
class PageMeter {
  public:
    /// `views` are what the page shows of the figures, in their order.
    PageMeter(const std::vector<Figure>& figures, const std::vector<View>& views, const Columns& columns)
        : m_figures(figures), m_views(views), m_columns(columns) {}

    /// Takes the next rows of every channel that is measured.
    void Add(const std::vector<Channel>& rows);

    /// A row for every figure and each of its channels, of the rows that came; to be called once.
    std::vector<std::vector<Cell>> Rows(const MeasuredPage& page);

  private:
    const std::vector<Figure>& m_figures;
    const std::vector<View>& m_views;
    const Columns& m_columns;
    int m_next = 0;
    std::vector<std::string> m_channels;
    std::vector<std::unique_ptr<ValueCollector>> m_collectors;  // channel by channel, figure by figure
};

/// The same of a page that is in memory.
std::vector<std::vector<Cell>> MeasureFigures(const MeasuredPage& page, const std::vector<Figure>& figures,
                                              const std::vector<View>& views, const std::vector<Channel>& channels,
                                              const Columns& columns);

}  // namespace host
