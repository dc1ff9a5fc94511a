#include "host/sets/JsonLists.h"

#include <array>
#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>
#include <utility>

namespace host {

namespace {

using nlohmann::json;

// A text or a number: these are freed without taking memory.
template <class Scalar>
std::string ScalarText(const Scalar& value) {
    return json(value).dump();
}

// Reads a list of rows, each a record or a list, of which two cells count: those under two keys, or the first two.
template <class Cell>
class PairReader final : public nlohmann::json_sax<json> {
  public:
    using Keys = std::array<std::string_view, 2>;
    using Pairs = std::vector<std::pair<Cell, Cell>>;

    explicit PairReader(std::optional<Keys> keys) : m_keys(keys) {}

    Pairs Read(std::string_view text) {
        json::sax_parse(text.begin(), text.end(), this);
        return std::move(m_pairs);
    }

    bool null() override { return Take(nullptr); }
    bool boolean(bool value) override { return Take(value); }
    bool number_integer(json::number_integer_t value) override { return Take(static_cast<double>(value)); }
    bool number_unsigned(json::number_unsigned_t value) override { return Take(static_cast<double>(value)); }
    bool number_float(json::number_float_t value, const std::string& /*text*/) override { return Take(value); }
    bool string(std::string& value) override { return Take(std::move(value)); }
    bool binary(json::binary_t& /*value*/) override { return Take(nullptr); }

    bool start_array(std::size_t /*count*/) override { return Enter(m_keys ? kNoColumn : 0); }
    bool start_object(std::size_t /*count*/) override {
        if (m_depth == 0) {
            Damaged();
        }
        return Enter(kNoColumn);
    }
    bool key(std::string& key) override {
        m_column = !m_keys ? kNoColumn : key == (*m_keys)[0] ? 0 : key == (*m_keys)[1] ? 1 : kNoColumn;
        return true;
    }
    bool end_array() override { return Leave(); }
    bool end_object() override { return Leave(); }
    bool parse_error(std::size_t /*position*/, const std::string& /*token*/, const json::exception& error) override {
        throw std::runtime_error(error.what());
    }

  private:
    static constexpr std::size_t kNoColumn = 2;
    static constexpr int kRow = 2;  // The depth within a row.

    [[noreturn]] static void Damaged() { throw std::runtime_error("a list in it is damaged"); }

    template <class Value>
    bool Take(Value value) {
        if (m_depth != kRow) {
            Damaged();
        }
        if constexpr (std::is_same_v<Value, Cell>) {
            if (m_column < kNoColumn) {
                m_cells[m_column] = std::move(value);
            }
        }
        m_column += m_column < kNoColumn ? 1 : 0;
        return true;
    }
    bool Enter(std::size_t column) {
        // Brackets in brackets take the most memory for their length.
        if (++m_depth > kRow) {
            throw std::runtime_error("a text in it is nested too deeply");
        }
        m_column = column;
        m_cells = {};
        return true;
    }
    bool Leave() {
        if (m_depth-- == kRow) {
            if (!m_cells[0] || !m_cells[1]) {
                Damaged();
            }
            m_pairs.emplace_back(std::move(*m_cells[0]), std::move(*m_cells[1]));
        }
        return true;
    }

    std::optional<Keys> m_keys;
    int m_depth = 0;
    std::size_t m_column = kNoColumn;
    std::array<std::optional<Cell>, 2> m_cells;
    Pairs m_pairs;
};

}  // namespace

std::string ListingText(const std::vector<ListedFigure>& figures) {
    std::string text = "[";
    for (const ListedFigure& figure : figures) {
        text += (&figure == &figures.front() ? "\n {\n" : ",\n {\n");
        text += "  \"class\": " + ScalarText(figure.className) + ",\n";
        text += "  \"name\": " + ScalarText(figure.name) + "\n }";
    }
    return text + (figures.empty() ? "]" : "\n]");
}

std::string PointsText(const std::vector<ImagePoint>& points) {
    std::string text = "[";
    for (const ImagePoint& point : points) {
        text += (&point == &points.front() ? "[" : ",[");
        text += ScalarText(point.x) + ',' + ScalarText(point.y) + ']';
    }
    return text + ']';
}

std::vector<ListedFigure> ParseListing(std::string_view text) {
    std::vector<ListedFigure> figures;
    for (auto& [name, className] : PairReader<std::string>(PairReader<std::string>::Keys{"name", "class"}).Read(text)) {
        figures.push_back({std::move(name), std::move(className)});
    }
    return figures;
}

std::vector<ImagePoint> ParsePoints(std::string_view text) {
    std::vector<ImagePoint> points;
    for (const auto& [x, y] : PairReader<double>(std::nullopt).Read(text)) {
        points.emplace_back(x, y);
    }
    return points;
}

}  // namespace host
