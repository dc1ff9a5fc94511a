// Edits of the set: shown of copies while the hand moves, saved, taken back.
#include <fmt/format.h>

#include <utility>

#include "host/sets/SetFile.h"
#include "workbench/Api.h"
#include "workbench/Editing.h"
#include "workbench/SetEdits.h"

namespace host::workbench {

namespace {

constexpr std::size_t kLongestBody = std::size_t{4} << 20;
// To copy more figures takes longer than to read the set anew after an edit that fails.
constexpr std::size_t kMostCopies = 200;

Json BodyOf(const httplib::Request& request) {
    // Other pages cannot send this type without asking, and are not answered.
    if (!request.get_header_value("Content-Type").starts_with("application/json")) {
        throw UsageError("bad request", request.path, "its Content-Type is application/json");
    }
    if (request.body.size() > kLongestBody) {
        throw Refused(413, "too large", request.path, "an edit has at most 4 MiB");
    }
    Json body = Json::parse(request.body);
    if (!body.is_object()) {
        throw UsageError("bad request", request.path, "its body is an object");
    }
    return body;
}

// What to measure along with an edit; nothing unless it is asked for.
std::optional<Measurement> MeasurementOf(const Json& body, Api& api) {
    const auto asked = body.find("measure");
    if (asked == body.end() || asked->is_null()) {
        return std::nullopt;
    }
    Measurement measurement;
    measurement.channels = asked->value("channels", false);
    measurement.columns = PickColumns(asked->value("columns", ""), {.channels = measurement.channels});
    measurement.rule = asked->value("exact", false) ? PixelRule::exact : PixelRule::outline;
    measurement.page = api.images.Page({asked->value("image", 0), asked->value("page", 1)});
    measurement.scale = ScaleOf(api, asked->value("pixelSize", ""), *measurement.page);
    measurement.page->AwaitWhole();
    return measurement;
}

std::optional<std::int64_t> RevisionOf(const Json& body) {
    const auto revision = body.find("revision");
    return revision == body.end() ? std::nullopt : std::optional(revision->get<std::int64_t>());
}

RoiSet CopiesOf(const std::set<std::string>& names, const Desk& desk) {
    RoiSet copies;
    for (const std::string& name : names) {
        copies.Add(ReadBack(desk.TheSession(), desk.Set().At(name)));
    }
    return copies;
}

// What would become of the figures, once they are saved.
std::string Preview(const Desk& desk, const Json& body, const std::optional<Measurement>& measurement) {
    const Edits edits(body.value("edits", Json()), desk.Set());
    RoiSet copies = CopiesOf(edits.Named(), desk);
    for (const std::string& name : edits.ApplyTo(copies, desk.TheSession())) {
        Figure& figure = copies.At(name);
        figure = ReadBack(desk.TheSession(), figure);
    }
    std::string text = fmt::format("{{\"revision\":{},\"removed\":[],\"figures\":[", desk.History().Current());
    for (const Figure& figure : copies.Figures()) {
        text += (&figure == &copies.Figures().front() ? "" : ",") +
                FigureText(figure, desk.PlaceOf(figure.name), Detail::nodes, kTolerance);
    }
    return text + ']' + MeasuredText(copies.Figures(), measurement) + '}';
}

void CheckStillSo(const Desk& desk, std::optional<std::int64_t> revision, const std::set<std::string>& names) {
    const std::int64_t known = revision.value_or(desk.History().Current());
    for (const std::string& name : names) {
        if (desk.History().Of(name) > known) {
            throw Conflict("edited meanwhile", name, "somebody else changed it; look at it as it is now");
        }
    }
    if (known > desk.History().Current()) {
        throw Conflict("edited meanwhile", "revision", "the server was started anew; load the set again");
    }
}

// An edit that fails half way has the whole set read anew, so it is tried on copies first.
void Try(const Edits& edits, const Desk& desk) {
    if (edits.Named().size() <= kMostCopies) {
        RoiSet copies = CopiesOf(edits.Named(), desk);
        edits.ApplyTo(copies, desk.TheSession());
    }
}

std::string Edit(Desk& desk, const Json& body, const std::optional<Measurement>& measurement) {
    const std::optional<std::int64_t> revision = RevisionOf(body);
    desk.File().Refresh();
    const Edits edits(body.value("edits", Json()), desk.Set());
    CheckStillSo(desk, revision, edits.Named());
    Try(edits, desk);
    const auto apply = [&](RoiSet& set) {
        CheckStillSo(desk, revision, edits.Named());
        return edits.ApplyTo(set, desk.TheSession());
    };
    return EditSetOf(desk, edits.Summary(), revision, {}, apply, measurement);
}

}  // namespace

void AddEditRoutes(Routes& routes, Api& api) {
    routes.Post("/api/edit", [&api](const auto& request, auto& response) {
        CheckWritable(api, request.path);
        const Json body = BodyOf(request);
        const auto measurement = MeasurementOf(body, api);
        SendJsonText(response, api.module.Ask([&](Desk& desk) { return Edit(desk, body, measurement); }));
    });
    routes.Post("/api/preview", [&api](const auto& request, auto& response) {
        const Json body = BodyOf(request);
        const auto measurement = MeasurementOf(body, api);
        SendJsonText(response, api.module.Ask([&](const Desk& desk) { return Preview(desk, body, measurement); }));
    });
    for (const auto& [path, step] : {std::pair("/api/undo", Step::undo), std::pair("/api/redo", Step::redo)}) {
        routes.Post(path, [&api, step = step](const auto& request, auto& response) {
            CheckWritable(api, request.path);
            const auto revision = RevisionOf(BodyOf(request));
            SendJsonText(response, api.module.Ask([&](Desk& desk) { return StepSetOf(desk, revision, step); }));
        });
    }
}

}  // namespace host::workbench
