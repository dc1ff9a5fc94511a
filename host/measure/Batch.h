// Many images measured at the figures of one set, on several threads.
//
// The module is single-threaded by contract: figures are asked for their pixels on the thread that owns the
// batch. What they answer is clipped to each size of image and, unchangeable from there on, shared with the
// threads that read and measure.
#pragma once

#include <deque>
#include <exception>
#include <functional>
#include <memory>
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
    /// Those of the last size are kept.
    Views In(PixelSize image);

  private:
    std::vector<Region> m_regions;
    PixelSize m_size;
    Views m_views;
};

/// A row for every figure and each of its channels: `views` are what the image shows of the figures, in their order.
/// Asks the module nothing, so any thread may do it.
std::vector<std::vector<Cell>> MeasureFigures(const UserPath& image, const std::vector<Figure>& figures,
                                              const std::vector<View>& views, const std::vector<Channel>& channels,
                                              bool damaged, const Columns& columns);

struct BatchOptions {
    Columns columns;
    bool channels = false;  ///< a row for every channel of a colour image
    PixelRule rule = PixelRule::outline;
    Damage damage = Damage::refused;
    unsigned int jobs = 1;
    /// Runs what asks the module, within Next, where others may ask it, too. None runs it as it is.
    std::function<void(const std::function<void()>&)> alone = {};
};

class Batch {
  public:
    /// An image's rows, figure by figure, or why there are none.
    struct Outcome {
        UserPath image;
        std::vector<std::vector<Cell>> rows;
        std::vector<std::string> warnings;
        std::exception_ptr failure;
    };

    /// The set and the list are referred to; the set must not change.
    Batch(const RoiSet& set, ImageList& images, BatchOptions options);

    /// The next image's outcome, in the order of the list, whichever is done first; nothing at the end. Two
    /// images per job are in memory at most. Throws Error when the list cannot be read.
    std::optional<Outcome> Next();

  private:
    struct Rows {
        std::vector<std::vector<Cell>> rows;
        std::vector<std::string> warnings;
    };
    template <class Result>
    struct Pending {
        UserPath image;
        std::future<Result> result;
    };

    void Read();
    void MeasureFront();
    Views ViewsIn(PixelSize image);

    const RoiSet& m_set;
    ImageList& m_images;
    BatchOptions m_options;
    Regions m_regions;
    std::deque<Pending<Image>> m_reading;
    std::deque<Pending<Rows>> m_measuring;
    Workers m_workers;  // Last: its threads use what stands above.
};

}  // namespace host
