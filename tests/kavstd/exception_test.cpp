#include "kavstd/archive.h"
#include "tests/support/failing_allocation.h"

#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <ostream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

namespace exception_test {

using failing_allocation::failEachAllocation;

constexpr std::size_t headerSize = 9;

/// Overrides nothing but what must be, and message_.
class Numbered : public vxException {
public:
    explicit Numbered(long number) : value(number) {}
    [[nodiscard]] long errorNumber() const override { return 17; }
    void suicideAndRethrow() override {
        const Numbered copy(*this);
        delete this;
        throw copy;
    }
    void message_(std::ostream& stream) const override { stream << "number " << value; }
    long value;
};

/// Has no message at all.
class Silent : public Numbered {
public:
    Silent() : Numbered(0) {}
    void message_(std::ostream& stream) const override { vxException::message_(stream); }
};

/// Fails to write its message.
class Broken : public Numbered {
public:
    Broken() : Numbered(0) {}
    void message_(std::ostream& stream) const override {
        if (throws) {
            throw 42;
        }
        stream.setstate(std::ios::failbit);
    }
    bool throws = false;
};

/// A concrete error, which tells when it is destroyed.
class Sample : public vx_ConcreteError<Sample, 0x10006299> {
public:
    using vx_ConcreteError::vx_ConcreteError;
    Sample(const Sample&) noexcept = default;
    Sample& operator=(const Sample&) noexcept = default;
    ~Sample() override { ++destroyed; }
    inline static int destroyed = 0;
};
const vx_Instantiator sample(typeid(Sample), Sample::make);

/// Says more than the text.
class Prefixed : public vx_ConcreteError<Prefixed, 1> {
public:
    using vx_ConcreteError::vx_ConcreteError;
    void message_(std::ostream& stream) const override {
        stream << "prefix: ";
        vxExceptionWithString::message_(stream);
    }
};

/// Archives a version of its own, then dispatches to the root of the exceptions, past vxExceptionWithString.
class Shortcut : public vx_ConcreteError<Shortcut, 2> {
public:
    using vx_ConcreteError::vx_ConcreteError;

protected:
    void dispatchSerialize(vxArchive& archive) override {
        if (haveVisited(archive, this, sizeof(*this))) {
            return;
        }
        unsigned char version = 0;
        archive || version;
        vxException::dispatchSerialize(archive);
        setVisited(archive, this, sizeof(*this));
    }
};

/// Dispatches to the root a second time, as another base would.
class TwoWays : public Shortcut {
public:
    using Shortcut::Shortcut;

protected:
    void dispatchSerialize(vxArchive& archive) override {
        Shortcut::dispatchSerialize(archive);
        vxException::dispatchSerialize(archive);
    }
};

std::string messageOf(const vxException& error) {
    std::ostringstream stream;
    error.message_(stream);
    return stream.str();
}

std::string stored(vxPersistent& object) {
    std::ostringstream stream;
    vxOutputArchive archive(stream);
    archive || object;
    return stream.str();
}

void load(const std::string& bytes, vxPersistent& object) {
    std::istringstream stream(bytes);
    vxInputArchive archive(stream);
    archive || object;
}

TEST(Exception, WhatIsTheMessageOfWhateverOverridesIt) {
    EXPECT_STREQ(Numbered(5).what(), "number 5");
    EXPECT_STREQ(Silent().what(), "exception_test::Silent");
    EXPECT_STREQ(Prefixed("text").what(), "prefix: text");
    EXPECT_STREQ(Sample("text").what(), "text");
}

TEST(Exception, WhatFollowsAChangedMessageAndOldTextsStay) {
    Numbered error(1);
    const char* first = error.what();
    EXPECT_EQ(error.what(), first);
    error.value = 2;
    const char* second = error.what();
    EXPECT_STREQ(second, "number 2");
    EXPECT_STREQ(first, "number 1");
    error = Numbered(1);
    EXPECT_EQ(error.what(), first);
    const Numbered copy(error);
    EXPECT_STREQ(copy.what(), "number 1");
    EXPECT_NE(copy.what(), first);
}

TEST(Exception, WhatDoesNotFollowTheGlobalLocale) {
    struct Grouping : std::numpunct<char> {
        [[nodiscard]] char do_thousands_sep() const override { return '\''; }
        [[nodiscard]] std::string do_grouping() const override { return "\3"; }
    };
    const std::locale before = std::locale::global(std::locale(std::locale::classic(), new Grouping));
    const Numbered error(1234567);
    EXPECT_STREQ(error.what(), "number 1234567");
    std::locale::global(before);
}

TEST(Exception, WhatHasATextWhenTheMessageFails) {
    Broken error;
    EXPECT_STREQ(error.what(), "The message is not available.");
    error.throws = true;
    EXPECT_STREQ(error.what(), "The message is not available.");
}

TEST(Exception, WhatHasATextWhenMemoryIsOut) {
    const Numbered number(5);
    const Sample text("a text that is longer than any small string");
    const Sample empty;
    const long failures = failEachAllocation(
        [&] {
            const char* what = Numbered(5).what();
            if (failing_allocation::control.failures > 0 &&
                std::string_view(what) != "The message is not available.") {
                throw 42;
            }
        },
        [](bool threw) { EXPECT_FALSE(threw); });
    EXPECT_GT(failures, 0);
    std::array<const char*, 3> texts{};
    {
        const failing_allocation::Scope scope(0, true);
        texts = {number.what(), text.what(), empty.what()};
    }
    EXPECT_STREQ(texts[0], "The message is not available.");
    EXPECT_STREQ(texts[1], "a text that is longer than any small string");
    EXPECT_STREQ(texts[2], "");
}

TEST(Exception, WhatMayBeAskedFromSeveralThreads) {
    const Numbered error(5);
    std::array<const char*, 4> first{};
    std::array<bool, 4> same{};
    std::vector<std::thread> threads;
    for (std::size_t t = 0; t < first.size(); ++t) {
        threads.emplace_back([&, t] {
            first[t] = error.what();
            same[t] = true;
            for (int i = 0; i < 2000; ++i) {
                same[t] = same[t] && std::string_view(error.what()) == "number 5";
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (std::size_t t = 0; t < first.size(); ++t) {
        EXPECT_STREQ(first[t], "number 5");
        EXPECT_TRUE(same[t]);
    }
}

TEST(Exception, IsCaughtAsEachOfItsBases) {
    EXPECT_THROW(throw Sample("x"), Sample);
    EXPECT_THROW(throw Sample("x"), vxExceptionWithString);
    EXPECT_THROW(throw Sample("x"), vxException);
    EXPECT_THROW(throw Sample("x"), vxPersistent);
    EXPECT_THROW(throw Sample("x"), std::exception);
}

TEST(ExceptionWithString, WritesItsMessage) {
    EXPECT_EQ(messageOf(Sample("some text")), "some text");
    EXPECT_EQ(messageOf(Sample()), "");
    EXPECT_EQ(messageOf(Sample(nullptr)), "");
    EXPECT_STREQ(Sample(nullptr).what(), "");
}

TEST(ExceptionWithString, CopiesShareTheTextAndDoNotThrow) {
    static_assert(std::is_nothrow_copy_constructible_v<Sample> && std::is_nothrow_copy_assignable_v<Sample>);
    static_assert(std::is_nothrow_copy_constructible_v<vxArchive::UnknownVersion> &&
                  std::is_nothrow_copy_assignable_v<vxArchive::UnknownVersion>);
    const Sample error("a text that is longer than any small string");
    Sample assigned;
    const failing_allocation::Scope scope(0, true);
    const Sample copy(error);
    assigned = copy;
    const bool allocated = scope.count() > 0;
    EXPECT_FALSE(allocated);
    EXPECT_STREQ(assigned.what(), error.what());
}

TEST(ExceptionWithString, NeedsNoMemoryForAnEmptyText) {
    const failing_allocation::Scope scope(0, true);
    EXPECT_NO_THROW(Sample(nullptr));
    EXPECT_NO_THROW(Sample(""));
}

TEST(ExceptionWithString, ArchivesItsPartsAndTheMessage) {
    Sample error("ab");
    // vxExceptionWithString 0, vxException 0, the length, the characters.
    EXPECT_EQ(stored(error).substr(headerSize), std::string("\0\0\2\0\0\0\0\0\0\0ab", 12));
    Sample copy("other");
    load(stored(error), copy);
    EXPECT_STREQ(copy.what(), "ab");
    Sample empty;
    load(stored(empty), copy);
    EXPECT_STREQ(copy.what(), "");
}

TEST(ExceptionWithString, TheMessageSurvivesHoweverADerivedErrorDispatches) {
    Shortcut error("a text that is longer than any small string");
    const std::string bytes = stored(error);
    Shortcut copy("before");
    for (std::size_t length = headerSize; length < bytes.size(); ++length) {
        EXPECT_THROW(load(bytes.substr(0, length), copy), vxArchive::EndOfData);
        EXPECT_STREQ(copy.what(), "before");
    }
    load(bytes, copy);
    EXPECT_STREQ(copy.what(), error.what());
}

TEST(Exception, IsArchivedOnceWhenDispatchedToTwice) {
    Shortcut once("a text");
    TwoWays twice("a text");
    EXPECT_EQ(stored(twice), stored(once));
}

TEST(ExceptionWithString, RefusesUnknownVersionsAndKeepsTheArchiveUsable) {
    Sample error("ab");
    const std::string bytes = stored(error);
    const std::array<const char*, 2> parts = {"vxExceptionWithString", "vxException"};
    for (std::size_t part = 0; part < parts.size(); ++part) {
        std::string changed = bytes;
        changed[headerSize + part] = 1;
        std::istringstream stream(changed);
        vxInputArchive archive(stream);
        Sample target("before");
        try {
            archive || target;
            ADD_FAILURE() << "not thrown";
        } catch (const vxArchive::UnknownVersion& unknown) {
            EXPECT_STREQ(unknown.file(), parts[part]);
            EXPECT_EQ(unknown.line(), 0);
        }
        EXPECT_STREQ(target.what(), "before");
        unsigned char next = 99;
        EXPECT_NO_THROW(archive || next);
        EXPECT_EQ(next, part == 0 ? 0 : 2);
    }
}

TEST(ExceptionWithString, RefusesAMessageThatNoneCanHave) {
    Sample error("ab");
    std::string bytes = stored(error);
    bytes.back() = '\0';
    Sample target("before");
    EXPECT_THROW(load(bytes, target), vxArchive::Malformed);
    EXPECT_STREQ(target.what(), "before");
}

TEST(ExceptionWithString, BelievesNoLengthBeforeTheCharactersAreThere) {
    Sample error("ab");
    std::string bytes = stored(error);
    bytes[headerSize + 2 + 6] = '\x7f'; // 2^54 characters and more.
    Sample target("before");
    std::size_t largest = 0;
    {
        const failing_allocation::Scope scope;
        EXPECT_THROW(load(bytes, target), vxArchive::EndOfData);
        largest = scope.largest();
    }
    EXPECT_LT(largest, 10000U);
    EXPECT_STREQ(target.what(), "before");
}

TEST(ExceptionWithString, ALoadThatFailsLeavesTheMessage) {
    Sample error("a text that is longer than any small string");
    const std::string bytes = stored(error);
    Sample target("before");
    for (std::size_t length = headerSize; length < bytes.size(); ++length) {
        EXPECT_THROW(load(bytes.substr(0, length), target), vxArchive::EndOfData);
        EXPECT_STREQ(target.what(), "before");
    }
    const long failures = failEachAllocation([&] { load(bytes, target); },
                                             [&](bool threw) {
                                                 EXPECT_TRUE(threw);
                                                 EXPECT_STREQ(target.what(), "before");
                                             });
    EXPECT_GT(failures, 5);
    EXPECT_STREQ(target.what(), error.what());
}

TEST(ConcreteError, HasItsNumber) {
    EXPECT_EQ(Sample().errorNumber(), 0x10006299);
    EXPECT_EQ(vxArchive::UnknownVersion().errorNumber(), 0x10006200);
    EXPECT_EQ(vxArchive::EndOfData().errorNumber(), 0x10006201);
    EXPECT_EQ(vxArchive::Malformed().errorNumber(), 0x10006202);
    EXPECT_EQ(vxArchive::UnknownType().errorNumber(), 0x10006203);
    EXPECT_EQ(vxArchive::WriteFailed().errorNumber(), 0x10006204);
}

TEST(ConcreteError, ThrowsItselfAgainAndFreesTheOriginal) {
    vxException* error = new Sample("thrown again");
    Sample::destroyed = 0;
    try {
        error->suicideAndRethrow();
        FAIL() << "not thrown";
    } catch (const Sample& again) {
        EXPECT_STREQ(again.what(), "thrown again");
        EXPECT_EQ(Sample::destroyed, 2); // The original and the local copy.
    }
    EXPECT_EQ(Sample::destroyed, 3);
}

TEST(ConcreteError, CrossesAnArchiveByPointer) {
    Sample error("across");
    std::stringstream stream;
    vxPersistent* pointer = &error;
    vxOutputArchive output(stream);
    output || pointer;
    vxInputArchive input(stream);
    vxPersistent* object = nullptr;
    input || object;
    auto* loaded = dynamic_cast<vxException*>(object);
    ASSERT_NE(loaded, nullptr);
    EXPECT_EQ(loaded->errorNumber(), 0x10006299);
    EXPECT_THROW(loaded->suicideAndRethrow(), Sample);
}

template <class Error>
class ArchiveError : public testing::Test {};
using ArchiveErrors = testing::Types<vxArchive::UnknownVersion, vxArchive::EndOfData, vxArchive::Malformed,
                                     vxArchive::UnknownType, vxArchive::WriteFailed>;
TYPED_TEST_SUITE(ArchiveError, ArchiveErrors);

TYPED_TEST(ArchiveError, CrossesAnArchiveByPointer) {
    TypeParam error("a message");
    std::stringstream stream;
    vxPersistent* pointer = &error;
    vxOutputArchive output(stream);
    output || pointer;
    vxInputArchive input(stream);
    vxPersistent* object = nullptr;
    input || object;
    try {
        dynamic_cast<vxException&>(*object).suicideAndRethrow();
        FAIL() << "not thrown";
    } catch (const TypeParam& loaded) {
        EXPECT_STREQ(loaded.what(), error.what());
        EXPECT_EQ(loaded.errorNumber(), error.errorNumber());
    }
}

TEST(UnknownVersion, KeepsFileAndLine) {
    const vxArchive::UnknownVersion error("filt/fft", 572);
    EXPECT_STREQ(error.file(), "filt/fft");
    EXPECT_EQ(error.line(), 572);
    EXPECT_STREQ(error.what(), "Unknown version (filt/fft:572)");
    const vxArchive::UnknownVersion none(nullptr, 0);
    EXPECT_EQ(none.file(), nullptr);
    EXPECT_EQ(none.line(), 0);
    EXPECT_STREQ(none.what(), "Unknown version");
    const vxArchive::UnknownVersion empty("", 3);
    EXPECT_STREQ(empty.file(), "");
    vxArchive::UnknownVersion copy(none);
    copy = error;
    EXPECT_STREQ(copy.file(), "filt/fft");
    EXPECT_EQ(copy.line(), 572);
}

TEST(UnknownVersion, ArchivesFileAndLineToo) {
    for (const char* file : {"filt/fft", "", static_cast<const char*>(nullptr)}) {
        vxArchive::UnknownVersion error(file, -5);
        vxArchive::UnknownVersion copy("before", 1);
        load(stored(error), copy);
        EXPECT_STREQ(copy.file(), file);
        EXPECT_EQ(copy.line(), -5);
        EXPECT_STREQ(copy.what(), error.what());
    }
}

TEST(UnknownVersion, IsWrittenOncePerPass) {
    vxArchive::UnknownVersion error("f", 1);
    std::ostringstream stream;
    vxOutputArchive archive(stream);
    archive || error || error;
    EXPECT_EQ(stream.str(), stored(error));
}

/// Loads an error in place and then fails.
class Failing : public vxPersistent {
public:
    explicit Failing(vxPersistent& error) : error_(error) {}

protected:
    void dispatchSerialize(vxArchive& archive) override {
        archive || error_;
        throw std::runtime_error("fails");
    }

private:
    vxPersistent& error_;
};

TEST(UnknownVersion, IsTakenBackWithTheObjectThatItBelongsTo) {
    vxArchive::UnknownVersion error("f", 1);
    const std::string bytes = stored(error);
    for (const char* file : {"before", static_cast<const char*>(nullptr)}) {
        vxArchive::UnknownVersion target(file, 7);
        const std::string what = target.what();
        Failing owner(target);
        EXPECT_THROW(load(bytes, owner), std::runtime_error);
        EXPECT_STREQ(target.file(), file);
        EXPECT_EQ(target.line(), 7);
        EXPECT_EQ(target.what(), what);
    }
}

TEST(ExceptionWithString, IsWrittenOncePerPass) {
    Sample error("text");
    std::ostringstream stream;
    vxOutputArchive archive(stream);
    archive || error || error;
    EXPECT_EQ(stream.str(), stored(error));
}

TEST(UnknownVersion, ALoadThatFailsLeavesItAsItWas) {
    vxArchive::UnknownVersion error("a file name that is longer than any small string", 9);
    const std::string bytes = stored(error);
    vxArchive::UnknownVersion target("before", 1);
    const auto expectBefore = [&] {
        EXPECT_STREQ(target.file(), "before");
        EXPECT_EQ(target.line(), 1);
        EXPECT_STREQ(target.what(), "Unknown version (before:1)");
    };
    for (std::size_t length = headerSize; length < bytes.size(); ++length) {
        EXPECT_THROW(load(bytes.substr(0, length), target), vxArchive::EndOfData);
        expectBefore();
    }
    std::string changed = bytes;
    changed[headerSize] = 1;
    EXPECT_THROW(load(changed, target), vxArchive::UnknownVersion);
    expectBefore();
    const long failures = failEachAllocation([&] { load(bytes, target); },
                                             [&](bool threw) {
                                                 EXPECT_TRUE(threw);
                                                 expectBefore();
                                             });
    EXPECT_GT(failures, 8);
    EXPECT_STREQ(target.file(), error.file());
    EXPECT_EQ(target.line(), 9);
}

} // namespace exception_test
