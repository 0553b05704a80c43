/// \file
/// The parts of the benchmark. Each enters its benchmarks into the framework; they add to the results when
/// they run.
#pragma once

#include "bench/options.h"
#include "bench/results.h"

namespace bench {

/// Whole jobs, side by side with the peers and with the library's portable path.
void addJobs(const Options& options, Results& results);
/// Some of them by instruction set.
void addInstructionSets(const Options& options, Results& results);
/// Element-wise operations and archives, side by side with copying; building filters, with applying them.
void addOperations(const Options& options, Results& results);
/// Jobs on two threads.
void addThreads(const Options& options, Results& results);

} // namespace bench
