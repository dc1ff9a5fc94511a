// Label images: each value above 0 is a figure.
#include <fmt/format.h>

#include <map>
#include <stdexcept>

#include "host/images/Image.h"
#include "host/sets/formats/Formats.h"

namespace host {

namespace {

constexpr std::size_t kMostLabels = 100000;

std::map<int, cv::Rect> BoxesOf(const cv::Mat& labels) {
    std::map<int, cv::Rect> boxes;
    for (int y = 0; y < labels.rows; ++y) {
        const int* const row = labels.ptr<int>(y);
        for (int x = 0; x < labels.cols; ++x) {
            if (row[x] > 0) {
                cv::Rect& box = boxes[row[x]];
                box |= cv::Rect(x, y, 1, 1);
            }
        }
        if (boxes.size() > kMostLabels) {
            throw std::runtime_error("it has too many labels");
        }
    }
    return boxes;
}

}  // namespace

std::vector<ForeignFigure> ReadLabelImage(std::string_view bytes, Reading& reading) {
    const cv::Mat image = DecodeImage(bytes);
    if (image.empty() || image.channels() != 1 || image.depth() > CV_32S) {
        throw std::runtime_error("not an image of whole numbers in one plane");
    }
    cv::Mat labels;
    image.convertTo(labels, CV_32S);
    std::vector<ForeignFigure> figures;
    for (const auto& [label, box] : BoxesOf(labels)) {
        reading.TakePixels(static_cast<double>(box.area()));
        figures.push_back(MaskFigure(fmt::format("label {}", label), cv::Mat(labels(box) == label), box.x, box.y));
    }
    return figures;
}

}  // namespace host
