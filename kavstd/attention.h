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

    /// Installs a handler for the calling thread for the scope's life, then restores the one before. Ends on
    /// the thread that opened it; the latest scope that has not ended counts. An empty handler checks
    /// nothing.
    class VX_EXPORT Scope {
    public:
        /// `handler` is called by each check of this thread; what it throws ends the operation.
        explicit Scope(std::function<void()> handler);
        ~Scope();
        Scope(const Scope&) = delete;
        Scope& operator=(const Scope&) = delete;

    private:
        friend class vxAttention;
        std::function<void()> handler_;
        Scope* previous_;
    };
};
