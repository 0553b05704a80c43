#include "app/interruption.h"

namespace app {
namespace {

volatile std::sig_atomic_t pendingSignal = 0;

extern "C" {
static void onSignal(int signal) {
    pendingSignal = signal;
}
}

void throwIfInterrupted() {
    if (pendingSignal != 0) {
        throw Interrupted(pendingSignal);
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

InterruptionScope::InterruptionScope() : attention_(throwIfInterrupted) {
    pendingSignal = 0;
    install(SIGINT, previousInterrupt_);
    install(SIGTERM, previousTerminate_);
}

InterruptionScope::~InterruptionScope() {
    sigaction(SIGINT, &previousInterrupt_, nullptr);
    sigaction(SIGTERM, &previousTerminate_, nullptr);
}

} // namespace app
