#include "bench/RatioTable.h"

#include <fmt/format.h>

#include <geos/version.h>
#include <boost/version.hpp>
#include <opencv2/core/version.hpp>

#include <algorithm>
#include <array>
#include <cstdio>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <thread>

namespace {

struct Contender {
    Role role;
    std::string who;
    double goal;
};

struct Operation {
    std::string name;
    std::vector<Contender> contenders;
};

std::vector<Operation>& Operations() {
    static std::vector<Operation> operations;
    return operations;
}

std::string BenchmarkName(const Operation& operation, const Contender& contender) {
    return operation.name + "/" + contender.who;
}

// ---------------------------------------------------------------------------------------------------
// Collecting times

double Nanoseconds(const benchmark::BenchmarkReporter::Run& run) {
    const auto rate = run.counters.find("items_per_second");
    if (rate != run.counters.end()) {
        return 1e9 / rate->second.value;
    }
    const bool manual = !run.run_name.time_type.empty();
    return 1e9 * (manual ? run.real_accumulated_time : run.cpu_accumulated_time) / static_cast<double>(run.iterations);
}

double Median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    const std::size_t half = values.size() / 2;
    return values.size() % 2 != 0 ? values[half] : 0.5 * (values[half - 1] + values[half]);
}

// The times of every contender, one for each pass over the table.
class Collector final : public benchmark::BenchmarkReporter {
  public:
    bool ReportContext(const Context&) override { return true; }

    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            if (run.error_occurred) {
                fmt::print(stderr, "{}: {}\n", run.run_name.function_name, run.error_message);
                m_failed = true;
            } else if (run.run_type == Run::RT_Iteration) {
                m_times[run.run_name.function_name].push_back(Nanoseconds(run));
            }
        }
    }

    bool Failed() const noexcept { return m_failed; }
    /// A contender's times in nanoseconds; none when it was not run.
    std::vector<double> TimesOf(const Operation& operation, const Contender& contender) const {
        const auto found = m_times.find(BenchmarkName(operation, contender));
        return found != m_times.end() ? found->second : std::vector<double>();
    }

  private:
    std::map<std::string, std::vector<double>> m_times;
    bool m_failed = false;
};

// ---------------------------------------------------------------------------------------------------
// Printing

// Three significant digits in the unit that suits them.
std::string TimeText(double nanoseconds) {
    const auto scaled = [](double value, const char* unit) {
        return fmt::format("{:.{}f} {}", value, value < 9.995 ? 2 : value < 99.95 ? 1 : 0, unit);
    };
    return nanoseconds < 1e3   ? scaled(nanoseconds, "ns")
           : nanoseconds < 1e6 ? scaled(nanoseconds / 1e3, "µs")
           : nanoseconds < 1e9 ? scaled(nanoseconds / 1e6, "ms")
                               : scaled(nanoseconds / 1e9, "s");
}

std::string RatioText(double ratio) { return fmt::format("{:.{}f} x", ratio, ratio < 9.95 ? 1 : 0); }

using Line = std::array<std::string, 5>;

// The median of the ratios of the passes: within one, contenders follow one another, and meet the machine
// at the same pace.
double MedianRatio(const std::vector<double>& over, const std::vector<double>& under) {
    std::vector<double> ratios;
    std::transform(over.begin(), over.begin() + static_cast<std::ptrdiff_t>(std::min(over.size(), under.size())),
                   under.begin(), std::back_inserter(ratios), std::divides<>());
    return Median(std::move(ratios));
}

// The last two columns: how ours compares, and what is aimed at.
std::array<std::string, 2> Comparison(const Contender& contender, const std::vector<double>& ours,
                                      const std::vector<double>& times) {
    const auto goal = [&contender](const char* bound, bool reached) {
        return contender.goal == 0.0 ? "" : fmt::format("{} {:g}{}", bound, contender.goal, reached ? "" : ": missed");
    };
    switch (contender.role) {
        case Role::limit: {
            const double ratio = MedianRatio(ours, times);
            return {RatioText(ratio) + " as long", goal("at most", ratio <= contender.goal)};
        }
        case Role::peer: {
            const double ratio = MedianRatio(times, ours);
            return {ratio < 1.0 ? RatioText(1.0 / ratio) + " slower" : RatioText(ratio) + " faster",
                    goal("at least", ratio >= contender.goal)};
        }
        default:
            return {};
    }
}

std::vector<Line> Lines(const Collector& collector) {
    std::vector<Line> lines;
    for (const Operation& operation : Operations()) {
        std::vector<double> ours;
        for (const Contender& contender : operation.contenders) {
            const std::vector<double> times = collector.TimesOf(operation, contender);
            const bool first = contender.role == Role::ours;
            ours = first ? times : ours;
            if (!ours.empty() && !times.empty()) {
                const auto [ratio, goal] = Comparison(contender, ours, times);
                lines.push_back({first ? operation.name : "", contender.who, TimeText(Median(times)), ratio, goal});
            }
        }
    }
    return lines;
}

void PrintTable(std::vector<Line> lines) {
    lines.insert(lines.begin(), {"operation", "by", "time", "ours is", "goal"});
    std::array<std::size_t, 5> widths{};
    for (const Line& line : lines) {
        for (std::size_t i = 0; i < line.size(); ++i) {
            widths[i] = std::max(widths[i], line[i].size());
        }
    }
    const auto print = [&widths](const Line& line) {
        fmt::print("| {:<{}} | {:<{}} | {:>{}} | {:>{}} | {:<{}} |\n", line[0], widths[0], line[1], widths[1], line[2],
                   widths[2], line[3], widths[3], line[4], widths[4]);
    };
    print(lines.front());
    const auto rule = [&widths](std::size_t i) { return std::string(widths[i], '-'); };
    fmt::print("|-{}-|-{}-|-{}:|-{}:|-{}-|\n", rule(0), rule(1), rule(2), rule(3), rule(4));
    std::for_each(lines.begin() + 1, lines.end(), print);
}

// ---------------------------------------------------------------------------------------------------
// What the numbers depend on

std::string Processor() {
    std::ifstream info("/proc/cpuinfo");
    for (std::string line; std::getline(info, line);) {
        if (line.starts_with("model name")) {
            return line.substr(line.find(':') + 2);
        }
    }
    return "unknown processor";
}

void PrintMachine() {
#ifdef __clang__
    constexpr const char* kCompiler = "Clang " __clang_version__;
#else
    constexpr const char* kCompiler = "GCC " __VERSION__;
#endif
    fmt::print("{}, {} processors; {}; OpenCV {}, Boost {}.{}, GEOS {}.\n\n", Processor(),
               std::thread::hardware_concurrency(), kCompiler, CV_VERSION, BOOST_VERSION / 100000,
               BOOST_VERSION / 100 % 1000, GEOS_VERSION);
}

}  // namespace

Row::Row(std::string operation, Clock clock) : m_index(Operations().size()), m_clock(clock) {
    Operations().push_back({std::move(operation), {}});
}

Row& Row::Add(Role role, std::string who, double goal, Body body) {
    Operation& operation = Operations()[m_index];
    operation.contenders.push_back({role, std::move(who), goal});
    benchmark::internal::Benchmark* added =
        benchmark::RegisterBenchmark(BenchmarkName(operation, operation.contenders.back()).c_str(), std::move(body));
    if (m_clock == Clock::manual) {
        added->UseManualTime();
    }
    return *this;
}

int RunTable(int argc, char** argv) {
    int passes = 15;
    // What the command line says comes later and wins.
    char time[] = "--benchmark_min_time=0.05";
    std::vector<char*> arguments{argv[0], time};
    for (int i = 1; i < argc; ++i) {
        if (std::sscanf(argv[i], "--passes=%d", &passes) != 1) {
            arguments.push_back(argv[i]);
        }
    }
    int count = static_cast<int>(arguments.size());
    arguments.push_back(nullptr);
    benchmark::Initialize(&count, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) {
        return 1;
    }
    if (passes < 1) {
        fmt::print(stderr, "--passes: at least 1\n");
        return 1;
    }
    Collector collector;
    for (int pass = 0; pass < passes; ++pass) {
        benchmark::RunSpecifiedBenchmarks(&collector);
    }
    benchmark::ClearRegisteredBenchmarks();
    PrintMachine();
    PrintTable(Lines(collector));
    return collector.Failed() ? 1 : 0;
}
