// Checks of a host's own siblings: what each slot that the module calls must do for the module to work. They
// are tried as the module tries them: from the folder they lie in, as "./NAME.so".
#pragma once

#include <fmt/format.h>

#include <span>
#include <string>

#include "check/Runner.h"
#include "check/Streams.h"
#include "contract/Components.h"

/// An operation that the module calls, and the component that must have it.
struct SiblingSlot {
    const char* component;
    int number;
    const char* operation;
};

class SiblingChecks : public CheckReport {
  public:
    SiblingChecks(const char* group, CheckProgress& progress, const std::string& module)
        : CheckReport(group, progress), module(module) {}

    /// The file of the module whose figures are tried on the siblings.
    const std::string& module;

    /// Checks from now on what a call with these arguments does.
    void On(const SiblingSlot& slot, std::string_view arguments) {
        Begin(fmt::format("{}: slot {}, {}({})", slot.component, slot.number, slot.operation, arguments));
    }
    void Succeeds(Result code) { Expect(Succeeded(code), "success", CodeText(code)); }
    /// `what` is a reading whose value says what the call did.
    template <class Value>
    void Reads(std::string_view what, const Value& actual, const Value& expected) {
        Expect(actual == expected, fmt::format("{} {}", what, expected), fmt::format("{}", actual));
    }
    /// A component that must be had for the checks to go on.
    template <class Interface>
    const SmartPtr<Interface>& Had(const SmartPtr<Interface>& component) {
        if (!component) {
            throw CheckFailed{"a component", "null"};
        }
        return component;
    }
    /// A component made by class name through the collection.
    template <class Interface>
    SmartPtr<Interface> Made(tagREFString className) {
        return Had(CreateComponent<Interface>(className));
    }
};

/// The references that an object has, the caller's included.
template <class Interface>
int References(const SmartPtr<Interface>& object) {
    object->AddRef();
    return object->Release();
}

/// A string component, filled in one call.
SmartPtr<IString> SiblingString(SiblingChecks& checks, std::wstring_view text);
/// What a string holds, in UTF-8.
std::string TextOf(IString& string);

/// The number that a list has under a name, or NaN.
double NumberIn(INamedCollection& list, IString& name);

/// The kinds of streams that figures are saved in. What is saved into an element is loaded from the one above.
enum class PlaceKind { kFolder, kStructured };
inline constexpr PlaceKind kPlaceKinds[] = {PlaceKind::kFolder, PlaceKind::kStructured};
const char* NameOf(PlaceKind kind);
SmartPtr<IDataStream> SaveStream(const Storage& storage, PlaceKind kind);
SmartPtr<IDataStream> LoadStream(const Storage& storage, PlaceKind kind);
/// Whether the siblings' lists save themselves in such a stream. A host may do without one of the kinds.
bool ListTakes(SiblingChecks& checks, PlaceKind kind);

/// Tries the folder streams among the classes that a collection lists, if it lists any.
void CheckListedStreams(SiblingChecks& checks, IComponentCollection& collection);

void CheckSiblingDescriptors(SiblingChecks& checks);
void CheckSiblingCollection(SiblingChecks& checks);
void CheckSiblingStrings(SiblingChecks& checks);
void CheckSiblingVariants(SiblingChecks& checks);
void CheckSiblingLists(SiblingChecks& checks);
void CheckSiblingPages(SiblingChecks& checks);
void CheckSiblingImages(SiblingChecks& checks);
void CheckSiblingDrawing(SiblingChecks& checks);
void CheckSiblingFigures(SiblingChecks& checks);

struct SiblingGroup {
    const char* name;
    const char* what;
    void (*run)(SiblingChecks& checks);
};

/// All groups, in the order in which they run.
std::span<const SiblingGroup> SiblingGroups() noexcept;

/// Runs one group in a process of its own, whose current directory is `folder`, as RunGroup does.
CheckCounts RunSiblingGroup(const SiblingGroup& group, const std::string& folder, const std::string& module,
                            const CheckOptions& options);
