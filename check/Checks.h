// How the checks of one group report: what is being checked now, and whether it holds.
#pragma once

#include <string>
#include <string_view>
#include <utility>

#include "contract/Result.h"

class TestedModule;

/// What the child that runs a group tells its parent, in memory that both see: it is still there when
/// the child is not.
struct CheckProgress {
    int passed = 0;
    int failed = 0;
    bool finished = false;
    char sentence[200] = "the module loads";
};

/// What the user may choose.
struct CheckOptions {
    unsigned seed = 1;
    int repeat = 5;
    int secondsPerGroup = 60;
};

/// Ends the checks of one subject, which cannot go on: something they stand on failed.
struct CheckFailed {
    std::string expected;
    std::string got;
};

/// A result code by its name, or in hexadecimal.
std::string CodeText(Result code);

/// Counts the checks of one group, and tells of those that fail.
class CheckReport {
  public:
    CheckReport(std::string_view group, CheckProgress& progress) : m_group(group), m_progress(progress) {}

    /// Says what is checked from now on, in a short sentence. Say it before what is tested is called: it is
    /// what a crash is blamed on.
    void Begin(std::string_view sentence);

    /// Counts a check of the current sentence; one that fails is told on standard error.
    void Expect(bool holds, std::string_view expected, std::string_view got);
    void Code(Result actual, Result expected) { Expect(actual == expected, CodeText(expected), CodeText(actual)); }
    void Equal(long actual, long expected) {
        Expect(actual == expected, std::to_string(expected), std::to_string(actual));
    }
    void Equal(const std::string& actual, const std::string& expected) {
        Expect(actual == expected, '"' + expected + '"', '"' + actual + '"');
    }

    /// To the last bit.
    void Bits(double actual, double expected);

    int Failures() const noexcept { return m_progress.failed; }

    /// Runs `body`; what it cannot go on from is one failed check.
    template <class Body>
    void Try(Body body) {
        try {
            body();
        } catch (const CheckFailed& failure) {
            Expect(false, failure.expected, failure.got);
        }
    }

  private:
    // The first ones tell the story.
    static constexpr int kMostTold = 20;

    std::string_view m_group;
    CheckProgress& m_progress;
};

/// The checks of one group of a module.
class Checks : public CheckReport {
  public:
    Checks(std::string_view group, const CheckOptions& options, TestedModule& module, CheckProgress& progress)
        : CheckReport(group, progress), options(options), module(module) {}

    const CheckOptions& options;
    TestedModule& module;
};

/// Tells of a failed check on standard error, in one line of at most 300 bytes: what is too long is cut.
void TellFailure(std::string_view group, std::string_view sentence, std::string_view expected, std::string_view got);
