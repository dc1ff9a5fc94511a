// What a build of the module is measured by, as tables: its classes, what each answers, and the
// operations of every figure with their slots. Written down here once more, apart from the headers, so
// that a header changed by mistake is found out too.
#pragma once

#include <array>
#include <limits>
#include <span>
#include <string_view>
#include <vector>

#include "contract/Result.h"

/// One operation of a figure, callable by its number. Each letter of the signature is one argument:
///   i  an int                d  a double             t  an ITransform (the numbers of an AffineMap)
///   I  int written           D  double written       m  an ICIF image (its width and height)
///   J  the same, may be null N  the same, may be null  g  an IGeometry (pairs x, y)
///   U  unsigned written      o  an object handed out
struct Operation {
    int slot;
    const char* name;
    const char* signature;
};

/// What an output holds that the operation did not write.
inline constexpr double kUntouched = -98765.0;
/// What matches any output.
inline constexpr double kAnything = -98766.0;

/// One call of a scenario and what must come of it. Arguments are numbers in the order of the
/// signature; interfaces take as many as they need, and are null without any. An object that is handed
/// out reads 1, a null one 0.
///
/// Besides the operations there are steps on the figure's parameter list: `set NAME` with a number,
/// `press NAME` with a whole one, `type NAME=TEXT`, and `read NAME`. Several names and values at once are parted by
/// semicolons.
struct Step {
    const char* operation;
    std::vector<double> arguments = {};
    std::vector<double> outputs = {};
    Result code = S_OK;
};

/// A class as a host knows it.
struct ClassContract {
    const char* name;
    /// The interfaces it answers besides IUnknown.
    std::vector<const char*> answers;
    /// The operations of its IROI, slots counted from the three of IUnknown.
    std::vector<Operation> operations;
    /// Brings a new figure away from its defaults, to values that survive every way of keeping them.
    std::vector<Step> typical;

    bool Answers(std::string_view interfaceName) const noexcept;
    const Operation& At(std::string_view operation) const;
};

/// The eight classes, in the order in which the module looks a name up.
const std::vector<ClassContract>& ClassContracts();
const ClassContract& ClassNamed(std::string_view name);

/// The names of all interfaces of the framework, IUnknown apart.
std::span<const char* const> InterfaceNames() noexcept;
