/// \file
/// What every fuzz target is made of. A target defines fuzz::run; target.cpp calls it for libFuzzer, or for
/// replay.cpp, which needs no fuzzer.
///
/// Every program has two modes. Started with --failing-allocations, one allocation in sixteen of what is
/// attempted fails, and the input decides which.
#pragma once

#include "fuzz/support/bytes.h"
#include "kavstd/exception.h"

#include <cstddef>
#include <cstdint>
#include <new>
#include <stdexcept>

namespace fuzz {

/// The target: uses the library as the input says.
void run(Bytes input);

/// Aborts, saying `what`, unless `holds`: a finding.
void require(bool holds, const char* what);

/// Whether some allocations fail. An error then may come without its text.
[[nodiscard]] bool memoryIsScarce() noexcept;

/// A single allocation of an attempt above that fails, so that an execution stays fast.
inline constexpr std::size_t largestAllocation = std::size_t{1} << 20;

/// While it lives, large allocations fail and, in that mode, one in sixteen of the others. They do not nest.
class ScarceMemory {
public:
    ScarceMemory() noexcept;
    ~ScarceMemory();
    ScarceMemory(const ScarceMemory&) = delete;
    ScarceMemory& operator=(const ScarceMemory&) = delete;
};

enum class Outcome {
    done,
    refused, ///< One of the toolkit's errors, or a size that no object can have.
    outOfMemory
};

/// Does it with scarce memory. Anything that an operation may not throw passes through: a finding.
template <class Operation>
Outcome attempt(const Operation& operation) {
    try {
        const ScarceMemory scarce;
        operation();
        return Outcome::done;
    } catch (const vxException& error) {
        require(error.what() != nullptr, "an error has a text");
        return Outcome::refused;
    } catch (const std::length_error&) {
        return Outcome::refused;
    } catch (const std::bad_alloc&) {
        return Outcome::outOfMemory;
    }
}

} // namespace fuzz
