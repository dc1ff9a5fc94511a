// roi point: the polyline of a profile, point by point.
#include <fmt/format.h>

#include <memory>

#include "cli/Commands.h"
#include "host/base/Error.h"
#include "host/base/Text.h"
#include "host/sets/RoiSet.h"

namespace host::cli {

namespace {

struct PointOptions {
    UserPath set;
    EditOptions edit;
    std::string name;
    std::string action;
    std::vector<std::string> arguments;
};

// The arguments of one action, read against the profile that they edit.
class Polyline {
  public:
    Polyline(const Figure& figure, const PointOptions& options)
        : m_profile(figure.As<IROIProfile>()), m_options(options) {
        if (!m_profile) {
            throw UsageError("cannot edit points", figure.name, "only a ROIProfile has points to edit");
        }
    }

    void Add() {
        Expect(!m_options.arguments.empty(), "add X,Y...");
        for (const std::string& text : m_options.arguments) {
            const ImagePoint point(text);
            Require(m_profile->AddPoint(point.x, point.y));
        }
    }
    void Insert() {
        const ImagePoint point = IndexedPoint("insert INDEX X,Y");
        Require(m_profile->InsertPoint(Index(Count()), point.x, point.y));
    }
    void Move() {
        const ImagePoint point = IndexedPoint("move INDEX X,Y");
        Require(m_profile->SetPoint(Index(Count() - 1), point.x, point.y));
    }
    void Remove() {
        Expect(m_options.arguments.size() == 1, "remove INDEX");
        Require(m_profile->RemovePoint(Index(Count() - 1)));
    }

  private:
    int Count() const {
        int count = 0;
        m_profile->GetNumberPoints(&count);
        return count;
    }

    static void Expect(bool sound, const char* form) {
        if (!sound) {
            throw UsageError("usage", "roi point", fmt::format("write roi point SET NAME {}", form));
        }
    }

    ImagePoint IndexedPoint(const char* form) const {
        Expect(m_options.arguments.size() == 2, form);
        return ImagePoint(m_options.arguments[1]);
    }

    // The first argument as an index from 0 to `last`.
    int Index(int last) const {
        const std::string& text = m_options.arguments.front();
        const auto index = ParseInteger(text);
        if (!index || *index < 0 || *index > last) {
            throw UsageError("no such point", text, fmt::format("the profile has {} points, counted from 0", Count()));
        }
        return *index;
    }

    void Require(Result result) const {
        if (Failed(result)) {
            throw Error("cannot edit points", m_options.name, "out of memory");
        }
    }

    SmartPtr<IROIProfile> m_profile;
    const PointOptions& m_options;
};

constexpr std::pair<const char*, void (Polyline::*)()> kActions[] = {
    {"add", &Polyline::Add}, {"insert", &Polyline::Insert}, {"move", &Polyline::Move}, {"remove", &Polyline::Remove}};

void EditPointsIn(const RoiSet& set, const PointOptions& options) {
    Polyline polyline(set.At(options.name), options);
    std::vector<std::string> known;
    for (const auto& [name, edit] : kActions) {
        if (options.action == name) {
            (polyline.*edit)();
            return;
        }
        known.emplace_back(name);
    }
    throw UnknownName("action", options.action, known);
}

void EditPoints(const PointOptions& options) {
    const Session session;
    Edit(session, options.set, options.edit, [&options](const RoiSet& set) { EditPointsIn(set, options); });
}

}  // namespace

void AddPointCommand(CLI::App& roi) {
    CLI::App& command = AddCommand(roi, "point", "Adds, inserts, moves or removes points of a profile",
                                   "roi point part.roi scan insert 1 520,505.5");
    const auto options = std::make_shared<PointOptions>();
    AddSetArgument(command, options->set);
    AddArgument(command, "NAME", options->name, "Name of the profile");
    command
        .add_option("ACTION", options->action,
                    "add X,Y... | insert INDEX X,Y | move INDEX X,Y | remove INDEX; indices count from 0")
        ->required();
    AddArgument(command, "ARGUMENTS", options->arguments, "What the action needs");
    AddEditOptions(command, options->edit);
    command.callback([options] { EditPoints(*options); });
}

}  // namespace host::cli
