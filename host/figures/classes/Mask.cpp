// What the host knows of the mask: it has no parameters of its own, so the host shows those of its rectangle.
#include <array>

#include "contract/Numbers.h"
#include "framework/support/NamedValues.h"
#include "host/figures/MaskPicture.h"
#include "host/figures/classes/Rows.h"

namespace host {

namespace {

struct Placement {
    double centerX, centerY, width, height, roll, aspect;
};

Placement PlacementOf(const SmartPtr<IROIRectangle>& rectangle) {
    Placement p{};
    rectangle->GetCenter(&p.centerX, &p.centerY);
    rectangle->GetSize(&p.width, &p.height);
    rectangle->get_Roll(&p.roll);
    rectangle->GetAspectRatio(&p.aspect);
    return p;
}

void Place(const SmartPtr<IROIRectangle>& rectangle, const Placement& p) {
    rectangle->SetAspectRatio(p.aspect);
    rectangle->SetSize(p.width, p.height);  // After the ratio, which changes the height.
    rectangle->put_Roll(p.roll);
    rectangle->SetCenter(p.centerX, p.centerY);
}

// The names that a rectangle has, in its order. The roll is in degrees in lists.
struct Row {
    const char* name;
    double Placement::*member;
    bool inDegrees = false;

    double Read(const Placement& p) const noexcept { return inDegrees ? ToDegrees(p.*member) : p.*member; }
    void Write(Placement& p, double value) const noexcept { p.*member = inDegrees ? kPi * value / 180.0 : value; }
};
constexpr std::array<Row, 6> kRows = {{{"CenterX", &Placement::centerX},
                                       {"CenterY", &Placement::centerY},
                                       {"Width", &Placement::width},
                                       {"Height", &Placement::height},
                                       {"Angle", &Placement::roll, true},
                                       {"FixedAspect", &Placement::aspect}}};

SmartPtr<INamedCollection> ParameterListOf(IROI& roi) {
    const Placement placement = PlacementOf(Its<IROIRectangle>(roi));
    std::vector<NamedValue> values;
    values.reserve(kRows.size());
    for (const Row& row : kRows) {
        values.push_back({row.name, row.Read(placement), 0});
    }
    return MakeList(values);
}

void ApplyList(IROI& roi, INamedCollection& list) {
    const auto rectangle = Its<IROIRectangle>(roi);
    Placement placement = PlacementOf(rectangle);
    for (const NamedValue& value : Entries(list)) {
        for (const Row& row : kRows) {
            const double* number = std::get_if<double>(&value.value);
            if (value.name == row.name && number != nullptr) {
                row.Write(placement, *number);
            }
        }
    }
    Place(rectangle, placement);
}

std::string LeftOut(IROI& /*roi*/, const Matrix& matrix) {
    return matrix.Moves() ? "" : "the image of a mask is neither turned nor scaled, its rectangle is";
}

Outline OutlineOf(const Figure& figure) {
    Outline outline = CornerOutline<IROIRectangle>(figure);
    outline.isImage = HasMaskImage(figure);
    return outline;
}

std::string LostInXML(const Figure& figure) {
    return HasMaskImage(figure) ? "XML does not keep the image of a mask" : "";
}

}  // namespace

const FigureClass kMask = {.name = "ROIMask",
                           .what = "a bitmap, placed in a rectangle",
                           .nodes = BoxNodes(kNodeRollGrip),
                           .getNode = GetBoxNode<IROIRectangle>,
                           .dragNode = DragBoxNode<IROIRectangle>,
                           .outline = OutlineOf,
                           .modulePixels = ModulePixels::maskOrBox,
                           .hitBoxes = BoundingHitBox,
                           .contents = Contents::image,
                           .rollParameter = "Angle",
                           .getRoll = GetBoxRoll<IROIRectangle>,
                           .putRoll = PutBoxRoll<IROIRectangle>,
                           .parameterList = ParameterListOf,
                           .applyList = ApplyList,
                           .leftOut = LeftOut,
                           .lostInXML = LostInXML};

}  // namespace host
