#include "host/sets/formats/Formats.h"

namespace host {

std::span<const FigureFormat> FigureFormats() noexcept {
    static constexpr FigureFormat kFormats[] = {
        {"csv", ".csv", "a row for each figure", nullptr, FileKind::text, ReadCsvFigures, WriteCsvFigures},
        {"geojson", ".geojson", "GeoJSON as QuPath reads and writes it", "\"coordinates\"", FileKind::json, ReadGeoJson,
         WriteGeoJson},
        {"napari", ".geojson", "GeoJSON with pixel centres at whole numbers", "\"coordinates\"", FileKind::json,
         ReadCenteredGeoJson, WriteCenteredGeoJson},
        {"coco", ".json", "COCO annotations", "\"annotations\"", FileKind::json, ReadCoco, WriteCoco},
        {"labelme", ".json", "LabelMe annotations", "\"shapes\"", FileKind::json, ReadLabelMe, WriteLabelMe},
        {"json", ".json", "an object for each figure", nullptr, FileKind::json, ReadJsonFigures, WriteJsonFigures},
        {"imagej", ".zip", "a RoiSet.zip of ImageJ's; a single .roi can be imported", nullptr, FileKind::archive,
         ReadImageJ, WriteImageJ},
        {"labels", ".png", "a label image; import only", nullptr, FileKind::image, ReadLabelImage, nullptr},
    };
    return kFormats;
}

}  // namespace host
