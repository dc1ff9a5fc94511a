// Figures as this system knows them, in JSON: nothing is lost.
#include "host/sets/formats/Formats.h"
#include "host/sets/formats/JsonText.h"
#include "host/sets/formats/RunCounts.h"

namespace host {

namespace {

using json = nlohmann::ordered_json;

json ObjectOf(const ForeignFigure& figure) {
    json object = {{"name", figure.name}, {"class", figure.className}, {"parameters", json::object()}};
    for (const auto& [name, value] : figure.parameters) {
        object["parameters"][name] = value;
    }
    for (const ForeignPoint& point : figure.points) {
        json numbers = {point.at.x, point.at.y};
        if (figure.className == "ROIProfile") {
            numbers.push_back(point.thickness1);
            numbers.push_back(point.thickness2);
        }
        object["points"].push_back(std::move(numbers));
    }
    if (!figure.mask.IsEmpty()) {
        object["mask"] = {{"width", figure.mask.Size().width},
                          {"height", figure.mask.Size().height},
                          {"counts", CountsOf(figure.mask)}};
    }
    return object;
}

ForeignFigure FigureOf(const json& object, Reading& reading) {
    ForeignFigure figure{object.at("name"), object.at("class"), {}, {}, {}};
    const json parameters = object.value("parameters", json::object());
    for (const auto& [name, value] : parameters.items()) {
        figure.parameters.emplace_back(name, value.get<double>());
    }
    for (const json& point : object.value("points", json::array())) {
        const double thickness1 = point.size() > 2 ? point.at(2).get<double>() : 0.5;
        figure.points.push_back({{point.at(0).get<double>(), point.at(1).get<double>()},
                                 thickness1,
                                 point.size() > 3 ? point.at(3).get<double>() : thickness1});
    }
    if (const auto mask = object.find("mask"); mask != object.end()) {
        figure.mask =
            MaskOf(mask->at("width"), mask->at("height"), mask->at("counts").get<std::vector<std::int64_t>>(), reading);
    }
    return figure;
}

}  // namespace

std::vector<ForeignFigure> ReadJsonFigures(std::string_view bytes, Reading& reading) {
    std::vector<ForeignFigure> figures;
    for (const json& object : ParseJsonText(bytes)) {
        figures.push_back(FigureOf(object, reading));
    }
    return figures;
}

std::string WriteJsonFigures(const std::vector<Figure>& figures, std::vector<Warning>& /*warnings*/) {
    json list = json::array();
    for (const Figure& figure : figures) {
        list.push_back(ObjectOf(Describe(figure)));
    }
    return JsonText(list);
}

}  // namespace host
