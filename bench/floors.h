/// \file
/// The ratios that must not be lost again.
#pragma once

#include "bench/results.h"

#include <string>

namespace bench {

/// Compares the results with the least ratios that the file records for the instruction set that this machine
/// takes, and adds a failure for each that is below. Gives notes: what the file has no floors for.
[[nodiscard]] std::string checkFloors(const std::string& file, Results& results);

/// Writes into the file, as the floors of that instruction set, what was measured less a margin for noise.
void recordFloors(const std::string& file, const Results& results);

} // namespace bench
