#include "check/ContractTables.h"

#include <algorithm>
#include <stdexcept>
#include <string>

#include "contract/InterfaceId.h"

namespace {

using Operations = std::vector<Operation>;

const Operations kRoi = {{3, "GetBoundingSize", "DD"}, {4, "GetCenter", "DD"},         {5, "SetCenter", "dd"},
                         {6, "Transform", "t"},        {7, "Replicate", "o"},          {8, "GetMask", "o"},
                         {9, "HitTest", "ddJ"},        {10, "GetBoundingRect", "IIUU"}};

const Operations kRectangle = {
    {11, "GetSize", "DD"},         {12, "SetSize", "dd"},         {13, "get_Roll", "D"},
    {14, "put_Roll", "d"},         {15, "GetCornerPoint", "iDD"}, {16, "GetCornerPointI", "iII"},
    {17, "SetCornerPoint", "idd"}, {18, "GetAspectRatio", "D"},   {19, "SetAspectRatio", "d"}};

const Operations kMask = {{20, "SetMask", "mi"}};

const Operations kParallelogram = {{11, "GetSize", "DD"},
                                   {12, "SetSize", "dd"},
                                   {13, "get_A", "D"},
                                   {14, "put_A", "d"},
                                   {15, "get_B", "D"},
                                   {16, "put_B", "d"},
                                   {17, "get_Roll", "D"},
                                   {18, "put_Roll", "d"},
                                   {19, "get_Shear", "D"},
                                   {20, "put_Shear", "di"},
                                   {21, "GetCornerPoint", "iDD"},
                                   {22, "SetCornerPoint", "idd"}};

const Operations kEllipse = {
    {11, "GetNode", "iDD"}, {12, "SetNode", "idd"}, {13, "GetRadius", "DD"}, {14, "SetRadius", "dd"}};

const Operations kDonut = {{11, "GetNode", "iDD"},   {12, "SetNode", "idd"},  {13, "GetRadius", "iDD"},
                           {14, "SetRadius", "idd"}, {15, "SetLimits", "dd"}, {16, "GetLimits", "NN"}};

const Operations kProfile = {{11, "GetThickness", "iDD"},
                             {12, "SetThickness", "idd"},
                             {13, "SetUniformThickness", "dd"},
                             {14, "GetNumberPoints", "I"},
                             {15, "RemovePoint", "i"},
                             {16, "GetPoint", "iNNNNN"},
                             {17, "SetPoint", "idd"},
                             {18, "InsertPoint", "idd"},
                             {19, "AddPoint", "dd"},
                             {20, "Fit", "di"},
                             {21, "GetNodePoint", "iiDD"},
                             {22, "SetNodePoint", "iidd"},
                             {23, "GetNodePointI", "iiII"}};

const Operations kShape = {{11, "SetGeometry", "g"}};

Operations RoiAnd(std::initializer_list<Operations> added) {
    Operations all = kRoi;
    for (const Operations& operations : added) {
        all.insert(all.end(), operations.begin(), operations.end());
    }
    return all;
}

const std::vector<Step> kTypicalBox = {{"SetSize", {61.5, 33.25}}, {"put_Roll", {0.3}}, {"SetCenter", {40.5, -12.75}}};
const std::vector<Step> kTypicalRing = {{"SetCenter", {70.5, 33.75}},
                                        {"SetRadius", {0, 20.5, 24}},
                                        {"SetRadius", {1, 40.25, 36}},
                                        {"SetLimits", {0.5, -1.25}}};

}  // namespace

bool ClassContract::Answers(std::string_view interfaceName) const noexcept {
    return std::find(answers.begin(), answers.end(), interfaceName) != answers.end();
}

const Operation& ClassContract::At(std::string_view operation) const {
    const auto found = std::find_if(operations.begin(), operations.end(),
                                    [&](const Operation& entry) { return entry.name == operation; });
    if (found == operations.end()) {
        throw std::logic_error(std::string(name) + " has no operation " + std::string(operation));
    }
    return *found;
}

const std::vector<ClassContract>& ClassContracts() {
    static const std::vector<ClassContract> kClasses = {
        {"ROIDonut",
         {"IObjectInfo", "IDataPersist", "IParametricObject", "IReplicableObject", "IROI", "IROIDonut", "IROIArcDonut",
          "ITransformableObject", "IUIPropertyPageSpecify"},
         RoiAnd({kDonut}),
         kTypicalRing},
        {"ROIArcDonut",
         {"IObjectInfo", "IDataPersist", "IROIArcDonut", "IROIDonut", "IROI", "IParametricObject", "IReplicableObject",
          "ITransformableObject", "IUIPropertyPageSpecify"},
         RoiAnd({kDonut}),
         kTypicalRing},
        {"ROIEllipse",
         {"IObjectInfo", "IROI", "IROIEllipse", "IParametricObject", "IDataPersist"},
         RoiAnd({kEllipse}),
         {{"SetCenter", {40.5, -12.75}}, {"SetRadius", {21.25, 9.5}}}},
        {"ROIMask", {"IObjectInfo", "IROIMask", "IROIRectangle", "IROI"}, RoiAnd({kRectangle, kMask}), kTypicalBox},
        {"ROIParallelogram",
         {"IObjectInfo", "IROI", "IROIParallelogram", "IUIPropertyPageSpecify", "IReplicableObject",
          "ITransformableObject", "IParametricObject", "IDataPersist"},
         RoiAnd({kParallelogram}),
         {{"SetSize", {61.5, 33.25}}, {"put_Roll", {0.3}}, {"put_Shear", {0.4, 0}}, {"SetCenter", {40.5, -12.75}}}},
        {"ROIProfile",
         {"IObjectInfo", "IDataPersist", "IParametricObject", "IReplicableObject", "IROI", "IROIProfile",
          "ITransformableObject", "IUIPropertyPageSpecify"},
         RoiAnd({kProfile}),
         {{"AddPoint", {10, 20}},
          {"AddPoint", {35.25, 18}},
          {"AddPoint", {60.5, 44}},
          {"SetThickness", {0, 3, 4}},
          {"SetThickness", {1, 2.5, 6}}}},
        {"ROIRectangle",
         {"IObjectInfo", "IROI", "IROIRectangle", "IUIPropertyPageSpecify", "IReplicableObject", "ITransformableObject",
          "IParametricObject", "IDataPersist", "IGeometry"},
         RoiAnd({kRectangle}),
         kTypicalBox},
        {"ROIShape",
         {"IObjectInfo", "IROI", "IROIShape", "IParametricObject", "IDataPersist", "IReplicableObject",
          "ITransformableObject"},
         RoiAnd({kShape}),
         {}}};
    return kClasses;
}

const ClassContract& ClassNamed(std::string_view name) {
    const auto& classes = ClassContracts();
    return *std::find_if(classes.begin(), classes.end(),
                         [&](const ClassContract& entry) { return entry.name == name; });
}

std::span<const char* const> InterfaceNames() noexcept {
#define NAME_OF(name) #name,
    static constexpr const char* kNames[] = {FRAMEWORK_INTERFACES(NAME_OF)};
#undef NAME_OF
    return kNames;
}
