// Figures as this system knows them, in JSON: nothing is lost.
#include "host/sets/formats/Formats.h"
#include "host/sets/formats/JsonText.h"

namespace host {

std::vector<ForeignFigure> ReadJsonFigures(std::string_view bytes, Reading& reading) {
    std::vector<ForeignFigure> figures;
    for (const nlohmann::ordered_json& object : ParseJsonText(bytes)) {
        figures.push_back(FigureWithValues(object, reading));
        figures.back().name = object.at("name");
    }
    return figures;
}

std::string WriteJsonFigures(const std::vector<Figure>& figures, std::vector<Warning>& /*warnings*/) {
    auto list = nlohmann::ordered_json::array();
    for (const Figure& figure : figures) {
        list.push_back({{"name", figure.name}});
        list.back().update(ValuesOf(Describe(figure)));
    }
    return JsonText(list);
}

}  // namespace host
