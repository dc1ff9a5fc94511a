// Interface identifiers: 16 bytes derived from an interface's name, so that modules built apart from
// one another agree on them without sharing a table.
//
// The globals IID_... are filled by a static initialiser of this library and are zero until it has run. A static
// initialiser of another file may run before it: derive the identifier there by the constexpr function,
// __IIDOfc("IROI"), which needs no initialiser. IID_IUnknown is constant and always there.
#pragma once

#include <cstdint>
#include <type_traits>

/// An interface identifier. All 16 bytes count in a comparison.
struct IID {
    std::uint32_t words[4];
};

static_assert(sizeof(IID) == 16 && std::is_trivially_copyable_v<IID>,
              "IID crosses module boundaries by value: keep it a plain record of 16 bytes");

constexpr bool operator==(const IID& a, const IID& b) noexcept {
    // Two words at a time, in a form that compilers take for one load, and without a branch in between: identifiers
    // differ in any word.
    const auto pair = [](const IID& iid, int first) {
        return iid.words[first] | std::uint64_t{iid.words[first + 1]} << 32;
    };
    return ((pair(a, 0) ^ pair(b, 0)) | (pair(a, 2) ^ pair(b, 2))) == 0;
}
constexpr bool operator!=(const IID& a, const IID& b) noexcept { return !(a == b); }

/// Derives an identifier from an interface's name: the code of character i is ORed in at bit 5 * i of
/// a 128-bit little-endian number.
///
/// Letters of either case give 1 to 26, '0' to '4' give 28 to 32, everything else ('5' to '9' too)
/// gives 27. Only the first 25 characters count; an empty name gives 16 zero bytes.
///
/// The code 32 of '4' is one bit too wide and spills into the next character's field. Every module
/// of the framework derives its identifiers this way, so the spill is part of the contract.
constexpr IID __IIDOfc(const char* name) noexcept {
    IID iid{};
    for (int i = 0; i < 25 && name[i] != '\0'; ++i) {
        const char c = name[i];
        std::uint64_t code = 27;
        if (c >= 'A' && c <= 'Z') {
            code = static_cast<std::uint64_t>(c - 0x40);
        } else if (c >= 'a' && c <= 'z') {
            code = static_cast<std::uint64_t>(c - 0x60);
        } else if (c >= '0' && c <= '4') {
            code = static_cast<std::uint64_t>(c - 0x14);
        }
        const int word = 5 * i / 32;
        const std::uint64_t shifted = code << (5 * i % 32);
        iid.words[word] |= static_cast<std::uint32_t>(shifted);
        if (word < 3) {
            iid.words[word + 1] |= static_cast<std::uint32_t>(shifted >> 32);
        }
    }
    return iid;
}

/// Every interface name of the framework, in the order in which the identifiers are computed. Most
/// are not used by the ROI classes; they are here so that every module has all of them.
// clang-format off
#define FRAMEWORK_INTERFACES(X)                                                                                    \
    X(IBindableObject) X(ICollectionMoniker) X(IComponentCollection) X(IComponentString) X(IContainedObject)       \
    X(ICreatableString) X(ICreatableSimpleCollection) X(ICSVStream) X(IDataPersist) X(IDataPersistEx)              \
    X(IDataStream) X(IDisconnectableObject) X(IDblVector) X(IEventSource) X(IExtCollection) X(IFileArchive)        \
    X(IFileAttributes) X(IFileAttributesDef) X(IFileNameCollection) X(IFileNameCollectionBase) X(IFileInfo)        \
    X(IFixedSizeCollection) X(IFolderInfo) X(IFolderArchive) X(IFolderStream) X(IINIFile) X(IINIFileEx)            \
    X(IINIStream) X(IInputParameter) X(IInputParameters) X(IParent) X(IRegistry) X(IRegistryEx)                    \
    X(IRenderableObject) X(IRenderableObjectState) X(INamedCollection) X(IObjectInfo) X(IParameters)               \
    X(IParametersCreatable) X(IParametricObject) X(IPMText) X(ISimpleCollection) X(IStackCollection) X(IString)    \
    X(ISuperCollection) X(ITABStream) X(IVariant) X(IXMLStream) X(IXMLStreamEx) X(IXMLFile) X(IZipStream)          \
    X(_ICollectionEvents) X(_ICollectionItemEvent) X(IStreamTransform) X(IUIManager) X(IUIPropInterrogate)         \
    X(IUIPropInterrogateEx) X(IUIPropertyPageSpecify) X(IUIUtils) X(IStringTable) X(ICalibration)                  \
    X(IHomogeneousTransform) X(IHomogeneousCalibration) X(ILinearCalibration) X(ILinearTransform) X(ITransform)    \
    X(IPMSearch) X(IPMRenderStyle) X(IPMRenderer) X(IArc) X(ICurve) X(ICurveLagrange) X(ICurve2D) X(ICurveSpline)  \
    X(IEllipse) X(IFitAndFilter) X(IGeometricAssembly) X(IGeometricGrid) X(IGeometricFitting)                      \
    X(IGeometricProject) X(IGeometry) X(IGeometryFitAndFilter) X(IHelicalThread) X(ILineSegment)                   \
    X(ILineCreatable) X(IPoint) X(IPoints) X(IPointsCreatable) X(IPointsCollection) X(IPointVector) X(IPolar)      \
    X(IPolarEx) X(IPolynomial) X(IPlane) X(IReplicableObject) X(ISprocket) X(ITransformableObject) X(IMetrology)   \
    X(IMETRAngle) X(IMETRLength) X(IMETRPointsStats) X(ICIF) X(ICIFGraphics) X(ICIFImage) X(ICIFImageDIB)          \
    X(ICIFImageRender) X(ICIFImageCANVAS) X(IROI) X(IROIRectangle) X(IROIProfile) X(IROIEllipse) X(IROIDonut)      \
    X(IROIParallelogram) X(IROIArcDonut) X(IROIShape) X(IROIMask)
// clang-format on

struct IUnknown;

/// The one identifier that is not derived from a name: 00000000-0000-0000-C000-000000000046.
extern IID IID_IUnknown;

/// The identifier of an interface type, for code that names the type only: IidOf<IROI>().
template <class Interface>
IID& IidOf() noexcept = delete;

template <>
inline IID& IidOf<IUnknown>() noexcept {
    return IID_IUnknown;
}

// Declares the interface, its global identifier (IID_IROI for IROI) and the way from one to the other.
#define FRAMEWORK_DECLARE_IID(name)      \
    struct name;                         \
    extern IID IID_##name;               \
    template <>                          \
    inline IID& IidOf<name>() noexcept { \
        return IID_##name;               \
    }
FRAMEWORK_INTERFACES(FRAMEWORK_DECLARE_IID)
#undef FRAMEWORK_DECLARE_IID
