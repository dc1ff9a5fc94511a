// What the tests of the figures share: the module under test, reached as a host reaches it, lists and
// streams, stand-ins on the stack, and a way to compare numbers.
#pragma once

#include <gtest/gtest.h>

#include <complex>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "check/StandIns.h"
#include "contract/Components.h"
#include "contract/Extensions.h"
#include "contract/IROI.h"
#include "contract/Module.h"

// ---------------------------------------------------------------------------------------------------
// The module and its siblings

/// A symbol of "./" + module + ".so", or null. The module stays loaded.
void* ModuleSymbol(const std::string& module, const char* symbol);
/// ROI.so's entry points, used without the siblings.
Result InitializeRoi(IComponentCollection* collection);
Result FindRoiClass(tagREFString name, ComponentCreator* out);

/// The global collection of ./CollectionsEx.so; the first call gives it to ROI.so too.
IComponentCollection* GlobalCollection();
/// A new object of a class of ROI.so, with the global collection in place. Null on refusal.
void* CreateFigure(std::wstring_view className, IID iid, Result* code = nullptr);
template <class I>
SmartPtr<I> Create(std::wstring_view className) {
    return SmartPtr<I>::Adopt(static_cast<I*>(CreateFigure(className, IidOf<I>())));
}
template <class I, class Other>
SmartPtr<I> As(Other* object) {
    return SmartPtr<I>::QueryFrom(object);
}

/// The components of all sibling modules that are alive.
int LiveSiblingObjects();

/// Allocations through operator new in this process, modules included, that are not freed yet.
long LiveAllocations();
/// Makes the n-th allocation from now on fail (1 is the next one), once or with all after it; 0 calls it off.
void FailAllocation(long n, bool fromThenOn = false);
/// Whether the failure asked for has happened.
bool AllocationHasFailed();

/// Calls an operation by its number in the interface's table.
template <class... Arguments>
Result CallSlot(void* object, int slot, Arguments... arguments) {
    using Operation = Result (*)(void*, Arguments...);
    return (*static_cast<Operation**>(object))[slot](object, arguments...);
}

// ---------------------------------------------------------------------------------------------------
// Texts and lists

inline tagREFString Ref(std::wstring_view text) { return {static_cast<int>(text.size()), text.data()}; }
std::wstring Wide(tagREFString text);

/// A list entry: a variant with a double or an integer, or a plain string object.
using Value = std::variant<double, int, std::wstring>;
struct Item {
    std::wstring name;
    Value value;
    int kind = 0;
    bool operator==(const Item&) const = default;
};
void PrintTo(const Item& item, std::ostream* out);

SmartPtr<INamedCollection> MakeList(const std::vector<Item>& items);
std::vector<Item> ItemsOf(INamedCollection* list);
/// The figure's parameters, or nothing when it has none.
std::vector<Item> Parameters(IUnknown* figure);
Result SetParameters(IUnknown* figure, const std::vector<Item>& items);

// ---------------------------------------------------------------------------------------------------
// Stand-ins beside those that the checks of the built module lend it

/// A folder stream whose blocks the test sees and forges; absent blocks fail and write nothing.
class BlockStream final : public Lent<IDataStream, IFolderStream> {
  public:
    std::vector<std::pair<std::wstring, std::vector<std::uint8_t>>> blocks;

    Result WriteBinary(IString* name, const void* data, int bytes, int reserved) noexcept override;
    Result ReadBinary(IString* name, void* data, int bytes, int reserved) noexcept override;
};

using Point = std::complex<double>;

/// x' = a x + b y + dx, y' = c x + d y + dy; notes the points it is given and spoils z after each.
class Affine final : public Lent<ITransform> {
  public:
    double a = 1, b = 0, c = 0, d = 1, dx = 0, dy = 0;
    std::vector<Point> asked;
    bool zWasZero = true;

    Affine() = default;
    Affine(double a_, double b_, double c_, double d_, double dx_, double dy_)
        : a(a_), b(b_), c(c_), d(d_), dx(dx_), dy(dy_) {}
    Point Map(Point p) const { return {a * p.real() + b * p.imag() + dx, c * p.real() + d * p.imag() + dy}; }
    Result TransformPoint(double* x, double* y, double* z) noexcept override;
};

// ---------------------------------------------------------------------------------------------------
// Numbers

inline constexpr double kUntouched = -98765.4321;

/// Equal within 1e-9, relative above 1.
testing::AssertionResult Close(const char*, const char*, double a, double b);
testing::AssertionResult Close(const char*, const char*, Point a, Point b);
#define EXPECT_CLOSE(a, b) EXPECT_PRED_FORMAT2(Close, a, b)
bool IsClose(double a, double b);
/// Names and kinds equal, integers equal, doubles close.
void ExpectClose(const std::vector<Item>& actual, const std::vector<Item>& expected);

/// What a getter of two doubles gives: its code must be S_OK.
template <class Call>
Point Read2(Call call) {
    double x = kUntouched;
    double y = kUntouched;
    EXPECT_EQ(call(&x, &y), S_OK);
    return {x, y};
}

struct Box {
    int left, top;
    unsigned width, height;
    bool operator==(const Box&) const = default;
};
void PrintTo(const Box& box, std::ostream* out);
Box BoundingRect(IROI* figure);
