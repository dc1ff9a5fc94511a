// Regions, statistics, overlays, masks and curves, through the command as a user runs it.
#include <dlfcn.h>

#include <chrono>
#include <cmath>
#include <functional>
#include <nlohmann/json.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include "contract/IROI.h"
#include "contract/Module.h"
#include "contract/SmartPtr.h"
#include "tests/host/RunRoi.h"

namespace {

using nlohmann::json;
using Arguments = std::vector<std::string>;
using Inside = std::function<bool(int x, int y)>;

#define NEEDS_PHOTOGRAPHS()                                           \
    if (!std::filesystem::exists(IMAGES_DIR)) {                       \
        GTEST_SKIP() << "the photographs are not beside the sources"; \
    }

const char* const kCell = IMAGES_DIR "/cell.png";
const char* const kBrick = IMAGES_DIR "/brick.png";

// Statistics of the pixels that a predicate accepts, in the plainest way.
struct Brute {
    int pixels = 0;
    double mean = 0.0;
    double deviation = 0.0;

    Brute(const cv::Mat& image, const Inside& inside) {
        cv::Mat mask(image.size(), CV_8U, cv::Scalar(0));
        for (int y = 0; y < image.rows; ++y) {
            for (int x = 0; x < image.cols; ++x) {
                mask.at<unsigned char>(y, x) = inside(x, y) ? 1 : 0;
            }
        }
        cv::Scalar m;
        cv::Scalar d;
        // About the mean, so that even values have no deviation.
        cv::Mat real;
        image.convertTo(real, CV_64F);
        m = cv::mean(real, mask);
        cv::meanStdDev(real - m, cv::noArray(), d, mask);
        pixels = cv::countNonZero(mask);
        mean = m[0];
        deviation = d[0];
    }
};

// On the circle the left side counts.
Inside Disc(double cx, double cy, double radius) {
    return [=](int x, int y) {
        const double square = (x - cx) * (x - cx) + (y - cy) * (y - cy);
        return square < radius * radius || (square == radius * radius && x < cx);
    };
}

class PixelsTest : public RoiCommand {
  protected:
    void Add(const std::string& className, const std::string& name, const Arguments& values) const {
        Arguments arguments = {"add", "s.roi", className, "--name", name};
        arguments.insert(arguments.end(), values.begin(), values.end());
        Done(arguments);
    }
    void AddCircle(const std::string& name, double x, double y, double radius) const {
        Add("ROIEllipse", name,
            {"CenterX=" + Number(x), "CenterY=" + Number(y), "RadiusX=" + Number(radius), "RadiusY=" + Number(radius)});
    }
    json Measure(const std::string& image, const Arguments& options = {}) const {
        Arguments arguments = {"measure", "s.roi", image, "--format", "json"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        return json::parse(Done(arguments));
    }
    std::string Save(const std::string& file, const cv::Mat& image) const {
        cv::imwrite((Folder() / file).string(), image);
        return file;
    }
    cv::Mat Read(const std::string& file) const { return cv::imread((Folder() / file).string(), cv::IMREAD_UNCHANGED); }
    static std::string Number(double value) { return json(value).dump(); }
};

void ExpectSame(const json& row, const Brute& brute) {
    EXPECT_EQ(row["pixels"], brute.pixels) << row;
    EXPECT_NEAR(row["mean"], brute.mean, 1e-9) << row;
    EXPECT_NEAR(row["std"], brute.deviation, 1e-9) << row;
}

TEST_F(PixelsTest, AnEllipseOnTheCellHoldsWhatCountingPixelByPixelFinds) {
    NEEDS_PHOTOGRAPHS()
    AddCircle("cell", 428.5, 374.5, 60);
    AddCircle("oval", 428.5, 374.5, 60);
    Done({"set", "s.roi", "oval", "RadiusX=90", "RadiusY=45"});
    const cv::Mat image = cv::imread(kCell, cv::IMREAD_UNCHANGED);
    const json rows = Measure(kCell, {"--columns", "pixels,mean,std,min,cx,cy,left,top,width,height"});
    ExpectSame(rows[0], Brute(image, Disc(428.5, 374.5, 60)));
    ExpectSame(rows[1], Brute(image, [](int x, int y) { return std::hypot((x - 428.5) / 90, (y - 374.5) / 45) < 1; }));
    EXPECT_NEAR(rows[1]["mean"], 149.92, 0.005);
    EXPECT_NEAR(rows[1]["std"], 68.50, 0.005);
    EXPECT_EQ(rows[1]["min"], 3);
    EXPECT_EQ(rows[0]["pixels"], 11304);
    EXPECT_NEAR(rows[0]["mean"], 181.78, 0.005);
    EXPECT_NEAR(rows[0]["std"], 23.84, 0.005);
    EXPECT_EQ(rows[0]["cx"], 428.5);
    EXPECT_EQ(rows[0]["cy"], 374.5);
    EXPECT_EQ(cv::Rect(rows[0]["left"], rows[0]["top"], rows[0]["width"], rows[0]["height"]),
              cv::Rect(369, 315, 120, 120));
    // What is drawn is far from what the module's hit test takes.
    Done({"set", "s.roi", "oval", "CenterX=430", "CenterY=375"});
    const json drawn = Measure(kCell, {"--columns", "mean,std,min"})[1];
    const json taken = Measure(kCell, {"--by", "module", "--columns", "mean,std"})[1];
    EXPECT_NEAR(drawn["mean"], 149.91, 0.005);
    EXPECT_NEAR(drawn["std"], 68.63, 0.005);
    EXPECT_EQ(drawn["min"], 3);
    EXPECT_NEAR(taken["mean"], 173.16, 0.005);
    EXPECT_NEAR(taken["std"], 34.01, 0.005);
    // A twentieth of a pixel further right its edge meets the centre of no pixel.
    Done({"set", "s.roi", "oval", "CenterX=430.05"});
    const json clear = Measure(kCell, {"--columns", "mean,std,min"})[1];
    EXPECT_NEAR(clear["mean"], 149.86, 0.005);
    EXPECT_NEAR(clear["std"], 68.67, 0.005);
    EXPECT_EQ(clear["min"], 3);
}

TEST_F(PixelsTest, CsvAndJsonCarryTheSameNumbers) {
    AddCircle("c", 20, 20, 7.3);
    AddCircle("off", -90, 20, 7.3);
    cv::Mat image(50, 60, CV_8U);
    cv::randu(image, 0, 256);
    Save("i.png", image);
    const json rows = Measure("i.png");
    std::istringstream csv(Done({"measure", "s.roi", "i.png", "--format", "csv"}));
    std::string line;
    std::getline(csv, line);
    EXPECT_EQ(line, "image,name,status,pixels,mean,std,min,max,cx,cy");
    const Arguments columns = {"pixels", "mean", "std", "min", "max", "cx", "cy"};
    for (const json& row : rows) {
        std::getline(csv, line);
        std::istringstream fields(line + ",");
        std::string field;
        for (int i = 0; i < 3; ++i) {
            std::getline(fields, field, ',');
        }
        EXPECT_EQ(field, row["status"]);
        for (const std::string& column : columns) {
            std::getline(fields, field, ',');
            EXPECT_EQ(field.empty() ? json() : json::parse(field), row[column]) << column;
        }
    }
}

TEST_F(PixelsTest, TheStatusTellsHowAFigureLiesToTheImage) {
    struct Case {
        const char* name;
        double x, y, radius;
        const char* status;
    };
    const Case cases[] = {
        {"inside", 30, 30, 9, "ok"},
        {"touching", 9, 30, 9, "ok"},
        {"over-a-bit", 8.75, 30, 9.75, "clipped"},
        {"hair-over-without-pixel", 8.95, 30.5, 9.96, "ok"},
        {"half", 0, 30, 9, "clipped"},
        {"corner", 60, 50, 9, "clipped"},
        {"left-of-it", -40, 30, 9, "outside"},
        {"far", 1e300, 30, 9, "outside"},
        {"between-pixels", 20.5, 20.5, 0.5, "empty"},
        {"all-over", 0, 0, 1e9, "clipped"},
    };
    for (const Case& c : cases) {
        AddCircle(c.name, c.x, c.y, c.radius);
    }
    const cv::Mat image(50, 60, CV_8U, cv::Scalar(9));
    const json rows = Measure(Save("i.png", image));
    ASSERT_EQ(rows.size(), std::size(cases));
    for (std::size_t i = 0; i < rows.size(); ++i) {
        EXPECT_EQ(rows[i]["status"], cases[i].status) << cases[i].name;
        const int pixels = Brute(image, Disc(cases[i].x, cases[i].y, cases[i].radius)).pixels;
        EXPECT_EQ(rows[i]["pixels"], pixels) << cases[i].name;
        EXPECT_EQ(rows[i]["mean"], pixels > 0 ? json(9.0) : json()) << cases[i].name;
    }
}

TEST_F(PixelsTest, OneRegionServesImagesOfAllSizesAndDepths) {
    // It ends in column 58, three beyond the first image; the second one is wider, but not higher.
    AddCircle("c", 41, 20, 18);
    cv::Mat small(60, 56, CV_8U);
    cv::Mat deep(60, 90, CV_16U);
    cv::Mat real(200, 90, CV_32F);
    cv::Mat colour(64, 64, CV_8UC3);
    for (cv::Mat* image : {&small, &deep, &real, &colour}) {
        cv::randu(*image, 0, image->depth() == CV_16U ? 65536 : 250);
    }
    cv::Mat level(60, 60, CV_16U, cv::Scalar(60001));
    cv::Mat luma;
    colour.convertTo(luma, CV_64F);
    cv::transform(luma, luma, cv::Matx13d(0.114, 0.587, 0.299));
    cv::cvtColor(colour, colour, cv::COLOR_BGR2BGRA);
    const json rows =
        Measure(Save("small.png", small), {Save("deep.png", deep), Save("real.tiff", real), Save("colour.png", colour),
                                           Save("level.png", level), "--jobs", "1"});
    const cv::Mat measured[] = {small, deep, real, luma, level};
    for (std::size_t i = 0; i < rows.size(); ++i) {
        ExpectSame(rows[i], Brute(measured[i], Disc(41, 20, 18)));
    }
    EXPECT_EQ(rows[0]["status"], "clipped");
    EXPECT_EQ(rows[4]["std"], 0.0);
}

TEST_F(PixelsTest, RectanglesOnTheBrickCountTheirBoxOrTheirMask) {
    NEEDS_PHOTOGRAPHS()
    Add("ROIRectangle", "upright", {"CenterX=239", "CenterY=205", "Width=24", "Height=96"});
    Add("ROIRectangle", "rolled", {"CenterX=239", "CenterY=205", "Width=24", "Height=96", "Angle=5"});
    const json rows = Measure(kBrick, {"--by", "module"});
    EXPECT_EQ(rows[0]["pixels"], 25 * 97);
    EXPECT_NEAR(rows[0]["mean"], 98.48, 0.005);
    EXPECT_NEAR(rows[0]["std"], 6.69, 0.006);
    EXPECT_NEAR(rows[1]["std"], 13.0, 1.0);
}

TEST_F(PixelsTest, DonutsOnTheCellHoldTheirRingByHitTestAndNearlySoByMask) {
    NEEDS_PHOTOGRAPHS()
    void* const module = dlopen(BIN_DIR "/ROI.so", RTLD_NOW);
    ASSERT_NE(module, nullptr) << dlerror();
    const auto factory = reinterpret_cast<CreateFunctionEntry>(dlsym(module, kCreateFunctionSymbol));
    ComponentCreator create = nullptr;
    ASSERT_EQ(factory(Text(L"ROIDonut"), &create), S_OK);
    const cv::Mat image = cv::imread(kCell, cv::IMREAD_UNCHANGED);
    const struct {
        const char* name;
        double inner, outer;
        int pixels;
        double mean;
    } rings[] = {{"dark", 66, 84, 8480, 19.82}, {"bright", 100, 118, 12320, 45.08}};
    for (const auto& ring : rings) {
        SmartPtr<IROIDonut> donut;
        ASSERT_EQ(create(nullptr, &IidOf<IROIDonut>(), donut.ReceiveVoid()), S_OK);
        donut->SetCenter(428.5, 374.5);
        donut->SetRadius(0, ring.inner, ring.inner);
        donut->SetRadius(1, ring.outer, ring.outer);
        const Brute hits(image, [&](int x, int y) { return donut->HitTest(x, y, nullptr) == S_OK; });
        EXPECT_EQ(hits.pixels, ring.pixels);
        EXPECT_NEAR(hits.mean, ring.mean, 0.005);
        Add("ROIDonut", ring.name,
            {"CenterX=428.5", "CenterY=374.5", "RadiusX1=" + Number(ring.inner), "RadiusY1=" + Number(ring.inner),
             "RadiusX2=" + Number(ring.outer), "RadiusY2=" + Number(ring.outer)});
    }
    const json rows = Measure(kCell, {"--by", "module"});
    for (std::size_t i = 0; i < rows.size(); ++i) {
        // The outlines differ by less than a pixel all round.
        EXPECT_NEAR(rows[i]["pixels"], rings[i].pixels, 2.0 * CV_PI * (rings[i].inner + rings[i].outer));
        EXPECT_NEAR(rows[i]["mean"], rings[i].mean, 1.5);
    }
}

TEST_F(PixelsTest, AMaskFileHoldsThePixelsThatAreMeasuredAndTellsWhereItLies) {
    AddCircle("ellipse", 4.5, 30, 9);
    Add("ROIRectangle", "upright", {"CenterX=40", "CenterY=30", "Width=12", "Height=8"});
    Add("ROIRectangle", "rolled", {"CenterX=40", "CenterY=30", "Width=12", "Height=8", "Angle=30"});
    Add("ROIParallelogram", "leaning", {"CenterX=40", "CenterY=30", "Width=13", "Height=8", "Shear=20"});
    Add("ROIDonut", "ring", {});
    Add("ROIProfile", "line", {"--points", "20,20", "60,40"});
    Add("ROIShape", "shape", {"--points", "20,20", "60,40"});
    cv::Mat stencil(6, 7, CV_8U, cv::Scalar(0));
    stencil(cv::Rect(2, 1, 3, 4)) = 1;
    Save("stencil.png", stencil);
    Add("ROIMask", "stencil", {"CenterX=40", "CenterY=30", "--mask", "stencil.png"});
    cv::Mat image(100, 100, CV_16U);
    cv::randu(image, 0, 65536);
    Save("i.png", image);
    const struct {
        const char* by;
        int upright, leaning;
    } rules[] = {
        {"outline", 12 * 8, 81},
        // The module counts borders, and its hit test knows no shear: 13 columns from 34 to 46, 9 rows.
        {"module", 13 * 9, 13 * 9},
    };
    for (const auto& rule : rules) {
        const json rows = Measure("i.png", {"--by", rule.by});
        for (const json& row : rows) {
            const std::string name = row["name"];
            const json at =
                json::parse(Done({"mask", "s.roi", name, "-o", "m.png", "--format", "json", "--by", rule.by}))[0];
            const cv::Mat mask = Read("m.png");
            EXPECT_EQ(mask.size(), cv::Size(at["width"], at["height"])) << name;
            const cv::Rect box(at["left"], at["top"], mask.cols, mask.rows);
            ExpectSame(row, Brute(image, [&](int x, int y) {
                           return box.contains({x, y}) && mask.at<unsigned char>(y - box.y, x - box.x) == 255;
                       }));
        }
        EXPECT_EQ(rows[1]["pixels"], rule.upright);
        EXPECT_EQ(rows[3]["pixels"], rule.leaning);
        EXPECT_EQ(rows[7]["pixels"], 3 * 4);
    }
    Done({"mask", "s.roi", "ellipse", "-o", "m.png", "--exact"});
    EXPECT_NEAR(cv::sum(Read("m.png"))[0] / 255.0, CV_PI * 81.0, 0.1);
}

TEST_F(PixelsTest, FiguresOfAnySizeAreMeasuredAndDrawnInBoundedTime) {
    AddCircle("vast", 1e300, -1e300, 1e308);
    Add("ROIRectangle", "box", {"Width=1e305", "Height=1e305"});
    Add("ROIRectangle", "rolled", {"Width=1e9", "Height=1e9", "Angle=30"});
    Add("ROIDonut", "ring", {"RadiusX1=9", "RadiusY1=9", "RadiusX2=1e9", "RadiusY2=1e9"});
    Add("ROIProfile", "line", {"--points", "1e300,5", "1e200,7"});
    const auto start = std::chrono::steady_clock::now();
    const json rows = Measure(Save("i.png", cv::Mat(100, 100, CV_8U, cv::Scalar(1))));
    Done({"draw", "s.roi", "i.png", "-o", "o.png"});
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
    EXPECT_EQ(rows[0]["pixels"], 10000);
    EXPECT_EQ(rows[1]["pixels"], 10000);
    EXPECT_EQ(rows[2]["pixels"], 10000);
    EXPECT_EQ(rows[3]["pixels"], 10000 - Brute(Read("i.png"), Disc(50, 50, 9)).pixels);
    EXPECT_EQ(rows[4]["status"], "outside");
}

TEST_F(PixelsTest, TheOverlayMarksTheFigureAndLeavesTheRestAlone) {
    AddCircle("c", 60, 60, 30);
    cv::Mat ramp(200, 300, CV_16U);
    ramp.forEach<std::uint16_t>(
        [](std::uint16_t& value, const int* at) { value = static_cast<std::uint16_t>(1000 + 10 * at[1]); });
    Done({"draw", "s.roi", Save("i.png", ramp), "-o", "o.png"});
    const cv::Mat picture = Read("o.png");
    ASSERT_EQ(picture.size(), ramp.size());
    ASSERT_EQ(picture.type(), CV_8UC3);
    EXPECT_EQ(picture.at<cv::Vec3b>(190, 299), cv::Vec3b(255, 255, 255));
    // One hot pixel leaves the picture as bright as it was.
    cv::Mat hot = ramp.clone();
    hot.at<std::uint16_t>(150, 250) = 65535;
    Done({"draw", "s.roi", Save("hot.png", hot), "-o", "h.png"});
    EXPECT_EQ(Read("h.png").at<cv::Vec3b>(100, 200), picture.at<cv::Vec3b>(100, 200));
    const auto isGrey = [&](int x, int y) {
        const auto& pixel = picture.at<cv::Vec3b>(y, x);
        return pixel[0] == pixel[1] && pixel[1] == pixel[2];
    };
    for (int degrees = 20; degrees < 80; ++degrees) {
        const double angle = degrees * CV_PI / 180.0;
        EXPECT_FALSE(isGrey(cvRound(60 - 30 * std::cos(angle)), cvRound(60 + 30 * std::sin(angle)))) << degrees;
        EXPECT_FALSE(isGrey(cvRound(60 - 20 * std::cos(angle)), cvRound(60 + 20 * std::sin(angle)))) << degrees;
        EXPECT_TRUE(isGrey(cvRound(60 - 40 * std::cos(angle)), cvRound(60 + 40 * std::sin(angle)))) << degrees;
    }
    EXPECT_TRUE(isGrey(200, 100));
}

TEST_F(PixelsTest, AProfileSamplesItsBandAndLeavesOutWhatIsOutside) {
    // Values are 100 + 8 x + 32 y: the mean is that of the band's middle, the deviation that of evenly spaced steps.
    cv::Mat ramp(40, 50, CV_16U);
    ramp.forEach<std::uint16_t>(
        [](std::uint16_t& value, const int* at) { value = static_cast<std::uint16_t>(100 + 8 * at[1] + 32 * at[0]); });
    Save("i.png", ramp);
    Add("ROIProfile", "p", {"--points", "10.5,20", "30.5,20", "30.5,60"});
    Done({"set", "s.roi", "p", "Thickness1=2", "Thickness2=4"});
    const json rows = json::parse(Done({"profile", "s.roi", "p", "i.png", "--format", "json"}));
    ASSERT_EQ(rows.size(), 61U);
    for (int d = 0; d < 20; ++d) {
        // Across the level segment thickness 1 lies above: rows 18 to 24.
        EXPECT_NEAR(rows[d]["mean"], 100 + 8 * (10.5 + d) + 32 * 21, 1e-3) << d;
        EXPECT_NEAR(rows[d]["std"], 32 * 2.0, 1e-3);
        EXPECT_EQ(rows[d]["samples"], 7);
    }
    for (int d = 20; d < 40; ++d) {
        // Across the falling segment thickness 1 lies to the right: columns 26.5 to 32.5.
        EXPECT_NEAR(rows[d]["mean"], 100 + 8 * 29.5 + 32 * d, 1e-3) << d;
        EXPECT_EQ(rows[d]["x"], 30.5);
        EXPECT_EQ(rows[d]["y"], d);
    }
    EXPECT_EQ(rows[40]["samples"], 0);
    EXPECT_TRUE(rows[40]["mean"].is_null());
}

TEST_F(PixelsTest, AProfileAcrossTheCellFindsItsEdgeAndPlotsIt) {
    NEEDS_PHOTOGRAPHS()
    Add("ROIProfile", "edge", {"--points", "428.5,374", "513.5,374"});
    Done({"set", "s.roi", "edge", "Thickness1=0.25", "Thickness2=0.25"});
    const json rows = json::parse(Done({"profile", "s.roi", "edge", kCell, "--format", "json", "-o", "e.svg"}));
    // Near the rim the cell shines evenly; around it lies a dark halo.
    for (int distance = 28; distance <= 50; ++distance) {
        EXPECT_NEAR(rows[distance]["mean"], 190, 8) << distance;
    }
    EXPECT_NEAR(rows[76]["mean"], 10, 2);
    const auto below = std::find_if(rows.begin(), rows.end(), [](const json& row) { return row["mean"] < 100.0; });
    ASSERT_NE(below, rows.end());
    EXPECT_NEAR((*below)["distance"], 62.0, 1.0);
    EXPECT_NE(Bytes("e.svg").find("distance along the profile"), std::string::npos);
    Done({"profile", "s.roi", "edge", kCell, "-o", "e.png"});
    EXPECT_FALSE(Read("e.png").empty());
}

TEST_F(PixelsTest, EveryFailureIsOneLineAndLeavesNoFile) {
    AddCircle("c", 20, 20, 9);
    Add("ROIProfile", "empty", {});
    Add("ROIProfile", "off", {"--points", "-90,-90", "-80,-90"});
    Add("ROIShape", "shapeless", {});
    Save("i.png", cv::Mat(50, 60, CV_8U, cv::Scalar(1)));
    Save("whole.jpg", cv::Mat(500, 600, CV_8U, cv::Scalar(1)));
    WriteBytes("torn.png", Bytes("i.png").substr(0, 60));
    WriteBytes("torn.jpg", Bytes("whole.jpg").substr(0, Bytes("whole.jpg").size() - 20));
    WriteBytes("text.png", "not an image");
    WriteBytes("nothing.png", "");
    const struct {
        Arguments arguments;
        int exitCode;
    } cases[] = {
        {{"measure", "s.roi", "none.png"}, 1},
        {{"measure", "s.roi", "i.png", "torn.png"}, 1},
        {{"measure", "s.roi", "torn.jpg"}, 1},
        {{"measure", "s.roi", "text.png"}, 1},
        {{"measure", "s.roi", "nothing.png"}, 1},
        {{"measure", "s.roi", "."}, 1},
        {{"draw", "s.roi", "torn.png", "-o", "out.png"}, 1},
        {{"draw", "s.roi", "i.png", "-o", "out.what"}, 2},
        {{"draw", "s.roi", "i.png", "-o", "no/out.png"}, 1},
        {{"mask", "s.roi", "shapeless", "-o", "out.png"}, 1},
        {{"mask", "s.roi", "nobody", "-o", "out.png"}, 1},
        {{"profile", "s.roi", "c", "i.png"}, 2},
        {{"profile", "s.roi", "empty", "i.png"}, 1},
        {{"profile", "s.roi", "off", "i.png", "-o", "out.svg"}, 1},
        {{"profile", "s.roi", "off", "i.png", "-o", "out.txt"}, 2},
    };
    for (const auto& c : cases) {
        const RunResult result = Roi(c.arguments);
        EXPECT_EQ(result.exitCode, c.exitCode) << c.arguments[0] << ' ' << c.arguments[2] << ": " << result.err;
        EXPECT_EQ(result.out, "");
        EXPECT_TRUE(result.err.starts_with("roi: error: ")) << result.err;
        EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
    }
    for (const char* file : {"out.png", "out.what", "out.svg", "out.txt"}) {
        EXPECT_EQ(Bytes(file), "") << file;
    }
}

}  // namespace
