/// \file
/// How much memory there is.
#pragma once

namespace app {

/// Bytes that this process can still take without being stopped, as far as the system tells: the least of
/// what the machine has available, what its container may have and what its address space may grow by.
[[nodiscard]] unsigned long long availableMemory();

} // namespace app
