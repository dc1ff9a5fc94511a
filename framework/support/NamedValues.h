// Parameter lists as plain values, for hosts and tests that read and fill them entry by entry.
#pragma once

#include <string>
#include <variant>
#include <vector>

#include "contract/Framework.h"
#include "contract/SmartPtr.h"

/// One entry of a parameter list.
struct NamedValue {
    std::string name;
    std::variant<int, double, std::string> value;
    int presentationKind = 0;  ///< see PresentationKind

    /// Whether setting it means something: not derived from other values, and not an action.
    bool IsState() const noexcept;
    /// `Key=value`, as it is typed.
    std::string AsAssignment() const;
};

/// The entries of a list, in its order, or none when the list does not answer IListing. What is neither a number
/// nor a text reads as an empty text.
std::vector<NamedValue> Entries(INamedCollection& list);
/// Those of the entries that are texts.
std::vector<NamedValue> TextEntries(INamedCollection& list);

/// A new list of these entries, in this order; numbers as variants, texts as strings. Null when the framework cannot
/// give the list, a string or a variant.
SmartPtr<INamedCollection> MakeList(const std::vector<NamedValue>& values);
