/// \file
/// Ctrl-C as an exception.
#pragma once

#include "app/errors.h"
#include "kavstd/attention.h"

#include <csignal>

namespace app {

/// Thrown at the next cancellation point after a signal.
class Interrupted : public Error {
public:
    /// The exit code is the shell's own for a program that the signal ended: 130 for SIGINT, 143 for SIGTERM.
    explicit Interrupted(int signal) : Error(128 + signal, "interrupted") {}
};

/// For its life SIGINT and SIGTERM set a flag, and vxAttention::check on this thread throws Interrupted once
/// it is set. A signal that was ignored when the program started stays ignored. At most one at a time.
class InterruptionScope {
public:
    InterruptionScope();
    ~InterruptionScope();
    InterruptionScope(const InterruptionScope&) = delete;
    InterruptionScope& operator=(const InterruptionScope&) = delete;

private:
    struct sigaction previousInterrupt_ {};
    struct sigaction previousTerminate_ {};
    vxAttention::Scope attention_;
};

} // namespace app
