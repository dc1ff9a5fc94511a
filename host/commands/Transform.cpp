#include <algorithm>
#include <array>
#include <cmath>
#include <memory>
#include <set>

#include "host/Commands.h"
#include "host/Error.h"
#include "host/Nodes.h"
#include "host/RoiSet.h"

namespace {

const std::string kDetails =
    R"(The matrix a,b,c,d,e,f maps the point (x, y) to (a x + b y + c, d x + e y + f). Every figure maps itself, as its
class does: none of them leans or mirrors where its parameters have no room for it. A warning for each figure
says what its class leaves out. Without names all figures are mapped.

)";

struct Matrix {
    // x' = m[0] x + m[1] y + m[2], y' = m[3] x + m[4] y + m[5].
    std::array<double, 6> m{};

    Matrix() = default;
    explicit Matrix(const std::string& text) {
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
    }

    ImagePoint Map(ImagePoint p) const noexcept {
        return {m[0] * p.x + m[1] * p.y + m[2], m[3] * p.x + m[4] * p.y + m[5]};
    }

    // What the matrix does to lengths and directions. Its columns are where the axes go.
    bool KeepsDirections() const noexcept { return m[1] == 0.0 && m[3] == 0.0 && m[0] == m[4] && m[0] > 0.0; }
    bool KeepsAxes() const noexcept { return m[1] == 0.0 && m[3] == 0.0; }
    bool Moves() const noexcept { return KeepsDirections() && m[0] == 1.0; }
    bool Mirrors() const noexcept { return m[0] * m[4] - m[1] * m[3] < 0.0; }
    // Whether two directions at right angles, the first by the cosine c and sine s, stay so.
    bool KeepsRightAngle(double c, double s) const noexcept {
        const double x1 = m[0] * c + m[1] * s;
        const double y1 = m[3] * c + m[4] * s;
        const double x2 = m[1] * c - m[0] * s;
        const double y2 = m[4] * c - m[3] * s;
        return IsNoise(x1 * x2 + y1 * y2, std::hypot(x1, y1) * std::hypot(x2, y2));
    }
    // Whether circles stay circles.
    bool KeepsCircles() const noexcept {
        const double first = std::hypot(m[0], m[3]);
        const double second = std::hypot(m[1], m[4]);
        return KeepsRightAngle(1.0, 0.0) && IsNoise(first - second, first);
    }

  private:
    static bool IsNoise(double value, double scale) noexcept { return std::abs(value) <= 1e-9 * scale; }
};

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

template <>
inline const tagREFString IObjectInfoImpl<MatrixTransform>::m_ObjectName = Text(L"MatrixTransform");

namespace {

bool IsCircle(double radiusX, double radiusY) noexcept { return std::abs(radiusX) == std::abs(radiusY); }

// Ellipses stay upright; rings are two of them.
bool FollowsRound(const Matrix& matrix, const Figure& figure) {
    double x = 0.0;
    double y = 0.0;
    if (const auto ellipse = figure.As<IROIEllipse>()) {
        ellipse->GetRadius(&x, &y);
        return matrix.KeepsAxes() || (matrix.KeepsCircles() && IsCircle(x, y));
    }
    const auto donut = figure.As<IROIDonut>();
    bool circles = true;
    for (const int ring : {0, 1}) {
        donut->GetRadius(ring, &x, &y);
        circles = circles && IsCircle(x, y);
    }
    return matrix.KeepsAxes() || (matrix.KeepsCircles() && circles);
}

// What a figure's class leaves out of the matrix, as half a sentence; empty when it follows it wholly.
std::string LeftOut(const Matrix& matrix, const Figure& figure) {
    double roll = 0.0;
    double shear = 0.0;
    if (figure.As<IROIShape>()) {
        return "a shape ignores transforms";
    }
    if (figure.As<IROIMask>()) {
        return matrix.Moves() ? "" : "the image of a mask is neither turned nor scaled, its rectangle is";
    }
    if (const auto rectangle = figure.As<IROIRectangle>()) {
        rectangle->get_Roll(&roll);
        return matrix.KeepsRightAngle(std::cos(roll), std::sin(roll)) ? "" : "a rectangle does not lean";
    }
    if (const auto parallelogram = figure.As<IROIParallelogram>()) {
        parallelogram->get_Roll(&roll);
        parallelogram->get_Shear(&shear);
        const bool follows = shear == 0.0 ? matrix.KeepsRightAngle(std::cos(roll), std::sin(roll))
                                          : matrix.KeepsCircles() && !matrix.Mirrors();
        return follows ? "" : "a parallelogram keeps its shear";
    }
    if (figure.As<IROIProfile>()) {
        return matrix.KeepsCircles() && !matrix.Mirrors()
                   ? ""
                   : "a profile keeps its thicknesses on their sides and scales them segment by segment";
    }
    if (!FollowsRound(matrix, figure)) {
        return "its axes stay upright";
    }
    // The plain donut answers IROIArcDonut as well; only its name tells it apart.
    return figure.className == "ROIArcDonut" && !matrix.KeepsDirections() ? "an arc donut keeps its limits" : "";
}

struct TransformOptions {
    UserPath set;
    Matrix matrix;
    std::vector<std::string> names;
};

void Map(const Figure& figure, ITransform& transform) {
    if (Failed(figure.roi->Transform(&transform))) {
        throw Error("cannot transform", figure.name, "the module refuses");
    }
    for (const Node& node : NodesOf(figure)) {
        if (!std::isfinite(node.at.x) || !std::isfinite(node.at.y)) {
            throw Error("cannot transform", figure.name, "the result is too large for a number");
        }
    }
}

void Run(const TransformOptions& options) {
    const Session session;
    const RoiSet set = RoiSet::Load(session, options.set);
    std::set<std::string> names;
    for (const std::string& name : options.names) {
        names.insert(set.At(name).name);
    }
    const auto transform = SmartPtr<ITransform>::Adopt(new MatrixTransform(options.matrix));
    std::vector<std::pair<std::string, std::string>> leftOut;
    for (const Figure& figure : set.Figures()) {
        if (names.empty() || names.contains(figure.name)) {
            leftOut.emplace_back(figure.name, LeftOut(options.matrix, figure));
            Map(figure, *transform);
        }
    }
    set.Save(options.set);
    for (const auto& [name, what] : leftOut) {
        if (!what.empty()) {
            Warn(name, what);
        }
    }
}

}  // namespace

void AddTransformCommand(CLI::App& roi) {
    const auto options = std::make_shared<TransformOptions>();
    CLI::App& command = AddCommand(roi, "transform", "Maps figures through a matrix",
                                   "roi transform part.roi --matrix 1,0,12.5,0,1,-3 hole edge");
    command.footer(kDetails + command.get_footer());
    AddSetArgument(command, options->set);
    command.add_option("--matrix", options->matrix, "Six numbers, row by row")->required()->type_name("a,b,c,d,e,f");
    command.add_option("NAME", options->names, "Names of the figures")->type_name("");
    command.callback([options] { Run(*options); });
}
