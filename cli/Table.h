// Rows of named columns: aligned for people, CSV or JSON for programs.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

#include "host/base/Cell.h"

namespace host::cli {

enum class TableFormat { kText, kCsv, kJson };

class Table {
  public:
    explicit Table(std::vector<std::string> columns) : m_columns(std::move(columns)) {}

    /// Appends a row; it has one cell for each column.
    void Add(std::vector<Cell> row);

    /// The whole table, whatever the locale.
    /// Text: aligned columns under their names, numbers to the right, rounded to what is read at a glance,
    /// nothing as "-", control characters made harmless; the names in bold when standard output is a terminal.
    /// CSV: RFC 4180 with its header line, except that lines end in LF. JSON: an array with an object, on
    /// one line, for each row. In both, numbers are the shortest texts that read back exactly, and nothing is
    /// empty or null; numbers that are not finite are null in JSON.
    std::string Format(TableFormat format) const;

  private:
    std::string AsText() const;

    std::vector<std::string> m_columns;
    std::vector<std::vector<Cell>> m_rows;
};

/// A table written to standard output as its rows come: CSV and JSON at once and in memory that does not
/// grow, text when it ends, since every row counts for the widths.
class TableStream {
  public:
    TableStream(std::vector<std::string> columns, TableFormat format)
        : m_columns(std::move(columns)), m_format(format), m_people(m_columns) {}

    void Add(std::vector<std::vector<Cell>> rows);
    /// Completes the table.
    void End();
    /// Leaves the rows that are written as a sound table; a text is not written at all.
    void BreakOff();

  private:
    void Write(const std::string& text);

    std::vector<std::string> m_columns;
    TableFormat m_format;
    bool m_anyText = false;
    bool m_anyRow = false;
    Table m_people;
};

}  // namespace host::cli
