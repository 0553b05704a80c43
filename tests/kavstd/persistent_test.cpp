#include "kavstd/archive.h"

#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <new>
#include <optional>
#include <sstream>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

// Types of the tests have the names that the archive is expected to use, so they are not in an unnamed
// namespace.
namespace persistent_test {

/// Its state is one byte.
class Byte : public vxPersistent {
public:
    explicit Byte(unsigned char value = 0) noexcept : value_(value) {}
    unsigned char value() const noexcept { return value_; }
    static vxPersistent* make() { return new Byte; }
    static vxPersistent* makeTwentyTwo() { return new Byte(22); }

protected:
    void dispatchSerialize(vxArchive& archive) override { archive || value_; }

private:
    unsigned char value_;
};

/// Never registered by a test that does not say so.
class Stranger : public Byte {
public:
    static vxPersistent* make() { return new Stranger; }
};

/// Two classes deep, each with a part that is archived once.
class Base : public vxPersistent {
public:
    int dispatches = 0;
    int reInits = 0;
    void reInit() override { ++reInits; }
    void dispatchBase(vxArchive& archive) { Base::dispatchSerialize(archive); }
    using vxPersistent::haveVisited;
    using vxPersistent::mutating;
    using vxPersistent::setVisited;

protected:
    void dispatchSerialize(vxArchive& archive) override {
        if (haveVisited(archive, this, sizeof(Base))) {
            return;
        }
        ++dispatches;
        unsigned char version = 1;
        archive || version;
        setVisited(archive, this, sizeof(Base));
    }
};

class Derived : public Base {
public:
    long extra = 0;
    void dispatch(vxArchive& archive) { dispatchSerialize(archive); }

protected:
    void dispatchSerialize(vxArchive& archive) override {
        if (haveVisited(archive, this, sizeof(Derived))) {
            return;
        }
        ++dispatches;
        unsigned char version = 2;
        archive || version;
        Base::dispatchSerialize(archive);
        setVisited(archive, this, sizeof(Derived));
    }
};

constexpr std::size_t headerSize = 9;

std::string stored(vxPersistent* object) {
    std::ostringstream stream;
    vxOutputArchive archive(stream);
    archive || object;
    return stream.str().substr(headerSize);
}

vxPersistent* loaded(const std::string& bytes) {
    std::istringstream stream(bytes);
    vxInputArchive archive(stream);
    vxPersistent* object = nullptr;
    archive || object;
    return object;
}

std::string archiveOf(vxPersistent* object) {
    std::ostringstream stream;
    vxOutputArchive archive(stream);
    archive || object;
    return stream.str();
}

// Uses the registry while static objects are still being made, before the exemplar below this line exists,
// and after.
struct EarlyUse {
    bool unknownBefore = false;
    unsigned char value = 0;
    EarlyUse() {
        Byte byte(7);
        try {
            archiveOf(&byte);
        } catch (const vxArchive::UnknownType&) {
            unknownBefore = true;
        }
        const vx_Instantiator exemplar(typeid(Byte), Byte::make);
        const std::unique_ptr<vxPersistent> copy(loaded(archiveOf(&byte)));
        value = dynamic_cast<const Byte&>(*copy).value();
    }
};
const EarlyUse earlyUse;
// Lives on into the destruction of static objects; the registry outlives it.
const vx_Instantiator byteExemplar(typeid(Byte), Byte::make);

TEST(Registry, WorksWhileStaticObjectsAreBeingMade) {
    EXPECT_TRUE(earlyUse.unknownBefore);
    EXPECT_EQ(earlyUse.value, 7);
}

TEST(Registry, NamesTypesAsTheyAreWritten) {
    Byte byte(5);
    const std::string name = "persistent_test::Byte";
    const std::string length = {static_cast<char>(name.size()), 0, 0, 0, 0, 0, 0, 0};
    EXPECT_EQ(stored(&byte), '\1' + length + name + '\5');
}

TEST(Registry, TheLatestOfSeveralFactoriesServesWhileItLives) {
    Byte byte(5);
    const std::string bytes = archiveOf(&byte).substr(0, headerSize + 1 + 8 + 21) + '\5';
    auto make = std::make_unique<vx_Instantiator>(typeid(Byte), Byte::makeTwentyTwo);
    auto another = std::make_unique<vx_Instantiator>(typeid(Byte), []() -> vxPersistent* { return nullptr; });
    EXPECT_THROW(loaded(bytes), std::bad_alloc);
    make.reset(); // Not the latest: only its own entry goes.
    EXPECT_THROW(loaded(bytes), std::bad_alloc);
    another.reset();
    const std::unique_ptr<vxPersistent> object(loaded(bytes));
    EXPECT_EQ(dynamic_cast<Byte&>(*object).value(), 5);
}

TEST(Registry, ForgetsATypeWithItsLastInstantiator) {
    Stranger stranger;
    {
        const vx_Instantiator exemplar(typeid(Stranger), Stranger::make);
        EXPECT_FALSE(stored(&stranger).empty());
    }
    EXPECT_THROW(stored(&stranger), vxArchive::UnknownType);
}

TEST(Registry, RefusesAMissingFactory) {
    EXPECT_THROW(vx_Instantiator(typeid(Stranger), nullptr), std::logic_error);
    Stranger stranger;
    EXPECT_THROW(stored(&stranger), vxArchive::UnknownType);
}

TEST(Registry, IsReadWhileOthersRegister) {
    Byte byte(9);
    const std::string bytes = archiveOf(&byte);
    std::array<long, 3> good{};
    std::vector<std::thread> threads;
    for (long& count : good) {
        threads.emplace_back([&bytes, &count] {
            for (int i = 0; i < 300; ++i) {
                const std::unique_ptr<vxPersistent> object(loaded(bytes));
                count += dynamic_cast<Byte&>(*object).value() == 9 ? 1 : 0;
            }
        });
    }
    threads.emplace_back([] {
        for (int i = 0; i < 3000; ++i) {
            const vx_Instantiator stranger(typeid(Stranger), Stranger::make);
            const vx_Instantiator again(typeid(Byte), Byte::make);
        }
    });
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(good, (std::array<long, 3>{300, 300, 300}));
}

TEST(Marks, AnObjectInPlaceIsWrittenOncePerPass) {
    Derived object;
    std::ostringstream stream;
    vxOutputArchive archive(stream);
    archive || object || object;
    EXPECT_EQ(stream.str().substr(headerSize), "\2\1");
    EXPECT_EQ(object.dispatches, 2);
    EXPECT_EQ(object.reInits, 0);

    std::ostringstream other;
    vxOutputArchive nextPass(other);
    nextPass || object;
    EXPECT_EQ(other.str().substr(headerSize), "\2\1");
}

TEST(Marks, ALoadMirrorsTheStore) {
    Derived source;
    std::stringstream stream;
    long end = 1234;
    vxOutputArchive output(stream);
    output || source || source || end;
    Derived object;
    long loadedEnd = 0;
    vxInputArchive input(stream);
    input || object || object || loadedEnd;
    EXPECT_EQ(loadedEnd, 1234);
    EXPECT_EQ(object.dispatches, 2);
    EXPECT_EQ(object.reInits, 2);
}

TEST(Marks, BelongToTheObjectAndNotToItsAddress) {
    std::stringstream stream;
    vxOutputArchive archive(stream);
    alignas(Derived) std::array<unsigned char, sizeof(Derived)> memory;
    for (int i = 0; i < 3; ++i) {
        Derived* object = new (memory.data()) Derived;
        archive || *object || *object;
        object->~Derived();
    }
    EXPECT_EQ(stream.str().substr(headerSize), "\2\1\2\1\2\1");
}

TEST(Marks, ACopyIsANewObjectAndAnAssignedToOneStaysItself) {
    std::stringstream stream;
    vxOutputArchive archive(stream);
    Derived object;
    archive || object;
    Derived copy(object);
    archive || copy;
    copy = object;
    archive || copy || object;
    EXPECT_EQ(stream.str().substr(headerSize), "\2\1\2\1");
    static_assert(std::is_nothrow_copy_constructible_v<Byte> && std::is_nothrow_copy_assignable_v<Byte>);
}

TEST(Marks, ABasePartThatWasVisitedAloneIsNotWrittenAgain) {
    std::stringstream stream;
    vxOutputArchive archive(stream);
    Derived object;
    // Without an object in place, parts are told apart by address and size only.
    object.dispatchBase(archive);
    object.dispatch(archive);
    EXPECT_EQ(stream.str().substr(headerSize), "\1\2");
}

TEST(Marks, DistinguishAddressSizeAndPass) {
    std::stringstream stream;
    vxOutputArchive archive(stream);
    vxOutputArchive other(stream);
    const std::array<char, 2> parts{};
    EXPECT_FALSE(Base::haveVisited(archive, &parts[0], 1));
    Base::setVisited(archive, &parts[0], 1);
    EXPECT_TRUE(Base::haveVisited(archive, &parts[0], 1));
    EXPECT_FALSE(Base::haveVisited(archive, &parts[1], 1));
    EXPECT_FALSE(Base::haveVisited(archive, &parts[0], 2));
    EXPECT_FALSE(Base::haveVisited(other, &parts[0], 1));
    Base::setVisited(archive, &parts[1], 1); // Without asking before.
    EXPECT_TRUE(Base::haveVisited(archive, &parts[1], 1));
}

TEST(Persistent, HasNoStateOfItsOwn) {
    std::ostringstream stream;
    vxOutputArchive archive(stream);
    vxPersistent* none = nullptr;
    struct Plain : vxPersistent {
    } plain;
    archive || plain || none;
    EXPECT_EQ(stream.str().substr(headerSize), std::string(1, '\0'));
    EXPECT_NO_THROW(plain.reInit());
    Base base;
    EXPECT_NO_THROW(base.mutating());
}

TEST(Persistent, LoadSimpleDispatchesAndThenReInits) {
    std::stringstream stream;
    Derived source;
    vxOutputArchive output(stream);
    output || source;
    vxInputArchive input(stream);
    Derived object;
    object.loadSimple(input);
    EXPECT_EQ(object.dispatches, 2);
    EXPECT_EQ(object.reInits, 1);
}

/// Counts how often it was deleted.
class Counted : public vxRepBase {
public:
    explicit Counted(std::atomic<int>& deletions) : deletions_(deletions) {}
    Counted(const Counted&) = default;
    Counted& operator=(const Counted& other) {
        vxRepBase::operator=(other);
        return *this;
    }
    ~Counted() override { ++deletions_; }

private:
    std::atomic<int>& deletions_;
};

TEST(RepBase, DeletesTheObjectWithItsLastReference) {
    std::atomic<int> deletions = 0;
    const auto* object = new Counted(deletions);
    EXPECT_EQ(object->referenceCount(), 0);
    object->addReference();
    object->addReference();
    object->removeReference();
    EXPECT_EQ(object->referenceCount(), 1);
    EXPECT_EQ(deletions, 0);
    object->removeReference();
    EXPECT_EQ(deletions, 1);
}

TEST(RepBase, ACopyHasACountOfItsOwn) {
    std::atomic<int> deletions = 0;
    Counted object(deletions);
    object.addReference();
    Counted copy(object);
    EXPECT_EQ(copy.referenceCount(), 0);
    copy.addReference();
    copy.addReference();
    copy = object;
    EXPECT_EQ(copy.referenceCount(), 2);
    EXPECT_EQ(object.referenceCount(), 1);
}

TEST(RepBase, CountsExactlyFromSeveralThreads) {
    std::atomic<int> deletions = 0;
    const auto* object = new Counted(deletions);
    object->addReference();
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        object->addReference();
        threads.emplace_back([object] {
            for (int i = 0; i < 20000; ++i) {
                object->addReference();
                object->removeReference();
            }
            object->removeReference();
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(object->referenceCount(), 1);
    EXPECT_EQ(deletions, 0);
    object->removeReference();
    EXPECT_EQ(deletions, 1);
}

} // namespace persistent_test
