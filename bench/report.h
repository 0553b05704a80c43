/// \file
/// The results as text: Markdown, JSON, and a plot.
#pragma once

#include "bench/results.h"

#include <string>

namespace bench {

/// What the figures belong to: processor and instruction set, compiler, versions of the peers.
[[nodiscard]] std::vector<std::string> environment(const Results& results);

/// The tables.
[[nodiscard]] std::string markdown(const Results& results);
/// Every measured figure.
[[nodiscard]] std::string json(const Results& results);
/// Ratios over the sizes, and time per pel over the sizes, as an SVG picture.
[[nodiscard]] std::string plot(const Results& results);

} // namespace bench
