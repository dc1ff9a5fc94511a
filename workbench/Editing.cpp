#include "workbench/Editing.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <memory>
#include <span>
#include <utility>
#include <vector>

#include "host/figures/FigureClass.h"
#include "host/figures/Nodes.h"
#include "host/figures/Parameters.h"
#include "host/figures/Points.h"
#include "host/sets/SetFile.h"

namespace host::workbench {

namespace {

constexpr std::size_t kMostEdits = 1000;

Error BadEdit(const std::string& what, const std::string& why) { return UsageError("bad edit", what, why); }

const Json& Member(const Json& edit, const char* key) {
    const auto found = edit.find(key);
    if (found == edit.end()) {
        throw BadEdit(edit.value("op", "edit"), fmt::format("it has no {}", key));
    }
    return *found;
}

std::string TextMember(const Json& edit, const char* key) {
    const Json& value = Member(edit, key);
    if (!value.is_string()) {
        throw BadEdit(key, "it is a text");
    }
    return value.get<std::string>();
}

double NumberOf(const Json& value, const char* key) {
    if (!value.is_number()) {
        throw BadEdit(key, "it is a number");
    }
    return value.get<double>();
}

int IndexMember(const Json& edit, const char* key) {
    const Json& value = Member(edit, key);
    if (!value.is_number_integer() || value < 0 || value > 1'000'000'000) {
        throw BadEdit(key, "it is a whole number from 0");
    }
    return value.get<int>();
}

ImagePoint PointMember(const Json& edit, const char* x, const char* y) {
    return {NumberOf(Member(edit, x), x), NumberOf(Member(edit, y), y)};
}

std::vector<std::string> NamesMember(const Json& edit, const char* key) {
    const Json& value = Member(edit, key);
    if (!value.is_array() || !std::all_of(value.begin(), value.end(), [](const Json& n) { return n.is_string(); })) {
        throw BadEdit(key, "it is a list of names");
    }
    return value.get<std::vector<std::string>>();
}

std::vector<ImagePoint> PointsMember(const Json& edit) {
    std::vector<ImagePoint> points;
    for (const Json& point : Member(edit, "points")) {
        if (!point.is_array() || point.size() != 2) {
            throw BadEdit("points", "they are pairs [x,y]");
        }
        points.emplace_back(NumberOf(point[0], "points"), NumberOf(point[1], "points"));
    }
    return points;
}

std::vector<Assignment> AssignmentsMember(const Json& edit) {
    std::vector<Assignment> assignments;
    for (const auto& [key, value] : Member(edit, "parameters").items()) {
        Assignment& assignment = assignments.emplace_back();
        assignment.key = key;
        assignment.value = value.is_string()         ? value.get<std::string>()
                           : value.is_number_float() ? NumberText(value.get<double>())
                           : value.is_boolean()      ? std::to_string(static_cast<int>(value.get<bool>()))
                                                     : TextOf(value);
    }
    return assignments;
}

// ---------------------------------------------------------------------------------------------------
// What each of them does

// The set, and the names of its figures that were changed or made.
struct Work {
    RoiSet& set;
    const Session& session;
    std::set<std::string> touched;

    Figure& Touch(const std::string& name) {
        Figure& figure = set.At(name);
        touched.insert(name);
        return figure;
    }
};

void Add(Work& work, const Json& edit) {
    work.set.Add(work.session, TextMember(edit, "name"), TextMember(edit, "class"));
    Figure& figure = work.Touch(TextMember(edit, "name"));
    if (edit.contains("points")) {
        SetPoints(figure, PointsMember(edit));
    }
    if (edit.contains("parameters")) {
        SetParameters(figure, AssignmentsMember(edit));
    }
}

void Set(Work& work, const Json& edit) { SetParameters(work.Touch(TextMember(edit, "name")), AssignmentsMember(edit)); }

void Drag(Work& work, const Json& edit) {
    const int flags = (edit.value("ctrl", false) ? kKeepCenter : 0) | (edit.value("shift", false) ? kBothAxes : 0);
    const Figure& figure = work.Touch(TextMember(edit, "name"));
    // A grip takes its length when somebody asks where it lies, as roi drag does before and after.
    NodesOf(figure);
    DragNode(figure, TextMember(edit, "node"), PointMember(edit, "x", "y"), flags);
    NodesOf(figure);
}

// A polygon, which the module leaves where it is, moves with its points.
void MoveFigure(Figure& figure, ImagePoint by) {
    if (figure.type->contents == Contents::geometry) {
        std::vector<ImagePoint> points = PointsOf(figure);
        std::transform(points.begin(), points.end(), points.begin(), [by](ImagePoint p) { return p + by; });
        if (!points.empty()) {
            SetPoints(figure, points);
        }
        return;
    }
    ImagePoint center;
    if (Succeeded(figure.roi->GetCenter(&center.x, &center.y))) {
        figure.roi->SetCenter(center.x + by.x, center.y + by.y);
    }
}

void Move(Work& work, const Json& edit) {
    const ImagePoint by = PointMember(edit, "dx", "dy");
    for (const std::string& name : NamesMember(edit, "names")) {
        MoveFigure(work.Touch(name), by);
    }
}

void Point(Work& work, const Json& edit) {
    Figure& figure = work.Touch(TextMember(edit, "name"));
    const std::string action = TextMember(edit, "action");
    if (action == "remove") {
        return RemovePoint(figure, IndexMember(edit, "index"));
    }
    const ImagePoint at = PointMember(edit, "x", "y");
    if (action == "add") {
        return AddPoint(figure, at);
    }
    if (action == "insert") {
        return InsertPoint(figure, IndexMember(edit, "index"), at);
    }
    if (action == "move") {
        return MovePoint(figure, IndexMember(edit, "index"), at);
    }
    throw UnknownName("action", action, {"add", "insert", "move", "remove"});
}

void Rename(Work& work, const Json& edit) {
    work.set.Rename(TextMember(edit, "name"), TextMember(edit, "to"));
    work.Touch(TextMember(edit, "to"));
}

void Delete(Work& work, const Json& edit) { work.set.Remove(NamesMember(edit, "names")); }

void Duplicate(Work& work, const Json& edit) {
    const std::vector<std::string> names = NamesMember(edit, "names");
    const std::vector<std::string> copies = NamesMember(edit, "as");
    if (copies.size() != names.size()) {
        throw BadEdit("as", "it has a name for each of names");
    }
    const ImagePoint by{NumberOf(edit.value("dx", Json(0)), "dx"), NumberOf(edit.value("dy", Json(0)), "dy")};
    for (std::size_t i = 0; i < names.size(); ++i) {
        Figure copy = ReadBack(work.session, work.set.At(names[i]));
        copy.name = copies[i];
        work.set.Add(std::move(copy));
        MoveFigure(work.Touch(copies[i]), by);
    }
}

void Order(Work& work, const Json& edit) {
    const std::vector<std::string> names = NamesMember(edit, "names");
    const std::set<std::string> moved(names.begin(), names.end());
    if (moved.size() != names.size()) {
        throw BadEdit("names", "one comes twice");
    }
    std::vector<Figure> figures = work.set.Figures();
    std::erase_if(figures, [&moved](const Figure& figure) { return moved.contains(figure.name); });
    const std::size_t to = std::min(static_cast<std::size_t>(IndexMember(edit, "to")), figures.size());
    std::vector<Figure> together;
    std::transform(names.begin(), names.end(), std::back_inserter(together),
                   [&work](const std::string& name) { return work.set.At(name); });
    figures.insert(figures.begin() + static_cast<std::ptrdiff_t>(to), together.begin(), together.end());
    work.set = RoiSet(std::move(figures));
}

struct Operation {
    const char* name;
    const char* figures;  ///< the member with the figures that it changes: a name, or names
    void (*apply)(Work& work, const Json& edit);
};

constexpr Operation kOperations[] = {{"add", nullptr, Add},       {"set", "name", Set},
                                     {"drag", "name", Drag},      {"move", "names", Move},
                                     {"point", "name", Point},    {"rename", "name", Rename},
                                     {"delete", "names", Delete}, {"duplicate", "names", Duplicate},
                                     {"order", "names", Order}};

const Operation& OperationOf(const Json& edit) {
    if (!edit.is_object()) {
        throw BadEdit("edits", "each is an object");
    }
    const std::string name = TextMember(edit, "op");
    std::vector<std::string> known;
    for (const Operation& operation : kOperations) {
        if (name == operation.name) {
            return operation;
        }
        known.emplace_back(operation.name);
    }
    throw UnknownName("edit", name, known);
}

// ---------------------------------------------------------------------------------------------------
// Names

// Gives out names that nobody has.
class FreshNames {
  public:
    explicit FreshNames(const RoiSet& set) : m_set(set) {}

    // The stem with the first number that makes it free, from 2 for a copy.
    std::string Take(const std::string& stem, int from) {
        for (int number = from;; ++number) {
            std::string name = stem + std::to_string(number);
            if (!m_set.Has(name) && m_taken.insert(name).second) {
                return name;
            }
        }
    }

  private:
    const RoiSet& m_set;
    std::set<std::string> m_taken;
};

std::string StemOfClass(const std::string& className) {
    std::string stem = className.starts_with("ROI") ? className.substr(3) : className;
    std::transform(stem.begin(), stem.end(), stem.begin(), [](unsigned char c) { return std::tolower(c); });
    return stem.empty() ? "figure" : stem;
}

std::string StemOfName(const std::string& name) {
    const std::size_t end = name.find_last_not_of("0123456789");
    return end == std::string::npos ? name + '-' : name.substr(0, end + 1);
}

// Names the new figures of an edit that have none.
void Complete(Json& edit, const Operation& operation, FreshNames& names) {
    if (operation.apply == Add && !edit.contains("name")) {
        edit["name"] = names.Take(StemOfClass(TextMember(edit, "class")), 1);
    }
    if (operation.apply == Duplicate && !edit.contains("as")) {
        Json copies = Json::array();
        for (const std::string& name : NamesMember(edit, "names")) {
            copies.push_back(names.Take(StemOfName(name), 2));
        }
        edit["as"] = std::move(copies);
    }
}

}  // namespace

std::string FreshName(const std::string& stem, const RoiSet& set) { return FreshNames(set).Take(stem, 1); }

Edits::Edits(Json list, const RoiSet& set) : m_list(std::move(list)) {
    if (!m_list.is_array() || m_list.empty() || m_list.size() > kMostEdits) {
        throw BadEdit("edits", fmt::format("it is a list of 1 to {} edits", kMostEdits));
    }
    FreshNames names(set);
    std::set<std::string> made;
    for (Json& edit : m_list) {
        const Operation& operation = OperationOf(edit);
        Complete(edit, operation, names);
        if (operation.figures == nullptr) {
            made.insert(TextMember(edit, "name"));
            continue;
        }
        const bool isOne = std::string_view(operation.figures) == "name";
        for (const std::string& name :
             isOne ? std::vector<std::string>{TextMember(edit, "name")} : NamesMember(edit, operation.figures)) {
            if (!made.contains(name)) {
                m_named.insert(set.At(name).name);
            }
        }
        if (operation.apply == Rename) {
            made.insert(TextMember(edit, "to"));
        }
    }
}

std::string Edits::Summary() const {
    const Json& first = m_list.front();
    const Json& names = first.contains("names") ? first["names"] : Json::array({first["name"]});
    std::string summary = "workbench: " + first["op"].get<std::string>();
    if (!names.empty()) {
        summary += ' ' + names.front().get<std::string>();
    }
    const std::size_t more = m_list.size() - 1 + (names.empty() ? 0 : names.size() - 1);
    return more == 0 ? summary : fmt::format("{} and {} more", summary, more);
}

std::set<std::string> Edits::ApplyTo(RoiSet& set, const Session& session) const {
    Work work{set, session, {}};
    for (const Json& edit : m_list) {
        OperationOf(edit).apply(work, edit);
    }
    std::erase_if(work.touched, [&set](const std::string& name) { return !set.Has(name); });
    return work.touched;
}

}  // namespace host::workbench
