#include "host/sets/formats/JsonText.h"

#include <memory>
#include <stdexcept>

#include "host/sets/formats/RunCounts.h"

namespace host {

namespace {

constexpr std::size_t kLongest = std::size_t{64} << 20;
constexpr int kDeepest = 24;

// Counts brackets outside of texts; what is no JSON at all is for the parser to refuse.
bool IsTooDeep(std::string_view text) noexcept {
    int depth = 0;
    bool quoted = false;
    for (std::size_t i = 0; i < text.size() && depth <= kDeepest; ++i) {
        const char c = text[i];
        if (c == '"') {
            quoted = !quoted;
        } else if (quoted) {
            i += c == '\\' ? 1 : 0;
        } else if (c == '[' || c == '{') {
            ++depth;
        } else if (c == ']' || c == '}') {
            --depth;
        }
    }
    return depth > kDeepest;
}

using json = nlohmann::ordered_json;

}  // namespace

json ParseJsonText(std::string_view text) {
    if (text.size() > kLongest || IsTooDeep(text)) {
        throw std::runtime_error("too long, or nested too deeply");
    }
    return json::parse(text);
}

std::string JsonText(const json& value) { return value.dump(-1, ' ', false, json::error_handler_t::replace) + '\n'; }

json ValuesOf(const ForeignFigure& figure) {
    json values = {{"class", figure.className}, {"parameters", json::object()}};
    for (const auto& [name, value] : figure.parameters) {
        values["parameters"][name] = value;
    }
    for (const ForeignPoint& point : figure.points) {
        json numbers = {point.at.x, point.at.y};
        if (figure.className == "ROIProfile") {
            numbers.push_back(point.thickness1);
            numbers.push_back(point.thickness2);
        }
        values["points"].push_back(std::move(numbers));
    }
    if (!figure.mask.IsEmpty()) {
        values["mask"] = {{"width", figure.mask.Size().width},
                          {"height", figure.mask.Size().height},
                          {"counts", CountsOf(figure.mask)}};
    }
    return values;
}

ForeignFigure FigureWithValues(const json& values, Reading& reading) {
    ForeignFigure figure{.className = values.at("class")};
    const json parameters = values.value("parameters", json::object());
    for (const auto& [name, value] : parameters.items()) {
        figure.parameters.emplace_back(name, value.get<double>());
    }
    for (const json& point : values.value("points", json::array())) {
        const double thickness1 = point.size() > 2 ? point.at(2).get<double>() : 0.5;
        figure.points.push_back({{point.at(0).get<double>(), point.at(1).get<double>()},
                                 thickness1,
                                 point.size() > 3 ? point.at(3).get<double>() : thickness1});
    }
    if (const auto mask = values.find("mask"); mask != values.end()) {
        figure.mask =
            MaskOf(mask->at("width"), mask->at("height"), mask->at("counts").get<std::vector<std::int64_t>>(), reading);
    }
    return figure;
}

void TakeCarried(const json& object, ForeignFigure& figure, Reading& reading) {
    const auto values = object.find(kCarried);
    if (values == object.end()) {
        return;
    }
    try {
        figure.carried = std::make_shared<ForeignFigure>(FigureWithValues(*values, reading));
    } catch (const json::exception&) {
        // Another program's member of that name.
    }
}

}  // namespace host
