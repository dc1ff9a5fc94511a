#include "framework/ParameterValue.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <string_view>
#include <system_error>
#include <type_traits>

#include "framework/Variant.h"
#include "framework/support/PlainText.h"

namespace {

constexpr tagREFString kNothing = Text(L"none");
constexpr tagREFString kEscape = Text(L"\\");
constexpr tagREFString kVariantQuote = Text(L"\"");
constexpr tagREFString kStringQuote = Text(L"'");

// Longer than any text of an integer or a double.
constexpr std::size_t kLongestNumber = 40;

// Characters that XML cannot hold or that parsers rewrite, and the one that introduces an escape.
constexpr bool NeedsEscape(wchar_t c) noexcept {
    const auto code = static_cast<char32_t>(c);
    return code < 0x20 || code == '\\' || (code >= 0xD800 && code < 0xE000) || code == 0xFFFE || code == 0xFFFF ||
           code > 0x10FFFF;
}

bool Append(tagREFString characters, CCreatableString& text) noexcept {
    return Succeeded(text.Append(characters.length, characters.text));
}

// Digits widened, and perhaps more behind them.
struct WideDigits {
    WideDigits(const char* first, const char* last) noexcept : length(static_cast<int>(last - first)) {
        CopyPlain(first, static_cast<std::size_t>(length), characters);
    }
    void Add(wchar_t c) noexcept { characters[length++] = c; }
    tagREFString Record() const noexcept { return {length, characters}; }

    int length;
    wchar_t characters[kLongestNumber];
};

bool AppendEscape(wchar_t c, CCreatableString& text) noexcept {
    char digits[8];
    const auto end = std::to_chars(digits, digits + sizeof digits, static_cast<std::uint32_t>(c), 16).ptr;
    WideDigits escape(digits, end);
    escape.Add(L';');
    return Append(kEscape, text) && Append(escape.Record(), text);
}

bool WriteQuoted(tagREFString plain, tagREFString quote, CCreatableString& text) noexcept {
    const wchar_t* at = plain.text;
    const wchar_t* const end = at + plain.length;
    bool written = Succeeded(text.SetText(quote.length, quote.text));
    while (written && at != end) {
        const wchar_t* const odd = std::find_if(at, end, NeedsEscape);
        written = Append({static_cast<int>(odd - at), at}, text) && (odd == end || AppendEscape(*odd, text));
        at = odd != end ? odd + 1 : end;
    }
    return written && Append(quote, text);
}

// One escape, with `rest` behind its backslash; what it stands for, with `rest` behind its end.
std::optional<wchar_t> TakeEscape(std::wstring_view* rest) noexcept {
    const std::size_t length = rest->find(L';');
    char digits[8];
    if (length == 0 || length > sizeof digits) {
        return std::nullopt;
    }
    for (std::size_t i = 0; i < length; ++i) {
        digits[i] = static_cast<char>((*rest)[i]);
    }
    std::uint32_t code = 0;
    const auto read = std::from_chars(digits, digits + length, code, 16);
    if (read.ec != std::errc() || read.ptr != digits + length) {
        return std::nullopt;
    }
    rest->remove_prefix(length + 1);
    return static_cast<wchar_t>(code);
}

// The text between quotes, or nothing when the quotes or an escape are unsound.
std::optional<std::wstring> Unquoted(std::wstring_view text) {
    if (text.size() < 2 || text.back() != text.front()) {
        return std::nullopt;
    }
    std::wstring_view rest = text.substr(1, text.size() - 2);
    std::wstring plain;
    plain.reserve(rest.size());
    while (!rest.empty()) {
        const std::size_t run = std::min(rest.find(L'\\'), rest.size());
        plain.append(rest, 0, run);
        rest.remove_prefix(run);
        if (rest.empty()) {
            break;
        }
        rest.remove_prefix(1);
        const auto escaped = TakeEscape(&rest);
        if (!escaped) {
            return std::nullopt;
        }
        plain += *escaped;
    }
    return plain;
}

template <class Number>
bool ReadsAs(std::string_view digits, Number* number) noexcept {
    const auto read = std::from_chars(digits.data(), digits.data() + digits.size(), *number);
    return read.ec == std::errc() && read.ptr == digits.data() + digits.size();
}

// An integer or a double; false when the text is neither, to its last character.
bool ReadNumber(std::wstring_view text, ParameterValue* value) noexcept {
    char characters[kLongestNumber];
    if (text.size() > sizeof characters || !CopyPlain(text.data(), text.size(), characters)) {
        return false;
    }
    const std::string_view digits(characters, text.size());
    const bool isInteger = ReadsAs(digits, &value->integer);
    value->type = isInteger ? ValueType::kInteger : ValueType::kDouble;
    return isInteger || ReadsAs(digits, &value->number);
}

template <class Number>
bool WriteNumber(Number number, CCreatableString& text) noexcept {
    char characters[kLongestNumber];
    const char* const end = std::to_chars(characters, characters + sizeof characters, number).ptr;
    WideDigits digits(characters, end);
    // "inf" and "nan" have an 'n'. Digits alone would read back as an integer.
    const auto marksDouble = [](char c) { return c == '.' || c == 'e' || c == 'n'; };
    if (std::is_floating_point_v<Number> && std::none_of(static_cast<const char*>(characters), end, marksDouble)) {
        digits.Add(L'.');
        digits.Add(L'0');
    }
    return Succeeded(text.SetText(digits.length, digits.characters));
}

constexpr bool IsBlank(wchar_t c) noexcept { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

std::wstring_view Trimmed(tagREFString text) noexcept {
    const wchar_t* first = text.text;
    const wchar_t* last = first + std::max(text.length, 0);
    while (first != last && IsBlank(*first)) {
        ++first;
    }
    while (first != last && IsBlank(last[-1])) {
        --last;
    }
    return {first, static_cast<std::size_t>(last - first)};
}

bool ReadString(IUnknown* carrier, ValueType type, ParameterValue* value) noexcept {
    value->type = type;
    value->owner = SmartPtr<IString>::QueryFrom(carrier);
    return value->owner && Succeeded(value->owner->GetText(&value->text.text, &value->text.length)) &&
           value->text.length >= 0;
}

bool ReadVariant(IVariant& variant, ParameterValue* value) noexcept {
    SmartPtr<IUnknown> held;
    if (variant.HasString() != 0) {
        return Succeeded(variant.GetString(held.Receive())) && ReadString(held.Get(), ValueType::kVariantText, value);
    }
    switch (variant.GetKind()) {
        case kVariantNone:
            value->type = ValueType::kNone;
            return Failed(variant.GetObject(held.Receive())) || !held;
        case kVariantInteger:
            value->type = ValueType::kInteger;
            value->integer = variant.GetInteger();
            return true;
        default:
            value->type = ValueType::kDouble;
            value->number = variant.GetDouble();
            return true;
    }
}

}  // namespace

bool ReadItem(IUnknown* item, ParameterValue* value) noexcept {
    const auto variant = SmartPtr<IVariant>::QueryFrom(item);
    return variant ? ReadVariant(*variant, value) : ReadString(item, ValueType::kStringText, value);
}

SmartPtr<IUnknown> MakeItem(const ParameterValue& value) noexcept {
    SmartPtr<IString> string;
    if (value.type == ValueType::kVariantText || value.type == ValueType::kStringText) {
        string = MakeObject<ICreatableString, CCreatableString>();
        if (!string || Failed(string->SetText(value.text.length, value.text.text))) {
            return nullptr;
        }
    }
    if (value.type == ValueType::kStringText) {
        return string;
    }
    auto* variant = new (std::nothrow) CVariant;
    auto item = SmartPtr<IVariant>::Adopt(variant);
    if (item && value.type == ValueType::kInteger) {
        variant->SetInteger(value.integer);
    } else if (item && value.type == ValueType::kDouble) {
        variant->SetDouble(value.number);
    } else if (item) {
        variant->PutString(string.Get());
    }
    return item;
}

bool WriteText(const ParameterValue& value, CCreatableString& text) noexcept {
    switch (value.type) {
        case ValueType::kInteger:
            return WriteNumber(value.integer, text);
        case ValueType::kDouble:
            return WriteNumber(value.number, text);
        case ValueType::kVariantText:
            return WriteQuoted(value.text, kVariantQuote, text);
        case ValueType::kStringText:
            return WriteQuoted(value.text, kStringQuote, text);
        case ValueType::kNone:
            break;
    }
    return Succeeded(text.SetText(kNothing.length, kNothing.text));
}

SmartPtr<IUnknown> ItemFromText(tagREFString text) {
    ParameterValue value;
    const std::wstring_view trimmed = Trimmed(text);
    if (Text(trimmed) == kNothing || ReadNumber(trimmed, &value)) {
        return MakeItem(value);
    }
    const bool isVariant = trimmed.starts_with(L'"');
    const auto plain = isVariant || trimmed.starts_with(L'\'') ? Unquoted(trimmed) : std::nullopt;
    value.type = isVariant && plain ? ValueType::kVariantText : ValueType::kStringText;
    value.text = Text(plain ? *plain : trimmed);
    return MakeItem(value);
}
