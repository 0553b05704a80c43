// The same transforms with OpenCV's dft and with kavfilt.
#include "comparison.h"

#include <filt/fft.h>

#include <opencv2/core.hpp>

namespace {
constexpr int width = 128;
constexpr int height = 64;

cv::Mat matOf(const vxPelBuffer_const<unsigned char>& image) {
    cv::Mat mat(height, width, CV_32FC1);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            mat.at<float>(y, x) = static_cast<float>(image.pointToRow(y)[x]);
        }
    }
    return mat;
}

void compareImages(const vxPelBuffer_const<double>& ours, const cv::Mat& theirs, const char* what) {
    comparison::Difference difference;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            difference.add(ours.pointToRow(y)[x], static_cast<double>(theirs.at<float>(y, x)));
        }
    }
    comparison::requireEqual(difference, what);
}

void compareSpectra(const vxFrequencyBuffer& ours, const cv::Mat& theirs, const char* what) {
    comparison::Difference difference;
    for (int v = 0; v < height; ++v) {
        for (int u = 0; u < width; ++u) {
            const cv::Vec2f sample = theirs.at<cv::Vec2f>(v, u);
            difference.add(ours.getReal(u, v, false), static_cast<double>(sample[0]));
            difference.add(ours.getImaginary(u, v, false), static_cast<double>(sample[1]));
        }
    }
    comparison::requireEqual(difference, what);
}

// Pels above 255: OpenCV's conversion saturates, the library's inverse keeps the low 8 bits unless it
// normalises.
void comparePels() {
    vxPelBuffer<double> bright(width, height);
    vfPelSet(bright, 300.0);
    cv::Mat saturated;
    cv::Mat(height, width, CV_32FC1, cv::Scalar(300)).convertTo(saturated, CV_8U);
    vxFrequencyBuffer spectrum;
    vfForwardFFT<double>(bright, spectrum);
    vxPelBuffer<unsigned char> wrapped;
    vfInverseFFT(spectrum, wrapped, false, true);
    example::require(saturated.at<unsigned char>(0, 0) == 255 && wrapped.pointToRow(0)[0] == 300 - 256,
                     "OpenCV saturates, the inverse wraps");
}

void run() {
    const vxPelBuffer<unsigned char> image = comparison::image<unsigned char>(width, height, 1);
    const vxPelBuffer<unsigned char> second = comparison::image<unsigned char>(width, height, 2);
    const cv::Mat mat = matOf(image);
    const cv::Mat secondMat = matOf(second);

    // [opencv_correlation]
    cv::Mat theirs;
    cv::Mat theirSecond;
    cv::dft(mat, theirs, cv::DFT_COMPLEX_OUTPUT);
    cv::dft(secondMat, theirSecond, cv::DFT_COMPLEX_OUTPUT);
    cv::Mat theirProduct;
    cv::mulSpectrums(theirs, theirSecond, theirProduct, 0, true); // With the second one's conjugate.
    cv::Mat theirCorrelation;
    cv::idft(theirProduct, theirCorrelation, cv::DFT_SCALE | cv::DFT_REAL_OUTPUT);
    // [opencv_correlation]

    // [opencv_correlation_kavfilt]
    vxFrequencyBuffer spectrum;
    vxFrequencyBuffer product;
    vfForwardFFT<unsigned char>(image, spectrum);
    vfForwardFFT<unsigned char>(second, product);
    vfFrequencyConjugate(product);
    vfFrequencyMultiply(spectrum, product); // The second argument takes the product.
    vxPelBuffer<double> correlation;
    vxPelBuffer<double> imaginary;
    vfInverseFFT(static_cast<const vxFrequencyBuffer&>(product), correlation, imaginary);
    // [opencv_correlation_kavfilt]

    compareSpectra(spectrum, theirs, "dft");
    compareSpectra(product, theirProduct, "mulSpectrums");
    compareImages(correlation, theirCorrelation, "idft");

    // [opencv_polar]
    cv::Mat parts[2];
    cv::split(theirs, parts);
    cv::Mat magnitude;
    cv::Mat phase; // 0 to 2 pi, as ours.
    cv::cartToPolar(parts[0], parts[1], magnitude, phase);
    // [opencv_polar]
    compareImages(spectrum.getMagnitudeImage(false), magnitude, "magnitudes");
    const vxPelBuffer<double> ours = spectrum.getPhaseImage(false);
    double farthest = 0.0;
    for (int v = 0; v < height; ++v) {
        for (int u = 0; u < width; ++u) {
            const double difference = ours.pointToRow(v)[u] - static_cast<double>(phase.at<float>(v, u));
            farthest = std::max(farthest, std::abs(std::remainder(difference, 2.0 * example::pi)));
            example::require(ours.pointToRow(v)[u] >= 0.0, "phases are 0 to 2 pi");
        }
    }
    std::cout << "phases: " << farthest << " radians\n";
    example::require(farthest < 5e-4, "phases agree to what OpenCV's fast arc tangent is good for");
    comparePels();
}
} // namespace

int main() {
    try {
        run();
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "opencv: " << error.what() << '\n';
        return 1;
    }
}
