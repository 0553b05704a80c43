/// \file
/// Random programs against the whole library, each determined by its seed.
#pragma once

#include <cstdint>

namespace soak {

struct Outcome {
    std::uint64_t digest; ///< Of all results, refusals and cancellations, bit for bit.
    long operations;
};

/// Runs the program of that seed: a dozen operations on objects of its own and on the shared ones. The same
/// in every thread, whatever the others do.
Outcome runProgram(std::uint64_t seed);

} // namespace soak
