// An affine map of image points, and the transform object through which figures are mapped.
#pragma once

#include <array>
#include <string>

#include "contract/Framework.h"
#include "contract/SmartPtr.h"
#include "host/base/Text.h"

namespace host {

struct Figure;

/// x' = m[0] x + m[1] y + m[2], y' = m[3] x + m[4] y + m[5].
struct Matrix {
    std::array<double, 6> m{};

    Matrix() = default;
    /// Reads `a,b,c,d,e,f`. Throws a usage error for anything else and for a singular matrix.
    explicit Matrix(const std::string& text);

    ImagePoint Map(ImagePoint p) const noexcept {
        return {m[0] * p.x + m[1] * p.y + m[2], m[3] * p.x + m[4] * p.y + m[5]};
    }

    // What the matrix does to lengths and directions. Its columns are where the axes go.
    bool KeepsDirections() const noexcept { return m[1] == 0.0 && m[3] == 0.0 && m[0] == m[4] && m[0] > 0.0; }
    bool KeepsAxes() const noexcept { return m[1] == 0.0 && m[3] == 0.0; }
    bool Moves() const noexcept { return KeepsDirections() && m[0] == 1.0; }
    bool Mirrors() const noexcept { return m[0] * m[4] - m[1] * m[3] < 0.0; }
    /// Whether two directions at right angles, the first by its cosine and sine, stay so.
    bool KeepsRightAngle(double cosine, double sine) const noexcept;
    /// Whether circles stay circles.
    bool KeepsCircles() const noexcept;
};

/// Maps a figure through a matrix, as its class does. Returns what the class leaves out, as half a sentence, empty
/// when it follows the matrix wholly. Throws Error when the figure refuses or ends at coordinates that are not finite;
/// it is changed by then.
std::string MapFigure(const Figure& figure, const Matrix& matrix);

}  // namespace host
