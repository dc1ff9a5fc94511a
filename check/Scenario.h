// Calling a figure's operations by their slots, and playing scenarios of such calls.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "check/TestedModule.h"

/// What a call came to: its code, its outputs in order (kUntouched where it wrote nothing, 1 for an
/// object and 0 for a null one), and the object that it handed out.
struct Answer {
    Result code = S_OK;
    std::vector<double> outputs;
    SmartPtr<IUnknown> object;

    /// `S_OK (75, 50)`.
    std::string Text() const;
};

enum class NullOutputs { kNo, kWhereAllowed };

/// Calls an operation of a figure by its slot. The figure's address is that of its IROI.
Answer Call(IROI& figure, const Operation& operation, std::span<const double> arguments,
            NullOutputs nullOutputs = NullOutputs::kNo);

/// Equal within 1e-9, relative above 1; two NaNs are equal.
bool SameNumber(double a, double b) noexcept;
bool SameNumbers(std::span<const double> a, std::span<const double> b) noexcept;
/// The same, where what is wanted may be kAnything.
bool AreAsWanted(std::span<const double> actual, std::span<const double> wanted) noexcept;
std::string NumbersText(std::span<const double> numbers);

/// `SetCornerPoint(4, 100, 100)`.
std::string CallText(const char* operation, std::span<const double> arguments);

/// Takes one step, on the figure's operations or its parameter list. Throws CheckFailed where it cannot be taken.
Answer Take(const ClassContract& figure, const SmartPtr<IROI>& roi, const Step& step);

/// Takes steps on a figure; each that does not come out as told is a failed check.
void TakeSteps(Checks& checks, const ClassContract& figure, const SmartPtr<IROI>& roi, std::span<const Step> steps);

/// Flags of a dragged node, written down once more.
inline constexpr int kCenterFlag = 0x100;
inline constexpr int kBothFlag = 0x200;
/// What a snapped roll is compared with: pi / 12 from ten digits of pi.
inline constexpr double kSnapStep = 0.26179938783333334;

/// A map that is not affine: what it makes of a figure tells which points were mapped.
inline const std::vector<double> kBentMap = {1.5, 0.5, -0.25, 2, 10, -5, 0.01};
/// A map that moves every further point by another 100: what it makes of a figure tells their order.
inline const std::vector<double> kDriftMap = {1, 0, 0, 1, 0, 0, 0, 0, 100};

/// One list of steps after another.
std::vector<Step> After(std::vector<Step> setup, const std::vector<Step>& then);

/// What happens to a new figure of a class.
struct Scenario {
    const char* sentence;
    const char* className;
    std::vector<Step> steps;
};
/// Plays scenarios. Each ends with the rules that tie a figure's queries together, and one without a failure is
/// played once more with them after every step.
void Play(Checks& checks, std::span<const Scenario> scenarios);

/// A new figure away from its defaults.
SmartPtr<IROI> NewTypical(Checks& checks, const ClassContract& figure);

/// A question that a figure was asked, and its answer.
struct Observation {
    std::string question;
    Answer answer;
};
using Observations = std::vector<Observation>;

/// Everything that a figure says when asked with small arguments, its parameters included. Asking for a grip is a
/// question too, though it raises the grip's length.
Observations Observe(const SmartPtr<IROI>& roi, const ClassContract& figure);

/// Checks that a figure says what was said before, and tells the first answer that differs.
void ExpectSame(Checks& checks, const ClassContract& figure, const Observations& actual, const Observations& expected);

/// Runs checks for every class; what one cannot go on from leaves the others alone.
template <class Body>
void ForEachClass(Checks& checks, Body body) {
    for (const ClassContract& figure : ClassContracts()) {
        checks.Try([&] { body(figure); });
    }
}
