/// \file
/// Floating-point environments that a process may have been put into.
#pragma once

#include <cfenv>
#include <string>

#ifdef __SSE__
#include <immintrin.h>
#endif

namespace identity {

/// Puts the thread into the environment of that name; false when there is none.
inline bool enterEnvironment(const std::string& name) {
    if (name == "upward") {
        return std::fesetround(FE_UPWARD) == 0;
    }
    if (name == "downward") {
        return std::fesetround(FE_DOWNWARD) == 0;
    }
    if (name == "toward-zero") {
        return std::fesetround(FE_TOWARDZERO) == 0;
    }
#ifdef __SSE__
    if (name == "flush-to-zero") { // What is too small for a normal number becomes zero.
        _mm_setcsr(_mm_getcsr() | 0x8000U);
        return true;
    }
    if (name == "denormals-are-zero") {
        _mm_setcsr(_mm_getcsr() | 0x0040U);
        return true;
    }
#endif
    return name == "default";
}

} // namespace identity
