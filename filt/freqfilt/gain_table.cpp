#include "filt/freqfilt/gain_table.h"

#include "filt/internal/aligned_storage.h"

#include <algorithm>
#include <utility>

vx_GainTable::vx_GainTable() noexcept = default;
vx_GainTable::~vx_GainTable() = default;

vx_GainTable::vx_GainTable(const float* gains, std::size_t count) {
    resize(count);
    std::copy_n(gains, count, gains_);
}

vx_GainTable::vx_GainTable(vx_GainTable&& other) noexcept
    : storage_(std::move(other.storage_))
    , gains_(std::exchange(other.gains_, nullptr))
    , size_(std::exchange(other.size_, 0)) {}

vx_GainTable& vx_GainTable::operator=(vx_GainTable&& other) noexcept {
    std::swap(storage_, other.storage_);
    std::swap(gains_, other.gains_);
    std::swap(size_, other.size_);
    return *this;
}

void vx_GainTable::resize(std::size_t entries, std::size_t spare) {
    if (size_ == entries) {
        return;
    }
    std::vector<float> storage(entries + spare);
    storage_ = std::move(storage);
    gains_ = vf_AlignedStart(storage_);
    size_ = entries;
}
