// The interfaces of sibling modules, as far as this module calls them. Slots are counted from 0 with
// the three of IUnknown; the order is frozen. Slots that this module never calls exist in the siblings
// under names of their own: here they only keep the order, and a sibling that does not implement one
// inherits an answer that says loudly that it was called.
#pragma once

#include <cstdio>

#include "contract/REFString.h"
#include "contract/Unknown.h"

/// The answer of a slot outside the contract: a line on standard error and E_NOTIMPL.
inline Result UnusedSlot(const char* interfaceName, int slot) noexcept {
    std::fprintf(stderr, "%s: operation %d was called, which is not part of the contract\n", interfaceName, slot);
    return E_NOTIMPL;
}

// A slot that only keeps the order.
#define FRAMEWORK_UNUSED_SLOT(interfaceName, slot) \
    virtual Result Slot##slot() noexcept { return UnusedSlot(#interfaceName, slot); }

// ---------------------------------------------------------------------------------------------------
// Strings and variants

/// A mutable wide text.
struct IString : IUnknown {
    /// Slot 3. Writes the characters (not terminated) and their count. The text stays owned by the
    /// string and is valid until the string changes or dies.
    virtual Result GetText(const wchar_t** text, int* length) noexcept = 0;
    /// Slot 4. Replaces the contents by a copy of `length` characters.
    virtual Result SetText(int length, const wchar_t* text) noexcept = 0;
    /// Slot 5. Appends a copy of `count` characters.
    virtual Result Append(int count, const wchar_t* characters) noexcept = 0;

  protected:
    ~IString() = default;
};

/// What "CreatableString" is created as: begins with the slots of IString, the only ones used here.
struct ICreatableString : IString {
  protected:
    ~ICreatableString() = default;
};

/// What a variant holds, as IVariant::GetKind reports it. Any other value is floating point too.
enum VariantKind : int { kVariantNone = 0, kVariantInteger = 1, kVariantDouble = 2 };

/// One value: nothing, an integer, a double, a string or an object.
struct IVariant : IUnknown {
    /// Slot 3. 0 when no number is held, 1 for an integer, any other value for floating point.
    virtual int GetKind() noexcept = 0;
    /// Slot 4. The value converted to double.
    virtual double GetDouble() noexcept = 0;
    /// Slot 5. The value converted to a 32-bit integer.
    virtual int GetInteger() noexcept = 0;
    /// Slot 6. Stores an integer.
    virtual Result SetInteger(int value) noexcept = 0;
    /// Slot 7. Stores a double.
    virtual Result SetDouble(double value) noexcept = 0;
    FRAMEWORK_UNUSED_SLOT(IVariant, 8)
    /// Slot 9. Hands out the object held, with one reference.
    virtual Result GetObject(IUnknown** object) noexcept = 0;
    FRAMEWORK_UNUSED_SLOT(IVariant, 10)
    /// Slot 11. Non-zero when a string is held.
    virtual int HasString() noexcept = 0;
    /// Slot 12. Hands out the string object held, with one reference.
    virtual Result GetString(IUnknown** text) noexcept = 0;

  protected:
    ~IVariant() = default;
};

// ---------------------------------------------------------------------------------------------------
// Collections and descriptors

/// The global component collection: the framework's components by name.
struct IComponentCollection : IUnknown {
    FRAMEWORK_UNUSED_SLOT(IComponentCollection, 3)
    /// Slot 4. Hands out the entry at `index`, with one reference.
    virtual Result GetItem(int index, IUnknown** item) noexcept = 0;
    /// Slot 5. Writes the index of the entry with that name; a failure when there is none.
    virtual Result FindByName(IString* name, int* index) noexcept = 0;
    FRAMEWORK_UNUSED_SLOT(IComponentCollection, 6)
    FRAMEWORK_UNUSED_SLOT(IComponentCollection, 7)
    FRAMEWORK_UNUSED_SLOT(IComponentCollection, 8)
    FRAMEWORK_UNUSED_SLOT(IComponentCollection, 9)
    FRAMEWORK_UNUSED_SLOT(IComponentCollection, 10)
    FRAMEWORK_UNUSED_SLOT(IComponentCollection, 11)
    FRAMEWORK_UNUSED_SLOT(IComponentCollection, 12)
    FRAMEWORK_UNUSED_SLOT(IComponentCollection, 13)
    FRAMEWORK_UNUSED_SLOT(IComponentCollection, 14)
    FRAMEWORK_UNUSED_SLOT(IComponentCollection, 15)
    /// Slot 16. Creates a component of the named class and hands out the requested interface with
    /// one reference, or null.
    virtual Result CreateComponent(tagREFString className, const IID& iid, void** out) noexcept = 0;

  protected:
    ~IComponentCollection() = default;
};

/// The fields of a component descriptor that this module sets.
enum ComponentStringField : int { kDescriptorClassName = 1, kDescriptorModuleName = 4 };

/// A component descriptor: names a class in a module and creates instances of it.
struct IComponentString : IUnknown {
    FRAMEWORK_UNUSED_SLOT(IComponentString, 3)
    FRAMEWORK_UNUSED_SLOT(IComponentString, 4)
    /// Slot 5. Creates an instance and hands out the requested interface with one reference.
    virtual Result CreateInstance(const IID& iid, void** out) noexcept = 0;
    /// Slot 6. Sets a field: 1 is the class name, 4 the module name.
    virtual Result SetString(int field, tagREFString value) noexcept = 0;

  protected:
    ~IComponentString() = default;
};

/// A list of named values: the parameters of an object.
struct INamedCollection : IUnknown {
    FRAMEWORK_UNUSED_SLOT(INamedCollection, 3)
    /// Slot 4. Hands out the value at `index`, with one reference.
    virtual Result GetItem(int index, IUnknown** value) noexcept = 0;
    /// Slot 5. Writes the index of the entry with that name; a failure when there is none. The string is
    /// only compared, and may hold another name after the call.
    virtual Result FindByName(IString* name, int* index) noexcept = 0;
    FRAMEWORK_UNUSED_SLOT(INamedCollection, 6)
    FRAMEWORK_UNUSED_SLOT(INamedCollection, 7)
    FRAMEWORK_UNUSED_SLOT(INamedCollection, 8)
    FRAMEWORK_UNUSED_SLOT(INamedCollection, 9)
    FRAMEWORK_UNUSED_SLOT(INamedCollection, 10)
    FRAMEWORK_UNUSED_SLOT(INamedCollection, 11)
    FRAMEWORK_UNUSED_SLOT(INamedCollection, 12)
    FRAMEWORK_UNUSED_SLOT(INamedCollection, 13)
    FRAMEWORK_UNUSED_SLOT(INamedCollection, 14)
    FRAMEWORK_UNUSED_SLOT(INamedCollection, 15)
    FRAMEWORK_UNUSED_SLOT(INamedCollection, 16)
    FRAMEWORK_UNUSED_SLOT(INamedCollection, 17)
    /// Slot 18. Appends a value under a name; the collection takes its own reference to the value.
    /// `reserved` is 0. `presentationKind` tells a parameter page how to show the entry.
    virtual Result Add(IString* name, IUnknown* value, int reserved, int presentationKind) noexcept = 0;

  protected:
    ~INamedCollection() = default;
};

/// What "ParametersCreatable" is created as: begins with the slots of INamedCollection. It also
/// answers IDataPersist, through which a list saves and loads itself.
struct IParametersCreatable : INamedCollection {
  protected:
    ~IParametersCreatable() = default;
};

/// The collection that carries property pages.
struct ISuperCollection : IUnknown {
    FRAMEWORK_UNUSED_SLOT(ISuperCollection, 3)
    FRAMEWORK_UNUSED_SLOT(ISuperCollection, 4)
    FRAMEWORK_UNUSED_SLOT(ISuperCollection, 5)
    FRAMEWORK_UNUSED_SLOT(ISuperCollection, 6)
    FRAMEWORK_UNUSED_SLOT(ISuperCollection, 7)
    FRAMEWORK_UNUSED_SLOT(ISuperCollection, 8)
    FRAMEWORK_UNUSED_SLOT(ISuperCollection, 9)
    FRAMEWORK_UNUSED_SLOT(ISuperCollection, 10)
    FRAMEWORK_UNUSED_SLOT(ISuperCollection, 11)
    FRAMEWORK_UNUSED_SLOT(ISuperCollection, 12)
    FRAMEWORK_UNUSED_SLOT(ISuperCollection, 13)
    FRAMEWORK_UNUSED_SLOT(ISuperCollection, 14)
    FRAMEWORK_UNUSED_SLOT(ISuperCollection, 15)
    /// Slot 16. Appends one property-page entry. `reserved` is 0.
    virtual Result AddPage(IString* key, IString* pageClass, IString* objectName, int reserved) noexcept = 0;

  protected:
    ~ISuperCollection() = default;
};

// ---------------------------------------------------------------------------------------------------
// Streams

/// Any stream. It is only ever queried for IXMLStream, IFolderStream and IString.
struct IDataStream : IUnknown {
  protected:
    ~IDataStream() = default;
};

/// A structured stream: named elements, each with a text and elements of its own.
struct IXMLStream : IUnknown {
    FRAMEWORK_UNUSED_SLOT(IXMLStream, 3)
    FRAMEWORK_UNUSED_SLOT(IXMLStream, 4)
    FRAMEWORK_UNUSED_SLOT(IXMLStream, 5)
    FRAMEWORK_UNUSED_SLOT(IXMLStream, 6)
    FRAMEWORK_UNUSED_SLOT(IXMLStream, 7)
    FRAMEWORK_UNUSED_SLOT(IXMLStream, 8)
    FRAMEWORK_UNUSED_SLOT(IXMLStream, 9)
    FRAMEWORK_UNUSED_SLOT(IXMLStream, 10)
    FRAMEWORK_UNUSED_SLOT(IXMLStream, 11)
    /// Slot 12. Writes one named element with a text. Both `reserved` arguments are 0.
    virtual Result WriteValue(IString* name, int reserved, IString* value, int reserved2) noexcept = 0;
    FRAMEWORK_UNUSED_SLOT(IXMLStream, 13)
    /// Slot 14. Advances to the next child element and writes its name, which stays owned by the
    /// stream; a failure when there is none.
    virtual Result NextChild(tagREFString* name) noexcept = 0;
    /// Slot 15. Opens the named child element. Its text, owned by the child, may come through `text`;
    /// `*child` carries one reference and answers IXMLStream and IString. `mode` is 1.
    virtual Result OpenChild(tagREFString name, tagREFString* text, IUnknown** child, int mode) noexcept = 0;

  protected:
    ~IXMLStream() = default;
};

/// A stream of named binary blocks.
struct IFolderStream : IUnknown {
    FRAMEWORK_UNUSED_SLOT(IFolderStream, 3)
    FRAMEWORK_UNUSED_SLOT(IFolderStream, 4)
    FRAMEWORK_UNUSED_SLOT(IFolderStream, 5)
    FRAMEWORK_UNUSED_SLOT(IFolderStream, 6)
    FRAMEWORK_UNUSED_SLOT(IFolderStream, 7)
    FRAMEWORK_UNUSED_SLOT(IFolderStream, 8)
    FRAMEWORK_UNUSED_SLOT(IFolderStream, 9)
    FRAMEWORK_UNUSED_SLOT(IFolderStream, 10)
    /// Slot 11. Writes a named block of `bytes` bytes. `reserved` is 0.
    virtual Result WriteBinary(IString* name, const void* data, int bytes, int reserved) noexcept = 0;
    FRAMEWORK_UNUSED_SLOT(IFolderStream, 12)
    FRAMEWORK_UNUSED_SLOT(IFolderStream, 13)
    FRAMEWORK_UNUSED_SLOT(IFolderStream, 14)
    FRAMEWORK_UNUSED_SLOT(IFolderStream, 15)
    /// Slot 16. Reads the first `bytes` bytes of a named block into `data`; a failure when it has fewer.
    /// `reserved` is 0.
    virtual Result ReadBinary(IString* name, void* data, int bytes, int reserved) noexcept = 0;

  protected:
    ~IFolderStream() = default;
};

// ---------------------------------------------------------------------------------------------------
// Geometry, images and drawing

/// A coordinate transform.
struct ITransform : IUnknown {
    /// Slot 3. Maps the point in place. `z` points to a third coordinate, 0 before the call for all
    /// points of a plane figure.
    virtual Result TransformPoint(double* x, double* y, double* z) noexcept = 0;

  protected:
    ~ITransform() = default;
};

/// A list of points.
struct IPoints : IUnknown {
    /// Slot 3. Writes the coordinates of one point; a failure for an index out of range.
    virtual Result GetPoint(int index, double* x, double* y, double* z) noexcept = 0;

  protected:
    ~IPoints() = default;
};

/// The element of a geometry that carries its extent: points 0 and 1 are opposite corners of the box
/// around it, point 2 is its centre.
enum GeometricElement : int { kGeometricExtent = 1 };

/// A geometry made of elements.
struct IGeometricAssembly : IUnknown {
    /// Slot 3. Hands out the element of a kind, with one reference.
    virtual Result GetElement(int kind, IPoints** element) noexcept = 0;

  protected:
    ~IGeometricAssembly() = default;
};

/// The format code of an 8-bit single-plane image: 'M', 'O', 'N', 'O' as a little-endian word.
inline constexpr std::uint32_t kFormatMono = 0x4F4E4F4D;

/// A raster image.
struct ICIF : IUnknown {
    /// Slot 3. Writes the size in pixels. `extra` is an output that no caller uses, of up to 8 bytes: call SizeOf,
    /// which has room for them.
    virtual Result GetSize(int* width, int* height, int* extra) noexcept = 0;
    FRAMEWORK_UNUSED_SLOT(ICIF, 4)
    FRAMEWORK_UNUSED_SLOT(ICIF, 5)
    /// Slot 6. Allocates the pixels, all 0.
    virtual Result Create(int width, int height, int planes, int bitsPerPixel, std::uint32_t format) noexcept = 0;
    FRAMEWORK_UNUSED_SLOT(ICIF, 7)
    FRAMEWORK_UNUSED_SLOT(ICIF, 8)
    /// Slot 9. Sets every pixel.
    virtual Result Fill(int value) noexcept = 0;

  protected:
    ~ICIF() = default;
};

/// Lets an image write its size in pixels to `*width` and `*height`; what it returns.
inline Result SizeOf(ICIF& image, int* width, int* height) noexcept {
    alignas(8) int extra[2] = {};
    return image.GetSize(width, height, extra);
}

/// What "CIFImageCANVAS" is created as; handled as an ICIF.
struct ICIFImageCANVAS : ICIF {
  protected:
    ~ICIFImageCANVAS() = default;
};

/// Drawing into an ICIF. Coordinates are pixels of that image.
struct ICIFGraphics : IUnknown {
    /// Slot 3. Selects the target image and keeps a reference to it.
    virtual Result Attach(ICIF* image) noexcept = 0;
    /// Slot 4. Sets the drawing value.
    virtual Result SetColor(int value) noexcept = 0;
    /// Slot 5. Draws a line, both ends included.
    virtual Result Line(float x1, float y1, float x2, float y2) noexcept = 0;
    FRAMEWORK_UNUSED_SLOT(ICIFGraphics, 6)
    FRAMEWORK_UNUSED_SLOT(ICIFGraphics, 7)
    FRAMEWORK_UNUSED_SLOT(ICIFGraphics, 8)
    FRAMEWORK_UNUSED_SLOT(ICIFGraphics, 9)
    /// Slot 10. Fills the region around the seed up to pixels of the drawing value. `mode` is 0.
    virtual Result FloodFill(int x, int y, int mode) noexcept = 0;
    /// Slot 11. Draws an elliptical arc from `start` to `end` radians; 0 to 6.2831855 is the full
    /// ellipse. `mode` is -1.
    virtual Result Arc(float cx, float cy, float rx, float ry, float start, float end, int mode) noexcept = 0;

  protected:
    ~ICIFGraphics() = default;
};

#undef FRAMEWORK_UNUSED_SLOT
