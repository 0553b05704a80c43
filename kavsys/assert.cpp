#include "kavsys/assert.h"

#include <string>

// Defined here so that the virtual table has one home.
vxAssertionFailure::~vxAssertionFailure() = default;

void vfAssertionFailed(const char* expression, const char* file, long line) {
    const auto orUnknown = [](const char* text) { return std::string(text == nullptr ? "?" : text); };
    throw vxAssertionFailure("Assertion failed: " + orUnknown(expression) + " (" + orUnknown(file) + ":" +
                             std::to_string(line) + ")");
}
