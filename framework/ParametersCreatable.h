// "ParametersCreatable": a list of named values that saves and loads itself.
#pragma once

#include <vector>

#include "framework/FrameworkComponent.h"
#include "framework/Listing.h"

/// One named value.
struct ParameterEntry {
    explicit ParameterEntry(SmartPtr<IUnknown> carrier, int kind = 0) noexcept
        : item(std::move(carrier)), presentationKind(kind) {}

    CREFString name;
    SmartPtr<IUnknown> item;
    int presentationKind;
};

using ParameterEntries = std::vector<ParameterEntry>;

class CParametersCreatable;
template <>
inline const tagREFString IObjectInfoImpl<CParametersCreatable>::m_ObjectName = Text(L"ParametersCreatable");

/// Values are kept in the order in which they were added. A name may occur more than once: the first
/// entry answers to it.
class CParametersCreatable final
    : public FrameworkComponent<CParametersCreatable, IParametersCreatable, IDataPersist, IListingImpl> {
  public:
    // Those that are asked for most come first.
    using Answers = InterfaceMap<IParametersCreatable, IDataPersist, IListing, INamedCollection, IObjectInfo>;

    Result GetItem(int index, IUnknown** value) noexcept override;
    Result FindByName(IString* name, int* index) noexcept override;
    Result Add(IString* name, IUnknown* value, int reserved, int presentationKind) noexcept override;

    /// Writes the values into a structured stream as elements, into a folder stream as a block with
    /// their presentation kinds. E_FAIL, with nothing written, for any other stream and for a list that
    /// holds an object. `flags` is ignored.
    Result Save(IDataStream* stream, int flags) noexcept override;
    /// Replaces the list by a stream's; `flags` is 0. E_FAIL, with the list unchanged, when the stream
    /// holds none or is damaged. In a structured stream the values may be its elements or those of its
    /// elements, since an object is saved into an element of its own and loaded from the one above it.
    Result Load(IDataStream* stream, int flags) noexcept override;

    int GetCount() noexcept override;
    int GetPresentationKind(int index) noexcept override;

  private:
    Result GetEntryName(int index, tagREFString* name) noexcept override;
    // The entry at an index, or null.
    const ParameterEntry* At(int index) const noexcept;

    ParameterEntries m_entries;
};
