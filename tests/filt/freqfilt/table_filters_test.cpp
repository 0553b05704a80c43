// What the four filters with a table of gains have in common: each test runs for each of them.
#include "filt/freqfilt.h"

#include "tests/support/failing_allocation.h"
#include "tests/support/filters.h"
#include "tests/support/frequency_buffers.h"
#include "tests/support/frequency_errors.h"

#include <gtest/gtest.h>

#include <climits>
#include <limits>
#include <memory>
#include <random>
#include <stdexcept>

namespace {
using Defs = vxFrequencyDefs;
using support::BufferState;
using support::expectError;
using support::filled;
using support::loadObject;
using support::Opened;
using support::Parameters;
using support::storeObject;

constexpr const char* bufferMessage = "FrequencyBuffer has not been initialized";
constexpr const char* filterMessage = "FrequencyFilter has not been initialized";
constexpr const char* sizeMessage = "Size of frequency buffer does not match size of filter.";
constexpr const char* frequencyMessage = "Frequency must be between 0.0 and 0.5.";
constexpr const char* powerMessage = "Size must be a power of 2.";
constexpr const char* consumedMessage = "Cannot access frequency data once inverse has been computed.";
constexpr const char* coordMessage = "Coordinates are out of bounds";
constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

template <class Case>
class TableFilter : public testing::Test {
protected:
    static const char* sigmaMessage() {
        return Case::isLobe ? "Sigma values must be positive." : "Sigma must be positive.";
    }
    static const char* plateauMessage() {
        return Case::isLobe ? "Plateau values cannot be negative." : "Plateau cannot be negative.";
    }

    // Parameters that no filter of another random draw shares.
    static Parameters draw(std::mt19937& random) {
        const auto in = [&](double low, double high) {
            return std::uniform_real_distribution(low, high)(random);
        };
        const auto power = [&](long most) {
            return 1L << std::uniform_int_distribution<long>(0, most)(random);
        };
        Parameters p;
        p.width = power(6);
        p.height = power(6);
        p.sigma = in(0.001, 0.15);
        p.plateau = random() % 3 == 0 ? 0.0 : in(0.0, 0.1);
        p.frequency = random() % 4 == 0 ? 0.5 * static_cast<double>(random() % 2) : in(0.0, 0.5);
        p.angle = in(-7.0, 7.0);
        p.across = in(0.1, 2.0);
        const long most = std::min((p.width + 1) >> 1, (p.height + 1) >> 1);
        p.radius = random() % 2 == 0 ? 0 : std::uniform_int_distribution<long>(0, most)(random);
        return p;
    }
};

using Cases = testing::Types<support::BandPassCase, support::BandRejectCase, support::GaborCase,
                             support::GaborRejectCase>;
TYPED_TEST_SUITE(TableFilter, Cases);

// --- Not built ---------------------------------------------------------------------------------------------

TYPED_TEST(TableFilter, IsNotBuiltAtFirst) {
    Opened<TypeParam> filter;
    EXPECT_FALSE(filter.isInitialized());
    EXPECT_EQ(filter.data(), nullptr);
    for (const auto& accessor : filter.accessors()) {
        expectError<Defs::Uninitialized>(accessor, filterMessage);
    }
    EXPECT_FALSE(filter.isInitialized());
    EXPECT_EQ(filter.data(), nullptr);
}

TYPED_TEST(TableFilter, CopiesOfAnUnbuiltFilterAreUnbuilt) {
    const Opened<TypeParam> filter;
    Opened<TypeParam> copy(filter);
    EXPECT_FALSE(copy.isInitialized());
    EXPECT_EQ(copy.data(), nullptr);
    const std::unique_ptr<vxFrequencyFilter> clone(filter.clone());
    EXPECT_FALSE(clone->isInitialized());
    EXPECT_TRUE(filter == copy);
}

// Only the table goes: the flag and the parameters stay as they were.
TYPED_TEST(TableFilter, AssigningAnUnbuiltFilterLeavesTheFlag) {
    Opened<TypeParam> filter{Parameters()};
    filter = Opened<TypeParam>();
    EXPECT_EQ(filter.data(), nullptr);
    EXPECT_TRUE(filter.isInitialized());
    for (const auto& accessor : filter.accessors()) {
        expectError<Defs::Uninitialized>(accessor, filterMessage);
    }
    EXPECT_FALSE(filter == Opened<TypeParam>()); // The flags differ.
    // A copy of what is left takes nothing over.
    Opened<TypeParam> copy(filter);
    EXPECT_FALSE(copy.isInitialized());
    // It can be built again.
    filter.set(Parameters());
    EXPECT_TRUE(filter == Opened<TypeParam>(Parameters()));
}

// --- Building ----------------------------------------------------------------------------------------------

TYPED_TEST(TableFilter, IsBuiltBySetAndReadBack) {
    Parameters p;
    p.radius = 3;
    p.height = 8;
    Opened<TypeParam> filter;
    filter.set(p);
    EXPECT_TRUE(filter.isInitialized());
    EXPECT_EQ(filter.frequency(), p.frequency);
    EXPECT_EQ(filter.size(), vxPair<long>(16, 8));
    EXPECT_EQ(filter.radius(), 3);
    EXPECT_EQ(filter.supportWidth() % 2, 1);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(filter.data()) % 16, 0U);
    if constexpr (TypeParam::isLobe) {
        EXPECT_EQ(filter.sigma(), vxPair<double>(p.sigma, p.sigma * p.across));
        EXPECT_EQ(filter.plateau(), vxPair<double>(p.plateau, p.plateau * p.across));
        EXPECT_EQ(filter.angle(), vxRadian(p.angle));
        EXPECT_EQ(filter.supportHeight() % 2, 1);
    } else {
        EXPECT_EQ(filter.sigma(), p.sigma);
        EXPECT_EQ(filter.plateau(), p.plateau);
    }
}

TYPED_TEST(TableFilter, TablesFollowTheFormula) {
    std::mt19937 random(17);
    for (int i = 0; i < 400; ++i) {
        const Parameters p = this->draw(random);
        const Opened<TypeParam> filter(p);
        const std::vector<float> expected = support::expectedTable<TypeParam>(p);
        const std::vector<float> table = filter.table();
        ASSERT_EQ(table.size(), expected.size());
        EXPECT_LE(support::largestUlps(table, expected), 1) << i;
    }
}

// A derived class hands its parameters on.
TYPED_TEST(TableFilter, IsBuiltOrRefusedByTheConstructor) {
    const Parameters p;
    EXPECT_TRUE(Opened<TypeParam>(p) == Opened<TypeParam>::constructed(p));
    EXPECT_TRUE(Opened<TypeParam>::constructed(p).isInitialized());
    Parameters bad;
    bad.radius = -1;
    expectError<Defs::InvalidArgument>([&] { const auto made = Opened<TypeParam>::constructed(bad); },
                                       TypeParam::negativeRadius);
}

// Each check is met first by making every later one fail too.
TYPED_TEST(TableFilter, ChecksParametersInOrder) {
    Parameters bad;
    bad.frequency = 0.6;
    bad.sigma = 0.0;
    bad.plateau = -0.1;
    bad.radius = -1;
    bad.width = 3;
    bad.height = 0;
    Opened<TypeParam> filter{Parameters()};
    const std::string before = storeObject(filter);
    const auto refuses = [&]<class Error>(const char* message) {
        expectError<Error>([&] { filter.set(bad); }, message);
        expectError<Error>([&] { const Opened<TypeParam> made(bad); }, message);
        EXPECT_EQ(storeObject(filter), before);
    };
    for (double frequency : {0.6, -0.1, std::nextafter(0.5, 1.0), -5e-324, nan, infinity, -infinity}) {
        bad.frequency = frequency;
        refuses.template operator()<Defs::InvalidArgument>(frequencyMessage);
    }
    bad.frequency = 0.5;
    for (double sigma : {0.0, -0.0, -1.0, -infinity}) {
        bad.sigma = sigma;
        refuses.template operator()<Defs::InvalidArgument>(this->sigmaMessage());
    }
    bad.sigma = 0.1;
    for (double plateau : {-0.1, -5e-324, -infinity}) {
        bad.plateau = plateau;
        bad.across = 1.0;
        refuses.template operator()<Defs::InvalidArgument>(this->plateauMessage());
    }
    bad.plateau = -0.0;
    for (long radius : {-1L, LONG_MIN}) {
        bad.radius = radius;
        refuses.template operator()<Defs::InvalidArgument>(TypeParam::negativeRadius);
    }
    bad.radius = 0;
    for (long size : {0L, 3L, -2L, LONG_MIN, LONG_MAX, 48L}) {
        bad.width = size;
        bad.height = 4;
        refuses.template operator()<Defs::InvalidSize>(powerMessage);
        bad.width = 4;
        bad.height = size;
        refuses.template operator()<Defs::InvalidSize>(powerMessage);
    }
    bad.width = 1;
    bad.height = 1;
    filter.set(bad);
    EXPECT_EQ(filter.size(), vxPair<long>(1, 1));
}

TYPED_TEST(TableFilter, RefusesSupportsThatDoNotFit) {
    Opened<TypeParam> filter{Parameters()};
    const std::string before = storeObject(filter);
    const auto refuses = [&](const Parameters& p) {
        EXPECT_THROW(filter.set(p), std::length_error);
        EXPECT_EQ(storeObject(filter), before);
    };
    for (double huge : {infinity, 1e300, 1e12}) {
        Parameters p;
        p.sigma = huge;
        refuses(p);
        p = Parameters();
        p.plateau = huge;
        refuses(p);
    }
    Parameters p;
    p.width = 1L << 62;
    refuses(p);
    EXPECT_THROW(filter.setSigma(infinity), std::length_error);
    EXPECT_THROW(filter.setPlateau(1e200), std::length_error);
    EXPECT_THROW(filter.size({1L << 40, 1}), std::length_error);
    EXPECT_EQ(storeObject(filter), before);
}

// --- Setters -----------------------------------------------------------------------------------------------

TYPED_TEST(TableFilter, SettersGiveWhatSetGives) {
    Parameters p;
    p.across = 1.0;
    Opened<TypeParam> filter(p);
    const auto same = [&] { return filter == Opened<TypeParam>(p); };
    filter.setSigma(p.sigma = 0.07);
    EXPECT_TRUE(same());
    filter.setPlateau(p.plateau = 0.2);
    EXPECT_TRUE(same());
    filter.frequency(p.frequency = 0.0);
    EXPECT_TRUE(same());
    filter.size({p.width = 64, p.height = 32});
    EXPECT_TRUE(same());
    filter.setRadius(p.radius = LONG_MAX);
    EXPECT_TRUE(same());
    EXPECT_EQ(filter.radius(), LONG_MAX);
    if constexpr (TypeParam::isLobe) {
        filter.angle(vxRadian(p.angle = -8.0));
        EXPECT_TRUE(same());
        EXPECT_EQ(filter.angle(), vxRadian(-8.0)); // Kept as given.
    }
}

TYPED_TEST(TableFilter, SettersCheckTheirArgument) {
    Opened<TypeParam> filter{Parameters()};
    const std::string before = storeObject(filter);
    using Argument = Defs::InvalidArgument;
    expectError<Argument>([&] { filter.setSigma(-1.0); }, this->sigmaMessage());
    expectError<Argument>([&] { filter.setPlateau(-1.0); }, this->plateauMessage());
    expectError<Argument>([&] { filter.frequency(0.7); }, frequencyMessage);
    expectError<Argument>([&] { filter.setRadius(-1); }, TypeParam::negativeRadius);
    expectError<Defs::InvalidSize>([&] { filter.size({5, 4}); }, powerMessage);
    expectError<Defs::InvalidSize>([&] { filter.size({4, 5}); }, powerMessage);
    EXPECT_EQ(storeObject(filter), before);
}

// A rebuild would overwrite the mark that the test leaves in the table.
TYPED_TEST(TableFilter, SettersRebuildOnlyOnAChange) {
    Parameters p;
    p.across = 1.0;
    p.plateau = 0.0;
    p.frequency = 0.0;
    Opened<TypeParam> filter(p);
    float& mark = const_cast<float*>(filter.data())[1];
    const float built = mark;
    mark = 77.0F;
    filter.setSigma(p.sigma);
    filter.setPlateau(-0.0);
    filter.frequency(-0.0);
    filter.size({p.width, p.height});
    filter.setRadius(p.radius);
    if constexpr (TypeParam::isLobe) {
        filter.angle(vxRadian(p.angle));
        filter.frequency(nan); // Neither less nor greater: equal.
    }
    EXPECT_EQ(filter.data()[1], 77.0F);
    EXPECT_FALSE(std::signbit(filter.frequency()));

    const float* table = filter.data();
    filter.setRadius(1); // As many entries: the storage stays where it is.
    EXPECT_EQ(filter.data(), table);
    EXPECT_EQ(filter.data()[1], built);
    mark = 77.0F;
    filter.set(p); // Always rebuilds.
    EXPECT_EQ(filter.data()[1], built);
}

// --- Copies and comparison ---------------------------------------------------------------------------------

TYPED_TEST(TableFilter, CopiesAreEqualAndIndependent) {
    Parameters p;
    p.radius = 2;
    Opened<TypeParam> filter(p);
    Opened<TypeParam> copy(filter);
    Opened<TypeParam> assigned;
    assigned = filter;
    Opened<TypeParam> replaced(Parameters{.sigma = 0.2, .width = 64});
    replaced = filter;
    const std::unique_ptr<vxFrequencyFilter> clone(filter.clone());
    EXPECT_EQ(support::typeOf(*clone), typeid(typename TypeParam::Filter));
    const std::string bytes = storeObject(filter);
    for (vxPersistent* object :
         {static_cast<vxPersistent*>(&copy), static_cast<vxPersistent*>(&assigned),
          static_cast<vxPersistent*>(&replaced), static_cast<vxPersistent*>(clone.get())}) {
        EXPECT_EQ(storeObject(*object), bytes);
    }
    EXPECT_NE(copy.data(), filter.data());
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(copy.data()) % 16, 0U);
    EXPECT_TRUE(copy == filter);
    EXPECT_TRUE(clone->isInitialized());
    filter.setSigma(0.3);
    EXPECT_EQ(storeObject(copy), bytes);
    EXPECT_FALSE(copy == filter);
    Opened<TypeParam>& self = copy;
    copy = self;
    EXPECT_EQ(storeObject(copy), bytes);
}

TYPED_TEST(TableFilter, EveryDifferenceCounts) {
    const Opened<TypeParam> filter{Parameters()};
    EXPECT_FALSE(filter == Opened<TypeParam>());
    EXPECT_FALSE(Opened<TypeParam>() == filter);
    std::vector<Parameters> others(6);
    others[0].sigma = 0.0501; // As many entries.
    others[1].plateau = 0.0201;
    others[2].frequency = 0.2001;
    others[3].height = 32;
    others[4].radius = 1;
    others[5].width = 128;
    for (std::size_t i = 0; i < 6; ++i) { // The other way round, too.
        others.push_back(others[i]);
    }
    others[6].sigma = 0.0499;
    others[7].plateau = 0.0199;
    others[8].frequency = 0.1999;
    if (TypeParam::isLobe) {
        Parameters across;
        across.across *= 1.001; // Of sigma and plateau.
        others.push_back(across);
        across.plateau = 0.0; // Of sigma alone.
        EXPECT_FALSE(Opened<TypeParam>(across) == Opened<TypeParam>(Parameters{.plateau = 0.0}));
    }
    for (const Parameters& other : others) {
        EXPECT_FALSE(filter == Opened<TypeParam>(other));
        EXPECT_FALSE(Opened<TypeParam>(other) == filter);
    }
    // One entry; a NaN equals anything.
    for (std::size_t i : {std::size_t{0}, filter.entryCount() - 1}) {
        Opened<TypeParam> copy(filter);
        const_cast<float*>(copy.data())[i] += 1.0F;
        EXPECT_FALSE(filter == copy);
        EXPECT_FALSE(copy == filter);
        const_cast<float*>(copy.data())[i] = std::numeric_limits<float>::quiet_NaN();
        EXPECT_TRUE(filter == copy);
    }
}

// --- Apply -------------------------------------------------------------------------------------------------

TYPED_TEST(TableFilter, ApplyChecksInOrder) {
    const Opened<TypeParam> unbuilt;
    const Opened<TypeParam> filter(Parameters{.width = 16, .height = 8});
    vxFrequencyBuffer out = filled(4, 4, 1);
    const BufferState before(out);
    const auto refuses = [&]<class Error>(const Opened<TypeParam>& applied, vxFrequencyBuffer buffer,
                                          const char* message) {
        const BufferState bufferBefore(buffer);
        expectError<Error>([&] { applied.apply(buffer); }, message);
        expectError<Error>([&] { applied.apply(buffer, out); }, message);
        expectError<Error>([&] { applied.apply(buffer, buffer); }, message);
        EXPECT_EQ(BufferState(buffer), bufferBefore);
        EXPECT_EQ(BufferState(out), before);
    };
    refuses.template operator()<Defs::Uninitialized>(unbuilt, vxFrequencyBuffer(), bufferMessage);
    refuses.template operator()<Defs::Uninitialized>(filter, vxFrequencyBuffer(), bufferMessage);
    refuses.template operator()<Defs::Uninitialized>(unbuilt, filled(16, 8, 2), filterMessage);
    refuses.template operator()<Defs::InvalidSize>(filter, filled(8, 16, 2), sizeMessage);
    refuses.template operator()<Defs::InvalidSize>(filter, filled(16, 16, 2), sizeMessage);
    refuses.template operator()<Defs::InvalidSize>(filter, filled(8, 8, 2), sizeMessage);

    // The sizes come before the square around DC, a consumed buffer before coordinates.
    Opened<TypeParam> wide(filter);
    wide.setRadius(LONG_MAX);
    vxFrequencyBuffer consumed = filled(16, 8, 3);
    support::setConsumed(consumed);
    refuses.template operator()<Defs::InvalidSize>(wide, filled(8, 8, 2), sizeMessage);
    refuses.template operator()<Defs::InvalidBuffer>(wide, consumed, consumedMessage);
    refuses.template operator()<Defs::BadCoord>(wide, filled(16, 8, 2), coordMessage);
    wide.setRadius(5); // Half the height is 4.
    refuses.template operator()<Defs::BadCoord>(wide, filled(16, 8, 2), coordMessage);
    wide.setRadius(1);
    refuses.template operator()<Defs::InvalidBuffer>(wide, consumed, consumedMessage);
}

TYPED_TEST(TableFilter, LargestSquareThatFits) {
    for (const vxPair<long>& size : {vxPair<long>(16, 8), vxPair<long>(8, 16), vxPair<long>(2, 4),
                                     vxPair<long>(1, 1), vxPair<long>(1, 8), vxPair<long>(2, 2)}) {
        const long fits = std::min((size.x() + 1) >> 1, (size.y() + 1) >> 1);
        Opened<TypeParam> filter(Parameters{.width = size.x(), .height = size.y()});
        vxFrequencyBuffer buffer = filled(size.x(), size.y(), 5);
        filter.setRadius(fits);
        EXPECT_NO_THROW(filter.apply(buffer));
        filter.setRadius(fits + 1);
        expectError<Defs::BadCoord>([&] { filter.apply(buffer); }, coordMessage);
    }
}

TYPED_TEST(TableFilter, ResultsAreThoseOfTheLiteralLoops) {
    std::mt19937 random(4);
    for (int i = 0; i < 300; ++i) {
        const Parameters p = this->draw(random);
        const Opened<TypeParam> filter(p);
        vxFrequencyBuffer in = filled(p.width, p.height, static_cast<unsigned>(i), true);
        support::setMask(in, true, 1, 2);
        const BufferState before(in);
        const oracle::Plane expected =
            support::expectedResult<TypeParam>(p, filter.table(), support::planeOf(in));
        const auto matches = [&](const vxFrequencyBuffer& result) {
            return support::countDifferences(support::samplesOf(result), expected.samples) == 0;
        };

        vxFrequencyBuffer out = filled(2, 32, 9);
        filter.apply(in, out);
        ASSERT_TRUE(matches(out)) << i;
        EXPECT_EQ(BufferState(in), before);

        vxFrequencyBuffer reused = filled(p.width, p.height, 10, true);
        filter.apply(in, reused);
        ASSERT_TRUE(matches(reused)) << i;

        vxFrequencyBuffer inPlace = in;
        filter.apply(inPlace);
        ASSERT_TRUE(matches(inPlace)) << i;

        vxFrequencyBuffer same = in;
        filter.apply(same, same);
        ASSERT_TRUE(matches(same)) << i;

        if constexpr (TypeParam::isLobe && !TypeParam::reject) {
            const auto region =
                oracle::lobeRegion(support::lobeOf(p, false), filter.supportWidth(), filter.supportHeight());
            for (const vxFrequencyBuffer* result : {&out, &reused, &inPlace, &same}) {
                EXPECT_EQ(BufferState(*result).masked, 1);
                EXPECT_EQ(BufferState(*result).maskedMiny, region.y0);
                EXPECT_EQ(BufferState(*result).maskedMaxy, region.y1);
            }
        } else {
            for (const vxFrequencyBuffer* result : {&out, &reused, &inPlace, &same}) {
                EXPECT_EQ(BufferState(*result).masked, 0);
                EXPECT_EQ(BufferState(*result).maskedMiny, 0);
                EXPECT_EQ(BufferState(*result).maskedMaxy, 0);
            }
        }
    }
}

// In place everything else about the buffer stays; a separate result gets its size and keeps offset and
// transform.
TYPED_TEST(TableFilter, WhatApplyLeavesOfABuffer) {
    const Opened<TypeParam> filter(Parameters{.width = 16, .height = 8});
    vxFrequencyBuffer in = filled(12, 7, 1);
    support::BufferAccess::offset(in, {3, 4});
    vxFrequencyBuffer out = filled(5, 5, 2);
    support::BufferAccess::offset(out, {-1, -2});
    support::setConsumed(out);
    filter.apply(in, out);
    EXPECT_EQ(BufferState(out).sourceWidth, 16);
    EXPECT_EQ(BufferState(out).sourceHeight, 8);
    EXPECT_EQ(BufferState(out).offset, vxPair<long>(-1, -2));
    EXPECT_FALSE(BufferState(out).consumed);
    filter.apply(in);
    EXPECT_EQ(BufferState(in).sourceWidth, 12);
    EXPECT_EQ(BufferState(in).sourceHeight, 7);
    EXPECT_EQ(BufferState(in).offset, vxPair<long>(3, 4));
    EXPECT_EQ(support::samplesOf(in), support::samplesOf(out));
    filter.apply(in, in);
    EXPECT_EQ(BufferState(in).sourceWidth, 16);
}

// Without a square around DC nothing looks at the samples' meaning.
TYPED_TEST(TableFilter, RadiusZeroAppliesToAConsumedBuffer) {
    const Opened<TypeParam> filter{Parameters()};
    vxFrequencyBuffer buffer = filled(16, 16, 1);
    vxFrequencyBuffer expected = buffer;
    filter.apply(expected);
    support::setConsumed(buffer);
    vxFrequencyBuffer out;
    filter.apply(buffer, out);
    EXPECT_FALSE(BufferState(out).consumed);
    filter.apply(buffer);
    EXPECT_TRUE(BufferState(buffer).consumed);
    EXPECT_EQ(support::samplesOf(out), support::samplesOf(expected));
    EXPECT_EQ(support::samplesOf(buffer), support::samplesOf(expected));
    filter.apply(buffer, buffer);
    EXPECT_FALSE(BufferState(buffer).consumed);
}

// A loaded buffer can be larger than a buffer can be sized to.
TYPED_TEST(TableFilter, LargeLoadedBuffersAreFilteredInPlaceOnly) {
    const Parameters p{.sigma = 0.01, .plateau = 0.0, .frequency = 0.1, .width = 4096, .height = 1};
    const Opened<TypeParam> filter(p);
    vxFrequencyBuffer source = filled(2048, 2, 8);
    vxFrequencyBuffer buffer;
    support::load(buffer, support::recordOf(4096, 1, 4096, 1, support::samplesOf(source)).bytes());
    const BufferState before(buffer);
    vxFrequencyBuffer out = filled(2, 2, 1);
    const BufferState outBefore(out);
    constexpr const char* limit = "Width and Height must be no larger than 2048.";
    expectError<Defs::InvalidSize>([&] { filter.apply(buffer, out); }, limit);
    expectError<Defs::InvalidSize>([&] { filter.apply(buffer, buffer); }, limit);
    EXPECT_EQ(BufferState(buffer), before);
    EXPECT_EQ(BufferState(out), outBefore);
    const oracle::Plane expected =
        support::expectedResult<TypeParam>(p, filter.table(), support::planeOf(buffer));
    filter.apply(buffer);
    EXPECT_EQ(support::countDifferences(support::samplesOf(buffer), expected.samples), 0);
}

// --- Failing allocations -----------------------------------------------------------------------------------

TYPED_TEST(TableFilter, AFailedAllocationChangesNothing) {
    const Opened<TypeParam> original{Parameters()};
    const Opened<TypeParam> larger(Parameters{.sigma = 0.2, .width = 32, .radius = 3});
    Opened<TypeParam> filter(original);
    const std::string before = storeObject(filter);
    const auto unchanged = [&](bool threw) {
        EXPECT_TRUE(threw);
        EXPECT_EQ(storeObject(filter), before);
    };
    const auto failEach = [&](auto operation) {
        filter = original;
        EXPECT_GT(failing_allocation::failEachAllocation(operation, unchanged), 0);
    };
    failEach([&] { filter.set(Parameters{.sigma = 0.2, .width = 32}); });
    failEach([&] { filter.setSigma(0.3); });
    failEach([&] { filter.size({64, 64}); });
    failEach([&] { filter = larger; });
    const std::string bytes = storeObject(filter);
    failEach([&] { loadObject(filter, bytes); });
    EXPECT_TRUE(filter == larger);
    EXPECT_GT(
        failing_allocation::failEachAllocation([&] { const Opened<TypeParam> copy(larger); }, [](bool) {}),
        0);
    EXPECT_GT(failing_allocation::failEachAllocation([&] { delete larger.clone(); }, [](bool) {}), 0);
}

TYPED_TEST(TableFilter, AFailedAllocationInApplyChangesNothing) {
    const Opened<TypeParam> filter(Parameters{.radius = 2});
    const vxFrequencyBuffer original = filled(16, 16, 1);
    vxFrequencyBuffer buffer(original);
    failing_allocation::failEachAllocation(
        [&] { filter.apply(buffer); }, [&](bool) { EXPECT_EQ(BufferState(buffer), BufferState(original)); });
    vxFrequencyBuffer out;
    const long failures = failing_allocation::failEachAllocation(
        [&] { filter.apply(original, out); }, [&](bool) { EXPECT_FALSE(BufferState(out).initialized); });
    EXPECT_GT(failures, 0);
    EXPECT_EQ(support::samplesOf(out), support::samplesOf(buffer));
}

// --- Archives ----------------------------------------------------------------------------------------------

TYPED_TEST(TableFilter, ArchiveRoundTrip) {
    std::mt19937 random(11);
    for (int i = 0; i < 20; ++i) {
        Opened<TypeParam> filter(this->draw(random));
        const std::string bytes = storeObject(filter);
        Opened<TypeParam> loaded;
        loadObject(loaded, bytes);
        EXPECT_TRUE(loaded == filter);
        EXPECT_TRUE(loaded.isInitialized());
        EXPECT_EQ(storeObject(loaded), bytes);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(loaded.data()) % 16, 0U);
        Opened<TypeParam> other(Parameters{.sigma = 0.3});
        loadObject(other, bytes);
        EXPECT_EQ(storeObject(other), bytes);
    }
    // An unbuilt filter makes a built one unbuilt.
    Opened<TypeParam> unbuilt;
    Opened<TypeParam> target{Parameters()};
    loadObject(target, storeObject(unbuilt));
    EXPECT_FALSE(target.isInitialized());
    EXPECT_EQ(target.data(), nullptr);
    EXPECT_TRUE(target == unbuilt);
}

// Flag and table can disagree: both are restored as stored.
TYPED_TEST(TableFilter, ArchiveKeepsTheFlagOfADroppedTable) {
    Opened<TypeParam> filter{Parameters()};
    filter = Opened<TypeParam>();
    Opened<TypeParam> loaded;
    loadObject(loaded, storeObject(filter));
    EXPECT_TRUE(loaded.isInitialized());
    EXPECT_EQ(loaded.data(), nullptr);
    EXPECT_EQ(storeObject(loaded), storeObject(filter));
}

TYPED_TEST(TableFilter, ArchiveByPointer) {
    using Filter = typename TypeParam::Filter;
    Filter filter(Opened<TypeParam>(Parameters{.radius = 1}));
    const std::string bytes = support::storePointer(&filter);
    EXPECT_NE(bytes.find(TypeParam::typeName), std::string::npos);
    const std::unique_ptr<vxPersistent> loaded(support::loadPointer(bytes));
    ASSERT_EQ(support::typeOf(*loaded), typeid(Filter));
    EXPECT_TRUE(dynamic_cast<Filter&>(*loaded) == filter);
    for (std::size_t length = 0; length < bytes.size(); ++length) {
        EXPECT_THROW(support::loadPointer(bytes.substr(0, length)), vxArchive::EndOfData) << length;
    }
}

TYPED_TEST(TableFilter, ArchivedTwiceInOnePassIsWrittenOnce) {
    Opened<TypeParam> filter{Parameters()};
    const auto storeTwice = [](vxPersistent& object) {
        std::ostringstream stream;
        vxOutputArchive archive(stream);
        archive || object || object;
        return stream.str();
    };
    EXPECT_EQ(storeTwice(filter), storeObject(filter));
}

// In the order of the record, little-endian, behind the 9 bytes of the archive's own.
TYPED_TEST(TableFilter, ArchiveFormat) {
    const Parameters p{.width = 4, .height = 2, .radius = 1};
    Opened<TypeParam> filter(p);
    std::ostringstream stream;
    vxOutputArchive archive(stream);
    unsigned char version = 0;
    bool yes = true;
    double frequency = p.frequency;
    vxPair<long> size(p.width, p.height);
    long radius = p.radius;
    long supportWidth = filter.supportWidth();
    std::vector<float> table = filter.table();
    archive || version || version || yes || supportWidth;
    if constexpr (TypeParam::isLobe) {
        long supportHeight = filter.supportHeight();
        vxRadian angle(p.angle);
        vxPair<double> sigma = filter.sigma();
        vxPair<double> plateau = filter.plateau();
        archive || supportHeight || angle || frequency || sigma || plateau;
    } else {
        long samplesPerBin = 32;
        double sigma = p.sigma;
        double plateau = p.plateau;
        archive || samplesPerBin || frequency || sigma || plateau;
    }
    archive || size || radius || yes || table;
    EXPECT_EQ(storeObject(filter), stream.str());
}

TYPED_TEST(TableFilter, UnknownVersionReadsAndWritesNothing) {
    Opened<TypeParam> filter{Parameters()};
    std::ostringstream stream;
    vxOutputArchive archive(stream);
    const std::string header = stream.str();
    for (int version : {1, 2, 255}) {
        try {
            filter.serialize_(archive, static_cast<unsigned char>(version));
            ADD_FAILURE();
        } catch (const vxArchive::UnknownVersion& error) {
            EXPECT_STREQ(error.file(), "filt/freqfilt");
            EXPECT_GT(error.line(), 0);
        }
        EXPECT_EQ(stream.str(), header);
    }
    // In a record: the filter's version, then the base's.
    const std::string bytes = storeObject(filter);
    Opened<TypeParam> target(Parameters{.sigma = 0.3});
    const std::string before = storeObject(target);
    for (std::size_t position : {header.size(), header.size() + 1}) {
        std::string changed = bytes;
        changed[position] = 1;
        EXPECT_THROW(loadObject(target, changed), vxArchive::UnknownVersion);
        EXPECT_EQ(storeObject(target), before);
    }
}

TYPED_TEST(TableFilter, TruncatedArchivesChangeNothing) {
    Opened<TypeParam> filter(Parameters{.width = 4, .height = 4, .radius = 2});
    const std::string bytes = storeObject(filter);
    Opened<TypeParam> target;
    const std::string unbuilt = storeObject(target);
    for (std::size_t length = 0; length < bytes.size(); ++length) {
        EXPECT_THROW(loadObject(target, bytes.substr(0, length)), vxArchive::EndOfData);
        ASSERT_EQ(storeObject(target), unbuilt) << length;
    }
}

// The way of a derived class: no archive operator is there to take anything back.
TYPED_TEST(TableFilter, TruncatedArchivesChangeNothingWhenDispatchedDirectly) {
    Opened<TypeParam> filter(Parameters{.width = 4, .height = 4, .radius = 2});
    const std::string bytes = storeObject(filter);
    Opened<TypeParam> target;
    const std::string unbuilt = storeObject(target);
    const std::size_t header = bytes.find('\0');
    for (std::size_t length = header; length < bytes.size(); ++length) {
        std::istringstream stream(bytes.substr(0, length));
        vxInputArchive archive(stream);
        EXPECT_THROW(target.dispatchSerialize(archive), vxArchive::EndOfData);
        ASSERT_EQ(storeObject(target), unbuilt) << length;
    }
    std::istringstream stream(bytes);
    vxInputArchive archive(stream);
    target.dispatchSerialize(archive);
    EXPECT_TRUE(target == filter);
}

// What the filter had committed is taken back when a part that was added to it is refused.
TYPED_TEST(TableFilter, ARefusedAddedPartChangesNothing) {
    using Extended = support::Extended<Opened<TypeParam>>;
    Extended filter(Parameters{.radius = 2});
    const std::string good = storeObject(filter);
    filter.refused = true;
    const std::string bad = storeObject(filter);
    Extended target(Parameters{.sigma = 0.3, .width = 32});
    Extended unbuilt;
    for (Extended* object : {&target, &unbuilt}) {
        const std::string before = storeObject(*object);
        EXPECT_THROW(loadObject(*object, bad), vxArchive::Malformed);
        EXPECT_EQ(storeObject(*object), before);
        loadObject(*object, good);
        EXPECT_EQ(storeObject(*object), good);
    }
}

// Every byte of a small filter's record takes every value: a load is refused and changes nothing, or gives a
// filter that works and is stored as it was loaded.
TYPED_TEST(TableFilter, CorruptArchivesDoNoHarm) {
    Opened<TypeParam> filter(Parameters{.sigma = 0.01, .plateau = 0.0, .width = 4, .height = 4, .radius = 2});
    const std::string bytes = storeObject(filter);
    const Opened<TypeParam> original(Parameters{.width = 2, .height = 2});
    Opened<TypeParam> target(original);
    const std::string before = storeObject(target);
    long refused = 0;
    long accepted = 0;
    for (std::size_t position = 0; position < bytes.size(); ++position) {
        std::string changed = bytes;
        for (int value = 0; value < 256; ++value) {
            changed[position] = static_cast<char>(value);
            try {
                loadObject(target, changed);
            } catch (const vxExceptionWithString&) {
                ++refused;
                ASSERT_EQ(storeObject(target), before) << position << " " << value;
                continue;
            }
            ++accepted;
            const std::string stored = storeObject(target);
            Opened<TypeParam> again;
            loadObject(again, stored);
            ASSERT_EQ(storeObject(again), stored) << position << " " << value;
            if (target.data() != nullptr && target.size() == vxPair<long>(4, 4)) {
                vxFrequencyBuffer buffer = filled(4, 4, 1);
                try {
                    target.apply(buffer);
                } catch (const Defs::BadCoord&) {
                    EXPECT_GT(target.radius(), 2);
                }
            }
            target = original;
        }
    }
    EXPECT_GT(refused, 0);
    EXPECT_GT(accepted, 0);
}
} // namespace
