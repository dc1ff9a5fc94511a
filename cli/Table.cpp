#include "cli/Table.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cassert>
#include <cmath>
#include <nlohmann/json.hpp>
#include <utility>

#include "cli/Talk.h"
#include "framework/support/Utf8.h"
#include "host/base/Error.h"
#include "host/base/SafeFile.h"
#include "host/base/Text.h"
#include "host/figures/Parameters.h"

namespace host::cli {

namespace {

template <class... Functions>
struct Overloaded : Functions... {
    using Functions::operator()...;
};
template <class... Functions>
Overloaded(Functions...) -> Overloaded<Functions...>;

// Exactly, for programs.
std::string TextOf(const Cell& cell) {
    return std::visit(
        Overloaded{[](std::monostate) { return std::string(); },
                   [](std::int64_t value) { return std::to_string(value); },
                   [](double value) { return NumberText(value); }, [](const std::string& value) { return value; },
                   [](const std::vector<NamedValue>& values) { return ParameterLine(values); }},
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

std::string CsvLine(const std::vector<std::string>& fields) {
    std::string line;
    for (const std::string& field : fields) {
        line += (&field == &fields.front() ? "" : ",") + CsvField(field);
    }
    return line + '\n';
}

// -0 says nothing to anybody.
void ClearSigns(std::vector<Cell>& row) {
    for (Cell& cell : row) {
        double* const number = std::get_if<double>(&cell);
        if (number != nullptr && *number == 0.0) {
            *number = 0.0;
        }
    }
}

// ---------------------------------------------------------------------------------------------------
// For programs: what comes before, between and after the rows

std::string Head(const std::vector<std::string>& columns, TableFormat format) {
    return format == TableFormat::kCsv ? CsvLine(columns) : "[";
}

std::string CsvRow(const std::vector<Cell>& row) {
    std::vector<std::string> fields;
    std::transform(row.begin(), row.end(), std::back_inserter(fields), TextOf);
    return CsvLine(fields);
}

template <class Text>
std::string JsonObject(const std::vector<NamedValue>& values, Text text) {
    std::string object = "{";
    for (const NamedValue& value : values) {
        object += (object.size() > 1 ? "," : "") + text(value.name) + ':' +
                  std::visit([&](const auto& held) { return text(held); }, value.value);
    }
    return object + '}';
}

std::string JsonRow(const std::vector<std::string>& columns, const std::vector<Cell>& row, bool first) {
    // Value by value: to free an object of them takes memory. A path need not be UTF-8; what is not shows as the
    // replacement character.
    const auto text = [](const nlohmann::json& value) {
        return value.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
    };
    std::string line = first ? "\n{" : ",\n{";
    for (std::size_t column = 0; column < row.size(); ++column) {
        line += (column == 0 ? "" : ",") + text(columns[column]) + ':';
        line += std::visit(Overloaded{[](std::monostate) { return std::string("null"); },
                                      [&](const std::vector<NamedValue>& values) { return JsonObject(values, text); },
                                      [&](const auto& value) { return text(value); }},
                           row[column]);
    }
    return line + '}';
}

std::string Row(const std::vector<std::string>& columns, const std::vector<Cell>& row, TableFormat format, bool first) {
    return format == TableFormat::kCsv ? CsvRow(row) : JsonRow(columns, row, first);
}

std::string Tail(TableFormat format) { return format == TableFormat::kCsv ? "" : "\n]\n"; }

// ---------------------------------------------------------------------------------------------------
// For people

// How the numbers of one column are written, so that their points stand in line.
struct Rounding {
    int decimals;
    // Smaller numbers but 0 would show no digit, larger ones too many.
    double smallest;
    static constexpr double kLargest = 1e15;

    std::string Text(double value) const {
        const double size = std::abs(value);
        const bool shows = value == 0.0 || (size >= smallest && size < kLargest);
        return shows ? fmt::format("{:.{}f}", value, decimals) : fmt::format("{:.4g}", value);
    }
};

// Four digits of the largest number and at least two decimals, without those that are 0 in every row.
Rounding RoundingOf(const std::vector<double>& values) {
    double largest = 0.0;
    for (const double value : values) {
        largest = std::isfinite(value) ? std::max(largest, std::abs(value)) : largest;
    }
    const double digits = largest > 0.0 ? std::floor(std::log10(largest)) + 1.0 : 4.0;
    const double decimals = std::clamp(4.0 - digits, 2.0, 6.0);
    Rounding rounding{static_cast<int>(decimals), 0.5 * std::pow(10.0, -decimals)};
    const auto endsInZero = [&rounding](double value) { return rounding.Text(value).back() == '0'; };
    while (rounding.decimals > 0 && std::all_of(values.begin(), values.end(), endsInZero)) {
        --rounding.decimals;
    }
    return rounding;
}

// One column under its name: the texts of its cells.
std::vector<std::string> ColumnTexts(const std::string& name, const std::vector<std::vector<Cell>>& rows,
                                     std::size_t column) {
    std::vector<double> values;
    for (const auto& row : rows) {
        if (const double* value = std::get_if<double>(&row[column])) {
            values.push_back(*value);
        }
    }
    const Rounding rounding = RoundingOf(values);
    std::vector<std::string> texts = {name};
    for (const auto& row : rows) {
        const Cell& cell = row[column];
        const double* const value = std::get_if<double>(&cell);
        const bool nothing = std::holds_alternative<std::monostate>(cell);
        texts.push_back(nothing ? "-" : value != nullptr ? rounding.Text(*value) : Harmless(TextOf(cell)));
    }
    return texts;
}

// Brings the texts of a column to one width, numbers to the right.
void Align(std::vector<std::string>& texts, bool toTheRight) {
    std::size_t width = 0;
    for (const std::string& text : texts) {
        width = std::max(width, Width(text));
    }
    for (std::string& text : texts) {
        text = Padded(text, width, toTheRight);
    }
}

}  // namespace

void Table::Add(std::vector<Cell> row) {
    assert(row.size() == m_columns.size());
    ClearSigns(row);
    m_rows.push_back(std::move(row));
}

std::string Table::Format(TableFormat format) const {
    if (format == TableFormat::kText) {
        return AsText();
    }
    std::string text = Head(m_columns, format);
    for (const auto& row : m_rows) {
        text += Row(m_columns, row, format, &row == &m_rows.front());
    }
    return text + Tail(format);
}

std::string Table::AsText() const {
    std::vector<std::string> lines(m_rows.size() + 1);
    for (std::size_t column = 0; column < m_columns.size(); ++column) {
        std::vector<std::string> texts = ColumnTexts(m_columns[column], m_rows, column);
        Align(texts, std::any_of(m_rows.begin(), m_rows.end(), [&](const auto& row) { return IsNumber(row[column]); }));
        for (std::size_t line = 0; line < lines.size(); ++line) {
            lines[line] += (column == 0 ? "" : "  ") + texts[line];
        }
    }
    std::string text;
    for (const std::string& line : lines) {
        const std::string trimmed = line.substr(0, line.find_last_not_of(' ') + 1);
        text += (&line == &lines.front() ? Styled(trimmed, Style::bold, STDOUT_FILENO) : trimmed) + '\n';
    }
    return text;
}

void TableStream::Add(std::vector<std::vector<Cell>> rows) {
    std::string text;
    for (auto& row : rows) {
        if (m_format == TableFormat::kText) {
            m_people.Add(std::move(row));
        } else {
            ClearSigns(row);
            text += Row(m_columns, row, m_format, !m_anyRow);
            m_anyRow = true;
        }
    }
    if (m_format != TableFormat::kText) {
        Write(text);
    }
}

void TableStream::End() {
    if (m_format == TableFormat::kText) {
        WriteStdout(m_people.Format(m_format));
    } else {
        Write(Tail(m_format));
    }
}

void TableStream::BreakOff() {
    if (m_anyText) {
        End();
    }
}

void TableStream::Write(const std::string& text) {
    WriteStdout(m_anyText ? text : Head(m_columns, m_format) + text);
    m_anyText = true;
}

}  // namespace host::cli
