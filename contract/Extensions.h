// What the reference host's own components offer beyond the framework's contract, so that the host can
// list, fill and read them. ROI.so never asks for any of this.
#pragma once

#include "contract/Framework.h"
#include "contract/SmartPtr.h"

/// Entries by position. Answered by parameter lists and by the global collection.
struct IListing : IUnknown {
    /// The number of entries.
    virtual int GetCount() noexcept = 0;
    /// Writes the name at `index`, owned by the collection until it changes; E_INVALIDARG out of range.
    virtual Result GetName(int index, tagREFString* name) noexcept = 0;
    /// The presentation kind a parameter was added with; 0 out of range and for other collections.
    virtual int GetPresentationKind(int index) noexcept = 0;

  protected:
    ~IListing() = default;
};

/// Property pages by position. Answered by "SuperCollection".
struct IPageListing : IUnknown {
    virtual int GetCount() noexcept = 0;
    /// Writes the three texts of an entry, owned by the collection; E_INVALIDARG out of range.
    virtual Result GetPage(int index, tagREFString* key, tagREFString* pageClass,
                           tagREFString* objectName) noexcept = 0;

  protected:
    ~IPageListing() = default;
};

/// Putting objects into a variant, which the slots known of IVariant cannot. Answered by "Variant".
struct IVariantStore : IUnknown {
    /// Stores a string, or an object, with a reference of its own; null empties the variant.
    virtual Result PutString(IString* text) noexcept = 0;
    virtual Result PutObject(IUnknown* object) noexcept = 0;

  protected:
    ~IVariantStore() = default;
};

/// The pixels and files of an image. Answered by "CIFImageCANVAS".
struct IPixels : IUnknown {
    /// Writes the address of the first pixel, the bytes from row to row, the number of planes and the
    /// bits of one value. The pixels are the image's own, valid until it is created anew or dies.
    /// E_FAIL with everything 0 when the image has none.
    virtual Result GetPixels(unsigned char** data, int* stride, int* planes, int* bits) noexcept = 0;
    /// Replaces the image by a file's contents in their own depth and planes, or writes it to a file
    /// whose ending names the format. Paths are UTF-8. E_FAIL, with the image unchanged, when that fails.
    virtual Result ReadFile(const char* path) noexcept = 0;
    virtual Result WriteFile(const char* path) noexcept = 0;

  protected:
    ~IPixels() = default;
};

/// Filling a geometry. Answered by "Assembly".
struct IPointsStore : IUnknown {
    /// Replaces the points by copies of `count` pairs x, y; two points are the corners of a box. The
    /// extent is that of all points. E_INVALIDARG, with nothing changed, for a count below 1, a null
    /// array or coordinates that are not finite.
    virtual Result SetPoints(const double* xy, int count) noexcept = 0;
    virtual int GetCount() noexcept = 0;
    /// Writes one of the points given; E_INVALIDARG out of range.
    virtual Result GetPoint(int index, double* x, double* y) noexcept = 0;

  protected:
    ~IPointsStore() = default;
};

// Their identifiers come from their names, like the framework's own.
#define HOST_INTERFACE(name)              \
    template <>                           \
    inline IID& IidOf<name>() noexcept {  \
        static IID iid = __IIDOfc(#name); \
        return iid;                       \
    }
HOST_INTERFACE(IListing)
HOST_INTERFACE(IPageListing)
HOST_INTERFACE(IVariantStore)
HOST_INTERFACE(IPixels)
HOST_INTERFACE(IPointsStore)
#undef HOST_INTERFACE

/// Where the pixels of an image lie, as IPixels::GetPixels and ICIF::GetSize tell; all 0 when it has none. They stay
/// the image's own.
struct ImagePixels {
    unsigned char* data = nullptr;
    int width = 0;
    int height = 0;
    int stride = 0;  ///< bytes from row to row
    int planes = 0;
    int bits = 0;  ///< of one value

    bool AreBytes() const noexcept { return data != nullptr && planes == 1 && bits == 8; }
};

inline ImagePixels PixelsOf(ICIF& image) noexcept {
    ImagePixels pixels;
    const auto source = SmartPtr<IPixels>::QueryFrom(&image);
    if (!source || Failed(SizeOf(image, &pixels.width, &pixels.height)) ||
        Failed(source->GetPixels(&pixels.data, &pixels.stride, &pixels.planes, &pixels.bits))) {
        return {};
    }
    return pixels;
}
