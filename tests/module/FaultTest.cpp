// Every call of the framework and every allocation fails in turn, once and from then on, under everything
// that a figure does: no crash, nothing left behind, nothing changed by half, and a second try succeeds.
#include <dlfcn.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>

#include <pugixml.hpp>

#include "Faults.h"
#include "framework/support/FolderStream.h"
#include "framework/support/XMLStream.h"

namespace {

/// A module that nobody has used yet, so that first uses fail too: a copy of ROI.so, unloaded at the end.
class FreshModule {
  public:
    FreshModule() : m_handle(dlopen(Path().c_str(), RTLD_NOW)) {}
    ~FreshModule() {
        dlclose(m_handle);
        EXPECT_EQ(dlopen(Path().c_str(), RTLD_NOW | RTLD_NOLOAD), nullptr) << "still loaded";
    }
    FreshModule(const FreshModule&) = delete;
    FreshModule& operator=(const FreshModule&) = delete;

    Result Create(const wchar_t* name, SmartPtr<IROI>* figure) const {
        const auto find = reinterpret_cast<CreateFunctionEntry>(dlsym(m_handle, kCreateFunctionSymbol));
        ComponentCreator create = nullptr;
        return find(Ref(name), &create) == S_OK ? create(nullptr, &IID_IROI, figure->ReceiveVoid()) : E_NOTIMPL;
    }

  private:
    static const std::string& Path() {
        static const struct File {
            std::string path = testing::TempDir() + "roi-fresh-" + std::to_string(getpid()) + ".so";
            File() { std::filesystem::copy_file("ROI.so", path, std::filesystem::copy_options::overwrite_existing); }
            ~File() { std::filesystem::remove(path); }
        } file;
        return file.path;
    }

    void* m_handle;
};

/// What a figure is saved into and loaded from; a copy has contents of its own.
struct Storage {
    std::shared_ptr<FolderArchive> archive = std::make_shared<FolderArchive>();
    std::shared_ptr<pugi::xml_document> document = std::make_shared<pugi::xml_document>();

    Storage() { document->append_child("set").append_child("figure"); }
    Storage(const Storage& other) { *this = other; }
    Storage& operator=(const Storage& other) {
        *archive = *other.archive;
        document->reset(*other.document);
        return *this;
    }
};

/// What can be seen of a figure or of what it handed out, as names and values.
using Seen = std::vector<Item>;

/// One point fits into the memory of a profile of as many, two do not.
constexpr int kPoints = 99;

/// A figure, all it may be given, and what it hands out.
struct Stage {
    const wchar_t* name;
    FreshModule module;
    Storage storage;
    Affine map{0.8, 0.3, -0.2, 1.1, 5, 6};
    SmartPtr<ICIF> image = CreateComponent<ICIFImageCANVAS>(Text(L"CIFImageCANVAS"));
    SmartPtr<IGeometry> geometry = CreateComponent<IGeometry>(Text(L"Assembly"));
    SmartPtr<INamedCollection> list;
    SmartPtr<IDataStream> folder, set, xml;
    SmartPtr<IROI> figure;
    void* given = nullptr;
    double extent[5] = {-1, -1, -1, -1, -1};
    int corner[2] = {-1, -1};
    unsigned int box[2] = {};

    Stage(const wchar_t* name_, const Seen& items, const Storage& storage_)
        : name(name_), storage(storage_), list(MakeList(items)) {
        map.asked.reserve(kPoints * 4);            // It notes points, and is not what may run out of memory.
        image->Create(69, 69, 1, 8, kFormatMono);  // As large as the box of the rectangle that it lies in.
        const double corners[] = {10.5, 20.25, 40, 60};
        As<IPointsStore>(geometry.Get())->SetPoints(corners, 2);
        Rewind();
    }
    /// Streams go on where they stood.
    void Rewind() {
        const auto root = storage.document->child("set");
        folder = MakeFolderStream(storage.archive, "figure");
        set = MakeXMLStream(storage.document, root);
        xml = MakeXMLStream(storage.document, root.child("figure"));
    }
    /// Calls an operation of an interface that not every figure answers.
    template <class I, class... Parameters, class... Arguments>
    Result Call(Result (I::*operation)(Parameters...) noexcept, Arguments... arguments) {
        const auto answered = As<I>(figure.Get());
        return answered ? (answered.Get()->*operation)(arguments...) : E_NOTIMPL;
    }
    /// Where an operation puts what it hands out.
    template <class Out>
    Out** Given() {
        return reinterpret_cast<Out**>(&given);
    }
};

Result Make(Stage& s) {
    Result code = s.module.Create(s.name, &s.figure);
    for (int i = 0; i < kPoints; ++i) {
        if (Succeeded(code) && s.Call(&IROIProfile::AddPoint, 3.0 * i, double(i * i % 17)) == E_FAIL) {
            code = E_FAIL;
            s.figure.Reset();
        }
    }
    s.Call(&IROIRectangle::put_Roll, 0.5);
    s.Call(&IROIMask::SetMask, s.image.Get(), 0);
    s.Call(&IROIShape::SetGeometry, s.geometry.Get());
    return code;
}

struct Scenario {
    const char* name;
    Result (*act)(Stage&);
    /// Leaves the figure as it was, as a list of parameters makes it, or wherever a transform puts it.
    enum { kKeeps, kEdits, kMoves } effect = kKeeps;
};

const Scenario kScenarios[] = {
    {"make", Make},
    {"list", [](Stage& s) { return s.Call(&IParametricObject::GetParameters, s.Given<INamedCollection>(), 0); }},
    {"page",
     [](Stage& s) { return s.Call(&IUIPropertyPageSpecify::GetPages, 0, s.Given<INamedCollection>(), nullptr); }},
    {"mask", [](Stage& s) { return s.figure->GetMask(s.Given<ICIF>()); }},
    {"clone", [](Stage& s) { return s.figure->Replicate(s.Given<IUnknown>()); }},
    {"extent",
     [](Stage& s) {
         s.figure->GetCenter(&s.extent[0], &s.extent[1]);
         s.figure->GetBoundingSize(&s.extent[2], &s.extent[3]);
         s.extent[4] = (s.figure->HitTest(50, 8, nullptr) == S_OK ? 1 : 2) +
                       (s.figure->HitTest(900, 80, nullptr) == S_OK ? 10 : 20);
         s.figure->GetBoundingRect(&s.corner[0], &s.corner[1], &s.box[0], &s.box[1]);
         return S_OK;
     }},
    {"transform", [](Stage& s) { return s.figure->Transform(&s.map); }, Scenario::kMoves},
    {"edit", [](Stage& s) { return s.Call(&IParametricObject::SetParameters, s.list.Get()); }, Scenario::kEdits},
    {"save into a folder", [](Stage& s) { return s.Call(&IDataPersist::Save, s.folder.Get(), 0); }},
    {"save as XML", [](Stage& s) { return s.Call(&IDataPersist::Save, s.xml.Get(), 0); }},
    {"load from a folder", [](Stage& s) { return s.Call(&IDataPersist::Load, s.folder.Get(), 0); }, Scenario::kEdits},
    // The ellipse looks for itself among the entries of the stream it is given.
    {"load from XML",
     [](Stage& s) { return s.Call(&IDataPersist::Load, (As<IROIEllipse>(s.figure.Get()) ? s.set : s.xml).Get(), 0); },
     Scenario::kEdits}};

const Scenario& Named(std::string_view name) { return *std::ranges::find(kScenarios, name, &Scenario::name); }

// ---------------------------------------------------------------------------------------------------

template <class... Values>
void Note(Seen* seen, const wchar_t* what, Values... values) {
    (seen->push_back({what, static_cast<double>(values)}), ...);
}

Seen See(IROI* figure) {
    double x = 0, y = 0, t1 = 0, t2 = 0;
    int points = 0;
    const auto profile = As<IROIProfile>(figure);
    Seen seen = profile ? Seen() : Parameters(figure);
    if (figure != nullptr && Succeeded(figure->GetCenter(&x, &y))) {
        Note(&seen, L"center", x, y);
    }
    if (auto mask = As<IROIMask>(figure); mask && mask->get_Roll(&t1) == S_OK && mask->GetSize(&x, &y) == S_OK) {
        Note(&seen, L"rectangle", t1, x, y);
    }
    for (int i = 0; profile && profile->GetNumberPoints(&points) == S_OK && i < points; ++i) {
        profile->GetPoint(i, &x, &y, nullptr, &t1, &t2);
        Note(&seen, L"point", x, y, t1, t2);
    }
    return seen;
}

/// First whether anything was handed out, then what it is.
Seen TakeGiven(Stage& s) {
    const auto given = SmartPtr<IUnknown>::Adopt(static_cast<IUnknown*>(std::exchange(s.given, nullptr)));
    Seen seen = {{L"given", given ? 1.0 : 0.0}};
    const auto pages = As<IPageListing>(given.Get());
    Note(&seen, L"extent", pages ? pages->GetCount() : 0, s.extent[0], s.extent[1], s.extent[2], s.extent[3],
         s.extent[4], s.corner[0], s.corner[1], s.box[0], s.box[1]);
    if (const auto pixels = As<IPixels>(given.Get())) {
        unsigned char* data = nullptr;
        int width = 0, height = 0, stride = 0, planes = 0, bits = 0;
        SizeOf(*As<ICIF>(given.Get()), &width, &height);
        pixels->GetPixels(&data, &stride, &planes, &bits);
        Note(&seen, L"pixels", std::count(data, data + height * stride, 255));
    }
    std::ranges::copy(See(As<IROI>(given.Get()).Get()), std::back_inserter(seen));
    std::ranges::copy(ItemsOf(As<INamedCollection>(given.Get()).Get()), std::back_inserter(seen));
    return seen;
}

/// Whether entries are only missing or empty, and lines not drawn.
bool IsPartOf(const Seen& part, const Seen& whole) {
    auto at = whole.begin();
    return std::ranges::all_of(part, [&](const Item& item) {
        at = std::find_if(at, whole.end(), [&](const Item& other) {
            return other.name == item.name &&
                   (other.value == item.value || item.value == Value(0.0) || item.name == L"pixels");
        });
        return at != whole.end() && (++at, true);
    });
}

struct Outcome {
    Result code;
    Seen given, state;
    bool operator==(const Outcome&) const = default;
};

void PrintTo(const Outcome& outcome, std::ostream* out) {
    *out << std::hex << outcome.code << std::dec << ", gave " << testing::PrintToString(outcome.given) << ", became "
         << testing::PrintToString(outcome.state);
}

class FaultyFramework : public testing::TestWithParam<const wchar_t*> {
  protected:
    static void SetUpTestSuite() {
        testing::internal::CaptureStderr();  // Components say when they run out of memory.
        CatchFrameworkCalls();
    }
    static void TearDownTestSuite() {
        testing::internal::GetCapturedStderr();
        std::printf("faults injected: %ld framework calls, %ld allocations\n", s_calls, s_allocations);
    }

    /// An edited figure, as the list that makes it and as it is saved.
    void SetUp() override {
        Stage s(GetParam(), {}, {});
        ASSERT_EQ(Make(s), S_OK);
        m_before = See(s.figure.Get());
        m_items = Parameters(s.figure.Get());
        for (Item& item : m_items) {
            const auto* number = std::get_if<double>(&item.value);
            item.value = number != nullptr ? Value(std::round(*number * 1.1 + 3.3)) : Value(1);
        }
        s.list = MakeList(m_items);
        Named("edit").act(s);
        for (const Item& item : Parameters(s.figure.Get())) {
            if (std::holds_alternative<double>(item.value)) {
                std::ranges::find(m_items, item.name, &Item::name)->value = item.value;
            }
        }
        Named("save into a folder").act(s);
        Named("save as XML").act(s);
        m_edited = s.storage;
    }

    /// What is left of the figure after `act`.
    template <class Act>
    Seen After(const Seen& list, Act act) const {
        Stage s(GetParam(), list, m_edited);
        Make(s);
        act(s);
        return See(s.figure.Get());
    }

    /// The figure as lists make it from which something is missing or unusable, and as a profile is without
    /// one of its blocks.
    std::vector<Seen> Edits() const {
        std::vector<Seen> lists = {{}};
        for (std::size_t i = 0; i < m_items.size(); ++i) {
            const auto at = m_items.begin() + static_cast<std::ptrdiff_t>(i);
            lists.emplace_back(m_items.begin(), at + 1);
            lists.emplace_back(m_items)[i].name = L"?";
            lists.emplace_back(m_items)[i].value = L" ";
        }
        std::vector<Seen> states = {After({}, [](Stage& s) {
            for (int i = 0; i < kPoints; ++i) {
                s.Call(&IROIProfile::SetPoint, i, 0.0, 0.0);
            }
            s.Call(&IROIProfile::SetUniformThickness, 0.0, 0.0);
        })};
        states.push_back(After({}, [](Stage& s) {
            for (int i = 0; i < kPoints; ++i) {
                s.Call(&IROIProfile::RemovePoint, 0);
            }
        }));
        std::ranges::transform(lists, std::back_inserter(states),
                               [this](const Seen& list) { return After(list, Named("edit").act); });
        return states;
    }

    /// Acts with the fault and, when that fails, once more without it.
    void Run(const Scenario& scenario, const Fault& fault, Outcome* first, Outcome* second) const {
        Stage s(GetParam(), m_items, m_edited);
        if (scenario.act != Make) {
            Make(s);
        }
        {
            const Armed armed(fault);
            first->code = scenario.act(s);
        }
        *first = {first->code, TakeGiven(s), See(s.figure.Get())};
        if (Failed(first->code)) {
            s.Rewind();
            second->code = scenario.act(s);
            *second = {second->code, TakeGiven(s), See(s.figure.Get())};
        }
    }

    /// `whole` is what comes of it without a fault.
    void Try(const Scenario& scenario, const Fault& fault, const Outcome& whole, const std::vector<Seen>& edits) const {
        SCOPED_TRACE(scenario.name + (", " + testing::PrintToString(fault)));
        Outcome outcome, again = whole;
        Run(scenario, fault, &outcome, &again);
        EXPECT_EQ(again, whole) << "the second time";
        EXPECT_TRUE(outcome.code == S_OK || outcome.code == E_FAIL || outcome.code == whole.code) << outcome.code;
        EXPECT_TRUE(outcome.given == whole.given ||
                    ((Failed(outcome.code) || Armed::WasIgnored()) && IsPartOf(outcome.given, whole.given)))
            << testing::PrintToString(outcome);
        EXPECT_EQ(outcome.given.front(), Failed(outcome.code) ? (Item{L"given", 0.0}) : whole.given.front());
        if (scenario.act == Make) {
            EXPECT_TRUE(IsPartOf(outcome.state, whole.state)) << testing::PrintToString(outcome);
        } else if (Failed(outcome.code) || scenario.effect == Scenario::kKeeps) {
            EXPECT_EQ(outcome.state, m_before);
        } else if (scenario.effect == Scenario::kEdits) {
            EXPECT_TRUE(outcome.state == whole.state || std::ranges::count(edits, outcome.state) != 0)
                << testing::PrintToString(outcome);
        }
    }

    static inline long s_calls = 0;
    static inline long s_allocations = 0;
    Seen m_items;
    Storage m_edited;
    Seen m_before;
};

INSTANTIATE_TEST_SUITE_P(Figures, FaultyFramework,
                         testing::Values(L"ROIDonut", L"ROIArcDonut", L"ROIEllipse", L"ROIMask", L"ROIParallelogram",
                                         L"ROIProfile", L"ROIRectangle", L"ROIShape"),
                         [](const auto& info) {
                             const std::wstring name = info.param;
                             return std::string(name.begin(), name.end());
                         });

TEST_P(FaultyFramework, LeavesFiguresWholeWhateverFails) {
    const std::vector<Seen> edits = Edits();
    for (const Scenario& scenario : kScenarios) {
        Outcome whole;
        Run(scenario, {}, &whole, &whole);
        const long calls = Armed::Calls();
        if (scenario.effect == Scenario::kEdits && whole.code == S_OK && !m_items.empty()) {
            EXPECT_NE(whole.state, m_before) << scenario.name;
        }
        Try(scenario, {}, whole, edits);  // What is kept for good is there by now.
        const long allocations = LiveAllocations();
        const int objects = LiveSiblingObjects();
        for (const bool fromThenOn : {false, true}) {
            for (long n = 1; n <= calls; ++n, ++s_calls) {
                Try(scenario, {FaultKind::kCall, n, fromThenOn}, whole, edits);
                EXPECT_TRUE(Armed::Happened());
            }
            for (long n = 1; n == 1 || Armed::Happened(); ++n) {
                Try(scenario, {FaultKind::kAllocation, n, fromThenOn}, whole, edits);
                s_allocations += Armed::Happened() ? 1 : 0;
            }
        }
        EXPECT_EQ(LiveAllocations(), allocations) << scenario.name;
        EXPECT_EQ(LiveSiblingObjects(), objects) << scenario.name;
    }
    EXPECT_GT(s_calls, 0);
    EXPECT_GT(s_allocations, 0);
}

}  // namespace
