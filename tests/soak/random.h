/// \file
/// Random numbers that are the same on every machine (SplitMix64; Steele, Lea and Flood, "Fast splittable
/// pseudorandom number generators", 2014).
#pragma once

#include <cstdint>

namespace soak {

class Random {
public:
    explicit Random(std::uint64_t seed) noexcept : state_(seed) {}

    std::uint64_t next() noexcept {
        state_ += 0x9e3779b97f4a7c15U;
        std::uint64_t z = state_;
        z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9U;
        z = (z ^ (z >> 27)) * 0x94d049bb133111ebU;
        return z ^ (z >> 31);
    }
    /// first .. last.
    long between(long first, long last) noexcept {
        return first + static_cast<long>(next() % static_cast<std::uint64_t>(last - first + 1));
    }
    bool oneIn(long n) noexcept { return between(1, n) == 1; }
    /// 0 to 1, in steps of 1 / 1024.
    double fraction() noexcept { return static_cast<double>(between(0, 1024)) / 1024.0; }

private:
    std::uint64_t state_;
};

} // namespace soak
