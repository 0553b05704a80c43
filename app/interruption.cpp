#include "app/interruption.h"

#include <atomic>

namespace app {
namespace {

// Read by other threads than the one that a signal interrupts.
std::atomic<int> pendingSignal = 0;
static_assert(std::atomic<int>::is_always_lock_free, "a signal handler must not wait for a lock");

extern "C" {
static void onSignal(int signal) {
    pendingSignal = signal;
}
}

void throwIfInterrupted() {
    const int signal = pendingSignal;
    if (signal != 0) {
        throw Interrupted(signal);
    }
}

// Without SA_RESTART, so that a read that waits for a pipe ends too.
void install(int signal, struct sigaction& previous) {
    struct sigaction action {};
    action.sa_handler = onSignal;
    sigemptyset(&action.sa_mask);
    sigaction(signal, nullptr, &previous);
    if (previous.sa_handler != SIG_IGN) {
        sigaction(signal, &action, nullptr);
    }
}

} // namespace

int interruption() noexcept {
    return pendingSignal;
}

InterruptibleThread::InterruptibleThread() : attention_(throwIfInterrupted) {}

InterruptionScope::InterruptionScope() : attention_(throwIfInterrupted) {
    pendingSignal = 0;
    install(SIGINT, previousInterrupt_);
    install(SIGTERM, previousTerminate_);
}

InterruptionScope::~InterruptionScope() {
    sigaction(SIGINT, &previousInterrupt_, nullptr);
    sigaction(SIGTERM, &previousTerminate_, nullptr);
    pendingSignal = 0;
}

} // namespace app
