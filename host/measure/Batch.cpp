#include "host/measure/Batch.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "host/images/Image.h"
#include "host/measure/PageMeter.h"

namespace host {

namespace {

// As many rows as are read, and measured, at a time.
int StripOf(const PageInfo& page) noexcept {
    constexpr std::size_t kBytes = std::size_t{1} << 20;
    const std::size_t rows = std::max<std::size_t>(kBytes / std::max<std::size_t>(page.RowBytes(), 1), 1);
    return static_cast<int>(std::min<std::size_t>(rows, static_cast<std::size_t>(page.size.height)));
}

template <class Result>
bool IsReady(const std::future<Result>& result, std::chrono::milliseconds patience = {}) {
    return result.wait_for(patience) == std::future_status::ready;
}

}  // namespace

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
    // Nobody tells when an image further behind is open and waits for this thread.
    constexpr std::chrono::milliseconds kPatience{5};
    for (;;) {
        Open();
        if (m_pending.empty()) {
            return std::nullopt;
        }
        MeasureOpened();
        Pending& front = m_pending.front();
        if (!front.finished.valid()) {
            IsReady(front.opened, kPatience);
            continue;
        }
        if (!IsReady(front.finished, kPatience)) {
            continue;
        }
        Outcome outcome;
        try {
            Finished finished = front.finished.get();
            outcome = std::move(finished.outcome);
            if (!outcome.isLast) {
                front.opened = m_workers.Run([opened = std::move(finished.opened)]() mutable {
                    opened.file->Turn(opened.pages[++opened.at]);
                    return std::move(opened);
                });
                return outcome;
            }
        } catch (...) {
            outcome.image = front.image.path;
            outcome.failure = std::current_exception();
        }
        m_pending.pop_front();
        return outcome;
    }
}

// Starts to open images while there is room.
void Batch::Open() {
    while (m_pending.size() < std::size_t{2} * m_options.jobs) {
        std::optional<ImageName> image = m_images.Next();
        if (!image) {
            return;
        }
        std::future<Opened> opened = m_workers.Run([name = *image, &options = std::as_const(m_options)] {
            Opened result{std::make_unique<ImageFile>(name, options.damage), {}};
            result.pages = result.file->Wanted(options.pages);
            if (result.pages.size() > 1 && !options.stacks) {
                throw Error("cannot measure", name.path.Typed(),
                            "it has several pages: select some with --pages, or ask for the column page");
            }
            result.file->Turn(result.pages.front());
            return result;
        });
        m_pending.push_back({std::move(*image), std::move(opened), {}});
    }
}

// Starts to measure the images that are open.
void Batch::MeasureOpened() {
    for (Pending& image : m_pending) {
        if (!image.finished.valid() && IsReady(image.opened)) {
            image.finished = BeginMeasuring(image);
        }
    }
}

std::future<Batch::Finished> Batch::BeginMeasuring(Pending& image) {
    try {
        Opened opened = image.opened.get();
        Views views = ViewsIn(opened.file->Page().size);
        return m_workers.Run(
            [this, path = image.image.path, opened = std::move(opened), views = std::move(views)]() mutable {
                return MeasurePage(path, std::move(opened), *views);
            });
    } catch (...) {
        std::promise<Finished> failed;
        failed.set_exception(std::current_exception());
        return failed.get_future();
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

Batch::Finished Batch::MeasurePage(const UserPath& image, Opened opened, const std::vector<View>& views) const {
    ImageFile& file = *opened.file;
    const PageInfo page = file.Page();
    PageMeter meter(m_set.Figures(), views, m_options.columns);
    const int strip = StripOf(page);
    for (int top = 0; top < page.size.height; top += strip) {
        const int count = std::min(strip, page.size.height - top);
        const Image rows = file.Read({0, top, page.size.width, count});
        if (!rows.pixels.IsEmpty()) {
            const Raster luma = m_options.channels ? Raster() : Luma(rows);
            meter.Add(m_options.channels ? Channels(rows) : std::vector<Channel>{{"L", luma.View()}});
        }
        if (rows.pixels.Size().height < count) {
            break;
        }
    }
    const int number = opened.pages[opened.at];
    const PixelScale scale = m_options.scale ? *m_options.scale : PixelScale(page);
    Outcome outcome{image,
                    number,
                    opened.at + 1 == opened.pages.size(),
                    scale,
                    meter.Rows({image, number, scale, file.IsDamaged()}),
                    page.warnings,
                    nullptr};
    return {std::move(outcome), std::move(opened)};
}

}  // namespace host
