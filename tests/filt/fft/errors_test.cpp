#include "filt/fft/errors.h"

#include "filt/fft/frequency_buffer.h"
#include "kavstd/archive.h"
#include "tests/support/failing_allocation.h"
#include "tests/support/frequency_errors.h"

#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <string>
#include <type_traits>
#include <typeinfo>

namespace {
using Defs = vxFrequencyDefs;

template <class Error>
constexpr const char* nameOf = nullptr;
template <>
constexpr const char* nameOf<Defs::InvalidArgument> = "vxFrequencyDefs::InvalidArgument";
template <>
constexpr const char* nameOf<Defs::Uninitialized> = "vxFrequencyDefs::Uninitialized";
template <>
constexpr const char* nameOf<Defs::InvalidSize> = "vxFrequencyDefs::InvalidSize";
template <>
constexpr const char* nameOf<Defs::UnboundWindow> = "vxFrequencyDefs::UnboundWindow";
template <>
constexpr const char* nameOf<Defs::InvalidBuffer> = "vxFrequencyDefs::InvalidBuffer";
template <>
constexpr const char* nameOf<Defs::BadCoord> = "vxFrequencyDefs::BadCoord";

std::string messageOf(const vxException& error) {
    std::ostringstream stream;
    error.message_(stream);
    return stream.str();
}

// The bytes of an object by pointer.
std::string stored(vxPersistent* object) {
    std::ostringstream stream;
    vxOutputArchive archive(stream);
    archive || object;
    return stream.str();
}

std::unique_ptr<vxPersistent> loaded(const std::string& bytes) {
    std::istringstream stream(bytes);
    vxInputArchive archive(stream);
    vxPersistent* object = nullptr;
    archive || object;
    return std::unique_ptr<vxPersistent>(object);
}

// The bytes of an archive that holds just these.
std::string archived(std::initializer_list<unsigned char> values) {
    std::ostringstream stream;
    vxOutputArchive archive(stream);
    for (unsigned char value : values) {
        archive || value;
    }
    return stream.str();
}

template <class Error>
class ErrorClass : public testing::Test {};
using ErrorClasses = testing::Types<Defs::InvalidArgument, Defs::Uninitialized, Defs::InvalidSize,
                                    Defs::UnboundWindow, Defs::InvalidBuffer, Defs::BadCoord>;
TYPED_TEST_SUITE(ErrorClass, ErrorClasses);

TEST(Errors, numbers) {
    EXPECT_EQ(Defs::InvalidArgument().errorNumber(), 268460800);
    EXPECT_EQ(Defs::Uninitialized().errorNumber(), 268460801);
    EXPECT_EQ(Defs::InvalidSize().errorNumber(), 268460802);
    EXPECT_EQ(Defs::UnboundWindow().errorNumber(), 268460803);
    EXPECT_EQ(Defs::InvalidBuffer().errorNumber(), 268460804);
    EXPECT_EQ(Defs::BadCoord("x").errorNumber(), 268460805);
}

TEST(Errors, baseIsAbstractAndAddsNothing) {
    static_assert(std::is_abstract_v<Defs::Errors>);
    static_assert(std::is_base_of_v<vxExceptionWithString, Defs::Errors>);
    static_assert(!std::is_constructible_v<Defs::Errors, const char*>);
    static_assert(sizeof(Defs::Errors) == sizeof(vxExceptionWithString));
}

TEST(Errors, scopeHasNoDataAndIsAssignable) {
    static_assert(std::is_empty_v<Defs>);
    static_assert(std::is_copy_assignable_v<Defs>);
    Defs a;
    const Defs b;
    EXPECT_EQ(&(a = b), &a);
}

TEST(Errors, mappingIsAnUnscopedIntEnumeration) {
    static_assert(std::is_same_v<std::underlying_type_t<Defs::FrequencyMapping>, int>);
    static_assert(std::is_convertible_v<Defs::FrequencyMapping, int>);
    EXPECT_EQ(Defs::eClip, 0);
    EXPECT_EQ(Defs::eLinear, 1);
    EXPECT_EQ(Defs::eLinearRange, 2);
    EXPECT_EQ(Defs::eLogarithmic, 3);
    EXPECT_EQ(Defs::eAngle, 4);
}

TYPED_TEST(ErrorClass, derivesFromErrorsAndAddsNothing) {
    static_assert(std::is_base_of_v<Defs::Errors, TypeParam>);
    static_assert(std::is_convertible_v<TypeParam*, Defs::Errors*>);
    static_assert(sizeof(TypeParam) == sizeof(vxExceptionWithString));
    static_assert(std::has_virtual_destructor_v<TypeParam>);
    static_assert(std::is_nothrow_copy_constructible_v<TypeParam>);
    static_assert(std::is_nothrow_copy_assignable_v<TypeParam>);
}

TYPED_TEST(ErrorClass, holdsItsMessage) {
    EXPECT_EQ(messageOf(TypeParam("a text")), "a text");
    EXPECT_STREQ(TypeParam("a text").what(), "a text");
    EXPECT_EQ(messageOf(TypeParam(nullptr)), "");
    EXPECT_EQ(messageOf(TypeParam()), "");
    EXPECT_STREQ(TypeParam().what(), "");
}

TYPED_TEST(ErrorClass, mayBeDerivedFrom) {
    class Derived : public TypeParam {
    public:
        using TypeParam::TypeParam;
    };
    try {
        throw Derived("a text");
    } catch (const TypeParam& error) {
        EXPECT_STREQ(error.what(), "a text");
        EXPECT_EQ(error.errorNumber(), TypeParam().errorNumber());
    }
    EXPECT_STREQ(Derived().what(), "");
}

TYPED_TEST(ErrorClass, copiesAndAssignments) {
    const TypeParam first("first");
    TypeParam copy(first);
    EXPECT_EQ(messageOf(copy), "first");
    const TypeParam second("second");
    EXPECT_EQ(&(copy = second), &copy);
    EXPECT_EQ(messageOf(copy), "second");
    EXPECT_EQ(messageOf(first), "first");
}

template <class Base, class Error>
void expectCaughtAs() {
    try {
        throw Error("caught");
    } catch (const Base& error) {
        EXPECT_EQ(typeid(error), typeid(Error));
        return;
    } catch (...) {
    }
    ADD_FAILURE() << "not caught as its base";
}

TYPED_TEST(ErrorClass, isCaughtAsEveryBase) {
    expectCaughtAs<TypeParam, TypeParam>();
    expectCaughtAs<Defs::Errors, TypeParam>();
    expectCaughtAs<vxExceptionWithString, TypeParam>();
    expectCaughtAs<vxException, TypeParam>();
    expectCaughtAs<vxPersistent, TypeParam>();
    expectCaughtAs<std::exception, TypeParam>();
}

// Thrown within the shared library, caught here.
template <class Base>
void expectCaughtFromTheLibrary() {
    try {
        static_cast<void>(vxFrequencyBuffer().width());
    } catch (const Base& error) {
        EXPECT_EQ(typeid(error), typeid(Defs::Uninitialized));
        return;
    } catch (...) {
    }
    ADD_FAILURE() << "not caught as its base";
}

TEST(Errors, crossTheLibraryBoundaryAsEveryBase) {
    expectCaughtFromTheLibrary<Defs::Uninitialized>();
    expectCaughtFromTheLibrary<Defs::Errors>();
    expectCaughtFromTheLibrary<vxExceptionWithString>();
    expectCaughtFromTheLibrary<vxException>();
    expectCaughtFromTheLibrary<vxPersistent>();
    expectCaughtFromTheLibrary<std::exception>();
}

TYPED_TEST(ErrorClass, isRebuiltThroughTheRegistry) {
    TypeParam error("survives");
    const std::string bytes = stored(&error);
    EXPECT_NE(bytes.find(nameOf<TypeParam>), std::string::npos);
    const std::unique_ptr<vxPersistent> rebuilt = loaded(bytes);
    ASSERT_NE(rebuilt, nullptr);
    const vxPersistent& object = *rebuilt;
    ASSERT_EQ(typeid(object), typeid(TypeParam));
    EXPECT_EQ(messageOf(dynamic_cast<const TypeParam&>(object)), "survives");
}

TYPED_TEST(ErrorClass, emptyMessageIsRebuilt) {
    TypeParam error;
    const std::unique_ptr<vxPersistent> rebuilt = loaded(stored(&error));
    ASSERT_NE(rebuilt, nullptr);
    EXPECT_EQ(messageOf(dynamic_cast<TypeParam&>(*rebuilt)), "");
}

// Counts its living objects.
template <class Error>
class Counted : public Error {
public:
    explicit Counted(const char* message) : Error(message) { ++living; }
    Counted(const Counted& other) : Error(other) { ++living; }
    Counted& operator=(const Counted&) = default;
    ~Counted() override { --living; }
    static inline int living = 0;
};

TYPED_TEST(ErrorClass, suicideThrowsACopyAndDeletesThis) {
    vxException* error = new Counted<TypeParam>("again");
    ASSERT_EQ(Counted<TypeParam>::living, 1);
    support::expectError<TypeParam>([&] { error->suicideAndRethrow(); }, "again");
    EXPECT_EQ(Counted<TypeParam>::living, 0);
}

TYPED_TEST(ErrorClass, suicideOfARebuiltError) {
    TypeParam original("across a boundary");
    std::unique_ptr<vxPersistent> rebuilt = loaded(stored(&original));
    auto* error = dynamic_cast<vxException*>(rebuilt.get());
    ASSERT_NE(error, nullptr);
    static_cast<void>(rebuilt.release());
    support::expectError<TypeParam>([&] { error->suicideAndRethrow(); }, "across a boundary");
}

// Loads an object in place from a record that starts with the class's version byte and then that of Errors.
template <class Error>
void expectUnknownVersion(const std::string& bytes, const char* name) {
    std::istringstream stream(bytes);
    vxInputArchive archive(stream);
    Error error("untouched");
    try {
        archive || error;
        ADD_FAILURE() << "the version was accepted";
    } catch (const vxArchive::UnknownVersion& unknown) {
        EXPECT_STREQ(unknown.file(), name);
        EXPECT_EQ(unknown.line(), 0);
    }
    EXPECT_EQ(messageOf(error), "untouched");
}

TYPED_TEST(ErrorClass, refusesUnknownVersions) {
    for (int version = 1; version < 256; ++version) {
        expectUnknownVersion<TypeParam>(archived({static_cast<unsigned char>(version)}), nameOf<TypeParam>);
    }
}

TYPED_TEST(ErrorClass, refusesUnknownVersionsOfItsBase) {
    for (int version = 1; version < 256; ++version) {
        expectUnknownVersion<TypeParam>(archived({0, static_cast<unsigned char>(version)}),
                                        "vxFrequencyDefs::Errors");
    }
}

TYPED_TEST(ErrorClass, isStoredOncePerPass) {
    std::ostringstream stream;
    vxOutputArchive archive(stream);
    TypeParam error("once");
    archive || error;
    const std::string once = stream.str();
    archive || error;
    EXPECT_EQ(stream.str(), once);
    TypeParam other("twice");
    archive || other;
    EXPECT_GT(stream.str().size(), once.size());

    std::istringstream input(stream.str());
    vxInputArchive in(input);
    TypeParam first;
    TypeParam second;
    in || first || first || second;
    EXPECT_EQ(messageOf(first), "once");
    EXPECT_EQ(messageOf(second), "twice");
}

TYPED_TEST(ErrorClass, truncatedArchivesAreRefused) {
    TypeParam error("cut short");
    const std::string bytes = stored(&error);
    for (std::size_t length = 0; length < bytes.size(); ++length) {
        EXPECT_THROW(static_cast<void>(loaded(bytes.substr(0, length))), vxArchive::EndOfData) << length;
    }
}

TEST(Errors, corruptArchivesDoNoHarm) {
    Defs::BadCoord error("k");
    const std::string bytes = stored(&error);
    for (std::size_t at = 0; at < bytes.size(); ++at) {
        for (int value = 0; value < 256; ++value) {
            std::string changed = bytes;
            changed[at] = static_cast<char>(value);
            try {
                const std::unique_ptr<vxPersistent> object = loaded(changed);
                // What loads is null or a whole object.
                if (object != nullptr) {
                    EXPECT_LE(messageOf(dynamic_cast<vxException&>(*object)).size(), 1U);
                }
            } catch (const vxExceptionWithString&) {
            }
        }
    }
}

TYPED_TEST(ErrorClass, failingAllocationsLeaveNothingBehind) {
    TypeParam error("enough text to need memory of its own, whatever the library keeps within a string");
    const std::string bytes = stored(&error);
    std::istringstream stream;
    vxPersistent* object = nullptr;
    const long failures = failing_allocation::failEachAllocation(
        [&] {
            stream.clear();
            stream.str(bytes);
            vxInputArchive archive(stream);
            archive || object;
        },
        [&](bool threw) {
            EXPECT_TRUE(threw);
            EXPECT_EQ(object, nullptr);
        });
    EXPECT_GT(failures, 0);
    ASSERT_NE(object, nullptr);
    EXPECT_EQ(messageOf(dynamic_cast<TypeParam&>(*object)), messageOf(error));
    delete object;
}
} // namespace
