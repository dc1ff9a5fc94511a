#include "host/Table.h"

#include <fmt/format.h>

#include <algorithm>
#include <cassert>
#include <nlohmann/json.hpp>
#include <utility>

#include "host/Error.h"
#include "host/Text.h"

namespace {

template <class... Functions>
struct Overloaded : Functions... {
    using Functions::operator()...;
};
template <class... Functions>
Overloaded(Functions...) -> Overloaded<Functions...>;

std::string TextOf(const Cell& cell) {
    return std::visit(
        Overloaded{[](std::monostate) { return std::string(); },
                   [](std::int64_t value) { return std::to_string(value); },
                   [](double value) { return NumberText(value); }, [](const std::string& value) { return value; }},
        cell);
}

bool IsNumber(const Cell& cell) {
    return std::holds_alternative<std::int64_t>(cell) || std::holds_alternative<double>(cell);
}

// The characters of a UTF-8 text: every byte but those that continue a character.
std::size_t Width(const std::string& text) {
    return static_cast<std::size_t>(
        std::count_if(text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}

std::string Padded(const std::string& text, std::size_t width, bool toTheRight) {
    const std::string blanks(width - Width(text), ' ');
    return toTheRight ? blanks + text : text + blanks;
}

std::string CsvField(const std::string& text) {
    if (text.find_first_of(",\"\r\n") == std::string::npos) {
        return text;
    }
    std::string quoted = "\"";
    for (const char c : text) {
        quoted.append(c == '"' ? 2 : 1, c);
    }
    return quoted + '"';
}

std::string CsvLine(const std::vector<std::string>& fields) {
    std::string line;
    for (const std::string& field : fields) {
        line += (&field == &fields.front() ? "" : ",") + CsvField(field);
    }
    return line + "\r\n";
}

}  // namespace

void Table::Add(std::vector<Cell> row) {
    assert(row.size() == m_columns.size());
    m_rows.push_back(std::move(row));
}

std::string Table::Format(TableFormat format) const {
    switch (format) {
        case TableFormat::kCsv:
            return AsCsv();
        case TableFormat::kJson:
            return AsJson();
        default:
            return AsText();
    }
}

std::string Table::AsText() const {
    std::vector<std::vector<std::string>> lines = {m_columns};
    std::vector<bool> numeric(m_columns.size(), false);
    for (const auto& row : m_rows) {
        auto& line = lines.emplace_back();
        for (std::size_t column = 0; column < row.size(); ++column) {
            const bool nothing = std::holds_alternative<std::monostate>(row[column]);
            line.push_back(nothing ? "-" : Harmless(TextOf(row[column])));
            numeric[column] = numeric[column] || IsNumber(row[column]);
        }
    }
    std::vector<std::size_t> widths(m_columns.size());
    for (const auto& line : lines) {
        for (std::size_t column = 0; column < line.size(); ++column) {
            widths[column] = std::max(widths[column], Width(line[column]));
        }
    }
    std::string text;
    for (const auto& line : lines) {
        std::string padded;
        for (std::size_t column = 0; column < line.size(); ++column) {
            padded += (column == 0 ? "" : "  ") + Padded(line[column], widths[column], numeric[column]);
        }
        text += padded.substr(0, padded.find_last_not_of(' ') + 1) + '\n';
    }
    return text;
}

std::string Table::AsCsv() const {
    std::string text = CsvLine(m_columns);
    for (const auto& row : m_rows) {
        std::vector<std::string> fields;
        std::transform(row.begin(), row.end(), std::back_inserter(fields), TextOf);
        text += CsvLine(fields);
    }
    return text;
}

std::string Table::AsJson() const {
    auto array = nlohmann::ordered_json::array();
    for (const auto& row : m_rows) {
        nlohmann::ordered_json object;
        for (std::size_t column = 0; column < row.size(); ++column) {
            object[m_columns[column]] =
                std::visit(Overloaded{[](std::monostate) { return nlohmann::ordered_json(); },
                                      [](const auto& value) { return nlohmann::ordered_json(value); }},
                           row[column]);
        }
        array.push_back(std::move(object));
    }
    // A path need not be UTF-8; what is not shows as the replacement character.
    return array.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) + '\n';
}
