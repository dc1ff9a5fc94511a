// What an operation leaves of a figure, by what the figure answered before.
#pragma once

#include "check/Rules.h"

/// A query, and what it is to give.
struct Wanted {
    const char* query;
    Numbers arguments;
    Numbers outputs;
};

/// Works out what a figure will be after an operation: nothing changes but what the operation is for. Empty where a
/// rule says too little, as for steps on parameter lists, or where the figure is beyond a picture.
std::vector<Wanted> Foresee(const ClassContract& figure, IROI& roi, std::string_view operation,
                            const Numbers& arguments);

/// Checks that a figure gives copies of itself that are what a copy is to be, where its class gives any.
void CheckCopying(Checks& checks, const ClassContract& figure, IROI& roi);

/// Checks that it came so.
void CheckForeseen(Checks& checks, const ClassContract& figure, IROI& roi, const std::vector<Wanted>& foreseen);
