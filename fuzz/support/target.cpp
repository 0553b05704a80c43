#include "fuzz/support/target.h"

#include "tests/support/failing_allocation.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>

namespace {

bool allocationsFail = false;
std::uint32_t dice = 0; // Goes from one attempt to the next.
std::optional<failing_allocation::Scope> scope;

// Never 0. D. Knuth's multiplicative hash of each byte.
std::uint32_t seedOf(std::span<const std::uint8_t> input) {
    std::uint32_t seed = static_cast<std::uint32_t>(input.size());
    for (const std::uint8_t byte : input) {
        seed = (seed ^ byte) * 2654435761U;
    }
    return seed | 1U;
}

} // namespace

void fuzz::require(bool holds, const char* what) {
    if (!holds) {
        std::fprintf(stderr, "Does not hold: %s\n", what);
        std::abort();
    }
}

bool fuzz::memoryIsScarce() noexcept {
    return allocationsFail;
}

fuzz::ScarceMemory::ScarceMemory() noexcept {
    scope.emplace();
    scope->refuseAbove(largestAllocation, dice);
}

fuzz::ScarceMemory::~ScarceMemory() {
    dice = scope->dice();
    scope.reset();
}

extern "C" int LLVMFuzzerInitialize(int* count, char*** arguments);
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

// Takes this program's own argument from what libFuzzer gets to see.
extern "C" int LLVMFuzzerInitialize(int* count, char*** arguments) {
    char** kept = *arguments;
    for (int i = 0; i < *count; ++i) {
        if (std::strcmp((*arguments)[i], "--failing-allocations") == 0) {
            allocationsFail = true;
        } else {
            *kept++ = (*arguments)[i];
        }
    }
    *count = static_cast<int>(kept - *arguments);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::span<const std::uint8_t> input(data, size);
    dice = allocationsFail ? seedOf(input) : 0;
    fuzz::run(fuzz::Bytes(input));
    return 0;
}
