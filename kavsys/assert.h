/// \file
/// Assertions that hold in every build type.
#pragma once

#include "kavsys/export.h"

#include <stdexcept>

/// A broken precondition inside the libraries. Bad input never causes it: that gets an exception of its own
/// class.
class VX_EXPORT vxAssertionFailure : public std::logic_error {
public:
    using std::logic_error::logic_error;
    /// Shares the text.
    vxAssertionFailure(const vxAssertionFailure&) = default;
    /// Shares the text.
    vxAssertionFailure& operator=(const vxAssertionFailure&) = default;
    ~vxAssertionFailure() override;
};

/// Throws vxAssertionFailure with a text that names the expression, the file (either may be null) and the
/// line.
[[noreturn]] VX_EXPORT void vfAssertionFailed(const char* expression, const char* file, long line);

/// Throws vxAssertionFailure unless `expression` is true. Checked in every build type.
#define VX_ASSERT(expression)                                                                                \
    (static_cast<bool>(expression) ? static_cast<void>(0)                                                    \
                                   : vfAssertionFailed(#expression, __FILE__, __LINE__))
