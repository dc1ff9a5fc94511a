// Sequences of operations on figures of all classes, each checked against what must always hold.
#include <array>
#include <cmath>

#include "contract/Extensions.h"
#include "framework/support/XMLStream.h"
#include "fuzz/Target.h"

namespace {

constexpr double kUntouched = -98765.4321;
constexpr int kUntouchedPixel = -9876543;

/// Far from where sums of a few such values lose a pixel.
bool IsModest(double value) noexcept { return std::abs(value) < 1e6; }

int Rounded(double v) noexcept { return static_cast<int>(v > 0.0 ? v + 0.5 : v - 0.5); }

// The five codes that there are.
Result Known(Result code) noexcept {
    REQUIRE(code == S_OK || code == E_FAIL || code == E_NOINTERFACE || code == E_INVALIDARG || code == E_NOTIMPL);
    return code;
}

// Two numbers that a call writes on success, and then only.
struct Pair {
    double x = kUntouched;
    double y = kUntouched;
    Result code = S_OK;

    template <class Call>
    static Pair Read(Call call) noexcept {
        Pair pair;
        pair.code = Known(call(&pair.x, &pair.y));
        REQUIRE(pair.code == S_OK || (pair.x == kUntouched && pair.y == kUntouched));
        return pair;
    }
    bool Is(double otherX, double otherY) const noexcept { return code == S_OK && Same(x, otherX) && Same(y, otherY); }
};

// Maps points by numbers of the input, or spoils them.
class Map final : public ITransform {
  public:
    explicit Map(Input& input) noexcept {
        std::generate(std::begin(m_factors), std::end(m_factors), [&] { return input.Number(); });
    }
    ~Map() { REQUIRE(m_references == 1); }

    Result QueryInterface(const IID&, void** out) noexcept override {
        *out = nullptr;
        return E_NOINTERFACE;
    }
    std::int32_t AddRef() noexcept override { return ++m_references; }
    std::int32_t Release() noexcept override { return --m_references; }
    Result TransformPoint(double* x, double* y, double* z) noexcept override {
        const double oldX = *x;
        *x = m_factors[0] * oldX + m_factors[1] * *y + m_factors[2];
        *y = m_factors[3] * oldX + m_factors[4] * *y + m_factors[5];
        *z += 1.0;
        return E_FAIL;  // What a transform answers is ignored.
    }

  private:
    double m_factors[6];
    std::int32_t m_references = 1;
};

struct Subject {
    std::string className;
    SmartPtr<IROI> roi;

    template <class Interface>
    SmartPtr<Interface> As() const noexcept {
        return SmartPtr<Interface>::QueryFrom(roi.Get());
    }
    bool Is(const char* name) const noexcept { return className == name; }
};

Subject Make(const std::string& className) { return {className, Modules().Create("figure", className).roi}; }

std::vector<Named> Parameters(const Subject& subject) {
    SmartPtr<INamedCollection> list;
    const auto parametric = subject.As<IParametricObject>();
    if (!parametric) {
        return {};
    }
    REQUIRE(parametric->GetParameters(list.Receive(), 0) == S_OK && list);
    return EntriesOf(*list);
}

const Named* Find(const std::vector<Named>& entries, std::wstring_view name) noexcept {
    const auto found = std::find_if(entries.begin(), entries.end(), [&](const Named& e) { return e.name == name; });
    return found != entries.end() ? &*found : nullptr;
}

int PointsOf(IROIProfile& profile) noexcept {
    int count = kUntouchedPixel;
    REQUIRE(profile.GetNumberPoints(&count) == S_OK);
    return count;
}

// ---------------------------------------------------------------------------------------------------
// Of every class

void CheckIdentity(const Subject& subject, Input& input) {
    static constexpr IID* kInterfaces[] = {&IID_IUnknown,
                                           &IID_IObjectInfo,
                                           &IID_IROI,
                                           &IID_IROIRectangle,
                                           &IID_IROIMask,
                                           &IID_IROIParallelogram,
                                           &IID_IROIEllipse,
                                           &IID_IROIDonut,
                                           &IID_IROIArcDonut,
                                           &IID_IROIProfile,
                                           &IID_IROIShape,
                                           &IID_IDataPersist,
                                           &IID_IParametricObject,
                                           &IID_IUIPropertyPageSpecify,
                                           &IID_IReplicableObject,
                                           &IID_ITransformableObject};
    const auto identity = subject.As<IUnknown>();
    for (const IID* iid : kInterfaces) {
        SmartPtr<IUnknown> answer;
        if (Known(subject.roi->QueryInterface(*iid, answer.ReceiveVoid())) == S_OK) {
            REQUIRE(SmartPtr<IUnknown>::QueryFrom(answer.Get()).Get() == identity.Get());
        } else {
            REQUIRE(!answer);
        }
    }
    IUnknown* any = nullptr;
    if (Known(subject.roi->QueryInterface(input.Raw<IID>(), reinterpret_cast<void**>(&any))) == S_OK) {
        any->Release();
    }
    REQUIRE(subject.roi->AddRef() == 3);  // One of its own, one of `identity`, this one.
    REQUIRE(subject.roi->Release() == 2);
}

void CheckHit(const Subject& subject, double x, double y) {
    int hit = kUntouchedPixel;
    const Result code = Known(subject.roi->HitTest(x, y, &hit));
    REQUIRE(code == subject.roi->HitTest(x, y, nullptr));
    if (subject.Is("ROIShape")) {
        REQUIRE(code == E_FAIL && hit == kUntouchedPixel);
    } else {
        REQUIRE(code == (hit != 0 ? S_OK : E_FAIL) && (hit == 0 || hit == 1));
        REQUIRE(hit == 0 || (!std::isnan(x) && !std::isnan(y)));
    }
}

struct Box {
    int left = 0;
    int top = 0;
    unsigned width = 0;
    unsigned height = 0;
    bool operator==(const Box&) const = default;
};

Box BoxOf(const Subject& subject) {
    Box boxes[2];
    for (Box& box : boxes) {
        Known(subject.roi->GetBoundingRect(&box.left, &box.top, &box.width, &box.height));
    }
    REQUIRE(boxes[0] == boxes[1]);
    return boxes[0];
}

bool HasImage(const Subject& subject) noexcept {
    SmartPtr<ICIF> image;
    return subject.As<IROIMask>() && subject.roi->GetMask(image.Receive()) == S_OK;
}

// Whether every corner of a profile's outline is a number that an image could have.
bool OutlineIsModest(const Subject& subject) noexcept {
    const auto profile = subject.As<IROIProfile>();
    for (int i = profile ? PointsOf(*profile) - 1 : -1; i >= 0; --i) {
        for (const ROIPROFILENode node : {kProfileCorner1, kProfileCorner2}) {
            const Pair corner = Pair::Read([&](double* x, double* y) { return profile->GetNodePoint(node, i, x, y); });
            if (!IsModest(corner.x) || !IsModest(corner.y)) {
                return false;
            }
        }
    }
    return true;
}

// The box in pixels lies where size and centre say, give or take the roundings.
void CheckBox(const Subject& subject) {
    const Box box = BoxOf(subject);
    double width = kUntouched;
    double height = kUntouched;
    const Result sized = Known(subject.roi->GetBoundingSize(&width, &height));
    REQUIRE(width != kUntouched && height != kUntouched);
    double x = kUntouched;
    double y = kUntouched;
    const Result centered = Known(subject.roi->GetCenter(&x, &y));
    const bool sheared = subject.Is("ROIParallelogram");  // Its size is that of the box before the shear.
    if (sized != S_OK || centered != S_OK || sheared || HasImage(subject) || !IsModest(width) || !IsModest(height) ||
        !IsModest(x) || !IsModest(y) || width < 0.0 || height < 0.0 || !OutlineIsModest(subject)) {
        return;
    }
    constexpr double kRoundings = 2.1;
    REQUIRE(std::abs(box.width - width) <= kRoundings && std::abs(box.height - height) <= kRoundings);
    REQUIRE(std::abs(box.left - (x - width / 2)) <= kRoundings && std::abs(box.top - (y - height / 2)) <= kRoundings);
}

// Not the few images that could be had, but take gigabytes and seconds.
bool IsAffordable(const Box& box) noexcept {
    const std::uint64_t area = std::uint64_t{box.width} * box.height;
    return area < 1u << 18 || area > 1u << 31;
}

void CheckMask(const Subject& subject) {
    const Box box = BoxOf(subject);
    if (!IsAffordable(box)) {
        return;
    }
    auto* const preset = reinterpret_cast<ICIF*>(alignof(double));
    ICIF* raw = preset;
    const Result code = Known(subject.roi->GetMask(&raw));
    if (raw == preset) {
        REQUIRE(code == E_NOTIMPL || (code == S_OK && (subject.Is("ROIParallelogram") || subject.Is("ROIShape"))));
        return;
    }
    const auto image = SmartPtr<ICIF>::Adopt(raw);
    REQUIRE(!image || code == S_OK);
    if (!image || subject.As<IROIMask>()) {
        return;
    }
    const ImagePixels pixels = PixelsOf(*image);
    for (int row = 0; row < pixels.height; ++row) {
        const unsigned char* const first = pixels.data + std::ptrdiff_t{row} * pixels.stride;
        REQUIRE(std::all_of(first, first + pixels.width, [](unsigned char v) { return v == 0 || v == 255; }));
    }
    if (subject.Is("ROIRectangle") && pixels.data != nullptr) {
        REQUIRE(pixels.width == static_cast<int>(box.width) && pixels.height == static_cast<int>(box.height));
    }
}

// ---------------------------------------------------------------------------------------------------
// Copies

void ComparePoints(IROIProfile& a, IROIProfile& b) {
    const int count = std::max(PointsOf(a), 0);
    REQUIRE(PointsOf(b) == count);
    for (int i = 0; i < count; ++i) {
        double p[4];
        double q[4];
        REQUIRE(a.GetPoint(i, &p[0], &p[1], nullptr, &p[2], &p[3]) == S_OK);
        REQUIRE(b.GetPoint(i, &q[0], &q[1], nullptr, &q[2], &q[3]) == S_OK);
        REQUIRE(std::equal(p, p + 4, q, [](double x, double y) { return Same(x, y); }));
    }
}

// The parameters that a copy does not have of its figure.
bool IsLeftBehind(const std::vector<Named>& original, std::wstring_view name) noexcept {
    const Named* const ratio = Find(original, L"FixedAspect");
    const Named* const shear = Find(original, L"Shear");
    const bool clamped = shear != nullptr && !(std::abs(shear->Number()) < 85.0);
    return name == L"RollGripLength" || name == L"LockA" ||
           (name == L"Height" && ratio != nullptr && ratio->Number() > 0.0) ||
           (clamped && (name == L"Shear" || name == L"A" || name == L"B"));
}

void CheckCopy(const Subject& subject, Subject& copy) {
    IUnknown* const preset = subject.roi.Get();
    IUnknown* raw = preset;
    const Result code = Known(subject.roi->Replicate(&raw));
    if (subject.Is("ROIEllipse") || subject.Is("ROIShape")) {
        REQUIRE(raw == preset && code == (subject.Is("ROIShape") ? S_OK : E_NOINTERFACE));
        return;
    }
    REQUIRE(code == S_OK && raw != preset);
    copy = {subject.className, SmartPtr<IROI>::QueryFrom(SmartPtr<IUnknown>::Adopt(raw).Get())};
    REQUIRE(copy.roi);
    const std::vector<Named> original = Parameters(subject);
    const std::vector<Named> copied = Parameters(copy);
    REQUIRE(original.size() == copied.size());
    for (std::size_t i = 0; i < original.size(); ++i) {
        REQUIRE(original[i].name == copied[i].name);
        REQUIRE(IsLeftBehind(original, original[i].name) || Same({original[i]}, {copied[i]}));
    }
    if (const auto profile = subject.As<IROIProfile>()) {
        ComparePoints(*profile, *copy.As<IROIProfile>());
    }
}

// ---------------------------------------------------------------------------------------------------
// Parameters and persistence

Named RandomEntry(std::wstring name, Input& input) {
    switch (input.Below(4)) {
        case 0:
            return {std::move(name), input.Integer()};
        case 1:
            return {std::move(name), input.Wide(input.Below(10))};
        default:
            return {std::move(name), input.Number()};
    }
}

void SetRandomParameters(const Subject& subject, Input& input) {
    const auto parametric = subject.As<IParametricObject>();
    if (!parametric) {
        return;
    }
    REQUIRE(parametric->SetParameters(nullptr) == E_INVALIDARG);
    const std::vector<Named> before = Parameters(subject);
    std::vector<Named> entries;
    for (const Named& entry : before) {
        if (input.Flag()) {
            entries.push_back(RandomEntry(entry.name, input));
        }
    }
    if (input.Flag()) {
        entries.push_back(RandomEntry(input.Wide(3), input));
    }
    REQUIRE(parametric->SetParameters(ListOf(entries).Get()) == S_OK);
    const std::vector<Named> after = Parameters(subject);
    REQUIRE(before.size() == after.size());
    // The one value that all classes but the profile store as it is given.
    const Named* const given = Find(entries, L"CenterX");
    const Named* const stored = Find(after, L"CenterX");
    if (given != nullptr && !std::holds_alternative<std::wstring>(given->value)) {
        REQUIRE(Same(stored->Number(), given->Number()));
    } else if (given == nullptr && stored != nullptr) {
        REQUIRE(Same(stored->Number(), Find(before, L"CenterX")->Number()));
    }
}

// Whether a loaded figure is the saved one: not one that leans far (loading changes it), and only as
// exactly as degrees turn into radians and back.
void CompareLoaded(const Subject& saved, const Subject& loaded) {
    const std::vector<Named> a = Parameters(saved);
    const std::vector<Named> b = Parameters(loaded);
    const Named* const shear = Find(a, L"Shear");
    double scale = 1.0;
    for (const Named& entry : a) {
        scale = std::max(scale, std::abs(entry.Number()));
        if (!IsModest(entry.Number())) {
            return;
        }
    }
    if (shear != nullptr && std::abs(shear->Number()) > 57.0) {
        return;
    }
    REQUIRE(a.size() == b.size());
    for (std::size_t i = 0; i < a.size(); ++i) {
        REQUIRE(a[i].name == b[i].name && std::abs(a[i].Number() - b[i].Number()) <= 1e-9 * scale);
    }
}

void SaveAndLoad(const Subject& subject, Input& input, Subject& loaded) {
    const auto persist = subject.As<IDataPersist>();
    if (!persist) {
        return;
    }
    const auto document = std::make_shared<pugi::xml_document>();
    const auto archive = std::make_shared<FolderArchive>();
    const pugi::xml_node set = document->append_child("set");
    const pugi::xml_node element = document->first_child().append_child("figure");
    const bool xml = input.Flag();
    Known(persist->Save((xml ? MakeXMLStream(document, element) : MakeFolderStream(archive, "a")).Get(), 0));
    loaded = Make(subject.className);
    const auto source = xml ? MakeXMLStream(document, set) : MakeFolderStream(archive, "a");
    const Result code = Known(loaded.As<IDataPersist>()->Load(source.Get(), 0));
    const auto profile = subject.As<IROIProfile>();
    REQUIRE(code == (xml && profile ? E_FAIL : S_OK));
    if (xml && (profile || subject.Is("ROIEllipse"))) {
        return;  // The one is not kept, the other in whole numbers.
    }
    if (profile) {
        ComparePoints(*profile, *loaded.As<IROIProfile>());
    } else {
        CompareLoaded(subject, loaded);
    }
}

// Blocks that no profile saved.
void LoadForgedBlocks(const Subject& subject, Input& input) {
    const auto persist = subject.As<IDataPersist>();
    if (!persist) {
        return;
    }
    const auto archive = std::make_shared<FolderArchive>();
    // Counts in between are accepted, and fill memory with what no block holds.
    const std::uint32_t count = input.Flag() ? input.Raw<std::uint16_t>() : 0x1000001u + input.Raw<std::uint32_t>() / 2;
    archive->Put("NumberPoints", BlockOf({reinterpret_cast<const char*>(&count), sizeof count}));
    archive->Put("Points", BlockOf(input.Bytes(input.Byte())));
    const auto profile = subject.As<IROIProfile>();
    const int before = profile ? PointsOf(*profile) : 0;
    const Result code = Known(persist->Load(MakeFolderStream(archive, "").Get(), 0));
    if (profile) {
        REQUIRE(code == (count <= 0xFFFF ? S_OK : E_FAIL));
        REQUIRE(PointsOf(*profile) == (code == S_OK ? static_cast<int>(count) : before));
        while (PointsOf(*profile) > 64) {
            profile->RemovePoint(PointsOf(*profile) - 1);
        }
    }
}

void CheckPages(const Subject& subject, Input& input) {
    const auto specify = subject.As<IUIPropertyPageSpecify>();
    SmartPtr<INamedCollection> pages;
    IUnknown* context = subject.roi.Get();
    if (specify) {
        REQUIRE(specify->GetPages(input.Integer(), pages.Receive(), &context) == S_OK);
        REQUIRE(SmartPtr<IPageListing>::QueryFrom(pages.Get())->GetCount() == 1 && context == subject.roi.Get());
    }
}

// ---------------------------------------------------------------------------------------------------
// Of single classes

template <class Rolled>
void EditRolled(Rolled& figure, Input& input) {
    const double a = input.Number();
    const double b = input.Number();
    switch (input.Below(4)) {
        case 0:
            REQUIRE(figure.SetSize(a, b) == S_OK);
            REQUIRE(Pair::Read([&](double* w, double* h) { return figure.GetSize(w, h); }).Is(a, b));
            break;
        case 1: {
            double roll = 0.0;
            REQUIRE(figure.put_Roll(a) == S_OK && figure.get_Roll(&roll) == S_OK && Same(roll, a));
            break;
        }
        case 2:
            Known(figure.SetCornerPoint(input.Integer(), a, b));
            break;
        default:
            REQUIRE(figure.SetCenter(a, b) == S_OK);
            REQUIRE(Pair::Read([&](double* x, double* y) { return figure.GetCenter(x, y); }).Is(a, b));
    }
}

void EditRectangle(IROIRectangle& figure, Input& input) {
    const int node = input.Integer();
    const auto corner = static_cast<ROICorner>(node);
    const Pair exact = Pair::Read([&](double* x, double* y) { return figure.GetCornerPoint(corner, x, y); });
    int x = kUntouchedPixel;
    int y = kUntouchedPixel;
    REQUIRE(figure.GetCornerPointI(corner, &x, &y) == exact.code);
    REQUIRE(exact.code == (node >= 1 && node <= 10 ? S_OK : E_INVALIDARG));
    REQUIRE(exact.code == S_OK || (x == kUntouchedPixel && y == kUntouchedPixel));
    if (exact.code == S_OK && IsModest(exact.x) && IsModest(exact.y)) {
        REQUIRE(x == Rounded(exact.x) && y == Rounded(exact.y));
    }
    if (input.Flag()) {
        const Pair size = Pair::Read([&](double* w, double* h) { return figure.GetSize(w, h); });
        const double ratio = input.Number();
        double stored = 0.0;
        REQUIRE(figure.SetAspectRatio(ratio) == S_OK);
        REQUIRE(figure.GetAspectRatio(&stored) == S_OK && Same(stored, ratio));
        const double height = ratio > 0.0 ? size.x / ratio : size.y;
        REQUIRE(Pair::Read([&](double* w, double* h) { return figure.GetSize(w, h); }).Is(size.x, height));
    }
    EditRolled(figure, input);
}

void EditParallelogram(IROIParallelogram& figure, Input& input) {
    const int node = input.Integer();
    const Pair exact =
        Pair::Read([&](double* x, double* y) { return figure.GetCornerPoint(static_cast<ROICorner>(node), x, y); });
    REQUIRE(exact.code == (node >= 1 && node <= 11 ? S_OK : E_INVALIDARG));
    const double value = input.Number();
    double stored = 0.0;
    const Pair size = Pair::Read([&](double* w, double* h) { return figure.GetSize(w, h); });
    switch (input.Below(4)) {
        case 0:
            REQUIRE(figure.put_A(value) == S_OK && figure.get_A(&stored) == S_OK);
            break;
        case 1:
            REQUIRE(figure.put_B(value) == S_OK && figure.get_B(&stored) == S_OK);
            REQUIRE(Same(Pair::Read([&](double* w, double* h) { return figure.GetSize(w, h); }).x, size.x));
            break;
        case 2: {
            const short keepA = static_cast<short>(input.Integer());
            REQUIRE(figure.put_Shear(value, keepA) == S_OK && figure.get_Shear(&stored) == S_OK);
            REQUIRE(std::isnan(value) ? std::isnan(stored) : Same(stored, std::clamp(value, -1.5, 1.5)));
            const Pair now = Pair::Read([&](double* w, double* h) { return figure.GetSize(w, h); });
            REQUIRE(Same(now.y, size.y) && (keepA != 0 || Same(now.x, size.x)));
            break;
        }
        default:
            EditRolled(figure, input);
    }
}

void EditEllipse(IROIEllipse& figure, Input& input) {
    const int node = input.Integer();
    const double a = input.Number();
    const double b = input.Number();
    const auto read = [&] { return Pair::Read([&](double* x, double* y) { return figure.GetNode(node, x, y); }); };
    if (input.Flag()) {
        REQUIRE(figure.SetRadius(a, b) == S_OK);
        REQUIRE(Pair::Read([&](double* x, double* y) { return figure.GetRadius(x, y); }).Is(a, b));
    } else {
        REQUIRE(figure.SetNode(node, a, b) == S_OK);
    }
    const Pair now = read();
    REQUIRE((node == 5 || node == 6) == (now.x == kUntouched && now.y == kUntouched));
}

void EditRing(IROIArcDonut& figure, Input& input) {
    const int node = input.Integer();
    const double a = input.Number();
    const double b = input.Number();
    switch (input.Below(3)) {
        case 0:
            REQUIRE(figure.SetRadius(node, a, b) == S_OK);
            REQUIRE(
                Pair::Read([&](double* x, double* y) { return figure.GetRadius(node == 0 ? 0 : -1, x, y); }).Is(a, b));
            break;
        case 1: {
            double start = kUntouched;
            REQUIRE(figure.SetLimits(a, b) == S_OK);
            REQUIRE(Pair::Read([&](double* x, double* y) { return figure.GetLimits(x, y); }).Is(a, b));
            REQUIRE(figure.GetLimits(nullptr, nullptr) == S_OK);
            REQUIRE(figure.GetLimits(&start, nullptr) == S_OK && Same(start, a));
            break;
        }
        default:
            REQUIRE(figure.SetNode(node, a, b) == S_OK);
    }
    REQUIRE(Pair::Read([&](double* x, double* y) { return figure.GetNode(node, x, y); }).code == S_OK);
}

void EditMask(IROIMask& figure, Input& input) {
    const auto image = CreateComponent<ICIFImageCANVAS>(Text(L"CIFImageCANVAS"));
    const int width = input.Byte();
    const int height = input.Byte();
    const bool made = image->Create(width, height, 1, 8, kFormatMono) == S_OK;
    REQUIRE(made == (width > 0 && height > 0));
    REQUIRE(figure.SetMask(image.Get(), input.Integer()) == S_OK && image->AddRef() == 3 && image->Release() == 2);
    SmartPtr<ICIF> mask;
    REQUIRE(figure.GetMask(mask.Receive()) == S_OK && mask.Get() == image.Get());
    Box box;
    REQUIRE(figure.GetBoundingRect(&box.left, &box.top, &box.width, &box.height) == S_OK);
    REQUIRE(!made || (box.width == static_cast<unsigned>(width) && box.height == static_cast<unsigned>(height)));
    if (input.Flag()) {
        mask.Reset();
        REQUIRE(figure.SetMask(nullptr, 0) == S_OK && figure.GetMask(mask.Receive()) == E_FAIL && !mask);
        REQUIRE(image->AddRef() == 2 && image->Release() == 1);
    }
}

void EditShape(const Subject& subject, IROIShape& figure, Input& input) {
    const auto store = CreateComponent<IPointsStore>(Text(L"Assembly"));
    const double xy[] = {input.Number(), input.Number(), input.Number(), input.Number()};
    const bool taken = store->SetPoints(xy, input.Below(3)) == S_OK;
    const auto geometry = input.Flag() ? SmartPtr<IGeometry>::QueryFrom(store.Get()) : nullptr;
    REQUIRE(figure.SetGeometry(geometry.Get()) == S_OK);
    double x = kUntouched;
    double y = kUntouched;
    const Result code = Known(figure.GetCenter(&x, &y));
    REQUIRE(code == (taken && geometry ? S_OK : E_FAIL) && (code == S_OK || (x == 0.0 && y == 0.0)));
    REQUIRE(figure.GetCenter(nullptr, nullptr) == code);
    CheckBox(subject);
}

void EditProfile(IROIProfile& figure, Input& input) {
    const int before = PointsOf(figure);
    const int size = std::max(before, 0);
    const int index = input.Integer();
    const bool inside = index >= 0 && index < size;
    const bool insideOrEnd = index >= 0 && index <= size;
    const double a = input.Number();
    const double b = input.Number();
    const auto point = [&] {
        return Pair::Read(
            [&](double* x, double* y) { return figure.GetPoint(index, x, y, nullptr, nullptr, nullptr); });
    };
    int expected = before;
    switch (input.Below(9)) {
        case 0:
            REQUIRE(figure.AddPoint(a, b) == S_OK);
            expected = before + 1;
            break;
        case 1:
            REQUIRE(figure.InsertPoint(index, a, b) == S_OK);
            expected = before + 1;
            REQUIRE(!insideOrEnd || before < 0 || point().Is(a, b));
            break;
        case 2:
            REQUIRE(figure.RemovePoint(index) == (insideOrEnd ? S_OK : E_INVALIDARG));
            expected = insideOrEnd ? before - 1 : before;
            break;
        case 3:
            REQUIRE(figure.SetPoint(index, a, b) == (insideOrEnd ? S_OK : E_INVALIDARG));
            REQUIRE(!inside || point().Is(a, b));
            break;
        case 4:
            REQUIRE(figure.SetThickness(index, a, b) == (inside ? S_OK : E_INVALIDARG));
            REQUIRE(!inside ||
                    Pair::Read([&](double* s, double* t) { return figure.GetThickness(index, s, t); }).Is(a, b));
            break;
        case 5:
            REQUIRE(figure.SetUniformThickness(a, b) == S_OK && figure.Fit(a, index) == S_OK);
            break;
        case 6: {
            const auto node = static_cast<ROIPROFILENode>(input.Integer());
            const Pair exact = Pair::Read([&](double* x, double* y) { return figure.GetNodePoint(node, index, x, y); });
            REQUIRE(inside || exact.code == E_INVALIDARG);
            int x = kUntouchedPixel;
            int y = kUntouchedPixel;
            REQUIRE(figure.GetNodePointI(node, index, &x, &y) == S_OK);
            REQUIRE(exact.code == S_OK || (x == 0 && y == 0));
            break;
        }
        case 7:
            Known(figure.SetNodePoint(static_cast<ROIPROFILENode>(input.Integer()), index, a, b));
            break;
        default: {
            double angle = kUntouched;
            const Result code = figure.GetPoint(index, nullptr, nullptr, &angle, nullptr, nullptr);
            REQUIRE(code == (insideOrEnd ? S_OK : E_INVALIDARG) && (insideOrEnd || angle == kUntouched));
        }
    }
    REQUIRE(PointsOf(figure) == expected);  // Also below zero, to where an empty profile counts down.
}

void Edit(const Subject& subject, Input& input) {
    if (const auto rectangle = subject.As<IROIRectangle>()) {
        EditRectangle(*rectangle, input);
    }
    if (const auto mask = subject.As<IROIMask>()) {
        EditMask(*mask, input);
    }
    if (const auto parallelogram = subject.As<IROIParallelogram>()) {
        EditParallelogram(*parallelogram, input);
    }
    if (const auto ellipse = subject.As<IROIEllipse>()) {
        EditEllipse(*ellipse, input);
    }
    if (const auto ring = subject.As<IROIArcDonut>()) {
        EditRing(*ring, input);
    }
    if (const auto profile = subject.As<IROIProfile>()) {
        EditProfile(*profile, input);
    }
    if (const auto shape = subject.As<IROIShape>()) {
        EditShape(subject, *shape, input);
    }
}

// ---------------------------------------------------------------------------------------------------

void Step(std::array<Subject, 3>& subjects, Input& input) {
    static const std::vector<std::string> classes = Modules().Classes();
    Subject& subject = subjects[static_cast<std::size_t>(input.Below(3))];
    Subject& other = subjects[static_cast<std::size_t>(input.Below(3))];
    const auto kind = input.Byte();
    if (!subject.roi || kind >= 240) {
        subject = Make(classes[input.Byte() % classes.size()]);
        return;
    }
    Subject result;
    switch (kind % 16) {
        case 0:
            CheckIdentity(subject, input);
            break;
        case 1: {
            const double x = input.Number();
            Known(subject.roi->SetCenter(x, input.Number()));
            break;
        }
        case 2: {
            const double x = input.Number();
            CheckHit(subject, x, input.Number());
            break;
        }
        case 3: {
            Map map(input);
            REQUIRE(subject.roi->Transform(&map) == S_OK);
            break;
        }
        case 4:
            REQUIRE(subject.roi->Transform(nullptr) == (subject.Is("ROIShape") ? S_OK : E_INVALIDARG));
            CheckPages(subject, input);
            break;
        case 5:
            CheckCopy(subject, result);
            break;
        case 6:
            CheckMask(subject);
            break;
        case 7:
            SetRandomParameters(subject, input);
            break;
        case 8:
            SaveAndLoad(subject, input, result);
            break;
        case 9:
            LoadForgedBlocks(subject, input);
            break;
        case 10:
            CheckBox(subject);
            break;
        default:
            Edit(subject, input);
    }
    if (result.roi) {
        other = std::move(result);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const NothingLeft nothingLeft;
    Input input(data, size);
    std::array<Subject, 3> subjects;
    for (int i = 0; i < 400 && !input.AtEnd(); ++i) {
        Step(subjects, input);
    }
    return 0;
}
