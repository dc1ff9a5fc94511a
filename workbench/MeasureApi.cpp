// What images hold at figures.
#include <algorithm>

#include "workbench/Api.h"

namespace host::workbench {

namespace {

// The figures that a request names, or all, as places in the set.
std::vector<std::string> NamesWanted(const Desk& desk, const std::vector<std::string>& named) {
    if (!named.empty()) {
        return named;
    }
    std::vector<std::string> names;
    for (const Figure& figure : desk.Set().Figures()) {
        names.push_back(figure.name);
    }
    return names;
}

// A long table comes in slices, between which others get their turn. A figure that goes meanwhile has no rows.
void SendTable(Api& api, const httplib::Request& request, httplib::Response& response) {
    constexpr std::size_t kSlice = 50;
    Measurement measurement;
    measurement.channels = FlagParameter(request, "channels");
    measurement.columns = PickColumns(request.has_param("columns") ? TextParameter(request, "columns") : "",
                                      {.channels = measurement.channels});
    measurement.rule = FlagParameter(request, "exact") ? PixelRule::exact : PixelRule::outline;
    measurement.page = PageParameter(request, api.images);
    measurement.scale = ScaleParameter(request, api, *measurement.page);
    measurement.page->AwaitWhole();
    const std::vector<std::string> named = TextParameters(request, "name");
    std::int64_t revision = 0;
    const std::vector<std::string> names = api.module.Ask([&](const Desk& desk) {
        revision = desk.History().Current();
        std::for_each(named.begin(), named.end(), [&desk](const std::string& name) { desk.Set().At(name); });
        return NamesWanted(desk, named);
    });
    Json rows = Json::array();
    for (std::size_t first = 0; first < names.size(); first += kSlice) {
        api.module.Ask([&](const Desk& desk) {
            for (std::size_t i = first; i < std::min(first + kSlice, names.size()); ++i) {
                if (desk.Set().Has(names[i])) {
                    AppendRows(desk.Set().At(names[i]), measurement, rows);
                }
            }
        });
    }
    Json table = TableOf(measurement, std::move(rows));
    table["revision"] = revision;
    SendJson(response, table);
}

template <class Measure>
void SendMeasured(Api& api, const httplib::Request& request, httplib::Response& response, Measure measure) {
    const auto page = PageParameter(request, api.images);
    page->AwaitWhole();
    const auto channel = ChannelParameter(request, *page);
    const std::string name = TextParameter(request, "name");
    SendJson(response, api.module.Ask([&](const Desk& desk) { return measure(desk.Set().At(name), *page, channel); }));
}

void SendProfile(Api& api, const httplib::Request& request, httplib::Response& response) {
    SendMeasured(api, request, response, [&](const Figure& figure, const LoadedPage& page, std::optional<int> channel) {
        return ProfileOf(figure, page, channel, ScaleParameter(request, api, page));
    });
}

}  // namespace

void AddMeasureRoutes(Routes& routes, Api& api) {
    routes.Get("/api/measure", [&api](const auto& request, auto& response) { SendTable(api, request, response); });
    routes.Get("/api/histogram",
               [&api](const auto& request, auto& response) { SendMeasured(api, request, response, HistogramOf); });
    routes.Get("/api/profile", [&api](const auto& request, auto& response) { SendProfile(api, request, response); });
}

}  // namespace host::workbench
