// A figure's parameter list, by the operations of its IParametricObject.
#pragma once

#include <string>
#include <vector>

#include "check/TestedModule.h"
#include "framework/support/NamedValues.h"

/// The entries of the list that a figure gives. Throws CheckFailed when it gives none.
std::vector<NamedValue> ParametersOf(const SmartPtr<IROI>& roi, int flags = 0);

/// Hands a figure a list of named values.
Result SetParametersOf(const SmartPtr<IROI>& roi, const std::vector<NamedValue>& values);

/// `CenterX=50 CenterY=50`, with the presentation kinds that are not 0.
std::string ParametersText(const std::vector<NamedValue>& values);
