/// \file
/// The parts of the benchmark. Each enters its benchmarks into the framework; they add to the results when
/// they run.
#pragma once

#include "bench/options.h"
#include "bench/results.h"

namespace bench {

/// Whole jobs, side by side with the peers and with the library's portable path.
void addJobs(const Options& options, Results& results);

} // namespace bench
