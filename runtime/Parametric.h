// Parameters, property pages and persistence: what all figures share of being edited and saved as a
// flat list of named values. A class says which names it has; reading, writing, listing and persisting
// are written once, here.
#pragma once

#include <cstddef>

#include "runtime/Components.h"
#include "runtime/Numbers.h"

// ---------------------------------------------------------------------------------------------------
// Writing a list

/// Builds a parameter list entry by entry and hands it out whole or not at all.
class ParameterWriter {
  public:
    ParameterWriter() noexcept : m_list(BASEObject::CreateParameters()), m_complete(static_cast<bool>(m_list)) {}

    /// Appends a double or an integer under a name. The presentation kind tells a parameter page how
    /// to show it; 0 is plain. What the list says to the entry is not examined.
    void Add(tagREFString name, double value, int presentationKind = 0) noexcept;
    void Add(tagREFString name, int value, int presentationKind = 0) noexcept;

    /// Stores the list, with its reference, in `*out` and returns S_OK; E_FAIL with `*out` null when
    /// the framework failed to give the list, a name or a variant.
    Result HandOut(INamedCollection** out) noexcept;

  private:
    template <class Store>
    void AddVariant(tagREFString name, int presentationKind, Store store) noexcept;

    SmartPtr<INamedCollection> m_list;
    bool m_complete;
};

// ---------------------------------------------------------------------------------------------------
// Reading a list

/// What became of looking a named value up.
enum class Lookup {
    kMissing,   ///< There is no such name; the target keeps its value.
    kUnusable,  ///< The name is there, but its value cannot be read; the target keeps its value.
    kRead,      ///< The target has the value.
};

/// Reads named values from a list that it borrows.
class ParameterReader {
  public:
    explicit ParameterReader(INamedCollection& parameters) noexcept : m_parameters(parameters) {}

    /// Reads a value that only counts as a variant.
    Lookup Variant(tagREFString name, double* value) noexcept;
    Lookup Variant(tagREFString name, int* value) noexcept;
    /// Reads a value that may also be a text (see TextToNumber).
    Lookup Number(tagREFString name, double* value) noexcept;
    Lookup Number(tagREFString name, int* value) noexcept;

    /// S_OK, or E_FAIL when the framework failed to give the string for a name: what was read is then
    /// incomplete and is not to be kept.
    Result Outcome() const noexcept { return m_outcome; }

  private:
    template <class Value, class Read>
    Lookup LookUp(tagREFString name, Value* value, Read read) noexcept;
    bool SetName(tagREFString name) noexcept;

    INamedCollection& m_parameters;
    // One string for all names, made for the first: a list compares it and does not keep it.
    SmartPtr<IString> m_name;
    Result m_outcome = S_OK;
};

// ---------------------------------------------------------------------------------------------------
// Parameters as a table

/// One row of a class's parameter table: how a value of the class's state appears in a list. Angles are
/// radians in every object and degrees in every list, so both functions speak the list's units.
template <class State>
struct Parameter {
    tagREFString name;
    double (*read)(const State& state) noexcept;
    void (*write)(State& state, double value) noexcept;
    int presentationKind = 0;
};

/// The row of a double member that appears as it is stored:
/// Stored<Ellipse, &Ellipse::centerX>(Text(L"CenterX")).
template <class State, auto Member>
constexpr Parameter<State> Stored(tagREFString name, int presentationKind = 0) noexcept {
    return {name, [](const State& state) noexcept -> double { return state.*Member; },
            [](State& state, double value) noexcept { state.*Member = value; }, presentationKind};
}

/// Appends rows to a list, in order.
template <class Table, class State>
void AddParameters(ParameterWriter& list, const Table& table, const State& state) noexcept {
    for (const auto& row : table) {
        list.Add(row.name, row.read(state), row.presentationKind);
    }
}

/// Hands out a new list that holds the rows of a table, in order; see IParametricObject::GetParameters.
template <class Table, class State>
Result HandOutParameters(const Table& table, const State& state, INamedCollection** out) noexcept {
    ParameterWriter list;
    AddParameters(list, table, state);
    return list.HandOut(out);
}

/// Reads one row as a variant; a missing or unusable value leaves the state alone.
template <class State>
void ReadVariantRow(ParameterReader& list, const Parameter<State>& row, State& state) noexcept {
    double value = 0.0;
    if (list.Variant(row.name, &value) == Lookup::kRead) {
        row.write(state, value);
    }
}

/// Reads one row as a variant or a text.
template <class State>
void ReadNumberRow(ParameterReader& list, const Parameter<State>& row, State& state) noexcept {
    double value = 0.0;
    if (list.Number(row.name, &value) == Lookup::kRead) {
        row.write(state, value);
    }
}

/// The frame of every SetParameters: `read(list, state)` fills a copy of the state, which is kept only
/// when the framework gave all that reading takes. E_INVALIDARG for a null list.
template <class State, class Read>
Result StoreParameters(INamedCollection* parameters, State& state, Read read) noexcept {
    if (parameters == nullptr) {
        return E_INVALIDARG;
    }
    State edited = state;
    ParameterReader list(*parameters);
    read(list, edited);
    if (Succeeded(list.Outcome())) {
        state = edited;
    }
    return list.Outcome();
}

// ---------------------------------------------------------------------------------------------------
// Reading one value by the framework's own names

/// See IParametricImpl::PARAMDouble.
Result ReadDouble(INamedCollection* parameters, IString* name, double* value) noexcept;
/// See IParametricImpl::PARAMInteger.
Result ReadInteger(INamedCollection* parameters, IString* name, int* value) noexcept;

/// Base of the classes whose parameters may also be given as texts.
template <class T>
class IParametricImpl : public IParametricObject {
  public:
    /// Reads one named value: a variant gives its double, a string is read by TextToNumber. E_FAIL,
    /// with `*value` left alone, when the name is absent or its value is neither or is blank.
    static Result PARAMDouble(INamedCollection* parameters, IString* name, double* value) noexcept {
        return ReadDouble(parameters, name, value);
    }
    /// The same for an integer; a text is read as for PARAMDouble and truncated.
    static Result PARAMInteger(INamedCollection* parameters, IString* name, int* value) noexcept {
        return ReadInteger(parameters, name, value);
    }

  protected:
    ~IParametricImpl() = default;
};

// ---------------------------------------------------------------------------------------------------
// Property pages

/// The page class that edits any parametric object, under its full name and, for arc donut and profile,
/// without the prefix.
inline constexpr tagREFString kParametricPage = Text(L"UIPropPages.UIParametricObjectPropPage");
inline constexpr tagREFString kShortParametricPage = Text(L"UIParametricObjectPropPage");

/// Hands out a collection with one page entry: key, page class, name of the object's class. E_FAIL
/// with `*pages` null when the framework cannot give the collection or a string.
Result MakePages(tagREFString key, tagREFString pageClass, tagREFString objectName, INamedCollection** pages) noexcept;

// ---------------------------------------------------------------------------------------------------
// Persistence through the parameter list

/// Whether a stream can take a parameter list: it answers IXMLStream or IFolderStream. Null cannot.
bool TakesParameters(IDataStream* stream) noexcept;

/// Saves an object's parameter list into a stream that takes one, and writes nothing to any other.
/// Always S_OK, whatever the list's own saving returned and even when there is no list to save.
Result SaveParameters(IParametricObject& object, IDataStream* stream, int flags) noexcept;

/// Loads a parameter list from a stream and gives it to the object. E_FAIL, with nothing changed, for a
/// stream that takes no list and when the framework cannot give one. The list is loaded with flags 0
/// and its result is not examined: values it lacks are the object's business.
Result LoadParameters(IParametricObject& object, IDataStream* stream) noexcept;

/// The part of LoadParameters that starts from an empty list, null included.
Result LoadParametersThrough(IParametricObject& object, IDataStream* stream,
                             const SmartPtr<INamedCollection>& list) noexcept;

/// Base of the classes whose persistence is their parameter list and nothing else.
template <class T>
class IDataPersistParametricImpl : public IDataPersist, public IParametricImpl<T> {
  public:
    Result Save(IDataStream* stream, int flags) noexcept override { return SaveParameters(*this, stream, flags); }
    Result Load(IDataStream* stream, int /*flags*/) noexcept override { return LoadParameters(*this, stream); }

  protected:
    ~IDataPersistParametricImpl() = default;
};

// ---------------------------------------------------------------------------------------------------
// Variants as text

/// A new string object holding a variant's value. A string variant gives its own string; an integer,
/// or any number at precision 0, prints as an integer; a negative precision prints as many decimals as
/// the value needs (up to 9), a positive one exactly that many. Null for a null or non-numeric value.
SmartPtr<IString> ISCreate(IVariant* value, short precision) noexcept;

/// The same at the precision the value needs; a variant that holds an object gives the name of the
/// object's class, anything else an empty text. Null only for a null value or a missing framework.
SmartPtr<IString> ISCreate(IVariant* value) noexcept;
