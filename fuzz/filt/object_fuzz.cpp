// Any bytes are objects, by pointer and in place: of classes of the libraries, made by the registry, and of a
// class whose objects own others and hold a part that is archived twice. Whatever fails, no object is left
// over or half loaded; what was loaded stores to the bytes it came from.
#include "filt/fft.h"
#include "filt/freqfilt.h"
#include "fuzz/filt/spectra.h"
#include "kavstd/xform.h"

#include <array>
#include <memory>
#include <string>

namespace objects {

/// A part in place, which a node archives twice in one pass.
class Part : public vxPersistent {
public:
    long number = 0;

protected:
    void dispatchSerialize(vxArchive& archive) override {
        if (haveVisited(archive, this, sizeof(Part))) {
            return;
        }
        unsigned char version = 0;
        archive || version;
        if (version != 0) {
            throw vxArchive::UnknownVersion("Part", 1);
        }
        long staged = number;
        archive || staged;
        if (archive.isLoading()) {
            archive.onRollback([this, before = number] { number = before; });
            number = staged;
        }
        setVisited(archive, this, sizeof(Part));
    }
};

/// Owns two objects of any class.
class Node : public vxPersistent {
public:
    Node() { ++living; }
    ~Node() override { --living; }
    Node(const Node&) = delete;
    Node& operator=(const Node&) = delete;
    static vxPersistent* make() { return new Node; }
    inline static long living = 0;

protected:
    void dispatchSerialize(vxArchive& archive) override {
        if (haveVisited(archive, this, sizeof(Node))) {
            return;
        }
        unsigned char version = 0;
        archive || version;
        if (version != 0) {
            throw vxArchive::UnknownVersion("Node", 1);
        }
        vxPersistent& part = part_;
        archive || part || part;
        archiveChild(archive, 0);
        archiveChild(archive, 1);
        setVisited(archive, this, sizeof(Node));
    }

private:
    void archiveChild(vxArchive& archive, std::size_t index) {
        vxPersistent* raw = children_[index].get();
        archive || raw;
        if (archive.isLoading()) {
            std::unique_ptr<vxPersistent> loaded(raw);
            const auto before = std::make_shared<std::unique_ptr<vxPersistent>>();
            archive.onRollback([this, index, before] { children_[index] = std::move(*before); });
            *before = std::move(children_[index]);
            children_[index] = std::move(loaded);
        }
    }

    Part part_;
    std::array<std::unique_ptr<vxPersistent>, 2> children_;
};

} // namespace objects

namespace {

using fuzz::Outcome;
using fuzz::require;
using objects::Node;

const vx_Instantiator nodeExemplar(typeid(Node), Node::make);

constexpr std::array<const char*, 10> names = {"objects::Node",
                                               "vx2XformLinear",
                                               "vxArchive::Malformed",
                                               "vxArchive::UnknownVersion",
                                               "vxFrequencyDefs::BadCoord",
                                               "vxFrequencyFilterBandPass",
                                               "vxFrequencyFilterBandReject",
                                               "vxFrequencyFilterGabor",
                                               "vxFrequencyFilterGaborReject",
                                               "vxFrequencyFilterImage"};

/// What an archive has before an object of that class; the fuzzer need not find out its name.
std::string beginning(unsigned type) {
    std::ostringstream stream;
    vxOutputArchive archive(stream);
    if (type < names.size()) {
        bool present = true;
        unsigned long length = std::strlen(names[type]);
        archive || present || length;
        stream << names[type];
    }
    return stream.str();
}

void loadByPointer(const std::string& bytes) {
    vxPersistent* raw = nullptr;
    if (fuzz::load(bytes, raw) != Outcome::done) {
        require(raw == nullptr, "a failed load leaves the pointer");
        return;
    }
    const std::unique_ptr<vxPersistent> object(raw);
    const std::string stored = fuzz::stored(raw);
    vxPersistent* second = nullptr;
    if (fuzz::load(stored, second) == Outcome::done) {
        require((second == nullptr) == (raw == nullptr), "null or not");
        require(second == nullptr || second != raw, "a new object");
        const std::unique_ptr<vxPersistent> again(second);
        require(fuzz::stored(second) == stored, "the same bytes a second time");
    }
}

/// Into an object that has something already.
void loadInPlace(const std::string& first, const std::string& second) {
    Node node;
    vxPersistent& object = node;
    fuzz::load(first, object);
    const std::string before = fuzz::stored(object);
    const long living = Node::living;
    if (fuzz::load(second, object) != Outcome::done) {
        require(fuzz::stored(object) == before, "a failed load changes nothing");
        require(Node::living == living, "nor leaves objects over");
    }
}

} // namespace

void fuzz::run(Bytes input) {
    const unsigned kind = input.below(16);
    const std::size_t first = input.byte();
    const std::string text = input.text();
    if (kind < names.size() + 2) {
        loadByPointer(beginning(kind) + text);
    } else {
        const std::size_t split = std::min(first, text.size());
        loadInPlace(beginning(names.size()) + text.substr(0, split),
                    beginning(names.size()) + text.substr(split));
    }
    require(Node::living == 0, "no object is left over");
}
