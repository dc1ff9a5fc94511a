// One value of a parameter list, apart from the objects that carry it, and its form as text.
#pragma once

#include <cstdint>
#include <string>

#include "framework/CreatableString.h"

/// What a value is and, for the last two, what carries its text: a variant or a string object.
enum class ValueType : std::uint32_t { kNone = 0, kInteger = 1, kDouble = 2, kVariantText = 3, kStringText = 4 };

struct ParameterValue {
    ValueType type = ValueType::kNone;
    std::int32_t integer = 0;
    double number = 0.0;
    /// The text of the last two types. It belongs to `owner` or, without one, to whoever made the value.
    tagREFString text{0, nullptr};
    SmartPtr<IString> owner;
};

/// Reads the value that a list's item carries; false for an item that cannot be stored: an object, or
/// a variant that holds one.
bool ReadItem(IUnknown* item, ParameterValue* value) noexcept;

/// A new item that carries the value; empty without memory.
SmartPtr<IUnknown> MakeItem(const ParameterValue& value) noexcept;

/// Replaces a string by the value's text, which reads back exactly; false without memory:
///
///     none              nothing is held
///     -12               an integer
///     0.1 5.0 1e+300    a double: the shortest digits that read back, with '.', 'e', inf or nan
///     "text"            a variant's text; \HEX; stands for characters that XML cannot hold, and for
///                       the backslash
///     'text'            the text of a string object
///
/// A NaN keeps its sign and no more.
bool WriteText(const ParameterValue& value, CCreatableString& text) noexcept;

/// A new item that carries what such a text stands for; empty without memory. Blanks around it are ignored, and a text
/// that has none of these forms is that of a string object.
SmartPtr<IUnknown> ItemFromText(tagREFString text);
