#include "host/measure/Border.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <tuple>
#include <utility>

namespace host {

namespace {

// All pixels as spans that do not touch, in order.
Spans Whole(const PixelSet& pixels) {
    Spans spans = pixels.spans;
    for (const PartSpan& span : pixels.parts.spans) {
        spans.push_back({span.y, span.firstX, span.lastX});
    }
    std::sort(spans.begin(), spans.end(),
              [](const Span& a, const Span& b) { return std::tie(a.y, a.firstX) < std::tie(b.y, b.firstX); });
    PixelSet joined;
    for (const Span& span : spans) {
        joined.AddSpan(span.y, span.firstX, span.lastX);
    }
    return std::move(joined.spans);
}

class Tracer {
  public:
    std::vector<BorderLine> Trace(const Spans& spans) {
        for (const Span& span : spans) {
            if (span.y != m_y) {
                EndRow();
                if (span.y != m_y + 1) {
                    ++m_y;
                    EndRow();  // A row without pixels.
                }
                m_y = span.y;
            }
            m_corners.insert(m_corners.end(), {span.firstX, span.lastX + 1});
        }
        EndRow();
        ++m_y;
        EndRow();
        return std::move(m_lines);
    }

  private:
    // Draws what lies above a row and where upright lines end there.
    void EndRow() {
        // Between corners that only one of two rows has, one of them has pixels and the other none.
        std::vector<int> changes;
        std::set_symmetric_difference(m_above.begin(), m_above.end(), m_corners.begin(), m_corners.end(),
                                      std::back_inserter(changes));
        for (std::size_t i = 0; i + 1 < changes.size(); i += 2) {
            m_lines.push_back({changes[i], m_y, changes[i + 1], m_y});
        }
        std::map<int, int> uprights;
        for (const int x : m_corners) {
            const auto begun = m_uprights.find(x);
            uprights[x] = begun == m_uprights.end() ? m_y : begun->second;
            if (begun != m_uprights.end()) {
                m_uprights.erase(begun);
            }
        }
        for (const auto& [x, begin] : m_uprights) {
            m_lines.push_back({x, begin, x, m_y});
        }
        m_uprights = std::move(uprights);
        m_above = std::exchange(m_corners, {});
    }

    std::vector<BorderLine> m_lines;
    std::vector<int> m_above;    // where spans of the row above begin and end
    std::vector<int> m_corners;  // and of this one
    std::map<int, int> m_uprights;
    int m_y = 0;
};

}  // namespace

std::vector<BorderLine> BorderOf(const PixelSet& pixels) {
    const Spans spans = Whole(pixels);
    return spans.empty() ? std::vector<BorderLine>() : Tracer().Trace(spans);
}

}  // namespace host
