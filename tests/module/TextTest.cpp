// Numbers and texts: what parameters, older streams and saved ellipses read and write.
#include <clocale>
#include <cmath>
#include <cstdlib>
#include <filesystem>

#include <pugixml.hpp>

#include "Harness.h"
#include "contract/NumberText.h"
#include "framework/support/XMLStream.h"

namespace {

struct NumberCase {
    const wchar_t* text;
    double value;
};

const NumberCase kNumbers[] = {{L"  -3.25", -3.25},
                               {L"#1F", 31},
                               {L"+7", 7},
                               {L"12.5mm", 12.5},
                               {L"abc", 0},
                               {L".5", 0.5},
                               {L"-.5", -0.5},
                               {L"5.", 5},
                               {L"1.2.3", 1.2},
                               {L"1,5", 1},
                               {L"1e5", 1},
                               {L"--5", 0},
                               {L"- 5", 0},
                               {L"\t\n\x01\x7F 8", 8},
                               {L"#aBcG", 0xABC},
                               {L"#", 0},
                               {L"#-5", 0},
                               {L"# 5", 0},
                               {L"-#5", 0},
                               {L"#10000000000000001", 1},
                               {L"00012", 12},
                               {L"-0.000000000000000001", -1e-18},
                               {L"0.12345678901234567890", 0.123456789012345678},
                               {L"123456789012345678901234567890", 123456789012345678901234567890.0}};

TEST(TextToNumberTest, ReadsWhatPeopleType) {
    for (const NumberCase& c : kNumbers) {
        double value = kUntouched;
        EXPECT_TRUE(TextToNumber(Ref(c.text), &value)) << testing::PrintToString(c.text);
        EXPECT_NEAR(value, c.value, std::abs(c.value) * 1e-15) << testing::PrintToString(c.text);
    }
    for (const wchar_t* blank : {L"", L"  ", L" \t\r\n\x01"}) {
        double value = kUntouched;
        EXPECT_FALSE(TextToNumber(Ref(blank), &value));
        EXPECT_EQ(value, kUntouched);
    }
    double value = kUntouched;
    EXPECT_TRUE(TextToNumber({2, L"123"}, &value));
    EXPECT_EQ(value, 12) << "only the length counts";
}

TEST(TextToNumberTest, IsHowADonutReadsTextParameters) {
    auto donut = Create<IROIDonut>(L"ROIDonut");
    for (const NumberCase& c : kNumbers) {
        for (const wchar_t* name : {L"CenterX", L"RadiusY2"}) {
            EXPECT_EQ(SetParameters(donut.Get(), {{name, c.text}}), S_OK);
            const double read = std::get<double>(Parameters(donut.Get())[name[0] == L'C' ? 0 : 5].value);
            EXPECT_NEAR(read, c.value, std::abs(c.value) * 1e-15) << testing::PrintToString(c.text);
        }
    }
    SetParameters(donut.Get(), {{L"CenterX", 4.5}, {L"CenterY", 7}});
    SetParameters(donut.Get(), {{L"CenterX", L"   "}, {L"CenterY", L""}});
    EXPECT_EQ(Read2([&](double* x, double* y) { return donut->GetCenter(x, y); }), Point(4.5, 7));
}

// ---------------------------------------------------------------------------------------------------

struct Document {
    XMLDocument document = std::make_shared<pugi::xml_document>();
    pugi::xml_node root = document->append_child("set");
    pugi::xml_node entry = root.append_child("figure");
};

void ExpectEllipseTexts() {
    const std::pair<double, std::string> cases[] = {{50, "50"},
                                                    {12.5, "12.5"},
                                                    {0.1, "0.1"},
                                                    {-3.25, "-3.25"},
                                                    {1.0 / 3, "0.333333333"},
                                                    {2e-9, "0"},
                                                    {4.35, "4.350"},
                                                    {123456.789, "123456.789"},
                                                    {-1e-9, "-0"},
                                                    {1e22, "10000000000000000000000"},
                                                    {-1e300, ""},
                                                    {5e-324, "0"},
                                                    {2.0 / 3, "0.666666667"}};
    for (const auto& [value, text] : cases) {
        Document xml;
        auto ellipse = Create<IROIEllipse>(L"ROIEllipse");
        ellipse->SetCenter(value, 50);
        EXPECT_EQ(As<IDataPersist>(ellipse.Get())->Save(MakeXMLStream(xml.document, xml.entry).Get(), 0), S_OK);
        const std::string written = xml.entry.child("CenterX").text().get();
        if (text.empty()) {
            EXPECT_EQ(std::stod(written), value);
            EXPECT_EQ(written.size(), 302u);
        } else {
            EXPECT_EQ(written, text);
        }
        std::string names;
        for (pugi::xml_node child : xml.entry.children()) {
            names += child.name() + std::string(" ");
        }
        EXPECT_EQ(names, "CenterX CenterY RadiusX RadiusY ");
    }
}

TEST(EllipseText, HasTheDecimalsItsValueNeeds) { ExpectEllipseTexts(); }

TEST(EllipseText, DoesNotDependOnTheLocale) {
    // Made on the spot where the system has only the sources of locales.
    char folder[] = "/tmp/roi-locale-XXXXXX";
    ASSERT_NE(mkdtemp(folder), nullptr);
    const std::string name = std::string(folder) + "/de_DE.UTF-8";
    const bool made = std::system(("localedef -i de_DE -f UTF-8 " + name + " >/dev/null 2>&1").c_str()) == 0;
    if (made) {
        setenv("LOCPATH", folder, 1);
    }
    const bool german = std::setlocale(LC_ALL, "de_DE.UTF-8") != nullptr;
    if (german) {
        EXPECT_STREQ(std::localeconv()->decimal_point, ",");
        ExpectEllipseTexts();
        double value = 0;
        EXPECT_TRUE(TextToNumber(Text(L"1.5"), &value));
        EXPECT_EQ(value, 1.5);
    }
    std::setlocale(LC_ALL, "C");
    unsetenv("LOCPATH");
    std::filesystem::remove_all(folder);
    if (!german) {
        GTEST_SKIP() << "no German locale";
    }
}

TEST(EllipseText, ReadsIntegersFromXml) {
    const std::pair<const char*, double> cases[] = {{"#1A", 26},       {"-7.9", -7},
                                                    {"abc", 0},        {"+12", 12},
                                                    {"", 0},           {"50.5", 50},
                                                    {"-#1a", -26},     {"+#F", 15},
                                                    {"#1G", 1},        {" 5", 0},
                                                    {"4294967303", 7}, {"2147483648", -2147483648.0},
                                                    {"#FFFFFFFF", -1}, {"-2147483648", -2147483648.0}};
    for (const auto& [text, value] : cases) {
        Document xml;
        xml.entry.append_child("Other").text().set("77");
        xml.entry.append_child("centerx").text().set(text);
        xml.entry.append_child("RADIUSY").text().set(text);
        xml.entry.append_child("Nested").append_child("CenterY").text().set("99");
        xml.root.append_child("CenterY").text().set("98");
        auto ellipse = Create<IROIEllipse>(L"ROIEllipse");
        EXPECT_EQ(As<IDataPersist>(ellipse.Get())->Load(MakeXMLStream(xml.document, xml.root).Get(), 0), S_OK);
        EXPECT_EQ(Read2([&](double* x, double* y) { return ellipse->GetCenter(x, y); }), Point(value, 50)) << text;
        EXPECT_EQ(Read2([&](double* x, double* y) { return ellipse->GetRadius(x, y); }), Point(30, value)) << text;
    }
}

}  // namespace
