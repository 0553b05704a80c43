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

// c = a, unless they are one buffer; refused when the copy would not fit b.
void assign(const vxFrequencyBuffer& a, const vxFrequencyBuffer& b, vxFrequencyBuffer& c,
            const char* message) {
    if (&c != &a) {
        checkSizes(Access::copySize(a), Access::size(b), message);
        c = a;
    }
}

struct Sample {
    float re;
    float im;
};

// updated = rule(updated, other) for each sample. Both parts are read before either is written, so that a
// buffer can be combined with itself.
template <class Rule>
void combine(const vxFrequencyBuffer& other, vxFrequencyBuffer& updated, Rule rule) {
    const float* a = Access::data(other);
    float* b = Access::data(updated);
    for (std::uint64_t left = Access::sampleCount(updated); left > 0; --left) {
        const Sample result = rule(Sample{b[0], b[1]}, Sample{a[0], a[1]});
        b[0] = result.re;
        b[1] = result.im;
        a += 2;
        b += 2;
    }
}

Sample product(Sample b, Sample a) {
    return {b.re * a.re - b.im * a.im, b.im * a.re + b.re * a.im};
}

Sample sum(Sample b, Sample a) {
    return {b.re + a.re, b.im + a.im};
}

Sample difference(Sample b, Sample a) {
    return {b.re - a.re, b.im - a.im};
}
} // namespace

void vfFrequencyMultiply(const vxFrequencyBuffer& a, vxFrequencyBuffer& b) {
    checkInitialized(b, a);
    checkSizes(Access::size(a), Access::size(b), vx_Messages::multiplySizesDiffer);
    checkNotConsumed(a, b);
    combine(a, b, product);
}

void vfFrequencyMultiply(const vxFrequencyBuffer& a, const vxFrequencyBuffer& b, vxFrequencyBuffer& c) {
    checkInitialized(a, b);
    checkNotConsumed(a, b);
    checkSizes(Access::size(a), Access::size(b), vx_Messages::multiplySizesDiffer);
    if (&c == &b) {
        vfFrequencyMultiply(a, c);
        return;
    }
    assign(a, b, c, vx_Messages::multiplySizesDiffer);
    vfFrequencyMultiply(b, c);
}

void vfFrequencyConjugate(vxFrequencyBuffer& a) {
    checkInitialized(a, a);
    checkNotConsumed(a, a);
    float* imaginary = Access::data(a) + 1;
    for (std::uint64_t left = Access::sampleCount(a); left > 0; --left) {
        *imaginary = -*imaginary;
        imaginary += 2;
    }
}

void vfFrequencyConjugate(const vxFrequencyBuffer& a, vxFrequencyBuffer& b) {
    checkInitialized(a, a);
    checkNotConsumed(a, a);
    b = a;
    vfFrequencyConjugate(b);
}

void vfFrequencyAdd(const vxFrequencyBuffer& a, vxFrequencyBuffer& b) {
    checkInitialized(b, a);
    checkNotConsumed(a, b);
    checkSizes(Access::size(a), Access::size(b), vx_Messages::addSizesDiffer);
    combine(a, b, sum);
}

void vfFrequencyAdd(const vxFrequencyBuffer& a, const vxFrequencyBuffer& b, vxFrequencyBuffer& c) {
    checkInitialized(a, b);
    checkNotConsumed(a, b);
    checkSizes(Access::size(a), Access::size(b), vx_Messages::addSizesDiffer);
    if (&c == &b) {
        vfFrequencyAdd(a, c);
        return;
    }
    assign(a, b, c, vx_Messages::addSizesDiffer);
    vfFrequencyAdd(b, c);
}

void vfFrequencySubtract(const vxFrequencyBuffer& a, vxFrequencyBuffer& b) {
    checkInitialized(b, a);
    checkNotConsumed(a, b);
    checkSizes(Access::size(a), Access::size(b), vx_Messages::subtractSizesDiffer);
    combine(a, b, difference);
}

void vfFrequencySubtract(const vxFrequencyBuffer& a, const vxFrequencyBuffer& b, vxFrequencyBuffer& c) {
    checkInitialized(a, b);
    checkSizes(Access::size(a), Access::size(b), vx_Messages::subtractSizesDiffer);
    checkNotConsumed(a, b);
    if (&c != &b) {
        assign(a, b, c, vx_Messages::subtractSizesDiffer);
        vfFrequencySubtract(b, c);
        return;
    }
    // Not commutative: c must take a's samples while b, the same buffer, is still needed.
    const vxFrequencyBuffer subtrahend(b);
    assign(a, subtrahend, c, vx_Messages::subtractSizesDiffer);
    vfFrequencySubtract(subtrahend, c);
}
