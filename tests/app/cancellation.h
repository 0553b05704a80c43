/// \file
/// Makes each cancellation point of an operation throw once.
#pragma once

#include "kavstd/attention.h"

#include <stdexcept>

/// What a cancelled operation ends with.
struct Cancelled : std::runtime_error {
    Cancelled() : std::runtime_error("cancelled") {}
};

/// Runs `operation` with its first, second, ... cancellation point throwing, until it gets through, with
/// `afterCancellation()` after each run that did not. Returns how many points there were.
template <class Operation, class AfterCancellation>
long cancelEachPoint(const Operation& operation, const AfterCancellation& afterCancellation) {
    for (long points = 0;; ++points) {
        long left = points;
        const vxAttention::Scope scope([&left] {
            if (left-- == 0) {
                throw Cancelled();
            }
        });
        try {
            operation();
            return points;
        } catch (const Cancelled&) {
            afterCancellation();
        }
    }
}
