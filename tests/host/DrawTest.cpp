// What `roi draw` shows: close-ups and numbered nodes, through the command as a user runs it.
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

TEST_F(Draw, NodesAreNumberedOnRequest) {
    Add("ROIEllipse", "e", {"CenterX=60", "CenterY=40", "RadiusX=20", "RadiusY=20"});
    const cv::Mat plain = Drawn({"--crop", "e"});
    const int numbers = Difference(plain, Drawn({"--crop", "e", "--nodes"}));
    EXPECT_GT(numbers, 100) << "three digits";
    EXPECT_LT(numbers, 5000);
    EXPECT_EQ(Difference(plain, Drawn({"--crop", "e"})), 0) << "the same picture every time";
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
