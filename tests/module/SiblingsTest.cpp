// The module where no sibling can be found: a process of its own, in a folder that holds ROI.so alone.
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <sstream>

#include "Harness.h"

namespace {

constexpr const char* kAlone = "--without-siblings";

void Say(const char* what, Result code, const void* out = nullptr) {
    std::printf("%s %s %s\n", what,
                code == S_OK        ? "S_OK"
                : code == E_FAIL    ? "E_FAIL"
                : code == E_NOTIMPL ? "E_NOTIMPL"
                                    : "?",
                out == nullptr ? "null" : "object");
}

/// A figure made without the global collection, which does not exist here.
template <class I>
SmartPtr<I> Bare(const wchar_t* name) {
    ComponentCreator create = nullptr;
    SmartPtr<I> figure;
    if (FindRoiClass(Ref(name), &create) == S_OK) {
        create(nullptr, &IidOf<I>(), figure.ReceiveVoid());
    }
    return figure;
}

void TryMask() {
    auto mask = Bare<IROIMask>(L"ROIMask");
    Say("ROIMask created", mask ? S_OK : E_FAIL, mask.Get());
    double x = kUntouched, y = kUntouched;
    int i = 7, j = 7;
    unsigned w = 7, h = 7;
    Affine map;
    const Result codes[] = {mask->GetBoundingSize(&x, &y),
                            mask->GetCenter(&x, &y),
                            mask->SetCenter(1, 2),
                            mask->Transform(&map),
                            mask->HitTest(50, 50, &i),
                            mask->GetBoundingRect(&i, &j, &w, &h),
                            mask->GetSize(&x, &y),
                            mask->SetSize(1, 2),
                            mask->get_Roll(&x),
                            mask->put_Roll(1),
                            mask->GetCornerPoint(kNodeCenter, &x, &y),
                            mask->GetCornerPointI(kNodeCenter, &i, &j),
                            mask->SetCornerPoint(1, 2, 3),
                            mask->GetAspectRatio(&x),
                            mask->SetAspectRatio(1)};
    for (Result code : codes) {
        Say("ROIMask forwards", code);
    }
    const bool untouched =
        x == kUntouched && y == kUntouched && i == 7 && j == 7 && w == 7 && h == 7 && map.asked.empty();
    std::printf("ROIMask wrote %s\n", untouched ? "nothing" : "something");
    SizedImage image(2, 3);
    SmartPtr<ICIF> out;
    Say("ROIMask SetMask", mask->SetMask(&image, 0));
    const Result got = mask->GetMask(out.Receive());
    Say("ROIMask GetMask", got, out.Get());
}

int RunAlone() {
    GLOBALComponents();
    GLOBALComponents();
    std::printf("----\n");
    BlockStream stream;
    for (const wchar_t* name : {L"ROIDonut", L"ROIArcDonut", L"ROIEllipse", L"ROIParallelogram", L"ROIProfile",
                                L"ROIRectangle", L"ROIShape"}) {
        auto figure = Bare<IUnknown>(name);
        auto* list = reinterpret_cast<INamedCollection*>(&stream);
        const Result parameters = As<IParametricObject>(figure.Get())->GetParameters(&list, 0);
        std::printf("%ls: ", name);
        Say("GetParameters", parameters, list);
        if (auto pages = As<IUIPropertyPageSpecify>(figure.Get())) {
            list = reinterpret_cast<INamedCollection*>(&stream);
            const Result code = pages->GetPages(0, &list, nullptr);
            std::printf("%ls: ", name);
            Say("GetPages", code, list);
        }
        const Result loaded = As<IDataPersist>(figure.Get())->Load(&stream, 0);
        std::printf("%ls: ", name);
        Say("Load", loaded);
        As<IDataPersist>(figure.Get())->Save(&stream, 0);
    }
    auto rectangle = Bare<IROIRectangle>(L"ROIRectangle");
    rectangle->put_Roll(1);
    auto* untouched = reinterpret_cast<ICIF*>(&stream);
    ICIF* mask = untouched;
    const Result code = rectangle->GetMask(&mask);
    std::printf("rectangle: ");
    Say("GetMask", code, mask == untouched ? nullptr : mask);
    for (const wchar_t* name : {L"ROIDonut", L"ROIArcDonut"}) {
        mask = untouched;
        const Result refused = Bare<IROIDonut>(name)->GetMask(&mask);
        std::printf("%ls: ", name);
        Say("GetMask", refused, mask);
    }
    TryMask();
    return 0;
}

TEST(WithoutSiblings, EverythingThatNeedsThemFailsAloneAndAloud) {
    namespace fs = std::filesystem;
    char folder[] = "/tmp/roi-alone-XXXXXX";
    ASSERT_NE(mkdtemp(folder), nullptr);
    fs::create_symlink(fs::absolute("ROI.so"), fs::path(folder) / "ROI.so");
    const std::string command =
        "cd " + std::string(folder) + " && exec " + fs::read_symlink("/proc/self/exe").string() + " ";
    FILE* pipe = popen((command + kAlone).c_str(), "r");
    std::string output;
    for (int c = 0; (c = std::fgetc(pipe)) != EOF;) {
        output += static_cast<char>(c);
    }
    EXPECT_EQ(pclose(pipe), 0) << "it crashed";
    fs::remove_all(folder);

    const std::string message = "Module not available ./CollectionsEx.so, error ";
    std::string first, results;
    int messages = 0;
    std::istringstream lines(output);
    for (std::string line; std::getline(lines, line);) {
        if (line == "----") {
            EXPECT_EQ(messages, 2) << "one for each call";
        } else if (line.rfind(message, 0) == 0) {
            ++messages;
            EXPECT_NE(line.find("cannot open shared object file", message.size()), std::string::npos) << line;
        } else {
            results += line + "\n";
        }
    }
    std::string expected;
    for (const char* name :
         {"ROIDonut", "ROIArcDonut", "ROIEllipse", "ROIParallelogram", "ROIProfile", "ROIRectangle", "ROIShape"}) {
        const std::string start = std::string(name) + ": ";
        const bool hasPages = std::strcmp(name, "ROIEllipse") != 0 && std::strcmp(name, "ROIShape") != 0;
        expected += start + "GetParameters E_FAIL null\n" + (hasPages ? start + "GetPages E_FAIL null\n" : "") + start +
                    "Load E_FAIL null\n";
    }
    expected += "rectangle: GetMask E_FAIL null\nROIDonut: GetMask E_FAIL null\nROIArcDonut: GetMask E_FAIL null\n";
    expected += "ROIMask created S_OK object\n";
    for (int i = 0; i < 15; ++i) {
        expected += "ROIMask forwards E_FAIL null\n";
    }
    expected += "ROIMask wrote nothing\nROIMask SetMask S_OK null\nROIMask GetMask S_OK object\n";
    EXPECT_EQ(results, expected);
    EXPECT_GT(messages, 10) << "a failed load is tried again, and said again";
}

}  // namespace

int main(int argc, char** argv) {
    if (argc == 2 && std::strcmp(argv[1], kAlone) == 0) {
        return RunAlone();
    }
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
