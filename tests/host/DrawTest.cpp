// What `roi draw` shows: edges, close-ups and numbered nodes, through the command as a user runs it.
#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>

#include "tests/host/RunRoi.h"

namespace {

class Draw : public RoiCommand {
  protected:
    Draw() { cv::imwrite((Folder() / "i.png").string(), cv::Mat(80, 120, CV_8U, cv::Scalar(90))); }

    void Add(const std::string& className, const std::string& name, std::vector<std::string> values) const {
        values.insert(values.begin(), {"add", "s.roi", className, "--name", name});
        Done(values);
    }
    cv::Mat Drawn(std::vector<std::string> options) const {
        options.insert(options.begin(), {"draw", "s.roi", "i.png", "-o", "o.png"});
        Done(options);
        return cv::imread((Folder() / "o.png").string());
    }
};

bool IsGround(const cv::Mat& picture, int x, int y) { return picture.at<cv::Vec3b>(y, x) == cv::Vec3b(90, 90, 90); }

int Difference(const cv::Mat& a, const cv::Mat& b) {
    cv::Mat changed;
    cv::inRange(a != b, cv::Scalar(0, 0, 0), cv::Scalar(0, 0, 0), changed);
    return static_cast<int>(changed.total()) - cv::countNonZero(changed);
}

TEST_F(Draw, ACloseUpEnlargesOneFigureAndKeepsItsPlace) {
    Add("ROIRectangle", "small", {"CenterX=20", "CenterY=30", "Width=10", "Height=6"});
    Add("ROIRectangle", "other", {"CenterX=24", "CenterY=40", "Width=40", "Height=6"});
    const cv::Mat picture = Drawn({"--crop", "small"});
    // 10 x 6 with a margin of 8 on every side: pixels 7 to 33 and 19 to 41, 23 times as large.
    ASSERT_EQ(picture.size(), cv::Size(27 * 23, 23 * 23));
    const auto middle = [](int pixel, int first) { return (pixel - first) * 23 + 11; };
    EXPECT_FALSE(IsGround(picture, middle(15, 7), middle(28, 19))) << "the left side";
    EXPECT_FALSE(IsGround(picture, middle(18, 7), middle(29, 19))) << "the tint";
    EXPECT_TRUE(IsGround(picture, middle(13, 7), middle(28, 19)));
    EXPECT_TRUE(IsGround(picture, middle(30, 7), middle(40, 19))) << "the other figure";
}

TEST_F(Draw, ACloseUpEndsWhereTheImageEnds) {
    Add("ROIEllipse", "corner", {"CenterX=118", "CenterY=-2", "RadiusX=20", "RadiusY=20"});
    // Columns 90 to 119 and rows 0 to 26, 20 times as large.
    const cv::Mat picture = Drawn({"--crop", "corner"});
    EXPECT_EQ(picture.size(), cv::Size(30 * 20, 27 * 20));
    Add("ROIEllipse", "vast", {"RadiusX=1e300", "RadiusY=1e300"});
    EXPECT_EQ(Drawn({"--crop", "vast"}).size(), cv::Size(120 * 5, 80 * 5));
}

TEST_F(Draw, AnEdgeShowsOnAnyGround) {
    Add("ROIRectangle", "box", {"CenterX=59.5", "CenterY=39.5", "Width=40", "Height=30"});
    cv::Mat noise(80, 120, CV_8UC3);
    cv::randu(noise, 0, 256);
    const struct {
        const char* what;
        cv::Mat ground;
    } cases[] = {
        {"red", cv::Mat(80, 120, CV_8UC3, cv::Scalar(0, 0, 255))},
        {"white", cv::Mat(80, 120, CV_8UC3, cv::Scalar::all(255))},
        {"black", cv::Mat(80, 120, CV_8UC3, cv::Scalar::all(0))},
        {"the figure's own colour", cv::Mat(80, 120, CV_8UC3, cv::Scalar(60, 205, 255))},
        {"the border's own colour", cv::Mat(80, 120, CV_8UC3, cv::Scalar(24, 20, 16))},
        {"noise", noise},
    };
    for (const auto& [what, ground] : cases) {
        cv::imwrite((Folder() / "i.png").string(), ground);
        const cv::Mat picture = Drawn({"--only", "box"});
        // Columns 40 to 79 count: the bright line lies on 39 and 40, its dark borders on 38 and 41.
        for (int y = 30; y < 50; ++y) {
            EXPECT_GT(cv::norm(picture.at<cv::Vec3b>(y, 39), picture.at<cv::Vec3b>(y, 38), cv::NORM_INF), 100) << what;
            EXPECT_GT(cv::norm(picture.at<cv::Vec3b>(y, 40), picture.at<cv::Vec3b>(y, 41), cv::NORM_INF), 100) << what;
            EXPECT_EQ(picture.at<cv::Vec3b>(y, 37), ground.at<cv::Vec3b>(y, 37)) << what;
            EXPECT_EQ(picture.at<cv::Vec3b>(y, 82), ground.at<cv::Vec3b>(y, 82)) << what;
            EXPECT_LE(cv::norm(picture.at<cv::Vec3b>(y, 43), ground.at<cv::Vec3b>(y, 43), cv::NORM_INF), 40) << what;
        }
    }
}

TEST_F(Draw, LinesAndLettersAreWrittenAsSvgAndPdf) {
    Add("ROIEllipse", "e", {"CenterX=60", "CenterY=40", "RadiusX=20", "RadiusY=20"});
    Done({"draw", "s.roi", "i.png", "-o", "o.svg", "--nodes"});
    const std::string svg = Bytes("o.svg");
    EXPECT_TRUE(Has(svg, "<svg"));
    EXPECT_TRUE(Has(svg, R"(viewBox="0 0 120 80")"));
    EXPECT_TRUE(Has(svg, "data:image/png;base64")) << "the image";
    EXPECT_TRUE(Has(svg, "fill-opacity:0.14")) << "the tint";
    // What is there of its own kind is replaced.
    for (int i = 0; i < 2; ++i) {
        Done({"draw", "s.roi", "i.png", "-o", "o.pdf"});
        EXPECT_TRUE(Starts(Bytes("o.pdf"), "%PDF-"));
    }
    EXPECT_TRUE(Has(Roi({"draw", "s.roi", "i.png", "-o", "o.eps"}).err, "unknown image format: o.eps: "));
}

TEST_F(Draw, WhatTouchesNoImageLoadsNoImageLibrary) {
    Add("ROIEllipse", "e", {"CenterX=60", "CenterY=40", "RadiusX=20", "RadiusY=20"});
    const auto loaded = [this](const std::string& command) {
        return RunProgram({"/bin/sh", "-c", "LD_DEBUG=files " BIN_DIR "/roi " + command}, Folder()).err;
    };
    for (const char* command : {"list s.roi", "nodes s.roi e", "hit s.roi 60,40", "set s.roi e RadiusX=21"}) {
        for (const char* library : {"Codecs.so", "CairoCanvas.so", "CIF.so", "libcairo", "libpng", "libopencv"}) {
            EXPECT_FALSE(Has(loaded(command), std::string(library))) << command;
        }
    }
    EXPECT_TRUE(Has(loaded("draw s.roi i.png -o o.png"), "libcairo")) << "what would be seen";
}

TEST_F(Draw, NodesAreNumberedOnRequest) {
    Add("ROIEllipse", "e", {"CenterX=60", "CenterY=40", "RadiusX=20", "RadiusY=20"});
    const cv::Mat plain = Drawn({"--crop", "e"});
    const int numbers = Difference(plain, Drawn({"--crop", "e", "--nodes"}));
    EXPECT_GT(numbers, 100) << "three digits";
    EXPECT_LT(numbers, 5000);
    EXPECT_EQ(Difference(plain, Drawn({"--crop", "e"})), 0) << "the same picture every time";
}

// The ground of part `index` of several of a width, away from the figure, whose edge all of them have.
void ExpectGround(const cv::Mat& picture, int index, int width, const cv::Vec3b& ground) {
    EXPECT_EQ(picture.at<cv::Vec3b>(70, index * width + 100), ground) << index;
    EXPECT_NE(picture.at<cv::Vec3b>(29, index * width + 50), ground) << index << ": the upper side";
}

TEST_F(Draw, ChannelsStandSideBySideInGrey) {
    Add("ROIRectangle", "box", {"CenterX=50", "CenterY=40", "Width=30", "Height=22"});
    cv::imwrite((Folder() / "i.png").string(), cv::Mat(80, 120, CV_8UC4, cv::Scalar(30, 120, 200, 90)));
    const cv::Mat picture = Drawn({"--channels", "--only", "box"});
    ASSERT_EQ(picture.size(), cv::Size(4 * 120, 80));
    const int values[] = {200, 120, 30, 90};
    for (int i = 0; i < 4; ++i) {
        ExpectGround(picture, i, 120, cv::Vec3b::all(static_cast<std::uint8_t>(values[i])));
    }
    Done({"draw", "s.roi", "i.png", "-o", "o.svg", "--channels"});
    EXPECT_TRUE(Has(Bytes("o.svg"), R"(viewBox="0 0 480 80")"));
    // A close-up of 47 x 39 pixels, 13 times as large.
    EXPECT_EQ(Drawn({"--channels", "--crop", "box"}).size(), cv::Size(4 * 47 * 13, 39 * 13));
}

TEST_F(Draw, OnePageIsDrawn) {
    Add("ROIRectangle", "box", {"CenterX=50", "CenterY=40", "Width=30", "Height=22"});
    const std::vector<cv::Mat> pages = {cv::Mat(80, 120, CV_8U, cv::Scalar(11)),
                                        cv::Mat(80, 120, CV_8U, cv::Scalar(22)),
                                        cv::Mat(80, 120, CV_8U, cv::Scalar(33))};
    cv::imwritemulti((Folder() / "t.tif").string(), pages);
    const RunResult third = Roi({"draw", "s.roi", "t.tif", "-o", "o.png", "--pages", "3-9"});
    EXPECT_EQ(third.err, "");
    ExpectGround(cv::imread((Folder() / "o.png").string()), 0, 120, {33, 33, 33});
    const RunResult two = Roi({"draw", "s.roi", "t.tif", "-o", "two.png", "--pages", "1,3"});
    EXPECT_EQ(two.exitCode, 2);
    EXPECT_EQ(two.err, "roi: error: usage: --pages: a picture shows one page\n");
    EXPECT_FALSE(std::filesystem::exists(Folder() / "two.png"));
}

TEST_F(Draw, WhatCanBeReadOfADamagedImageIsDrawnOnRequest) {
    Add("ROIRectangle", "box", {"CenterX=50", "CenterY=40", "Width=30", "Height=22"});
    Add("ROIRectangle", "below", {"CenterX=50", "CenterY=70", "Width=30", "Height=8"});
    // Rows of 120 bytes, 45 of them whole: the box, from row 29 to 50, ends below them.
    WriteBytes("cut.pgm", "P5 120 80 255\n" + std::string(45 * 120 + 7, 'Z'));
    EXPECT_EQ(Roi({"draw", "s.roi", "cut.pgm", "-o", "o.png"}).exitCode, 1);
    const RunResult lenient = Roi({"draw", "s.roi", "cut.pgm", "-o", "o.png", "--lenient"});
    EXPECT_EQ(lenient.err, "roi: warning: cut.pgm: it is damaged; what could be read is drawn\n");
    const cv::Mat picture = cv::imread((Folder() / "o.png").string());
    ASSERT_EQ(picture.size(), cv::Size(120, 45));
    EXPECT_NE(picture.at<cv::Vec3b>(44, 50), cv::Vec3b::all('Z')) << "the last row that counts has an edge";
    EXPECT_TRUE(Has(Roi({"draw", "s.roi", "cut.pgm", "-o", "o.png", "--lenient", "--crop", "below"}).err,
                    "cannot crop: below: the figure lies outside the image"));
}

TEST_F(Draw, WhatCannotBeShownCloseUpIsOneLineAndNoFile) {
    Add("ROIEllipse", "away", {"CenterX=500", "CenterY=500"});
    Add("ROIProfile", "empty", {});
    const std::string start = "roi: error: cannot crop: ";
    for (const char* name : {"away", "empty"}) {
        const RunResult result = Roi({"draw", "s.roi", "i.png", "-o", "o.png", "--crop", name});
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_EQ(result.err, start + name + ": the figure lies outside the image\n");
    }
    EXPECT_NE(Roi({"draw", "s.roi", "i.png", "-o", "o.png", "--crop", "nobody"}).exitCode, 0);
    EXPECT_FALSE(std::filesystem::exists(Folder() / "o.png"));
}

}  // namespace
