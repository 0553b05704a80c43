#include "kavsys/assert.h"
#include "tests/support/archive_samples.h"
#include "tests/support/failing_allocation.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <sstream>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace archive_test {

template <class T>
concept Archivable = requires(vxArchive& archive, T&& value) {
    archive || std::forward<T>(value);
};

static_assert(Archivable<bool&> && Archivable<unsigned char&> && Archivable<long&> &&
              Archivable<unsigned long&> && Archivable<float&> && Archivable<double&> &&
              Archivable<std::vector<float>&> && Archivable<vxPair<long>&> && Archivable<vxPair<double>&> &&
              Archivable<vxPersistent&> && Archivable<vxPersistent*&> && Archivable<vxArchive::Malformed&>);
static_assert(!Archivable<int&> && !Archivable<unsigned&> && !Archivable<short&> && !Archivable<char&> &&
              !Archivable<signed char&> && !Archivable<long long&> && !Archivable<long double&>);
static_assert(!Archivable<const long&> && !Archivable<const bool&> && !Archivable<long> &&
              !Archivable<bool> && !Archivable<const vxPersistent&> && !Archivable<vxPersistent* const&>);
static_assert(!Archivable<std::string&> && !Archivable<const char*&> && !Archivable<std::vector<double>&> &&
              !Archivable<vxPair<float>&> && !Archivable<vxArchive::Malformed*&> && !Archivable<vxArchive&> &&
              !Archivable<std::unique_ptr<vxPersistent>&> && !Archivable<std::nullptr_t>);
static_assert(!std::is_copy_constructible_v<vxOutputArchive> && !std::is_copy_assignable_v<vxOutputArchive> &&
              !std::is_move_constructible_v<vxInputArchive>);

TEST(Format, BeginsWithTheMagicAndTheVersion) {
    EXPECT_EQ(stored(), header);
    EXPECT_NO_THROW(load(header));
}

TEST(Format, IsFixedWidthAndLittleEndian) {
    bool yes = true;
    bool no = false;
    unsigned char byte = 0xa5;
    long number = -2;
    unsigned long count = 0x0102030405060708;
    float single = -1.5F;    // 0xbfc00000
    double wide = 1.0 / 3.0; // 0x3fd5555555555555
    EXPECT_EQ(stored(yes, no, byte), header + bytesOf({1, 0, 0xa5}));
    EXPECT_EQ(stored(number), header + bytesOf({0xfe, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff}));
    EXPECT_EQ(stored(count), header + bytesOf({8, 7, 6, 5, 4, 3, 2, 1}));
    EXPECT_EQ(stored(single), header + bytesOf({0, 0, 0xc0, 0xbf}));
    EXPECT_EQ(stored(wide), header + bytesOf({0x55, 0x55, 0x55, 0x55, 0x55, 0x55, 0xd5, 0x3f}));
}

TEST(Format, OfThePairRecord) {
    vxPair<long> pair(1, -1);
    EXPECT_EQ(stored(pair),
              header + bytesOf({0, 1, 0, 0, 0, 0, 0, 0, 0, 255, 255, 255, 255, 255, 255, 255, 255}));
    vxPair<double> position(1.0, -2.0);
    EXPECT_EQ(stored(position),
              header + bytesOf({0, 0, 0, 0, 0, 0, 0, 0xf0, 0x3f, 0, 0, 0, 0, 0, 0, 0, 0xc0}));
}

TEST(Format, OfTheFloatArrayRecord) {
    std::vector<float> values = {1.0F, -2.0F};
    EXPECT_EQ(stored(values), header + bytesOf({0, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x80, 0x3f, 0, 0, 0, 0xc0}));
    values.clear();
    EXPECT_EQ(stored(values), header + std::string(9, '\0'));
}

template <class T>
void expectRoundTrip(T value) {
    T loaded{};
    load(stored(value), loaded);
    EXPECT_EQ(loaded, value);
}

TEST(Values, ComeBackAsTheyWere) {
    expectRoundTrip(true);
    expectRoundTrip(false);
    for (int byte = 0; byte < 256; ++byte) {
        expectRoundTrip(static_cast<unsigned char>(byte));
    }
    for (const long number :
         {0L, 1L, -1L, std::numeric_limits<long>::min(), std::numeric_limits<long>::max()}) {
        expectRoundTrip(number);
        expectRoundTrip(vxPair<long>(number, 5 - number / 2));
    }
    expectRoundTrip(std::numeric_limits<unsigned long>::max());
    expectRoundTrip(vxPair<double>(0.1, -1e300));
}

TEST(Values, KeepTheBitsOfEveryFloat) {
    for (const std::uint32_t bits : {0x00000000U, 0x80000000U, 0x00000001U, 0x7f800000U, 0xff800000U,
                                     0x7fc12345U, 0x7f812345U, 0xffc00001U}) {
        auto value = std::bit_cast<float>(bits);
        float loaded = 1.0F;
        std::vector<float> values = {value, value};
        std::vector<float> loadedValues;
        load(stored(value, values), loaded, loadedValues);
        EXPECT_EQ(std::bit_cast<std::uint32_t>(loaded), bits);
        ASSERT_EQ(loadedValues.size(), 2U);
        EXPECT_EQ(std::bit_cast<std::uint32_t>(loadedValues[1]), bits);
    }
    for (const auto bits : std::initializer_list<std::uint64_t>{0x8000000000000000U, 0x7ff0000000000001U,
                                                                0xfff8000000012345U, 0x1U}) {
        auto value = std::bit_cast<double>(bits);
        double loaded = 1.0;
        load(stored(value), loaded);
        EXPECT_EQ(std::bit_cast<std::uint64_t>(loaded), bits);
    }
}

TEST(Values, FloatArraysOfManyChunksComeBack) {
    for (const std::size_t size : {1023U, 1024U, 1025U, 5000U}) {
        std::vector<float> values(size);
        for (std::size_t i = 0; i < size; ++i) {
            values[i] = static_cast<float>(i);
        }
        std::vector<float> loaded = {9.0F};
        load(stored(values), loaded);
        EXPECT_EQ(loaded, values);
    }
}

TEST(Values, AreChainedAndStoringDoesNotChangeThem) {
    std::ostringstream stream;
    vxOutputArchive archive(stream);
    long number = 3;
    EXPECT_EQ(&(archive || number), &archive);
    EXPECT_EQ(number, 3);
    EXPECT_FALSE(archive.isLoading());
    std::istringstream input(stream.str());
    const vxInputArchive loading(input);
    EXPECT_TRUE(loading.isLoading());
}

TEST(Values, ABoolThatIsNeitherIsMalformed) {
    for (int byte = 2; byte < 256; ++byte) {
        bool value = true;
        EXPECT_EQ(messageOf<vxArchive::Malformed>([&] { load(header + bytesOf({byte}), value); }),
                  "Malformed data at byte 9: a bool that is neither 0 nor 1");
        EXPECT_TRUE(value);
    }
}

TEST(Header, IsChecked) {
    for (std::size_t length = 0; length < header.size(); ++length) {
        EXPECT_THROW(load(header.substr(0, length)), vxArchive::EndOfData);
    }
    for (std::size_t i = 0; i < 8; ++i) {
        std::string changed = header;
        changed[i] = static_cast<char>(changed[i] ^ 1);
        EXPECT_THROW(load(changed), vxArchive::Malformed);
    }
    try {
        load("KAVARCH\n\2");
        FAIL() << "not thrown";
    } catch (const vxArchive::UnknownVersion& error) {
        EXPECT_STREQ(error.what(), "Unknown version at byte 8, reading the format version");
        EXPECT_EQ(error.file(), nullptr);
        EXPECT_EQ(error.line(), 0);
    }
}

TEST(Errors, NameTheByteAndWhatWasBeingRead) {
    long number = 0;
    double wide = 0.0;
    EXPECT_EQ(messageOf<vxArchive::EndOfData>([&] { load(header + "1234567890", number, wide); }),
              "End of data at byte 17, reading a double");
    EXPECT_EQ(messageOf<vxArchive::UnknownVersion>([&] {
                  vxPair<long> pair;
                  load(header + "\1", pair);
              }),
              "Unknown version at byte 9, reading a pair");
    EXPECT_EQ(messageOf<vxArchive::UnknownVersion>([&] {
                  std::vector<float> values;
                  load(header + "\1", values);
              }),
              "Unknown version at byte 9, reading a float array");
}

TEST(Errors, OfAnotherVersionOfARecordHaveNoFileAndLine) {
    for (int version = 1; version < 256; ++version) {
        vxPair<double> pair(1.0, 2.0);
        std::vector<float> values = {1.0F};
        for (const bool isPair : {true, false}) {
            try {
                isPair ? load(header + bytesOf({version}), pair) : load(header + bytesOf({version}), values);
                FAIL() << "not thrown";
            } catch (const vxArchive::UnknownVersion& error) {
                EXPECT_EQ(error.file(), nullptr);
                EXPECT_EQ(error.line(), 0);
            }
        }
        EXPECT_EQ(pair, vxPair<double>(1.0, 2.0));
        EXPECT_EQ(values, std::vector<float>{1.0F});
    }
}

TEST(Errors, FailTheArchiveForGood) {
    // More data follows each error, so only the failure keeps it from being read.
    const std::string more(64, '\0');
    {
        std::istringstream stream(header + "\2" + more);
        vxInputArchive archive(stream);
        bool value = false;
        EXPECT_THROW(archive || value, vxArchive::Malformed);
        expectEveryUseThrows<vxArchive::Malformed>(archive);
    }
    {
        std::istringstream stream(header + "\2" + more);
        vxInputArchive archive(stream);
        vxPair<long> pair;
        EXPECT_THROW(archive || pair, vxArchive::UnknownVersion);
        expectEveryUseThrows<vxArchive::UnknownVersion>(archive);
    }
    {
        std::istringstream stream(header + "\1\3" + std::string(7, '\0') + "foo" + more);
        vxInputArchive archive(stream);
        vxPersistent* object = nullptr;
        EXPECT_THROW(archive || object, vxArchive::UnknownType);
        expectEveryUseThrows<vxArchive::UnknownType>(archive);
    }
    {
        std::istringstream stream(header + "123");
        vxInputArchive archive(stream);
        long number = 5;
        EXPECT_THROW(archive || number, vxArchive::EndOfData);
        stream.clear();
        stream.str(more);
        expectEveryUseThrows<vxArchive::EndOfData>(archive);
        EXPECT_EQ(number, 5);
    }
    {
        std::ostringstream stream;
        vxOutputArchive archive(stream);
        stream.setstate(std::ios::badbit);
        long number = 5;
        EXPECT_EQ(messageOf<vxArchive::WriteFailed>([&] { archive || number; }),
                  "Write failed at byte 9, writing a long");
        stream.clear();
        expectEveryUseThrows<vxArchive::WriteFailed>(archive);
        EXPECT_THROW(archive.flush(), vxArchive::WriteFailed);
        EXPECT_EQ(stream.str(), header);
    }
}

TEST(Errors, ARefusalNamesWhatAndWhere) {
    std::istringstream stream(header + "12345678");
    vxInputArchive archive(stream);
    long number = 0;
    archive || number;
    EXPECT_EQ(messageOf<vxArchive::Malformed>([&] { archive.refuse("a size below 1"); }),
              "Malformed data at byte 9: a size below 1");
    expectEveryUseThrows<vxArchive::Malformed>(archive);
}

TEST(Errors, KeepTheirClassWhenThereIsNoMemoryForTheText) {
    std::istringstream stream(header);
    vxInputArchive archive(stream);
    bool kept = false;
    {
        const failing_allocation::Scope scope(0, true);
        try {
            archive.refuse("a reason");
        } catch (const vxArchive::Malformed& error) {
            kept = *error.what() == '\0';
        }
    }
    EXPECT_TRUE(kept);
    expectEveryUseThrows<vxArchive::Malformed>(archive);

    std::istringstream unknownStream(header + "\1");
    vxInputArchive unknown(unknownStream);
    vxPair<long> pair;
    kept = false;
    {
        const failing_allocation::Scope scope(0, true);
        try {
            unknown || pair;
        } catch (const vxArchive::UnknownVersion& error) {
            kept = *error.what() == '\0' && error.file() == nullptr;
        }
    }
    EXPECT_TRUE(kept);
    expectEveryUseThrows<vxArchive::UnknownVersion>(unknown);
}

TEST(FloatArray, IsStoredFromAnyFloats) {
    std::vector<float> values(3000);
    for (std::size_t i = 0; i < values.size(); ++i) {
        values[i] = static_cast<float>(i) - 0.5F;
    }
    std::ostringstream stream;
    vxOutputArchive archive(stream);
    vf_StoreFloats(archive, values.data(), values.size());
    EXPECT_EQ(stream.str(), stored(values));
    std::istringstream input(stream.str());
    vxInputArchive loading(input);
    EXPECT_THROW(vf_StoreFloats(loading, values.data(), values.size()), vxAssertionFailure);
}

TEST(FloatArray, IsLoadedInParts) {
    std::vector<float> values(3000, 2.5F);
    std::istringstream input(stored(values));
    vxInputArchive loading(input);
    std::vector<float> loaded;
    const std::size_t count = vf_LoadFloatCount(loading);
    EXPECT_EQ(count, values.size());
    vf_LoadFloats(loading, count, count, loaded);
    EXPECT_EQ(loaded, values);
    EXPECT_EQ(loaded.capacity(), values.size()); // Memory was taken once.
    std::ostringstream output;
    vxOutputArchive storing(output);
    EXPECT_THROW(static_cast<void>(vf_LoadFloatCount(storing)), vxAssertionFailure);
    EXPECT_THROW(vf_LoadFloatChunk(storing, loaded.data(), loaded.size()), vxAssertionFailure);
}

TEST(FloatArray, AHugeCountInAShortFileIsTheEndOfTheData) {
    // Every bit of the count alone, and all of them.
    for (int bit = 3; bit <= 64; ++bit) {
        unsigned long count = bit == 64 ? ~0UL : 1UL << bit;
        const std::string bytes = header + '\0' + stored(count).substr(header.size()) + std::string(16, 'x');
        std::vector<float> values = {1.0F, 2.0F};
        std::size_t largest = 0;
        bool refused = false;
        {
            const failing_allocation::Scope scope;
            try {
                load(bytes, values);
            } catch (const vxArchive::EndOfData&) {
                refused = true;
            } catch (const vxArchive::Malformed&) {
                refused = count > values.max_size();
            }
            largest = scope.largest();
        }
        EXPECT_TRUE(refused) << bit;
        EXPECT_LT(largest, 20000U) << bit;
        EXPECT_EQ(values, (std::vector<float>{1.0F, 2.0F}));
    }
}

TEST(FloatArray, AllocatesInProportionToWhatIsThere) {
    unsigned long count = 1UL << 40;
    const std::string bytes = header + '\0' + stored(count).substr(header.size()) + std::string(100000, 'x');
    std::vector<float> values;
    std::istringstream stream(bytes);
    vxInputArchive archive(stream);
    std::size_t largest = 0;
    {
        const failing_allocation::Scope scope;
        EXPECT_THROW(archive || values, vxArchive::EndOfData);
        largest = scope.largest();
    }
    EXPECT_LE(largest, 2U * 100000U + 8192U);
}

TEST(Streams, ThatHaveFailedBeforeAreRefused) {
    std::istringstream input(header);
    input.setstate(std::ios::failbit);
    EXPECT_THROW(vxInputArchive{input}, vxArchive::EndOfData);
    std::ostringstream output;
    output.setstate(std::ios::failbit);
    EXPECT_THROW(vxOutputArchive{output}, vxArchive::WriteFailed);
}

TEST(Streams, SeveralArchivesFollowEachOtherInOne) {
    std::stringstream stream;
    for (long number : {1L, 2L}) {
        vxOutputArchive archive(stream);
        archive || number;
    }
    for (const long expected : {1L, 2L}) {
        vxInputArchive archive(stream);
        long number = 0;
        archive || number;
        EXPECT_EQ(number, expected);
    }
}

/// An archive of one's own, which measures and may throw what it likes.
class MeasuringArchive : public vxArchive {
public:
    MeasuringArchive() : vxArchive(false) { header(); }
    std::size_t size = 0;
    bool throws = false;

private:
    bool transfer(void*, std::size_t bytes) override {
        if (throws) {
            throw 42;
        }
        size += bytes;
        return true;
    }
};

TEST(Streams, OtherArchivesCanBeWritten) {
    const auto node = sampleNode();
    MeasuringArchive archive;
    archive || *node;
    EXPECT_EQ(archive.size, stored(*node).size());
    archive.throws = true;
    long number = 0;
    EXPECT_THROW(archive || number, int);
    archive.throws = false;
    EXPECT_THROW(archive || number, int); // Half a value may be gone.
}

} // namespace archive_test
