/// \file
/// What the tools report to the person or script that started them: one class per exit code.
#pragma once

#include <stdexcept>
#include <string>

namespace app {

/// The exit codes of every tool.
enum ExitCode : int {
    eDone = 0,
    eInternal = 1,    ///< out of memory, or a fault of the tool itself
    eIncomplete = 1,  ///< files of a batch that failed, each for a reason of its own
    eUsage = 2,       ///< wrong options
    eUnreadable = 3,  ///< an input that cannot be read or is not supported
    eCannotWrite = 4, ///< an output that cannot be written or must not be overwritten
    eInterrupted = 130
};

/// An error with an exit code. The message names the file, if there is one, and the reason.
class Error : public std::runtime_error {
public:
    [[nodiscard]] int exitCode() const noexcept { return exitCode_; }

protected:
    Error(int exitCode, const std::string& message) : std::runtime_error(message), exitCode_(exitCode) {}

private:
    int exitCode_;
};

class UsageError : public Error {
public:
    explicit UsageError(const std::string& message) : Error(eUsage, message) {}
};

class UnreadableError : public Error {
public:
    explicit UnreadableError(const std::string& message) : Error(eUnreadable, message) {}
};

class WriteError : public Error {
public:
    explicit WriteError(const std::string& message) : Error(eCannotWrite, message) {}
};

class IncompleteError : public Error {
public:
    explicit IncompleteError(const std::string& message) : Error(eIncomplete, message) {}
};

/// Control characters (a file name may hold line breaks) become question marks, so that a report stays one
/// line.
[[nodiscard]] std::string oneLine(std::string text);

} // namespace app
