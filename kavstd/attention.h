/// \file
/// The cooperative cancellation point.
#pragma once

#include "kavsys/export.h"

#include <functional>

/// Long loops call vxAttention::check; an application that wants to cancel them installs a handler that
/// throws.
class VX_EXPORT vxAttention {
public:
    /// Calls the calling thread's handler, if there is one. What it throws passes through. Costs next to
    /// nothing without a handler.
    static void check();

    /// Installs a handler for the calling thread for the scope's life, then restores the one before. Scopes
    /// nest and end in the reverse order, on the thread that opened them. An empty handler checks nothing.
    class VX_EXPORT Scope {
    public:
        explicit Scope(std::function<void()> handler);
        ~Scope();
        Scope(const Scope&) = delete;
        Scope& operator=(const Scope&) = delete;

    private:
        std::function<void()> handler_;
        const std::function<void()>* previous_;
    };
};
