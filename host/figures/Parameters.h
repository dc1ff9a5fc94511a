// The named values of a figure, read and set as a parameter page would: angles in degrees.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "framework/support/NamedValues.h"
#include "host/figures/Figure.h"

namespace host {

/// A figure's parameter list. A mask, which has none of its own, gives its rectangle's. Throws Error when the figure
/// fails to give it.
SmartPtr<INamedCollection> ParameterList(const Figure& figure);

/// Hands a list to a figure, a mask included; the class decides what names that it lacks mean.
void ApplyParameterList(const Figure& figure, INamedCollection& list);

/// The entries of a figure's parameter list, angles to 15 digits; none for a figure without any.
std::vector<NamedValue> ReadParameters(const Figure& figure);

/// "degrees" for an angle, "px" for a length, and nothing for a ratio, a flag and an action.
const char* UnitOf(const NamedValue& value) noexcept;

/// Those of the values that can be set and mean something when they are.
std::vector<NamedValue> Settable(std::vector<NamedValue> values);

/// The values as one line of assignments, in quotes where a name has a blank.
std::string ParameterLine(const std::vector<NamedValue>& values);

/// `Key=value` as typed.
struct Assignment {
    std::string key;
    std::string value;

    Assignment() = default;
    /// Throws a usage error for a text without '=' or without a key.
    explicit Assignment(const std::string& text);
};

/// Sets named values and keeps all others bit for bit. Throws a usage error, with the figure unchanged, for an unknown
/// name, a name given twice, a value that is not a number (or not a whole one where only those are held), a negative
/// radius, and a value that the figure would not take.
void SetParameters(const Figure& figure, std::span<const Assignment> assignments);

}  // namespace host
