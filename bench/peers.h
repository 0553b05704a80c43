/// \file
/// The libraries that the jobs are compared with, each used as a good user of it would, on one thread.
#pragma once

#include "bench/scene.h"

#include <optional>
#include <span>
#include <string>

namespace bench {

struct Peer {
    const char* name;
    /// Nothing where the peer does not have the job. The scene must outlive the task.
    std::optional<Task> (*task)(Job job, const Scene& scene);
    std::string (*version)();
};

/// FFTW in single precision: the full plane, by the fastest of its plans.
[[nodiscard]] const Peer& fftw();
/// FFTW's short cut for real results: half the spectrum, real inverse.
[[nodiscard]] const Peer& fftwReal();
[[nodiscard]] const Peer& openCv();
/// The same short cut with OpenCV.
[[nodiscard]] const Peer& openCvReal();
[[nodiscard]] const Peer& libvips();

/// All of them, in the order of the tables.
[[nodiscard]] std::span<const Peer* const> peers();

/// What FFTW has learned in earlier runs; planning is long. `patient` tries more plans up to 1024 x 1024.
void loadFftwWisdom(const std::string& file, bool patient);
void saveFftwWisdom(const std::string& file);

} // namespace bench
