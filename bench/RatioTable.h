// The table of benchmarks: what is measured, what stands beside it, and how the ratios are printed.
//
// A row is an operation. Ours is measured through the built module; limits bound it from below: the bare
// arithmetic inlined, what the language or the library underneath needs for the same result; peers are the
// libraries that a user would pick instead. All of them run in the same process, one after the other in
// every pass over the table, so that a change of the machine's pace meets all alike.
#pragma once

#include <benchmark/benchmark.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

/// What Google Benchmark runs. A body that says how many items it processed is reported by the item.
using Body = std::function<void(benchmark::State&)>;

/// The clock of a row: the time that this thread works, or the time that the bodies measure themselves
/// and say by SetIterationTime (for other processes, of which this thread's time says nothing).
enum class Clock { thread, manual };

/// What a contender is to ours.
enum class Role { ours, limit, peer };

/// Adds an operation to the table; its contenders follow. A goal of 0 is none.
class Row {
  public:
    explicit Row(std::string operation, Clock clock = Clock::thread);

    Row& Ours(Body body) { return Add(Role::ours, "ours", 0.0, std::move(body)); }
    /// What bounds ours from below; ours should take at most `atMost` times as long.
    Row& Limit(std::string what, double atMost, Body body) {
        return Add(Role::limit, std::move(what), atMost, std::move(body));
    }
    /// What a user would use instead; ours should be at least `timesFaster` times as fast.
    Row& Peer(std::string who, double timesFaster, Body body) {
        return Add(Role::peer, std::move(who), timesFaster, std::move(body));
    }

  private:
    Row& Add(Role role, std::string who, double goal, Body body);

    std::size_t m_index;
    Clock m_clock;
};

/// Runs the rows that the command line selects as often as `--passes=N` says, prints the table with the
/// medians of the passes' times and ratios, and forgets the rows. The exit code: 0,
/// or 1 when an argument is not known or a benchmark failed.
int RunTable(int argc, char** argv);

/// A body that makes one call over and over. What it returns counts as used, and everything that it can
/// reach counts as changed by others, as behind a call that is not inlined.
template <class Call>
Body Repeat(Call call) {
    return [call](benchmark::State& state) mutable {
        for (auto _ : state) {
            auto result = call();
            benchmark::DoNotOptimize(result);
            benchmark::ClobberMemory();
        }
    };
}

/// The same with one item after the other; the items start anew when all were used.
template <class Item, class Call>
Body ForEach(std::vector<Item> items, Call call) {
    return
        [items = std::make_shared<const std::vector<Item>>(std::move(items)), call](benchmark::State& state) mutable {
            std::size_t next = 0;
            for (auto _ : state) {
                auto result = call((*items)[next]);
                benchmark::DoNotOptimize(result);
                benchmark::ClobberMemory();
                next = next + 1 < items->size() ? next + 1 : 0;
            }
        };
}
