// OpenCV: cv::dft and the operations around it.
#include "bench/peers.h"
#include "bench/plane_loops.h"

#include <opencv2/core.hpp>

#include <array>
#include <memory>

namespace bench {

namespace {

template <class T>
cv::Mat matOf(const vxPelBuffer_const<T>& image) {
    return {static_cast<int>(image.height()), static_cast<int>(image.width()), cv::DataType<T>::type,
            const_cast<T*>(image.pointToOffset()), static_cast<std::size_t>(image.rowUpdate()) * sizeof(T)};
}

cv::Mat planeOf(const std::vector<float>& values, const Size& size, int type) {
    return {static_cast<int>(size.height), static_cast<int>(size.width), type,
            const_cast<float*>(values.data())};
}

std::vector<float> floatsOf(const cv::Mat& image) {
    cv::Mat values;
    image.convertTo(values, CV_MAKETYPE(CV_32F, image.channels()));
    const float* const first = values.ptr<float>();
    return {first, first + values.total() * static_cast<std::size_t>(values.channels())};
}

/// The matrices of one job. Their memory is made in the first run and used again.
class Work {
public:
    explicit Work(const Scene& scene)
        : scene_(scene)
        , part_(0, 0, static_cast<int>(scene.source.width), static_cast<int>(scene.source.height))
        , staged_(cv::Mat::zeros(paddedRows(), paddedColumns(), CV_32F)) {
        cv::setNumThreads(1);
    }

    template <class T>
    void forward(const vxPelBuffer_const<T>& image) {
        forward(image, spectrum_, cv::DFT_COMPLEX_OUTPUT);
    }

    template <class T>
    void forward(const vxPelBuffer_const<T>& image, cv::Mat& spectrum, int flags) {
        cv::Mat part = staged_(part_);
        matOf(image).convertTo(part, CV_32F);
        cv::dft(staged_, spectrum, flags, part_.height);
    }

    void forwardPair() {
        pair_.create(paddedRows(), paddedColumns(), CV_32FC2);
        pair_.setTo(cv::Scalar::all(0.0));
        cv::Mat part = pair_(part_);
        const std::array<cv::Mat, 2> parts{floatMat(scene_.image, first_), floatMat(scene_.second, second_)};
        cv::merge(parts.data(), parts.size(), part);
        cv::dft(pair_, spectrum_, 0, part_.height);
    }

    void inverse(bool normalise) {
        cv::dft(planeOf(scene_.spectrumSamples, scene_.padded, CV_32FC2), spatial_,
                cv::DFT_INVERSE | cv::DFT_SCALE);
        magnitudes();
        toPels(magnitudes_, normalise);
    }

    void inverseAndAngle() {
        cv::dft(planeOf(scene_.spectrumSamples, scene_.padded, CV_32FC2), spatial_,
                cv::DFT_INVERSE | cv::DFT_SCALE);
        cv::split(spatial_(part_), parts_.data());
        cv::cartToPolar(parts_[0], parts_[1], magnitudes_, phases_);
        toPels(magnitudes_, false);
        phases_.convertTo(angles_, CV_64F);
    }

    void keepGains(const std::vector<float>& gains) {
        const cv::Mat plane = planeOf(gains, scene_.padded, CV_32F);
        const std::array<cv::Mat, 2> both{plane, plane};
        cv::merge(both.data(), both.size(), complexGains_);
    }

    void filtered() {
        forward(scene_.image);
        cv::multiply(spectrum_, complexGains_, spectrum_);
        cv::dft(spectrum_, spatial_, cv::DFT_INVERSE | cv::DFT_SCALE);
        magnitudes();
        toPels(magnitudes_, false);
    }

    void correlation() {
        forward(scene_.image);
        forward(scene_.second, other_, cv::DFT_COMPLEX_OUTPUT);
        cv::mulSpectrums(other_, spectrum_, spectrum_, 0, true);
        cv::dft(spectrum_, spatial_, cv::DFT_INVERSE | cv::DFT_SCALE);
        magnitudes();
        magnitudes_.convertTo(correlation_, CV_64F);
    }

    /// Half the spectrum, packed into a real matrix.
    void filteredReal() {
        forward(scene_.image, spectrum_, 0);
        cv::multiply(spectrum_, packedGains_, spectrum_);
        cv::dft(spectrum_, spatial_, cv::DFT_INVERSE | cv::DFT_SCALE | cv::DFT_REAL_OUTPUT, part_.height);
        cv::convertScaleAbs(spatial_(part_), pels_);
    }

    void correlationReal() {
        forward(scene_.image, spectrum_, 0);
        forward(scene_.second, other_, 0);
        cv::mulSpectrums(other_, spectrum_, spectrum_, 0, true);
        cv::dft(spectrum_, spatial_, cv::DFT_INVERSE | cv::DFT_SCALE | cv::DFT_REAL_OUTPUT, part_.height);
        cv::absdiff(spatial_(part_), cv::Scalar::all(0.0), magnitudes_);
        magnitudes_.convertTo(correlation_, CV_64F);
    }

    /// The gains in the order of the packed spectrum: a gain for each real and each imaginary part.
    void keepPackedGains(const std::vector<float>& gains) {
        const cv::Mat plane = planeOf(gains, scene_.padded, CV_32F);
        packedGains_.create(paddedRows(), paddedColumns(), CV_32F);
        for (int y = 0; y < paddedRows(); ++y) {
            for (int x = 0; x < paddedColumns(); ++x) {
                const bool edge =
                    x == 0 || x == paddedColumns() - 1; // Columns 0 and width / 2, packed down the rows.
                packedGains_.at<float>(y, x) = plane.at<float>(edge ? (y + 1) / 2 : y, (x + 1) / 2);
            }
        }
    }

    [[nodiscard]] std::vector<float> spectrum() const { return floatsOf(spectrum_); }
    [[nodiscard]] std::vector<float> correlations() const { return floatsOf(correlation_); }
    [[nodiscard]] std::vector<float> pels() const {
        std::vector<float> values = floatsOf(pels_);
        if (!angles_.empty()) {
            const std::vector<float> angles = floatsOf(angles_);
            values.insert(values.end(), angles.begin(), angles.end());
        }
        return values;
    }

private:
    [[nodiscard]] int paddedRows() const { return static_cast<int>(scene_.padded.height); }
    [[nodiscard]] int paddedColumns() const { return static_cast<int>(scene_.padded.width); }

    static const cv::Mat& floatMat(const vxPelBuffer_const<unsigned char>& image, cv::Mat& values) {
        matOf(image).convertTo(values, CV_32F);
        return values;
    }

    void magnitudes() {
        cv::split(spatial_(part_), parts_.data());
        cv::magnitude(parts_[0], parts_[1], magnitudes_);
    }

    void toPels(const cv::Mat& values, bool normalise) {
        if (normalise) {
            cv::normalize(values, pels_, 0.0, 255.0, cv::NORM_MINMAX, CV_8U);
        } else {
            values.convertTo(pels_, CV_8U);
        }
    }

    const Scene& scene_;
    cv::Rect part_; // The image within the padded plane.
    cv::Mat staged_;
    cv::Mat pair_;
    cv::Mat first_;
    cv::Mat second_;
    cv::Mat spectrum_;
    cv::Mat other_;
    cv::Mat complexGains_;
    cv::Mat packedGains_;
    cv::Mat spatial_;
    std::array<cv::Mat, 2> parts_;
    cv::Mat magnitudes_;
    cv::Mat phases_;
    cv::Mat angles_;
    cv::Mat pels_;
    cv::Mat correlation_;
};
using SharedWork = std::shared_ptr<Work>;

template <class Run>
Task spectrumTask(const SharedWork& work, Run run) {
    return {[work, run] { run(*work); }, [work] { return work->spectrum(); }};
}

template <class Run>
Task correlationTask(const SharedWork& work, Run run) {
    return {[work, run] { run(*work); }, [work] { return work->correlations(); }};
}

template <class Run>
Task imageTask(const SharedWork& work, Run run) {
    return {[work, run] { run(*work); }, [work] { return work->pels(); }};
}

std::optional<Task> fullPlaneTask(Job job, const Scene& scene) {
    const auto work = std::make_shared<Work>(scene);
    switch (job) {
    case Job::forward:
        return spectrumTask(work, [&scene](Work& w) { w.forward(scene.image); });
    case Job::forward16:
        return spectrumTask(work, [&scene](Work& w) { w.forward(scene.image16); });
    case Job::forwardDouble:
        return spectrumTask(work, [&scene](Work& w) { w.forward(scene.imageDouble); });
    case Job::forwardPair:
        return spectrumTask(work, [](Work& w) { w.forwardPair(); });
    case Job::inverse:
    case Job::inverseBound:
        return imageTask(work, [](Work& w) { w.inverse(false); });
    case Job::inverseNormalised:
        return imageTask(work, [](Work& w) { w.inverse(true); });
    case Job::inverseAngle:
        return imageTask(work, [](Work& w) { w.inverseAndAngle(); });
    case Job::inverseQuadrant:
        return std::nullopt;
    case Job::bandPass:
        work->keepGains(scene.bandGains);
        return imageTask(work, [](Work& w) { w.filtered(); });
    case Job::gabor:
        work->keepGains(scene.gaborGains);
        return imageTask(work, [](Work& w) { w.filtered(); });
    case Job::correlation:
        return correlationTask(work, [](Work& w) { w.correlation(); });
    }
    return std::nullopt;
}

std::optional<Task> halfPlaneTask(Job job, const Scene& scene) {
    const auto work = std::make_shared<Work>(scene);
    if (job == Job::bandPass) {
        work->keepPackedGains(scene.bandGains);
        return imageTask(work, [](Work& w) { w.filteredReal(); });
    }
    if (job == Job::correlation) {
        return correlationTask(work, [](Work& w) { w.correlationReal(); });
    }
    return std::nullopt;
}

std::string version() {
    return cv::getVersionString();
}

constexpr Peer fullPlanePeer{"OpenCV", fullPlaneTask, version};
constexpr Peer halfPlanePeer{"OpenCV real", halfPlaneTask, version};

} // namespace

const Peer& openCv() {
    return fullPlanePeer;
}

const Peer& openCvReal() {
    return halfPlanePeer;
}

} // namespace bench
