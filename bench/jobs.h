/// \file
/// The whole jobs that the library and its peers are compared in.
#pragma once

#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace bench {

enum class Job {
    forward,
    forward16,
    forwardDouble,
    forwardPair,
    inverse,
    inverseBound,
    inverseNormalised,
    inverseAngle,
    inverseQuadrant,
    bandPass,
    gabor,
    correlation
};

struct JobInfo {
    Job job;
    const char* code; ///< in tables and in names of benchmarks
    const char* text; ///< what is done, from the first byte read to the last one written
    bool relative;    ///< differences are relative to the peak (spectra, correlations), otherwise in pels
};

/// All jobs, in the order of the tables.
[[nodiscard]] std::span<const JobInfo> jobs();
[[nodiscard]] const JobInfo& info(Job job);

struct Size {
    long width = 0;
    long height = 0;
    bool operator==(const Size&) const = default;
};
[[nodiscard]] std::string text(const Size& size);

/// A job at one size in the hands of one contestant: planned and allocated, ready to be run again and again.
struct Task {
    /// Does the whole job.
    std::function<void()> run;
    /// What the last run gave: re, im, re, im ... of the full, unnormalised spectrum, or the pels of the
    /// image, and behind them those of the angle or quadrant image.
    std::function<std::vector<float>()> result;
};

/// How far a result is from ours, and whether that is the same job's result.
struct Agreement {
    double difference = 0.0; ///< the largest one, relative to the peak or in pels
    bool same = false;
};
/// Spectra and correlations: every value within a hundred-thousandth of the peak. Images: every pel at most 1
/// off. Angles: within 0.01, and quadrants: equal, but for one pel in a hundred, where the signal passes
/// through zero.
[[nodiscard]] Agreement compare(Job job, const std::vector<float>& ours, const std::vector<float>& theirs);

} // namespace bench
