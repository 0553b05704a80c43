/// \file
/// What the tests of the archive share: storing to and loading from strings, and objects to archive.
#pragma once

#include "kavstd/archive.h"

#include <gtest/gtest.h>

#include <functional>
#include <initializer_list>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace archive_test {

/// What every archive begins with.
inline const std::string header("KAVARCH\n\1", 9);

/// The whole archive of the values.
template <class... T>
std::string stored(T&... values) {
    std::ostringstream stream;
    vxOutputArchive archive(stream);
    static_cast<void>((archive || ... || values));
    return stream.str();
}

/// Loads the values from a whole archive.
template <class... T>
void load(const std::string& bytes, T&... values) {
    std::istringstream stream(bytes);
    vxInputArchive archive(stream);
    static_cast<void>((archive || ... || values));
}

/// Byte values as a string.
inline std::string bytesOf(std::initializer_list<int> bytes) {
    std::string text;
    for (const int byte : bytes) {
        text.push_back(static_cast<char>(byte));
    }
    return text;
}

/// The text of the Error that the operation throws.
template <class Error, class Operation>
std::string messageOf(Operation operation) {
    try {
        operation();
    } catch (const Error& error) {
        return error.what();
    }
    return "not thrown";
}

/// Uses an archive that has failed in every way there is.
template <class Error>
void expectEveryUseThrows(vxArchive& archive) {
    bool yes = true;
    unsigned char byte = 1;
    long number = 1;
    unsigned long count = 1;
    float single = 1.0F;
    double wide = 1.0;
    std::vector<float> values = {1.0F};
    vxPair<long> pair;
    vxArchive::Malformed object;
    vxPersistent* pointer = &object;
    EXPECT_THROW(archive || yes, Error);
    EXPECT_THROW(archive || byte, Error);
    EXPECT_THROW(archive || number, Error);
    EXPECT_THROW(archive || count, Error);
    EXPECT_THROW(archive || single, Error);
    EXPECT_THROW(archive || wide, Error);
    EXPECT_THROW(archive || values, Error);
    EXPECT_THROW(archive || pair, Error);
    EXPECT_THROW(archive || object, Error);
    EXPECT_THROW(archive || pointer, Error);
    EXPECT_THROW(object.loadSimple(archive), Error);
    EXPECT_THROW(archive.refuse("nothing"), Error);
    EXPECT_EQ(pointer, &object);
    EXPECT_EQ(values.size(), 1U);
}

/// An object with a base part and fields of most kinds, written in the way of every persistent class. It also
/// counts itself, and can be told to fail.
class NodeBase : public vxPersistent {
public:
    NodeBase() { ++living; }
    NodeBase(const NodeBase& other) : vxPersistent(other), tag(other.tag) { ++living; }
    NodeBase& operator=(const NodeBase&) = default;
    ~NodeBase() override { --living; }

    inline static int living = 0;
    long tag = 0;

protected:
    void dispatchSerialize(vxArchive& archive) override {
        if (haveVisited(archive, this, sizeof(NodeBase))) {
            return;
        }
        unsigned char version = 0;
        archive || version;
        if (version != 0) {
            throw vxArchive::UnknownVersion("NodeBase", 1);
        }
        vxPersistent::dispatchSerialize(archive);
        long staged = tag;
        archive || staged;
        if (archive.isLoading()) {
            archive.onRollback([this, before = tag] { tag = before; });
            tag = staged;
        }
        setVisited(archive, this, sizeof(NodeBase));
    }
};

class Node : public NodeBase {
public:
    Node() = default;
    Node(const Node&) = delete;
    Node& operator=(const Node&) = delete;

    bool flag = false;
    std::vector<float> values;
    vxPair<double> pair;
    std::unique_ptr<vxPersistent> child;
    int reInits = 0;
    static vxPersistent* make() { return new Node; }

    void reInit() override {
        if (tag == refusedByReInit) {
            throw std::runtime_error("reInit");
        }
        ++reInits;
    }
    static constexpr long refusedByReInit = 666;

    [[nodiscard]] std::string state() const {
        std::ostringstream text;
        text << tag << ' ' << flag << ' ' << values.size() << ' ' << (values.empty() ? 0.0F : values.back())
             << ' ' << pair.x() << ' ' << pair.y() << ' ' << child.get() << ' ' << reInits;
        return text.str();
    }

protected:
    void dispatchSerialize(vxArchive& archive) override {
        if (haveVisited(archive, this, sizeof(Node))) {
            return;
        }
        unsigned char version = 0;
        archive || version;
        if (version != 0) {
            throw vxArchive::UnknownVersion("Node", 2);
        }
        NodeBase::dispatchSerialize(archive);
        bool stagedFlag = flag;
        std::vector<float> stagedValues = values;
        vxPair<double> stagedPair = pair;
        vxPersistent* raw = child.get();
        archive || stagedFlag || stagedValues || stagedPair || raw;
        if (archive.isLoading()) {
            commit(archive, stagedFlag, stagedValues, stagedPair, std::unique_ptr<vxPersistent>(raw));
        }
        setVisited(archive, this, sizeof(Node));
    }

private:
    struct Before {
        bool flag;
        std::vector<float> values;
        vxPair<double> pair;
        std::unique_ptr<vxPersistent> child;
    };

    void commit(vxArchive& archive, bool newFlag, std::vector<float>& newValues,
                const vxPair<double>& newPair, std::unique_ptr<vxPersistent> newChild) {
        auto before = std::make_shared<Before>();
        archive.onRollback([this, before] {
            flag = before->flag;
            values.swap(before->values);
            pair = before->pair;
            child.swap(before->child);
        });
        *before = {flag, std::move(values), pair, std::move(child)};
        flag = newFlag;
        values.swap(newValues);
        pair = newPair;
        child = std::move(newChild);
    }
};
inline const vx_Instantiator nodeExemplar(typeid(Node), Node::make);

/// Archives what it is given, so that tests can compose objects.
class Group : public vxPersistent {
public:
    explicit Group(std::function<void(vxArchive&)> body = {}) : body_(std::move(body)) {}
    using vxPersistent::haveVisited;
    using vxPersistent::setVisited;

protected:
    void dispatchSerialize(vxArchive& archive) override { body_(archive); }

private:
    std::function<void(vxArchive&)> body_;
};

inline void fill(Node& node, long tag) {
    node.tag = tag;
    node.flag = true;
    node.values = {1.5F, static_cast<float>(tag)};
    node.pair = {0.25, -static_cast<double>(tag)};
}

/// A node with one below it.
inline std::unique_ptr<Node> sampleNode() {
    auto node = std::make_unique<Node>();
    fill(*node, 3);
    auto child = std::make_unique<Node>();
    fill(*child, 4);
    node->child = std::move(child);
    return node;
}

} // namespace archive_test
