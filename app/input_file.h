/// \file
/// Input files of any kind, and what can go wrong with them.
#pragma once

#include "app/errors.h"

#include <filesystem>
#include <istream>
#include <memory>

namespace app {

/// The file as a stream that can be sought in; a pipe is read whole first. UnreadableError with the reason
/// alone.
[[nodiscard]] std::unique_ptr<std::istream> openInput(const std::filesystem::path& path);

/// What `read` makes of the file. The message of an UnreadableError, `read`'s own too, gets the file's name.
template <class Read>
auto readInput(const std::filesystem::path& path, const Read& read) {
    try {
        return read(*openInput(path));
    } catch (const UnreadableError& error) {
        throw UnreadableError("cannot read " + path.string() + ": " + error.what());
    } catch (const std::filesystem::filesystem_error& error) {
        throw UnreadableError("cannot read " + path.string() + ": " + error.code().message());
    }
}

} // namespace app
