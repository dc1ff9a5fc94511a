// What figures ask of the framework, call by call, and that they stand what it does not give.
#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>

#include "check/FigureLists.h"
#include "check/Groups.h"
#include "check/Scenario.h"
#include "framework/support/Utf8.h"

namespace {

// What was called, in order: `Create(60, 60, 1, 8, MONO)`.
using Log = std::vector<std::string>;

std::string TextOf(const Log& log) { return fmt::format("{}", fmt::join(log, " ")); }

std::string TextOf(IString* string) {
    tagREFString text{0, nullptr};
    string->GetText(&text.text, &text.length);
    return ToUtf8(text);
}

// An image that notes what is done to it.
class NotedImage final : public Lent<ICIFImageCANVAS> {
  public:
    explicit NotedImage(Log& log) noexcept : m_log(log) {}

    Result QueryInterface(const IID& iid, void** out) noexcept override {
        return Lent::QueryInterface(iid == IidOf<ICIF>() ? IidOf<ICIFImageCANVAS>() : iid, out);
    }
    // Fails, which is not to matter, and gives an extra of the size that others give.
    Result GetSize(int* width, int* height, int* extra) noexcept override {
        *width = 20;
        *height = 30;
        if (extra != nullptr) {
            *extra = 1;
        }
        return S_OK;
    }
    Result Create(int width, int height, int planes, int bits, std::uint32_t format) noexcept override {
        m_log.push_back(fmt::format("Create({}, {}, {}, {}{})", width, height, planes, bits,
                                    format == kFormatMono ? ", MONO" : ""));
        return E_FAIL;
    }
    Result Fill(int value) noexcept override {
        m_log.push_back(fmt::format("Fill({})", value));
        return E_FAIL;
    }

  private:
    Log& m_log;
};

class NotedGraphics final : public Lent<ICIFGraphics> {
  public:
    explicit NotedGraphics(Log& log) noexcept : m_log(log) {}

    Result Attach(ICIF* image) noexcept override {
        m_log.push_back(image != nullptr ? "Attach" : "Attach(null)");
        return E_FAIL;
    }
    Result SetColor(int value) noexcept override { return Note("SetColor({})", value); }
    Result Line(float x1, float y1, float x2, float y2) noexcept override {
        return Note("Line({}, {}, {}, {})", x1, y1, x2, y2);
    }
    Result FloodFill(int x, int y, int mode) noexcept override { return Note("FloodFill({}, {}, {})", x, y, mode); }
    Result Arc(float cx, float cy, float rx, float ry, float start, float end, int mode) noexcept override {
        return Note("Arc({}, {}, {}, {}, {}, {}, {})", cx, cy, rx, ry, start, end, mode);
    }

  private:
    template <class... Arguments>
    Result Note(fmt::format_string<Arguments&...> format, Arguments... arguments) {
        m_log.push_back(fmt::format(format, arguments...));
        return E_FAIL;
    }

    Log& m_log;
};

// A parameter list without entries that notes the flags it is saved and loaded with, and the names it is asked for.
class NotedList final : public Lent<IParametersCreatable, IDataPersist> {
  public:
    Log log;
    Log sought;

    Result GetItem(int, IUnknown** item) noexcept override {
        *item = nullptr;
        return E_FAIL;
    }
    Result FindByName(IString* name, int*) noexcept override {
        if (const std::string text = TextOf(name); sought.empty() || sought.back() != text) {
            sought.push_back(text);
        }
        return E_FAIL;
    }
    Result Add(IString* name, IUnknown*, int reserved, int) noexcept override {
        if (reserved != 0) {
            log.push_back(fmt::format("Add({}, {})", TextOf(name), reserved));
        }
        return E_FAIL;
    }
    Result Save(IDataStream*, int flags) noexcept override {
        log.push_back(fmt::format("Save({})", flags));
        return E_FAIL;
    }
    Result Load(IDataStream*, int flags) noexcept override {
        log.push_back(fmt::format("Load({})", flags));
        return E_FAIL;
    }
};

// The descriptor of the parameter lists, which makes the one noted list. The module keeps it for good, so it is never
// destroyed.
class NotedDescriptor final : public Lent<IComponentString> {
  public:
    NotedList list;
    bool makes = false;

    static NotedDescriptor& Get() {
        static auto* const descriptor = new NotedDescriptor;
        return *descriptor;
    }
    Result CreateInstance(const IID& iid, void** out) noexcept override {
        *out = nullptr;
        return makes && iid == IID_IParametersCreatable ? list.QueryInterface(iid, out) : E_FAIL;
    }
    Result SetString(int, tagREFString) noexcept override { return S_OK; }
};

// A folder that notes the blocks it is asked for. It has a count of 2 and fails otherwise, which is not to matter.
class NotedFolder final : public Lent<IDataStream, IFolderStream> {
  public:
    Log log;

    Result WriteBinary(IString* name, const void* /*data*/, int bytes, int reserved) noexcept override {
        return Note("Write", name, bytes, reserved);
    }
    Result ReadBinary(IString* name, void* data, int bytes, int reserved) noexcept override {
        const Result code = Note("Read", name, bytes, reserved);
        if (bytes != sizeof(std::int32_t)) {
            return code;
        }
        *static_cast<std::int32_t*>(data) = 2;
        return S_OK;
    }

  private:
    Result Note(const char* what, IString* name, int bytes, int reserved) {
        log.push_back(fmt::format("{}({}, {}, {})", what, TextOf(name), bytes, reserved));
        return E_FAIL;
    }
};

// A stream of both kinds that notes the values it is given as texts, where its list is noted too, and has no children.
class NotedDocument final : public Lent<IDataStream, IXMLStream, IFolderStream> {
  public:
    explicit NotedDocument(Log& log) noexcept : m_log(log) {}

    Result WriteValue(IString* name, int reserved, IString* value, int reserved2) noexcept override {
        m_log.push_back(fmt::format("{}({}, {}, {})", TextOf(name), reserved, TextOf(value), reserved2));
        return E_FAIL;
    }
    Result NextChild(tagREFString* /*name*/) noexcept override {
        m_log.push_back("NextChild");
        return E_FAIL;
    }
    Result OpenChild(tagREFString, tagREFString*, IUnknown**, int) noexcept override { return E_FAIL; }
    Result WriteBinary(IString*, const void*, int, int) noexcept override { return E_FAIL; }
    Result ReadBinary(IString*, void*, int, int) noexcept override { return E_FAIL; }

  private:
    Log& m_log;
};

// The host's collection: gives what it is told to give, and notes what it is asked for.
class NotedComponents final : public Lent<IComponentCollection> {
  public:
    Log asked;
    Log drawn;
    bool givesList = false, givesImage = false, givesGraphics = false;
    IComponentCollection* figures = nullptr;
    NotedImage image{drawn};
    NotedGraphics graphics{drawn};

    Result GetItem(int index, IUnknown** item) noexcept override {
        *item = nullptr;
        return givesList && index == 3
                   ? NotedDescriptor::Get().QueryInterface(IID_IUnknown, reinterpret_cast<void**>(item))
                   : E_FAIL;
    }
    Result FindByName(IString* name, int* index) noexcept override {
        asked.push_back("find " + TextOf(name));
        *index = 3;
        return givesList ? S_OK : E_FAIL;
    }
    Result CreateComponent(tagREFString className, const IID& iid, void** out) noexcept override {
        static const std::pair<std::string_view, IID> kWanted[] = {{"CIFImageCANVAS", IID_ICIFImageCANVAS},
                                                                   {"CIFGraphics", IID_ICIFGraphics},
                                                                   {"ROIRectangle", IID_IROIRectangle},
                                                                   {"ParametersCreatable", IID_IParametersCreatable}};
        const std::string name = ToUtf8(className);
        const bool known = std::find(std::begin(kWanted), std::end(kWanted), std::pair(std::string_view(name), iid)) !=
                           std::end(kWanted);
        asked.push_back(known ? name : name + " as another interface");
        *out = nullptr;
        if (name == "CIFImageCANVAS" && givesImage) {
            return image.QueryInterface(iid, out);
        }
        if (name == "CIFGraphics" && givesGraphics) {
            return graphics.QueryInterface(iid, out);
        }
        if (name == "ParametersCreatable" && givesList) {
            return NotedDescriptor::Get().CreateInstance(iid, out);
        }
        return name == "ROIRectangle" && figures != nullptr ? figures->CreateComponent(className, iid, out) : E_FAIL;
    }
};

// Puts a collection in place of the framework's while it lives.
class Hosted {
  public:
    Hosted(Checks& checks, IComponentCollection* components) : m_checks(checks) {
        m_checks.module.Initialize(components);
    }
    ~Hosted() { m_checks.module.Initialize(&m_checks.module.Components()); }
    Hosted(const Hosted&) = delete;
    Hosted& operator=(const Hosted&) = delete;

  private:
    Checks& m_checks;
};

// ---------------------------------------------------------------------------------------------------
// Lists

void CheckWithoutLists(Checks& checks, const ClassContract& figure) {
    if (!figure.Answers("IParametricObject")) {
        return;
    }
    checks.Begin(fmt::format("GetParameters and Load of {} fail where the host has no lists", figure.name));
    const auto roi = checks.module.New<IROI>(figure);
    NotedComponents components;
    const Hosted hosted(checks, &components);
    SmartPtr<INamedCollection> list;
    const Result code = Require<IParametricObject>(roi)->GetParameters(list.Receive(), 0);
    checks.Expect(Failed(code) && !list, "a failure and no list", CodeText(code));
    checks.Equal(TextOf(components.asked), "find ParametersCreatable");
    checks.Equal(components.references, 2);
}

// The order in which a class looks its parameters up.
struct Sought {
    const char* className;
    const char* names;
};
constexpr Sought kSought[] = {
    {"ROIDonut", "CenterX CenterY RadiusX1 RadiusY1 RadiusX2 RadiusY2 StartAngle DeltaAngle"},
    {"ROIArcDonut", "CenterX CenterY Radius1X Radius1Y Radius2X Radius2Y StartAngle DeltaAngle"},
    {"ROIEllipse", "CenterX CenterY RadiusX RadiusY"},
    {"ROIParallelogram", "Width Height Roll LockA Shear CenterX CenterY RollGripLength"},
    {"ROIRectangle", "Width Height Angle CenterX CenterY FixedAspect RollGripLength"},
    {"ROIShape", ""}};

// Saving passes the flags on, loading passes 0.
void CheckFlags(Checks& checks, const Sought& sought) {
    const ClassContract& figure = ClassNamed(sought.className);
    const std::string_view name = figure.name;
    checks.Begin(fmt::format("Save of {} passes its flags on to the list, Load does not", figure.name));
    NotedDescriptor& descriptor = NotedDescriptor::Get();
    descriptor.makes = true;
    descriptor.list.log.clear();
    descriptor.list.sought.clear();
    NotedComponents components;
    components.givesList = true;
    const auto roi = checks.module.New<IROI>(figure);
    const auto persist = Require<IDataPersist>(roi);
    NotedFolder folder;
    {
        const Hosted hosted(checks, &components);
        checks.Code(persist->Save(&folder, 5), S_OK);
        components.asked.clear();
        checks.Code(persist->Load(&folder, 6), S_OK);
    }
    checks.Equal(TextOf(descriptor.list.log), "Save(5) Load(0)");
    // The others find the descriptor by its name, if they have not kept it.
    if (!components.asked.empty() || name == "ROIParallelogram") {
        checks.Equal(TextOf(components.asked),
                     name == "ROIParallelogram" ? "ParametersCreatable" : "find ParametersCreatable");
    }
    checks.Equal(folder.references, 1);
    checks.Equal(descriptor.list.references, 1);
    checks.Begin(fmt::format("{} looks its parameters up in order", figure.name));
    checks.Equal(TextOf(descriptor.list.sought), sought.names);
    descriptor.makes = false;
}

// Both forms, one after the other.
void CheckBothForms(Checks& checks) {
    checks.Begin("an ellipse is kept as texts and as a list in a stream of both kinds");
    NotedDescriptor& descriptor = NotedDescriptor::Get();
    descriptor.makes = true;
    descriptor.list.log.clear();
    const auto roi = NewTypical(checks, ClassNamed("ROIEllipse"));
    const auto persist = Require<IDataPersist>(roi);
    NotedDocument document(descriptor.list.log);
    checks.Code(persist->Save(&document, 5), S_OK);
    checks.Code(persist->Load(&document, 6), S_OK);
    checks.Equal(TextOf(descriptor.list.log),
                 "CenterX(0, 40.5, 0) CenterY(0, -12.75, 0) RadiusX(0, 21.25, 0) RadiusY(0, 9.5, 0) Save(5) "
                 "NextChild Load(0)");
    checks.Equal(document.references, 1);
    descriptor.makes = false;
}

void CheckBlocks(Checks& checks) {
    checks.Begin("a profile saves its count and its points, and asks for them, whatever the folder answers");
    const ClassContract& figure = ClassNamed("ROIProfile");
    const auto roi = NewTypical(checks, figure);
    NotedFolder folder;
    checks.Code(Require<IDataPersist>(roi)->Save(&folder, 5), S_OK);
    checks.Equal(TextOf(folder.log), "Write(NumberPoints, 4, 0) Write(Points, 144, 0)");
    folder.log.clear();
    checks.Code(Require<IDataPersist>(checks.module.New<IROI>(figure))->Save(&folder, 5), S_OK);
    checks.Equal(TextOf(folder.log), "Write(NumberPoints, 4, 0) Write(Points, 0, 0)");
    folder.log.clear();
    checks.Code(Require<IDataPersist>(roi)->Load(&folder, 5), S_OK);
    checks.Equal(TextOf(folder.log), "Read(NumberPoints, 4, 0) Read(Points, 96, 0)");
    checks.Equal(folder.references, 1);
}

// ---------------------------------------------------------------------------------------------------
// Masks

struct Drawing {
    const char* className;
    std::vector<Step> setup;
    const char* drawn;
};

const std::vector<Drawing>& Drawings() {
    static const std::vector<Step> kRing = {
        {"SetRadius", {0, 12.3, 20.7}}, {"SetRadius", {1, 35.4, 25.2}}, {"SetCenter", {40, 70}}, {"SetLimits", {1, 2}}};
    static const char* const kRingDrawn =
        "Create(71, 50, 1, 8, MONO) Fill(0) Attach SetColor(255) Arc(35, 25, 12.3, 20.7, 0, 6.2831855, -1) "
        "Arc(35, 25, 35.4, 25.2, 0, 6.2831855, -1) FloodFill(58, 25, 0)";
    static const std::vector<Drawing> kDrawings = {
        {"ROIDonut", kRing, kRingDrawn},
        {"ROIArcDonut", kRing, kRingDrawn},
        {"ROIDonut",
         {{"SetRadius", {0, 36.1, 20.7}}, {"SetRadius", {1, 12.3, 25.4}}},
         "Create(72, 51, 1, 8, MONO) Fill(0) Attach SetColor(255) Arc(36, 25, 36.1, 20.7, 0, 6.2831855, -1) "
         "Arc(36, 25, 12.3, 25.4, 0, 6.2831855, -1) FloodFill(60, 25, 0)"},
        {"ROIRectangle",
         {{"SetSize", {61.5, 33.25}}, {"SetCenter", {40.5, -12.75}}, {"put_Roll", {0.3}}},
         "Create(70, 51, 1, 8, MONO) Attach SetColor(255) Line(0, 32, 10, 0) Line(10, 0, 69, 18) Line(69, 18, 59, 50) "
         "Line(59, 50, 0, 32) FloodFill(35, 25, 0)"},
        {"ROIRectangle",
         {{"SetSize", {60, 30}}, {"SetCenter", {40, 70}}, {"put_Roll", {0.6435011087932844}}},
         "Create(67, 61, 1, 8, MONO) Attach SetColor(255) Line(0, 24, 18, 0) Line(18, 0, 66, 36) Line(66, 36, 48, 60) "
         "Line(48, 60, 0, 24) FloodFill(33, 30, 0)"}};
    return kDrawings;
}

SmartPtr<IROI> NewFor(Checks& checks, const Drawing& drawing) {
    const ClassContract& figure = ClassNamed(drawing.className);
    auto roi = checks.module.New<IROI>(figure);
    TakeSteps(checks, figure, roi, drawing.setup);
    return roi;
}

void CheckDrawing(Checks& checks, const Drawing& drawing) {
    checks.Begin(fmt::format("{} has its mask drawn by the host's components", drawing.className));
    NotedComponents components;
    components.givesImage = components.givesGraphics = true;
    auto roi = NewFor(checks, drawing);
    const Hosted hosted(checks, &components);
    SmartPtr<ICIF> mask;
    checks.Code(roi->GetMask(mask.Receive()), S_OK);
    checks.Equal(TextOf(components.drawn), drawing.drawn);
    checks.Equal(TextOf(components.asked), "CIFImageCANVAS CIFGraphics");
    checks.Equal(components.graphics.references, 1);
    checks.Equal(components.references, 2);
    mask.Reset();
    roi.Reset();
    checks.Equal(components.image.references, 1);
}

// A ring that could not draw tries again the next time.
void CheckWithoutDrawing(Checks& checks, const Drawing& drawing, bool givesImage) {
    checks.Begin(fmt::format("GetMask of {} fails without {}, and succeeds the next time", drawing.className,
                             givesImage ? "a drawing object" : "an image"));
    NotedComponents components;
    components.givesImage = givesImage;
    auto roi = NewFor(checks, drawing);
    {
        const Hosted hosted(checks, &components);
        const Answer refused = Call(*roi, ClassNamed(drawing.className).At("GetMask"), {});
        checks.Code(refused.code, E_FAIL);
        const bool mayNull = givesImage || std::string_view(drawing.className) != "ROIRectangle";
        checks.Expect(!refused.object && (mayNull || refused.outputs[0] == kUntouched),
                      mayNull ? "no image" : "an untouched output", refused.Text());
        checks.Equal(components.image.references, 1);
        components.givesImage = components.givesGraphics = true;
        SmartPtr<ICIF> mask;
        checks.Code(roi->GetMask(mask.Receive()), S_OK);
    }
    roi.Reset();
    checks.Equal(components.image.references, 1);
}

// ---------------------------------------------------------------------------------------------------
// The mask's rectangle and image

void CheckInnerRectangle(Checks& checks) {
    checks.Begin("a mask has its rectangle made by the host's collection");
    NotedComponents components;
    components.figures = &checks.module.Components();
    const Hosted hosted(checks, &components);
    const ClassContract& figure = ClassNamed("ROIMask");
    const auto roi = checks.module.New<IROI>(figure);
    checks.Equal(TextOf(components.asked), "ROIRectangle");
    SmartPtr<IUnknown> copy;
    checks.Code(roi->Replicate(copy.Receive()), S_OK);
    checks.Equal(TextOf(components.asked), "ROIRectangle ROIRectangle");
}

// It may refuse to be created at all.
void CheckWithoutRectangle(Checks& checks) {
    checks.Begin("a mask without its rectangle fails and writes nothing");
    NotedComponents components;
    const Hosted hosted(checks, &components);
    const ClassContract& figure = ClassNamed("ROIMask");
    void* object = nullptr;
    if (Failed(checks.module.Create(figure, IID_IROI, &object))) {
        checks.Expect(object == nullptr, "no object", "an object");
        return;
    }
    const auto roi = SmartPtr<IROI>::Adopt(static_cast<IROI*>(object));
    const Step steps[] = {{"GetBoundingSize", {}, {kUntouched, kUntouched}, E_FAIL},
                          {"GetCenter", {}, {kUntouched, kUntouched}, E_FAIL},
                          {"SetCenter", {1, 2}, {}, E_FAIL},
                          {"Transform", {2, 0, 0, 3, 0, 0}, {}, E_FAIL},
                          {"HitTest", {50, 50}, {kAnything}, E_FAIL},
                          {"SetMask", {7, 9, 0}},
                          {"GetBoundingRect", {}, {kUntouched, kUntouched, kUntouched, kUntouched}, E_FAIL},
                          {"GetSize", {}, {kUntouched, kUntouched}, E_FAIL},
                          {"SetSize", {1, 2}, {}, E_FAIL},
                          {"get_Roll", {}, {kUntouched}, E_FAIL},
                          {"put_Roll", {1}, {}, E_FAIL},
                          {"GetCornerPoint", {1}, {kUntouched, kUntouched}, E_FAIL},
                          {"GetCornerPointI", {1}, {kUntouched, kUntouched}, E_FAIL},
                          {"SetCornerPoint", {1, 2, 3}, {}, E_FAIL},
                          {"GetAspectRatio", {}, {kUntouched}, E_FAIL},
                          {"SetAspectRatio", {1}, {}, E_FAIL}};
    TakeSteps(checks, figure, roi, steps);
    Call(*roi, figure.At("Replicate"), {});
}

// ---------------------------------------------------------------------------------------------------
// A shape's geometry

class Corners final : public Lent<IGeometry, IGeometricAssembly, IPoints> {
  public:
    bool given = true;
    int asked = 0;
    double points[3][2] = {{11, -20.75}, {-3.625, 5.5}, {6.5, -7.5}};

    Result GetElement(int kind, IPoints** element) noexcept override {
        ++asked;
        *element = given && kind == kGeometricExtent ? this : nullptr;
        references += *element != nullptr ? 1 : 0;
        return *element != nullptr ? S_OK : E_FAIL;
    }
    Result GetPoint(int index, double* x, double* y, double* z) noexcept override {
        *x = points[index][0];
        *y = points[index][1];
        *z = 5;
        return S_OK;
    }
};

void CheckGeometry(Checks& checks) {
    checks.Begin("a shape reads the extent of its geometry, whichever way its corners lie");
    const ClassContract& figure = ClassNamed("ROIShape");
    const auto roi = checks.module.New<IROI>(figure);
    Corners corners;
    checks.Code(Require<IROIShape>(roi)->SetGeometry(nullptr), S_OK);
    checks.Code(Require<IROIShape>(roi)->SetGeometry(&corners), S_OK);
    const Step steps[] = {{"GetCenter", {}, {6.5, -7.5}},
                          {"GetBoundingSize", {}, {14.625, 26.25}},
                          {"GetBoundingRect", {}, {-3, -20, 15, 26}},
                          {"HitTest", {6.5, -7.5}, {kUntouched}, E_FAIL}};
    TakeSteps(checks, figure, roi, steps);
    std::swap(corners.points[0][1], corners.points[1][1]);
    TakeSteps(checks, figure, roi, steps);
    for (const char* query : {"GetCenter", "GetBoundingSize", "GetBoundingRect"}) {
        checks.Begin(fmt::format("{} of a shape gives its element back", query));
        Call(*roi, figure.At(query), {});
        checks.Equal(corners.references, 2);
    }
    checks.Begin("null outputs of a shape's queries are allowed");
    checks.Code(roi->GetBoundingRect(nullptr, nullptr, nullptr, nullptr), S_OK);
    checks.Code(roi->GetBoundingSize(nullptr, nullptr), S_OK);
    int top = 0;
    unsigned int height = 0;
    double y = 0.0;
    checks.Code(roi->GetBoundingRect(nullptr, &top, nullptr, &height), S_OK);
    checks.Expect(top == -20 && height == 26, "-20 and 26", fmt::format("{} and {}", top, height));
    checks.Code(roi->GetBoundingSize(nullptr, &y), S_OK);
    checks.Expect(y == 26.25, "26.25", std::to_string(y));
    corners.given = false;
    checks.Begin("a shape whose geometry has no extent fails");
    const Step without[] = {{"GetCenter", {}, {0, 0}, E_FAIL},
                            {"GetBoundingSize", {}, {0, 0}, E_FAIL},
                            {"GetBoundingRect", {}, {0, 0, 0, 0}, E_FAIL}};
    TakeSteps(checks, figure, roi, without);
    checks.Begin("a shape forgets its geometry for one that is no assembly");
    class Mute final : public Lent<IGeometry> {
    } mute;
    checks.Code(Require<IROIShape>(roi)->SetGeometry(&mute), S_OK);
    checks.Equal(corners.references, 1);
    checks.Equal(mute.references, 1);
    TakeSteps(checks, figure, roi, without);
    checks.Code(roi->GetCenter(nullptr, nullptr), E_FAIL);
    checks.Code(roi->GetBoundingSize(nullptr, nullptr), E_FAIL);
    checks.Code(roi->GetBoundingRect(nullptr, nullptr, nullptr, nullptr), E_FAIL);
}

// Without one from the host, the module takes the framework's own.
void CheckOwnCollection(Checks& checks) {
    checks.Begin("the module finds a collection by itself when the host gives none");
    const auto roi = NewFor(checks, Drawings().front());
    const Hosted hosted(checks, nullptr);
    SmartPtr<ICIF> mask;
    checks.Code(roi->GetMask(mask.Receive()), S_OK);
}

}  // namespace

void CheckSiblings(Checks& checks) {
    ForEachClass(checks, [&](const ClassContract& figure) { CheckWithoutLists(checks, figure); });
    for (const Sought& sought : kSought) {
        checks.Try([&] { CheckFlags(checks, sought); });
    }
    checks.Try([&] { CheckBothForms(checks); });
    checks.Try([&] { CheckBlocks(checks); });
    for (const Drawing& drawing : Drawings()) {
        checks.Try([&] { CheckDrawing(checks, drawing); });
        checks.Try([&] { CheckWithoutDrawing(checks, drawing, false); });
        checks.Try([&] { CheckWithoutDrawing(checks, drawing, true); });
    }
    checks.Try([&] { CheckInnerRectangle(checks); });
    checks.Try([&] { CheckWithoutRectangle(checks); });
    checks.Try([&] { CheckGeometry(checks); });
    checks.Try([&] { CheckOwnCollection(checks); });
}
