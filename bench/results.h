/// \file
/// What the sections of the benchmark measure.
#pragma once

#include "bench/contest.h"
#include "bench/jobs.h"

#include <string>
#include <vector>

namespace bench {

/// Our B among the contestants of G, so that both are timed in the same rounds.
inline constexpr const char* ourBandPass = "band pass";

/// One job at one size; the first standing is ours.
struct JobLine {
    Job job;
    Size source;
    Size padded;
    std::vector<Standing> standings;
    double worstDifference = 0.0; ///< of all results from ours, see Agreement
    double allocatedBytes = 0.0;  ///< by one run of ours
};

/// An operation that touches each of its bytes once or so; the first standing is ours, the others copy as
/// many bytes.
struct BytesLine {
    std::string operation;
    Size size;
    double bytes = 0.0; ///< read and written
    std::vector<Standing> standings;
};

/// The same work on one and on two threads, each with buffers of its own.
struct ThreadsLine {
    std::string work;  ///< code of a job, or what else it is
    std::string size;  ///< of its images; empty: there are none
    Quartiles speedUp; ///< of two threads
};

struct Results {
    std::string instructionSet; ///< that the library took
    std::vector<JobLine> jobs;
    std::vector<JobLine> instructionSets; ///< the same jobs, ours by instruction set
    std::vector<BytesLine> operations;
    std::vector<BytesLine> creations; ///< of filters, against applying them; no bytes
    std::vector<ThreadsLine> threads;
    std::vector<std::string> failures; ///< why the run as a whole has failed
};

/// The standing of that name, null when it did not take part.
[[nodiscard]] const Standing* find(const std::vector<Standing>& standings, const std::string& name);
/// The line of that job and size, null when there is none.
[[nodiscard]] const JobLine* find(const std::vector<JobLine>& lines, Job job, const Size& source);
/// The sizes of the lines, in their order.
[[nodiscard]] std::vector<Size> sizesOf(const std::vector<JobLine>& lines);

} // namespace bench
