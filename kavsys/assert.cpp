#include "kavsys/assert.h"

#include <string>

// Defined here so that the virtual table has one home.
vxAssertionFailure::~vxAssertionFailure() = default;

void vfAssertionFailed(const char* expression, const char* file, long line) {
    throw vxAssertionFailure(std::string("Assertion failed: ") + expression + " (" + file + ":" +
                             std::to_string(line) + ")");
}
