// Parameter lists through both kinds of stream, and archives that are not what they say.
#include <algorithm>
#include <bit>
#include <climits>
#include <cmath>
#include <limits>
#include <sstream>
#include <variant>

#include "framework/support/FolderStream.h"
#include "framework/support/XMLStream.h"
#include "tests/framework/FrameworkTest.h"

namespace {

struct Quoted {
    std::wstring text;
    friend bool operator==(const Quoted&, const Quoted&) = default;
};
using Value = std::variant<std::monostate, int, std::uint64_t /* a double's bits */, Quoted, std::wstring>;
struct Named {
    std::wstring name;
    Value value;
    friend bool operator==(const Named&, const Named&) = default;
};

Value Bits(double number) { return std::bit_cast<std::uint64_t>(number); }

const std::vector<Named>& AllKinds() {
    static const std::vector<Named> values = {
        {L"CenterX", Bits(0.1)},
        {L"Add Start", 0},
        {L"", INT_MIN},
        {L"value", INT_MAX},
        {L"2nd \"<&>\" name\t\x00E4\x1F600", Bits(-0.0)},
        {L"huge", Bits(1e300)},
        {L"tiny", Bits(std::numeric_limits<double>::denorm_min())},
        {L"whole", Bits(5.0)},
        {L"nan", Bits(std::numeric_limits<double>::quiet_NaN())},
        {L"negative nan", Bits(-std::numeric_limits<double>::quiet_NaN())},
        {L"inf", Bits(-std::numeric_limits<double>::infinity())},
        {L"nothing", std::monostate()},
        {L"quoted", Quoted{L"\"a\" 'b' \\5c; \x00FC\x4E2D\x1F600"}},
        {L"blank", Quoted{L"  "}},
        {L"empty", Quoted{L""}},
        {L"control", Quoted{std::wstring(L"\0\r\n\x7F\xD800", 5)}},
        {L"digits", std::wstring(L"12")},
        {L"string", std::wstring(L"12.5mm")},
        {L"CenterX", 7},
    };
    return values;
}

SmartPtr<IUnknown> ItemOf(const Value& value) {
    auto variant = CREFString::CreateVariant();
    if (const auto* text = std::get_if<std::wstring>(&value)) {
        return String(*text);
    }
    if (const int* integer = std::get_if<int>(&value)) {
        variant->SetInteger(*integer);
    } else if (const auto* bits = std::get_if<std::uint64_t>(&value)) {
        variant->SetDouble(std::bit_cast<double>(*bits));
    } else if (const auto* quoted = std::get_if<Quoted>(&value)) {
        SmartPtr<IVariantStore>::QueryFrom(variant.Get())->PutString(String(quoted->text).Get());
    }
    return variant;
}

Value ValueOf(IUnknown* item) {
    if (const auto string = SmartPtr<IString>::QueryFrom(item)) {
        return TextOf(*string);
    }
    const auto variant = SmartPtr<IVariant>::QueryFrom(item);
    SmartPtr<IUnknown> held;
    if (variant->HasString() != 0 && Succeeded(variant->GetString(held.Receive()))) {
        return Quoted{TextOf(*SmartPtr<IString>::QueryFrom(held.Get()))};
    }
    switch (variant->GetKind()) {
        case kVariantNone:
            return std::monostate();
        case kVariantInteger:
            return variant->GetInteger();
        default:
            return Bits(variant->GetDouble());
    }
}

SmartPtr<INamedCollection> ListOf(const std::vector<Named>& values, int presentationKind = 0) {
    auto list = BASEObject::CreateParameters();
    for (const Named& named : values) {
        EXPECT_EQ(list->Add(String(named.name).Get(), ItemOf(named.value).Get(), 0, presentationKind), S_OK);
    }
    return list;
}

std::vector<Named> ValuesOf(INamedCollection& list) {
    const auto listing = SmartPtr<IListing>::QueryFrom(&list);
    std::vector<Named> values;
    for (int i = 0; i < listing->GetCount(); ++i) {
        tagREFString name{0, nullptr};
        SmartPtr<IUnknown> item;
        EXPECT_EQ(listing->GetName(i, &name), S_OK);
        EXPECT_EQ(list.GetItem(i, item.Receive()), S_OK);
        values.push_back({TextOf(name), ValueOf(item.Get())});
    }
    return values;
}

Result Save(INamedCollection& list, const SmartPtr<IDataStream>& stream) {
    return SmartPtr<IDataPersist>::QueryFrom(&list)->Save(stream.Get(), 0);
}

Result Load(INamedCollection& list, const SmartPtr<IDataStream>& stream) {
    return SmartPtr<IDataPersist>::QueryFrom(&list)->Load(stream.Get(), 0);
}

XMLDocument Parsed(const std::string& text) {
    auto document = std::make_shared<pugi::xml_document>();
    EXPECT_TRUE(document->load_string(text.c_str())) << text;
    return document;
}

class StreamTest : public FrameworkTest {};

TEST_F(StreamTest, AListComesBackExactlyThroughXML) {
    const auto document = std::make_shared<pugi::xml_document>();
    pugi::xml_node root = document->append_child("set");
    ASSERT_EQ(Save(*ListOf(AllKinds()), MakeXMLStream(document, root.append_child("figure"))), S_OK);
    std::ostringstream file;
    document->save(file);
    const XMLDocument read = Parsed(file.str());
    for (const auto& element : {read->child("set"), read->child("set").child("figure")}) {
        const auto list = ListOf({{L"replaced", 1}});
        ASSERT_EQ(Load(*list, MakeXMLStream(read, element)), S_OK);
        EXPECT_TRUE(ValuesOf(*list) == AllKinds()) << file.str();
    }
}

TEST_F(StreamTest, AListComesBackExactlyThroughAnArchive) {
    const auto archive = std::make_shared<FolderArchive>();
    std::vector<Named> values = AllKinds();
    values.push_back({std::wstring(L"any\0name\x110000", 9), Bits(std::bit_cast<double>(0x7FF8000000000123u))});
    ASSERT_EQ(Save(*ListOf(values, 5), MakeFolderStream(archive, "figures/1")), S_OK);
    const auto read = std::make_shared<FolderArchive>(FolderArchive::FromBytes(archive->ToBytes()));
    const auto list = BASEObject::CreateParameters();
    ASSERT_EQ(Load(*list, MakeFolderStream(read, "figures/1")), S_OK);
    EXPECT_TRUE(ValuesOf(*list) == values);
    EXPECT_EQ(SmartPtr<IListing>::QueryFrom(list.Get())->GetPresentationKind(3), 5);
    EXPECT_EQ(Load(*list, MakeFolderStream(read, "figures/2")), E_FAIL);
    EXPECT_TRUE(ValuesOf(*list) == values);
}

TEST_F(StreamTest, ValuesTypedByHandAreUnderstood) {
    const XMLDocument document = Parsed(
        "<set><!-- by hand --><a> 12 </a><b>1e3</b><c>12.5mm</c><d>3000000000</d><e>\"half</e><f/><g>+7</g></set>");
    const auto list = BASEObject::CreateParameters();
    ASSERT_EQ(Load(*list, MakeXMLStream(document, document->first_child())), S_OK);
    const std::vector<Named> expected = {{L"a", 12},
                                         {L"b", Bits(1000.0)},
                                         {L"c", std::wstring(L"12.5mm")},
                                         {L"d", Bits(3e9)},
                                         {L"e", std::wstring(L"\"half")},
                                         {L"g", std::wstring(L"+7")}};
    EXPECT_TRUE(ValuesOf(*list) == expected);
}

TEST_F(StreamTest, AListThatHoldsAnObjectIsNotSavedInPart) {
    const auto list = ListOf({{L"number", 1}});
    const auto variant = CREFString::CreateVariant();
    SmartPtr<IVariantStore>::QueryFrom(variant.Get())->PutObject(list.Get());
    const auto holder = ListOf({{L"number", 1}});
    holder->Add(String(L"object").Get(), variant.Get(), 0, 0);
    const auto document = std::make_shared<pugi::xml_document>();
    const auto archive = std::make_shared<FolderArchive>();
    EXPECT_EQ(Save(*holder, MakeXMLStream(document, document->append_child("set"))), E_FAIL);
    EXPECT_EQ(Save(*holder, MakeFolderStream(archive, "")), E_FAIL);
    EXPECT_TRUE(document->first_child().first_child().empty());
    EXPECT_TRUE(archive->Blocks().empty());
}

TEST_F(StreamTest, ADamagedBlockLeavesTheListAlone) {
    const auto archive = std::make_shared<FolderArchive>();
    const auto stream = MakeFolderStream(archive, "");
    ASSERT_EQ(Save(*ListOf(AllKinds()), stream), S_OK);
    const FolderArchive::Block sound = *archive->Find("Parameters");
    const std::vector<Named> before = {{L"kept", 1}};
    const auto list = ListOf(before);
    const auto refuse = [&](FolderArchive::Block block, std::uint32_t size) {
        const auto* bytes = reinterpret_cast<const std::uint8_t*>(&size);
        std::copy_n(bytes, std::min(block.size(), sizeof size), block.begin());
        archive->Put("Parameters", std::move(block));
        EXPECT_EQ(Load(*list, stream), E_FAIL) << size;
    };
    for (std::uint32_t size = 0; size < sound.size(); ++size) {
        refuse({sound.begin(), sound.begin() + size}, size);
    }
    refuse(sound, static_cast<std::uint32_t>(sound.size() + 1));
    refuse(sound, 0xFFFFFFFF);
    // The high bytes of the first words: counts, types and lengths far beyond what is there.
    for (std::size_t at = 7; at < 20; at += 4) {
        FolderArchive::Block broken = sound;
        broken[at] = 0x7F;
        if (at != 11) {  // The presentation kind may be anything.
            refuse(broken, static_cast<std::uint32_t>(sound.size()));
        }
    }
    EXPECT_TRUE(ValuesOf(*list) == before);
}

TEST_F(StreamTest, StreamsRefuseWhatTheyCannotHold) {
    const auto document = std::make_shared<pugi::xml_document>();
    const auto archive = std::make_shared<FolderArchive>();
    const auto xmlStream = MakeXMLStream(document, document->append_child("set"));
    const auto folderStream = MakeFolderStream(archive, "");
    const auto xml = SmartPtr<IXMLStream>::QueryFrom(xmlStream.Get());
    const auto folder = SmartPtr<IFolderStream>::QueryFrom(folderStream.Get());
    const auto name = String(L"name");
    for (const auto& text : {std::wstring(1, L'\0'), std::wstring(L"\r"), std::wstring(L"\xD800")}) {
        EXPECT_TRUE(Failed(xml->WriteValue(name.Get(), 0, String(text).Get(), 0)));
        EXPECT_TRUE(Failed(xml->WriteValue(String(text).Get(), 0, name.Get(), 0)));
    }
    EXPECT_TRUE(document->first_child().first_child().empty());
    char data[4] = {};
    for (const auto* path : {L"", L"..", L"a/b", L"a\\b", L"/a", L"\xD800"}) {
        EXPECT_TRUE(Failed(folder->WriteBinary(String(path).Get(), data, 4, 0)));
        EXPECT_TRUE(Failed(folder->ReadBinary(String(path).Get(), data, 4, 0)));
    }
    EXPECT_TRUE(archive->Blocks().empty());
    IUnknown* child = nullptr;
    ExpectMisuse("write with 1", [&] { return xml->WriteValue(name.Get(), 1, name.Get(), 0); });
    ExpectMisuse("write nothing", [&] { return xml->WriteValue(name.Get(), 0, nullptr, 0); });
    ExpectMisuse("open with 0", [&] { return xml->OpenChild(Text(L"name"), nullptr, &child, 0); });
    ExpectMisuse("block of less than nothing", [&] { return folder->WriteBinary(name.Get(), data, -1, 0); });
    ExpectMisuse("block into null", [&] { return folder->ReadBinary(name.Get(), nullptr, 4, 0); });
}

TEST_F(StreamTest, BlocksAreReadAsFarAsBothReach) {
    const auto stream = MakeFolderStream(std::make_shared<FolderArchive>(), "f");
    const auto folder = SmartPtr<IFolderStream>::QueryFrom(stream.Get());
    const auto name = String(L"block");
    ASSERT_EQ(folder->WriteBinary(name.Get(), "abc", 3, 0), S_OK);
    char data[] = "....";
    EXPECT_EQ(folder->ReadBinary(name.Get(), data, 2, 0), S_OK);
    EXPECT_STREQ(data, "ab..");
    EXPECT_EQ(folder->ReadBinary(name.Get(), data, 4, 0), E_FAIL);
    EXPECT_STREQ(data, "abc.");
}

TEST(FolderArchive, TheSameBlocksGiveTheSameBytesAndComeBack) {
    FolderArchive archive;
    EXPECT_TRUE(FolderArchive::FromBytes(archive.ToBytes()).Blocks().empty());
    archive.Put("figures/\xC3\xBC mit Leerzeichen/Points", FolderArchive::Block(100000, 7));
    archive.Put("empty", {});
    archive.Put("a", {1, 2, 3});
    EXPECT_EQ(FolderArchive::FromBytes(archive.ToBytes()).Blocks(), archive.Blocks());
    EXPECT_EQ(FolderArchive::FromBytes(archive.ToBytes()).ToBytes(), archive.ToBytes());
    EXPECT_LT(archive.ToBytes().size(), 1500u);
    EXPECT_THROW(archive.Put("../a", {}), std::runtime_error);
    archive.Put("a", FolderArchive::Block((256u << 20) - 99999u));
    EXPECT_THROW(archive.ToBytes(), std::runtime_error) << "more than can be read back";
}

std::string Replaced(std::string bytes, std::string_view from, std::string_view to) {
    for (std::size_t at = bytes.find(from); at != bytes.npos; at = bytes.find(from, at + to.size())) {
        bytes.replace(at, from.size(), to);
    }
    return bytes;
}

TEST(FolderArchive, HoldsMoreBlocksThanAnEndRecordCounts) {
    for (const int count : {65534, 65535, 65536, 70001}) {
        FolderArchive archive;
        for (int i = 0; i < count; ++i) {
            archive.Put("figures/" + std::to_string(i),
                        {static_cast<std::uint8_t>(i), static_cast<std::uint8_t>(i >> 8)});
        }
        const FolderArchive back = FolderArchive::FromBytes(archive.ToBytes());
        EXPECT_EQ(back.Blocks().size(), static_cast<std::size_t>(count));
        EXPECT_TRUE(back.Blocks() == archive.Blocks()) << count;
    }
}

TEST(FolderArchive, UnsoundArchivesAreRefused) {
    FolderArchive archive;
    archive.Put("one", {'d', 'a', 't', 'a', '1'});
    archive.Put("two/xy", {'d', 'a', 't', 'a', '2'});
    const std::string sound = archive.ToBytes();
    ASSERT_EQ(FolderArchive::FromBytes(Replaced(sound, "two/xy", "two/zz")).Blocks().size(), 2u);
    for (const auto* path : {"../axy", "/wo/xy", "two//y", "two/..", "./o/xy", "two\\xy"}) {
        EXPECT_THROW(FolderArchive::FromBytes(Replaced(sound, "two/xy", path)), std::runtime_error) << path;
    }
    FolderArchive twins;
    twins.Put("twin1", {1});
    twins.Put("twin2", {2});
    EXPECT_THROW(FolderArchive::FromBytes(Replaced(twins.ToBytes(), "twin2", "twin1")), std::runtime_error);
    EXPECT_THROW(FolderArchive::FromBytes(Replaced(sound, "data1", "data3")), std::runtime_error) << "check sum";
    for (std::size_t size = 0; size < sound.size(); ++size) {
        EXPECT_THROW(FolderArchive::FromBytes(sound.substr(0, size)), std::runtime_error) << size;
    }
    // The method of the first entry, 8 and 10 bytes into its records: bzip2, which the library would read.
    std::string other = sound;
    other[other.find("PK\3\4") + 8] = other[other.find("PK\1\2") + 10] = 12;
    EXPECT_THROW(FolderArchive::FromBytes(other), std::runtime_error);
    // The size fields of the first central record, 20 and 24 bytes into it: 2 GiB are declared.
    std::string absurd = sound;
    const std::size_t record = absurd.find("PK\1\2");
    absurd[record + 23] = absurd[record + 27] = '\x7F';
    EXPECT_THROW(FolderArchive::FromBytes(absurd), std::runtime_error);
}

}  // namespace
