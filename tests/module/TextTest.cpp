// Numbers and texts: what parameters, older streams and saved ellipses read and write.
#include <cfloat>
#include <clocale>
#include <cmath>
#include <cstdlib>
#include <filesystem>

#include <pugixml.hpp>

#include "Harness.h"
#include "contract/NumberText.h"
#include "framework/support/XMLStream.h"
#include "runtime/VariantText.h"

namespace {

struct Document {
    XMLDocument document = std::make_shared<pugi::xml_document>();
    pugi::xml_node root = document->append_child("set");
    pugi::xml_node entry = root.append_child("figure");
};

void ExpectEllipseTexts() {
    const std::pair<double, std::string> cases[] = {{12.5, "12.5"},       {4.35, "4.350"}, {-1e-9, "-0"},
                                                    {1e-8, "0.00000001"}, {5e-324, "0"},   {-1e300, ""},
                                                    {-DBL_MAX, ""}};
    for (const auto& [value, text] : cases) {
        Document xml;
        auto ellipse = Create<IROIEllipse>(L"ROIEllipse");
        ellipse->SetCenter(value, 50);
        EXPECT_EQ(As<IDataPersist>(ellipse.Get())->Save(MakeXMLStream(xml.document, xml.entry).Get(), 0), S_OK);
        const std::string written = xml.entry.child("CenterX").text().get();
        if (text.empty()) {
            EXPECT_EQ(std::stod(written), value);
        } else {
            EXPECT_EQ(written, text);
        }
    }
    // The longest text there is.
    const auto variant = CREFString::CreateVariant();
    variant->SetDouble(-DBL_MAX);
    const auto longest = ISCreate(variant.Get(), 9);
    tagREFString text{};
    ASSERT_TRUE(longest && longest->GetText(&text.text, &text.length) == S_OK);
    EXPECT_EQ(text.length, 1 + 309 + 1 + 9);
    EXPECT_EQ(TextToInteger({2, L"123"}), 12) << "and nothing that lies beyond";
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

}  // namespace
