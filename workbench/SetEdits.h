// Edits of the set's file on the thread of the module, and what they answer.
#pragma once

#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "workbench/Api.h"

namespace host::workbench {

/// Throws Refused for a workbench that only reads.
void CheckWritable(const Api& api, const std::string& what);

/// The answer to an edit: what is new since a revision, and the warnings.
std::string AnswerSince(const Desk& desk, std::int64_t revision, const std::vector<Warning>& warnings,
                        const std::optional<Measurement>& measurement = std::nullopt);

/// Saves what `edit` makes of the set and gives the answer; the warnings are those of the edit itself, once it is done.
/// `what` is the line of the history. Without a revision the answer has what is new since just before. Throws Error.
std::string EditSetOf(Desk& desk, const std::string& what, std::optional<std::int64_t> revision,
                      const std::vector<Warning>& warnings, const std::function<OpenSet::Names(RoiSet&)>& edit,
                      const std::optional<Measurement>& measurement = std::nullopt);

/// Takes the last change back, or does it again, and gives the answer.
std::string StepSetOf(Desk& desk, std::optional<std::int64_t> revision, Step step);

/// `,"measured":..` of figures, where it is asked for.
std::string MeasuredText(const std::vector<Figure>& figures, const std::optional<Measurement>& measurement);

}  // namespace host::workbench
