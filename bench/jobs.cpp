#include "bench/jobs.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <numbers>

namespace bench {

namespace {

constexpr std::array<JobInfo, 12> allJobs{{
    {Job::forward, "F", "8-bit image to full complex spectrum", true},
    {Job::forward16, "F16", "16-bit image to full complex spectrum", true},
    {Job::forwardDouble, "FD", "double image to full complex spectrum", true},
    {Job::forwardPair, "FC", "pair of 8-bit images (real, imaginary) to full complex spectrum", true},
    {Job::inverse, "I", "full complex spectrum to a new 8-bit magnitude image", false},
    {Job::inverseBound, "I bound", "the same into a bound image", false},
    {Job::inverseNormalised, "I normalised", "the same, stretched to 0 .. 255", false},
    {Job::inverseAngle, "I angle", "spectrum to 8-bit magnitude and double angle image", false},
    {Job::inverseQuadrant, "I quadrant", "spectrum to 8-bit magnitude and quadrant image", false},
    {Job::bandPass, "B", "8-bit image, forward, band pass, inverse, 8-bit magnitude", false},
    {Job::gabor, "G", "8-bit image, forward, Gabor filter, inverse, 8-bit magnitude", false},
    {Job::correlation, "C",
     "correlation of two 8-bit images: two forward, conjugate, multiply, inverse, doubles", true},
}};

/// The second image of the results that have one: how far two values of it are apart.
double secondDistance(Job job, float a, float b) {
    const double distance = std::abs(static_cast<double>(a) - static_cast<double>(b));
    return job == Job::inverseAngle ? std::min(distance, 2.0 * std::numbers::pi - distance) : distance;
}

bool secondAgrees(Job job, std::span<const float> ours, std::span<const float> theirs) {
    std::size_t different = 0;
    for (std::size_t i = 0; i < ours.size(); ++i) {
        different += secondDistance(job, ours[i], theirs[i]) > 0.01 ? 1U : 0U;
    }
    return different * 100 <= ours.size();
}

} // namespace

std::span<const JobInfo> jobs() {
    return allJobs;
}

const JobInfo& info(Job job) {
    return *std::ranges::find(allJobs, job, &JobInfo::job);
}

std::string text(const Size& size) {
    return std::to_string(size.width) + "x" + std::to_string(size.height);
}

Agreement compare(Job job, const std::vector<float>& ours, const std::vector<float>& theirs) {
    if (ours.size() != theirs.size() || ours.empty()) {
        return {};
    }
    const bool hasSecond = job == Job::inverseAngle || job == Job::inverseQuadrant;
    const std::size_t first = hasSecond ? ours.size() / 2 : ours.size();
    double difference = 0.0;
    double peak = 0.0;
    for (std::size_t i = 0; i < first; ++i) {
        const double distance = std::abs(static_cast<double>(ours[i]) - static_cast<double>(theirs[i]));
        if (std::isnan(distance)) {
            return {distance, false};
        }
        difference = std::max(difference, distance);
        peak = std::max(peak, std::abs(static_cast<double>(ours[i])));
    }
    if (info(job).relative) {
        difference /= peak;
        return {difference, difference <= 1e-5};
    }
    const bool second =
        !hasSecond || secondAgrees(job, std::span(ours).subspan(first), std::span(theirs).subspan(first));
    return {difference, difference <= 1.0 && second};
}

} // namespace bench
