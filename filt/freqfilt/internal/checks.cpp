#include "filt/freqfilt/internal/checks.h"

#include "filt/internal/buffer_access.h"
#include "filt/internal/convert.h"
#include "filt/internal/messages.h"

#include <bit>
#include <stdexcept>

namespace {
constexpr long largestTable = 0x7FFFFFFF;

[[noreturn]] void supportTooLarge() {
    throw std::length_error("The support of the filter is too large.");
}
} // namespace

bool vf_IsFrequency(double frequency) noexcept {
    return frequency >= 0.0 && frequency <= 0.5;
}

bool vf_IsPowerOfTwo(long size) noexcept {
    return size > 0 && std::has_single_bit(static_cast<unsigned long>(size));
}

void vf_CheckFrequency(double frequency) {
    vf_CheckArgument(vf_IsFrequency(frequency), vx_Messages::frequencyRange);
}

void vf_CheckArgument(bool valid, const char* message) {
    if (!valid) {
        throw vxFrequencyDefs::InvalidArgument(message);
    }
}

void vf_CheckSize(const vxPair<long>& size) {
    if (!vf_IsPowerOfTwo(size.x()) || !vf_IsPowerOfTwo(size.y())) {
        throw vxFrequencyDefs::InvalidSize(vx_Messages::sizeNotPowerOfTwo);
    }
}

void vf_CheckBuilt(const vx_GainTable& table) {
    if (!table.isBuilt()) {
        throw vxFrequencyDefs::Uninitialized(vx_Messages::filterUninitialized);
    }
}

void vf_CheckOperand(const vxFrequencyBuffer& buffer, const vx_GainTable& table, const vxPair<long>& size) {
    if (vx_FrequencyBufferAccess::data(buffer) == nullptr) {
        throw vxFrequencyDefs::Uninitialized(vx_Messages::bufferUninitialized);
    }
    vf_CheckBuilt(table);
    if (buffer.width() != size.x() || buffer.height() != size.y()) {
        throw vxFrequencyDefs::InvalidSize(vx_Messages::filterSizeMismatch);
    }
}

long vf_SupportSize(double extent) {
    // A NaN fits nothing.
    if (!(extent < static_cast<double>(largestTable))) {
        supportTooLarge();
    }
    const long size = static_cast<long>(vf_Truncate(extent));
    return size % 2 == 0 ? size + 1 : size;
}

std::size_t vf_EntryCount(long columns, long rows) {
    if (columns > largestTable / rows) {
        supportTooLarge();
    }
    return static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows);
}
