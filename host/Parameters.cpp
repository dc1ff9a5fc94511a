#include "host/Parameters.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <map>

#include "host/Error.h"
#include "host/Text.h"
#include "runtime/Parametric.h"

namespace {

// How a parameter page is told to show a value that is derived from others, and a push button.
constexpr int kDerivedKind = 0x4040005;
constexpr int kActionKind = 8;

// ---------------------------------------------------------------------------------------------------
// A mask's rectangle under the names that a rectangle has

struct Placement {
    double centerX, centerY, width, height, roll, aspect;
};

Placement PlacementOf(IROIRectangle& rectangle) {
    Placement p{};
    rectangle.GetCenter(&p.centerX, &p.centerY);
    rectangle.GetSize(&p.width, &p.height);
    rectangle.get_Roll(&p.roll);
    rectangle.GetAspectRatio(&p.aspect);
    return p;
}

void Place(IROIRectangle& rectangle, const Placement& p) {
    rectangle.SetAspectRatio(p.aspect);
    rectangle.SetSize(p.width, p.height);  // After the ratio, which changes the height.
    rectangle.put_Roll(p.roll);
    rectangle.SetCenter(p.centerX, p.centerY);
}

constexpr std::array<Parameter<Placement>, 6> kPlacementParameters = {{
    Stored<Placement, &Placement::centerX>(Text(L"CenterX")),
    Stored<Placement, &Placement::centerY>(Text(L"CenterY")),
    Stored<Placement, &Placement::width>(Text(L"Width")),
    Stored<Placement, &Placement::height>(Text(L"Height")),
    {Text(L"Angle"), [](const Placement& p) noexcept { return ToDegrees(p.roll); },
     [](Placement& p, double degrees) noexcept { p.roll = kPi * degrees / 180.0; }},
    Stored<Placement, &Placement::aspect>(Text(L"FixedAspect")),
}};

void ApplyToRectangle(IROIRectangle& rectangle, INamedCollection& list) {
    Placement placement = PlacementOf(rectangle);
    ParameterReader reader(list);
    for (const auto& row : kPlacementParameters) {
        ReadVariantRow(reader, row, placement);
    }
    Place(rectangle, placement);
}

// ---------------------------------------------------------------------------------------------------
// Particulars of classes

// Rectangle and parallelogram convert their stored roll whenever a list comes, even one without it. The
// figure's roll, to be put back; nothing for other classes.
class KeptRoll {
  public:
    explicit KeptRoll(const Figure& figure)
        : m_rectangle(figure.As<IROIRectangle>()), m_parallelogram(figure.As<IROIParallelogram>()) {
        if (m_rectangle) {
            m_rectangle->get_Roll(&m_roll);
        } else if (m_parallelogram) {
            m_parallelogram->get_Roll(&m_roll);
        }
    }
    void PutBack() const {
        if (m_rectangle) {
            m_rectangle->put_Roll(m_roll);
        } else if (m_parallelogram) {
            m_parallelogram->put_Roll(m_roll);
        }
    }

  private:
    SmartPtr<IROIRectangle> m_rectangle;
    SmartPtr<IROIParallelogram> m_parallelogram;
    double m_roll = 0.0;
};

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
    if (current.presentationKind == kDerivedKind) {
        throw UsageError("cannot set parameter", assignment.key, "it follows from the other parameters");
    }
    if (std::holds_alternative<int>(current.value)) {
        if (const auto integer = ParseInteger(assignment.value)) {
            return *integer;
        }
        throw UsageError("not a whole number", assignment.key + '=' + assignment.value, "write it as in LockA=1");
    }
    if (const auto number = ParseNumber(assignment.value)) {
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
        values[assignment.key] = ParsedValue(*found, assignment);
    }
    return values;
}

SmartPtr<INamedCollection> ListOf(const Values& values) {
    ParameterWriter writer;
    for (const auto& [name, value] : values) {
        const std::wstring wide = *ToWide(name);  // The name is one that the figure gave.
        std::visit([&](auto number) { writer.Add(RecordOf(wide), number); }, value);
    }
    SmartPtr<INamedCollection> list;
    writer.HandOut(list.Receive());
    return list;
}

std::string TextOf(IUnknown* string) {
    tagREFString text{0, nullptr};
    if (const auto held = SmartPtr<IString>::QueryFrom(string)) {
        held->GetText(&text.text, &text.length);
    }
    return ToUtf8(text);
}

std::variant<int, double, std::string> ValueOf(IUnknown* item) {
    const auto variant = SmartPtr<IVariant>::QueryFrom(item);
    if (!variant) {
        return TextOf(item);
    }
    if (variant->HasString() != 0) {
        SmartPtr<IUnknown> held;
        variant->GetString(held.Receive());
        return TextOf(held.Get());
    }
    if (variant->GetKind() == kVariantInteger) {
        return variant->GetInteger();
    }
    return variant->GetDouble();
}

NamedValue Entry(INamedCollection& list, IListing& listing, int index) {
    tagREFString name{0, nullptr};
    listing.GetName(index, &name);
    SmartPtr<IUnknown> item;
    list.GetItem(index, item.Receive());
    return {ToUtf8(name), ValueOf(item.Get()), listing.GetPresentationKind(index)};
}

}  // namespace

bool NamedValue::IsState() const noexcept {
    return presentationKind != kDerivedKind && presentationKind != kActionKind;
}

std::string NamedValue::AsAssignment() const {
    return std::visit([&](const auto& held) { return fmt::format("{}={}", name, held); }, value);
}

std::string ParameterLine(const std::vector<NamedValue>& values) {
    std::string line;
    for (const NamedValue& value : values) {
        if (value.IsState()) {
            line += (line.empty() ? "" : " ") + value.AsAssignment();
        }
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
    Result result = S_OK;
    if (const auto parametric = figure.As<IParametricObject>()) {
        result = parametric->GetParameters(list.Receive(), 0);
    } else if (const auto mask = figure.As<IROIMask>()) {
        result = HandOutParameters(kPlacementParameters, PlacementOf(*mask), list.Receive());
    }
    if (Failed(result)) {
        throw Error("cannot read parameters", figure.name, "the module gives none");
    }
    return list;
}

void ApplyParameterList(const Figure& figure, INamedCollection& list) {
    if (const auto parametric = figure.As<IParametricObject>()) {
        parametric->SetParameters(&list);
    } else if (const auto mask = figure.As<IROIMask>()) {
        ApplyToRectangle(*mask, list);
    }
}

std::vector<NamedValue> Entries(INamedCollection& list) {
    std::vector<NamedValue> entries;
    if (const auto listing = SmartPtr<IListing>::QueryFrom(&list)) {
        for (int i = 0; i < listing->GetCount(); ++i) {
            entries.push_back(Entry(list, *listing, i));
        }
    }
    return entries;
}

std::vector<NamedValue> ReadParameters(const Figure& figure) {
    const SmartPtr<INamedCollection> list = ParameterList(figure);
    return list ? Entries(*list) : std::vector<NamedValue>();
}

void SetParameters(const Figure& figure, std::span<const Assignment> assignments) {
    if (assignments.empty()) {
        return;
    }
    const std::vector<NamedValue> current = ReadParameters(figure);
    Values values = ParsedValues(current, assignments);
    CompleteThickness(figure, current, values);
    const SmartPtr<INamedCollection> list = ListOf(values);
    if (!list) {
        throw Error("cannot set parameters", figure.name, "the framework gives no parameter list");
    }
    const KeptRoll roll(figure);
    ApplyParameterList(figure, *list);
    if (!values.contains("Angle") && !values.contains("Roll")) {
        roll.PutBack();
    }
}
