/// \file
/// Several images filtered into one folder, as "kavfilt filter" does when its output is a folder.
#pragma once

#include "app/batch.h"

#include <string>
#include <vector>

struct BatchRequest {
    std::vector<std::string> inputs;
    app::BatchSettings settings;
    bool quiet = false; ///< Reports failures only.
    bool json = false;  ///< Reports an object per file.
};

/// Filters, reports, and shows the progress where the standard error is a terminal. IncompleteError if files
/// failed, otherwise throws as runBatch.
void filterBatch(const BatchRequest& request);

/// What became of a file as one line of JSON.
[[nodiscard]] std::string asJson(const app::BatchOutcome& outcome);
