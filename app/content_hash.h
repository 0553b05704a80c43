/// \file
/// What tells one file's content from another's.
#pragma once

#include <iosfwd>
#include <span>
#include <string>

namespace app {

/// SHA-256 in lower-case hexadecimal digits, as sha256sum prints it.
[[nodiscard]] std::string sha256(std::span<const unsigned char> bytes);

/// Of a seekable stream from its start, where it is left again. vxAttention::check now and then.
[[nodiscard]] std::string sha256(std::istream& file);

} // namespace app
