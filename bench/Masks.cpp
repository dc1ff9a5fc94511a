// How fast are masks drawn?
#include <fmt/format.h>

#include <cstring>
#include <opencv2/imgproc.hpp>

#include "bench/Questions.h"
#include "bench/RatioTable.h"
#include "contract/Extensions.h"

namespace {

// A mask's width and what is aimed at there.
struct Size {
    int width;
    double fasterThanFloodFill;
    double memsets;
};
constexpr Size kSizes[] = {{71, 4.0, 0.0}, {500, 7.0, 0.0}, {2000, 12.0, 8.0}};

cv::Mat MatOf(ICIF& mask) {
    const ImagePixels pixels = PixelsOf(mask);
    return {pixels.height, pixels.width, CV_8U, pixels.data, static_cast<std::size_t>(pixels.stride)};
}

int MarkedPixels(ICIF& mask) { return cv::countNonZero(MatOf(mask)); }

Body MemsetOf(cv::Size size) {
    return Repeat([pixels = std::make_shared<std::vector<unsigned char>>(static_cast<std::size_t>(size.area()))] {
        return std::memset(pixels->data(), 255, pixels->size());
    });
}

// A way to draw a mask without the module, first compared with the module's: the same pixels but for
// the outline's.
template <class Draw>
Body Drawn(ICIF& mask, Draw draw) {
    const cv::Size size = MatOf(mask).size();
    const int differing = std::abs(cv::countNonZero(draw(size)) - MarkedPixels(mask));
    if (differing > 4 * (size.width + size.height)) {
        return [differing](benchmark::State& state) {
            state.SkipWithError(fmt::format("{} pixels differ", differing).c_str());
        };
    }
    return Repeat([size, draw] { return draw(size).data; });
}

template <class Make, class Outline, class Filled>
void AddMask(const std::string& operation, const Size& goals, double fasterThanFilled, Make make, Outline outline,
             Filled filled) {
    const SmartPtr<ICIF> mask = make();
    Row(operation)
        .Ours(Repeat([make] { return make().Get(); }))
        .Limit("memset of the box", goals.memsets, MemsetOf(MatOf(*mask).size()))
        .Peer("OpenCV outline and floodFill", goals.fasterThanFloodFill, Drawn(*mask, outline))
        .Peer("OpenCV filled shapes", fasterThanFilled, Drawn(*mask, filled));
}

void AddRectangle(const host::Session& session, const Size& goals) {
    const auto rectangle = NewFigure<IROIRectangle>(session, "ROIRectangle");
    rectangle->SetSize(1.0, 0.6);
    rectangle->put_Roll(0.4);
    Point unit;
    rectangle->GetBoundingSize(&unit.x, &unit.y);
    const double scale = (goals.width - 1) / unit.x;
    rectangle->SetSize(scale, 0.6 * scale);
    rectangle->SetCenter(0.5 * (goals.width - 1), 0.5 * unit.y * scale);
    std::vector<cv::Point> corners;
    for (const ROICorner corner : {kNodeCorner2, kNodeCorner3, kNodeCorner4, kNodeCorner5}) {
        corners.emplace_back();
        rectangle->GetCornerPointI(corner, &corners.back().x, &corners.back().y);
    }
    AddMask(
        fmt::format("mask, rolled rectangle, {} wide", goals.width), goals, 0.0,
        [rectangle] {
            SmartPtr<ICIF> mask;
            rectangle->GetMask(mask.Receive());
            return mask;
        },
        [corners](cv::Size size) {
            cv::Mat image(size, CV_8U, cv::Scalar(0));
            cv::polylines(image, corners, true, 255, 1, cv::LINE_4);
            cv::floodFill(image, cv::Point(size) / 2, 255, nullptr, cv::Scalar(), cv::Scalar(), 4);
            return image;
        },
        [corners](cv::Size size) {
            cv::Mat image(size, CV_8U, cv::Scalar(0));
            cv::fillConvexPoly(image, corners, 255);
            return image;
        });
}

void AddRing(const host::Session& session, const Size& goals) {
    const auto donut = NewFigure<IROIDonut>(session, "ROIDonut");
    const double outer = 0.5 * goals.width;
    const double inner = 0.6 * outer;
    donut->SetCenter(outer, outer);
    donut->SetRadius(0, inner, inner);
    const cv::Size outerAxes(goals.width / 2, goals.width / 2);
    const cv::Size innerAxes(static_cast<int>(inner), static_cast<int>(inner));
    AddMask(
        fmt::format("mask, ring, {} wide", goals.width), goals, 1.0,
        [donut, outer] {
            donut->SetRadius(1, outer, outer);  // Drops the mask that the donut keeps.
            SmartPtr<ICIF> mask;
            donut->GetMask(mask.Receive());
            return mask;
        },
        [=](cv::Size size) {
            cv::Mat image(size, CV_8U, cv::Scalar(0));
            const cv::Point center = cv::Point(size) / 2;
            cv::ellipse(image, center, outerAxes, 0.0, 0.0, 360.0, 255, 1, cv::LINE_4);
            cv::ellipse(image, center, innerAxes, 0.0, 0.0, 360.0, 255, 1, cv::LINE_4);
            const cv::Point between((outerAxes.width + innerAxes.width) / 2, 0);
            cv::floodFill(image, center + between, 255, nullptr, cv::Scalar(), cv::Scalar(), 4);
            return image;
        },
        [=](cv::Size size) {
            cv::Mat image(size, CV_8U, cv::Scalar(0));
            const cv::Point center = cv::Point(size) / 2;
            cv::ellipse(image, center, outerAxes, 0.0, 0.0, 360.0, 255, cv::FILLED);
            cv::ellipse(image, center, innerAxes, 0.0, 0.0, 360.0, 0, cv::FILLED);
            return image;
        });
}

}  // namespace

void AddMasks(const host::Session& session) {
    for (const Size& goals : kSizes) {
        AddRectangle(session, goals);
    }
    for (const Size& goals : kSizes) {
        AddRing(session, goals);
    }
}
