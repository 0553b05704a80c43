#include "app/words.h"

#include <cstdio>

namespace app {

std::string number(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.6g", value);
    return text;
}

std::string count(long value, const std::string& noun) {
    return std::to_string(value) + " " + noun + (value == 1 ? "" : "s");
}

std::string size(long width, long height) {
    return std::to_string(width) + " x " + std::to_string(height);
}

} // namespace app
