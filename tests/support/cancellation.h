/// \file
/// Counting the cancellation points of an operation, and cancelling it at each of them.
#pragma once

#include "kavstd/attention.h"

namespace cancellation {

/// What a cancelled operation throws here.
struct Cancelled {};

/// The cancellation points that an operation passes.
template <class Operation>
long count(Operation operation) {
    long checks = 0;
    const vxAttention::Scope scope([&] { ++checks; });
    operation();
    return checks;
}

/// Runs the operation and cancels it at its k-th cancellation point, counted from 1. Whether it got that far.
template <class Operation>
bool cancelAt(long k, Operation operation) {
    long checks = 0;
    const vxAttention::Scope scope([&] {
        if (++checks == k) {
            throw Cancelled();
        }
    });
    try {
        operation();
    } catch (const Cancelled&) {
        return true;
    }
    return false;
}

} // namespace cancellation
