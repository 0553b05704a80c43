/// \file
/// Makes allocations fail on purpose, and watches how large they are.
///
/// Including this header replaces the global operator new and delete of the whole program, libraries
/// included, so a program includes it in exactly one source file. Without a scope open, allocations behave as
/// always.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <new>

namespace failing_allocation {

/// What this thread's allocations do now.
struct Control {
    long untilFailure = -1;  // Allocations that still succeed; -1: no failure is due.
    bool allAfter = false;   // Fail every later allocation too.
    long count = 0;          // Allocations asked for.
    long failures = 0;       // Allocations refused.
    std::size_t largest = 0; // The most bytes asked for at once.
    std::size_t limit = std::numeric_limits<std::size_t>::max(); // Refuse more bytes than that at once.
    std::uint32_t dice = 0; // Other than 0: one allocation in sixteen fails, and this decides which.
};
inline thread_local Control control;

/// One time in sixteen; never without dice.
inline bool isUnlucky(std::uint32_t& dice) noexcept {
    // G. Marsaglia, "Xorshift RNGs", 2003. It keeps 0.
    dice ^= dice << 13;
    dice ^= dice >> 17;
    dice ^= dice << 5;
    return dice >> 28 == 1;
}

/// What this thread has allocated and not released, less what it released for others.
inline thread_local long living = 0;

/// What a refused operator new throws, so that a test can tell it from any other.
struct Refused : std::bad_alloc {
    long number = control.count; // Of the allocation, from 1.
};

/// Whether this allocation is to be refused.
inline bool refuses(std::size_t size) noexcept {
    ++control.count;
    control.largest = std::max(control.largest, size);
    if (size > control.limit || isUnlucky(control.dice)) {
        ++control.failures;
        return true;
    }
    if (control.untilFailure < 0) {
        return false;
    }
    if (control.untilFailure > 0) {
        --control.untilFailure;
        return false;
    }
    control.untilFailure = control.allAfter ? 0 : -1;
    ++control.failures;
    return true;
}

inline void* allocateUnlessRefused(std::size_t size, std::size_t alignment) noexcept {
    if (refuses(size)) {
        return nullptr;
    }
    if (alignment <= alignof(std::max_align_t)) {
        return std::malloc(std::max<std::size_t>(size, 1));
    }
    if (size > std::numeric_limits<std::size_t>::max() - alignment) {
        return nullptr;
    }
    return std::aligned_alloc(alignment, (size + alignment - 1) / alignment * alignment);
}

inline void* allocate(std::size_t size, std::size_t alignment) noexcept {
    void* memory = allocateUnlessRefused(size, alignment);
    living += memory != nullptr ? 1 : 0;
    return memory;
}

inline void* allocateOrThrow(std::size_t size, std::size_t alignment) {
    if (void* memory = allocate(size, alignment)) {
        return memory;
    }
    throw Refused();
}

/// Not inlined: the optimiser would see the free of something that it did not see come from malloc, and warn.
[[gnu::noinline]] inline void release(void* memory) noexcept {
    living -= memory != nullptr ? 1 : 0;
    std::free(memory);
}

/// For its life, counts this thread's allocations and, if asked to, makes one of them, or that one and all
/// after it, throw std::bad_alloc. Scopes do not nest.
class Scope {
public:
    /// Only watches.
    Scope() noexcept { control = Control{}; }
    /// `successes` allocations succeed, the next one fails; with `allAfter` every one after it fails too.
    explicit Scope(long successes, bool allAfter = false) noexcept {
        control = Control{successes, allAfter, 0, 0, 0};
    }
    ~Scope() { control = Control{}; }
    Scope(const Scope&) = delete;
    Scope& operator=(const Scope&) = delete;

    /// Refuses more than that many bytes at once; with dice other than 0, one allocation in sixteen, too.
    void refuseAbove(std::size_t limit, std::uint32_t dice) noexcept {
        control.limit = limit;
        control.dice = dice;
    }
    /// To go on with in another scope.
    [[nodiscard]] std::uint32_t dice() const noexcept { return control.dice; }

    [[nodiscard]] long count() const noexcept { return control.count; }
    [[nodiscard]] bool failed() const noexcept { return control.failures > 0; }
    /// Bytes of the largest single allocation asked for.
    [[nodiscard]] std::size_t largest() const noexcept { return control.largest; }
};

/// Runs `operation` again and again, with its first, second, ... allocation failing, until it gets through
/// without a failure. After each run that met a failure, `afterFailure(threw)` may check what is left;
/// `threw` tells whether std::bad_alloc came out (an operation may also do without the memory). Returns how
/// many allocations were made to fail; a test asserts that it is above 0.
template <class Operation, class AfterFailure>
long failEachAllocation(Operation operation, AfterFailure afterFailure) {
    for (long successes = 0;; ++successes) {
        bool threw = false;
        bool failed = false;
        {
            const Scope scope(successes);
            try {
                operation();
            } catch (const std::bad_alloc&) {
                threw = true;
            }
            failed = scope.failed();
        }
        if (!failed) {
            return successes;
        }
        afterFailure(threw);
    }
}

} // namespace failing_allocation

// The replaced operators; each form, because a sanitizer's runtime brings its own of each.
void* operator new(std::size_t size) {
    return failing_allocation::allocateOrThrow(size, 0);
}
void* operator new[](std::size_t size) {
    return failing_allocation::allocateOrThrow(size, 0);
}
void* operator new(std::size_t size, std::align_val_t alignment) {
    return failing_allocation::allocateOrThrow(size, static_cast<std::size_t>(alignment));
}
void* operator new[](std::size_t size, std::align_val_t alignment) {
    return failing_allocation::allocateOrThrow(size, static_cast<std::size_t>(alignment));
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return failing_allocation::allocate(size, 0);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return failing_allocation::allocate(size, 0);
}
void* operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
    return failing_allocation::allocate(size, static_cast<std::size_t>(alignment));
}
void* operator new[](std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
    return failing_allocation::allocate(size, static_cast<std::size_t>(alignment));
}
void operator delete(void* memory) noexcept {
    failing_allocation::release(memory);
}
void operator delete[](void* memory) noexcept {
    failing_allocation::release(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    failing_allocation::release(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
    failing_allocation::release(memory);
}
void operator delete(void* memory, std::align_val_t) noexcept {
    failing_allocation::release(memory);
}
void operator delete[](void* memory, std::align_val_t) noexcept {
    failing_allocation::release(memory);
}
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept {
    failing_allocation::release(memory);
}
void operator delete[](void* memory, std::size_t, std::align_val_t) noexcept {
    failing_allocation::release(memory);
}
void operator delete(void* memory, const std::nothrow_t&) noexcept {
    failing_allocation::release(memory);
}
void operator delete[](void* memory, const std::nothrow_t&) noexcept {
    failing_allocation::release(memory);
}
void operator delete(void* memory, std::align_val_t, const std::nothrow_t&) noexcept {
    failing_allocation::release(memory);
}
void operator delete[](void* memory, std::align_val_t, const std::nothrow_t&) noexcept {
    failing_allocation::release(memory);
}
