/// \file
/// Makes numbers of a fuzzer's bytes.
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <span>
#include <string>
#include <type_traits>

namespace fuzz {

/// Reads an input from its first byte on. Beyond the last one everything is zero.
class Bytes {
public:
    explicit Bytes(std::span<const std::uint8_t> bytes) noexcept : rest_(bytes) {}

    [[nodiscard]] bool atEnd() const noexcept { return rest_.empty(); }
    [[nodiscard]] std::size_t left() const noexcept { return rest_.size(); }

    /// A number of any bits.
    template <class T>
    requires std::is_arithmetic_v<T> T any()
    noexcept {
        std::array<std::uint8_t, sizeof(T)> bits = {};
        const std::size_t size = rest_.size() < sizeof(T) ? rest_.size() : sizeof(T);
        if (size > 0) {
            std::memcpy(bits.data(), rest_.data(), size);
        }
        rest_ = rest_.subspan(size);
        return std::bit_cast<T>(bits);
    }

    unsigned byte() noexcept { return any<std::uint8_t>(); }
    bool flag() noexcept { return byte() % 2 != 0; }
    /// 0 <= result < count <= 256.
    unsigned below(unsigned count) noexcept { return byte() % count; }
    /// low <= result <= high < low + 256.
    long between(long low, long high) noexcept {
        return low + static_cast<long>(below(static_cast<unsigned>(high - low + 1)));
    }

    /// Any number, more often a small one or one near an end of `long`.
    long number() noexcept {
        constexpr long lowest = std::numeric_limits<long>::min();
        constexpr long highest = std::numeric_limits<long>::max();
        const unsigned kind = byte();
        const long small = kind % 8 < 6 ? static_cast<long>(any<std::int8_t>()) : 0;
        switch (kind % 8) {
        case 6:
            return any<long>();
        case 5:
            return small < 0 ? lowest - small - 1 : highest - small;
        case 4:
            return small < 0 ? -(1L << 31) - small : (1L << 31) + small;
        default:
            return small;
        }
    }

    /// Any double, more often a plain one.
    double real() noexcept {
        const unsigned kind = byte();
        switch (kind % 4) {
        case 3:
            return any<double>();
        case 2:
            return any<std::int8_t>();
        default:
            return any<std::uint16_t>() / 65536.0; // 0 to 1.
        }
    }

    /// What is left.
    std::string text() {
        std::string bytes(rest_.begin(), rest_.end());
        rest_ = {};
        return bytes;
    }

private:
    std::span<const std::uint8_t> rest_;
};

} // namespace fuzz
