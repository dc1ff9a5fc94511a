// Numbers as texts: those that the module reads and writes, and those that the command reads.
#include <cmath>
#include <cstdlib>

#include "contract/NumberText.h"
#include "contract/Numbers.h"
#include "framework/support/Utf8.h"
#include "fuzz/Target.h"
#include "host/base/Text.h"
#include "runtime/VariantText.h"

namespace {

// Digits with at most one point, as short as any reading of them holds exactly.
bool IsPlainNumber(std::string_view text) noexcept {
    const std::size_t point = text.find('.');
    const bool pointed = point != std::string_view::npos && text.find('.', point + 1) == std::string_view::npos;
    return !text.empty() && text.size() <= 15 && text.front() != '.' &&
           text.find_first_not_of(pointed ? "0123456789." : "0123456789") == std::string_view::npos;
}

// Against the library's own reading, which is right to the last bit.
void ReadText(const std::string& bytes) {
    const std::wstring wide(bytes.begin(), bytes.end());
    double value = -1.0;
    const bool read = TextToNumber(Record(wide), &value);
    REQUIRE(read ? !std::isnan(value) : value == -1.0);
    const int integer = TextToInteger(Record(wide));
    if (IsPlainNumber(bytes)) {
        const double exact = std::strtod(bytes.c_str(), nullptr);
        REQUIRE(read && std::abs(value - exact) <= 1e-15 * exact);
        REQUIRE(exact >= 2147483648.0 || integer == static_cast<int>(exact));
        REQUIRE(host::ParseNumber(bytes) == exact && host::ParseNumber("-" + bytes) == -exact);
    }
    if (const auto parsed = host::ParseNumber(bytes)) {
        REQUIRE(std::isfinite(*parsed) && host::ParseNumber(host::NumberText(*parsed)) == *parsed);
        const bool whole = std::trunc(*parsed) == *parsed && *parsed >= INT_MIN && *parsed <= INT_MAX;
        REQUIRE(host::ParseInteger(bytes).has_value() == whole);
    }
    if (const auto text = host::ToWide(bytes)) {
        REQUIRE(ToUtf8(Text(*text)) == bytes);
    }
    for (const char c : Harmless(bytes)) {
        REQUIRE(static_cast<unsigned char>(c) >= 0x20 && c != 0x7F);
    }
}

// A record of its own size, so that a character too many is caught.
void ReadWide(const std::wstring& text) {
    double value = 0.0;
    TextToNumber(Record(text), &value);
    TextToInteger(Record(text));
}

void WriteNumber(double value, int decimals) {
    const auto room = static_cast<std::size_t>(RoomForNumber(decimals));
    std::vector<char> digits(room);
    const int length = NumberToText(value, decimals, digits.data());
    REQUIRE(length > 0 && static_cast<std::size_t>(length) <= room);
    const std::string written(digits.data(), static_cast<std::size_t>(length));
    if (!std::isfinite(value)) {
        return;
    }
    // To a step of the last digit that is read, and to what the reading of many digits loses.
    const std::wstring wide(written.begin(), written.end());
    double read = 0.0;
    REQUIRE(TextToNumber(Record(wide), &read));
    REQUIRE(std::abs(read - value) <= 1.0000001 * std::pow(10.0, -std::min(decimals, 18)) + 1e-13 * std::abs(value));
}

void WriteVariant(double value, short precision) {
    const auto variant = CREFString::CreateVariant();
    variant->SetDouble(value);
    for (const auto& string : {ISCreate(variant.Get(), precision), ISCreate(variant.Get())}) {
        tagREFString text{0, nullptr};
        REQUIRE(string && string->GetText(&text.text, &text.length) == S_OK && text.length > 0);
    }
}

// A parameter given as a text is what its reading gives, or stays.
void SetAsText(const std::wstring& text) {
    const auto figure = Modules().Create("donut", "ROIDonut").roi;
    double expected = 0.0;
    double y = 0.0;
    REQUIRE(figure->GetCenter(&expected, &y) == S_OK);
    TextToNumber(Record(text), &expected);
    const auto list = ListOf({{L"CenterX", text}});
    REQUIRE(SmartPtr<IParametricObject>::QueryFrom(figure.Get())->SetParameters(list.Get()) == S_OK);
    double x = 0.0;
    REQUIRE(figure->GetCenter(&x, &y) == S_OK && Same(x, expected));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const NothingLeft nothingLeft;
    Input input(data, size);
    switch (input.Below(4)) {
        case 0:
            ReadText(std::string(input.Rest()));
            break;
        case 1: {
            const std::wstring text = input.Wide(size);
            ReadWide(text);
            SetAsText(text);
            break;
        }
        case 2: {
            const double value = input.Number();
            WriteNumber(value, input.Raw<std::uint16_t>() & 0x7FFF);
            WriteNumber(value, DecimalsNeeded(value));
            break;
        }
        default: {
            const double value = input.Number();
            WriteVariant(value, input.Raw<short>());
            ToInt32(value);
            ToUInt32(value);
        }
    }
    return 0;
}
