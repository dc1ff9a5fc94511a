#include "host/figures/Matrix.h"

#include <algorithm>
#include <cmath>

#include "contract/Object.h"
#include "host/figures/FigureClass.h"
#include "host/figures/Nodes.h"

namespace host {

namespace {

bool IsNoise(double value, double scale) noexcept { return std::abs(value) <= 1e-9 * scale; }

class MatrixTransform final : public Component<MatrixTransform, ITransform> {
  public:
    using Answers = InterfaceMap<ITransform>;

    explicit MatrixTransform(const Matrix& matrix) noexcept : m_matrix(matrix) {}

    Result TransformPoint(double* x, double* y, double* /*z*/) noexcept override {
        const ImagePoint mapped = m_matrix.Map({*x, *y});
        *x = mapped.x;
        *y = mapped.y;
        return S_OK;
    }

  private:
    Matrix m_matrix;
};

}  // namespace

}  // namespace host

template <>
inline const tagREFString IObjectInfoImpl<host::MatrixTransform>::m_ObjectName = Text(L"MatrixTransform");

namespace host {

Matrix::Matrix(const std::string& text) {
    std::size_t start = 0;
    for (double& value : m) {
        const std::size_t end = &value == &m.back() ? text.size() : std::min(text.find(',', start), text.size());
        const auto number = ParseNumber(std::string_view(text).substr(std::min(start, text.size()), end - start));
        if (!number) {
            throw UsageError("not a matrix", text, "write six numbers a,b,c,d,e,f, as in 1,0,12.5,0,1,-3");
        }
        value = *number;
        start = end + 1;
    }
    if (m[0] * m[4] - m[1] * m[3] == 0.0) {
        throw UsageError("not a matrix", text, "it is singular: all figures would become flat");
    }
}

bool Matrix::KeepsRightAngle(double cosine, double sine) const noexcept {
    const double x1 = m[0] * cosine + m[1] * sine;
    const double y1 = m[3] * cosine + m[4] * sine;
    const double x2 = m[1] * cosine - m[0] * sine;
    const double y2 = m[4] * cosine - m[3] * sine;
    return IsNoise(x1 * x2 + y1 * y2, std::hypot(x1, y1) * std::hypot(x2, y2));
}

bool Matrix::KeepsCircles() const noexcept {
    const double first = std::hypot(m[0], m[3]);
    const double second = std::hypot(m[1], m[4]);
    return KeepsRightAngle(1.0, 0.0) && IsNoise(first - second, first);
}

std::string MapFigure(const Figure& figure, const Matrix& matrix) {
    std::string leftOut = figure.type->leftOut(*figure.roi, matrix);
    const auto transform = SmartPtr<ITransform>::Adopt(new MatrixTransform(matrix));
    if (Failed(figure.roi->Transform(transform.Get()))) {
        throw Error("cannot transform", figure.name, "the module refuses");
    }
    for (const Node& node : NodesOf(figure)) {
        if (!std::isfinite(node.at.x) || !std::isfinite(node.at.y)) {
            throw Error("cannot transform", figure.name, "the result is too large for a number");
        }
    }
    return leftOut;
}

}  // namespace host
