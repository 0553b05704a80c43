/// \file
/// The way back for the base's part of a filter that is loaded alone.
#pragma once

#include <exception>

/// Puts a filter's initialized flag back when the scope is left by an exception. An archive takes back what
/// it loads in place, but dispatchSerialize and serialize_ may also be called directly.
class vx_FlagGuard {
public:
    explicit vx_FlagGuard(bool& flag) noexcept
        : flag_(flag), before_(flag), exceptions_(std::uncaught_exceptions()) {}
    ~vx_FlagGuard() {
        if (std::uncaught_exceptions() > exceptions_) {
            flag_ = before_;
        }
    }
    vx_FlagGuard(const vx_FlagGuard&) = delete;
    vx_FlagGuard& operator=(const vx_FlagGuard&) = delete;

private:
    bool& flag_;
    bool before_;
    int exceptions_;
};
