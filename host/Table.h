// Rows of named columns: aligned for people, CSV or JSON for programs.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <variant>
#include <vector>

enum class TableFormat { kText, kCsv, kJson };

/// Nothing, a whole number, a number or a UTF-8 text.
using Cell = std::variant<std::monostate, std::int64_t, double, std::string>;

class Table {
  public:
    explicit Table(std::vector<std::string> columns) : m_columns(std::move(columns)) {}

    /// Appends a row; it has one cell for each column.
    void Add(std::vector<Cell> row);

    /// The whole table. Numbers are the shortest texts that read back exactly, whatever the locale.
    /// Text: aligned columns under their names, numbers to the right, nothing as "-", control characters
    /// made harmless. CSV: RFC 4180 with its header line; nothing is empty, lines end in CR LF. JSON: an
    /// array of objects with numbers as numbers; nothing, and numbers that are not finite, as null.
    std::string Format(TableFormat format) const;

  private:
    std::string AsText() const;
    std::string AsCsv() const;
    std::string AsJson() const;

    std::vector<std::string> m_columns;
    std::vector<std::vector<Cell>> m_rows;
};
