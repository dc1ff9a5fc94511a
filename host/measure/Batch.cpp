#include "host/measure/Batch.h"

#include <algorithm>
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

}  // namespace

Regions::Regions(const RoiSet& set, PixelRule rule) {
    for (const Figure& figure : set.Figures()) {
        m_regions.emplace_back(figure, rule);
    }
}

Views Regions::In(PixelSize image) {
    std::vector<View> views;
    for (Region& region : m_regions) {
        views.push_back(region.In(image));
    }
    return std::make_shared<const std::vector<View>>(std::move(views));
}

// ---------------------------------------------------------------------------------------------------
// The thread that owns the batch

Batch::Batch(const RoiSet& set, ImageList& images, BatchOptions options)
    : m_set(set),
      m_images(images),
      m_options(std::move(options)),
      m_regions(set, m_options.rule),
      m_workers(m_options.jobs) {}

Batch::~Batch() {
    const std::lock_guard lock(m_mutex);
    m_isClosing = true;
    m_questions.clear();  // Whoever waits for an answer is told that there will be none.
}

std::optional<Batch::Outcome> Batch::Next() {
    Open();
    if (m_pending.empty()) {
        return std::nullopt;
    }
    Pending& front = m_pending.front();
    Outcome outcome = AwaitOutcome(front);
    if (outcome.isLast) {
        m_pending.pop_front();
    } else {
        ++front.at;
        BeginPage(front);
    }
    return outcome;
}

// Starts on images while there is room.
void Batch::Open() {
    while (m_pending.size() < std::size_t{2} * m_options.jobs) {
        std::optional<ImageName> image = m_images.Next();
        if (!image) {
            return;
        }
        Pending& pending = m_pending.emplace_back();
        pending.image = std::move(*image);
        BeginPage(pending);
    }
}

void Batch::BeginPage(Pending& image) {
    m_workers.Run([this, &image] {
        Outcome outcome = MeasurePage(image);
        {
            const std::lock_guard lock(m_mutex);
            image.outcome = std::move(outcome);
        }
        m_news.notify_one();
    });
}

Batch::Outcome Batch::AwaitOutcome(Pending& image) {
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_news.wait(lock, [&] { return image.outcome || !m_questions.empty(); });
        if (m_questions.empty()) {
            return *std::exchange(image.outcome, std::nullopt);
        }
        Question question = std::move(m_questions.front());
        m_questions.pop_front();
        lock.unlock();
        Answer(std::move(question));
        lock.lock();
    }
}

void Batch::Answer(Question question) {
    try {
        if (!m_views || m_size != question.size) {
            FindViews(question.size);
        }
        question.answer.set_value(m_views);
    } catch (...) {
        question.answer.set_exception(std::current_exception());
    }
}

void Batch::FindViews(PixelSize image) {
    Views views;
    const auto find = [&] { views = m_regions.In(image); };
    m_options.alone ? m_options.alone(find) : find();
    const std::lock_guard lock(m_mutex);
    m_size = image;
    m_views = std::move(views);
}

// ---------------------------------------------------------------------------------------------------
// The threads that read and measure

Batch::Outcome Batch::MeasurePage(Pending& image) {
    try {
        TurnPage(image);
        return Measure(image, *ViewsIn(image.file->Page().size));
    } catch (...) {
        Outcome failed;
        failed.image = image.image.path;
        failed.failure = std::current_exception();
        return failed;
    }
}

void Batch::TurnPage(Pending& image) const {
    if (!image.file) {
        image.file = std::make_unique<ImageFile>(image.image, m_options.damage);
        image.pages = image.file->Wanted(m_options.pages);
        if (image.pages.size() > 1 && !m_options.stacks) {
            throw Error("cannot measure", image.image.path.Typed(),
                        "it has several pages: select some with --pages, or ask for the column page");
        }
    }
    image.file->Turn(image.pages[image.at]);
}

// What images of a size show: known, or asked of the owner.
Views Batch::ViewsIn(PixelSize image) {
    std::future<Views> answer;
    {
        const std::lock_guard lock(m_mutex);
        if (m_views && m_size == image) {
            return m_views;
        }
        if (m_isClosing) {
            throw std::future_error(std::future_errc::broken_promise);
        }
        answer = m_questions.emplace_back(Question{image, {}}).answer.get_future();
    }
    m_news.notify_one();
    return answer.get();
}

Batch::Outcome Batch::Measure(Pending& image, const std::vector<View>& views) const {
    ImageFile& file = *image.file;
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
    const int number = image.pages[image.at];
    const PixelScale scale = m_options.scale ? *m_options.scale : PixelScale(page);
    const UserPath& path = image.image.path;
    return {path,
            number,
            image.at + 1 == image.pages.size(),
            scale,
            meter.Rows({path, number, scale, file.IsDamaged()}),
            page.warnings,
            nullptr};
}

}  // namespace host
