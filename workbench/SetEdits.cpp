#include "workbench/SetEdits.h"

#include <utility>

namespace host::workbench {

namespace {

// How long others may keep the set while everybody waits.
constexpr double kPatience = 5.0;

Json TextsOf(const std::vector<Warning>& warnings) {
    Json texts = Json::array();
    for (const Warning& warning : warnings) {
        texts.push_back(warning.subject + ": " + warning.text);
    }
    return texts;
}

std::vector<Figure> NewSince(const Desk& desk, std::int64_t revision) {
    std::vector<Figure> figures;
    for (const std::size_t place : desk.NewSince(revision)) {
        figures.push_back(desk.Set().Figures()[place]);
    }
    return figures;
}

}  // namespace

void CheckWritable(const Api& api, const std::string& what) {
    if (api.readOnly) {
        throw Refused(403, "refused", what, "the workbench was opened with --read-only");
    }
}

std::string AnswerSince(const Desk& desk, std::int64_t revision, const std::vector<Warning>& warnings,
                        const std::optional<Measurement>& measurement) {
    return '{' + desk.ChangesSince(revision, kTolerance) + ",\"warnings\":" + TextOf(TextsOf(warnings)) +
           (measurement ? MeasuredText(NewSince(desk, revision), measurement) : "") + '}';
}

std::string EditSetOf(Desk& desk, const std::string& what, std::optional<std::int64_t> revision,
                      const std::vector<Warning>& warnings, const std::function<OpenSet::Names(RoiSet&)>& edit,
                      const std::optional<Measurement>& measurement) {
    desk.File().Refresh();
    const std::int64_t since = revision.value_or(desk.History().Current());
    std::vector<Warning> all = desk.File().Edit({.what = what, .wait = kPatience}, edit).warnings;
    all.insert(all.end(), warnings.begin(), warnings.end());
    return AnswerSince(desk, since, all, measurement);
}

std::string StepSetOf(Desk& desk, std::optional<std::int64_t> revision, Step step) {
    desk.File().Refresh();
    const std::int64_t since = revision.value_or(desk.History().Current());
    return AnswerSince(desk, since, desk.File().Step({.wait = kPatience}, step).warnings);
}

std::string MeasuredText(const std::vector<Figure>& figures, const std::optional<Measurement>& measurement) {
    if (!measurement) {
        return "";
    }
    Json rows = Json::array();
    for (const Figure& figure : figures) {
        AppendRows(figure, *measurement, rows);
    }
    return ",\"measured\":" + TextOf(TableOf(*measurement, std::move(rows)));
}

}  // namespace host::workbench
