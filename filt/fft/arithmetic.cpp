#include "filt/fft/arithmetic.h"

#include "filt/internal/buffer_access.h"
#include "filt/internal/messages.h"

#include <cstdint>

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

struct Sample {
    float re;
    float im;
};

Sample product(Sample b, Sample a) {
    return {b.re * a.re - b.im * a.im, b.im * a.re + b.re * a.im};
}

Sample sum(Sample b, Sample a) {
    return {b.re + a.re, b.im + a.im};
}

Sample difference(Sample b, Sample a) {
    return {b.re - a.re, b.im - a.im};
}

// The loops work on samples (real, imaginary). An output is one of the inputs or shares nothing with them;
// the callers show which, so that the compiler can vectorise the loop for each.

// out = rule(first, second) for each sample.
template <class Rule>
void combine(const float* first, const float* second, float* out, std::uint64_t count, Rule rule) {
    for (std::uint64_t i = 0; i < 2 * count; i += 2) {
        const Sample result = rule(Sample{first[i], first[i + 1]}, Sample{second[i], second[i + 1]});
        out[i] = result.re;
        out[i + 1] = result.im;
    }
}

// b = rule(b, a).
template <class Rule>
void update(const vxFrequencyBuffer& a, vxFrequencyBuffer& b, Rule rule) {
    const float* other = Access::data(a);
    float* updated = Access::data(b);
    const std::uint64_t count = Access::sampleCount(b);
    if (other == updated) {
        combine(updated, updated, updated, count, rule);
    } else {
        combine(updated, other, updated, count, rule);
    }
}

// c = rule(a, b), where c is not b. It takes everything else from a; refused when a copy of a would not fit
// b.
template <class Rule>
void combineInto(const vxFrequencyBuffer& a, const vxFrequencyBuffer& b, vxFrequencyBuffer& c, Rule rule,
                 const char* message) {
    if (&c == &a) {
        checkSizes(Access::size(b), Access::size(c), message);
        update(b, c, rule);
        return;
    }
    checkSizes(Access::copySize(a), Access::size(b), message);
    Access::takeState(c, a);
    combine(Access::data(a), Access::data(b), Access::data(c), Access::sampleCount(c), rule);
}

void conjugate(const float* in, float* out, std::uint64_t count) {
    for (std::uint64_t i = 0; i < 2 * count; i += 2) {
        out[i] = in[i];
        out[i + 1] = -in[i + 1];
    }
}
} // namespace

void vfFrequencyMultiply(const vxFrequencyBuffer& a, vxFrequencyBuffer& b) {
    checkInitialized(b, a);
    checkSizes(Access::size(a), Access::size(b), vx_Messages::multiplySizesDiffer);
    checkNotConsumed(a, b);
    update(a, b, product);
}

void vfFrequencyMultiply(const vxFrequencyBuffer& a, const vxFrequencyBuffer& b, vxFrequencyBuffer& c) {
    checkInitialized(a, b);
    checkNotConsumed(a, b);
    checkSizes(Access::size(a), Access::size(b), vx_Messages::multiplySizesDiffer);
    if (&c == &b) {
        vfFrequencyMultiply(a, c);
        return;
    }
    combineInto(a, b, c, product, vx_Messages::multiplySizesDiffer);
}

void vfFrequencyConjugate(vxFrequencyBuffer& a) {
    checkInitialized(a, a);
    checkNotConsumed(a, a);
    float* samples = Access::data(a);
    conjugate(samples, samples, Access::sampleCount(a));
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
    conjugate(Access::data(a), Access::data(b), Access::sampleCount(b));
}

void vfFrequencyAdd(const vxFrequencyBuffer& a, vxFrequencyBuffer& b) {
    checkInitialized(b, a);
    checkNotConsumed(a, b);
    checkSizes(Access::size(a), Access::size(b), vx_Messages::addSizesDiffer);
    update(a, b, sum);
}

void vfFrequencyAdd(const vxFrequencyBuffer& a, const vxFrequencyBuffer& b, vxFrequencyBuffer& c) {
    checkInitialized(a, b);
    checkNotConsumed(a, b);
    checkSizes(Access::size(a), Access::size(b), vx_Messages::addSizesDiffer);
    if (&c == &b) {
        vfFrequencyAdd(a, c);
        return;
    }
    combineInto(a, b, c, sum, vx_Messages::addSizesDiffer);
}

void vfFrequencySubtract(const vxFrequencyBuffer& a, vxFrequencyBuffer& b) {
    checkInitialized(b, a);
    checkNotConsumed(a, b);
    checkSizes(Access::size(a), Access::size(b), vx_Messages::subtractSizesDiffer);
    update(a, b, difference);
}

void vfFrequencySubtract(const vxFrequencyBuffer& a, const vxFrequencyBuffer& b, vxFrequencyBuffer& c) {
    checkInitialized(a, b);
    checkSizes(Access::size(a), Access::size(b), vx_Messages::subtractSizesDiffer);
    checkNotConsumed(a, b);
    if (&c != &b) {
        combineInto(a, b, c, difference, vx_Messages::subtractSizesDiffer);
        return;
    }
    // Not commutative: c must take a's samples while b, the same buffer, is still needed.
    const vxFrequencyBuffer subtrahend(b);
    combineInto(a, subtrahend, c, difference, vx_Messages::subtractSizesDiffer);
}
