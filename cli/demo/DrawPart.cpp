// Draws the image that the demo measures: a machined plate with bores, a washer, a rib and a slot, lit
// from the upper left, with the noise of a camera. The same picture every time.
#include <cmath>
#include <cstdio>
#include <exception>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>
#include <string>

namespace {

const cv::Size kSize(900, 600);
// Drawn this much larger and brought down at the end: soft edges.
constexpr int kOversampling = 3;

// The part as two maps: how high the surface stands and how bright its material is.
class Part {
  public:
    Part() : m_height(kSize * kOversampling, CV_32F, cv::Scalar(0)), m_tone(m_height.size(), CV_32F, cv::Scalar(52)) {}

    void Disc(cv::Point2d center, double radius, double height, double tone) {
        Both(height, tone, [&](cv::Mat& map, double value) {
            cv::circle(map, Large(center), cvRound(radius * kOversampling), value, cv::FILLED, cv::LINE_AA);
        });
    }

    // A box of rounded corners, rolled about its centre; a radius of half its height makes a slot.
    void RoundedBox(cv::Point2d center, cv::Size2d size, double degrees, double radius, double height, double tone) {
        const cv::Size2f inner(static_cast<float>(size.width - 2.0 * radius),
                               static_cast<float>(size.height - 2.0 * radius));
        cv::Point2f corners[4];
        cv::RotatedRect(center, inner, static_cast<float>(degrees)).points(corners);
        std::vector<cv::Point> polygon;
        for (const cv::Point2f& corner : corners) {
            polygon.push_back(Large(corner));
        }
        Both(height, tone, [&](cv::Mat& map, double value) {
            cv::fillConvexPoly(map, polygon, value, cv::LINE_AA);
            cv::polylines(map, polygon, true, value, cvRound(2.0 * radius * kOversampling), cv::LINE_AA);
        });
    }

    // A ring whose turned surface shines in two opposite directions.
    void Washer(cv::Point2d center, double inner, double outer, double height, double tone) {
        Disc(center, outer, height, tone);
        const cv::Point2d middle = center * kOversampling;
        const int reach = cvRound(outer * kOversampling);
        for (int y = cvRound(middle.y) - reach; y <= cvRound(middle.y) + reach; ++y) {
            for (int x = cvRound(middle.x) - reach; x <= cvRound(middle.x) + reach; ++x) {
                const double distance = std::hypot(x - middle.x, y - middle.y);
                if (distance < reach - kOversampling) {
                    const double angle = std::atan2(y - middle.y, x - middle.x);
                    m_tone.at<float>(y, x) += static_cast<float>(26.0 * std::cos(2.0 * (angle - CV_PI / 4.0)) +
                                                                 3.0 * std::sin(distance / kOversampling * 1.9));
                }
            }
        }
        Disc(center, inner, -14.0, 30.0);
    }

    // The lit surface, brought down to the size of the image, without noise.
    cv::Mat Lit() const {
        cv::Mat surface;
        cv::GaussianBlur(m_height, surface, cv::Size(), 1.6 * kOversampling);
        cv::Mat slopeX;
        cv::Mat slopeY;
        cv::Sobel(surface, slopeX, CV_32F, 1, 0, 3, kOversampling / 8.0);
        cv::Sobel(surface, slopeY, CV_32F, 0, 1, 3, kOversampling / 8.0);
        cv::Mat around;
        cv::GaussianBlur(m_height, around, cv::Size(), 12.0 * kOversampling);
        const cv::Mat sunken = cv::max(around - m_height, 0.0);
        const cv::Mat light = m_tone + 11.0 * slopeX + 14.0 * slopeY - 2.6 * sunken;
        cv::Mat image;
        cv::resize(light, image, kSize, 0.0, 0.0, cv::INTER_AREA);
        return image;
    }

  private:
    static cv::Point Large(cv::Point2d at) { return {cvRound(at.x * kOversampling), cvRound(at.y * kOversampling)}; }

    template <class Draw>
    void Both(double height, double tone, Draw draw) {
        draw(m_height, height);
        draw(m_tone, tone);
    }

    cv::Mat m_height;
    cv::Mat m_tone;
};

cv::Mat Noise(cv::RNG& random, double deviation, double blurX, double blurY) {
    cv::Mat noise(kSize, CV_32F);
    random.fill(noise, cv::RNG::NORMAL, 0.0, 1.0);
    if (blurX > 0.0) {
        cv::GaussianBlur(noise, noise, cv::Size(), blurX, blurY);
    }
    cv::Scalar mean;
    cv::Scalar spread;
    cv::meanStdDev(noise, mean, spread);
    return noise * (deviation / spread[0]);
}

// Brighter toward the lamp at the upper left.
cv::Mat Lamp() {
    cv::Mat lamp(kSize, CV_32F);
    for (int y = 0; y < kSize.height; ++y) {
        for (int x = 0; x < kSize.width; ++x) {
            const double distance = std::hypot(x - 330.0, y - 190.0) / kSize.width;
            lamp.at<float>(y, x) = static_cast<float>(1.06 - 0.42 * distance * distance);
        }
    }
    return lamp;
}

cv::Mat PartImage() {
    constexpr double kPlate = 150.0;
    constexpr double kBore = 28.0;
    Part part;
    part.RoundedBox({450, 300}, {800, 510}, 0.0, 34.0, 10.0, kPlate);
    for (const cv::Point2d bore : {cv::Point2d(108, 98), {792, 98}, {108, 502}, {792, 502}}) {
        part.Disc(bore, 30.0, 8.0, kPlate + 12.0);
        part.Disc(bore, 19.0, -14.0, kBore);
    }
    part.Disc({245, 215}, 96.0, 8.5, kPlate - 14.0);
    part.Disc({245, 215}, 72.0, -14.0, kBore);
    part.RoundedBox({560, 130}, {220, 52}, 8.0, 26.0, -10.0, kBore + 12.0);
    part.Washer({640, 365}, 58.0, 108.0, 14.0, kPlate + 32.0);
    part.RoundedBox({315, 430}, {250, 56}, -12.0, 6.0, 15.0, kPlate + 46.0);

    cv::RNG random(20240229);
    cv::Mat image = part.Lit().mul(Lamp());
    image += Noise(random, 2.2, 24.0, 0.7);
    image += Noise(random, 2.6, 0.0, 0.0);
    cv::Mat bytes;
    image.convertTo(bytes, CV_8U);
    return bytes;
}

}  // namespace

int main(int count, char** arguments) {
    if (count != 2) {
        std::fprintf(stderr, "usage: draw_part IMAGE\n");
        return 2;
    }
    try {
        if (cv::imwrite(arguments[1], PartImage())) {
            return 0;
        }
        std::fprintf(stderr, "draw_part: cannot write %s\n", arguments[1]);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "draw_part: %s\n", error.what());
    }
    return 1;
}
