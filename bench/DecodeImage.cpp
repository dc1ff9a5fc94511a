// Loads OpenCV and decodes the image named on the command line: the least that measuring it can cost.
#include <opencv2/imgcodecs.hpp>

int main(int argc, char** argv) { return argc == 2 && !cv::imread(argv[1], cv::IMREAD_UNCHANGED).empty() ? 0 : 1; }
