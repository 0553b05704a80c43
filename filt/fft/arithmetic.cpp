#include "filt/fft/arithmetic.h"

#include "filt/fft/kernels/instruction_sets.h"
#include "filt/internal/buffer_access.h"
#include "filt/internal/messages.h"

#include <cstddef>

// The order of the checks decides which error a caller sees when several apply. It differs deliberately:
//
//     operation                        samples     then            then
//     product, two operands            b, a        sizes           consumed a, b
//     sum, difference, two operands    b, a        consumed a, b   sizes
//     product, sum, three operands     a, b        consumed a, b   sizes
//     difference, three operands       a, b        sizes           consumed a, b
//     conjugate                        a           consumed a

namespace {
using Access = vx_FrequencyBufferAccess;

void checkInitialized(const vxFrequencyBuffer& first, const vxFrequencyBuffer& second) {
    Access::requireSamples(first);
    Access::requireSamples(second);
}

void checkNotConsumed(const vxFrequencyBuffer& a, const vxFrequencyBuffer& b) {
    if (Access::inverseComputed(a) || Access::inverseComputed(b)) {
        throw vxFrequencyDefs::InvalidBuffer(vx_Messages::bufferConsumed);
    }
}

void checkSizes(const vxPair<long>& a, const vxPair<long>& b, const char* message) {
    if (a != b) {
        throw vxFrequencyDefs::InvalidSize(message);
    }
}

// out = first op second, for each sample. An output is one of the inputs or shares nothing with them.
using Combine = void (*)(const float* first, const float* second, float* out, std::size_t samples);

std::size_t samplesOf(const vxFrequencyBuffer& buffer) {
    return static_cast<std::size_t>(Access::sampleCount(buffer));
}

// b = b op a.
void update(const vxFrequencyBuffer& a, vxFrequencyBuffer& b, Combine combine) {
    float* updated = Access::data(b);
    combine(updated, Access::data(a), updated, samplesOf(b));
}

// c = a op b, where c is not b. It takes everything else from a; refused when a copy of a would not fit
// b.
void combineInto(const vxFrequencyBuffer& a, const vxFrequencyBuffer& b, vxFrequencyBuffer& c,
                 Combine combine, const char* message) {
    if (&c == &a) {
        checkSizes(Access::size(b), Access::size(c), message);
        update(b, c, combine);
        return;
    }
    checkSizes(Access::copySize(a), Access::size(b), message);
    // Where b is a copy, too: copies of loaded buffers can be larger than these, and end with zeros.
    if (!Access::copyKeepsSize(a)) {
        vxFrequencyBuffer result(a);
        update(b, result, combine);
        Access::swap(c, result);
        return;
    }
    Access::takeState(c, a);
    combine(Access::data(a), Access::data(b), Access::data(c), samplesOf(c));
}
} // namespace

void vfFrequencyMultiply(const vxFrequencyBuffer& a, vxFrequencyBuffer& b) {
    checkInitialized(b, a);
    checkSizes(Access::size(a), Access::size(b), vx_Messages::multiplySizesDiffer);
    checkNotConsumed(a, b);
    update(a, b, vf_Elements().product);
}

void vfFrequencyMultiply(const vxFrequencyBuffer& a, const vxFrequencyBuffer& b, vxFrequencyBuffer& c) {
    checkInitialized(a, b);
    checkNotConsumed(a, b);
    checkSizes(Access::size(a), Access::size(b), vx_Messages::multiplySizesDiffer);
    if (&c == &b) {
        vfFrequencyMultiply(a, c);
        return;
    }
    combineInto(a, b, c, vf_Elements().product, vx_Messages::multiplySizesDiffer);
}

void vfFrequencyConjugate(vxFrequencyBuffer& a) {
    checkInitialized(a, a);
    checkNotConsumed(a, a);
    float* samples = Access::data(a);
    vf_Elements().conjugate(samples, samples, samplesOf(a));
}

void vfFrequencyConjugate(const vxFrequencyBuffer& a, vxFrequencyBuffer& b) {
    checkInitialized(a, a);
    checkNotConsumed(a, a);
    if (&a == &b || !Access::copyKeepsSize(a)) {
        b = a;
        vfFrequencyConjugate(b);
        return;
    }
    Access::takeState(b, a);
    vf_Elements().conjugate(Access::data(a), Access::data(b), samplesOf(b));
}

void vfFrequencyAdd(const vxFrequencyBuffer& a, vxFrequencyBuffer& b) {
    checkInitialized(b, a);
    checkNotConsumed(a, b);
    checkSizes(Access::size(a), Access::size(b), vx_Messages::addSizesDiffer);
    update(a, b, vf_Elements().sum);
}

void vfFrequencyAdd(const vxFrequencyBuffer& a, const vxFrequencyBuffer& b, vxFrequencyBuffer& c) {
    checkInitialized(a, b);
    checkNotConsumed(a, b);
    checkSizes(Access::size(a), Access::size(b), vx_Messages::addSizesDiffer);
    if (&c == &b) {
        vfFrequencyAdd(a, c);
        return;
    }
    combineInto(a, b, c, vf_Elements().sum, vx_Messages::addSizesDiffer);
}

void vfFrequencySubtract(const vxFrequencyBuffer& a, vxFrequencyBuffer& b) {
    checkInitialized(b, a);
    checkNotConsumed(a, b);
    checkSizes(Access::size(a), Access::size(b), vx_Messages::subtractSizesDiffer);
    update(a, b, vf_Elements().difference);
}

void vfFrequencySubtract(const vxFrequencyBuffer& a, const vxFrequencyBuffer& b, vxFrequencyBuffer& c) {
    checkInitialized(a, b);
    checkSizes(Access::size(a), Access::size(b), vx_Messages::subtractSizesDiffer);
    checkNotConsumed(a, b);
    if (&c != &b) {
        combineInto(a, b, c, vf_Elements().difference, vx_Messages::subtractSizesDiffer);
        return;
    }
    // Not commutative: c must take a's samples while b, the same buffer, is still needed.
    const vxFrequencyBuffer subtrahend(b);
    combineInto(a, subtrahend, c, vf_Elements().difference, vx_Messages::subtractSizesDiffer);
}
