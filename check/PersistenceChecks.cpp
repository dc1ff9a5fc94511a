// Saving and loading: what survives which stream, and what refuses which.
#include <fmt/format.h>

#include <cmath>
#include <cstring>

#include "check/FigureLists.h"
#include "check/Groups.h"
#include "check/Scenario.h"
#include "check/StandIns.h"
#include "check/Streams.h"
#include "framework/support/Utf8.h"

namespace {

bool IsProfile(const ClassContract& figure) { return std::string_view(figure.name) == "ROIProfile"; }
bool IsEllipse(const ClassContract& figure) { return std::string_view(figure.name) == "ROIEllipse"; }

// A loaded figure says what the saved one says. The grip is asked for, and so raised, before it is saved.
void CheckRoundTrip(Checks& checks, const ClassContract& figure, const char* stream, IDataStream* to,
                    IDataStream* from) {
    checks.Begin(fmt::format("{} comes back from a {} as it was saved", figure.name, stream));
    const auto saved = NewTypical(checks, figure);
    const Observations expected = Observe(saved, figure);
    const auto loaded = checks.module.New<IROI>(figure);
    checks.Code(Require<IDataPersist>(saved)->Save(to, 0), S_OK);
    checks.Code(Require<IDataPersist>(loaded)->Load(from, 0), S_OK);
    const Observations actual = Observe(loaded, figure);
    ExpectSame(checks, figure, actual, expected);
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

// The decimals that a value needs, at most nine.
struct Decimals {
    double value;
    const char* text;
};
constexpr Decimals kDecimals[] = {{50, "50"},
                                  {12.5, "12.5"},
                                  {0.1, "0.1"},
                                  {-3.25, "-3.25"},
                                  {1.0 / 3, "0.333333333"},
                                  {2.0 / 3, "0.666666667"},
                                  {0.29, "0.290"},
                                  {2e-9, "0"},
                                  {1.000000009, "1"},
                                  {1.000000011, "1.000000011"},
                                  {-1.000000005, "-1"},
                                  {123456.789, "123456.789"},
                                  {1000000.0078125, "1000000.0078125"},
                                  {-0.000000123, "-0.000000123"},
                                  {1e22, "10000000000000000000000"},
                                  {1e60, "999999999999999949387135297074018866963645011013410073083904"},
                                  {-0.0, "-0"}};

void CheckDecimals(Checks& checks) {
    const ClassContract& figure = ClassNamed("ROIEllipse");
    for (const Decimals& row : kDecimals) {
        checks.Begin(fmt::format("an ellipse writes {} with the decimals it needs", row.value));
        const Storage storage;
        const auto roi = checks.module.New<IROI>(figure);
        const Step steps[] = {{"SetCenter", {row.value, 7}}, {"SetRadius", {3, 4.5}}};
        TakeSteps(checks, figure, roi, steps);
        checks.Code(Require<IDataPersist>(roi)->Save(storage.Element().Get(), 0), S_OK);
        std::string written;
        for (const pugi::xml_node element : storage.ElementNode().children()) {
            written += fmt::format("{}={} ", element.name(), element.text().get());
        }
        checks.Equal(written, fmt::format("CenterX={} CenterY=7 RadiusX=3 RadiusY=4.5 ", row.text));
    }
}

// A structured stream whose elements give their texts in either way, or in both.
enum class Given { kDirectly, kByChild, kBoth };

class Element final : public Lent<IString, IXMLStream> {
  public:
    std::wstring name, text;
    std::vector<Element*> children;
    Given given = Given::kDirectly;

    Result GetText(const wchar_t** out, int* length) noexcept override {
        const bool empty = given == Given::kDirectly;
        *out = empty ? nullptr : text.data();
        *length = empty ? 0 : static_cast<int>(text.size());
        return S_OK;
    }
    Result SetText(int, const wchar_t*) noexcept override { return E_FAIL; }
    Result Append(int, const wchar_t*) noexcept override { return E_FAIL; }
    Result WriteValue(IString*, int, IString*, int) noexcept override { return E_FAIL; }
    Result NextChild(tagREFString* out) noexcept override {
        if (m_next == children.size()) {
            return E_FAIL;
        }
        *out = Text(children[m_next++]->name);
        return S_OK;
    }
    Result OpenChild(tagREFString, tagREFString* out, IUnknown** child, int mode) noexcept override {
        Element& opened = *children[m_next - 1];
        if (opened.given != Given::kByChild) {
            *out = Text(opened.text);
        }
        opened.AddRef();
        *child = static_cast<IString*>(&opened);
        return mode == 1 ? S_OK : E_FAIL;
    }

  private:
    std::size_t m_next = 0;
};

class Structured final : public Lent<IDataStream> {
  public:
    Element root;

    Result QueryInterface(const IID& iid, void** out) noexcept override {
        return iid == IID_IXMLStream ? root.QueryInterface(iid, out) : Lent::QueryInterface(iid, out);
    }
};

struct WholeNumber {
    const wchar_t* text;
    double value;
};
constexpr WholeNumber kWholeNumbers[] = {{L"#1A", 26},
                                         {L"-7.9", -7},
                                         {L"abc", 0},
                                         {L"+12", 12},
                                         {L"50.5", 50},
                                         {L"+#F", 15},
                                         {L"-#1a", -26},
                                         {L"#1G", 1},
                                         {L" 5", 0},
                                         {L"12a", 12},
                                         {L"4294967303", 7},
                                         {L"2147483648", -2147483648.0},
                                         {L"#FFFFFFFF", -1},
                                         {L"0#1A", 0},
                                         {L"--7", 0},
                                         {L"#abcdef", 0xABCDEF},
                                         {L"#ABCDEF", 0xABCDEF},
                                         {L"8", 8}};

void CheckWholeNumbers(Checks& checks) {
    const ClassContract& figure = ClassNamed("ROIEllipse");
    for (const WholeNumber& row : kWholeNumbers) {
        for (const Given given : {Given::kDirectly, Given::kByChild, Given::kBoth}) {
            checks.Begin(fmt::format("an ellipse reads '{}' as a whole number, given {}",
                                     ToUtf8(Text(std::wstring(row.text))),
                                     given == Given::kDirectly ? "directly"
                                     : given == Given::kBoth   ? "both ways"
                                                               : "by its child"));
            Structured stream;
            Element entry, second, other, center, radius, nested, shorter, longer, spaced;
            nested.name = L"CenterY";
            other.name = L"Other";
            center.name = L"centerx";
            radius.name = L"RADIUSY";
            shorter.name = L"Center";
            spaced.name = L" CenterX";
            longer.name = L"RadiusYAndMore";
            entry.name = L"CenterY";
            nested.text = other.text = entry.text = shorter.text = longer.text = spaced.text = L"77";
            center.text = radius.text = row.text;
            center.given = radius.given = given;
            other.children = {&nested};
            entry.children = {&other, &longer, &center, &shorter, &spaced};
            second.children = {&radius};
            stream.root.children = {&entry, &second};
            const auto roi = NewTypical(checks, figure);
            checks.Code(Require<IDataPersist>(roi)->Load(&stream, 0), S_OK);
            const Step steps[] = {{"GetCenter", {}, {row.value, -12.75}}, {"GetRadius", {}, {21.25, row.value}}};
            TakeSteps(checks, figure, roi, steps);
            checks.Equal(stream.references + stream.root.references + entry.references + center.references, 4);
        }
    }
}

// The lock goes before the stream is asked.
void CheckLock(Checks& checks) {
    checks.Begin("a parallelogram's lock is lost to a stream that it cannot read, and comes back from another");
    const ClassContract& figure = ClassNamed("ROIParallelogram");
    const auto roi = checks.module.New<IROI>(figure);
    const Storage storage;
    PlainStream plain;
    const auto persist = Require<IDataPersist>(roi);
    const Step lock[] = {{"press LockA", {1}}};
    const Step locked[] = {{"read LockA", {}, {1}}};
    const Step open[] = {{"read LockA", {}, {0}}};
    TakeSteps(checks, figure, roi, lock);
    for (IDataStream* stream : {static_cast<IDataStream*>(nullptr), static_cast<IDataStream*>(&plain)}) {
        checks.Code(persist->Save(stream, 0), S_OK);
    }
    checks.Code(persist->Save(storage.Folder().Get(), 0), S_OK);
    TakeSteps(checks, figure, roi, locked);
    checks.Code(persist->Load(&plain, 0), E_FAIL);
    TakeSteps(checks, figure, roi, open);
    checks.Code(persist->Load(storage.Folder().Get(), 0), S_OK);
    TakeSteps(checks, figure, roi, locked);
    checks.Code(persist->Load(nullptr, 0), E_FAIL);
    TakeSteps(checks, figure, roi, open);
}

// What the records of a profile hold after an edit: x, y, z, the normal's angle and the thicknesses. Those loaded have
// a z of 9 and an angle of 7 each.
struct Edit {
    Step step;
    std::vector<std::vector<double>> heights;  // z and angle of each point
};
const std::vector<Edit>& Edits() {
    static const std::vector<double> kKept = {9, 7}, kReset = {9, -1000}, kNew = {0, -1000};
    static const std::vector<Edit> kEdits = {
        {{"SetPoint", {1, 5, 6}}, {kReset, kNew, kReset, kKept}},
        {{"SetPoint", {3, 5, 6}}, {kKept, kKept, kReset, kNew}},
        {{"SetPoint", {0, 5, 6}}, {kNew, kReset, kKept, kKept}},
        {{"SetNodePoint", {1, 2, 5, 6}}, {kKept, kReset, kNew, kReset}},
        {{"SetNodePoint", {6, 0, 5, 6}}, {kNew, kNew, kReset, kKept}},
        {{"SetNodePoint", {6, 2, 5, 6}}, {kKept, kReset, kNew, kNew}},
        {{"InsertPoint", {1, 5, 6}}, {kReset, kNew, kReset, kKept, kKept}},
        {{"AddPoint", {5, 6}}, {kKept, kKept, kKept, kReset, kNew}},
        {{"SetUniformThickness", {5, 6}}, {kKept, kKept, kKept, kKept}},
        {{"Transform", {}, {}, E_INVALIDARG}, {kKept, kKept, kKept, kKept}},
        // Its centre takes the normals at both ends.
        {{"SetCenter", {5, 6}}, {{9, -1.8157749899217608}, {9, kAnything}, {9, kAnything}, {9, -0.19739555984988075}}},
        // The transform of the checks adds 7 to z.
        {{"Transform", {1, 0, 0, 1, 0, 0}}, std::vector(4, std::vector<double>{16, kAnything})}};
    return kEdits;
}

void CheckRecords(Checks& checks) {
    const ClassContract& figure = ClassNamed("ROIProfile");
    const double records[4][6] = {{1, 2, 9, 7, 3, 4}, {5, 1, 9, 7, 3, 4}, {8, 4, 9, 7, 3, 4}, {9, 9, 9, 7, -3, -0.0}};
    FolderArchive::Block bytes(sizeof records);
    std::memcpy(bytes.data(), records, sizeof records);
    for (const Edit& edit : Edits()) {
        checks.Begin(fmt::format("{} of a profile resets what it moves, and the angles beside it",
                                 CallText(edit.step.operation, edit.step.arguments)));
        const Storage storage;
        storage.Archive().Put("figure/NumberPoints", {4, 0, 0, 0});
        storage.Archive().Put("figure/Points", bytes);
        const auto roi = checks.module.New<IROI>(figure);
        const auto persist = Require<IDataPersist>(roi);
        checks.Code(persist->Load(storage.Folder().Get(), 0), S_OK);
        const Storage again;
        checks.Code(persist->Save(again.Folder().Get(), 0), S_OK);
        const auto* kept = again.Archive().Find("figure/Points");
        checks.Expect(kept != nullptr && *kept == bytes, "what was loaded, to be saved bit for bit", "another block");
        TakeSteps(checks, figure, roi, std::span(&edit.step, 1));
        checks.Code(persist->Save(storage.Folder().Get(), 0), S_OK);
        const auto* block = storage.Archive().Find("figure/Points");
        checks.Equal(static_cast<long>(block->size()), static_cast<long>(48 * edit.heights.size()));
        for (std::size_t i = 0; i < std::min(edit.heights.size(), block->size() / 48); ++i) {
            double record[6];
            std::memcpy(record, block->data() + 48 * i, sizeof record);
            const std::span<const double> heights(record + 2, 2);
            checks.Expect(AreAsWanted(heights, edit.heights[i]),
                          fmt::format("z and angle {} of point {}", NumbersText(edit.heights[i]), i),
                          NumbersText(heights));
        }
    }
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
    const Observations before = Observe(roi, figure);
    for (IDataStream* stream : {static_cast<IDataStream*>(&plain), static_cast<IDataStream*>(nullptr)}) {
        checks.Begin(fmt::format("{} takes no {} stream", figure.name, stream != nullptr ? "plain" : "null"));
        checks.Code(persist->Save(stream, 0), IsProfile(figure) ? E_FAIL : S_OK);
        checks.Code(persist->Load(stream, 0), IsEllipse(figure) ? S_OK : E_FAIL);
        const Observations after = Observe(roi, figure);
        ExpectSame(checks, figure, after, before);
    }
}

// A count that no file can mean is refused; what a block lacks may be anything.
void CheckHostileBlocks(Checks& checks) {
    const ClassContract& figure = ClassNamed("ROIProfile");
    const Storage storage;
    const auto roi = NewTypical(checks, figure);
    checks.Begin("a profile refuses an absurd count");
    storage.Archive().Put("figure/NumberPoints", {255, 255, 255, 255});
    checks.Code(Require<IDataPersist>(roi)->Load(storage.Folder().Get(), 0), E_FAIL);
    checks.Begin("a profile stands a short block");
    storage.Archive().Put("figure/NumberPoints", {2, 0, 0, 0});
    checks.Code(Require<IDataPersist>(roi)->Load(storage.Folder().Get(), 0), S_OK);
    const Step steps[] = {{"GetNumberPoints", {}, {2}}};
    TakeSteps(checks, figure, roi, steps);
    checks.Begin("a profile loads no points from a folder without its blocks");
    const Storage empty;
    checks.Code(Require<IDataPersist>(roi)->Load(empty.Folder().Get(), 0), S_OK);
    const Step none[] = {{"GetNumberPoints", {}, {0}}};
    TakeSteps(checks, figure, roi, none);
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
    checks.Try([&] { CheckDecimals(checks); });
    checks.Try([&] { CheckWholeNumbers(checks); });
    checks.Try([&] { CheckLock(checks); });
    checks.Try([&] { CheckProfileBlocks(checks); });
    checks.Try([&] { CheckRecords(checks); });
    checks.Try([&] { CheckHostileBlocks(checks); });
}
