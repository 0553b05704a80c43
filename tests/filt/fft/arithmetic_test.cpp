#include "filt/fft/arithmetic.h"

#include "tests/oracle/arithmetic.h"
#include "tests/support/failing_allocation.h"
#include "tests/support/frequency_buffers.h"
#include "tests/support/frequency_errors.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <functional>
#include <string>
#include <vector>

namespace {
using Defs = vxFrequencyDefs;
using Samples = std::vector<float>;
using support::BufferAccess;
using support::BufferState;
using support::expectError;
using support::filled;
using support::samplesOf;

constexpr const char* uninitialized = "FrequencyBuffer has not been initialized";
constexpr const char* consumed = "Cannot access frequency data once inverse has been computed.";

// The three operations with two operands each, side by side.
struct Operation {
    const char* name;
    void (*update)(const vxFrequencyBuffer& a, vxFrequencyBuffer& b);
    void (*combine)(const vxFrequencyBuffer& a, const vxFrequencyBuffer& b, vxFrequencyBuffer& c);
    Samples (*expected)(const Samples& updated, const Samples& other);
    const char* sizesDiffer;
    bool updateChecksSizesFirst;  // Before it checks for consumed operands.
    bool combineChecksSizesFirst; // The same.
};

const Operation operations[] = {
    {"multiply", vfFrequencyMultiply, vfFrequencyMultiply, oracle::multiply,
     "Can only multiply equal-sized frequency buffers.", true, false},
    {"add", vfFrequencyAdd, vfFrequencyAdd, oracle::add, "Can only add equal-sized frequency buffers.", false,
     false},
    {"subtract", vfFrequencySubtract, vfFrequencySubtract, oracle::subtract,
     "Can only subtract equal-sized frequency buffers.", false, true},
};

class Arithmetic : public testing::TestWithParam<Operation> {};
INSTANTIATE_TEST_SUITE_P(, Arithmetic, testing::ValuesIn(operations),
                         [](const auto& test) { return std::string(test.param.name); });

// NaNs need only be NaNs, since which operand's NaN survives is the processor's choice; all else agrees bit
// for bit.
bool same(const Samples& a, const Samples& b) {
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](float x, float y) {
               return (std::isnan(x) && std::isnan(y)) ||
                      std::bit_cast<std::uint32_t>(x) == std::bit_cast<std::uint32_t>(y);
           });
}

vxFrequencyBuffer consumedBuffer(long width, long height) {
    vxFrequencyBuffer buffer = filled(width, height, 9);
    support::setConsumed(buffer);
    return buffer;
}

// 64 x 64 with a source size of 32 x 32: a copy is 32 x 32.
const vxFrequencyBuffer& croppedSource() {
    static const vxFrequencyBuffer source = filled(129, 129, 4);
    return source;
}

// Something in every field that arithmetic must leave alone.
void decorate(vxFrequencyBuffer& buffer, long mark) {
    support::setMask(buffer, true, mark, mark + 1);
    BufferAccess::offset(buffer, {mark, -mark});
    vx2XformCache cache;
    cache.xform(vx2XformLinear(vxXform<2>(vxMatrix<2>(), vxVector<2>(static_cast<double>(mark), 0.0))));
    BufferAccess::xformCache(buffer, cache);
}

// The state with other samples.
BufferState withSamples(BufferState state, const Samples& samples) {
    state.samples = support::bitsOf(samples);
    return state;
}

TEST_P(Arithmetic, updateMatchesTheTranscription) {
    unsigned seed = 0;
    for (long width = 1; width <= 32; width *= 2) {
        for (long height = 1; height <= 32; height *= 2) {
            for (bool extremes : {false, true}) {
                const vxFrequencyBuffer a = filled(width, height, ++seed, extremes);
                vxFrequencyBuffer b = filled(width, height, ++seed, extremes);
                const BufferState before(a);
                const Samples expected = GetParam().expected(samplesOf(b), samplesOf(a));
                GetParam().update(a, b);
                EXPECT_TRUE(same(samplesOf(b), expected)) << width << ' ' << height;
                EXPECT_EQ(BufferState(a), before);
            }
        }
    }
}

TEST_P(Arithmetic, updateOfALoadedOddSize) {
    const Samples samples = samplesOf(filled(5, 9, 1));
    vxFrequencyBuffer a;
    vxFrequencyBuffer b;
    support::load(a, support::recordOf(5, 9, 5, 9, Samples(samples.begin(), samples.begin() + 90)).bytes());
    support::load(
        b, support::recordOf(5, 9, 5, 9, Samples(samples.begin() + 20, samples.begin() + 110)).bytes());
    const Samples expected = GetParam().expected(samplesOf(b), samplesOf(a));
    GetParam().update(a, b);
    EXPECT_TRUE(same(samplesOf(b), expected));
}

TEST_P(Arithmetic, updateOfABufferWithItself) {
    vxFrequencyBuffer a = filled(8, 8, 1, true);
    const Samples samples = samplesOf(a);
    GetParam().update(a, a);
    EXPECT_TRUE(same(samplesOf(a), GetParam().expected(samples, samples)));
}

TEST_P(Arithmetic, updateChangesSamplesOnly) {
    vxFrequencyBuffer a = filled(5, 6, 1);
    vxFrequencyBuffer b = filled(8, 7, 2); // Another source size, the same allocated size.
    decorate(a, 1);
    decorate(b, 2);
    const BufferState expected = withSamples(BufferState(b), GetParam().expected(samplesOf(b), samplesOf(a)));
    GetParam().update(a, b);
    EXPECT_EQ(BufferState(b), expected);
}

// Each way in which a result can be one of the operands.
enum class Aliasing { none, resultIsA, resultIsB, operandsAreOne, all };

void expectCombination(const Operation& operation, Aliasing aliasing) {
    const vxFrequencyBuffer originalA = filled(8, 4, 1, true);
    const vxFrequencyBuffer originalB = filled(8, 4, 2, true);
    vxFrequencyBuffer a(originalA);
    vxFrequencyBuffer b(originalB);
    vxFrequencyBuffer c = filled(3, 3, 3);
    decorate(a, 1);
    decorate(b, 2);
    decorate(c, 3);
    const bool one = aliasing == Aliasing::operandsAreOne || aliasing == Aliasing::all;
    vxFrequencyBuffer& second = one ? a : b;
    vxFrequencyBuffer& result = aliasing == Aliasing::none || aliasing == Aliasing::operandsAreOne ? c
                                : aliasing == Aliasing::resultIsB                                  ? b
                                                                                                   : a;
    const Samples expected = operation.expected(samplesOf(a), samplesOf(second));
    const BufferState beforeA(a);
    const BufferState beforeB(b);
    operation.combine(a, second, result);
    EXPECT_TRUE(same(samplesOf(result), expected));
    if (&result != &a) {
        EXPECT_EQ(BufferState(a), beforeA);
    }
    if (&result != &b) {
        EXPECT_EQ(BufferState(b), beforeB);
    }
}

TEST_P(Arithmetic, combineIsRightForEveryAliasing) {
    for (Aliasing aliasing : {Aliasing::none, Aliasing::resultIsA, Aliasing::resultIsB,
                              Aliasing::operandsAreOne, Aliasing::all}) {
        SCOPED_TRACE(static_cast<int>(aliasing));
        expectCombination(GetParam(), aliasing);
    }
}

TEST_P(Arithmetic, separateResultTakesTheStateOfTheFirstOperand) {
    vxFrequencyBuffer a = filled(5, 6, 1);
    vxFrequencyBuffer b = filled(8, 7, 2);
    vxFrequencyBuffer c;
    decorate(a, 1);
    decorate(b, 2);
    const BufferState expected = withSamples(BufferState(a), GetParam().expected(samplesOf(a), samplesOf(b)));
    GetParam().combine(a, b, c);
    EXPECT_EQ(BufferState(c), expected);
}

TEST_P(Arithmetic, resultThatIsConsumedOrOfAnotherSizeIsOverwritten) {
    const vxFrequencyBuffer a = filled(4, 4, 1);
    const vxFrequencyBuffer b = filled(4, 4, 2);
    vxFrequencyBuffer spent = consumedBuffer(4, 4);
    vxFrequencyBuffer other = consumedBuffer(64, 2);
    const Samples expected = GetParam().expected(samplesOf(a), samplesOf(b));
    GetParam().combine(a, b, spent);
    GetParam().combine(a, b, other);
    EXPECT_EQ(samplesOf(spent), expected);
    EXPECT_FALSE(BufferAccess::inverseComputed(spent));
    EXPECT_EQ(samplesOf(other), expected);
}

// What is wrong with a buffer, and the error that comes of it.
enum class State { good, empty, spent };

vxFrequencyBuffer bufferIn(State state, long size) {
    switch (state) {
    case State::empty:
        return {};
    case State::spent:
        return consumedBuffer(size, size);
    default:
        return filled(size, size, 5);
    }
}

// Which error a pair of operands causes.
void expectRefusal(const std::function<void()>& operation, State a, State b, bool sizesDiffer,
                   bool sizesFirst, const char* sizesMessage) {
    if (a == State::empty || b == State::empty) {
        expectError<Defs::Uninitialized>(operation, uninitialized);
    } else if (sizesDiffer && (sizesFirst || (a == State::good && b == State::good))) {
        expectError<Defs::InvalidSize>(operation, sizesMessage);
    } else if (a == State::spent || b == State::spent) {
        expectError<Defs::InvalidBuffer>(operation, consumed);
    } else {
        operation();
    }
}

TEST_P(Arithmetic, checksInOrderAndRefusesWithoutAChange) {
    for (State stateA : {State::good, State::empty, State::spent}) {
        for (State stateB : {State::good, State::empty, State::spent}) {
            for (bool sizesDiffer : {false, true}) {
                if (stateA == State::good && stateB == State::good && !sizesDiffer) {
                    continue;
                }
                vxFrequencyBuffer a = bufferIn(stateA, 4);
                vxFrequencyBuffer b = bufferIn(stateB, sizesDiffer ? 8 : 4);
                vxFrequencyBuffer c = filled(2, 2, 6);
                const BufferState beforeA(a);
                const BufferState beforeB(b);
                const BufferState beforeC(c);
                const Operation& tested = GetParam();
                expectRefusal([&] { tested.update(a, b); }, stateA, stateB, sizesDiffer,
                              tested.updateChecksSizesFirst, tested.sizesDiffer);
                for (vxFrequencyBuffer* result : {&a, &b, &c}) {
                    expectRefusal([&] { tested.combine(a, b, *result); }, stateA, stateB, sizesDiffer,
                                  tested.combineChecksSizesFirst, tested.sizesDiffer);
                }
                EXPECT_EQ(BufferState(a), beforeA);
                EXPECT_EQ(BufferState(b), beforeB);
                EXPECT_EQ(BufferState(c), beforeC);
            }
        }
    }
}

TEST_P(Arithmetic, oneDimensionIsEnoughToDiffer) {
    const vxFrequencyBuffer a = filled(4, 4, 1);
    for (vxFrequencyBuffer b : {filled(8, 4, 2), filled(4, 8, 2), filled(2, 8, 2)}) {
        expectError<Defs::InvalidSize>([&] { GetParam().update(a, b); }, GetParam().sizesDiffer);
    }
}

TEST_P(Arithmetic, copyOfACroppedOperandThatNoLongerFitsIsRefused) {
    const vxFrequencyBuffer a(croppedSource(), 64, 64);
    const vxFrequencyBuffer b = filled(64, 64, 2);
    vxFrequencyBuffer c = filled(4, 4, 3);
    decorate(c, 3);
    const BufferState before(c);
    expectError<Defs::InvalidSize>([&] { GetParam().combine(a, b, c); }, GetParam().sizesDiffer);
    expectError<Defs::InvalidSize>([&] { GetParam().combine(a, a, c); }, GetParam().sizesDiffer);
    EXPECT_EQ(BufferState(c), before);
}

TEST_P(Arithmetic, croppedOperandsThatAreNotCopiedFit) {
    const Operation& tested = GetParam();
    const vxFrequencyBuffer plain = filled(64, 64, 2);
    vxFrequencyBuffer updated(croppedSource(), 64, 64);
    Samples expected = tested.expected(samplesOf(updated), samplesOf(plain));
    tested.update(plain, updated);
    EXPECT_EQ(samplesOf(updated), expected);

    vxFrequencyBuffer first(croppedSource(), 64, 64);
    expected = tested.expected(samplesOf(first), samplesOf(plain));
    tested.combine(first, plain, first);
    EXPECT_EQ(samplesOf(first), expected);

    const vxFrequencyBuffer second(croppedSource(), 64, 64);
    vxFrequencyBuffer result;
    expected = tested.expected(samplesOf(plain), samplesOf(second));
    tested.combine(plain, second, result);
    EXPECT_EQ(samplesOf(result), expected);
}

TEST_P(Arithmetic, copyAboveTheLimitIsRefused) {
    vxFrequencyBuffer a;
    support::load(a, support::recordOf(4096, 1, 4096, 1, Samples(8192, 1.0F)).bytes());
    vxFrequencyBuffer c = filled(4, 4, 3);
    const BufferState before(c);
    const BufferState beforeA(a);
    const char* limit = "Width and Height must be no larger than 2048.";
    expectError<Defs::InvalidSize>([&] { GetParam().combine(a, a, c); }, limit);
    expectError<Defs::InvalidSize>([&] { vfFrequencyConjugate(a, c); }, limit);
    EXPECT_EQ(BufferState(c), before);
    GetParam().update(a, a); // Without a copy it works.
    EXPECT_NE(BufferState(a), beforeA);
}

TEST_P(Arithmetic, failingAllocationsChangeNoOperand) {
    const vxFrequencyBuffer a = filled(8, 8, 1);
    const vxFrequencyBuffer b = filled(8, 8, 2);
    const BufferState beforeA(a);
    const BufferState beforeB(b);
    vxFrequencyBuffer c = filled(2, 2, 3);
    const long failures = failing_allocation::failEachAllocation([&] { GetParam().combine(a, b, c); },
                                                                 [&](bool threw) {
                                                                     EXPECT_TRUE(threw);
                                                                     EXPECT_EQ(BufferState(a), beforeA);
                                                                     EXPECT_EQ(BufferState(b), beforeB);
                                                                     EXPECT_FALSE(BufferState(c).initialized);
                                                                 });
    EXPECT_EQ(failures, 1);
    EXPECT_EQ(samplesOf(c), GetParam().expected(samplesOf(a), samplesOf(b)));
}

TEST_P(Arithmetic, needsNoTemporary) {
    const vxFrequencyBuffer a = filled(8, 8, 1);
    const vxFrequencyBuffer b = filled(8, 8, 2);
    vxFrequencyBuffer c = filled(8, 8, 3);
    const failing_allocation::Scope scope;
    GetParam().update(a, c);
    GetParam().combine(a, b, c);
    GetParam().combine(c, b, c);
    vfFrequencyConjugate(c);
    vfFrequencyConjugate(a, c);
    EXPECT_EQ(scope.count(), 0);
}

TEST(FrequencySubtract, subtractsTheFirstFromTheSecond) {
    vxFrequencyBuffer a(1, 1);
    vxFrequencyBuffer b(1, 1);
    a.put(0, 0, {1.0, 2.0}, false);
    b.put(0, 0, {10.0, 20.0}, false);
    vfFrequencySubtract(a, b);
    EXPECT_EQ(b.get(0, 0, false), vxPair<double>(9.0, 18.0));
}

TEST(FrequencySubtract, intoTheSecondOperand) {
    vxFrequencyBuffer a(1, 1);
    vxFrequencyBuffer b(1, 1);
    a.put(0, 0, {1.0, 2.0}, false);
    b.put(0, 0, {10.0, 20.0}, false);
    decorate(a, 1);
    decorate(b, 2);
    vfFrequencySubtract(a, b, b);
    EXPECT_EQ(b.get(0, 0, false), vxPair<double>(-9.0, -18.0));
    EXPECT_EQ(BufferAccess::offset(b), BufferAccess::offset(a)); // Assigned, unlike a product's or sum's.
}

TEST(FrequencySubtract, ofABufferFromItselfIsZero) {
    vxFrequencyBuffer a = filled(8, 8, 1);
    vfFrequencySubtract(a, a, a);
    EXPECT_EQ(samplesOf(a), Samples(128, 0.0F));
}

TEST(FrequencySubtract, copiesOfCroppedOperandsMustFitEachOther) {
    const char* differ = "Can only subtract equal-sized frequency buffers.";
    const vxFrequencyBuffer plain = filled(64, 64, 2);
    // The copy of b is smaller than the copy of a.
    vxFrequencyBuffer b(croppedSource(), 64, 64);
    const BufferState beforeB(b);
    expectError<Defs::InvalidSize>([&] { vfFrequencySubtract(plain, b, b); }, differ);
    EXPECT_EQ(BufferState(b), beforeB);
    // The copy of a is smaller than the copy of b.
    const vxFrequencyBuffer a(croppedSource(), 64, 64);
    vxFrequencyBuffer c = plain;
    const BufferState beforeC(c);
    expectError<Defs::InvalidSize>([&] { vfFrequencySubtract(a, c, c); }, differ);
    EXPECT_EQ(BufferState(c), beforeC);
    // All three are one buffer, which stays as large as it is while its copy is smaller.
    expectError<Defs::InvalidSize>([&] { vfFrequencySubtract(b, b, b); }, differ);
    EXPECT_EQ(BufferState(b), beforeB);
    // Both copies are 32 x 32, and so is the result.
    Samples expectedA = samplesOf(a);
    Samples expectedB = samplesOf(b);
    expectedA.resize(32 * 32 * 2);
    expectedB.resize(32 * 32 * 2);
    vfFrequencySubtract(a, b, b);
    EXPECT_EQ(b.width(), 32);
    EXPECT_EQ(samplesOf(b), oracle::subtract(expectedA, expectedB));
}

// Copies of loaded buffers can be larger than they are: the difference is one of copies.
TEST(FrequencySubtract, ofLoadedOperandsThatGrowWhenTheyAreCopied) {
    Samples first;
    Samples second;
    for (int i = 0; i < 2 * 5 * 5; ++i) {
        first.push_back(static_cast<float>(i));
        second.push_back(static_cast<float>(100 * i));
    }
    vxFrequencyBuffer a;
    vxFrequencyBuffer b;
    support::load(a, support::recordOf(5, 5, 5, 5, first).bytes());
    support::load(b, support::recordOf(5, 5, 5, 5, second).bytes());
    const long failures = failing_allocation::failEachAllocation([&] { vfFrequencySubtract(a, b, b); },
                                                                 [&](bool threw) {
                                                                     EXPECT_TRUE(threw);
                                                                     EXPECT_EQ(samplesOf(b), second);
                                                                 });
    EXPECT_EQ(failures, 2); // Copies of both.
    EXPECT_EQ(b.width(), 8);
    EXPECT_EQ(b.height(), 8);
    Samples expected = oracle::subtract(first, second);
    expected.resize(2 * 8 * 8, 0.0F);
    EXPECT_EQ(samplesOf(b), expected);
}

TEST(FrequencySubtract, intoTheSecondOperandWithFailingAllocations) {
    const vxFrequencyBuffer a = filled(8, 8, 1);
    const vxFrequencyBuffer original = filled(8, 8, 2);
    vxFrequencyBuffer b(original);
    const long failures = failing_allocation::failEachAllocation([&] { vfFrequencySubtract(a, b, b); },
                                                                 [&](bool threw) {
                                                                     EXPECT_TRUE(threw);
                                                                     EXPECT_TRUE(b == original);
                                                                 });
    EXPECT_EQ(failures, 1); // The copy of b; its storage is then reused.
    EXPECT_EQ(samplesOf(b), oracle::subtract(samplesOf(a), samplesOf(original)));
}

TEST(FrequencyMultiply, isComplex) {
    vxFrequencyBuffer a(1, 1);
    vxFrequencyBuffer b(1, 1);
    a.put(0, 0, {1.0, 2.0}, false);
    b.put(0, 0, {3.0, 5.0}, false);
    vfFrequencyMultiply(a, b);
    EXPECT_EQ(b.get(0, 0, false), vxPair<double>(-7.0, 11.0));
}

TEST(FrequencyConjugate, flipsTheSignBitOfImaginaryParts) {
    vxFrequencyBuffer a = filled(16, 8, 1, true);
    decorate(a, 1);
    const BufferState before(a);
    BufferState expected(a);
    for (std::size_t i = 1; i < expected.samples.size(); i += 2) {
        expected.samples[i] ^= 0x80000000U; // Of zeros and NaNs too.
    }
    vfFrequencyConjugate(a);
    EXPECT_EQ(BufferState(a), expected);
    vfFrequencyConjugate(a);
    EXPECT_EQ(BufferState(a), before);
}

TEST(FrequencyConjugate, intoAnotherBuffer) {
    vxFrequencyBuffer a = filled(5, 6, 1);
    decorate(a, 1);
    const BufferState expected = withSamples(BufferState(a), oracle::conjugate(samplesOf(a)));
    vxFrequencyBuffer b = consumedBuffer(64, 2);
    vfFrequencyConjugate(a, b);
    EXPECT_EQ(BufferState(b), expected);
    vfFrequencyConjugate(a, a);
    EXPECT_EQ(BufferState(a), expected);
}

TEST(FrequencyConjugate, ofACroppedBufferHasTheSizeOfTheCopy) {
    const vxFrequencyBuffer a(croppedSource(), 64, 64);
    Samples expected = oracle::conjugate(samplesOf(a));
    expected.resize(32 * 32 * 2);
    vxFrequencyBuffer b;
    vfFrequencyConjugate(a, b);
    EXPECT_EQ(samplesOf(b), expected);
}

TEST(FrequencyConjugate, checksInOrderAndRefusesWithoutAChange) {
    vxFrequencyBuffer empty;
    support::setConsumed(empty);
    vxFrequencyBuffer spent = consumedBuffer(4, 4);
    vxFrequencyBuffer b = filled(8, 8, 1);
    const BufferState beforeSpent(spent);
    const BufferState beforeB(b);
    expectError<Defs::Uninitialized>([&] { vfFrequencyConjugate(empty); }, uninitialized);
    expectError<Defs::Uninitialized>([&] { vfFrequencyConjugate(empty, b); }, uninitialized);
    expectError<Defs::InvalidBuffer>([&] { vfFrequencyConjugate(spent); }, consumed);
    expectError<Defs::InvalidBuffer>([&] { vfFrequencyConjugate(spent, b); }, consumed);
    EXPECT_EQ(BufferState(spent), beforeSpent);
    EXPECT_EQ(BufferState(b), beforeB);
}
} // namespace
