#include "kavstd/internal/archive_state.h"

#include "kavstd/internal/archive_records.h"
#include "kavstd/internal/registry.h"
#include "kavsys/assert.h"

#include <algorithm>
#include <new>

namespace {

constexpr std::size_t maximumNesting = 64; // Objects by pointer within each other; objects in place likewise.
constexpr std::size_t maximumTypeName = 256;

/// A type name from an archive may hold anything; a message holds only what is safe to print.
void makePrintable(std::string& text) {
    std::replace_if(
        text.begin(), text.end(), [](char c) { return c < ' ' || c > '~'; }, '?');
}

} // namespace

/// An object in place for as long as it is being archived: it is its pass's current object, and unless it is
/// completed everything that happened since it began is taken back.
class vxArchive::State::Transaction {
public:
    Transaction(State& state, vxPersistent& object)
        : state_(state)
        , outer_(state.passes.back().current)
        , logged_(state.log.size())
        , began_(++state.time) {
        state_.passes.back().current = &object;
        ++state_.openObjects;
    }
    ~Transaction() {
        state_.passes.back().current = outer_;
        --state_.openObjects;
        if (!complete_) {
            state_.shrinkLog(logged_, true);
            state_.dropMarks(began_);
        } else if (outer_ == nullptr) {
            state_.shrinkLog(logged_, false); // Only the outermost object's success is final.
        }
    }
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;

    void complete() noexcept { complete_ = true; }

private:
    State& state_;
    vxPersistent* outer_;
    std::size_t logged_;
    std::uint64_t began_;
    bool complete_ = false;
};

/// The pass of one object by pointer.
class vxArchive::State::NestedPass {
public:
    explicit NestedPass(State& state) : state_(state) { state_.passes.emplace_back(); }
    ~NestedPass() { state_.passes.pop_back(); }
    NestedPass(const NestedPass&) = delete;
    NestedPass& operator=(const NestedPass&) = delete;

private:
    State& state_;
};

vxArchive::State::State(vxArchive& owner, bool isLoading) : archive(owner), loading(isLoading), passes(1) {}

void vxArchive::State::requireUsable() const {
    if (failure) {
        std::rethrow_exception(failure);
    }
}

template <class Error>
Error vxArchive::State::makeError(const char* message) {
    if constexpr (std::is_same_v<Error, UnknownVersion>) {
        return UnknownVersion(UnknownVersion::Message{message});
    } else {
        return Error(message);
    }
}

template <class Error>
void vxArchive::State::fail(const char* kind, const char* relation, const char* detail) {
    requireUsable(); // The first failure stays.
    try {
        std::string message =
            std::string(kind) + " at byte " + std::to_string(valueOffset) + relation + detail;
        makePrintable(message);
        failure = std::make_exception_ptr(makeError<Error>(message.c_str()));
    } catch (const std::bad_alloc&) {
        failure = std::make_exception_ptr(makeError<Error>(nullptr)); // The class matters more than the text.
    }
    std::rethrow_exception(failure);
}

void vxArchive::State::failTransfer(const char* what) {
    if (loading) {
        fail<EndOfData>("End of data", ", reading ", what);
    }
    fail<WriteFailed>("Write failed", ", writing ", what);
}

void vxArchive::State::failUnknownVersion(const char* what) {
    fail<UnknownVersion>("Unknown version", ", reading ", what);
}

void vxArchive::State::failUnknownType(const std::string& typeName) {
    fail<UnknownType>("Unknown type", ": ", typeName.c_str());
}

void vxArchive::State::refuse(const char* problem) {
    fail<Malformed>("Malformed data", ": ", problem);
}

void vxArchive::State::transfer(void* bytes, std::size_t size, const char* what) {
    requireUsable();
    valueOffset = offset;
    bool complete = false;
    try {
        complete = archive.transfer(bytes, size);
    } catch (...) {
        failure = std::current_exception(); // Half a value may be gone, so nothing can follow it.
        throw;
    }
    if (!complete) {
        failTransfer(what);
    }
    offset += size;
}

void vxArchive::State::version(const char* what) {
    unsigned char version = 0;
    transfer(&version, 1, what);
    if (version != 0) {
        failUnknownVersion(what);
    }
}

void vxArchive::State::inPlace(vxPersistent& object, bool reInit) {
    requireUsable();
    // Of the open objects, one for each nested pass is there by pointer.
    if (openObjects >= maximumNesting + passes.size() - 1) {
        refuse("objects in place nested too deeply");
    }
    Transaction transaction(*this, object);
    object.dispatchSerialize(archive);
    if (reInit) {
        object.reInit();
    }
    transaction.complete();
}

void vxArchive::State::byPointer(vxPersistent*& object) {
    requireUsable();
    // Everything that can be refused is refused before the first byte is stored.
    valueOffset = offset;
    std::string typeName = !loading && object != nullptr ? registeredName(*object) : std::string();
    bool present = object != nullptr;
    archive || present;
    if (!present) {
        object = loading ? nullptr : object;
        return;
    }
    const std::uint64_t nameOffset = offset;
    vf_ArchiveText(archive, typeName, maximumTypeName);
    valueOffset = nameOffset;
    std::unique_ptr<vxPersistent> created = loading ? create(typeName) : nullptr;
    const NestedPass pass(*this);
    if (!loading) {
        VX_ASSERT(object != nullptr);
        inPlace(*object, false);
        return;
    }
    inPlace(*created, true);
    object = created.release();
}

/// The name to store an object under.
std::string vxArchive::State::registeredName(const vxPersistent& object) {
    requireRoomToNest();
    std::string typeName = vf_TypeName(typeid(object));
    if (vf_FindFactory(typeName) == nullptr) {
        failUnknownType(typeName);
    }
    if (typeName.size() > maximumTypeName) {
        refuse("a type name that is too long");
    }
    return typeName;
}

/// A new object of the named type.
std::unique_ptr<vxPersistent> vxArchive::State::create(const std::string& typeName) {
    requireRoomToNest();
    const vx_Factory make = vf_FindFactory(typeName);
    if (make == nullptr) {
        failUnknownType(typeName);
    }
    std::unique_ptr<vxPersistent> object(make());
    if (!object) {
        throw std::bad_alloc();
    }
    // An object of another type would be stored under another name than it was loaded from.
    const vxPersistent& made = *object;
    if (vf_TypeName(typeid(made)) != typeName) {
        failUnknownType(typeName);
    }
    return object;
}

void vxArchive::State::requireRoomToNest() {
    if (passes.size() > maximumNesting) { // One pass is the archive's own.
        refuse("objects by pointer nested too deeply");
    }
}

bool vxArchive::State::haveVisited(const void* part, std::size_t size) {
    requireUsable();
    // The place for the mark is made now, so that setVisited after a commit has nothing left to fail on.
    return passes.back().marks.try_emplace(markOf(part, size), 0).first->second != 0;
}

void vxArchive::State::setVisited(const void* part, std::size_t size) {
    passes.back().marks[markOf(part, size)] = time;
}

vxArchive::State::Part vxArchive::State::markOf(const void* part, std::size_t size) const {
    const vxPersistent* object = passes.back().current;
    return {object == nullptr ? 0 : object->identity_, reinterpret_cast<std::uintptr_t>(part), size};
}

void vxArchive::State::onRollback(std::function<void()> undo) {
    vxPersistent* object = passes.back().current;
    if (object == nullptr) {
        return;
    }
    log.push_back({object, object->undos_, std::move(undo)});
    object->undos_ = &log.back();
}

void vxArchive::State::shrinkLog(std::size_t kept, bool undo) noexcept {
    while (log.size() > kept) {
        vx_Undo& latest = log.back();
        if (latest.object != nullptr) {
            latest.object->undos_ = latest.older;
            if (undo) {
                latest.action();
            }
        }
        log.pop_back();
    }
}

void vxArchive::State::dropMarks(std::uint64_t since) noexcept {
    for (auto& [part, visited] : passes.back().marks) {
        visited = visited < since ? visited : 0;
    }
}
