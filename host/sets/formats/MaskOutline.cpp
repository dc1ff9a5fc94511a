#include "host/sets/formats/MaskOutline.h"

#include <cstdint>
#include <unordered_map>

namespace host {

namespace {

// A place in the mask and the side of the pixel there along which the outline runs: over the top to the right, down
// the right side, along the bottom to the left, up the left side.
struct Side {
    int x, y, way;
};
constexpr int kStepX[] = {1, 0, -1, 0};
constexpr int kStepY[] = {0, 1, 0, -1};
// The corner of the pixel in which the side ends.
constexpr int kEndX[] = {1, 1, 0, 0};
constexpr int kEndY[] = {0, 1, 1, 0};

class Tracer {
  public:
    Tracer(Raster mask, ImagePoint origin)
        : m_mask(std::move(mask)),
          m_corner(origin - ImagePoint(0.5, 0.5)),
          m_width(m_mask.Size().width),
          m_height(m_mask.Size().height),
          m_owners(static_cast<std::size_t>(m_width) * static_cast<std::size_t>(m_height), kNobody),
          m_passed(m_owners.size(), false) {}

    std::vector<Loops> Trace() {
        for (int y = 0; y < m_height; ++y) {
            for (int x = 0; x < m_width; ++x) {
                if (!IsMarked(x, y) || IsMarked(x, y - 1) || m_passed[Index(x, y)]) {
                    continue;
                }
                // The topmost of its pixels is the first one seen; what comes later are the rims of its holes.
                if (m_owners[Index(x, y)] == kNobody) {
                    Claim(x, y, static_cast<std::uint32_t>(m_polygons.size()));
                    m_polygons.emplace_back();
                }
                Append(Walk(x, y), m_polygons[m_owners[Index(x, y)]]);
            }
        }
        return std::move(m_polygons);
    }

  private:
    using Corners = std::vector<std::pair<int, int>>;
    static constexpr std::uint32_t kNobody = UINT32_MAX;

    std::size_t Index(int x, int y) const noexcept {
        return static_cast<std::size_t>(y) * static_cast<std::size_t>(m_width) + static_cast<std::size_t>(x);
    }
    bool IsMarked(int x, int y) const noexcept {
        return x >= 0 && y >= 0 && x < m_width && y < m_height && m_mask.View().Row<unsigned char>(y)[x] != 0;
    }

    // Gives all pixels that hang together with this one to a polygon.
    void Claim(int x, int y, std::uint32_t owner) {
        std::vector<std::pair<int, int>> open = {{x, y}};
        m_owners[Index(x, y)] = owner;
        while (!open.empty()) {
            const auto [atX, atY] = open.back();
            open.pop_back();
            for (int way = 0; way < 4; ++way) {
                const int nextX = atX + kStepX[way];
                const int nextY = atY + kStepY[way];
                if (IsMarked(nextX, nextY) && m_owners[Index(nextX, nextY)] == kNobody) {
                    m_owners[Index(nextX, nextY)] = owner;
                    open.emplace_back(nextX, nextY);
                }
            }
        }
    }

    // Round the marked pixels, from the top of one of them, as far as sides lead; the corners on the way.
    Corners Walk(int x, int y) {
        Corners corners;
        Side side{x, y, 0};
        do {
            if (side.way == 0) {
                m_passed[Index(side.x, side.y)] = true;
            }
            const Side next = After(side);
            if (next.way != side.way) {
                corners.emplace_back(side.x + kEndX[side.way], side.y + kEndY[side.way]);
            }
            side = next;
        } while (side.x != x || side.y != y || side.way != 0);
        return corners;
    }
    Side After(const Side& side) const noexcept {
        const int left = (side.way + 3) % 4;
        const Side ahead{side.x + kStepX[side.way], side.y + kStepY[side.way], side.way};
        const Side beside{ahead.x + kStepX[left], ahead.y + kStepY[left], left};
        if (!IsMarked(ahead.x, ahead.y)) {
            return {side.x, side.y, (side.way + 1) % 4};
        }
        return IsMarked(beside.x, beside.y) ? beside : ahead;
    }

    // Cuts a walk into loops where it comes by a corner again. Those that run the other way round are holes.
    void Append(const Corners& corners, Loops& polygon) const {
        Corners open;
        std::unordered_map<std::int64_t, std::size_t> places;
        const auto key = [this](const std::pair<int, int>& at) {
            return std::int64_t{at.second} * (m_width + 1) + at.first;
        };
        for (const auto& at : corners) {
            const auto [found, isNew] = places.try_emplace(key(at), open.size());
            if (!isNew) {
                AppendLoop({open.begin() + static_cast<std::ptrdiff_t>(found->second), open.end()}, polygon);
                while (open.size() > found->second + 1) {
                    places.erase(key(open.back()));
                    open.pop_back();
                }
                continue;
            }
            open.push_back(at);
        }
        AppendLoop(open, polygon);
    }
    void AppendLoop(const Corners& corners, Loops& polygon) const {
        Loop loop;
        for (const auto& [x, y] : corners) {
            loop.push_back(m_corner + ImagePoint(x, y));
        }
        (SignedArea(loop) > 0.0 ? polygon.outer : polygon.holes).push_back(std::move(loop));
    }

    Raster m_mask;
    ImagePoint m_corner;
    int m_width;
    int m_height;
    std::vector<std::uint32_t> m_owners;
    std::vector<bool> m_passed;  // The tops of pixels.
    std::vector<Loops> m_polygons;
};

}  // namespace

std::vector<Loops> PolygonsOf(Raster mask, ImagePoint origin) { return Tracer(std::move(mask), origin).Trace(); }

}  // namespace host
