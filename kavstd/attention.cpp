#include "kavstd/attention.h"

#include <utility>

namespace {
/// The calling thread's latest scope that has not ended; null if there is none.
thread_local vxAttention::Scope* latest = nullptr;
} // namespace

void vxAttention::check() {
    if (latest != nullptr && latest->handler_) {
        latest->handler_();
    }
}

vxAttention::Scope::Scope(std::function<void()> handler) : handler_(std::move(handler)), previous_(latest) {
    latest = this;
}

vxAttention::Scope::~Scope() {
    // Scopes that live on the heap may end in any order.
    Scope** link = &latest;
    while (*link != this) {
        link = &(*link)->previous_;
    }
    *link = previous_;
}
