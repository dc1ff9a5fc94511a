#include "host/measure/Batch.h"

#include <chrono>
#include <utility>

namespace host {

namespace {

// The channels that are measured, and the pixels that they view.
struct Planes {
    Image image;
    Raster luma;
    std::vector<Channel> channels;

    Planes(Image&& read, bool all) : image(std::move(read)) {
        if (all) {
            channels = Channels(image);
        } else {
            luma = Luma(image);
            image.pixels = {};
            channels = {{"L", luma.View()}};
        }
    }
    Planes(const Planes&) = delete;
    Planes& operator=(const Planes&) = delete;
};

template <class Result>
bool IsReady(const std::future<Result>& result) {
    return result.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
}

}  // namespace

std::vector<std::vector<Cell>> MeasureFigures(const UserPath& image, const std::vector<Figure>& figures,
                                              const std::vector<View>& views, const std::vector<Channel>& channels,
                                              bool damaged, const Columns& columns) {
    std::vector<std::vector<Cell>> rows;
    for (std::size_t i = 0; i < figures.size(); ++i) {
        for (const Channel& channel : channels) {
            const Measured measured{image,   figures[i], views[i],
                                    channel, damaged,    Measure(channel.values, views[i].pixels)};
            std::vector<Cell> row;
            for (const Column* column : columns) {
                row.push_back(column->fill(measured));
            }
            rows.push_back(std::move(row));
        }
    }
    return rows;
}

Regions::Regions(const RoiSet& set, PixelRule rule) {
    for (const Figure& figure : set.Figures()) {
        m_regions.emplace_back(figure, rule);
    }
}

Views Regions::In(PixelSize image) {
    if (!m_views || m_size != image) {
        std::vector<View> views;
        for (Region& region : m_regions) {
            views.push_back(region.In(image));
        }
        m_views = std::make_shared<const std::vector<View>>(std::move(views));
        m_size = image;
    }
    return m_views;
}

Batch::Batch(const RoiSet& set, ImageList& images, BatchOptions options)
    : m_set(set),
      m_images(images),
      m_options(std::move(options)),
      m_regions(set, m_options.rule),
      m_workers(m_options.jobs) {}

std::optional<Batch::Outcome> Batch::Next() {
    for (;;) {
        Read();
        if (!m_reading.empty() && (m_measuring.empty() || IsReady(m_reading.front().result))) {
            MeasureFront();
        } else if (m_measuring.empty()) {
            return std::nullopt;
        } else {
            Pending<Rows> front = std::move(m_measuring.front());
            m_measuring.pop_front();
            try {
                Rows rows = front.result.get();
                return Outcome{std::move(front.image), std::move(rows.rows), std::move(rows.warnings), nullptr};
            } catch (...) {
                return Outcome{std::move(front.image), {}, {}, std::current_exception()};
            }
        }
    }
}

// Starts to read images while there is room.
void Batch::Read() {
    while (m_reading.size() + m_measuring.size() < std::size_t{2} * m_options.jobs) {
        std::optional<ImageName> image = m_images.Next();
        if (!image) {
            return;
        }
        std::future<Image> read =
            m_workers.Run([name = *image, damage = m_options.damage] { return LoadImage(name, damage); });
        m_reading.push_back({std::move(image->path), std::move(read)});
    }
}

Views Batch::ViewsIn(PixelSize image) {
    if (!m_options.alone) {
        return m_regions.In(image);
    }
    Views views;
    m_options.alone([&] { views = m_regions.In(image); });
    return views;
}

// Starts to measure the first of the images that are read, once it is.
void Batch::MeasureFront() {
    Pending<Image> front = std::move(m_reading.front());
    m_reading.pop_front();
    std::future<Rows> rows;
    try {
        Image image = front.result.get();
        const Views views = ViewsIn(image.pixels.Size());
        rows = m_workers.Run([this, path = front.image, image = std::move(image), views]() mutable {
            const Planes planes(std::move(image), m_options.channels);
            return Rows{
                MeasureFigures(path, m_set.Figures(), *views, planes.channels, planes.image.damaged, m_options.columns),
                planes.image.page.warnings};
        });
    } catch (...) {
        std::promise<Rows> failed;
        failed.set_exception(std::current_exception());
        rows = failed.get_future();
    }
    m_measuring.push_back({std::move(front.image), std::move(rows)});
}

}  // namespace host
