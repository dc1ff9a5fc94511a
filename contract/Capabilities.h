// The small interfaces that a class adds to its figure: a name, persistence, parameters, property
// pages, cloning, mapping.
#pragma once

#include "contract/REFString.h"
#include "contract/Unknown.h"

/// The registered name of an object's class.
struct IObjectInfo : IUnknown {
    /// Writes the registered class name to `*name`. The text is shared and lives as long as the
    /// module: the caller must not free it. `reserved` is ignored. Always S_OK.
    virtual Result GetName(int reserved, tagREFString* name) noexcept = 0;

  protected:
    ~IObjectInfo() = default;
};

/// Saving to and loading from a stream. The stream is borrowed for the call.
struct IDataPersist : IUnknown {
    /// Writes the object into a structured (IXMLStream) or folder (IFolderStream) stream. Most
    /// classes write nothing to any other stream, null included, and still return S_OK. What the
    /// stream itself reports is not passed on.
    virtual Result Save(IDataStream* stream, int flags) noexcept = 0;
    /// Reads the object back. Most classes return E_FAIL for a null or plain stream and when the
    /// framework cannot give a parameter list; values that the stream lacks keep their state.
    virtual Result Load(IDataStream* stream, int flags) noexcept = 0;

  protected:
    ~IDataPersist() = default;
};

/// An object that can be read and edited as a flat list of named values. Angles are in degrees.
struct IParametricObject : IUnknown {
    /// Builds a new list and hands it out with one reference. `flags` is ignored. E_FAIL with
    /// `*parameters` null when the framework cannot give the list, a string or a variant.
    virtual Result GetParameters(INamedCollection** parameters, int flags) noexcept = 0;
    /// Stores the values found in a list, which is borrowed. Names that are missing leave their
    /// fields as they are, save where a class says otherwise. E_INVALIDARG for a null list (the shape, which
    /// has no parameters, ignores it), else S_OK.
    virtual Result SetParameters(INamedCollection* parameters) noexcept = 0;

  protected:
    ~IParametricObject() = default;
};

/// Names the property page that edits an object.
struct IUIPropertyPageSpecify : IUnknown {
    /// Hands out a collection with one page entry, with one reference. `index` is ignored and
    /// `*context` is not written. E_FAIL with `*pages` null when the framework cannot give it. The
    /// pointer is the collection's ISuperCollection; see MakePages for why it travels under this type.
    virtual Result GetPages(int index, INamedCollection** pages, IUnknown** context) noexcept = 0;

  protected:
    ~IUIPropertyPageSpecify() = default;
};

/// An object that can make an independent copy of itself.
struct IReplicableObject : IUnknown {
    /// Hands out a new object of the same class and figure with one reference; a failure leaves
    /// `*copy` as it was.
    virtual Result Replicate(IUnknown** copy) noexcept = 0;

  protected:
    ~IReplicableObject() = default;
};

/// An object that can be mapped through a coordinate transform.
struct ITransformableObject : IUnknown {
    /// Maps the object through `transform`, which is borrowed. E_INVALIDARG when it is null.
    virtual Result Transform(ITransform* transform) noexcept = 0;

  protected:
    ~ITransformableObject() = default;
};

/// A marker: an object that may be queried for its geometry.
struct IGeometry : IUnknown {
  protected:
    ~IGeometry() = default;
};
