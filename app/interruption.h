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

/// The signal that came while an InterruptionScope lives; 0: none.
[[nodiscard]] int interruption() noexcept;

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

/// On another thread: for its life, vxAttention::check on this thread throws Interrupted as on the thread of
/// the InterruptionScope, which must live as long. A signal ends a wait for a pipe on the thread that it
/// happens to reach only, so whoever waits for such a thread passes the signal on (pthread_kill).
class InterruptibleThread {
public:
    InterruptibleThread();

private:
    vxAttention::Scope attention_;
};

} // namespace app
