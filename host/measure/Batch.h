// Many images measured at the figures of one set, on several threads, in memory that does not grow with the images.
//
// The module is single-threaded by contract: figures are asked for their pixels on the thread that owns the
// batch. What they answer is clipped to each size of image and, unchangeable from there on, shared with the
// threads that read and measure; those ask the owner for a size that they have not met.
#pragma once

#include <condition_variable>
#include <deque>
#include <exception>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include "host/base/Cell.h"
#include "host/images/ImageList.h"
#include "host/measure/Columns.h"
#include "host/measure/Region.h"
#include "host/measure/Workers.h"
#include "host/sets/RoiSet.h"

namespace host {

/// What the images of one size show of every figure of a set.
using Views = std::shared_ptr<const std::vector<View>>;

/// The regions of all figures of a set.
class Regions {
  public:
    Regions(const RoiSet& set, PixelRule rule);
    Views In(PixelSize image);

  private:
    std::vector<Region> m_regions;
};

struct BatchOptions {
    Columns columns;
    bool channels = false;  ///< a row for every channel of a colour image
    PixelRule rule = PixelRule::outline;
    Damage damage = Damage::refused;
    unsigned int jobs = 1;
    PageSelection pages = {};
    bool stacks = true;  ///< whether an image may have several of these pages; otherwise one that has is an error
    /// The size of a pixel; that of each page itself when there is none.
    std::optional<PixelScale> scale = {};
    /// Runs what asks the module, within Next, where others may ask it, too. None runs it as it is.
    std::function<void(const std::function<void()>&)> alone = {};
};

class Batch {
  public:
    /// The rows of one page of an image, figure by figure, or why there are none, nor of later pages.
    struct Outcome {
        UserPath image;
        int page = 1;
        bool isLast = true;  ///< of the image's pages
        PixelScale scale;
        std::vector<std::vector<Cell>> rows;
        std::vector<std::string> warnings;
        std::exception_ptr failure;
    };

    /// The set and the list are referred to; the set must not change.
    Batch(const RoiSet& set, ImageList& images, BatchOptions options);
    /// Waits for the pages that are being measured and drops the rest.
    ~Batch();
    Batch(const Batch&) = delete;
    Batch& operator=(const Batch&) = delete;

    /// The next page's outcome, in the order of the list, whichever is done first; nothing at the end. Two images per
    /// job are open at most, and a strip of rows of one in memory. Throws Error when the list cannot be read.
    std::optional<Outcome> Next();

  private:
    struct Pending {
        ImageName image;
        // Between two pages of an image, and until its first:
        std::unique_ptr<ImageFile> file;
        std::vector<int> pages;
        std::size_t at = 0;
        std::optional<Outcome> outcome;
    };
    struct Question {
        PixelSize size;
        std::promise<Views> answer;
    };

    void Open();
    void BeginPage(Pending& image);
    Outcome AwaitOutcome(Pending& image);
    void Answer(Question question);
    void FindViews(PixelSize image);

    // What the threads do.
    Outcome MeasurePage(Pending& image);
    void TurnPage(Pending& image) const;
    Outcome Measure(Pending& image, const std::vector<View>& views) const;
    Views ViewsIn(PixelSize image);

    const RoiSet& m_set;
    ImageList& m_images;
    const BatchOptions m_options;
    Regions m_regions;
    std::deque<Pending> m_pending;
    // Guards what follows and the outcomes.
    std::mutex m_mutex;
    std::condition_variable m_news;
    std::deque<Question> m_questions;
    bool m_isClosing = false;
    PixelSize m_size;
    Views m_views;      // of that size, once one was asked for
    Workers m_workers;  // Last: its threads use what stands above.
};

}  // namespace host
