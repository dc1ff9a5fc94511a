// What a set holds: its figures, their outlines and what lies under a point.
#include <fmt/format.h>

#include <algorithm>

#include "host/draw/Overlay.h"
#include "host/sets/formats/Formats.h"
#include "workbench/Api.h"

namespace host::workbench {

namespace {

Json ColumnsJson(bool withAreas) {
    const std::vector<std::string> shown = NamesOf(PickColumns("", {.areas = withAreas}));
    Json columns = Json::array();
    for (const Column& column : AllColumns()) {
        const bool isShown = std::find(shown.begin(), shown.end(), column.name) != shown.end();
        columns.push_back({{"name", column.name}, {"meaning", column.meaning}, {"shown", isShown}});
    }
    return columns;
}

Json FormatsJson() {
    Json formats = Json::array();
    for (const FigureFormat& format : FigureFormats()) {
        formats.push_back({{"name", format.name},
                           {"ending", format.ending},
                           {"what", format.what},
                           {"reads", format.read != nullptr},
                           {"writes", format.write != nullptr}});
    }
    return formats;
}

Json ColoursJson() {
    Json colours = Json::array();
    for (const Colour& colour : FigureColours()) {
        colours.push_back({colour.red, colour.green, colour.blue});
    }
    return colours;
}

Json ImagesJson(const ImageStore& images) {
    Json list = Json::array();
    for (const UserPath& image : images.Images()) {
        list.push_back({{"index", list.size()}, {"name", image.Typed()}});
    }
    return list;
}

void SendState(Api& api, httplib::Response& response) {
    Json state = api.module.Ask([](const Desk& desk) {
        Json known = ChangeJson(desk);
        known["figures"] = desk.Set().Figures().size();
        known["classes"] = ClassesJson(desk.TheSession());
        return known;
    });
    state["set"] = api.set.Typed();
    state["readOnly"] = api.readOnly;
    state["colours"] = ColoursJson();
    state["images"] = ImagesJson(api.images);
    state["columns"] = ColumnsJson(api.scale.has_value());
    state["formats"] = FormatsJson();
    SendJson(response, state);
}

std::string AllFigures(const Desk& desk, double tolerance) {
    std::string text = fmt::format("{{\"revision\":{},\"count\":{},\"removed\":[],\"figures\":[",
                                   desk.History().Current(), desk.Set().Figures().size());
    const auto& figures = desk.Set().Figures();
    for (std::size_t i = 0; i < figures.size(); ++i) {
        text += (i == 0 ? "" : ",") + FigureText(figures[i], i, Detail::outline, tolerance);
    }
    return text + "]}";
}

std::string SomeFigures(const Desk& desk, const std::vector<std::string>& names, double tolerance) {
    std::string text = fmt::format("{{\"revision\":{},\"count\":{},\"removed\":[],\"figures\":[",
                                   desk.History().Current(), desk.Set().Figures().size());
    for (const std::string& name : names) {
        const Figure& figure = desk.Set().At(name);
        text += (&name == &names.front() ? "" : ",") + FigureText(figure, desk.PlaceOf(name), Detail::nodes, tolerance);
    }
    return text + "]}";
}

void SendFigures(Api& api, const httplib::Request& request, httplib::Response& response) {
    const double tolerance = ToleranceParameter(request);
    const std::vector<std::string> names = TextParameters(request, "name");
    SendJsonText(response, api.module.Ask([&](const Desk& desk) {
        if (request.has_param("since")) {
            return fmt::format("{{\"count\":{},{}}}", desk.Set().Figures().size(),
                               desk.ChangesSince(IntegerParameter(request, "since"), tolerance));
        }
        return names.empty() ? AllFigures(desk, tolerance) : SomeFigures(desk, names, tolerance);
    }));
}

// The outlines of a set one behind the other; see docs/workbench.md.
class OutlineBytes {
  public:
    void Add(const Figure& figure, double tolerance) {
        const Rings rings = RingsOf(figure, tolerance);
        m_firstRing.push_back(static_cast<std::uint32_t>(m_firstPoint.size()));
        for (const auto& ring : rings.closed) {
            AddRing(ring, 0);
        }
        if (!rings.axis.empty()) {
            AddRing(rings.axis, 1);
        }
        const auto classes = FigureClasses();
        m_classes.push_back(
            static_cast<std::uint8_t>(std::find(classes.begin(), classes.end(), figure.type) - classes.begin()));
        m_names.push_back(figure.name);
    }

    std::string Bytes(std::int64_t revision) {
        constexpr std::uint32_t kMark = 0x314F4952;
        const std::string names = TextOf(m_names);
        const std::vector<std::uint32_t> head = {kMark,
                                                 static_cast<std::uint32_t>(revision),
                                                 static_cast<std::uint32_t>(m_classes.size()),
                                                 static_cast<std::uint32_t>(m_firstPoint.size()),
                                                 static_cast<std::uint32_t>(m_points.size() / 2),
                                                 static_cast<std::uint32_t>(names.size())};
        m_firstRing.push_back(static_cast<std::uint32_t>(m_firstPoint.size()));
        m_firstPoint.push_back(static_cast<std::uint32_t>(m_points.size() / 2));
        std::string bytes;
        Append(bytes, head);
        Append(bytes, m_firstRing);
        Append(bytes, m_firstPoint);
        Append(bytes, m_points);
        Append(bytes, m_classes);
        Append(bytes, m_open);
        return bytes + names;
    }

  private:
    void AddRing(const std::vector<ImagePoint>& ring, std::uint8_t open) {
        m_firstPoint.push_back(static_cast<std::uint32_t>(m_points.size() / 2));
        m_open.push_back(open);
        for (const ImagePoint& point : ring) {
            m_points.insert(m_points.end(), {static_cast<float>(point.x), static_cast<float>(point.y)});
        }
    }

    template <class Value>
    static void Append(std::string& bytes, const std::vector<Value>& values) {
        bytes.append(reinterpret_cast<const char*>(values.data()), values.size() * sizeof(Value));
    }

    std::vector<std::uint32_t> m_firstRing;
    std::vector<std::uint32_t> m_firstPoint;
    std::vector<float> m_points;
    std::vector<std::uint8_t> m_classes;
    std::vector<std::uint8_t> m_open;
    Json m_names = Json::array();
};

void SendOutlines(Api& api, const httplib::Request& request, httplib::Response& response) {
    const double tolerance = ToleranceParameter(request);
    std::string bytes = api.module.Ask([tolerance](const Desk& desk) {
        OutlineBytes outlines;
        for (const Figure& figure : desk.Set().Figures()) {
            outlines.Add(figure, tolerance);
        }
        return outlines.Bytes(desk.History().Current());
    });
    response.set_header("Cache-Control", "no-store");
    SendBytes(response, std::move(bytes), "application/octet-stream");
}

void SendFigure(Api& api, const httplib::Request& request, httplib::Response& response) {
    const std::string name = TextParameter(request, "name");
    SendJsonText(response, api.module.Ask([&](const Desk& desk) {
        const Figure& figure = desk.Set().At(name);
        return FigureText(figure, desk.PlaceOf(name), Detail::parameters, ToleranceParameter(request));
    }));
}

void SendHits(Api& api, const httplib::Request& request, httplib::Response& response) {
    const ImagePoint at{NumberParameter(request, "x"), NumberParameter(request, "y")};
    const double tolerance = NumberParameter(request, "tolerance", 0.0);
    SendJson(response, {{"names", api.module.Ask([&](Desk& desk) { return desk.HitsAt(at, tolerance); })}});
}

void Listen(Api& api, httplib::Response& response) {
    // On the thread of the module no change comes in between.
    api.module.Ask([&](const Desk& desk) { api.events.Attach(response, "change", ChangeJson(desk)); });
}

}  // namespace

Json ChangeJson(const Desk& desk) {
    const History& past = desk.File().Past();
    return {{"revision", desk.History().Current()},
            {"canUndo", past.Done() > 0},
            {"canRedo", past.Done() < past.Changes().size()}};
}

void AddSetRoutes(Routes& routes, Api& api) {
    routes.Get("/api/state", [&api](const auto&, auto& response) { SendState(api, response); });
    routes.Get("/api/figures", [&api](const auto& request, auto& response) { SendFigures(api, request, response); });
    routes.Get("/api/outlines", [&api](const auto& request, auto& response) { SendOutlines(api, request, response); });
    routes.Get("/api/figure", [&api](const auto& request, auto& response) { SendFigure(api, request, response); });
    routes.Get("/api/hit", [&api](const auto& request, auto& response) { SendHits(api, request, response); });
    routes.Get("/api/events", [&api](const auto&, auto& response) { Listen(api, response); });
}

}  // namespace host::workbench
