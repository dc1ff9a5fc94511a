// Many images, many figures, many columns; figures mapped, copied and converted; what a terminal sees.
#include <algorithm>
#include <clocale>
#include <cmath>
#include <nlohmann/json.hpp>
#include <numeric>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>
#include <sstream>

#include "tests/host/RunRoi.h"

namespace {

using json = nlohmann::ordered_json;
using Arguments = std::vector<std::string>;

Arguments operator+(Arguments a, const Arguments& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

std::vector<std::string> Lines(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

const Arguments kCsv = {"--format", "csv"};

class BatchTest : public RoiCommand {
  public:
    using RoiCommand::Done;
    using RoiCommand::Folder;

  protected:
    void Add(const std::string& className, const std::string& name, const Arguments& values) const {
        Done(Arguments{"add", "s.roi", className, "--name", name} + values);
    }
    void AddDiscAndBox() const {
        Add("ROIEllipse", "disc", {"CenterX=30", "CenterY=20", "RadiusX=8.7", "RadiusY=8.7"});
        Add("ROIRectangle", "box", {"CenterX=30", "CenterY=25", "Width=29", "Height=9", "Angle=20"});
    }
    std::string Save(const std::string& file, const cv::Mat& image) const {
        cv::imwrite((Folder() / file).string(), image);
        return file;
    }
    Arguments SaveImages(int count) const {
        Arguments files;
        for (int i = 0; i < count; ++i) {
            cv::Mat image(30 + i % 3 * 20, 40 + i % 4 * 300, i % 2 == 0 ? CV_8UC3 : CV_16U);
            cv::randu(image, 0, i % 2 == 0 ? 256 : 65536);
            files.push_back(Save("i" + std::to_string(i) + ".png", image));
        }
        return files;
    }
    std::string List(const Arguments& files) const {
        std::string text;
        for (const std::string& file : files) {
            text += file + "\n\n";
        }
        WriteBytes("list.txt", text);
        return "list.txt";
    }
    RunResult Shell(const std::string& script) const {
        return RunProgram({"/bin/sh", "-c", "PATH=" BIN_DIR ":$PATH; " + script}, Folder());
    }
    std::string Parameters(const std::string& set, std::size_t figure) const {
        return LineOf(json::parse(Done({"list", set, "--format", "json"})).at(figure));
    }
};

TEST_F(BatchTest, RowsComeInTheOrderOfTheListWhateverTheNumberOfJobs) {
    AddDiscAndBox();
    const Arguments files = SaveImages(13);
    const std::string one = Done(Arguments{"measure", "s.roi", "--jobs", "1"} + kCsv + files);
    const std::vector<std::string> lines = Lines(one);
    ASSERT_EQ(lines.size(), 27U);
    for (std::size_t i = 0; i < files.size(); ++i) {
        EXPECT_TRUE(Starts(lines[2 * i + 1], files[i] + ",disc,"));
        EXPECT_TRUE(Starts(lines[2 * i + 2], files[i] + ",box,"));
    }
    EXPECT_EQ(Done(Arguments{"measure", "s.roi", "--jobs", "4"} + kCsv + files), one);
    List(files);
    EXPECT_EQ(Shell("roi measure s.roi --from - --jobs 3 --format csv <list.txt").out, one);
    // Relative paths, from another folder; the last line without an end.
    std::filesystem::create_directory(Folder() / "sub");
    WriteBytes("sub/list.txt", "../i0.png\r\n../i1.png");
    const RunResult below = Shell("cd sub; roi measure ../s.roi --from list.txt --columns name,pixels --format csv");
    EXPECT_EQ(Lines(below.out).size(), 5U) << below.err;
}

TEST_F(BatchTest, TheShardsOfAListHaveEachImageExactlyOnce) {
    AddDiscAndBox();
    const Arguments files = SaveImages(7);
    List(Arguments(files.begin() + 2, files.end()));
    const RunResult all = Shell(
        "for i in 1 2 3; do roi measure s.roi i0.png i1.png --from list.txt --shard $i/3 --columns image,name "
        "--format csv; done");
    std::vector<std::string> expected;
    for (std::size_t shard = 0; shard < 3; ++shard) {
        expected.emplace_back("image,name");
        for (std::size_t i = shard; i < files.size(); i += 3) {
            expected.insert(expected.end(), {files[i] + ",disc", files[i] + ",box"});
        }
    }
    EXPECT_EQ(Lines(all.out), expected) << all.err;
    EXPECT_EQ(json::parse(Done({"measure", "s.roi", "i0.png", "--shard", "2/2", "--format", "json"})), json::array());
}

TEST_F(BatchTest, KeepGoingMeasuresTheOthersAndTellsWhichFailed) {
    AddDiscAndBox();
    Arguments files = SaveImages(6);
    WriteBytes("torn.png", Bytes("i1.png").substr(0, 50));
    files.insert(files.begin() + 3, {"torn.png", "none.png"});
    const RunResult going = Roi(Arguments{"measure", "s.roi", "--keep-going", "--format", "json"} + files);
    EXPECT_EQ(going.exitCode, 7);
    EXPECT_EQ(json::parse(going.out).size(), 12U);
    const std::vector<std::string> talk = Lines(going.err);
    ASSERT_EQ(talk.size(), 3U) << going.err;
    EXPECT_TRUE(Starts(talk[0], "roi: error: cannot read image: torn.png: "));
    EXPECT_TRUE(Starts(talk[1], "roi: error: cannot read image: none.png: No such file"));
    EXPECT_EQ(talk[2], "roi: error: not all images measured: 2 of 8 failed: the rows of the others stand");
    // Without it the rows before the failure are a sound table.
    const RunResult stopped = Roi(Arguments{"measure", "s.roi", "--format", "json"} + files);
    EXPECT_EQ(stopped.exitCode, 1);
    EXPECT_EQ(json::parse(stopped.out).size(), 6U);
    EXPECT_EQ(Lines(stopped.err).size(), 1U);
    EXPECT_EQ(Roi(Arguments{"measure", "s.roi", "none.png"} + kCsv).out, "");
}

TEST_F(BatchTest, MistakesAreOneLineAndAFullDiskIsAnError) {
    AddDiscAndBox();
    SaveImages(2);
    const struct {
        Arguments arguments;
        int exitCode;
        const char* start;
    } cases[] = {
        {{"measure", "s.roi"}, 2, "usage: roi measure: no images"},
        {{"measure", "s.roi", "i0.png", "--columns", "name,men"}, 2, "unknown column: men: the nearest is mean"},
        {{"measure", "s.roi", "i0.png", "--columns", "sum,sum"}, 2, "column given twice: sum: "},
        {{"measure", "s.roi", "i0.png", "--shard", "3/2"}, 2, "not a shard: 3/2: "},
        {{"measure", "s.roi", "i0.png", "--jobs", "0"}, 2, "usage: roi measure: --jobs"},
        {{"measure", "s.roi", "--from", "none.txt"}, 1, "cannot read list: none.txt: No such file"},
        {{"measure", "s.roi", "--from", "."}, 1, "cannot read list: .: Is a directory"},
        {{"measure", "none.roi", "i0.png"}, 1, "cannot read set: none.roi: "},
        {{"transform", "s.roi", "--matrix", "1,2,3,4,5"}, 2, "not a matrix: 1,2,3,4,5: "},
        {{"transform", "s.roi", "--matrix", "1,0,0,0,1,0", "dics"}, 1, "unknown figure: dics: the nearest is disc"},
        {{"transform", "s.roi", "--matrix", "1e308,0,0,0,1e308,0"}, 1, "cannot transform: disc: "},
        {{"clone", "s.roi", "box", "disc"}, 1, "name taken: disc: "},
        {{"convert", "s.roi", "s.txt"}, 2, "unknown kind of set: s.txt: "},
    };
    const std::string before = Bytes("s.roi");
    for (const auto& c : cases) {
        const RunResult result = Roi(c.arguments + (c.arguments[0] == "measure" ? kCsv : Arguments{}));
        EXPECT_EQ(result.exitCode, c.exitCode) << c.start;
        EXPECT_TRUE(Starts(result.err, std::string("roi: error: ") + c.start));
        EXPECT_EQ(Lines(result.err).size(), 1U);
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(Bytes("s.roi"), before) << c.start;
    }
    const RunResult full = Roi(Arguments{"measure", "s.roi", "i0.png", "i1.png", "--keep-going"} + kCsv, "/dev/full");
    EXPECT_EQ(full.exitCode, 1);
    EXPECT_EQ(full.err, "roi: error: cannot write: standard output: No space left on device\n");
}

TEST_F(BatchTest, APipeIsReadOnce) {
    AddDiscAndBox();
    SaveImages(1);
    const Arguments measure = {BIN_DIR "/roi", "measure", "s.roi",     "/dev/stdin",
                               "--format",     "csv",     "--columns", "mean"};
    const RunResult piped =
        RunProgram(Arguments{"/bin/bash", "-c", "cat i0.png | timeout 20 \"$@\"", "-"} + measure, Folder());
    EXPECT_EQ(piped.out, Done({"measure", "s.roi", "i0.png", "--format", "csv", "--columns", "mean"})) << piped.err;
}

// The values of one channel of an image at the pixels of a mask that lies at `origin`, sorted.
std::vector<double> Values(const cv::Mat& image, const std::string& channel, const cv::Mat& mask, cv::Point origin) {
    cv::Mat plane;
    cv::extractChannel(image, plane, channel == "L" ? 0 : static_cast<int>(std::string("BGRA").find(channel)));
    plane.convertTo(plane, CV_64F);
    std::vector<double> values;
    for (int y = 0; y < mask.rows; ++y) {
        for (int x = 0; x < mask.cols; ++x) {
            if (mask.at<unsigned char>(y, x) != 0) {
                values.push_back(plane.at<double>(y + origin.y, x + origin.x));
            }
        }
    }
    std::sort(values.begin(), values.end());
    return values;
}

// Measures some figures by channel and compares every row with the values that their masks mark.
json MeasuredAsCounted(const BatchTest& test, const Arguments& names, const Arguments& images) {
    const Arguments measure = Arguments{"measure", "s.roi", "--channels", "--format", "json"} + images;
    const Arguments columns = {"--columns", "image,channel,sum,name,median,angle,pixels"};
    const std::string text = test.Done(measure + columns + Arguments{"--jobs", "1"});
    EXPECT_EQ(test.Done(measure + columns + Arguments{"--jobs", "4"}), text);
    const json rows = json::parse(text);
    for (const std::string& name : names) {
        const json at = json::parse(test.Done({"mask", "s.roi", name, "-o", "m.png", "--format", "json"}))[0];
        const cv::Mat mask = cv::imread((test.Folder() / "m.png").string(), cv::IMREAD_UNCHANGED);
        for (const json& row : rows) {
            if (row["name"] != name) {
                continue;
            }
            const cv::Mat image = cv::imread((test.Folder() / row["image"]).string(), cv::IMREAD_UNCHANGED);
            const std::vector<double> values = Values(image, row["channel"], mask, {at["left"], at["top"]});
            const std::size_t n = values.size();
            EXPECT_EQ(row["pixels"], n);
            EXPECT_EQ(row["median"], n % 2 == 1 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2) << row;
            const double sum = std::accumulate(values.begin(), values.end(), 0.0);
            EXPECT_NEAR(row["sum"], sum, 1e-12 * sum) << row;
        }
    }
    return rows;
}

TEST_F(BatchTest, MedianSumAndAngleOfEveryChannelAreThoseOfCountingPixels) {
    Add("ROIEllipse", "odd", {"CenterX=30", "CenterY=20", "RadiusX=8.7", "RadiusY=8.7"});
    Add("ROIRectangle", "even", {"CenterX=30", "CenterY=20", "Width=29", "Height=9"});
    Add("ROIRectangle", "turned", {"CenterX=60", "CenterY=40", "Width=50", "Height=8", "Angle=-30"});
    cv::Mat bytes(80, 120, CV_8UC4), words(80, 120, CV_16UC3), reals(80, 120, CV_32F);
    cv::randu(bytes, 0, 256);
    cv::randu(words, 0, 65536);
    cv::randu(reals, 0, 1e6);
    const Arguments images = {Save("bytes.png", bytes), Save("words.png", words), Save("reals.tiff", reals)};
    const json rows = MeasuredAsCounted(*this, {"odd", "even", "turned"}, images);
    ASSERT_EQ(rows.size(), 3U * (4 + 3 + 1));
    EXPECT_TRUE(rows[0]["angle"].is_null());
    EXPECT_EQ(rows[4]["angle"], 0.0);
    EXPECT_NEAR(rows[8]["angle"], -30.0, 1.0);
    const auto head = Lines(Done(Arguments{"measure", "s.roi", "reals.tiff", "--channels"} + kCsv)).front();
    EXPECT_EQ(head, "image,name,channel,status,pixels,mean,std,min,max,cx,cy");
}

TEST_F(BatchTest, FiguresOnAllThreePhotographsAreMeasuredAsCounted) {
    if (!std::filesystem::exists(IMAGES_DIR)) {
        GTEST_SKIP() << "the photographs are not beside the sources";
    }
    Add("ROIEllipse", "disc", {"CenterX=220", "CenterY=200", "RadiusX=60", "RadiusY=60"});
    Add("ROIProfile", "line", {"--points", "50,60", "200,300"});
    const json rows = MeasuredAsCounted(*this, {"disc", "line"},
                                        {IMAGES_DIR "/cell.png", IMAGES_DIR "/brick.png", IMAGES_DIR "/retina.jpg"});
    EXPECT_EQ(rows.size(), 2U * (1 + 1 + 3));
}

TEST_F(BatchTest, TheTextIsTheSameInAGermanLocale) {
    if (std::setlocale(LC_ALL, "de_DE.UTF-8") == nullptr) {
        GTEST_SKIP() << "the locale de_DE.UTF-8 is not installed";
    }
    std::setlocale(LC_ALL, "C");
    AddDiscAndBox();
    SaveImages(1);
    const std::string script = "roi measure s.roi i0.png; roi measure s.roi i0.png --format csv; roi list s.roi";
    EXPECT_EQ(Shell("export LC_ALL=de_DE.UTF-8; " + script).out, Shell("export LC_ALL=C; " + script).out);
}

TEST_F(BatchTest, ASetOfTenThousandFiguresIsConvertedAndMeasured) {
    std::string xml = "<figures>";
    for (int i = 0; i < 10000; ++i) {
        xml += "<figure name='f" + std::to_string(i) + "' class='ROIRectangle'><values><CenterX>" +
               std::to_string(i % 100) +
               ".25</CenterX><CenterY>20</CenterY><Width>3</Width><Height>3</Height></values></figure>";
    }
    WriteBytes("many.xml", xml + "</figures>");
    Done({"convert", "many.xml", "s.roi"});
    const Arguments files = SaveImages(2);
    const auto lines = Lines(Done(Arguments{"measure", "s.roi"} + kCsv + files));
    ASSERT_EQ(lines.size(), 20001U);
    EXPECT_TRUE(Starts(lines[20000], "i1.png,f9999,ok,9,"));
}

TEST_F(BatchTest, TransformingMapsEveryClassAndTellsWhatItLeavesOut) {
    const std::string quarter = "0,-1,100,1,0,-.5", larger = "2,0,1,0,2,1", wider = "2,0,0,0,1,0",
                      lean = "1,.5,0,0,1,0";
    const Arguments points = {"--points", "10,20", "-.5,40"};
    const struct {
        const char* className;
        Arguments values;
        std::string matrix, parameters, warning;
    } cases[] = {
        {"ROIEllipse", {"CenterX=40"}, quarter, "CenterX=50 CenterY=39.5 RadiusX=30 RadiusY=30", ""},
        {"ROIEllipse", {"RadiusX=9"}, quarter, "CenterX=50 CenterY=49.5 RadiusX=9", "its axes stay upright"},
        {"ROIEllipse", {"RadiusX=9"}, wider, "CenterX=100 CenterY=50 RadiusX=18 RadiusY=30", ""},
        {"ROIRectangle", {"Width=20"}, quarter, "CenterX=50 CenterY=49.5 Width=20 Height=50 Angle=90", ""},
        {"ROIRectangle", {}, lean, "CenterX=75 CenterY=50 Width=50 Height=55.9", "a rectangle does not lean"},
        {"ROIParallelogram", {"Shear=20"}, larger, "CenterX=101 CenterY=101 Width=100 Height=100", ""},
        {"ROIParallelogram",
         {"Shear=20"},
         wider,
         "CenterX=100 CenterY=50 Width=100",
         "a parallelogram keeps its shear"},
        {"ROIDonut", {}, larger, "CenterX=101 CenterY=101 RadiusX1=40", ""},
        {"ROIArcDonut", {"DeltaAngle=90"}, quarter, "CenterX=50 CenterY=49.5", "an arc donut keeps its limits"},
        {"ROIProfile", points, larger, "Thickness1=40 Thickness2=40", ""},
        {"ROIProfile", points, wider, "Thickness1=", "a profile keeps its thicknesses on their sides and scales "},
        {"ROIShape", points, larger, "", "a shape ignores transforms"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.className + (" " + c.matrix));
        std::filesystem::remove(Folder() / "s.roi");
        Add(c.className, "f", c.values);
        const RunResult result = Roi({"transform", "s.roi", "--matrix", c.matrix, "f", "f"});
        EXPECT_EQ(result.exitCode, 0) << result.err;
        EXPECT_TRUE(c.warning.empty() ? result.err.empty() : Starts(result.err, "roi: warning: f: " + c.warning));
        EXPECT_TRUE(Starts(Parameters("s.roi", 0), c.parameters));
    }
}

TEST_F(BatchTest, CloningGoesThroughTheClassAndConvertingKeepsWhatTheFormDoes) {
    Add("ROIMask", "m", {"--mask", Save("m.png", cv::Mat(4, 5, CV_8U, cv::Scalar(255))), "CenterX=7.25"});
    Add("ROIRectangle", "r", {"Width=30", "Angle=7", "FixedAspect=3"});
    Add("ROIShape", "s", {"--points", "1,2"});
    Done({"clone", "s.roi", "m", "m2"});
    EXPECT_EQ(Roi({"clone", "s.roi", "r", "r2"}).err, "roi: warning: r2: a ROIRectangle does not copy Height\n");
    EXPECT_TRUE(Has(Roi({"clone", "s.roi", "s", "s2"}).err, "s2: a ROIShape does not copy itself"));
    const json rows = json::parse(Done({"list", "s.roi", "--format", "json"}));
    ASSERT_EQ(rows.size(), 6U);
    EXPECT_EQ(rows[3]["holds"], "mask of 5 x 4");
    EXPECT_EQ(rows[3]["parameters"], rows[0]["parameters"]);
    EXPECT_TRUE(Has(LineOf(rows[4]), "Width=30 Height=10 Angle=7"));

    Done({"convert", "s.roi", "copy.roi"});
    EXPECT_EQ(json::parse(Done({"list", "copy.roi", "--format", "json"})), rows);
    const RunResult result = Roi({"convert", "s.roi", "s.xml"});
    EXPECT_EQ(result.err,
              "roi: warning: m: XML does not keep the image of a mask\n"
              "roi: warning: s: XML does not keep the geometry of a shape\n"
              "roi: warning: m2: XML does not keep the image of a mask\n"
              "roi: warning: s2: XML does not keep the geometry of a shape\n");
    EXPECT_EQ(Parameters("s.xml", 1), LineOf(rows[1]));
}

TEST_F(BatchTest, AnArcDonutSaysThatItIgnoresASquareDrag) {
    Add("ROIArcDonut", "ring", {});
    const RunResult result = Roi({"drag", "s.roi", "ring", "2", "-.5,9", "--square"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "roi: warning: ring: an arc donut does not know --square and ignores the drag\n");
}

TEST_F(BatchTest, ATerminalSeesColoursAndProgressUnlessColoursAreUnwanted) {
    if (!std::filesystem::exists("/usr/bin/script")) {
        GTEST_SKIP() << "there is no program to make a terminal with";
    }
    AddDiscAndBox();
    SaveImages(2);
    const std::string measure = "script -qec 'roi measure s.roi i0.png none.png i1.png --keep-going' /dev/null";
    const std::string plain = Shell("unset TERM; NO_COLOR=1 " + measure).out;
    EXPECT_FALSE(Has(plain, "\x1B[1m"));
    EXPECT_TRUE(Has(plain, "/3 images"));
    EXPECT_TRUE(Has(plain, "roi: error: cannot read image: none.png"));
    const std::string coloured = Shell("unset NO_COLOR; " + measure).out;
    EXPECT_TRUE(Has(coloured, "\x1B[1mimage "));
    EXPECT_TRUE(Has(coloured, "\x1B[1m\x1B[31mroi: error:\x1B[0m"));
}

}  // namespace
