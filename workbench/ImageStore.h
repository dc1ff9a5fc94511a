// The images of the command line, opened and read when they are looked at.
#pragma once

#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "host/images/ImageFile.h"
#include "host/measure/Workers.h"
#include "workbench/PagePixels.h"

namespace host::workbench {

/// Which page of which image.
struct PageId {
    int image = 0;
    int page = 1;
    friend auto operator<=>(const PageId&, const PageId&) = default;
};

/// The values that are shown black and white.
struct ShownRange {
    double low = 0.0;
    double high = 255.0;
};

/// A page while it is read and afterwards.
class LoadedPage {
  public:
    /// Of an image that is turned to the page; the page is its `number`-th.
    LoadedPage(PageId id, const ImageFile& file, int number, UserPath path);

    PageId Id() const noexcept { return m_id; }
    const UserPath& Path() const noexcept { return m_path; }
    const PageInfo& Info() const noexcept { return m_info; }
    int Pages() const noexcept { return m_pages; }
    /// The names of its channels, as Channels gives them.
    const std::vector<std::string>& ChannelNames() const noexcept { return m_channelNames; }
    const PagePixels& Pixels() const noexcept { return m_pixels; }
    bool IsWhole() const noexcept { return m_pixels.Rows() == m_info.size.height; }
    /// How the page is shown unless somebody chooses: what has 8 bits or fewer as it is; everything else, once it is
    /// read, from the value below which a thousandth of all values lies to that above which a thousandth lies.
    std::optional<ShownRange> UsualRange() const;
    /// Waits until all of it is read. Throws what reading it failed with.
    void AwaitWhole() const;
    /// Throws what reading it failed with, so far.
    void CheckSound() const;

    /// Has the rows of a band read next, where the file lets them be read in any order.
    void Want(int band) const noexcept { m_wanted = band; }

    /// Reads the rows, and calls `progress` now and then and at the end.
    void Read(const std::function<void(const LoadedPage&)>& progress);

    /// Makes Read end soon, with the rows that are there.
    void GiveUp() noexcept { m_isUnwanted = true; }

  private:
    void ReadRows(const std::function<void(const LoadedPage&)>& progress);
    int BandAfter(int band) const noexcept;

    PageId m_id;
    UserPath m_path;
    int m_number;
    PageInfo m_info;
    int m_pages;
    std::vector<std::string> m_channelNames;
    PagePixels m_pixels;
    std::atomic<bool> m_isUnwanted = false;
    mutable std::atomic<int> m_wanted = -1;
    mutable std::mutex m_mutex;
    mutable std::condition_variable m_ended;
    bool m_hasEnded = false;
    std::optional<ShownRange> m_usualRange;
    std::exception_ptr m_failure;
};

class ImageStore {
  public:
    /// `progress` is called on threads of the store's own.
    ImageStore(std::vector<UserPath> images, std::function<void(const LoadedPage&)> progress);

    ~ImageStore();
    ImageStore(const ImageStore&) = delete;
    ImageStore& operator=(const ImageStore&) = delete;

    const std::vector<UserPath>& Images() const noexcept { return m_images; }

    /// A page, which is being read from then on. Throws Error for an image or a page that is not there.
    std::shared_ptr<const LoadedPage> Page(PageId id);

  private:
    struct Kept {
        std::shared_ptr<LoadedPage> page;
        std::uint64_t used = 0;
    };

    void DropOldest();

    std::vector<UserPath> m_images;
    std::function<void(const LoadedPage&)> m_progress;
    std::mutex m_mutex;
    std::map<PageId, Kept> m_pages;
    std::uint64_t m_uses = 0;
    Workers m_readers{2};  // Last: its threads use what stands above.
};

}  // namespace host::workbench
