// Figures as this system knows them, in CSV: a row each, and nothing is lost.
#include <fmt/format.h>

#include <algorithm>
#include <span>
#include <stdexcept>
#include <utility>

#include "host/figures/Parameters.h"
#include "host/sets/formats/Formats.h"
#include "host/sets/formats/RunCounts.h"

namespace host {

namespace {

constexpr std::string_view kHead = "name,class,parameters,points,mask";
constexpr std::size_t kColumns = 5;

// RFC 4180, with lines that end either way.
std::vector<std::vector<std::string>> RowsOf(std::string_view text) {
    std::vector<std::vector<std::string>> rows;
    std::vector<std::string> row = {""};
    bool quoted = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (c == '"' && quoted && text.substr(i + 1).starts_with('"')) {
            row.back() += text[++i];
        } else if (c == '"') {
            quoted = !quoted;
        } else if (c == ',' && !quoted) {
            row.emplace_back();
        } else if (c == '\n' && !quoted) {
            rows.push_back(std::exchange(row, {""}));
        } else if (c != '\r' || quoted) {
            row.back() += c;
        }
    }
    if (row.size() > 1 || !row.front().empty()) {
        rows.push_back(std::move(row));
    }
    if (quoted) {
        throw std::runtime_error("a quote in it does not end");
    }
    return rows;
}

std::vector<std::string> Split(const std::string& text, char separator) {
    std::vector<std::string> parts;
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t end = std::min(text.find(separator, start), text.size());
        if (end > start) {
            parts.push_back(text.substr(start, end - start));
        }
        start = end + 1;
    }
    return parts;
}

double Number(const std::string& text) {
    if (const auto number = ParseNumber(text)) {
        return *number;
    }
    throw std::runtime_error(fmt::format("not a number: {}", text));
}

ForeignPoint PointOf(const std::string& text) {
    const std::vector<std::string> numbers = Split(text, ',');
    if (numbers.size() != 2 && numbers.size() != 4) {
        throw std::runtime_error(fmt::format("not a point: {}", text));
    }
    const bool thick = numbers.size() == 4;
    return {
        {Number(numbers[0]), Number(numbers[1])}, thick ? Number(numbers[2]) : 0.5, thick ? Number(numbers[3]) : 0.5};
}

// The width, the height and the counts.
Raster MaskIn(const std::string& text, Reading& reading) {
    std::vector<std::int64_t> numbers;
    for (const std::string& part : Split(text, ' ')) {
        numbers.push_back(ParseInteger(part).value_or(-1));
    }
    if (numbers.empty()) {
        return {};
    }
    const std::span counts(numbers);
    return MaskOf(counts[0], counts.size() > 1 ? counts[1] : 0, counts.subspan(std::min<std::size_t>(2, counts.size())),
                  reading);
}

ForeignFigure FigureOf(std::vector<std::string> row, Reading& reading) {
    if (row.size() > kColumns || row.size() < 2) {
        throw std::runtime_error(fmt::format("a row has {} fields", row.size()));
    }
    row.resize(kColumns);
    ForeignFigure figure{.name = row[0], .className = row[1], .mask = MaskIn(row[4], reading)};
    for (const std::string& text : Split(row[2], ' ')) {
        const Assignment assignment(text);
        figure.parameters.emplace_back(assignment.key, Number(assignment.value));
    }
    const std::vector<std::string> points = Split(row[3], ' ');
    std::transform(points.begin(), points.end(), std::back_inserter(figure.points), PointOf);
    return figure;
}

std::string RowOf(const ForeignFigure& figure) {
    std::string parameters;
    for (const auto& [name, value] : figure.parameters) {
        parameters += (parameters.empty() ? "" : " ") + name + '=' + NumberText(value);
    }
    std::string points;
    for (const ForeignPoint& point : figure.points) {
        points += fmt::format("{}{},{}", points.empty() ? "" : " ", point.at.x, point.at.y);
        if (figure.className == "ROIProfile") {
            points += fmt::format(",{},{}", point.thickness1, point.thickness2);
        }
    }
    const std::string mask = figure.mask.IsEmpty()
                                 ? ""
                                 : fmt::format("{} {} {}", figure.mask.Size().width, figure.mask.Size().height,
                                               fmt::join(CountsOf(figure.mask), " "));
    return fmt::format("{},{},{},{},{}\n", CsvField(figure.name), figure.className, parameters, CsvField(points), mask);
}

}  // namespace

std::vector<ForeignFigure> ReadCsvFigures(std::string_view bytes, Reading& reading) {
    bytes.remove_prefix(bytes.starts_with("\xEF\xBB\xBF") ? 3 : 0);
    if (!bytes.starts_with("name,class")) {
        throw std::runtime_error(fmt::format("its first line is not {}", kHead));
    }
    std::vector<ForeignFigure> figures;
    for (std::vector<std::string>& row : RowsOf(bytes.substr(std::min(bytes.find('\n'), bytes.size() - 1) + 1))) {
        figures.push_back(FigureOf(std::move(row), reading));
    }
    return figures;
}

std::string WriteCsvFigures(const std::vector<Figure>& figures, std::vector<Warning>& /*warnings*/) {
    std::string text = std::string(kHead) + '\n';
    for (const Figure& figure : figures) {
        text += RowOf(Describe(figure));
    }
    return text;
}

}  // namespace host
