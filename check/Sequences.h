// Sequences of calls with arguments that are chosen one after another, absurd ones among them.
#pragma once

#include <cstdint>
#include <string>

#include "check/Scenario.h"

/// Where a sequence takes its choices from: random numbers, or the bytes of a fuzzer.
class Choices {
  public:
    virtual ~Choices() = default;

    /// A number from 0 to `count` - 1; `count` is at most 65536.
    virtual int Below(int count) = 0;
    /// Whether nothing is left to choose from.
    virtual bool AtEnd() const noexcept { return false; }

    bool OneIn(int count) { return Below(count) == 0; }
};

/// Plays one sequence on a figure of a class: every call must return a known code, keep the counts, give back what was
/// set, and change nothing when it is refused. `again` says how to have the same sequence once more.
void PlaySequence(Checks& checks, const ClassContract& figure, Choices& choices, const std::string& again);
