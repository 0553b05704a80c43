/// \file
/// Numbers in messages.
#pragma once

#include <string>

namespace app {

/// Up to six significant digits, without trailing zeros.
[[nodiscard]] std::string number(double value);

/// "1 pel", "2 pels".
[[nodiscard]] std::string count(long value, const std::string& noun);

/// "640 x 480".
[[nodiscard]] std::string size(long width, long height);

} // namespace app
