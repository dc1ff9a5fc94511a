// Saving and loading: what survives which stream, and what refuses which.
#include <fmt/format.h>

#include <cmath>
#include <cstring>

#include "check/FigureLists.h"
#include "check/Groups.h"
#include "check/Scenario.h"
#include "check/Streams.h"

namespace {

bool IsProfile(const ClassContract& figure) { return std::string_view(figure.name) == "ROIProfile"; }
bool IsEllipse(const ClassContract& figure) { return std::string_view(figure.name) == "ROIEllipse"; }

std::vector<double> Seen(const SmartPtr<IROI>& roi, const ClassContract& figure) {
    std::vector<double> seen = Observe(*roi, figure);
    for (const NamedValue& value : ParametersOf(roi)) {
        const auto* number = std::get_if<double>(&value.value);
        seen.push_back(number != nullptr ? *number : std::get<int>(value.value));
    }
    return seen;
}

// A loaded figure says what the saved one says. The grip is asked for, and so raised, before it is saved.
void CheckRoundTrip(Checks& checks, const ClassContract& figure, const char* stream, IDataStream* to,
                    IDataStream* from) {
    checks.Begin(fmt::format("{} comes back from a {} as it was saved", figure.name, stream));
    const auto saved = NewTypical(checks, figure);
    const std::vector<double> expected = Seen(saved, figure);
    const auto loaded = checks.module.New<IROI>(figure);
    checks.Code(Require<IDataPersist>(saved)->Save(to, 0), S_OK);
    checks.Code(Require<IDataPersist>(loaded)->Load(from, 0), S_OK);
    const std::vector<double> actual = Seen(loaded, figure);
    checks.Expect(SameNumbers(actual, expected), NumbersText(expected), NumbersText(actual));
}

void CheckFolder(Checks& checks, const ClassContract& figure) {
    const Storage storage;
    CheckRoundTrip(checks, figure, "folder stream", storage.Folder().Get(), storage.Folder().Get());
}

void CheckStructured(Checks& checks, const ClassContract& figure) {
    if (IsProfile(figure) || IsEllipse(figure)) {
        return;  // They do not keep all through text.
    }
    const Storage storage;
    CheckRoundTrip(checks, figure, "structured stream", storage.Element().Get(), storage.Element().Get());
}

void CheckEllipseText(Checks& checks) {
    checks.Begin("an ellipse writes decimals into a structured stream and reads whole numbers");
    const ClassContract& figure = ClassNamed("ROIEllipse");
    const Storage storage;
    const auto saved = NewTypical(checks, figure);
    checks.Code(Require<IDataPersist>(saved)->Save(storage.Element().Get(), 0), S_OK);
    const auto loaded = checks.module.New<IROI>(figure);
    checks.Code(Require<IDataPersist>(loaded)->Load(storage.Parent().Get(), 0), S_OK);
    const Step steps[] = {{"GetCenter", {}, {40, -12}}, {"GetRadius", {}, {21, 9}}};
    TakeSteps(checks, figure, loaded, steps);
}

// The count and the records, byte for byte.
void CheckProfileBlocks(Checks& checks) {
    checks.Begin("a profile is two blocks of a folder stream");
    const ClassContract& figure = ClassNamed("ROIProfile");
    const Storage storage;
    const auto roi = NewTypical(checks, figure);
    checks.Code(Require<IDataPersist>(roi)->Save(storage.Folder().Get(), 0), S_OK);
    const auto* count = storage.Archive().Find("figure/NumberPoints");
    const auto* points = storage.Archive().Find("figure/Points");
    if (count == nullptr || points == nullptr) {
        throw CheckFailed{"the blocks NumberPoints and Points", "one missing"};
    }
    checks.Expect(*count == FolderArchive::Block{3, 0, 0, 0}, "3, little-endian",
                  fmt::format("{} bytes", count->size()));
    checks.Equal(static_cast<long>(points->size()), 3 * 48L);
    double record[6] = {};
    std::memcpy(record, points->data(), std::min(points->size(), sizeof record));
    const double wanted[] = {10, 20, 0, record[3], 3, 4};
    checks.Expect(SameNumbers(record, wanted), NumbersText(wanted), NumbersText(record));
    checks.Code(Require<IDataPersist>(roi)->Save(storage.Element().Get(), 0), E_FAIL);
    checks.Code(Require<IDataPersist>(roi)->Load(storage.Element().Get(), 0), E_FAIL);
}

void CheckRefusals(Checks& checks, const ClassContract& figure) {
    PlainStream plain;
    const auto roi = NewTypical(checks, figure);
    const auto persist = Require<IDataPersist>(roi);
    const std::vector<double> before = Seen(roi, figure);
    for (IDataStream* stream : {static_cast<IDataStream*>(&plain), static_cast<IDataStream*>(nullptr)}) {
        checks.Begin(fmt::format("{} takes no {} stream", figure.name, stream != nullptr ? "plain" : "null"));
        checks.Code(persist->Save(stream, 0), IsProfile(figure) ? E_FAIL : S_OK);
        checks.Code(persist->Load(stream, 0), IsEllipse(figure) ? S_OK : E_FAIL);
        const std::vector<double> after = Seen(roi, figure);
        checks.Expect(SameNumbers(after, before), NumbersText(before), NumbersText(after));
    }
}

// Counts that no file can mean are refused before memory is asked for; a short block leaves zeros.
void CheckHostileBlocks(Checks& checks) {
    const ClassContract& figure = ClassNamed("ROIProfile");
    const Storage storage;
    const auto roi = NewTypical(checks, figure);
    const std::vector<double> before = Seen(roi, figure);
    for (const FolderArchive::Block& count : {FolderArchive::Block{255, 255, 255, 255}, {1, 0, 0, 1}}) {
        checks.Begin("a profile refuses an absurd count and stays as it was");
        storage.Archive().Put("figure/NumberPoints", count);
        checks.Code(Require<IDataPersist>(roi)->Load(storage.Folder().Get(), 0), E_FAIL);
        const std::vector<double> after = Seen(roi, figure);
        checks.Expect(SameNumbers(after, before), NumbersText(before), NumbersText(after));
    }
    checks.Begin("a profile reads a short block as zeros");
    storage.Archive().Put("figure/NumberPoints", {2, 0, 0, 0});
    checks.Code(Require<IDataPersist>(roi)->Load(storage.Folder().Get(), 0), S_OK);
    const Step steps[] = {{"GetNumberPoints", {}, {2}}, {"GetThickness", {1}, {0, 0}}};
    TakeSteps(checks, figure, roi, steps);
}

}  // namespace

void CheckPersistence(Checks& checks) {
    ForEachClass(checks, [&](const ClassContract& figure) {
        if (figure.Answers("IDataPersist")) {
            CheckFolder(checks, figure);
            CheckStructured(checks, figure);
            CheckRefusals(checks, figure);
        }
    });
    checks.Try([&] { CheckEllipseText(checks); });
    checks.Try([&] { CheckProfileBlocks(checks); });
    checks.Try([&] { CheckHostileBlocks(checks); });
}
