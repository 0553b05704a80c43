/// \file
/// The library's paths, one per instruction set, for the benchmark to choose from.
#pragma once

#include <memory>
#include <string>
#include <vector>

namespace bench {

/// Those that this machine can run, the slowest (portable) first.
[[nodiscard]] std::vector<std::string> instructionSets();

/// Makes the library take one path while it lives.
class Forced {
public:
    explicit Forced(const std::string& instructionSet);
    ~Forced();
    Forced(const Forced&) = delete;
    Forced& operator=(const Forced&) = delete;

private:
    struct Guard;
    std::unique_ptr<Guard> guard_;
};

} // namespace bench
