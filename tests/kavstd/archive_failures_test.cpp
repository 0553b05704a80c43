#include "tests/support/archive_samples.h"
#include "tests/support/failing_allocation.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <streambuf>
#include <string>
#include <utility>
#include <vector>

namespace archive_test {

using failing_allocation::failEachAllocation;

/// Several records of every kind.
struct Records {
    bool flag = false;
    unsigned char byte = 0;
    long number = 0;
    unsigned long count = 0;
    float single = 0.0F;
    double wide = 0.0;
    vxPair<long> pair;
    vxPair<double> position;
    std::vector<float> values;
    Node inPlace;
    vxPersistent* byPointer = nullptr;
    vxArchive::UnknownVersion error{"before", 1};

    Records() = default;
    Records(const Records&) = delete;
    Records& operator=(const Records&) = delete;
    ~Records() { delete byPointer; }

    void archive(vxArchive& archive) {
        archive || flag || byte || number || count || single || wide || pair || position || values ||
            inPlace || byPointer || error;
    }
    void fill() {
        flag = true;
        byte = 200;
        number = -7;
        count = 12;
        single = 2.5F;
        wide = -0.125;
        pair = {3, -4};
        position = {0.5, 0.75};
        values = {1.0F, 2.0F, 3.0F};
        archive_test::fill(inPlace, 5);
        byPointer = sampleNode().release();
        error = vxArchive::UnknownVersion("a file", 77);
    }
    /// The state of the objects, which must be whole or untouched.
    [[nodiscard]] std::string objects() const {
        return inPlace.state() + " | " + (error.file() == nullptr ? "null" : error.file()) + " " +
               std::to_string(error.line()) + " " + error.what();
    }
};

std::string storedRecords() {
    Records records;
    records.fill();
    std::ostringstream stream;
    vxOutputArchive archive(stream);
    records.archive(archive);
    return stream.str();
}

/// Loads as far as it goes. Whether everything was there.
bool loadRecords(const std::string& bytes, Records& records) {
    std::istringstream stream(bytes);
    try {
        vxInputArchive archive(stream);
        records.archive(archive);
    } catch (const vxExceptionWithString&) { // The archive's errors and nothing else.
        return false;
    } catch (const std::runtime_error&) { // Node's reInit.
        return false;
    }
    return true;
}

TEST(Failures, EveryTruncationIsTheEndOfTheData) {
    const std::string bytes = storedRecords();
    for (std::size_t length = 0; length < bytes.size(); ++length) {
        Records records;
        std::istringstream stream(bytes.substr(0, length));
        EXPECT_THROW(
            {
                vxInputArchive archive(stream);
                records.archive(archive);
            },
            vxArchive::EndOfData)
            << length;
        // The last record is the error: it never got through.
        EXPECT_STREQ(records.error.file(), "before");
    }
    Records records;
    EXPECT_TRUE(loadRecords(bytes, records));
    EXPECT_STREQ(records.error.file(), "a file");
    EXPECT_EQ(NodeBase::living, 3);
}

TEST(Failures, EveryByteMayHaveEveryValue) {
    const std::string bytes = storedRecords();
    const int living = NodeBase::living;
    std::size_t refused = 0;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        std::string changed = bytes;
        for (int value = 0; value < 256; ++value) {
            changed[i] = static_cast<char>(value);
            Records records;
            refused += loadRecords(changed, records) ? 0U : 1U;
        }
    }
    EXPECT_EQ(NodeBase::living, living);
    EXPECT_GT(refused, bytes.size());
}

TEST(Failures, AnObjectIsWholeOrUntouchedWhateverByteChanges) {
    const auto source = sampleNode();
    const std::string bytes = stored(*source);
    Node target;
    fill(target, 8);
    const std::string before = target.state();
    std::size_t refused = 0;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        std::string changed = bytes;
        for (int value = 0; value < 256; ++value) {
            changed[i] = static_cast<char>(value);
            Node fresh;
            fill(fresh, 8);
            bool done = true;
            try {
                load(changed, fresh);
            } catch (const std::exception&) {
                done = false;
                ++refused;
            }
            EXPECT_EQ(fresh.reInits, done ? 1 : 0);
            if (!done) {
                ASSERT_EQ(fresh.state(), before) << i << " " << value;
            }
        }
    }
    EXPECT_GT(refused, bytes.size());
}

TEST(Failures, EveryAllocationOfALoadMayFail) {
    const std::string bytes = storedRecords();
    const int living = NodeBase::living;
    std::optional<Records> records;
    records.emplace();
    const std::string before = records->objects();
    std::vector<std::string> states;
    const long failures = failEachAllocation(
        [&] {
            std::istringstream stream(bytes);
            vxInputArchive archive(stream);
            records->archive(archive);
        },
        [&](bool threw) {
            EXPECT_TRUE(threw);
            EXPECT_EQ(records->error.line(), 1);
            EXPECT_TRUE(records->inPlace.tag == 0 || records->inPlace.reInits == 1);
            EXPECT_EQ(records->byPointer == nullptr ? 0 : 2, NodeBase::living - living - 1);
            records.reset();
            EXPECT_EQ(NodeBase::living, living);
            records.emplace();
        });
    EXPECT_GT(failures, 40);
    EXPECT_NE(records->objects(), before);
}

TEST(Failures, EveryAllocationOfAStoreMayFail) {
    Records records;
    records.fill();
    const std::string before = records.objects();
    std::string bytes;
    const long failures = failEachAllocation(
        [&] {
            std::ostringstream stream;
            try {
                vxOutputArchive archive(stream);
                records.archive(archive);
            } catch (const vxArchive::WriteFailed&) { // How a string stream reports that memory ran out.
                throw std::bad_alloc();
            }
            bytes = stream.str();
        },
        [&](bool threw) {
            EXPECT_TRUE(threw);
            EXPECT_EQ(records.objects(), before);
        });
    EXPECT_GT(failures, 10);
    EXPECT_EQ(bytes, storedRecords());
}

/// Takes, or gives, a number of bytes and then fails, by state or by throwing.
class LimitedBuffer : public std::streambuf {
public:
    LimitedBuffer(std::string data, std::size_t limit, bool throwing)
        : data_(std::move(data)), limit_(limit), throwing_(throwing) {}
    bool failsSync = false;

protected:
    int_type overflow(int_type c) override {
        if (used_++ < limit_) {
            return c;
        }
        return fail();
    }
    int_type underflow() override {
        return used_ < std::min(limit_, data_.size()) ? traits_type::to_int_type(data_[used_]) : fail();
    }
    int_type uflow() override {
        const int_type c = underflow();
        used_ += traits_type::eq_int_type(c, traits_type::eof()) ? 0U : 1U;
        return c;
    }
    int sync() override { return failsSync ? -1 : 0; }

private:
    int_type fail() const {
        if (throwing_) {
            throw std::runtime_error("the device failed");
        }
        return traits_type::eof();
    }
    std::string data_;
    std::size_t limit_;
    bool throwing_;
    std::size_t used_ = 0;
};

enum class Reporting { state, buffer, stream };

class StreamFailures : public testing::TestWithParam<Reporting> {
protected:
    [[nodiscard]] bool bufferThrows() const { return GetParam() == Reporting::buffer; }
    void prepare(std::ios& stream) const {
        if (GetParam() != Reporting::state) {
            stream.exceptions(std::ios::badbit | std::ios::failbit | std::ios::eofbit);
        }
    }
};
INSTANTIATE_TEST_SUITE_P(Each, StreamFailures,
                         testing::Values(Reporting::state, Reporting::buffer, Reporting::stream));

TEST_P(StreamFailures, OfAWriteAtEveryByteAreReported) {
    Records records;
    records.fill();
    const std::size_t size = storedRecords().size();
    for (std::size_t limit = 0; limit <= size; ++limit) {
        LimitedBuffer buffer("", limit, bufferThrows());
        std::ostream stream(&buffer);
        prepare(stream);
        const auto store = [&] {
            vxOutputArchive archive(stream);
            records.archive(archive);
        };
        if (limit < size) {
            EXPECT_THROW(store(), vxArchive::WriteFailed) << limit;
        } else {
            EXPECT_NO_THROW(store());
        }
    }
}

TEST_P(StreamFailures, OfAReadAtEveryByteAreTheEndOfTheData) {
    const std::string bytes = storedRecords();
    for (std::size_t limit = 0; limit <= bytes.size(); ++limit) {
        LimitedBuffer buffer(bytes, limit, bufferThrows());
        std::istream stream(&buffer);
        prepare(stream);
        Records records;
        const auto readAll = [&] {
            vxInputArchive archive(stream);
            records.archive(archive);
        };
        if (limit < bytes.size()) {
            EXPECT_THROW(readAll(), vxArchive::EndOfData) << limit;
            EXPECT_STREQ(records.error.file(), "before");
        } else {
            EXPECT_NO_THROW(readAll());
        }
    }
}

TEST_P(StreamFailures, OfAFlushAreReported) {
    LimitedBuffer buffer("", 1000, false);
    std::ostream stream(&buffer);
    prepare(stream);
    vxOutputArchive archive(stream);
    archive.flush();
    buffer.failsSync = true;
    EXPECT_EQ(messageOf<vxArchive::WriteFailed>([&] { archive.flush(); }),
              "Write failed at byte 8, writing what the stream had kept back");
    expectEveryUseThrows<vxArchive::WriteFailed>(archive);
}

} // namespace archive_test
