// Filters a cv::Mat in place of its memory: both libraries see the same pels.
#include "example.h"

#include <filt/fft.h>
#include <filt/freqfilt.h>

#include <opencv2/core.hpp>

#include <iostream>
#include <memory>

namespace {
// [wrap_mat]
template <class T>
vxPelBuffer<T> wrap(const cv::Mat& mat) {
    if (mat.dims != 2 || mat.type() != cv::traits::Type<T>::value) {
        throw std::invalid_argument("the matrix is not an image of one channel and of the asked type");
    }
    // A header of its own shares the pels and counts as a reference, so that they live as long as the window.
    const auto owner = std::make_shared<cv::Mat>(mat);
    const long rowUpdate = static_cast<long>(mat.step1()); // Elements, not bytes, from row to row.
    return vxPelBuffer<T>(owner->ptr<T>(), mat.cols, mat.rows, rowUpdate, owner);
}
// [wrap_mat]

void run() {
    cv::Mat frame(300, 400, CV_8UC1);
    cv::RNG random(1);
    random.fill(frame, cv::RNG::UNIFORM, 0, 256);
    const cv::Mat region = frame(cv::Rect(40, 30, 256, 128)); // Not continuous: rows are 400 pels apart.

    const vxPelBuffer<unsigned char> image = wrap<unsigned char>(region);
    example::require(image.pointToOffset() == region.ptr() && image.rowUpdate() == 400,
                     "the pels are the matrix's");
    vxFrequencyBuffer spectrum;
    vfForwardFFT<unsigned char>(image, spectrum);

    // A low-pass: the gain is 1 up to 0.05 cycles per pixel.
    const vxFrequencyFilterBandPass filter(0.02, 0.05, 0.0, {spectrum.width(), spectrum.height()}, 0);
    filter.apply(spectrum);

    // The result goes straight into a matrix, here of doubles.
    cv::Mat result(128, 256, CV_64FC1);
    vxPelBuffer<double> target = wrap<double>(result);
    vfInverseFFT(spectrum, target, false, true);

    cv::Scalar meanBefore;
    cv::Scalar deviationBefore;
    cv::meanStdDev(region, meanBefore, deviationBefore);
    cv::Scalar mean;
    cv::Scalar deviation;
    cv::meanStdDev(result, mean, deviation);
    std::cout << "mean " << meanBefore[0] << " and " << mean[0] << ", deviation " << deviationBefore[0]
              << " and " << deviation[0] << '\n';
    example::require(std::abs(mean[0] - meanBefore[0]) < 1e-3, "the mean stays");
    example::require(deviation[0] < deviationBefore[0] / 3.0, "most of the noise is gone");

    try {
        static_cast<void>(wrap<unsigned short>(frame));
    } catch (const std::invalid_argument&) {
        return;
    }
    example::require(false, "a matrix of another type is refused");
}
} // namespace

int main() {
    try {
        run();
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "opencv_image: " << error.what() << '\n';
        return 1;
    }
}
