#include "kavstd/attention.h"

#include <utility>

namespace {
thread_local const std::function<void()>* currentHandler = nullptr;
}

void vxAttention::check() {
    if (currentHandler != nullptr && *currentHandler) {
        (*currentHandler)();
    }
}

vxAttention::Scope::Scope(std::function<void()> handler)
    : handler_(std::move(handler)), previous_(currentHandler) {
    currentHandler = &handler_;
}

vxAttention::Scope::~Scope() {
    currentHandler = previous_;
}
