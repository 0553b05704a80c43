/// \file
/// What operations say when they refuse.
#pragma once

#include <string>

/// The message of the error that an operation ends with; empty when it succeeds.
template <class Error, class Operation>
std::string messageOf(const Operation& operation) {
    try {
        operation();
    } catch (const Error& error) {
        return error.what();
    }
    return {};
}
