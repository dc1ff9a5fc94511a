#include "host/draw/Plot.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <memory>
#include <string_view>
#include <system_error>

#include "framework/support/Utf8.h"
#include "host/base/Error.h"
#include "host/base/SafeFile.h"
#include "host/base/Text.h"

namespace host {

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

struct Plot {
    std::string title;
    std::string xLabel;
    std::string yLabel;
    std::string commands;  // data and what is drawn of them, in the plotter's language
};

void WritePlot(const UserPath& path, const Plot& plot) {
    const bool svg = path.Extension() == ".svg";
    std::string script = svg ? "set terminal svg size 960,540 dynamic font 'sans,14' background rgb 'white'\n"
                             : "set terminal pngcairo size 1280,720 font 'sans,13' background rgb 'white'\n";
    script += fmt::format(
        "set encoding utf8\n"
        "set title {} noenhanced\n"
        "set xlabel {}\n"
        "set ylabel {}\n"
        "set grid back linecolor rgb '#d0d0d0' linetype 1 linewidth 0.5\n"
        "set border 3 linecolor rgb '#404040'\n"
        "set tics nomirror\n"
        "set key top right noenhanced\n",
        Quoted(plot.title), Quoted(plot.xLabel), Quoted(plot.yLabel));
    WriteWholeFile("plot", path, RunGnuplot(script + plot.commands));
}

}  // namespace

void CheckPlotEnding(const UserPath& path) {
    if (path.Extension() != ".svg" && path.Extension() != ".png") {
        throw UsageError("unknown plot format", path.Typed(), "end the name in .svg or .png");
    }
}

void PlotCurve(const std::vector<CurvePoint>& curve, const std::string& title, const UserPath& path) {
    if (std::none_of(curve.begin(), curve.end(), [](const CurvePoint& point) { return point.samples > 0; })) {
        throw Error("cannot plot", path.Typed(), "the profile has no values on the image");
    }
    std::string commands =
        fmt::format("set xrange [0:{}]\n$curve << END\n", NumberText(std::max(curve.back().distance, 1.0)));
    for (const CurvePoint& point : curve) {
        // A blank line makes a gap where the image has no value.
        commands += point.samples > 0 ? fmt::format("{} {} {} {}\n", NumberText(point.distance), NumberText(point.mean),
                                                    NumberText(point.mean - point.deviation),
                                                    NumberText(point.mean + point.deviation))
                                      : "\n";
    }
    commands +=
        "END\n"
        "plot $curve using 1:3:4 with filledcurves fillcolor rgb '#b9d3ee' title 'deviation across the band', "
        "$curve using 1:2 with lines linewidth 2 linecolor rgb '#1f5fa8' title 'mean across the band'\n";
    WritePlot(path, {title, "distance along the profile (pixels)", "value (grey levels)", std::move(commands)});
}

void PlotHistograms(const std::vector<NamedHistogram>& histograms, const std::string& title, const UserPath& path) {
    std::string commands;
    std::string drawn;
    for (const auto& [name, histogram] : histograms) {
        const std::string data = fmt::format("$data{}", &name - &histograms.front().name);
        commands += data + " << END\n";
        for (std::size_t i = 0; i < histogram.areas.size(); ++i) {
            commands += fmt::format("{} {}\n{} {}\n", NumberText(histogram.edges[i]), NumberText(histogram.areas[i]),
                                    NumberText(histogram.edges[i + 1]), NumberText(histogram.areas[i]));
        }
        commands += "END\n";
        drawn += fmt::format("{} {} using 1:2 with lines linewidth 2 title {}", drawn.empty() ? "plot" : ",", data,
                             Quoted(name));
    }
    WritePlot(path, {title, "value (grey levels)", "area (pixels)", commands + "set yrange [0:]\n" + drawn + '\n'});
}

}  // namespace host
