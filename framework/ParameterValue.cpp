#include "framework/ParameterValue.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <string_view>
#include <system_error>
#include <type_traits>

#include "framework/CreatableString.h"
#include "framework/Variant.h"

namespace {

constexpr std::wstring_view kNothing = L"none";
constexpr std::wstring_view kBlanks = L" \t\r\n";

// Longer than any text of an integer or a double.
constexpr std::size_t kLongestNumber = 40;

// Characters that XML cannot hold or that parsers rewrite, and the one that introduces an escape.
constexpr bool NeedsEscape(wchar_t c) noexcept {
    const auto code = static_cast<char32_t>(c);
    return code < 0x20 || code == '\\' || (code >= 0xD800 && code < 0xE000) || code == 0xFFFE || code == 0xFFFF ||
           code > 0x10FFFF;
}

void AppendASCII(std::string_view characters, std::wstring* text) {
    text->resize(text->size() + characters.size());
    std::copy(characters.begin(), characters.end(), text->end() - static_cast<std::ptrdiff_t>(characters.size()));
}

void AppendQuoted(tagREFString plain, wchar_t quote, std::wstring* text) {
    *text += quote;
    for (int i = 0; i < plain.length; ++i) {
        if (!NeedsEscape(plain.text[i])) {
            *text += plain.text[i];
            continue;
        }
        char digits[8];
        const auto end =
            std::to_chars(digits, digits + sizeof digits, static_cast<std::uint32_t>(plain.text[i]), 16).ptr;
        *text += L'\\';
        AppendASCII({digits, end}, text);
        *text += L';';
    }
    *text += quote;
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

// An integer or a double; nothing when the text is neither, to its last character.
std::optional<ParameterValue> ReadNumber(std::wstring_view text) noexcept {
    char digits[kLongestNumber];
    if (text.size() > sizeof digits) {
        return std::nullopt;
    }
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (static_cast<std::uint32_t>(text[i]) > 0x7F) {
            return std::nullopt;
        }
        digits[i] = static_cast<char>(text[i]);
    }
    ParameterValue value;
    if (ReadsAs({digits, text.size()}, &value.integer)) {
        value.type = ValueType::kInteger;
    } else if (ReadsAs({digits, text.size()}, &value.number)) {
        value.type = ValueType::kDouble;
    } else {
        return std::nullopt;
    }
    return value;
}

template <class Number>
void AppendNumber(Number number, std::wstring* text) {
    char digits[kLongestNumber];
    const std::string_view written(digits, std::to_chars(digits, digits + sizeof digits, number).ptr);
    AppendASCII(written, text);
    // "inf" and "nan" have an 'n'. Digits alone would read back as an integer.
    if (std::is_floating_point_v<Number> && written.find_first_of(".en") == written.npos) {
        *text += L".0";
    }
}

std::wstring_view Trimmed(tagREFString text) noexcept {
    const std::wstring_view all(text.text, text.length > 0 ? static_cast<std::size_t>(text.length) : 0);
    const std::size_t first = all.find_first_not_of(kBlanks);
    return first == std::wstring_view::npos ? std::wstring_view()
                                            : all.substr(first, all.find_last_not_of(kBlanks) - first + 1);
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

void AppendText(const ParameterValue& value, std::wstring* text) {
    switch (value.type) {
        case ValueType::kInteger:
            return AppendNumber(value.integer, text);
        case ValueType::kDouble:
            return AppendNumber(value.number, text);
        case ValueType::kVariantText:
            return AppendQuoted(value.text, L'"', text);
        case ValueType::kStringText:
            return AppendQuoted(value.text, L'\'', text);
        case ValueType::kNone:
            *text += kNothing;
    }
}

ParameterValue FromText(tagREFString text, std::wstring* storage) {
    const std::wstring_view trimmed = Trimmed(text);
    if (trimmed == kNothing) {
        return {};
    }
    if (const auto number = ReadNumber(trimmed)) {
        return *number;
    }
    ParameterValue value;
    value.type = ValueType::kStringText;
    const bool variantText = trimmed.starts_with(L'"');
    if (auto plain = variantText || trimmed.starts_with(L'\'') ? Unquoted(trimmed) : std::nullopt) {
        value.type = variantText ? ValueType::kVariantText : ValueType::kStringText;
        *storage = std::move(*plain);
    } else {
        storage->assign(trimmed);
    }
    value.text = {static_cast<int>(storage->size()), storage->data()};
    return value;
}
