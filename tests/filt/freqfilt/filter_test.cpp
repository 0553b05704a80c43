// The base, through a filter of a user's own.
#include "filt/freqfilt/filter.h"

#include "tests/support/failing_allocation.h"
#include "tests/support/filters.h"
#include "tests/support/frequency_buffers.h"
#include "tests/support/frequency_errors.h"

#include <gtest/gtest.h>

#include <memory>
#include <typeinfo>

namespace filter_test {
/// Scales a spectrum by one gain. A gain below 0 cannot be loaded.
class Scale : public vxFrequencyFilter {
public:
    Scale() = default;
    explicit Scale(float gain) : gain_(gain) { initialized_ = true; }
    Scale(const Scale& other) : vxPersistent(), vxRepBase(), vxFrequencyFilter(other), gain_(other.gain_) {}
    Scale& operator=(const Scale& other) = default;

    [[nodiscard]] vxFrequencyFilter* clone() const override { return new Scale(*this); }
    [[nodiscard]] float gain() const { return gain_; }

    void apply(const vxFrequencyBuffer& in, vxFrequencyBuffer& out) const override {
        setAndAllocateFrequencyBuffer(out, in.width(), in.height());
        multiply(in, out);
    }
    void apply(vxFrequencyBuffer& buffer) const override { multiply(buffer, buffer); }

    using vxFrequencyFilter::getFrequencyBufferData;
    using vxFrequencyFilter::maskFrequencyBuffer;
    using vxFrequencyFilter::setAndAllocateFrequencyBuffer;

    void serializeBase(vxArchive& archive, unsigned char version) {
        vxFrequencyFilter::serialize_(archive, version);
    }
    void dispatchBase(vxArchive& archive) { vxFrequencyFilter::dispatchSerialize(archive); }
    void serialize_(vxArchive& archive, unsigned char version) override {
        if (version != 0) {
            throw vxArchive::UnknownVersion("filter_test", __LINE__);
        }
        vxFrequencyFilter::dispatchSerialize(archive);
        float gain = gain_;
        archive || gain;
        if (gain < 0.0F) {
            archive.refuse("a gain");
        }
        gain_ = gain;
    }

protected:
    void dispatchSerialize(vxArchive& archive) override {
        if (haveVisited(archive, this, sizeof(Scale))) {
            return;
        }
        unsigned char version = 0;
        archive || version;
        serialize_(archive, version);
        setVisited(archive, this, sizeof(Scale));
    }

private:
    static vxPersistent* make() { return new Scale; }
    static const vx_Instantiator sExemplar;

    void multiply(const vxFrequencyBuffer& in, vxFrequencyBuffer& out) const {
        maskFrequencyBuffer(out, true, 1, 2);
        const float* from = getFrequencyBufferData(in);
        float* to = getFrequencyBufferData(out);
        for (long i = 0; i < in.width() * in.height() * 2; ++i) {
            to[i] = from[i] * gain_;
        }
    }

    float gain_ = 1.0F;
};
const vx_Instantiator Scale::sExemplar(typeid(Scale), &Scale::make);
} // namespace filter_test

namespace {
using filter_test::Scale;
using support::BufferState;
using support::filled;
using support::loadObject;
using support::storeObject;

TEST(FrequencyFilter, CopiesTheInitializedState) {
    Scale unbuilt;
    Scale built(2.0F);
    EXPECT_FALSE(unbuilt.isInitialized());
    EXPECT_TRUE(built.isInitialized());
    EXPECT_TRUE(Scale(built).isInitialized());
    EXPECT_FALSE(Scale(unbuilt).isInitialized());
    Scale assigned;
    EXPECT_EQ(&(assigned = built), &assigned);
    EXPECT_TRUE(assigned.isInitialized());
    assigned = unbuilt;
    EXPECT_FALSE(assigned.isInitialized());
}

TEST(FrequencyFilter, CopiesStartWithACountOfTheirOwn) {
    auto* filter = new Scale(2.0F);
    filter->addReference();
    vxFrequencyFilter* copy = filter->clone();
    EXPECT_EQ(copy->referenceCount(), 0);
    filter->removeReference();
    copy->addReference();
    copy->removeReference();
}

TEST(FrequencyFilter, AUsersFilterIsAppliedThroughTheBase) {
    const std::unique_ptr<vxFrequencyFilter> filter(Scale(2.0F).clone());
    vxFrequencyBuffer in = filled(8, 4, 1);
    vxFrequencyBuffer out;
    filter->apply(in, out);
    EXPECT_EQ(out.getReal(3, 2, false), 2.0 * in.getReal(3, 2, false));
    EXPECT_EQ(BufferState(out).masked, 1);
    EXPECT_EQ(BufferState(out).maskedMiny, 1);
    EXPECT_EQ(BufferState(out).maskedMaxy, 2);
    filter->apply(in);
    EXPECT_TRUE(support::samplesOf(in) == support::samplesOf(out));
}

TEST(FrequencyFilter, HelpersReachTheBuffer) {
    vxFrequencyBuffer buffer;
    const vxFrequencyBuffer& constBuffer = buffer;
    EXPECT_EQ(Scale::getFrequencyBufferData(buffer), nullptr);
    EXPECT_EQ(Scale::getFrequencyBufferData(constBuffer), nullptr);
    Scale::setAndAllocateFrequencyBuffer(buffer, 5, 3);
    EXPECT_EQ(buffer.width(), 8);
    EXPECT_EQ(buffer.height(), 4);
    EXPECT_NE(Scale::getFrequencyBufferData(buffer), nullptr);
    EXPECT_EQ(Scale::getFrequencyBufferData(constBuffer), Scale::getFrequencyBufferData(buffer));
    Scale::maskFrequencyBuffer(buffer, true, -7, 70);
    EXPECT_EQ(BufferState(buffer).masked, 1);
    EXPECT_EQ(BufferState(buffer).maskedMiny, -7);
    EXPECT_EQ(BufferState(buffer).maskedMaxy, 70);
    Scale::maskFrequencyBuffer(buffer, false, 0, 0);
    EXPECT_EQ(BufferState(buffer).masked, 0);
}

TEST(FrequencyFilter, AUsersFilterIsArchivedByPointer) {
    Scale filter(3.0F);
    const std::string bytes = support::storePointer(&filter);
    EXPECT_NE(bytes.find("filter_test::Scale"), std::string::npos);
    const std::unique_ptr<vxPersistent> loaded(support::loadPointer(bytes));
    auto& scale = dynamic_cast<Scale&>(*loaded);
    EXPECT_TRUE(scale.isInitialized());
    EXPECT_EQ(scale.gain(), 3.0F);
    vxFrequencyBuffer buffer = filled(2, 2, 1);
    const double before = buffer.getReal(1, 1, false);
    dynamic_cast<vxFrequencyFilter&>(*loaded).apply(buffer);
    EXPECT_FLOAT_EQ(static_cast<float>(buffer.getReal(1, 1, false)), static_cast<float>(before) * 3.0F);
}

// The base's part is loaded first; when the rest is refused, it is taken back.
TEST(FrequencyFilter, ARefusedPartTakesTheBaseBack) {
    Scale good(3.0F);
    std::string bytes = storeObject(good);
    bytes.back() =
        static_cast<char>(static_cast<unsigned char>(bytes.back()) | 0x80U); // The sign of the gain.
    Scale target;
    EXPECT_THROW(loadObject(target, bytes), vxArchive::Malformed);
    EXPECT_FALSE(target.isInitialized());
    for (std::size_t length = 0; length < bytes.size(); ++length) {
        EXPECT_THROW(loadObject(target, bytes.substr(0, length)), vxArchive::EndOfData);
        EXPECT_FALSE(target.isInitialized());
    }
    const std::string goodBytes = storeObject(good);
    failing_allocation::failEachAllocation([&] { loadObject(target, goodBytes); },
                                           [&](bool threw) {
                                               EXPECT_TRUE(threw);
                                               EXPECT_FALSE(target.isInitialized());
                                           });
    EXPECT_TRUE(target.isInitialized());
}

TEST(FrequencyFilter, UnknownVersionOfTheBase) {
    Scale filter(1.0F);
    std::ostringstream stream;
    vxOutputArchive archive(stream);
    const std::string header = stream.str();
    try {
        filter.serializeBase(archive, 1);
        ADD_FAILURE();
    } catch (const vxArchive::UnknownVersion& error) {
        EXPECT_STREQ(error.file(), "filt/freqfilt");
        EXPECT_GT(error.line(), 0);
    }
    EXPECT_EQ(stream.str(), header);
}

TEST(FrequencyFilter, ArchivedTwiceInOnePassIsWrittenOnce) {
    Scale filter(3.0F);
    std::ostringstream stream;
    vxOutputArchive archive(stream);
    vxPersistent& object = filter;
    archive || object || object;
    EXPECT_EQ(stream.str(), storeObject(filter));
}

// A version byte and the flag.
TEST(FrequencyFilter, TheBasesPartIsWrittenOnceInAPass) {
    Scale filter(3.0F);
    std::ostringstream stream;
    vxOutputArchive archive(stream);
    const std::size_t header = stream.str().size();
    filter.dispatchBase(archive);
    EXPECT_EQ(stream.str().substr(header), std::string("\0\1", 2));
    filter.dispatchBase(archive);
    EXPECT_EQ(stream.str().size(), header + 2);
}
} // namespace
