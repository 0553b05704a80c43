/// \file
/// Counts what is allocated with operator new: the library's memory, but none of the peers' that they take by
/// other means.
#pragma once

#include <cstddef>

namespace bench {

/// Bytes asked for since the program started.
[[nodiscard]] std::size_t allocatedBytes();

} // namespace bench
