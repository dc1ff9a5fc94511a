// How fast is an image measured, by the host's parts and by its command?
#include <fcntl.h>
#include <fmt/format.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cmath>
#include <filesystem>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include "bench/Matrices.h"
#include "bench/Questions.h"
#include "bench/RatioTable.h"
#include "host/figures/FigureIndex.h"
#include "host/figures/Parameters.h"
#include "host/images/Image.h"
#include "host/measure/Region.h"
#include "host/measure/Statistics.h"
#include "host/sets/RoiSet.h"

namespace {

namespace fs = std::filesystem;

// A folder for the files that the benchmarks write and read; it goes with the last of them.
class Folder {
  public:
    explicit Folder(const fs::path& in) : m_path(in / fmt::format("roi_bench.{}", getpid())) {
        fs::create_directory(m_path);
    }
    ~Folder() {
        std::error_code ignored;
        fs::remove_all(m_path, ignored);
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    std::string File(const std::string& name) const { return (m_path / name).string(); }

  private:
    fs::path m_path;
};
using SharedFolder = std::shared_ptr<const Folder>;

// Grey, with a slope across it and a little noise, as cameras give it.
cv::Mat NewImage(int size) {
    cv::Mat image(size, size, CV_8U);
    for (int y = 0; y < size; ++y) {
        for (int x = 0; x < size; ++x) {
            image.at<unsigned char>(y, x) = static_cast<unsigned char>(60 + 120 * (x + y) / (2 * size));
        }
    }
    cv::Mat noise(image.size(), CV_8S);
    cv::RNG(5).fill(noise, cv::RNG::NORMAL, 0.0, 4.0);
    cv::add(image, noise, image, cv::noArray(), CV_8U);
    return image;
}

std::string WriteImage(const Folder& folder, int size) {
    std::string path = folder.File(fmt::format("image{}.png", size));
    cv::imwrite(path, NewImage(size));
    return path;
}

// ---------------------------------------------------------------------------------------------------
// Statistics

host::Figure BigRectangle(const host::Session& session) {
    host::Figure figure = session.Create("rectangle", "ROIRectangle");
    const auto rectangle = figure.As<IROIRectangle>();
    rectangle->SetCenter(1000.0, 1000.0);
    rectangle->SetSize(1200.0, 800.0);
    rectangle->put_Roll(0.3);
    return figure;
}

struct Extremes {
    double mean, deviation, min, max;
};

Extremes WithMask(const cv::Mat& image, const cv::Mat& mask) {
    cv::Scalar mean;
    cv::Scalar deviation;
    Extremes extremes{};
    cv::meanStdDev(image, mean, deviation, mask);
    cv::minMaxLoc(image, &extremes.min, &extremes.max, nullptr, nullptr, mask);
    extremes.mean = mean[0];
    extremes.deviation = deviation[0];
    return extremes;
}

void AddStatistics(const host::Session& session) {
    const cv::Mat image = NewImage(2000);
    const host::Figure rectangle = BigRectangle(session);
    const host::PixelRect field{0, 0, image.cols, image.rows};
    const host::PixelSet pixels = host::FindPixels(rectangle, field, host::PixelRule::outline).set;
    const host::PixelSet parts = host::FindPixels(rectangle, field, host::PixelRule::exact).set;
    const cv::Mat mask = host::MatOf(Painted(pixels, field));
    if (std::abs(host::Measure(host::ViewOf(image), pixels).mean - WithMask(image, mask).mean) > 1e-6) {
        throw std::runtime_error("the statistics differ");
    }
    const host::PixelRect box = BoxAround(pixels);
    const cv::Rect part(box.left, box.top, box.width, box.height);
    Row("statistics under a figure, 2000 x 2000")
        .Ours(Repeat([image, pixels] { return host::Measure(host::ViewOf(image), pixels); }))
        .Peer("OpenCV meanStdDev and minMaxLoc, mask", 5.0, Repeat([image, mask] { return WithMask(image, mask); }))
        .Peer("the same, cut to the figure's box", 0.0,
              Repeat([seen = image(part), mask = mask(part)] { return WithMask(seen, mask); }));
    Row("statistics under a figure, parts of pixels, 2000 x 2000")
        .Ours(Repeat([image, parts] { return host::Measure(host::ViewOf(image), parts); }))
        .Limit("whole pixels", 2.0, Repeat([image, pixels] { return host::Measure(host::ViewOf(image), pixels); }));
}

// ---------------------------------------------------------------------------------------------------
// Files

void AddDecoding(const SharedFolder& folder) {
    cv::Mat picture;
    cv::cvtColor(NewImage(1000), picture, cv::COLOR_GRAY2BGR);
    for (const char* kind : {"png", "jpg", "tif"}) {
        const std::string file = folder->File(fmt::format("decoded.{}", kind));
        cv::imwrite(file, picture);
        if (host::LoadImage(host::UserPath(file)).pixels.Size() != host::PixelSize{1000, 1000}) {
            throw std::runtime_error("the image is not read");
        }
        // The folder lives as long as the files are read.
        Row(fmt::format("decode a {} file, 1000 x 1000, colour", kind))
            .Ours(Repeat([folder, file] { return host::LoadImage(host::UserPath(file)); }))
            .Peer("OpenCV imread", 1.0, Repeat([folder, file] { return cv::imread(file, cv::IMREAD_UNCHANGED); }));
    }
}

// ---------------------------------------------------------------------------------------------------
// Commands

// Runs a program to its end, its output thrown away; its name is relative to the folder of the modules.
bool RunsWell(std::vector<std::string> words) {
    std::vector<char*> arguments;
    for (std::string& word : words) {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    pid_t child = 0;
    const int failure = posix_spawn(&child, arguments[0], &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    int status = 0;
    return failure == 0 && waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

// Measures a call by the clock on the wall; `kept` lives as long as the body.
template <class Call>
Body Timed(SharedFolder kept, Call call) {
    return [kept, call](benchmark::State& state) {
        for (auto _ : state) {
            const auto start = std::chrono::steady_clock::now();
            if (!call()) {
                state.SkipWithError("the command failed");
                return;
            }
            state.SetIterationTime(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
        }
    };
}

Body Command(const SharedFolder& folder, std::vector<std::string> words) {
    return Timed(folder, [words = std::move(words)] { return RunsWell(words); });
}

// The classes take turns; they stand in rows and columns all over the image.
host::RoiSet MixedSet(const host::Session& session, int count, int imageSize) {
    const int columns = static_cast<int>(std::ceil(std::sqrt(count)));
    const double pitch = static_cast<double>(imageSize) / columns;
    host::RoiSet set;
    for (int i = 0; i < count; ++i) {
        const char* const classes[] = {"ROIRectangle", "ROIParallelogram", "ROIEllipse", "ROIDonut", "ROIArcDonut"};
        const host::Figure& figure = set.Add(session, fmt::format("figure{}", i), classes[i % 5]);
        figure.roi->SetCenter(pitch * (i % columns + 0.5), pitch * (i / columns + 0.5));
        const double half = 0.45 * pitch;
        if (const auto rectangle = figure.As<IROIRectangle>()) {
            rectangle->SetSize(1.2 * half, half);
            rectangle->put_Roll(0.1 + 0.01 * (i % 50));
        } else if (const auto parallelogram = figure.As<IROIParallelogram>()) {
            parallelogram->SetSize(1.4 * half, half);
            parallelogram->put_Shear(0.3, 0);
        } else if (const auto ellipse = figure.As<IROIEllipse>()) {
            ellipse->SetRadius(half, half);
        } else if (const auto donut = figure.As<IROIDonut>()) {
            donut->SetRadius(0, 0.6 * half, 0.6 * half);
            donut->SetRadius(1, half, half);
        }
    }
    return set;
}

std::string WriteSet(const host::Session& session, const Folder& folder, int count, int imageSize) {
    std::string path = folder.File(fmt::format("set{}.roi", count));
    MixedSet(session, count, imageSize).Save(path);
    return path;
}

void AddCommands(const host::Session& session, const SharedFolder& folder) {
    const std::string large = WriteImage(*folder, 2000);
    Row("roi measure, 100 figures, image of 2000 x 2000", Clock::manual)
        .Ours(Command(folder, {"./roi", "measure", WriteSet(session, *folder, 100, 2000), large}))
        .Limit("a program that decodes it by the same reader", 1.5, Command(folder, {"./read_image", large}))
        .Limit("a program that loads OpenCV and decodes it", 0.0, Command(folder, {"./decode_image", large}));
    const std::string small = WriteImage(*folder, 200);
    Row("roi measure from start to finish, image of 200 x 200", Clock::manual)
        .Ours(Command(folder, {"./roi", "measure", WriteSet(session, *folder, 1, 200), small}))
        .Limit("a program that loads OpenCV and decodes it", 2.0, Command(folder, {"./decode_image", small}));
}

// The time of a disk is not the command's, so the set lies in memory where the machine has a file system there.
void AddShortCommands(const host::Session& session, const SharedFolder& disk) {
    const fs::path memory = "/dev/shm";
    const auto folder = fs::is_directory(memory) ? std::make_shared<const Folder>(memory) : disk;
    const auto add = [&session](const SharedFolder& in, const std::string& what, double goal,
                                std::vector<std::string> words) {
        words.insert(words.begin(), "./roi");
        words.insert(words.begin() + 2, WriteSet(session, *in, 3, 200));
        Row(fmt::format("roi {}, 3 figures{}", words[1], what), Clock::manual)
            .Ours(Command(in, std::move(words)))
            .Limit("a program that loads the C++ library and ROI.so", goal, Command(in, {"./load_module"}));
    };
    add(folder, "", 2.0, {"list"});
    add(folder, "", 2.0, {"hit", "50,50"});
    add(folder, "", 2.0, {"set", "figure0", "Width=12"});
    add(folder, "", 2.0, {"nodes", "figure0"});
    add(disk, ", in the folder for temporary files", 0.0, {"set", "figure0", "Width=12"});
}

// ---------------------------------------------------------------------------------------------------
// Large sets

// A call that handles all figures of a set, reported by the figure.
template <class Call>
Body PerFigure(SharedFolder kept, int count, Call call) {
    return [kept, count, call](benchmark::State& state) {
        for (auto _ : state) {
            benchmark::DoNotOptimize(call());
        }
        state.SetItemsProcessed(state.iterations() * count);
    };
}

std::size_t Listed(const host::RoiSet& set) {
    std::size_t characters = 0;
    for (const host::Figure& figure : set.Figures()) {
        characters += host::ParameterLine(host::Settable(host::ReadParameters(figure))).size();
    }
    return characters;
}

struct IndexedSet {
    std::shared_ptr<const host::RoiSet> set;
    host::FigureIndex index{set->Figures()};
};

int Hits(const IndexedSet& indexed, Point p) {
    int hits = 0;
    for (const std::size_t i : indexed.index.At({p.x, p.y})) {
        hits += Succeeded(indexed.set->Figures()[i].roi->HitTest(p.x, p.y, nullptr)) ? 1 : 0;
    }
    return hits;
}

// Larger sets reach deeper into the processor's caches; what grows with the square takes ten times as long.
constexpr double kLinear = 2.0;

// The operation on a figure of a large set beside the same in a set of a tenth: as long, or it is not linear.
template <class Make>
void AddGrowth(const std::string& operation, const SharedFolder& folder, Make make, double atMost = kLinear) {
    constexpr int kLarge = 10000;
    constexpr int kSmall = 1000;
    Row(operation + " a set of 10,000 figures, per figure")
        .Ours(PerFigure(folder, kLarge, make(kLarge)))
        .Limit("in a set of 1,000", atMost, PerFigure(folder, kSmall, make(kSmall)));
}

void AddLargeSets(const host::Session& session, const SharedFolder& folder) {
    constexpr int kImage = 4000;
    const auto setOf = [&session, &folder](int count) {
        return std::make_shared<host::RoiSet>(host::RoiSet::Load(session, WriteSet(session, *folder, count, kImage)));
    };
    AddGrowth("load", folder, [&](int count) {
        return [&session, path = WriteSet(session, *folder, count, kImage)] {
            return host::RoiSet::Load(session, path).Figures().size();
        };
    });
    AddGrowth("list", folder, [&](int count) { return [set = setOf(count)] { return Listed(*set); }; });
    AddGrowth(
        "hit", folder,
        [&](int count) {
            return [indexed = std::make_shared<IndexedSet>(IndexedSet{setOf(count)})] {
                return Hits(*indexed, {1234.5, 987.6});
            };
        },
        1.3);
    AddGrowth("save", folder, [&](int count) {
        return [set = setOf(count), path = folder->File(fmt::format("saved{}.roi", count))] {
            set->Save(path);
            return set->Figures().size();
        };
    });
}

}  // namespace

void AddImages(const host::Session& session) {
    AddStatistics(session);
    const auto folder = std::make_shared<const Folder>(fs::temp_directory_path());
    AddDecoding(folder);
    AddCommands(session, folder);
    AddShortCommands(session, folder);
    AddLargeSets(session, folder);
}
