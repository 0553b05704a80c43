/// \file
/// The table of gains that a filter multiplies into a spectrum.
#pragma once

#include "kavsys/export.h"

#include <cstddef>
#include <vector>

/// Float gains that start at a multiple of 16 bytes, or none: a table that is not built. Changes have the
/// strong guarantee: an allocation that fails leaves the table as it was.
class VX_EXPORT vx_GainTable {
public:
    /// Floats beyond the gains that pay for the alignment.
    static constexpr std::size_t alignmentSpare = 3;

    /// Not built.
    vx_GainTable() noexcept;
    /// A copy of `count` gains.
    vx_GainTable(const float* gains, std::size_t count);
    /// Takes the other's gains; that is then not built.
    vx_GainTable(vx_GainTable&& other) noexcept;
    /// Exchanges the gains.
    vx_GainTable& operator=(vx_GainTable&& other) noexcept;
    vx_GainTable(const vx_GainTable&) = delete;
    vx_GainTable& operator=(const vx_GainTable&) = delete;
    ~vx_GainTable();

    /// Whether there are gains.
    [[nodiscard]] bool isBuilt() const noexcept { return gains_ != nullptr; }
    /// The gains; null and none when not built.
    [[nodiscard]] const float* data() const noexcept { return gains_; }
    [[nodiscard]] float* data() noexcept { return gains_; }
    /// How many.
    [[nodiscard]] std::size_t size() const noexcept { return size_; }
    /// The same as a range, which std::span takes.
    [[nodiscard]] const float* begin() const noexcept { return gains_; }
    [[nodiscard]] float* begin() noexcept { return gains_; }
    [[nodiscard]] const float* end() const noexcept { return gains_ + size_; }
    [[nodiscard]] float* end() noexcept { return gains_ + size_; }

    /// Makes room for `entries` gains, at least 1, of any values. A table of that many keeps its storage.
    /// `spare` is alignmentSpare or more.
    void resize(std::size_t entries, std::size_t spare = alignmentSpare);
    /// Not built any more. The storage is kept.
    void drop() noexcept {
        gains_ = nullptr;
        size_ = 0;
    }

private:
    std::vector<float> storage_;
    float* gains_ = nullptr; // The aligned part of storage_.
    std::size_t size_ = 0;
};
