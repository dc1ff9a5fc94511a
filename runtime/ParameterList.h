// Parameter lists: the flat lists of named values as which figures are edited and saved, written and read.
#pragma once

#include "contract/Components.h"

// ---------------------------------------------------------------------------------------------------
// Writing a list

/// Builds a parameter list entry by entry and hands it out whole or not at all.
class ParameterWriter {
  public:
    ParameterWriter() noexcept : m_list(BASEObject::CreateParameters()), m_complete(static_cast<bool>(m_list)) {}

    /// Appends a double or an integer under a name. The presentation kind tells a parameter page how
    /// to show it; 0 is plain. What the list says to the entry is not examined.
    void Add(tagREFString name, double value, int presentationKind) noexcept;
    void Add(tagREFString name, int value, int presentationKind) noexcept;

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
