#include "filt/fft/frequency_buffer.h"

#include "tests/support/failing_allocation.h"
#include "tests/support/frequency_buffers.h"

#include <gtest/gtest.h>

#include <climits>
#include <memory>
#include <sstream>
#include <string>
#include <typeinfo>
#include <vector>

namespace {
using support::BufferAccess;
using support::BufferRecord;
using support::BufferState;
using support::load;
using support::recordOf;
using support::store;

const vxXform<2> someXform(vxMatrix<2>(2.0, 3.0, 5.0, 7.0), vxVector<2>(11.0, 13.0));

constexpr unsigned char versions[] = {0, 1};

std::vector<float> counting(std::size_t count) {
    std::vector<float> values(count);
    float next = 0.0F;
    for (float& value : values) {
        value = next += 1.0F;
    }
    return values;
}

// A record of 4 x 2 with something in every field.
BufferRecord fullRecord() {
    BufferRecord record = recordOf(4, 2, 3, 2, counting(16));
    record.masked = 1;
    record.maskedMiny = -5;
    record.maskedMaxy = 9;
    record.consumed = true;
    record.xform.xform(vx2XformLinear(someXform));
    record.linear = someXform;
    record.offsetX = LONG_MIN;
    record.offsetY = 17;
    return record;
}

// A buffer that a load must not touch when it fails.
vxFrequencyBuffer target() {
    vxFrequencyBuffer buffer = support::filled(7, 5, 1, true);
    support::setMask(buffer, true, 1, 6);
    BufferAccess::offset(buffer, {-1, -2});
    return buffer;
}

template <class Error>
void expectRefused(const BufferRecord& record) {
    vxFrequencyBuffer buffer = target();
    const BufferState before(buffer);
    EXPECT_THROW(load(buffer, record.bytes()), Error);
    EXPECT_EQ(BufferState(buffer), before);
}

TEST(FrequencyBufferArchive, storesTheRecord) {
    vxFrequencyBuffer buffer;
    load(buffer, fullRecord().bytes());
    EXPECT_EQ(store(buffer), fullRecord().bytes());
}

TEST(FrequencyBufferArchive, loadsEveryField) {
    for (unsigned char version : versions) {
        BufferRecord record = fullRecord();
        record.version = version;
        vxFrequencyBuffer buffer = target();
        load(buffer, record.bytes());
        const BufferState state(buffer);
        EXPECT_TRUE(state.initialized);
        EXPECT_EQ(state.width, 4);
        EXPECT_EQ(state.height, 2);
        EXPECT_EQ(state.sourceWidth, 3);
        EXPECT_EQ(state.sourceHeight, 2);
        EXPECT_EQ(state.masked, 1);
        EXPECT_EQ(state.maskedMiny, -5);
        EXPECT_EQ(state.maskedMaxy, 9);
        EXPECT_TRUE(state.consumed);
        EXPECT_TRUE(state.linear);
        EXPECT_EQ(state.xform, someXform);
        EXPECT_EQ(state.offset, vxPair<long>(LONG_MIN, 17));
        EXPECT_EQ(support::samplesOf(buffer), counting(16));
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(BufferAccess::data(buffer)) % 16, 0U);
    }
}

TEST(FrequencyBufferArchive, storingChangesNothing) {
    vxFrequencyBuffer buffer = target();
    const BufferState before(buffer);
    static_cast<void>(store(buffer));
    EXPECT_EQ(BufferState(buffer), before);
}

TEST(FrequencyBufferArchive, roundTripsBitForBit) {
    unsigned seed = 0;
    for (long width : {1L, 2L, 8L, 33L}) {
        for (long height : {1L, 5L, 16L}) {
            vxFrequencyBuffer original = support::filled(width, height, ++seed, true);
            support::setMask(original, seed % 2 == 0, 2, 3);
            BufferAccess::inverseComputed(original, seed % 3 == 0);
            BufferAccess::offset(original, {static_cast<long>(seed), LONG_MAX});
            vxFrequencyBuffer copy;
            load(copy, store(original));
            EXPECT_TRUE(copy == original);
            EXPECT_EQ(BufferState(copy), BufferState(original));
        }
    }
}

TEST(FrequencyBufferArchive, keepsTheSizeOfACroppedBuffer) {
    vxFrequencyBuffer cropped(support::filled(129, 129, 1), 64, 64);
    vxFrequencyBuffer copy;
    load(copy, store(cropped));
    EXPECT_EQ(copy.width(), 64);
    EXPECT_EQ(BufferState(copy), BufferState(cropped));
}

TEST(FrequencyBufferArchive, uninitializedBuffer) {
    vxFrequencyBuffer buffer = support::filled(5, 3, 1);
    support::setConsumed(buffer);
    buffer = vxFrequencyBuffer();
    BufferRecord record = recordOf(8, 4, 5, 3, {}); // The sizes as they stand.
    record.hasSamples = false;
    record.consumed = true;
    EXPECT_EQ(store(buffer), record.bytes());
    vxFrequencyBuffer loaded = target();
    load(loaded, record.bytes());
    EXPECT_TRUE(loaded == vxFrequencyBuffer());
    EXPECT_EQ(BufferState(loaded), BufferState(buffer));
    EXPECT_THROW(static_cast<void>(loaded.width()), vxFrequencyDefs::Uninitialized);
}

TEST(FrequencyBufferArchive, uninitializedBufferMayHaveAnySizeFields) {
    for (long size : {LONG_MIN, -1L, 0L, 3L, 5000L, LONG_MAX}) {
        BufferRecord record = recordOf(size, 1, LONG_MAX, size, {});
        record.hasSamples = false;
        vxFrequencyBuffer buffer = target();
        load(buffer, record.bytes());
        EXPECT_FALSE(BufferState(buffer).initialized);
        EXPECT_EQ(BufferAccess::width(buffer), size);
        EXPECT_EQ(store(buffer), record.bytes());
        BufferAccess::setAndAllocate(buffer, 3, 3); // It can be used again.
        EXPECT_EQ(buffer.width(), 4);
        support::fill(buffer, 1);
    }
}

TEST(FrequencyBufferArchive, samplesWithoutTheFlagAreReadAndDropped) {
    vxFrequencyBuffer first = target();
    vxFrequencyBuffer second = target();
    BufferRecord record = recordOf(1, 1, 1, 1, counting(10));
    record.hasSamples = false;
    std::ostringstream header;
    static_cast<void>(vxOutputArchive(header));
    const std::string bytes = record.bytes() + fullRecord().bytes().substr(header.str().size());
    std::istringstream stream(bytes);
    vxInputArchive archive(stream);
    EXPECT_EQ(&(archive || first), &archive);
    archive || second;
    EXPECT_FALSE(BufferState(first).initialized);
    EXPECT_EQ(support::samplesOf(second), counting(16));
}

TEST(FrequencyBufferArchive, chains) {
    std::stringstream stream;
    vxFrequencyBuffer a = support::filled(4, 4, 1);
    vxFrequencyBuffer b = support::filled(2, 8, 2);
    {
        vxOutputArchive out(stream);
        EXPECT_EQ(&(out || a || b), &out);
    }
    vxFrequencyBuffer first;
    vxFrequencyBuffer second;
    vxInputArchive in(stream);
    in || first || second;
    EXPECT_TRUE(first == a);
    EXPECT_TRUE(second == b);
}

// The version of the record itself, of its pair and of its float array.
void expectUnknownVersion(const BufferRecord& record, const char* file, long line) {
    vxFrequencyBuffer buffer = target();
    const BufferState before(buffer);
    try {
        load(buffer, record.bytes());
        ADD_FAILURE() << "the version was accepted";
    } catch (const vxArchive::UnknownVersion& error) {
        EXPECT_STREQ(error.file(), file);
        EXPECT_EQ(error.line(), line);
    }
    EXPECT_EQ(BufferState(buffer), before);
}

TEST(FrequencyBufferArchive, refusesUnknownVersions) {
    for (int version = 2; version < 256; ++version) {
        BufferRecord record = fullRecord();
        record.version = static_cast<unsigned char>(version);
        expectUnknownVersion(record, "filt/fft", 572);
    }
    for (int version = 1; version < 256; ++version) {
        BufferRecord record = fullRecord();
        record.pairVersion = static_cast<unsigned char>(version);
        expectUnknownVersion(record, nullptr, 0);
        record = fullRecord();
        record.arrayVersion = static_cast<unsigned char>(version);
        expectUnknownVersion(record, nullptr, 0);
    }
}

TEST(FrequencyBufferArchive, acceptsSizesThatNoOperationMakes) {
    for (long width : {1L, 3L, 7L, 2049L, 5000L}) {
        for (long sourceWidth : {LONG_MIN, -1L, 0L, 1L, width}) {
            vxFrequencyBuffer buffer = target();
            const std::vector<float> samples = counting(static_cast<std::size_t>(width) * 2 * 2);
            load(buffer, recordOf(width, 2, sourceWidth, 0, samples).bytes());
            EXPECT_EQ(buffer.width(), width);
            EXPECT_EQ(buffer.height(), 2);
            EXPECT_EQ(BufferAccess::sourceWidth(buffer), sourceWidth);
            EXPECT_EQ(support::samplesOf(buffer), samples);
            EXPECT_EQ(buffer.get(width - 1, 1, false),
                      vxPair<double>(static_cast<double>(4 * width - 1), static_cast<double>(4 * width)));
        }
    }
}

TEST(FrequencyBufferArchive, refusesSizesThatNoBufferCanHave) {
    const long tooLarge = 0x7FFFFFFFL + 1;
    for (long size : {LONG_MIN, -1L, 0L, tooLarge, LONG_MAX}) {
        for (const std::vector<float>& samples : {std::vector<float>(), counting(8)}) {
            expectRefused<vxArchive::Malformed>(recordOf(size, 1, 0, 0, samples));
            expectRefused<vxArchive::Malformed>(recordOf(1, size, 0, 0, samples));
            expectRefused<vxArchive::Malformed>(recordOf(size, size, 0, 0, samples));
        }
    }
    expectRefused<vxArchive::Malformed>(recordOf(2, 2, 3, 2, counting(8)));
    expectRefused<vxArchive::Malformed>(recordOf(2, 2, 2, 3, counting(8)));
    expectRefused<vxArchive::Malformed>(recordOf(2, 2, LONG_MAX, LONG_MAX, counting(8)));
}

TEST(FrequencyBufferArchive, missingSamplesAreZero) {
    for (std::size_t count = 0; count <= 16; ++count) {
        vxFrequencyBuffer buffer = support::filled(4, 2, 1);
        load(buffer, recordOf(4, 2, 4, 2, counting(count)).bytes());
        std::vector<float> expected = counting(count);
        expected.resize(16, 0.0F);
        EXPECT_EQ(support::samplesOf(buffer), expected);
    }
}

TEST(FrequencyBufferArchive, surplusSamplesAreRefused) {
    expectRefused<vxArchive::Malformed>(recordOf(4, 2, 4, 2, counting(17)));
    expectRefused<vxArchive::Malformed>(recordOf(1, 1, 1, 1, counting(1000)));
}

TEST(FrequencyBufferArchive, fewBytesCannotClaimMuchMemory) {
    vxFrequencyBuffer buffer;
    load(buffer, recordOf(2048, 2048, 2048, 2048, counting(3)).bytes());
    EXPECT_EQ(buffer.getReal(1, 0, false), 3.0);
    EXPECT_EQ(buffer.getReal(2047, 2047, false), 0.0);

    const std::vector<float> few = counting(3);
    for (const BufferRecord& record :
         {recordOf(2048, 2049, 1, 1, few), recordOf(4194305, 1, 1, 1, few),
          recordOf(1, 0x7FFFFFFF, 1, 1, few), recordOf(0x7FFFFFFF, 0x7FFFFFFF, 1, 1, few),
          recordOf(65536, 65536, 1, 1, {})}) {
        const std::string bytes = record.bytes();
        const failing_allocation::Scope scope;
        EXPECT_THROW(load(buffer, bytes), vxArchive::Malformed);
        EXPECT_LT(scope.largest(), 100000U);
    }
    EXPECT_EQ(buffer.getReal(1, 0, false), 3.0);
}

TEST(FrequencyBufferArchive, claimedCountsAreNotBelieved) {
    for (unsigned long count : {17UL, 1000UL, 8388608UL, 1UL << 40, ULONG_MAX}) {
        BufferRecord record = recordOf(4, 2, 4, 2, counting(16));
        record.count = count;
        const std::string bytes = record.bytes();
        vxFrequencyBuffer buffer = target();
        const BufferState before(buffer);
        const failing_allocation::Scope scope;
        EXPECT_THROW(load(buffer, bytes), vxExceptionWithString);
        EXPECT_LT(scope.largest(), 1000000U);
        EXPECT_EQ(BufferState(buffer), before);
    }
}

TEST(FrequencyBufferArchive, sizesAboveTheLimitWithAllTheirSamples) {
    const long width = 2048 * 2048 + 1;
    const std::string bytes =
        recordOf(width, 1, width, 1, counting(static_cast<std::size_t>(width) * 2)).bytes();
    vxFrequencyBuffer buffer;
    load(buffer, bytes);
    EXPECT_EQ(buffer.width(), width);
    EXPECT_EQ(buffer.getImaginary(3, 0, false), 8.0);
}

TEST(FrequencyBufferArchive, truncatedRecordsAreRefused) {
    for (unsigned char version : versions) {
        BufferRecord record = fullRecord();
        record.version = version;
        const std::string bytes = record.bytes();
        for (std::size_t length = 0; length < bytes.size(); ++length) {
            vxFrequencyBuffer buffer = target();
            const BufferState before(buffer);
            EXPECT_THROW(load(buffer, bytes.substr(0, length)), vxArchive::EndOfData) << length;
            EXPECT_EQ(BufferState(buffer), before) << length;
        }
    }
}

// Has every sample, and can be stored and loaded again.
void expectWhole(vxFrequencyBuffer& buffer) {
    if (BufferAccess::data(buffer) != nullptr && BufferAccess::sampleCount(buffer) > 10000) {
        BufferAccess::data(buffer)[BufferAccess::sampleCount(buffer) * 2 - 1] = 1.0F;
        return; // Enough: there are thousands of these.
    }
    vxFrequencyBuffer copy;
    load(copy, store(buffer));
    EXPECT_EQ(BufferState(copy), BufferState(buffer));
}

TEST(FrequencyBufferArchive, corruptRecordsDoNoHarm) {
    BufferRecord record = recordOf(2, 2, 2, 1, counting(8));
    vxFrequencyBuffer buffer = target();
    const BufferState before(buffer);
    const vxFrequencyBuffer original(buffer);
    for (unsigned char version : versions) {
        record.version = version;
        const std::string bytes = record.bytes();
        for (std::size_t at = 0; at < bytes.size(); ++at) {
            for (int value = 0; value < 256; ++value) {
                std::string changed = bytes;
                changed[at] = static_cast<char>(value);
                try {
                    load(buffer, changed);
                } catch (const vxExceptionWithString&) {
                    ASSERT_EQ(BufferState(buffer), before) << at << ' ' << value;
                    continue;
                }
                expectWhole(buffer);
                buffer = original;
                ASSERT_EQ(BufferState(buffer), before);
            }
        }
    }
}
} // namespace
