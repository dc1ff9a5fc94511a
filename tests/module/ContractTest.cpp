// The binary contract: exports, identifiers, who answers what, reference counts, slot numbers.
#include <array>
#include <cstring>
#include <functional>
#include <set>

#include "Harness.h"

namespace {

std::string OutputOf(const std::string& command) {
    std::string output;
    FILE* pipe = popen(command.c_str(), "r");
    for (int c = 0; pipe != nullptr && (c = std::fgetc(pipe)) != EOF;) {
        output += static_cast<char>(c);
    }
    EXPECT_EQ(pclose(pipe), 0) << command;
    return output;
}

TEST(Module, ExportsItsTwoEntryPointsAndNeedsOnlyTheStandardLibraries) {
#if defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "the sanitizers add symbols and libraries of their own";
#endif
    EXPECT_EQ(OutputOf("nm -D --defined-only --format=posix ROI.so | cut -d' ' -f1 | sort"),
              std::string("CreateFunction\n") + kInitializeModuleSymbol + "\n");
    EXPECT_EQ(
        OutputOf("readelf -d ROI.so | grep NEEDED | grep -vE '\\[(libc|libm|libstdc\\+\\+|libgcc_s)\\.so\\.[0-9]+\\]'"
                 " | wc -l"),
        "0\n");
}

TEST(Module, FindsItsEightClassesByTheirExactNames) {
    for (const wchar_t* name : {L"ROIDonut", L"ROIArcDonut", L"ROIEllipse", L"ROIMask", L"ROIParallelogram",
                                L"ROIProfile", L"ROIRectangle", L"ROIShape"}) {
        ComponentCreator create = nullptr;
        EXPECT_EQ(FindRoiClass(Ref(name), &create), S_OK) << testing::PrintToString(name);
        EXPECT_NE(create, nullptr);
    }
    const tagREFString refused[] = {
        Ref(L"roirectangle"), Ref(L"ROIRectangle "), Ref(L" ROIRectangle"), Ref(L"CROIRectangle"), {3, L"ROIEllipse"},
        {0, L"ROIEllipse"},   {0, nullptr},          {-1, L"ROIEllipse"},   {-10, nullptr},        Ref(L"ROIEllipsf")};
    for (tagREFString name : refused) {
        constexpr ComponentCreator untouched = [](void*, IID*, void**) -> Result { return E_FAIL; };
        ComponentCreator create = untouched;
        EXPECT_EQ(FindRoiClass(name, &create), E_FAIL) << name.length;
        EXPECT_EQ(create, untouched);
    }
}

TEST(Module, HoldsOneReferenceToTheLatestCollection) {
    struct Collection final : Stub<IComponentCollection> {
        Result GetItem(int, IUnknown**) noexcept override { return E_FAIL; }
        Result FindByName(IString*, int*) noexcept override { return E_FAIL; }
        Result CreateComponent(tagREFString, const IID&, void**) noexcept override { return E_FAIL; }
    } first, second;
    IComponentCollection* const usual = GlobalCollection();
    for (Collection* given : {&first, &first, &second, &first, static_cast<Collection*>(nullptr)}) {
        EXPECT_EQ(InitializeRoi(given), S_OK);
        EXPECT_EQ(first.references, given == &first ? 2 : 1);
        EXPECT_EQ(second.references, given == &second ? 2 : 1);
    }
    EXPECT_EQ(InitializeRoi(usual), S_OK);
}

// ---------------------------------------------------------------------------------------------------

/// The identifier as one 128-bit number.
IID IidModel(const std::string& name) {
    __extension__ using Wide128 = unsigned __int128;
    Wide128 number = 0;
    for (std::size_t i = 0; i < std::min<std::size_t>(name.size(), 25); ++i) {
        const int c = std::toupper(static_cast<unsigned char>(name[i]));
        number |= Wide128(c >= 'A' && c <= 'Z' ? c - 'A' + 1 : c >= '0' && c <= '4' ? c - '0' + 28 : 27) << (5 * i);
    }
    IID iid;
    std::memcpy(&iid, &number, sizeof iid);
    return iid;
}

#define NAME_OF(name) #name,
const char* const kInterfaces[] = {FRAMEWORK_INTERFACES(NAME_OF)};

TEST(Identifier, IsDerivedFromTheName) {
    for (const char* name :
         {"", "A", "a", "IA", "I4", "I4A", "I44", "IPoint5", "IPoint_", "0123456789", "I\xE4\xFF",
          "ABCDEFGHIJKLMNOPQRSTUVWXY", "ABCDEFGHIJKLMNOPQRSTUVWXYZ", "444444444444444444444444444"}) {
        EXPECT_EQ(__IIDOfc(name), IidModel(name)) << name;
    }
    for (const char* name : kInterfaces) {
        EXPECT_EQ(__IIDOfc(name), IidModel(name)) << name;
    }
    auto bytes = [](const char* name) {
        std::array<std::uint8_t, 16> b;
        const IID iid = __IIDOfc(name);
        std::memcpy(b.data(), &iid, 16);
        return b;
    };
    EXPECT_EQ(bytes("IA"), (std::array<std::uint8_t, 16>{0x29}));
    EXPECT_EQ(bytes("I4"), (std::array<std::uint8_t, 16>{0x09, 0x04}));
    EXPECT_EQ(bytes("I4"), bytes("I4A"));
    EXPECT_EQ(bytes("iroi"), bytes("IROI"));
    EXPECT_EQ(bytes("IPoint5"), bytes("IPoint_"));
    EXPECT_EQ(std::memcmp(&IID_IUnknown, "\0\0\0\0\0\0\0\0\xC0\0\0\0\0\0\0\x46", 16), 0);
    EXPECT_EQ(IID_IROIParallelogram, IidModel("IROIParallelogram"));
}

struct ClassContract {
    const wchar_t* name;
    std::set<std::string> answered;
};

void PrintTo(const ClassContract& contract, std::ostream* out) { *out << testing::PrintToString(contract.name); }

const ClassContract kClasses[] = {
    {L"ROIDonut",
     {"IObjectInfo", "IDataPersist", "IParametricObject", "IReplicableObject", "IROI", "IROIDonut", "IROIArcDonut",
      "ITransformableObject", "IUIPropertyPageSpecify"}},
    {L"ROIArcDonut",
     {"IObjectInfo", "IDataPersist", "IParametricObject", "IReplicableObject", "IROI", "IROIDonut", "IROIArcDonut",
      "ITransformableObject", "IUIPropertyPageSpecify"}},
    {L"ROIEllipse", {"IObjectInfo", "IROI", "IROIEllipse", "IParametricObject", "IDataPersist"}},
    {L"ROIMask", {"IObjectInfo", "IROIMask", "IROIRectangle", "IROI"}},
    {L"ROIParallelogram",
     {"IObjectInfo", "IROI", "IROIParallelogram", "IUIPropertyPageSpecify", "IReplicableObject", "ITransformableObject",
      "IParametricObject", "IDataPersist"}},
    {L"ROIProfile",
     {"IObjectInfo", "IDataPersist", "IParametricObject", "IReplicableObject", "IROI", "IROIProfile",
      "ITransformableObject", "IUIPropertyPageSpecify"}},
    {L"ROIRectangle",
     {"IObjectInfo", "IROI", "IROIRectangle", "IUIPropertyPageSpecify", "IReplicableObject", "ITransformableObject",
      "IParametricObject", "IDataPersist", "IGeometry"}},
    {L"ROIShape",
     {"IObjectInfo", "IROI", "IROIShape", "IParametricObject", "IDataPersist", "IReplicableObject",
      "ITransformableObject"}}};

class AnyClass : public testing::TestWithParam<ClassContract> {};
INSTANTIATE_TEST_SUITE_P(Classes, AnyClass, testing::ValuesIn(kClasses), [](const auto& info) {
    const std::wstring name = info.param.name;
    return std::string(name.begin(), name.end());
});

TEST_P(AnyClass, AnswersItsInterfacesAndNoOthers) {
    auto object = Create<IUnknown>(GetParam().name);
    for (const char* name : kInterfaces) {
        void* out = &object;
        const bool answered = GetParam().answered.count(name) != 0;
        EXPECT_EQ(object->QueryInterface(IidModel(name), &out), answered ? S_OK : E_NOINTERFACE) << name;
        ASSERT_EQ(out != nullptr, answered) << name;
        // Created as that interface, the object lives on one reference; refused, it leaves nothing.
        Result code = S_OK;
        auto created =
            SmartPtr<IUnknown>::Adopt(static_cast<IUnknown*>(CreateFigure(GetParam().name, IidModel(name), &code)));
        EXPECT_EQ(code, answered ? S_OK : E_NOINTERFACE) << name;
        EXPECT_EQ(static_cast<bool>(created), answered) << name;
        if (answered) {
            auto* interface = static_cast<IUnknown*>(out);
            EXPECT_EQ(As<IUnknown>(interface).Get(), object.Get()) << "one identity through " << name;
            EXPECT_EQ(interface->AddRef(), 3);
            EXPECT_EQ(interface->Release(), 2);
            EXPECT_EQ(interface->Release(), 1) << name;
            EXPECT_EQ(created->AddRef(), 2) << name;
            EXPECT_EQ(created->Release(), 1) << name;
        }
    }
    tagREFString name{0, nullptr};
    EXPECT_EQ(As<IObjectInfo>(object.Get())->GetName(99, &name), S_OK);
    EXPECT_EQ(Wide(name), GetParam().name);
}

TEST(Contract, AFiguresInterfacesShareTheSubObjectOfTheMostDerivedOne) {
    for (const auto& [name, bases] : {std::pair(L"ROIMask", std::array{"IROIMask", "IROIRectangle", "IROI"}),
                                      {L"ROIDonut", {"IROIArcDonut", "IROIDonut", "IROI"}},
                                      {L"ROIArcDonut", {"IROIArcDonut", "IROIDonut", "IROI"}},
                                      {L"ROIEllipse", {"IROIEllipse", "IROI", "IROI"}}}) {
        auto object = Create<IUnknown>(name);
        std::set<void*> pointers;
        for (const char* base : bases) {
            void* out = nullptr;
            object->QueryInterface(IidModel(base), &out);
            pointers.insert(out);
            object->Release();
        }
        EXPECT_EQ(pointers.size(), 1u) << testing::PrintToString(name);
    }
}

// ---------------------------------------------------------------------------------------------------
// Slots. A pointer to a virtual operation holds its offset in the table.

template <class Operation>
int SlotOf(Operation operation) {
    std::uintptr_t offset = 0;
    std::memcpy(&offset, &operation, sizeof offset);
    return static_cast<int>((offset - 1) / sizeof(void*));
}

TEST(Slots, OfConsumedInterfacesAreWhereTheSiblingsHaveThem) {
    const std::pair<int, int> slots[] = {{SlotOf(&IUnknown::QueryInterface), 0},
                                         {SlotOf(&IUnknown::AddRef), 1},
                                         {SlotOf(&IUnknown::Release), 2},
                                         {SlotOf(&IComponentCollection::GetItem), 4},
                                         {SlotOf(&IComponentCollection::FindByName), 5},
                                         {SlotOf(&IComponentCollection::CreateComponent), 16},
                                         {SlotOf(&IComponentString::CreateInstance), 5},
                                         {SlotOf(&IComponentString::SetString), 6},
                                         {SlotOf(&IString::GetText), 3},
                                         {SlotOf(&IString::SetText), 4},
                                         {SlotOf(&IString::Append), 5},
                                         {SlotOf(&IVariant::GetKind), 3},
                                         {SlotOf(&IVariant::GetDouble), 4},
                                         {SlotOf(&IVariant::GetInteger), 5},
                                         {SlotOf(&IVariant::SetInteger), 6},
                                         {SlotOf(&IVariant::SetDouble), 7},
                                         {SlotOf(&IVariant::GetObject), 9},
                                         {SlotOf(&IVariant::HasString), 11},
                                         {SlotOf(&IVariant::GetString), 12},
                                         {SlotOf(&INamedCollection::GetItem), 4},
                                         {SlotOf(&INamedCollection::FindByName), 5},
                                         {SlotOf(&INamedCollection::Add), 18},
                                         {SlotOf(&ISuperCollection::AddPage), 16},
                                         {SlotOf(&IXMLStream::WriteValue), 12},
                                         {SlotOf(&IXMLStream::NextChild), 14},
                                         {SlotOf(&IXMLStream::OpenChild), 15},
                                         {SlotOf(&IFolderStream::WriteBinary), 11},
                                         {SlotOf(&IFolderStream::ReadBinary), 16},
                                         {SlotOf(&ITransform::TransformPoint), 3},
                                         {SlotOf(&ICIF::GetSize), 3},
                                         {SlotOf(&ICIF::Create), 6},
                                         {SlotOf(&ICIF::Fill), 9},
                                         {SlotOf(&ICIFGraphics::Attach), 3},
                                         {SlotOf(&ICIFGraphics::SetColor), 4},
                                         {SlotOf(&ICIFGraphics::Line), 5},
                                         {SlotOf(&ICIFGraphics::FloodFill), 10},
                                         {SlotOf(&ICIFGraphics::Arc), 11},
                                         {SlotOf(&IGeometricAssembly::GetElement), 3},
                                         {SlotOf(&IPoints::GetPoint), 3}};
    for (std::size_t i = 0; i < std::size(slots); ++i) {
        EXPECT_EQ(slots[i].first, slots[i].second) << "row " << i;
    }
}

/// A getter of two doubles by its number; extra arguments come first.
template <class... Arguments>
Point Get(void* object, int slot, Arguments... arguments) {
    return Read2([&](double* x, double* y) { return CallSlot(object, slot, arguments..., x, y); });
}

/// The operations of IROI, 3 to 10, on a figure at (50, 50) that a move to (70, 80) and back must not change.
void CheckBaseSlots(IROI* figure, Point size, Result replicates, Result masks) {
    EXPECT_EQ(Get(figure, 3), size);
    EXPECT_EQ(CallSlot(figure, 5, 70.0, 80.0), S_OK);
    EXPECT_EQ(Get(figure, 4), Point(70, 80));
    EXPECT_EQ(CallSlot(figure, 6, static_cast<ITransform*>(nullptr)), E_INVALIDARG);
    Affine back(1, 0, 0, 1, -20, -30);
    EXPECT_EQ(CallSlot(figure, 6, static_cast<ITransform*>(&back)), S_OK);
    EXPECT_FALSE(back.asked.empty());
    EXPECT_CLOSE(Get(figure, 4), Point(50, 50));
    SmartPtr<IUnknown> copy;
    EXPECT_EQ(CallSlot(figure, 7, copy.Receive()), replicates);
    EXPECT_EQ(As<IROI>(copy.Get()) ? S_OK : E_NOINTERFACE, replicates);
    SmartPtr<ICIF> mask;
    EXPECT_EQ(CallSlot(figure, 8, mask.Receive()), masks);
    int hit = 7;
    EXPECT_EQ(CallSlot(figure, 9, 1e6, 50.0, &hit), E_FAIL);
    EXPECT_EQ(hit, 0);
    int left = 0, top = 0;
    unsigned width = 0, height = 0;
    EXPECT_EQ(CallSlot(figure, 10, &left, &top, &width, &height), S_OK);
    EXPECT_GT(width * height, 0u);
}

void CheckRectangleSlots(IROI* figure, Result masks) {
    CheckBaseSlots(figure, {50, 50}, S_OK, masks);
    EXPECT_EQ(CallSlot(figure, 12, 40.0, 20.0), S_OK);
    EXPECT_EQ(Get(figure, 11), Point(40, 20));
    EXPECT_EQ(CallSlot(figure, 14, M_PI / 2), S_OK);
    double value = 0;
    EXPECT_EQ(CallSlot(figure, 13, &value), S_OK);
    EXPECT_EQ(value, M_PI / 2);
    EXPECT_CLOSE(Get(figure, 15, kNodeCorner2), Point(60, 30));
    int x = 0, y = 0;
    EXPECT_EQ(CallSlot(figure, 16, kNodeEdge6, &x, &y), S_OK);
    EXPECT_EQ(std::pair(x, y), std::pair(60, 50));
    EXPECT_EQ(CallSlot(figure, 17, int{kNodeEdge7} | kKeepCenter, 0.0, 65.0), S_OK);
    EXPECT_CLOSE(Get(figure, 11), Point(30, 20));
    EXPECT_EQ(CallSlot(figure, 19, 3.0), S_OK);
    EXPECT_CLOSE(Get(figure, 11), Point(30, 10));
    EXPECT_EQ(CallSlot(figure, 18, &value), S_OK);
    EXPECT_EQ(value, 3.0);
}

TEST(Slots, OfTheRectangleAndTheMask) {
    CheckRectangleSlots(Create<IROI>(L"ROIRectangle").Get(), S_OK);
    auto mask = Create<IROI>(L"ROIMask");
    CheckRectangleSlots(mask.Get(), E_FAIL);
    SizedImage image(3, 4);
    EXPECT_EQ(CallSlot(mask.Get(), 20, static_cast<ICIF*>(&image), 5), S_OK);
    EXPECT_EQ(image.references, 2);
}

TEST(Slots, OfTheParallelogram) {
    auto owner = Create<IROI>(L"ROIParallelogram");
    void* figure = owner.Get();
    CheckBaseSlots(owner.Get(), {50, 50}, S_OK, S_OK);
    EXPECT_EQ(CallSlot(figure, 12, 40.0, 20.0), S_OK);
    EXPECT_EQ(Get(figure, 11), Point(40, 20));
    EXPECT_EQ(CallSlot(figure, 20, std::atan(0.5), short{0}), S_OK);
    auto value = [&](int slot) {
        double v = kUntouched;
        EXPECT_EQ(CallSlot(figure, slot, &v), S_OK);
        return v;
    };
    EXPECT_CLOSE(value(13), 30.0);
    EXPECT_CLOSE(value(15), std::sqrt(500.0));
    EXPECT_EQ(CallSlot(figure, 14, 50.0), S_OK);
    EXPECT_CLOSE(Get(figure, 11), Point(60, 20));
    EXPECT_EQ(CallSlot(figure, 16, std::sqrt(2000.0)), S_OK);
    EXPECT_CLOSE(Get(figure, 11), Point(60, 40));
    EXPECT_EQ(CallSlot(figure, 18, M_PI), S_OK);
    EXPECT_EQ(value(17), M_PI);
    EXPECT_CLOSE(value(19), std::atan(0.5));
    EXPECT_EQ(CallSlot(figure, 20, 0.0, short{1}), S_OK);
    EXPECT_CLOSE(Get(figure, 11), Point(40, 40));
    EXPECT_CLOSE(Get(figure, 21, kNodeCorner2), Point(70, 70));
    EXPECT_EQ(CallSlot(figure, 22, int{kNodeCorner2}, 80.0, 80.0), S_OK);
    EXPECT_CLOSE(Get(figure, 11), Point(50, 50));
}

TEST(Slots, OfTheRoundFigures) {
    auto ellipse = Create<IROI>(L"ROIEllipse");
    CheckBaseSlots(ellipse.Get(), {30, 30}, E_NOINTERFACE, E_NOTIMPL);
    EXPECT_EQ(CallSlot(ellipse.Get(), 14, 7.0, 9.0), S_OK);
    EXPECT_EQ(Get(ellipse.Get(), 13), Point(7, 9));
    EXPECT_EQ(Get(ellipse.Get(), 11, 3), Point(50, 41));
    EXPECT_EQ(CallSlot(ellipse.Get(), 12, 2, 60.0, 0.0), S_OK);
    EXPECT_EQ(Get(ellipse.Get(), 13), Point(10, 9));
    for (const wchar_t* name : {L"ROIDonut", L"ROIArcDonut"}) {
        auto owner = Create<IROI>(name);
        void* figure = owner.Get();
        CheckBaseSlots(owner.Get(), {60, 60}, S_OK, S_OK);
        EXPECT_EQ(CallSlot(figure, 14, 1, 7.0, 9.0), S_OK);
        EXPECT_EQ(Get(figure, 13, 1), Point(7, 9));
        EXPECT_EQ(Get(figure, 13, 0), Point(20, 20));
        EXPECT_EQ(CallSlot(figure, 12, 2, 55.0, 50.0), S_OK);
        EXPECT_EQ(Get(figure, 11, 2), Point(55, 50));
        EXPECT_EQ(CallSlot(figure, 15, 1.0, 2.0), S_OK);
        EXPECT_EQ(Get(figure, 16), Point(1, 2));
    }
}

TEST(Slots, OfTheProfile) {
    auto owner = Create<IROI>(L"ROIProfile");
    void* figure = owner.Get();
    EXPECT_EQ(CallSlot(figure, 19, 40.0, 50.0), S_OK);
    EXPECT_EQ(CallSlot(figure, 18, 5, 60.0, 50.0), S_OK);
    EXPECT_EQ(CallSlot(figure, 13, 4.0, 4.0), S_OK);
    CheckBaseSlots(owner.Get(), {20, 8}, S_OK, E_NOTIMPL);
    EXPECT_EQ(CallSlot(figure, 12, 1, 6.0, 7.0), S_OK);
    EXPECT_EQ(Get(figure, 11, 1), Point(6, 7));
    EXPECT_EQ(CallSlot(figure, 17, 1, 80.0, 50.0), S_OK);
    double v[5] = {};
    EXPECT_EQ(CallSlot(figure, 16, 1, &v[0], &v[1], &v[2], &v[3], &v[4]), S_OK);
    EXPECT_EQ(std::vector<double>(v, v + 5), (std::vector<double>{80, 50, std::atan2(-40.0, 0.0), 6, 7}));
    EXPECT_EQ(CallSlot(figure, 20, 1.0, 1), S_OK);
    EXPECT_CLOSE(Get(figure, 21, kProfileSegment, 0), Point(60, 50));
    EXPECT_EQ(CallSlot(figure, 22, kProfileCorner1, 0, 1.0, 1.0), E_NOTIMPL);
    int x = 0, y = 0;
    EXPECT_EQ(CallSlot(figure, 23, kProfilePoint, 1, &x, &y), S_OK);
    EXPECT_EQ(std::pair(x, y), std::pair(80, 50));
    EXPECT_EQ(CallSlot(figure, 15, 0), S_OK);
    EXPECT_EQ(CallSlot(figure, 14, &x), S_OK);
    EXPECT_EQ(x, 1);
}

TEST(Slots, OfTheSmallInterfaces) {
    auto figure = Create<IROIRectangle>(L"ROIRectangle");
    auto list = MakeList({{L"Width", 8.0}});
    EXPECT_EQ(CallSlot(As<IParametricObject>(figure.Get()).Get(), 4, list.Get()), S_OK);
    EXPECT_EQ(Get(figure.Get(), 11), Point(8, 50));
    SmartPtr<INamedCollection> out;
    EXPECT_EQ(CallSlot(As<IParametricObject>(figure.Get()).Get(), 3, out.Receive(), 0), S_OK);
    EXPECT_EQ(ItemsOf(out.Get()).size(), 7u);
    PlainStream plain;
    IDataStream* stream = &plain;
    EXPECT_EQ(CallSlot(As<IDataPersist>(figure.Get()).Get(), 3, stream, 0), S_OK);
    EXPECT_EQ(CallSlot(As<IDataPersist>(figure.Get()).Get(), 4, stream, 0), E_FAIL);
    SmartPtr<IUnknown> copy;
    EXPECT_EQ(CallSlot(As<IReplicableObject>(figure.Get()).Get(), 3, copy.Receive()), S_OK);
    EXPECT_TRUE(As<IROIRectangle>(copy.Get()));
    Affine map;
    EXPECT_EQ(CallSlot(As<ITransformableObject>(figure.Get()).Get(), 3, static_cast<ITransform*>(&map)), S_OK);
    EXPECT_EQ(map.asked.size(), 5u);
    EXPECT_EQ(CallSlot(As<IUIPropertyPageSpecify>(figure.Get()).Get(), 3, 0, out.Receive(), copy.Receive()), S_OK);
    EXPECT_TRUE(As<IPageListing>(out.Get()));
    tagREFString name{0, nullptr};
    EXPECT_EQ(CallSlot(As<IObjectInfo>(figure.Get()).Get(), 3, 0, &name), S_OK);
    EXPECT_EQ(Wide(name), L"ROIRectangle");
}

}  // namespace
