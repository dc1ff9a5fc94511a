#include "host/measure/ProfileCurve.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <limits>
#include <memory>
#include <numeric>
#include <system_error>

#include "contract/Numbers.h"
#include "framework/support/Utf8.h"
#include "host/base/Error.h"
#include "host/base/SafeFile.h"
#include "host/base/Text.h"
#include "host/measure/ClipLine.h"

namespace host {

// ---------------------------------------------------------------------------------------------------
// Sampling

namespace {

constexpr double kMaxLength = 10'000'000.0;
constexpr double kNothing = std::numeric_limits<double>::quiet_NaN();

struct Segment {
    ImagePoint start;
    ImagePoint along;   // unit vectors: along the segment,
    ImagePoint across;  // and from its thickness-1 to its thickness-2 side
    Stretch band;
    double from;
    double length;
};

std::vector<Segment> SegmentsOf(IROIProfile& profile) {
    std::vector<Segment> segments;
    int count = 0;
    profile.GetNumberPoints(&count);
    double from = 0.0;
    for (int i = 0; i + 1 < count; ++i) {
        ImagePoint start;
        ImagePoint end;
        double thickness1 = 0.0;
        double thickness2 = 0.0;
        profile.GetPoint(i, &start.x, &start.y, nullptr, &thickness1, &thickness2);
        profile.GetPoint(i + 1, &end.x, &end.y, nullptr, nullptr, nullptr);
        const ImagePoint chord = end - start;
        const double length = std::hypot(chord.x, chord.y);
        if (length == 0.0) {
            continue;
        }
        const ImagePoint along = (1.0 / length) * chord;
        const Stretch band{std::min(-thickness1, thickness2), std::max(-thickness1, thickness2)};
        segments.push_back({start, along, {-along.y, along.x}, band, from, length});
        from += length;
    }
    return segments;
}

// Calls `at` with every sample of the band across a point that lies in an image: one to a pixel, counted from the
// point, or one in the middle of a band between two of them.
template <class At>
void ForEachSample(const Segment& segment, ImagePoint point, PixelSize image, At at) {
    const double right = image.width - 1;
    const double bottom = image.height - 1;
    const auto add = [&](double across) {
        const ImagePoint sample = point + across * segment.across;
        if (sample.x >= 0.0 && sample.x <= right && sample.y >= 0.0 && sample.y <= bottom) {
            at(sample);
        }
    };
    if (std::ceil(segment.band.from) > std::floor(segment.band.to)) {
        add(0.5 * (segment.band.from + segment.band.to));
        return;
    }
    // One pixel wider than the image: every sample is looked at again.
    const ClipBox reach{-1.0, -1.0, right + 1.0, bottom + 1.0};
    if (const auto seen = ClipLine(reach, point, segment.across, segment.band)) {
        const double first = std::ceil(seen->from);
        const int count = ToInt32(std::floor(seen->to) - first) + 1;
        for (int i = 0; i < count; ++i) {
            add(first + i);
        }
    }
}

// Between the four pixels around a point inside the image. What has no weight does not count, even when it is not a
// number.
template <class Value>
double Bilinear(const RasterView& plane, ImagePoint at) {
    const int x = ToInt32(at.x);
    const int y = ToInt32(at.y);
    const double dx = at.x - x;
    const double dy = at.y - y;
    const auto value = [&](int column, int row) {
        return static_cast<double>(
            *reinterpret_cast<const Value*>(plane.data + row * plane.rowStride + column * plane.columnStride));
    };
    const auto between = [dx, x, &value](int row) {
        const double left = value(x, row);
        return dx == 0.0 ? left : left + dx * (value(x + 1, row) - left);
    };
    const double upper = between(y);
    return dy == 0.0 ? upper : upper + dy * (between(y + 1) - upper);
}

template <class Value>
CurvePoint PointOf(const RasterView& plane, const Segment& segment, double distance, std::vector<double>& values) {
    const ImagePoint at = segment.start + (distance - segment.from) * segment.along;
    values.clear();
    ForEachSample(segment, at, plane.size,
                  [&](ImagePoint sample) { values.push_back(Bilinear<Value>(plane, sample)); });
    CurvePoint point{distance, at, kNothing, kNothing, static_cast<int>(values.size())};
    if (values.empty()) {
        return point;
    }
    const double count = static_cast<double>(values.size());
    point.mean = std::accumulate(values.begin(), values.end(), 0.0) / count;
    double squares = 0.0;
    for (const double value : values) {
        squares += (value - point.mean) * (value - point.mean);
    }
    point.deviation = std::sqrt(squares / count);
    return point;
}

}  // namespace

std::vector<CurvePoint> SampleCurve(IROIProfile& profile, const std::string& name, const RasterView& plane) {
    const auto fail = [&name](std::string_view why) { return Error("cannot sample profile", name, why); };
    const std::vector<Segment> segments = SegmentsOf(profile);
    if (segments.empty()) {
        throw fail("it needs two points that differ");
    }
    const double length = segments.back().from + segments.back().length;
    if (!(length <= kMaxLength)) {
        throw fail(fmt::format("its length is {} pixels", NumberText(length)));
    }
    std::vector<CurvePoint> curve;
    std::vector<double> values;
    auto segment = segments.begin();
    for (int distance = 0; distance <= ToInt32(length); ++distance) {
        while (distance >= segment->from + segment->length && segment + 1 != segments.end()) {
            ++segment;
        }
        curve.push_back(InType(plane.depth, [&](auto* type) {
            return PointOf<std::remove_pointer_t<decltype(type)>>(plane, *segment, distance, values);
        }));
    }
    return curve;
}

// ---------------------------------------------------------------------------------------------------
// Plotting

namespace {

struct Closing {
    void operator()(std::FILE* file) const noexcept { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, Closing>;

// A file without a name; it is gone when closed.
File TemporaryFile() {
    File file(std::tmpfile());
    if (!file) {
        throw Error("cannot plot", "temporary file", std::generic_category().message(errno));
    }
    return file;
}

std::string ContentsOf(std::FILE* file) {
    std::rewind(file);
    std::string contents;
    char block[1 << 14];
    for (std::size_t count = sizeof block; count == sizeof block;) {
        count = std::fread(block, 1, sizeof block, file);
        contents.append(block, count);
    }
    return contents;
}

// A text as the plotter's language quotes it.
std::string Quoted(std::string_view text) {
    std::string quoted = "'";
    for (const char c : Harmless(text)) {
        quoted.append(c == '\'' ? 2 : 1, c);
    }
    return quoted + '\'';
}

std::string PlotScript(const std::vector<CurvePoint>& curve, const std::string& title, bool svg) {
    std::string script = svg ? "set terminal svg size 960,540 dynamic font 'sans,14' background rgb 'white'\n"
                             : "set terminal pngcairo size 1280,720 font 'sans,13' background rgb 'white'\n";
    script += fmt::format(
        "set encoding utf8\n"
        "set title {} noenhanced\n"
        "set xlabel 'distance along the profile (pixels)'\n"
        "set ylabel 'value (grey levels)'\n"
        "set xrange [0:{}]\n"
        "set grid back linecolor rgb '#d0d0d0' linetype 1 linewidth 0.5\n"
        "set border 3 linecolor rgb '#404040'\n"
        "set tics nomirror\n"
        "set key top right\n"
        "$curve << END\n",
        Quoted(title), NumberText(std::max(curve.back().distance, 1.0)));
    for (const CurvePoint& point : curve) {
        // A blank line makes a gap where the image has no value.
        script += point.samples > 0
                      ? fmt::format("{} {} {} {}\n", NumberText(point.distance), NumberText(point.mean),
                                    NumberText(point.mean - point.deviation), NumberText(point.mean + point.deviation))
                      : "\n";
    }
    return script +
           "END\n"
           "plot $curve using 1:3:4 with filledcurves fillcolor rgb '#b9d3ee' title 'deviation across the band', "
           "$curve using 1:2 with lines linewidth 2 linecolor rgb '#1f5fa8' title 'mean across the band'\n";
}

// What a program complains of last is why it stopped.
std::string LastLine(const std::string& talk) {
    const std::size_t end = talk.find_last_not_of(" \t\r\n");
    if (end == std::string::npos) {
        return "it failed without a word";
    }
    const std::size_t lineBreak = talk.find_last_of('\n', end);
    const std::size_t begin = lineBreak == std::string::npos ? 0 : lineBreak + 1;
    return talk.substr(begin, end + 1 - begin);
}

// Runs gnuplot on a script and gives what it prints: the picture.
std::string RunGnuplot(const std::string& script) {
    const auto fail = [](std::string_view why) { return Error("cannot plot", "gnuplot", why); };
    const File input = TemporaryFile();
    const File output = TemporaryFile();
    const File talk = TemporaryFile();
    if (std::fwrite(script.data(), 1, script.size(), input.get()) != script.size() || std::fflush(input.get()) != 0) {
        throw fail(std::generic_category().message(errno));
    }
    std::rewind(input.get());

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, fileno(input.get()), STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, fileno(output.get()), STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, fileno(talk.get()), STDERR_FILENO);
    // -d: as gnuplot comes, without the user's own settings.
    char program[] = "gnuplot";
    char defaults[] = "-d";
    char* const arguments[] = {program, defaults, nullptr};
    pid_t child = 0;
    const int failure = posix_spawnp(&child, program, &actions, nullptr, arguments, environ);
    posix_spawn_file_actions_destroy(&actions);
    if (failure != 0) {
        throw fail(failure == ENOENT ? "it is not installed (Debian package gnuplot-nox)"
                                     : std::generic_category().message(failure));
    }
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    std::string picture = ContentsOf(output.get());
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0 || picture.empty()) {
        throw fail(LastLine(ContentsOf(talk.get())));
    }
    return picture;
}

}  // namespace

void CheckPlotEnding(const UserPath& path) {
    if (path.Extension() != ".svg" && path.Extension() != ".png") {
        throw UsageError("unknown plot format", path.Typed(), "end the name in .svg or .png");
    }
}

void PlotCurve(const std::vector<CurvePoint>& curve, const std::string& title, const UserPath& path) {
    if (std::none_of(curve.begin(), curve.end(), [](const CurvePoint& point) { return point.samples > 0; })) {
        throw Error("cannot plot", path.Typed(), "the profile lies outside the image");
    }
    WriteWholeFile("plot", path, RunGnuplot(PlotScript(curve, title, path.Extension() == ".svg")));
}

}  // namespace host
