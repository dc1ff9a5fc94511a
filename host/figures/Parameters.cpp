#include "host/figures/Parameters.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>

#include "contract/Presentation.h"
#include "host/base/Error.h"
#include "host/base/Text.h"
#include "host/figures/FigureClass.h"

namespace host {

namespace {

// Puts the roll of a figure back whose class converts it whenever a list comes; see FigureClass::rollParameter.
class KeptRoll {
  public:
    explicit KeptRoll(const Figure& figure) : m_figure(figure) {
        if (figure.type->rollParameter != nullptr) {
            figure.type->getRoll(*figure.roi, &m_roll);
        }
    }
    void PutBackUnless(bool set) const {
        if (m_figure.type->rollParameter != nullptr && !set) {
            m_figure.type->putRoll(*m_figure.roi, m_roll);
        }
    }

  private:
    const Figure& m_figure;
    double m_roll = 0.0;
};

// Degrees that the class makes of radians: their last digits are noise.
bool IsAngle(const std::string& name) { return name.ends_with("Angle") || name == "Roll" || name == "Shear"; }

using Values = std::map<std::string, std::variant<int, double>>;

bool IsThickness(const std::string& name) { return name == "Thickness1" || name == "Thickness2"; }

// A profile takes its two thicknesses only together, and only when neither is 0.
void CompleteThickness(const Figure& figure, const std::vector<NamedValue>& current, Values& values) {
    const auto profile = figure.As<IROIProfile>();
    if (!profile || std::none_of(values.begin(), values.end(), [](const auto& v) { return IsThickness(v.first); })) {
        return;
    }
    int count = 0;
    profile->GetNumberPoints(&count);
    if (count < 1) {
        throw UsageError("cannot set thickness", figure.name, "the profile has no points");
    }
    for (const NamedValue& value : current) {
        if (!IsThickness(value.name)) {
            continue;
        }
        const auto& thickness = values.try_emplace(value.name, std::get<double>(value.value)).first->second;
        if (std::get<double>(thickness) == 0.0) {
            throw UsageError("cannot set thickness", figure.name, "a profile takes no thickness of 0");
        }
    }
}

std::variant<int, double> ParsedValue(const NamedValue& current, const Assignment& assignment) {
    if (current.presentationKind == kPresentShown) {
        throw UsageError("cannot set parameter", assignment.key, "it follows from the other parameters");
    }
    if (std::holds_alternative<int>(current.value)) {
        if (const auto integer = ParseInteger(assignment.value)) {
            return *integer;
        }
        throw UsageError("not a whole number", assignment.key + '=' + assignment.value, "write it as in LockA=1");
    }
    if (const auto number = ParseNumber(assignment.value)) {
        if (*number < 0.0 && assignment.key.starts_with("Radius")) {
            throw UsageError("negative radius", assignment.key + '=' + assignment.value, "a radius is 0 or more");
        }
        return *number;
    }
    throw UsageError("not a number", assignment.key + '=' + assignment.value, "write it as in 12.5, -3e2 or #1F");
}

Values ParsedValues(const std::vector<NamedValue>& current, std::span<const Assignment> assignments) {
    Values values;
    for (const Assignment& assignment : assignments) {
        const auto found = std::find_if(current.begin(), current.end(),
                                        [&](const NamedValue& value) { return value.name == assignment.key; });
        if (found == current.end()) {
            std::vector<std::string> known;
            std::transform(current.begin(), current.end(), std::back_inserter(known),
                           [](const NamedValue& value) { return value.name; });
            throw UnknownName("parameter", assignment.key, known);
        }
        if (!values.try_emplace(assignment.key, ParsedValue(*found, assignment)).second) {
            throw UsageError("parameter given twice", assignment.key, "which of the values is meant is not clear");
        }
    }
    return values;
}

std::vector<NamedValue> Named(const Values& values) {
    std::vector<NamedValue> named;
    for (const auto& [name, value] : values) {
        std::visit([&named, &name = name](auto number) { named.push_back({name, number, 0}); }, value);
    }
    return named;
}

}  // namespace

const char* UnitOf(const NamedValue& value) noexcept {
    if (IsAngle(value.name)) {
        return "degrees";
    }
    return std::holds_alternative<double>(value.value) && value.name != "FixedAspect" ? "px" : "";
}

std::vector<NamedValue> Settable(std::vector<NamedValue> values) {
    std::erase_if(values, [](const NamedValue& value) { return !value.IsState(); });
    return values;
}

std::string ParameterLine(const std::vector<NamedValue>& values) {
    std::string line;
    for (const NamedValue& value : values) {
        // The actions of a profile have blanks in their names.
        const char* const quote = value.name.find(' ') != std::string::npos ? "\"" : "";
        line += (line.empty() ? "" : " ") + (quote + value.AsAssignment()) + quote;
    }
    return line;
}

Assignment::Assignment(const std::string& text) {
    const std::size_t sign = text.find('=');
    if (sign == std::string::npos || sign == 0) {
        throw UsageError("not a parameter", text, "write Key=value, as in CenterX=12.5");
    }
    key = text.substr(0, sign);
    value = text.substr(sign + 1);
}

SmartPtr<INamedCollection> ParameterList(const Figure& figure) {
    SmartPtr<INamedCollection> list;
    if (figure.type->parameterList != nullptr) {
        list = figure.type->parameterList(*figure.roi);
    } else if (const auto parametric = figure.As<IParametricObject>()) {
        parametric->GetParameters(list.Receive(), 0);
    }
    if (!list) {
        throw Error("cannot read parameters", figure.name, "the module gives none");
    }
    return list;
}

void ApplyParameterList(const Figure& figure, INamedCollection& list) {
    if (figure.type->applyList != nullptr) {
        figure.type->applyList(*figure.roi, list);
    } else if (const auto parametric = figure.As<IParametricObject>()) {
        parametric->SetParameters(&list);
    }
}

std::vector<NamedValue> ReadParameters(const Figure& figure) {
    std::vector<NamedValue> values = Entries(*ParameterList(figure));
    for (NamedValue& value : values) {
        if (double* const number = std::get_if<double>(&value.value)) {
            *number = IsAngle(value.name) ? *ParseNumber(fmt::format("{:.15g}", *number)) : *number;
            *number = *number == 0.0 ? 0.0 : *number;  // -0 says nothing to anybody.
        }
    }
    return values;
}

void SetParameters(const Figure& figure, std::span<const Assignment> assignments) {
    if (assignments.empty()) {
        return;
    }
    const std::vector<NamedValue> current = ReadParameters(figure);
    Values values = ParsedValues(current, assignments);
    CompleteThickness(figure, current, values);
    const SmartPtr<INamedCollection> list = MakeList(Named(values));
    if (!list) {
        throw Error("cannot set parameters", figure.name, "the framework gives no parameter list");
    }
    const KeptRoll roll(figure);
    ApplyParameterList(figure, *list);
    roll.PutBackUnless(figure.type->rollParameter != nullptr && values.contains(figure.type->rollParameter));
}

}  // namespace host
