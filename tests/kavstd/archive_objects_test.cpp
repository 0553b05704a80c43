#include "tests/support/archive_samples.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <new>
#include <sstream>
#include <stdexcept>
#include <string>

namespace archive_test {

using testing::ElementsAre;

TEST(ByPointer, MakesANewObjectOfTheStoredType) {
    const auto source = sampleNode();
    vxPersistent* pointer = source.get();
    const std::string bytes = stored(pointer);
    EXPECT_EQ(pointer, source.get());
    vxPersistent* loaded = nullptr;
    load(bytes, loaded);
    const std::unique_ptr<vxPersistent> owner(loaded);
    ASSERT_NE(loaded, source.get());
    const auto& node = dynamic_cast<const Node&>(*loaded);
    EXPECT_EQ(node.tag, 3);
    EXPECT_TRUE(node.flag);
    EXPECT_THAT(node.values, ElementsAre(1.5F, 3.0F));
    EXPECT_EQ(node.pair, vxPair<double>(0.25, -3.0));
    EXPECT_EQ(node.reInits, 1);
    const auto& child = dynamic_cast<const Node&>(*node.child);
    EXPECT_EQ(child.tag, 4);
    EXPECT_EQ(child.reInits, 1);
    EXPECT_EQ(child.child, nullptr);
}

TEST(ByPointer, StoresAndLoadsNull) {
    vxPersistent* none = nullptr;
    EXPECT_EQ(stored(none), header + '\0');
    Node node;
    vxPersistent* loaded = &node;
    load(header + '\0', loaded);
    EXPECT_EQ(loaded, nullptr);
}

TEST(ByPointer, EveryPointerStoredIsAWholeObject) {
    Node node;
    fill(node, 5);
    vxPersistent* pointer = &node;
    const std::string once = stored(pointer).substr(header.size());
    EXPECT_EQ(stored(pointer, pointer), header + once + once);
    // Neither does the object in place take the marks of the pass around it, nor leave any there.
    const std::string inPlace = stored(node).substr(header.size());
    EXPECT_EQ(stored(node, pointer, node, pointer), header + inPlace + once + once);

    vxPersistent* first = nullptr;
    vxPersistent* second = nullptr;
    load(stored(pointer, pointer), first, second);
    const std::unique_ptr<vxPersistent> owner(first);
    const std::unique_ptr<vxPersistent> otherOwner(second);
    EXPECT_NE(first, second);
}

TEST(ByPointer, ATypeThatIsNotRegisteredIsRefusedBeforeAnythingIsWritten) {
    Group stranger([](vxArchive&) {});
    vxPersistent* pointer = &stranger;
    std::ostringstream stream;
    vxOutputArchive archive(stream);
    EXPECT_EQ(messageOf<vxArchive::UnknownType>([&] { archive || pointer; }),
              "Unknown type at byte 9: archive_test::Group");
    EXPECT_EQ(stream.str(), header);
    expectEveryUseThrows<vxArchive::UnknownType>(archive);
}

std::string named(const std::string& name) {
    auto length = static_cast<unsigned long>(name.size());
    return header + '\1' + stored(length).substr(header.size()) + name;
}

TEST(ByPointer, UnknownNamesAreRefusedAndPrintable) {
    vxPersistent* object = nullptr;
    EXPECT_EQ(messageOf<vxArchive::UnknownType>([&] { load(named("no\x1bsuch\xff"), object); }),
              "Unknown type at byte 10: no?such?");
    EXPECT_THROW(load(named(""), object), vxArchive::UnknownType);
    EXPECT_THROW(load(named(std::string(256, 'n')), object), vxArchive::UnknownType);
    EXPECT_THROW(load(named(std::string(257, 'n')), object), vxArchive::Malformed);
    EXPECT_THROW(load(named(std::string("archive_test::Node\0", 19)), object), vxArchive::Malformed);
    EXPECT_EQ(object, nullptr);
}

/// A class with a name of more than 256 bytes.
template <int>
struct aNameThatIsRepeatedSoOftenThatItBecomesFarLongerThanATypeNameMayBe {};
template <class A, class B>
class Wide : public Group {};
using Part = aNameThatIsRepeatedSoOftenThatItBecomesFarLongerThanATypeNameMayBe<1>;
using LongNamed = Wide<Wide<Part, Part>, Wide<Part, Part>>;

TEST(ByPointer, ATypeNameThatIsTooLongIsNotStored) {
    const vx_Instantiator exemplar(typeid(LongNamed), []() -> vxPersistent* { return new LongNamed; });
    LongNamed object;
    vxPersistent* pointer = &object;
    std::ostringstream stream;
    vxOutputArchive archive(stream);
    EXPECT_THROW(archive || pointer, vxArchive::Malformed);
    EXPECT_EQ(stream.str(), header);
}

TEST(ByPointer, AFactoryThatFailsOrMakesSomethingElseIsRefused) {
    Node node;
    vxPersistent* pointer = &node;
    const std::string bytes = stored(pointer);
    vxPersistent* object = pointer;
    {
        const vx_Instantiator none(typeid(Node), []() -> vxPersistent* { return nullptr; });
        EXPECT_THROW(load(bytes, object), std::bad_alloc);
    }
    {
        const vx_Instantiator other(typeid(Node), []() -> vxPersistent* { return new vxArchive::Malformed; });
        EXPECT_THROW(load(bytes, object), vxArchive::UnknownType);
    }
    EXPECT_EQ(object, pointer);
}

/// The bytes of `depth` nodes, one below the other.
std::string chain(std::size_t depth) {
    Node node;
    vxPersistent* pointer = &node;
    const std::string link = stored(pointer).substr(header.size());
    std::string bytes = header;
    for (std::size_t i = 1; i < depth; ++i) {
        bytes += link.substr(0, link.size() - 1); // The child's flag, 0, gives way to the child.
    }
    return bytes + link;
}

TEST(ByPointer, NestsUpTo64Deep) {
    vxPersistent* object = nullptr;
    load(chain(64), object);
    std::unique_ptr<vxPersistent> owner(object);
    EXPECT_EQ(NodeBase::living, 64);
    const std::string bytes = stored(object);
    EXPECT_EQ(bytes, chain(64));

    auto deeper = std::make_unique<Node>();
    deeper->child = std::move(owner);
    object = deeper.get();
    EXPECT_THROW(stored(object), vxArchive::Malformed);
    // In place, the object above the 64 needs no pass of its own.
    Node loaded;
    load(stored(*deeper), loaded);
    EXPECT_NE(loaded.child, nullptr);
    deeper.reset();
    loaded.child.reset();

    vxPersistent* unchanged = nullptr;
    for (const std::size_t depth : {65U, 66U, 100000U}) {
        EXPECT_THROW(load(chain(depth), unchanged), vxArchive::Malformed);
    }
    EXPECT_EQ(unchanged, nullptr);
    EXPECT_EQ(NodeBase::living, 1);
}

TEST(InPlace, NestsUpTo64Deep) {
    int depth = 0;
    int limit = 64;
    std::unique_ptr<Group> group;
    group = std::make_unique<Group>([&](vxArchive& archive) {
        if (++depth < limit) {
            archive || *group;
        }
    });
    EXPECT_NO_THROW(stored(*group));
    EXPECT_EQ(depth, 64);
    depth = 0;
    limit = 65;
    EXPECT_THROW(stored(*group), vxArchive::Malformed);
    EXPECT_EQ(depth, 64);
}

TEST(Rollback, ABasePartIsTakenBackWhenTheRestFails) {
    const auto source = sampleNode();
    const std::string bytes = stored(*source);
    Node target;
    fill(target, 8);
    const std::string before = target.state();
    for (std::size_t length = header.size(); length < bytes.size(); ++length) {
        EXPECT_THROW(load(bytes.substr(0, length), target), vxArchive::EndOfData);
        ASSERT_EQ(target.state(), before) << length;
    }
    load(bytes, target);
    EXPECT_EQ(target.tag, 3);
    EXPECT_EQ(target.reInits, 1);
}

TEST(Rollback, CoversAReInitThatFails) {
    Node source;
    fill(source, Node::refusedByReInit);
    const std::string bytes = stored(source);
    Node target;
    fill(target, 8);
    const std::string before = target.state();
    EXPECT_THROW(load(bytes, target), std::runtime_error);
    EXPECT_EQ(target.state(), before);
    std::istringstream stream(bytes);
    vxInputArchive archive(stream);
    EXPECT_THROW(target.loadSimple(archive), std::runtime_error);
    EXPECT_EQ(target.state(), before);

    vxPersistent* pointer = &source;
    const std::string byPointer = stored(pointer);
    const int living = NodeBase::living;
    EXPECT_THROW(load(byPointer, pointer), std::runtime_error);
    EXPECT_EQ(pointer, &source);
    EXPECT_EQ(NodeBase::living, living);
}

TEST(Rollback, TakesBackTheMarksToo) {
    Node refused;
    fill(refused, Node::refusedByReInit); // Fails when every part has been marked.
    Node source;
    fill(source, 3);
    std::istringstream stream(stored(refused, source));
    vxInputArchive archive(stream);
    Node target;
    EXPECT_THROW(archive || target, std::runtime_error);
    archive || target;
    EXPECT_EQ(target.tag, 3);
}

TEST(Rollback, AVersionThatTheClassRefusesLeavesTheArchiveUsable) {
    Node source;
    fill(source, 3);
    const std::string good = stored(source).substr(header.size());
    std::istringstream stream(header + '\1' + good.substr(0, 1) + '\1' + good);
    vxInputArchive archive(stream);
    Node target;
    EXPECT_EQ(messageOf<vxArchive::UnknownVersion>([&] { archive || target; }), "Unknown version (Node:2)");
    EXPECT_EQ(messageOf<vxArchive::UnknownVersion>([&] { archive || target; }),
              "Unknown version (NodeBase:1)");
    archive || target;
    EXPECT_EQ(target.tag, 3);
}

TEST(Rollback, RunsTheStepsInReverseOrderFromTheOutermostObject) {
    std::string order;
    const auto step = [&](vxArchive& archive, char name) {
        archive.onRollback([&order, name] { order += name; });
    };
    Group inner([&](vxArchive& archive) { step(archive, 'i'); });
    Group failing([&](vxArchive& archive) {
        step(archive, 'f');
        throw std::runtime_error("fails");
    });
    Group outer([&](vxArchive& archive) {
        step(archive, 'a');
        archive || inner;
        step(archive, 'b');
        archive || failing;
    });
    Group good([&](vxArchive& archive) { step(archive, 'g'); });
    std::istringstream stream(header);
    vxInputArchive archive(stream);
    archive || good;
    EXPECT_THROW(archive || outer, std::runtime_error);
    EXPECT_EQ(order, "fbia"); // The good object's success was final.
}

TEST(Rollback, OfAnInnerObjectIsCompleteBeforeTheOuterGoesOn) {
    std::string order;
    const auto step = [&](vxArchive& archive, char name) {
        archive.onRollback([&order, name] { order += name; });
    };
    Group failing([&](vxArchive& archive) {
        EXPECT_FALSE(Group::haveVisited(archive, &order, 1));
        Group::setVisited(archive, &order, 1);
        step(archive, 'f');
        throw std::runtime_error("fails");
    });
    Group outer([&](vxArchive& archive) {
        step(archive, 'a');
        Group::setVisited(archive, &order, 2);
        EXPECT_THROW(archive || failing, std::runtime_error);
        EXPECT_EQ(order, "f");
        EXPECT_THROW(archive || failing, std::runtime_error);
        EXPECT_EQ(order, "ff");
        EXPECT_TRUE(Group::haveVisited(archive, &order, 2));
    });
    std::istringstream stream(header);
    vxInputArchive archive(stream);
    archive || outer;
    EXPECT_EQ(order, "ff");
}

TEST(Rollback, OfANestedPassDoesNotReachTheOneAround) {
    std::string order;
    const auto step = [&](vxArchive& archive, char name) {
        archive.onRollback([&order, name] { order += name; });
    };
    Node source;
    source.tag = 7;
    vxPersistent* pointer = &source;
    Group outer([&](vxArchive& archive) {
        step(archive, 'a');
        vxPersistent* child = nullptr;
        archive || child; // Its way back is dropped with its success, the object is the caller's.
        const std::unique_ptr<vxPersistent> owner(child);
        EXPECT_EQ(dynamic_cast<const Node&>(*child).tag, 7);
        throw std::runtime_error("fails");
    });
    std::istringstream stream(stored(pointer));
    vxInputArchive archive(stream);
    EXPECT_THROW(archive || outer, std::runtime_error);
    EXPECT_EQ(order, "a");
}

TEST(Rollback, LeavesAnObjectAloneThatDiedBefore) {
    Node source;
    fill(source, 7);
    int undone = 0;
    Group outer([&](vxArchive& archive) {
        {
            Node staged; // Loaded in place, and gone before the outer object fails.
            archive || staged;
            archive.onRollback([&] { ++undone; });
            EXPECT_EQ(staged.tag, 7);
        }
        throw std::runtime_error("fails");
    });
    std::istringstream stream(stored(source));
    vxInputArchive archive(stream);
    EXPECT_THROW(archive || outer, std::runtime_error);
    EXPECT_EQ(undone, 1);
}

TEST(Rollback, OfTwoArchivesThatLoadOneObjectStaysApart) {
    Node source;
    fill(source, 7);
    Node other;
    fill(other, 9);
    Node target;
    std::istringstream otherStream(stored(other));
    vxInputArchive otherArchive(otherStream);
    Group outer([&](vxArchive& archive) {
        archive || target;
        EXPECT_EQ(target.tag, 7);
        otherArchive || target; // Final on its own, but the outer load goes back to before.
        EXPECT_EQ(target.tag, 9);
        throw std::runtime_error("fails");
    });
    std::istringstream stream(stored(source));
    vxInputArchive archive(stream);
    EXPECT_THROW(archive || outer, std::runtime_error);
    EXPECT_EQ(target.tag, 0);
}

TEST(Rollback, WithoutAnObjectIsNotKept) {
    std::istringstream stream(header);
    vxInputArchive archive(stream);
    bool undone = false;
    archive.onRollback([&] { undone = true; });
    EXPECT_THROW(archive.refuse("nothing"), vxArchive::Malformed);
    EXPECT_FALSE(undone);
}

} // namespace archive_test
