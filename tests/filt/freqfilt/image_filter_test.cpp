#include "filt/freqfilt/image_filter.h"

#include "tests/support/failing_allocation.h"
#include "tests/support/filters.h"
#include "tests/support/frequency_buffers.h"
#include "tests/support/frequency_errors.h"

#include <gtest/gtest.h>

#include <memory>
#include <type_traits>
#include <vector>

namespace {
using Defs = vxFrequencyDefs;
using support::BufferState;
using support::expectError;
using support::filled;
using support::loadObject;
using support::storeObject;

constexpr const char* bufferMessage = "FrequencyBuffer has not been initialized";
constexpr const char* sizeMessage = "Size of frequency buffer does not match size of filter.";
constexpr const char* multiplyMessage = "Can only multiply equal-sized frequency buffers.";
constexpr const char* consumedMessage = "Cannot access frequency data once inverse has been computed.";

class Filter : public vxFrequencyFilterImage {
public:
    using vxFrequencyFilterImage::dispatchSerialize;
    using vxFrequencyFilterImage::serialize_;
    using vxFrequencyFilterImage::vxFrequencyFilterImage;
    Filter() = default;
};

vxFrequencyBuffer consumedBuffer(long width, long height, unsigned seed) {
    vxFrequencyBuffer buffer = filled(width, height, seed);
    support::setConsumed(buffer);
    return buffer;
}

// A buffer whose copy is half as wide as it is.
vxFrequencyBuffer shrinking(long width, long height) {
    const vxFrequencyBuffer source = filled(width, height, 3);
    vxFrequencyBuffer buffer;
    support::load(buffer,
                  support::recordOf(width, height, width / 2, height, support::samplesOf(source)).bytes());
    return buffer;
}

std::vector<float> product(const std::vector<float>& image, const std::vector<float>& samples) {
    std::vector<float> result;
    for (std::size_t i = 0; i < image.size(); i += 2) {
        result.push_back(samples[i] * image[i] - samples[i + 1] * image[i + 1]);
        result.push_back(samples[i + 1] * image[i] + samples[i] * image[i + 1]);
    }
    return result;
}

bool isSmall(const Filter& filter) {
    try {
        return filter.supportWidth() <= 64 && filter.supportHeight() <= 64;
    } catch (const Defs::Uninitialized&) {
        return true;
    }
}

TEST(ImageFilter, IsEmptyAtFirst) {
    Filter filter;
    EXPECT_FALSE(filter.isInitialized());
    expectError<Defs::Uninitialized>([&] { static_cast<void>(filter.supportWidth()); }, bufferMessage);
    expectError<Defs::Uninitialized>([&] { static_cast<void>(filter.supportHeight()); }, bufferMessage);
    EXPECT_TRUE(filter == Filter());
    Filter copy(filter);
    EXPECT_FALSE(copy.isInitialized());
}

TEST(ImageFilter, KeepsACopyOfTheImage) {
    vxFrequencyBuffer image = filled(8, 4, 1);
    Filter filter(image);
    EXPECT_TRUE(filter.isInitialized());
    EXPECT_EQ(filter.supportWidth(), 8);
    EXPECT_EQ(filter.supportHeight(), 4);
    const Filter same(image);
    support::fill(image, 2);
    EXPECT_TRUE(filter == same);
    filter.setImage(image);
    EXPECT_FALSE(filter == same);
    filter.setImage(filled(2, 2, 1));
    EXPECT_EQ(filter.supportWidth(), 2);
}

TEST(ImageFilter, RefusesAnEmptyImage) {
    Filter filter(filled(8, 4, 1));
    const std::string before = storeObject(filter);
    expectError<Defs::Uninitialized>([&] { filter.setImage(vxFrequencyBuffer()); }, bufferMessage);
    expectError<Defs::Uninitialized>([] { const Filter made{vxFrequencyBuffer()}; }, bufferMessage);
    EXPECT_EQ(storeObject(filter), before);
    Filter empty;
    expectError<Defs::Uninitialized>([&] { empty.setImage(vxFrequencyBuffer()); }, bufferMessage);
    EXPECT_FALSE(empty.isInitialized());
}

TEST(ImageFilter, MultipliesSampleBySample) {
    for (const auto& [width, height] : {std::pair{8, 4}, {1, 1}, {1, 16}, {64, 2}}) {
        const vxFrequencyBuffer image = filled(width, height, 1, true);
        vxFrequencyBuffer in = filled(width, height, 2, true);
        support::setMask(in, true, 1, 2);
        support::BufferAccess::offset(in, {5, 6});
        const BufferState before(in);
        const std::vector<float> expected = product(support::samplesOf(image), support::samplesOf(in));
        const Filter filter(image);
        vxFrequencyBuffer out = filled(4, 4, 3);
        filter.apply(in, out);
        EXPECT_EQ(support::countDifferences(support::samplesOf(out), expected), 0);
        EXPECT_EQ(BufferState(in), before);
        EXPECT_EQ(BufferState(out).offset, vxPair<long>(5, 6));
        vxFrequencyBuffer same = in;
        filter.apply(same, same);
        EXPECT_EQ(support::countDifferences(support::samplesOf(same), expected), 0);
        filter.apply(in);
        EXPECT_EQ(support::countDifferences(support::samplesOf(in), expected), 0);
        for (const vxFrequencyBuffer* result : {&out, &same, &in}) {
            EXPECT_EQ(BufferState(*result).masked, 0);
            EXPECT_EQ(BufferState(*result).maskedMiny, 0);
            EXPECT_EQ(BufferState(*result).maskedMaxy, 0);
        }
    }
}

TEST(ImageFilter, ChecksInOrder) {
    const Filter empty;
    const Filter filter(filled(8, 4, 1));
    const Filter spent(consumedBuffer(8, 4, 1));
    vxFrequencyBuffer out = filled(2, 2, 9);
    const BufferState outBefore(out);
    const auto refuses = [&]<class Error>(const Filter& applied, vxFrequencyBuffer buffer,
                                          const char* message) {
        support::setMask(buffer, true, 1, 2); // Stays when the product is refused.
        const BufferState before(buffer);
        expectError<Error>([&] { applied.apply(buffer); }, message);
        expectError<Error>([&] { applied.apply(buffer, out); }, message);
        expectError<Error>([&] { applied.apply(buffer, buffer); }, message);
        EXPECT_EQ(BufferState(buffer), before);
        EXPECT_EQ(BufferState(out), outBefore);
    };
    refuses.operator()<Defs::Uninitialized>(filter, vxFrequencyBuffer(), bufferMessage);
    refuses.operator()<Defs::Uninitialized>(empty, vxFrequencyBuffer(), bufferMessage);
    refuses.operator()<Defs::Uninitialized>(empty, filled(8, 4, 2), bufferMessage);
    refuses.operator()<Defs::InvalidSize>(filter, filled(4, 8, 2), sizeMessage);
    refuses.operator()<Defs::InvalidSize>(filter, filled(8, 8, 2), sizeMessage);
    refuses.operator()<Defs::InvalidSize>(spent, consumedBuffer(8, 8, 2), sizeMessage);
    refuses.operator()<Defs::InvalidBuffer>(filter, consumedBuffer(8, 4, 2), consumedMessage);
    refuses.operator()<Defs::InvalidBuffer>(spent, filled(8, 4, 2), consumedMessage);
}

// A separate result is a copy of the input, whose size is derived again.
TEST(ImageFilter, CopiesThatDoNotFitAreRefused) {
    const Filter filter(filled(8, 4, 1));
    vxFrequencyBuffer in = shrinking(8, 4);
    vxFrequencyBuffer out = filled(2, 2, 9);
    const BufferState inBefore(in);
    const BufferState outBefore(out);
    expectError<Defs::InvalidSize>([&] { filter.apply(in, out); }, multiplyMessage);
    support::setConsumed(in);
    expectError<Defs::InvalidSize>([&] { filter.apply(in, out); }, multiplyMessage);
    support::BufferAccess::inverseComputed(in, false);
    EXPECT_EQ(BufferState(in), inBefore);
    EXPECT_EQ(BufferState(out), outBefore);
    EXPECT_NO_THROW(filter.apply(in, in)); // No copy is made.
    filter.apply(in);
    EXPECT_EQ(BufferState(in).width, 8);
    // The filter's own copy shrinks too.
    EXPECT_EQ(Filter(in).supportWidth(), 4);
}

TEST(ImageFilter, CopiesAreEqualAndIndependent) {
    Filter filter(filled(8, 4, 1));
    const std::string bytes = storeObject(filter);
    Filter copy(filter);
    Filter assigned(filled(2, 2, 1));
    assigned = filter;
    const std::unique_ptr<vxFrequencyFilter> clone(filter.clone());
    EXPECT_EQ(support::typeOf(*clone), typeid(vxFrequencyFilterImage));
    Filter& self = filter;
    filter = self;
    for (vxPersistent* object :
         {static_cast<vxPersistent*>(&copy), static_cast<vxPersistent*>(&assigned),
          static_cast<vxPersistent*>(clone.get()), static_cast<vxPersistent*>(&filter)}) {
        EXPECT_EQ(storeObject(*object), bytes);
    }
    filter.setImage(filled(8, 4, 2));
    EXPECT_EQ(storeObject(copy), bytes);
    EXPECT_FALSE(copy == filter);
    // Unlike the other filters, the flag is taken over from an empty one too.
    copy = Filter();
    EXPECT_FALSE(copy.isInitialized());
    EXPECT_TRUE(copy == Filter());
    EXPECT_FALSE(copy == filter);
}

// A filter keeps the state of its image, consumed or masked, and compares it.
TEST(ImageFilter, ComparesTheStateOfTheImage) {
    vxFrequencyBuffer image = filled(8, 4, 1);
    const Filter plain(image);
    support::setMask(image, true, 1, 2);
    EXPECT_FALSE(Filter(image) == plain);
    EXPECT_TRUE(Filter(image) == Filter(image));
}

TEST(ImageFilter, ArchiveRoundTrip) {
    vxFrequencyBuffer image = filled(6, 3, 1, true);
    support::setMask(image, true, 1, 2);
    Filter filter(image);
    const std::string bytes = storeObject(filter);
    Filter loaded(filled(2, 2, 1));
    loadObject(loaded, bytes);
    EXPECT_TRUE(loaded == filter);
    EXPECT_EQ(storeObject(loaded), bytes);
    Filter empty;
    loadObject(loaded, storeObject(empty));
    EXPECT_TRUE(loaded == empty);

    vxFrequencyFilterImage plain(image);
    const std::string pointer = support::storePointer(&plain);
    EXPECT_NE(pointer.find("vxFrequencyFilterImage"), std::string::npos);
    const std::unique_ptr<vxPersistent> object(support::loadPointer(pointer));
    ASSERT_EQ(support::typeOf(*object), typeid(vxFrequencyFilterImage));
    EXPECT_TRUE(dynamic_cast<vxFrequencyFilterImage&>(*object) == plain);
}

// Version, the base's version and flag, then the image's record.
TEST(ImageFilter, ArchiveFormat) {
    vxFrequencyBuffer image = filled(2, 2, 1);
    Filter filter(image);
    std::ostringstream stream;
    vxOutputArchive archive(stream);
    unsigned char version = 0;
    bool yes = true;
    archive || version || version || yes || image;
    EXPECT_EQ(storeObject(filter), stream.str());
    std::ostringstream twice;
    vxOutputArchive twiceArchive(twice);
    vxPersistent& object = filter;
    twiceArchive || object || object;
    EXPECT_EQ(twice.str(), stream.str());
}

TEST(ImageFilter, UnknownVersionReadsAndWritesNothing) {
    Filter filter(filled(2, 2, 1));
    std::ostringstream stream;
    vxOutputArchive archive(stream);
    const std::string header = stream.str();
    try {
        filter.serialize_(archive, 1);
        ADD_FAILURE();
    } catch (const vxArchive::UnknownVersion& error) {
        EXPECT_STREQ(error.file(), "filt/freqfilt");
        EXPECT_GT(error.line(), 0);
    }
    EXPECT_EQ(stream.str(), header);
}

// What the filter had committed is taken back when a part that was added to it is refused.
TEST(ImageFilter, ARefusedAddedPartChangesNothing) {
    using Extended = support::Extended<Filter>;
    Extended filter(filled(8, 4, 1));
    filter.refused = true;
    const std::string bad = storeObject(filter);
    Extended target(filled(2, 2, 2));
    Extended empty;
    for (Extended* object : {&target, &empty}) {
        const std::string before = storeObject(*object);
        EXPECT_THROW(loadObject(*object, bad), vxArchive::Malformed);
        EXPECT_EQ(storeObject(*object), before);
    }
}

// The way of a derived class: no archive operator is there to take anything back.
TEST(ImageFilter, TruncatedArchivesChangeNothingWhenDispatchedDirectly) {
    Filter filter(filled(2, 2, 1));
    const std::string bytes = storeObject(filter);
    Filter target;
    const std::string before = storeObject(target);
    const std::size_t header = bytes.find('\0');
    for (std::size_t length = header; length < bytes.size(); ++length) {
        std::istringstream stream(bytes.substr(0, length));
        vxInputArchive archive(stream);
        EXPECT_THROW(target.dispatchSerialize(archive), vxArchive::EndOfData);
        ASSERT_EQ(storeObject(target), before) << length;
    }
    std::istringstream stream(bytes);
    vxInputArchive archive(stream);
    target.dispatchSerialize(archive);
    EXPECT_TRUE(target == filter);
}

TEST(ImageFilter, TruncatedAndCorruptArchivesDoNoHarm) {
    Filter filter(filled(2, 2, 1));
    const std::string bytes = storeObject(filter);
    Filter target;
    const std::string before = storeObject(target);
    for (std::size_t length = 0; length < bytes.size(); ++length) {
        EXPECT_THROW(loadObject(target, bytes.substr(0, length)), vxArchive::EndOfData);
        ASSERT_EQ(storeObject(target), before) << length;
    }
    long refused = 0;
    long accepted = 0;
    for (std::size_t position = 0; position < bytes.size(); ++position) {
        std::string changed = bytes;
        for (int value = 0; value < 256; ++value) {
            changed[position] = static_cast<char>(value);
            Filter loaded;
            try {
                loadObject(loaded, changed);
            } catch (const vxExceptionWithString&) {
                ++refused;
                ASSERT_EQ(storeObject(loaded), before) << position << " " << value;
                continue;
            }
            ++accepted;
            // A loaded size can be so large that storing it again would take its time.
            if (!isSmall(loaded)) {
                continue;
            }
            Filter again;
            const std::string stored = storeObject(loaded);
            loadObject(again, stored);
            ASSERT_EQ(storeObject(again), stored) << position << " " << value;
        }
    }
    EXPECT_GT(refused, 0);
    EXPECT_GT(accepted, 0);
}

TEST(ImageFilter, AFailedAllocationChangesNothing) {
    const vxFrequencyBuffer image = filled(16, 16, 1);
    const Filter original(filled(8, 4, 1));
    Filter other(image);
    const std::string otherBytes = storeObject(other);
    Filter filter(original);
    const std::string before = storeObject(filter);
    const auto failEach = [&](auto operation) {
        filter = original;
        EXPECT_GT(failing_allocation::failEachAllocation(operation,
                                                         [&](bool threw) {
                                                             EXPECT_TRUE(threw);
                                                             EXPECT_EQ(storeObject(filter), before);
                                                         }),
                  0);
    };
    failEach([&] { filter.setImage(image); });
    failEach([&] { filter = other; });
    failEach([&] { loadObject(filter, otherBytes); });
    EXPECT_TRUE(filter == other);
    EXPECT_GT(failing_allocation::failEachAllocation([&] { delete other.clone(); }, [](bool) {}), 0);
    vxFrequencyBuffer out;
    EXPECT_GT(
        failing_allocation::failEachAllocation([&] { other.apply(image, out); },
                                               [&](bool) { EXPECT_FALSE(BufferState(out).initialized); }),
        0);
}
} // namespace
