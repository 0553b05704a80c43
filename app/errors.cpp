#include "app/errors.h"

#include <algorithm>

std::string app::oneLine(std::string text) {
    std::replace_if(
        text.begin(), text.end(), [](char c) { return (c >= 0 && c < ' ') || c == '\x7f'; }, '?');
    return text;
}
