// The file formats of other programs, one row and one file each.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "host/base/OutputCheck.h"
#include "host/sets/formats/ForeignFigure.h"

namespace host {

/// Readers throw std::exception with the reason for anything unsound, and take no more memory than a small multiple of
/// what the file has bytes. Writers give the bytes of a file. Both append warnings for what does not come over.
struct FigureFormat {
    const char* name;    ///< as people choose it
    const char* ending;  ///< of its files
    const char* what;    ///< half a sentence for people
    const char* mark;    ///< a text in every file of the format that others of the same ending lack; null for the last
    FileKind kind;
    std::vector<ForeignFigure> (*read)(std::string_view bytes, Reading& reading);
    std::string (*write)(const std::vector<Figure>& figures, std::vector<Warning>& warnings);
};

/// All formats, in the order in which people are told of them.
std::span<const FigureFormat> FigureFormats() noexcept;

std::vector<ForeignFigure> ReadCsvFigures(std::string_view bytes, Reading& reading);
std::string WriteCsvFigures(const std::vector<Figure>& figures, std::vector<Warning>& warnings);
std::vector<ForeignFigure> ReadJsonFigures(std::string_view bytes, Reading& reading);
std::string WriteJsonFigures(const std::vector<Figure>& figures, std::vector<Warning>& warnings);
/// Corners of pixels lie at whole numbers, as in QuPath.
std::vector<ForeignFigure> ReadGeoJson(std::string_view bytes, Reading& reading);
std::string WriteGeoJson(const std::vector<Figure>& figures, std::vector<Warning>& warnings);
/// The same with the centres of pixels at whole numbers, as in napari.
std::vector<ForeignFigure> ReadCenteredGeoJson(std::string_view bytes, Reading& reading);
std::string WriteCenteredGeoJson(const std::vector<Figure>& figures, std::vector<Warning>& warnings);
std::vector<ForeignFigure> ReadLabelMe(std::string_view bytes, Reading& reading);
std::string WriteLabelMe(const std::vector<Figure>& figures, std::vector<Warning>& warnings);
std::vector<ForeignFigure> ReadCoco(std::string_view bytes, Reading& reading);
std::string WriteCoco(const std::vector<Figure>& figures, std::vector<Warning>& warnings);
/// One figure, or a zip file of them.
std::vector<ForeignFigure> ReadImageJ(std::string_view bytes, Reading& reading);
std::string WriteImageJ(const std::vector<Figure>& figures, std::vector<Warning>& warnings);
/// Every value above 0 becomes a mask.
std::vector<ForeignFigure> ReadLabelImage(std::string_view bytes, Reading& reading);

}  // namespace host
