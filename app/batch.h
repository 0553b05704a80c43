/// \file
/// Filtering many images, each on a thread of its own, into one folder.
#pragma once

#include "app/atomic_file.h"
#include "app/filtering.h"
#include "app/manifest.h"

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace app {

struct BatchSettings {
    FilterSettings filter;
    std::filesystem::path folder; ///< Of the outputs; made if it is missing.
    std::string format;           ///< ".png", ".tif", ".pgm": of every output; empty: as the input is named.
    /// How many images are worked on at a time, at least 1. Each has a thread; no more are in memory.
    unsigned jobs = 1;
    Overwrite overwrite = Overwrite::refuse; ///< Of files that are not a finished result of this batch.
    std::string version;                     ///< Of the program: another one's results are made again.
};

/// What became of one input.
struct BatchOutcome {
    enum class Status { done, skipped, failed };

    std::filesystem::path input;
    std::filesystem::path output;
    Status status = Status::failed;
    Image source;        ///< If it is done: what was read, without its pels.
    vxPair<long> size;   ///< Of the source, if it is done.
    FilterResult result; ///< If it is done, without its pels.
    int exitCode = 0;    ///< If it failed: what the program would have ended with for this file alone.
    std::string error;   ///< If it failed.
    ManifestEntry entry;
};

struct BatchSummary {
    long done = 0;
    long skipped = 0;
    long failed = 0;
};

/// Filters every input into the folder, under its own name (with the extension of the format, if one is
/// given). An input that fails does not stop the others. The bytes of the outputs and of the manifest depend
/// on neither the number of jobs nor the order in which files are finished.
///
/// The manifest in the folder says what became of each output. An output that it knows to be finished, with
/// the same content, made from the same content with the same settings by the same version, is skipped. One
/// that is there and that the manifest does not know, because the last run was killed before it could say, is
/// made again and counts as finished if it is the same; otherwise it is refused as any existing file is.
///
/// `tell` is called on the calling thread with each outcome as it comes. Interrupted, after the files that
/// were in work are gone and the manifest is written, when a signal came.
///
/// Before any work: UsageError for no or too many jobs, inputs without a name for the output, two inputs that
/// would become one output, and an output that is an input; WriteError for a folder that cannot be made or
/// written, or where another batch is at work; UnreadableError for a damaged manifest.
BatchSummary runBatch(const std::vector<std::filesystem::path>& inputs, const BatchSettings& settings,
                      const std::function<void(const BatchOutcome&)>& tell);

/// The most jobs that runBatch takes.
inline constexpr unsigned mostJobs = 256;

} // namespace app
