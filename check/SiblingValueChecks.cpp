// Siblings that hold values: strings, variants, parameter lists, property pages; and the streams they offer.
#include <climits>
#include <limits>
#include <variant>
#include <vector>

#include "check/SiblingChecks.h"
#include "check/StandIns.h"
#include "contract/Extensions.h"
#include "contract/Presentation.h"
#include "framework/support/Utf8.h"

namespace {

/// An object that is only held.
class LentObject final : public Lent<IUnknown> {};

// ---------------------------------------------------------------------------------------------------
// Strings

constexpr SiblingSlot kGetText{"CreatableString", 3, "IString::GetText"};
constexpr SiblingSlot kSetText{"CreatableString", 4, "IString::SetText"};
constexpr SiblingSlot kAppend{"CreatableString", 5, "IString::Append"};

// A call that changes a string, and what the string holds then. `count` may be less than the text's length.
struct StringStep {
    bool append;
    int count;
    std::wstring_view text;
    std::string_view holds;
};

constexpr StringStep kStringSteps[] = {
    {true, 1, L"RX", "R"},
    {true, 2, L"adius", "Rad"},
    {false, 5, L"Angle of", "Angle"},
    {true, 1, L"B", "AngleB"},
    {false, 1, L"\u00d8", "\u00d8"},
    {false, 0, L"none", ""},
    {true, 3, std::wstring_view(L"a\0b", 3), std::string_view("a\0b", 3)},
    {false, 43, L"UIPropPages.UIParametricObjectPropPage and more", "UIPropPages.UIParametricObjectPropPage and "}};

void CheckSteps(SiblingChecks& checks) {
    const SmartPtr<IString> string = checks.Had(CREFString::CreateString());
    checks.On(kGetText, "of a new string");
    checks.Equal(TextOf(*string), "");
    for (const StringStep& step : kStringSteps) {
        // The characters are copied: they are gone right after the call.
        std::wstring characters(step.text);
        checks.On(step.append ? kAppend : kSetText, fmt::format("{}, \"{}\"", step.count, ToUtf8(Text(step.text))));
        checks.Succeeds(step.append ? string->Append(step.count, characters.data())
                                    : string->SetText(step.count, characters.data()));
        characters.assign(characters.size(), L'#');
        checks.Equal(TextOf(*string), std::string(step.holds));
    }
}

}  // namespace

void CheckSiblingStrings(SiblingChecks& checks) {
    checks.Begin("CreatableString: a new one, through its descriptor");
    checks.Reads("references of", References(checks.Had(CREFString::CreateString())), 1);
    CheckSteps(checks);
    checks.Begin("CreatableString: answers IString, as a value of a list");
    const auto string = SiblingString(checks, L"12.5");
    const auto answer = SmartPtr<IString>::QueryFrom(string.Get());
    checks.Equal(TextOf(*checks.Had(answer)), "12.5");
    checks.Reads("references of", References(string), 2);
}

// ---------------------------------------------------------------------------------------------------
// Variants

namespace {

constexpr SiblingSlot kGetKind{"Variant", 3, "IVariant::GetKind"};
constexpr SiblingSlot kSetInteger{"Variant", 6, "IVariant::SetInteger"};
constexpr SiblingSlot kSetDouble{"Variant", 7, "IVariant::SetDouble"};
constexpr SiblingSlot kGetObject{"Variant", 9, "IVariant::GetObject"};
constexpr SiblingSlot kHasString{"Variant", 11, "IVariant::HasString"};
constexpr SiblingSlot kGetString{"Variant", 12, "IVariant::GetString"};

struct Number {
    double value;
    int asInteger;
    bool isInteger;
};

// Doubles that are no whole number are converted to integers as the host likes: their second column is not used.
constexpr Number kNumbers[] = {
    {-7, -7, true},           {50.5, 0, false},     {INT_MAX, INT_MAX, true}, {12.0, 12, false},
    {INT_MIN, INT_MIN, true}, {-3.0, -3, false},    {0.1, 0, false},          {0, 0, true},
    {0.0, 0, false},          {1.0e+300, 0, false}, {-4.9e-324, 0, false},    {1, 1, true}};

void CheckNumber(SiblingChecks& checks, IVariant& variant, const Number& number) {
    const bool isWhole = number.isInteger || number.value == number.asInteger;
    checks.On(number.isInteger ? kSetInteger : kSetDouble, fmt::format("{}", number.value));
    checks.Succeeds(number.isInteger ? variant.SetInteger(number.asInteger) : variant.SetDouble(number.value));
    const int kind = variant.GetKind();
    checks.Expect(number.isInteger ? kind == kVariantInteger : kind != kVariantNone && kind != kVariantInteger,
                  number.isInteger ? "slot 3, GetKind() of 1" : "slot 3, GetKind() of neither 0 nor 1",
                  std::to_string(kind));
    checks.Reads("slot 4, GetDouble() of", variant.GetDouble(), number.value);
    if (isWhole) {
        checks.Reads("slot 5, GetInteger() of", variant.GetInteger(), number.asInteger);
    }
    checks.Reads("slot 11, HasString() of", variant.HasString(), 0);
}

// What a variant that holds no object hands out: nothing.
void CheckHandsOutNothing(SiblingChecks& checks, IVariant& variant) {
    SmartPtr<IUnknown> object;
    checks.On(kGetObject, "of a number");
    variant.GetObject(object.Receive());
    checks.Expect(!object, "null", "an object");
    checks.On(kGetString, "of a number");
    variant.GetString(object.Receive());
    checks.Expect(!object, "null", "an object");
}

// Only a host's own operations put objects into a variant. Where they are the known ones, what comes out is
// compared with it.
void CheckObjects(SiblingChecks& checks, IVariant& variant, IVariantStore& store) {
    const auto text = SiblingString(checks, L"text");
    SmartPtr<IUnknown> out;
    checks.On(kHasString, "of a string");
    store.PutString(text.Get());
    checks.Expect(variant.HasString() != 0, "other than 0", "0");
    checks.On(kGetString, "of a string");
    checks.Succeeds(variant.GetString(out.Receive()));
    checks.Reads("references of", References(text), 3);
    LentObject object;
    checks.On(kGetObject, "of an object");
    store.PutObject(&object);
    checks.Succeeds(variant.GetObject(out.Receive()));
    checks.Expect(out.Get() == &object, "the object", "another");
    checks.Reads("references of", object.references, 3);
    out.Reset();
    variant.SetInteger(3);
    checks.Reads("after SetInteger, references of", object.references, 1);
    checks.Reads("after SetInteger, references of", References(text), 1);
}

}  // namespace

void CheckSiblingVariants(SiblingChecks& checks) {
    checks.Begin("Variant: a new one, through its descriptor");
    const SmartPtr<IVariant> variant = checks.Had(CREFString::CreateVariant());
    checks.Reads("references of", References(variant), 1);
    checks.On(kGetKind, "of a new variant");
    checks.Equal(variant->GetKind(), kVariantNone);
    for (const Number& number : kNumbers) {
        CheckNumber(checks, *variant, number);
    }
    CheckHandsOutNothing(checks, *variant);
    if (const auto store = SmartPtr<IVariantStore>::QueryFrom(variant.Get())) {
        CheckObjects(checks, *variant, *store);
    }
    checks.Begin("Variant: answers IVariant, as a value of a list");
    checks.Had(SmartPtr<IVariant>::QueryFrom(variant.Get()));
    checks.Reads("references of", References(variant), 1);
}

// ---------------------------------------------------------------------------------------------------
// Parameter lists

namespace {

constexpr SiblingSlot kListGetItem{"ParametersCreatable", 4, "INamedCollection::GetItem"};
constexpr SiblingSlot kListFind{"ParametersCreatable", 5, "INamedCollection::FindByName"};
constexpr SiblingSlot kListAdd{"ParametersCreatable", 18, "INamedCollection::Add"};
constexpr SiblingSlot kSave{"ParametersCreatable", 3, "IDataPersist::Save"};
constexpr SiblingSlot kLoad{"ParametersCreatable", 4, "IDataPersist::Load"};

SmartPtr<INamedCollection> NewList(SiblingChecks& checks) {
    checks.Begin("ParametersCreatable: a new list, through its descriptor");
    return checks.Had(BASEObject::CreateParameters());
}

// The index of a name in a list, or -1 where it is said to be absent.
int Find(INamedCollection& list, IString& name) {
    int index = -1;
    return Succeeded(list.FindByName(&name, &index)) ? index : -1;
}

void ExpectAbsent(SiblingChecks& checks, INamedCollection& list, IString& name) {
    checks.On(kListFind, fmt::format("\"{}\", which was not added", TextOf(name)));
    int index = -1;
    const Result code = list.FindByName(&name, &index);
    checks.Expect(Failed(code), "a failure", fmt::format("{} and index {}", CodeText(code), index));
}

struct LentEntry {
    std::wstring_view name;
    int presentationKind;
};
// Names that are part of one another.
constexpr LentEntry kEntries[] = {{L"Radius", kPresentPlain}, {L"Radiu", kPresentNumber}, {L"RadiusX", kPresentShear}};

void CheckEntries(SiblingChecks& checks) {
    LentObject values[std::size(kEntries)];
    {
        const auto list = NewList(checks);
        checks.Reads("references of", References(list), 1);
        const auto other = NewList(checks);
        const auto name = SiblingString(checks, L"Radius");
        const auto take = [&](std::wstring_view text) { name->SetText(static_cast<int>(text.size()), text.data()); };
        ExpectAbsent(checks, *list, *name);
        for (std::size_t i = 0; i < std::size(kEntries); ++i) {
            // The same string object carries every name: the list keeps the characters.
            take(kEntries[i].name);
            checks.On(kListAdd, fmt::format("\"{}\", a value, 0, {:#x}", TextOf(*name), kEntries[i].presentationKind));
            checks.Succeeds(list->Add(name.Get(), &values[i], 0, kEntries[i].presentationKind));
            checks.Reads("references of the value", values[i].references, 2);
        }
        for (std::size_t i = std::size(kEntries); i-- > 0;) {
            take(kEntries[i].name);
            checks.On(kListFind, fmt::format("\"{}\"", TextOf(*name)));
            const int index = Find(*list, *name);
            checks.Expect(index >= 0, "an index", "a failure");
            SmartPtr<IUnknown> item;
            checks.On(kListGetItem, fmt::format("{}, that of \"{}\"", index, TextOf(*name)));
            checks.Succeeds(list->GetItem(index, item.Receive()));
            checks.Expect(item.Get() == &values[i], "the value that was added", item ? "another" : "null");
            checks.Reads("references of the value", values[i].references, 3);
        }
        ExpectAbsent(checks, *other, *name);
        for (const std::wstring_view absent : {L"radius", L"Radi", L"RadiusXY", L"Angle"}) {
            take(absent);
            ExpectAbsent(checks, *list, *name);
        }
    }
    checks.On(kListAdd, "three values, then the list is released");
    for (const auto& value : values) {
        checks.Reads("references of a value", value.references, 1);
    }
}

struct SavedNumber {
    std::wstring_view name;
    std::variant<int, double> value;
};
const SavedNumber kSaved[] = {
    {L"CenterX", 50.5}, {L"Count", -7}, {L"Angle", -0.0625}, {L"Lock", 0}, {L"Big", 123456.75}};

void Fill(SiblingChecks& checks, INamedCollection& list) {
    for (const auto& [name, value] : kSaved) {
        const auto variant = checks.Had(CREFString::CreateVariant());
        std::holds_alternative<int>(value) ? variant->SetInteger(std::get<int>(value))
                                           : variant->SetDouble(std::get<double>(value));
        list.Add(SiblingString(checks, name).Get(), variant.Get(), 0, kPresentNumber);
    }
}

SmartPtr<IDataPersist> Persistent(SiblingChecks& checks, const SmartPtr<INamedCollection>& list) {
    checks.Begin("ParametersCreatable: answers IDataPersist");
    return checks.Had(SmartPtr<IDataPersist>::QueryFrom(list.Get()));
}

void CheckPersistence(SiblingChecks& checks, PlaceKind kind) {
    const Storage storage;
    const SmartPtr<IDataStream> target = SaveStream(storage, kind);
    const SmartPtr<IDataStream> source = LoadStream(storage, kind);
    const int targetReferences = References(target);
    const auto list = NewList(checks);
    Fill(checks, *list);
    const auto saving = Persistent(checks, list);
    checks.On(kSave, fmt::format("a {} stream, 0", NameOf(kind)));
    checks.Succeeds(saving->Save(target.Get(), 0));
    checks.Reads("references of the stream", References(target), targetReferences);

    const int sourceReferences = References(source);
    const auto copy = NewList(checks);
    const auto loading = Persistent(checks, copy);
    checks.On(kLoad, fmt::format("a {} stream, 0", NameOf(kind)));
    checks.Succeeds(loading->Load(source.Get(), 0));
    checks.Reads("references of the stream", References(source), sourceReferences);
    for (const auto& [name, value] : kSaved) {
        const auto string = SiblingString(checks, name);
        const double saved = std::visit([](auto number) { return static_cast<double>(number); }, value);
        checks.Reads(fmt::format("\"{}\" of", TextOf(*string)), NumberIn(*copy, *string), saved);
    }
}

}  // namespace

double NumberIn(INamedCollection& list, IString& name) {
    SmartPtr<IUnknown> item;
    const int index = Find(list, name);
    if (index >= 0) {
        list.GetItem(index, item.Receive());
    }
    const auto variant = SmartPtr<IVariant>::QueryFrom(item.Get());
    return variant ? variant->GetDouble() : std::numeric_limits<double>::quiet_NaN();
}

bool ListTakes(SiblingChecks& checks, PlaceKind kind) {
    const auto list = NewList(checks);
    Fill(checks, *list);
    return Succeeded(Persistent(checks, list)->Save(SaveStream(Storage(), kind).Get(), 0));
}

const char* NameOf(PlaceKind kind) { return kind == PlaceKind::kFolder ? "folder" : "structured"; }

SmartPtr<IDataStream> SaveStream(const Storage& storage, PlaceKind kind) {
    return kind == PlaceKind::kFolder ? storage.Folder() : storage.Element();
}

SmartPtr<IDataStream> LoadStream(const Storage& storage, PlaceKind kind) {
    return kind == PlaceKind::kFolder ? storage.Folder() : storage.Parent();
}

void CheckSiblingLists(SiblingChecks& checks) {
    checks.Try([&] { CheckEntries(checks); });
    bool takesAny = false;
    for (const PlaceKind kind : kPlaceKinds) {
        if (ListTakes(checks, kind)) {
            takesAny = true;
            checks.Try([&] { CheckPersistence(checks, kind); });
        } else {
            fmt::print(stderr,
                       "roi: check: lists: ParametersCreatable refuses {} streams: figures are not saved there\n",
                       NameOf(kind));
        }
    }
    checks.On(kSave, "a folder stream or a structured one, 0");
    checks.Expect(takesAny, "success for one of them", "refusals");
}

// ---------------------------------------------------------------------------------------------------
// Property pages

void CheckSiblingPages(SiblingChecks& checks) {
    constexpr SiblingSlot kAddPage{"SuperCollection", 16, "ISuperCollection::AddPage"};
    checks.Begin("SuperCollection: a new one, through its descriptor");
    SmartPtr<ISuperCollection> pages = checks.Had(CREFString::CreateCollection());
    checks.Reads("references of", References(pages), 1);
    const SmartPtr<IString> texts[] = {SiblingString(checks, L"Key"), SiblingString(checks, L"Page"),
                                       SiblingString(checks, L"Name")};
    checks.On(kAddPage, "\"Key\", \"Page\", \"Name\", 0");
    checks.Succeeds(pages->AddPage(texts[0].Get(), texts[1].Get(), texts[2].Get(), 0));
    if (const auto listing = SmartPtr<IPageListing>::QueryFrom(pages.Get())) {
        tagREFString read[3] = {};
        checks.Reads("GetCount() of", listing->GetCount(), 1);
        listing->GetPage(0, &read[0], &read[1], &read[2]);
        for (std::size_t i = 0; i < std::size(read); ++i) {
            checks.Equal(ToUtf8(read[i]), TextOf(*texts[i]));
        }
    }
    pages.Reset();
    for (const auto& text : texts) {
        checks.Reads("after the collection is released, references of a text", References(text), 1);
    }
}

// ---------------------------------------------------------------------------------------------------
// Streams

namespace {

constexpr SiblingSlot kWriteBinary{"a folder stream", 11, "IFolderStream::WriteBinary"};
constexpr SiblingSlot kReadBinary{"a folder stream", 16, "IFolderStream::ReadBinary"};

void CheckFolderStream(SiblingChecks& checks, IFolderStream& stream) {
    const auto name = SiblingString(checks, L"Points");
    const auto absent = SiblingString(checks, L"Point");
    char data[] = "0123456789";
    checks.On(kWriteBinary, "\"Points\", 10 bytes, 0");
    checks.Succeeds(stream.WriteBinary(name.Get(), data, 10, 0));
    for (const int bytes : {10, 4}) {
        char read[11] = "##########";
        checks.On(kReadBinary, fmt::format("\"Points\" of 10 bytes, {} bytes, 0", bytes));
        checks.Succeeds(stream.ReadBinary(name.Get(), read, bytes, 0));
        checks.Equal(read, std::string(data, static_cast<std::size_t>(bytes)) +
                               std::string(static_cast<std::size_t>(10 - bytes), '#'));
    }
    for (const auto& [string, bytes] : {std::pair(name, 11), {absent, 1}}) {
        char read[12] = "";
        checks.On(kReadBinary, fmt::format("\"{}\", {} bytes, 0, where there are fewer", TextOf(*string), bytes));
        const Result code = stream.ReadBinary(string.Get(), read, bytes, 0);
        checks.Expect(Failed(code), "a failure", CodeText(code));
    }
}

// The classes that a collection lists; none for one that cannot.
std::vector<std::wstring> ListedClasses(IComponentCollection& collection) {
    std::vector<std::wstring> names;
    if (const auto listing = SmartPtr<IListing>::QueryFrom(&collection)) {
        for (int i = 0; i < listing->GetCount(); ++i) {
            tagREFString name{0, nullptr};
            listing->GetName(i, &name);
            names.emplace_back(name.text, static_cast<std::size_t>(name.length));
        }
    }
    return names;
}

}  // namespace

void CheckListedStreams(SiblingChecks& checks, IComponentCollection& collection) {
    for (const std::wstring& name : ListedClasses(collection)) {
        const auto stream = CreateComponent<IDataStream>(Text(name));
        if (const auto folder = SmartPtr<IFolderStream>::QueryFrom(stream.Get())) {
            CheckFolderStream(checks, *folder);
        }
    }
}
