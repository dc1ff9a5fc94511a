#include "workbench/ImageStore.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <limits>
#include <utility>

#include "host/images/Image.h"
#include "workbench/TilePicture.h"

namespace host::workbench {

namespace {

// What pages that nobody looks at just now may take, in memory and in files.
constexpr std::size_t kMostBytes = std::size_t{4} << 30;

std::vector<std::string> NamesOfChannels(const PageInfo& info) {
    std::vector<std::string> names;
    for (const Channel& channel : Channels(Image{info, Raster({1, 1}, info.channels, info.depth), false})) {
        names.push_back(channel.name);
    }
    return names;
}

}  // namespace

LoadedPage::LoadedPage(PageId id, const ImageFile& file, int number, UserPath path)
    : m_id(id),
      m_path(std::move(path)),
      m_number(number),
      m_info(file.Page()),
      m_pages(static_cast<int>(file.Wanted({}).size())),
      m_channelNames(NamesOfChannels(m_info)),
      m_pixels(m_info) {
    if (m_info.depth == Depth::u8) {
        m_usualRange = ShownRange{0.0, static_cast<double>((1 << m_info.bits) - 1)};
    }
}

std::optional<ShownRange> LoadedPage::UsualRange() const {
    const std::lock_guard lock(m_mutex);
    return m_usualRange;
}

void LoadedPage::AwaitWhole() const {
    std::unique_lock lock(m_mutex);
    m_ended.wait(lock, [this] { return m_hasEnded; });
    if (m_failure) {
        std::rethrow_exception(m_failure);
    }
}

void LoadedPage::CheckSound() const {
    const std::lock_guard lock(m_mutex);
    if (m_failure) {
        std::rethrow_exception(m_failure);
    }
}

void LoadedPage::Read(const std::function<void(const LoadedPage&)>& progress) {
    std::exception_ptr failure;
    try {
        ReadRows(progress);
    } catch (...) {
        failure = std::current_exception();
    }
    constexpr double kPercent = 0.1;
    const ShownRange range = UsualRange() ? *UsualRange() : RangeOf(*this, std::nullopt, kPercent);
    {
        const std::lock_guard lock(m_mutex);
        m_usualRange = range;
        m_failure = failure;
        m_hasEnded = true;
    }
    m_ended.notify_all();
    progress(*this);
}

void LoadedPage::ReadRows(const std::function<void(const LoadedPage&)>& progress) {
    using Clock = std::chrono::steady_clock;
    constexpr auto kPause = std::chrono::milliseconds(250);
    auto told = Clock::now();
    // Opened anew: some codecs give rows to the thread only that turned to the page.
    ImageFile file{ImageName(m_path)};
    file.Turn(m_number);
    const bool inAnyOrder = file.Go(0);
    for (int band = 0; !IsWhole(); band = inAnyOrder ? BandAfter(band) : band + 1) {
        if (inAnyOrder) {
            file.Go(m_pixels.TopOf(band));
        }
        while (!m_pixels.IsWhole(band)) {
            if (m_isUnwanted) {
                return;
            }
            file.ReadRows(1, m_pixels.NextRow(band));
            m_pixels.RowIsThere(band);
            if (Clock::now() - told > kPause) {
                progress(*this);
                told = Clock::now();
            }
        }
    }
}

// The band to be read after one: that which somebody looks at, or else the next one below that is not there, and after
// the last one those above.
int LoadedPage::BandAfter(int band) const noexcept {
    const int wanted = m_wanted.exchange(-1);
    if (wanted >= 0 && !m_pixels.IsWhole(wanted)) {
        return wanted;
    }
    int next = band;
    do {
        next = (next + 1) % m_pixels.Bands();
    } while (m_pixels.IsWhole(next) && next != band);
    return next;
}

ImageStore::ImageStore(std::vector<UserPath> images, std::function<void(const LoadedPage&)> progress)
    : m_images(std::move(images)), m_progress(std::move(progress)) {
    // While the browser starts.
    m_readers.Run(PrepareTiles);
}

// Pages that are being read would keep their threads busy.
ImageStore::~ImageStore() {
    for (const auto& [id, kept] : m_pages) {
        kept.page->GiveUp();
    }
}

std::shared_ptr<const LoadedPage> ImageStore::Page(PageId id) {
    if (id.image < 0 || static_cast<std::size_t>(id.image) >= m_images.size()) {
        throw Error("no such image", std::to_string(id.image), "images are counted from 0", ErrorKind::missingFile);
    }
    const std::lock_guard lock(m_mutex);
    Kept& kept = m_pages[id];
    kept.used = ++m_uses;
    if (kept.page) {
        return kept.page;
    }
    try {
        const UserPath& path = m_images[static_cast<std::size_t>(id.image)];
        ImageFile file{ImageName(path)};
        const std::vector<int> pages = file.Wanted({});
        if (id.page < 1 || static_cast<std::size_t>(id.page) > pages.size()) {
            throw Error("no such page", std::to_string(id.page),
                        fmt::format("{} has pages 1 to {}", path.Typed(), pages.size()), ErrorKind::missingFile);
        }
        const int number = pages[static_cast<std::size_t>(id.page) - 1];
        if (id.page > 1) {
            file.Turn(number);
        }
        kept.page = std::make_shared<LoadedPage>(id, file, number, path);
    } catch (...) {
        m_pages.erase(id);
        throw;
    }
    m_readers.Run([page = kept.page, this] { page->Read(m_progress); });
    DropOldest();
    return m_pages.at(id).page;
}

// Lets go of the pages that were looked at longest ago and that nobody uses, while all together take too much.
void ImageStore::DropOldest() {
    std::size_t bytes = 0;
    for (const auto& [id, kept] : m_pages) {
        bytes += kept.page->Pixels().Bytes();
    }
    while (bytes > kMostBytes) {
        auto oldest = m_pages.end();
        for (auto at = m_pages.begin(); at != m_pages.end(); ++at) {
            const bool isIdle = at->second.page.use_count() == 1;
            if (isIdle && (oldest == m_pages.end() || at->second.used < oldest->second.used)) {
                oldest = at;
            }
        }
        if (oldest == m_pages.end()) {
            return;
        }
        bytes -= oldest->second.page->Pixels().Bytes();
        m_pages.erase(oldest);
    }
}

}  // namespace host::workbench
