// What is measured beside mean and deviation: shapes against formulas, values against counting; pages, units, curves
// and histograms, through the command as a user runs it.
#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <nlohmann/json.hpp>
#include <numeric>
#include <opencv2/imgcodecs.hpp>

#include "host/measure/Histogram.h"
#include "host/measure/OutlineShape.h"
#include "host/measure/PixelScale.h"
#include "tests/host/RunRoi.h"

namespace {

using nlohmann::json;
using Arguments = std::vector<std::string>;
constexpr double kPi = 3.14159265358979323846;

host::Contour Corners(std::initializer_list<host::ImagePoint> points) { return {points.begin(), points.end()}; }
host::Contour Ellipse(double x, double y, double start = 0.0, double delta = 2.0 * kPi) {
    return {host::Arc{{3.25, -7.5}, x, y, start, delta}};
}
double EllipseLength(double a, double b) { return 4.0 * a * std::comp_ellint_2(std::sqrt(1.0 - b * b / (a * a))); }

TEST(OutlineShape, IsThatOfFormulas) {
    const host::Contour wide = Corners({{0, 35}, {80, 35}, {80, 45}, {0, 45}});
    const host::Contour high = Corners({{35, 0}, {35, 80}, {45, 80}, {45, 0}});  // the other way around
    const host::ImagePoint third(30.7 / 3, 10.1 / 3);
    const struct {
        const char* what;
        std::vector<host::Contour> contours;
        double scaleX, scaleY;
        double area, perimeter, feret;
    } cases[] = {
        {"rectangle", {wide}, 1, 1, 800, 180, std::hypot(80, 10)},
        {"rectangle, wider pixels", {wide}, 2, 0.5, 800, 330, std::hypot(160, 5)},
        {"cross", {wide, Corners({{35, 0}, {45, 0}, {45, 80}, {35, 80}})}, 1, 1, 1500, 320, std::hypot(80, 10)},
        {"cross that cancels its middle", {wide, high}, 1, 1, 1400, 360, std::hypot(80, 10)},
        {"bow", {Corners({{0, 0}, {10, 10}, {10, 0}, {0, 10}})}, 1, 1, 50, 20 + 2 * std::sqrt(200), std::sqrt(200)},
        {"spur inside",
         {Corners({{0, 0}, {9, 0}, {9, 5}, {4, 5}, {6.1, 2.3}, {4, 5}, {0, 5}})},
         1,
         1,
         45,
         28,
         std::hypot(9, 5)},
        {"side by side along a third",
         {Corners({{0, 0}, {20, 0}, third}), Corners({{0, 0}, {30.7, 10.1}, {0, 10.1}})},
         1,
         1,
         0.5 * 20 * third.y + 0.5 * 30.7 * 10.1,
         20 + std::hypot(20 - third.x, third.y) + 2.0 / 3.0 * std::hypot(30.7, 10.1) + 30.7 + 10.1,
         std::hypot(30.7, 10.1)},
        {"steps", {Corners({{0, 0}, {4, 0}, {4, 2}, {9, 2}, {9, 5}, {0, 5}})}, 1, 1, 35, 28, std::hypot(9, 5)},
        {"ellipse", {Ellipse(30, 10)}, 1, 1, 300 * kPi, EllipseLength(30, 10), 60},
        {"ellipse, higher", {Ellipse(30, 10)}, 1, 9, 2700 * kPi, EllipseLength(90, 30), 180},
        {"thin ellipse", {Ellipse(300, 0.01)}, 1, 1, 3 * kPi, EllipseLength(300, 0.01), 600},
        {"ring", {Ellipse(20, 20), Ellipse(12, 12, 0, -2 * kPi)}, 1, 1, 256 * kPi, 64 * kPi, 40},
        {"quarter",
         {{host::ImagePoint{3.25, -7.5}, host::Arc{{3.25, -7.5}, 8, 8, 0.3, 0.5 * kPi}}},
         1,
         1,
         16 * kPi,
         16 + 4 * kPi,
         8 * std::sqrt(2.0)},
        {"nothing", {Corners({{1, 1}, {9, 1}})}, 1, 1, 0, 0, 0},
    };
    for (const auto& c : cases) {
        const host::OutlineShape shape = host::ShapeOf(host::Outline{c.contours, {}, false}, c.scaleX, c.scaleY);
        EXPECT_NEAR(shape.area, c.area, 1e-9 * c.area) << c.what;
        EXPECT_NEAR(shape.perimeter, c.perimeter, 1e-9 * c.perimeter) << c.what;
        EXPECT_NEAR(shape.feret, c.feret, 1e-6 * c.feret) << c.what;
    }
    // An L of pixels.
    const host::OutlineShape pixels = host::ShapeOf(host::PixelSet{{{4, 7, 7}, {5, 7, 9}}, {}}, 2.0, 3.0);
    EXPECT_EQ(pixels.area, 24.0);
    EXPECT_EQ(pixels.perimeter, 24.0);
    EXPECT_NEAR(pixels.feret, std::hypot(6.0, 6.0), 1e-12);
}

TEST(Histogram, HasBinsOfEqualWidth) {
    const host::Distribution whole({{2, 1}, {3, 4}, {9, 2.5}});
    EXPECT_EQ(host::HistogramOf(whole, 256, true).edges.size(), 9U);
    const host::Histogram four = host::HistogramOf(whole, 4, true);  // two values each
    EXPECT_EQ(four.edges, (std::vector<double>{2, 4, 6, 8, 10}));
    EXPECT_EQ(four.areas, (std::vector<double>{5, 0, 0, 2.5}));
    // A third of the first edge, less a third of the smallest value, is below 1 by rounding.
    EXPECT_EQ(host::HistogramOf(host::Distribution({{10, 1}, {13, 4}, {18, 2}}), 3, true).areas,
              (std::vector<double>{1, 4, 2}));
    const host::Histogram real = host::HistogramOf(whole, 2, false);
    EXPECT_EQ(real.edges, (std::vector<double>{2, 5.5, 9}));
    EXPECT_EQ(real.areas, (std::vector<double>{5, 2.5}));
    EXPECT_EQ(host::HistogramOf(host::Distribution({{7.5, 3}}), 5, false).areas, (std::vector<double>{3}));
    EXPECT_TRUE(host::HistogramOf({}, 5, false).edges.empty());
}

TEST(Distribution, IsPartedAtPercents) {
    std::vector<host::WeightedValue> hundred;
    for (int value = 0; value < 100; ++value) {
        hundred.push_back({1.0 * value, 1.0});
    }
    for (const double percent : {7.0, 29.0, 50.0, 58.0}) {
        EXPECT_EQ(host::Distribution(hundred).Percentile(percent), percent - 0.5);
    }
    EXPECT_EQ(host::Distribution(hundred).Percentile(28.5), 28.0);
}

TEST(PixelScale, IsReadFromTexts) {
    const host::PixelScale both(std::string("0.65x.70µm"));
    EXPECT_EQ(std::tuple(both.x, both.y, both.unit), std::tuple(0.65, 0.7, "µm"));
    EXPECT_EQ(host::PixelScale(std::string("2e-3mm")).y, 0.002);
    EXPECT_EQ(host::PixelScale(std::string("px")), host::PixelScale());
    for (const char* text : {"", "um", "0.65", "0.65x", "0um", "-1um", "1x0um", "1x2x3um", "nanum"}) {
        EXPECT_THROW(host::PixelScale(std::string(text)), host::Error) << text;
    }
}

class ColumnsTest : public RoiCommand {
  protected:
    void Add(const std::string& className, Arguments values) const {
        values.insert(values.begin(), {"add", "s.roi", className, "--name", className});
        Done(values);
    }
    std::string Save(const std::string& file, const cv::Mat& image) const {
        cv::imwrite((Folder() / file).string(), image);
        return file;
    }
    json Rows(Arguments arguments) const {
        arguments.insert(arguments.end(), {"--format", "json"});
        return json::parse(Done(arguments));
    }
};

TEST_F(ColumnsTest, ShapesAreThoseOfTheFigures) {
    Add("ROIRectangle", {"CenterX=60.3", "CenterY=50.7", "Width=80", "Height=20", "Angle=20"});
    Add("ROIEllipse", {"CenterX=60", "CenterY=50", "RadiusX=40", "RadiusY=16"});
    Save("i.png", cv::Mat(100, 120, CV_8U, cv::Scalar(3)));
    const std::string columns = "area,perimeter,feret,circularity,major,minor,angle,intden,unit";
    const json plain = Rows({"measure", "s.roi", "i.png", "--exact", "--columns", columns});
    const json scaled = Rows({"measure", "s.roi", "i.png", "--exact", "--columns", columns, "--pixel-size", "0.5mm"});
    const double length = EllipseLength(40, 16);
    const std::map<std::string, std::pair<double, double>> expected = {
        {"area", {1600, 640 * kPi}},
        {"perimeter", {200, length}},
        {"feret", {std::hypot(80, 20), 80}},
        {"circularity", {4 * kPi * 1600 / 40000, 4 * kPi * 640 * kPi / (length * length)}},
        {"major", {80 * 2 / std::sqrt(3.0), 80}},
        {"minor", {20 * 2 / std::sqrt(3.0), 32}},
        {"intden", {4800, 1920 * kPi}},
    };
    for (const auto& [name, values] : expected) {
        const double tolerance = name == "major" || name == "minor" ? 1e-2 : 1e-6;
        const double factor = name == "area" || name == "intden" ? 0.25 : name == "circularity" ? 1.0 : 0.5;
        for (const int row : {0, 1}) {
            const double value = row == 0 ? values.first : values.second;
            EXPECT_NEAR(plain[row][name], value, tolerance * value) << name;
            EXPECT_NEAR(scaled[row][name], factor * value, factor * tolerance * value) << name;
        }
    }
    EXPECT_NEAR(plain[0]["angle"], 20.0, 0.05);
    EXPECT_EQ(plain[0]["unit"], "px");
    EXPECT_EQ(scaled[0]["unit"], "mm");
}

// Values, of which those that are not numbers do not count, in the plainest way.
std::map<std::string, double> Counted(const cv::Mat& image, const cv::Rect& box) {
    std::vector<double> v;
    std::map<std::string, double> all;
    for (int y = box.y; y < box.y + box.height; ++y) {
        for (int x = box.x; x < box.x + box.width; ++x) {
            const double value = image.depth() == CV_32F ? image.at<float>(y, x) : image.at<std::uint16_t>(y, x);
            if (std::isnan(value)) {
                all["nan"] += 1.0;
                continue;
            }
            v.push_back(value);
            all["sum"] += value;
            all["mx"] += value * x;
            all["my"] += value * y;
            all["threshold=100-5e2"] += value >= 100 && value <= 500 ? 1.0 : 0.0;
        }
    }
    const double n = static_cast<double>(v.size());
    const double mean = all["sum"] / n;
    const auto moment = [&](int power) {
        return std::accumulate(v.begin(), v.end(), 0.0,
                               [&](double sum, double value) { return sum + std::pow(value - mean, power) / n; });
    };
    std::sort(v.begin(), v.end());
    all["nan"] += 0.0;
    all["mean"] = mean;
    all["std"] = std::sqrt(moment(2));
    all["skewness"] = moment(3) / std::pow(moment(2), 1.5);
    all["kurtosis"] = moment(4) / std::pow(moment(2), 2) - 3.0;
    all["mx"] /= all["sum"];
    all["my"] /= all["sum"];
    all["min"] = v.front();
    all["max"] = v.back();
    all["median"] = v.size() % 2 == 1 ? v[v.size() / 2] : 0.5 * (v[v.size() / 2 - 1] + v[v.size() / 2]);
    all["p12.5"] = v[static_cast<std::size_t>(std::floor(n / 8.0))];  // no whole eighth: see the sizes
    int most = 0;
    for (std::size_t i = 0, run = 0; i < v.size(); ++i) {
        run = i > 0 && v[i] == v[i - 1] ? run + 1 : 1;
        if (static_cast<int>(run) > most) {
            most = static_cast<int>(run);
            all["mode"] = v[i];
        }
    }
    return all;
}

TEST_F(ColumnsTest, ValuesAreThoseOfCountingWhateverIsReadAtATime) {
    Add("ROIRectangle", {"CenterX=300.5", "CenterY=1000.5", "Width=401", "Height=1901"});
    // More rows than are read at a time.
    cv::Mat words(2000, 700, CV_16U);
    cv::randu(words, 0, 3000);
    cv::Mat reals(2000, 700, CV_32F);
    cv::randn(reals, 400.0, 150.0);
    reals.forEach<float>([](float& value, const int* at) {
        if (at[0] % 7 == 3 && at[1] % 5 == 1) {
            value = std::numeric_limits<float>::quiet_NaN();
        }
    });
    const cv::Rect box(100, 50, 401, 1901);
    const Arguments files = {Save("words.tif", words), Save("reals.tif", reals)};
    const std::string columns =
        "pixels,sum,mean,std,min,max,median,p12.5,mode,skewness,kurtosis,mx,my,nan,threshold=100-5e2";
    const json rows = Rows({"measure", "s.roi", files[0], files[1], "--columns", columns});
    const cv::Mat images[] = {words, reals};
    for (const std::size_t i : {0, 1}) {
        EXPECT_EQ(rows[i]["pixels"], box.area());
        for (const auto& [name, value] : Counted(images[i], box)) {
            EXPECT_NEAR(rows[i][name], value, 1e-9 * std::max(std::abs(value), 1.0)) << name << ' ' << files[i];
        }
    }
    EXPECT_EQ(rows[1]["nan"], 272 * 80);
}

TEST_F(ColumnsTest, NothingButNotNumbersIsNothingInEveryFormat) {
    Add("ROIRectangle", {"CenterX=10", "CenterY=10", "Width=4", "Height=4"});
    Save("i.tif", cv::Mat(20, 20, CV_32F, cv::Scalar(std::numeric_limits<double>::quiet_NaN())));
    const Arguments measure = {"measure", "s.roi", "i.tif", "--columns", "pixels,mean,min,median,nan", "--format"};
    const auto as = [&](const char* format) {
        Arguments arguments = measure;
        arguments.emplace_back(format);
        return Done(arguments);
    };
    EXPECT_EQ(as("csv"), "pixels,mean,min,median,nan\n16,,,,16\n");
    EXPECT_EQ(json::parse(as("json"))[0],
              json({{"pixels", 16}, {"mean", {}}, {"min", {}}, {"median", {}}, {"nan", 16}}));
    EXPECT_TRUE(Has(as("table"), "16  -     -    -        16\n"));
}

TEST_F(ColumnsTest, PagesHaveRowsOfTheirOwn) {
    Add("ROIRectangle", {"CenterX=10", "CenterY=10", "Width=4", "Height=4"});
    cv::imwritemulti((Folder() / "stack.tif").string(), std::vector<cv::Mat>{cv::Mat(20, 20, CV_8U, cv::Scalar(10)),
                                                                             cv::Mat(30, 40, CV_8U, cv::Scalar(20)),
                                                                             cv::Mat(12, 11, CV_8U, cv::Scalar(30))});
    Save("one.tif", cv::Mat(20, 20, CV_8U, cv::Scalar(5)));
    WriteBytes("list.txt", "one.tif\nstack.tif\n");
    const auto pages = [&](Arguments arguments) {
        arguments.insert(arguments.begin(), {"measure", "s.roi"});
        std::string text;
        for (const json& row : Rows(arguments)) {
            text += (row.contains("page") ? row["page"].dump() + ":" : "") + row["mean"].dump() + " ";
        }
        return text;
    };
    EXPECT_EQ(pages({"one.tif"}), "5.0 ");
    EXPECT_EQ(pages({"one.tif", "stack.tif", "--jobs", "3"}), "1:5.0 1:10.0 2:20.0 3:30.0 ");
    EXPECT_EQ(pages({"stack.tif", "--pages", "3,1"}), "1:10.0 3:30.0 ");
    EXPECT_EQ(pages({"stack.tif:2"}), "20.0 ");
    EXPECT_EQ(pages({"--from", "list.txt", "--columns", "page,mean"}), "1:5.0 1:10.0 2:20.0 3:30.0 ");
    const RunResult hidden = Roi({"measure", "s.roi", "--from", "list.txt"});
    EXPECT_TRUE(Has(hidden.err, "cannot measure: stack.tif: it has several pages: ")) << hidden.err;
    EXPECT_TRUE(Has(Roi({"measure", "s.roi", "stack.tif", "--pages", "4"}).err, "it has 3 pages")) << hidden.err;
    EXPECT_TRUE(Has(Roi({"draw", "s.roi", "stack.tif", "-o", "o.png"}).err, "the first of its 3 pages is taken"));
}

TEST_F(ColumnsTest, TheResolutionOfAFileGivesTheUnitAndIsSaid) {
    Add("ROIRectangle", {"CenterX=10", "CenterY=10", "Width=4", "Height=6"});
    Save("plain.png", cv::Mat(20, 20, CV_8U, cv::Scalar(10)));
    if (RunProgram({"/bin/sh", "-c", "convert plain.png -units PixelsPerCentimeter -density 1000x500 fine.png"},
                   Folder())
            .exitCode != 0) {
        GTEST_SKIP() << "ImageMagick is not installed";
    }
    const Arguments arguments = {"measure",           "s.roi",    "plain.png", "fine.png", "--columns",
                                 "area,perimeter,cx", "--format", "csv"};
    const RunResult result = Roi(arguments);
    EXPECT_EQ(result.out, "area,perimeter,cx,unit\n24,20,9.5,px\n4800,320,9.5,um\n");
    EXPECT_EQ(result.err,
              "roi: warning: fine.png: lengths and areas are in um by its resolution, 10 x 20 um a pixel; --pixel-size "
              "px keeps pixels\n");
    Arguments pixels = arguments;
    pixels.insert(pixels.end(), {"--pixel-size", "px"});
    EXPECT_EQ(Done(pixels), "area,perimeter,cx,unit\n24,20,9.5,px\n24,20,9.5,px\n");
}

TEST_F(ColumnsTest, ProfilesOfSeveralImagesAndChannels) {
    Add("ROIProfile", {"--points", "7,5", "11,5"});  // to the last column
    cv::Mat colour(12, 12, CV_8UC3, cv::Scalar(30, 20, 10));
    cv::Mat reals(40000, 12, CV_32F, cv::Scalar(7));
    reals.at<float>(5, 9) = std::numeric_limits<float>::quiet_NaN();
    const Arguments files = {Save("c.png", colour), Save("r.tif", reals)};
    const json rows = Rows({"profile", "s.roi", "ROIProfile", files[0], files[1], "--channels", "--thickness", "0"});
    ASSERT_EQ(rows.size(), 4U * 5U);
    for (int i = 0; i < 20; ++i) {
        const char* const channels[] = {"R", "G", "B", "L"};
        const double values[] = {10, 20, 30, 7};
        EXPECT_EQ(rows[i]["image"], files[i / 15]);
        EXPECT_EQ(rows[i]["channel"], channels[i / 5]);
        const bool isHole = i == 17;
        EXPECT_EQ(rows[i]["samples"], isHole ? 0 : 1);
        EXPECT_EQ(rows[i]["mean"], isHole ? json() : json(values[i / 5]));
    }
    // A band beyond what a word counts.
    Done({"set", "s.roi", "ROIProfile", "Thickness1=0.5", "Thickness2=39000"});
    EXPECT_EQ(Rows({"profile", "s.roi", "ROIProfile", files[1]})[0]["samples"], 39001);
    EXPECT_TRUE(Has(Roi({"profile", "s.roi", "ROIProfile", files[0], files[1], "-o", "o.svg"}).err, "one curve"));
}

TEST_F(ColumnsTest, HistogramsCountEveryPixelOnce) {
    Add("ROIRectangle", {"CenterX=10", "CenterY=10", "Width=8", "Height=6"});
    cv::Mat ramp(20, 20, CV_8U);
    ramp.forEach<std::uint8_t>([](std::uint8_t& value, const int* at) { value = static_cast<std::uint8_t>(at[1]); });
    Save("i.png", ramp);
    const json rows = Rows({"histogram", "s.roi", "i.png", "--bins", "4", "-o", "h.svg"});
    ASSERT_EQ(rows.size(), 4U);  // columns 6 to 13, two in each bin
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(rows[i]["from"], 6 + 2 * i);
        EXPECT_EQ(rows[i]["to"], 8 + 2 * i);
        EXPECT_EQ(rows[i]["area"], 12);
    }
    EXPECT_TRUE(Has(Bytes("h.svg"), "ROIRectangle"));
}

}  // namespace
