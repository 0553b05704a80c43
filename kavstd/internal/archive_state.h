/// \file
/// What an archive keeps while it works: its passes with their marks, the way back, how it failed.
#pragma once

#include "kavstd/archive.h"

#include <cstdint>
#include <exception>
#include <functional>
#include <list>
#include <map>
#include <tuple>
#include <vector>

/// One step of the way back, linked to the object that it would change, so that an object that dies takes
/// itself out.
struct vx_Undo {
    vxPersistent* object; // Null once it has died.
    vx_Undo* older;       // The object's previous one.
    std::function<void()> action;
};

struct vxArchive::State {
    /// A part of an object: the object's identity, the part's address and size.
    using Part = std::tuple<std::uint64_t, std::uintptr_t, std::size_t>;

    /// A pass belongs to the archive itself or to an object by pointer.
    struct Pass {
        vxPersistent* current = nullptr;     // The object in place that is being archived.
        std::map<Part, std::uint64_t> marks; // Visited parts with the time of the visit; 0: not yet.
    };

    State(vxArchive& owner, bool isLoading);

    /// Throws again what made the archive fail.
    void requireUsable() const;
    /// Each fails the archive; `what` or `problem` says what was being archived.
    [[noreturn]] void failTransfer(const char* what);
    [[noreturn]] void failUnknownVersion(const char* what);
    [[noreturn]] void failUnknownType(const std::string& typeName);
    [[noreturn]] void refuse(const char* problem);

    /// Archives raw bytes of the value that `what` names.
    void transfer(void* bytes, std::size_t size, const char* what);
    /// The version byte 0 of a record of the archive's own.
    void version(const char* what);

    void inPlace(vxPersistent& object, bool reInit);
    void byPointer(vxPersistent*& object);

    [[nodiscard]] bool haveVisited(const void* part, std::size_t size);
    void setVisited(const void* part, std::size_t size);
    void onRollback(std::function<void()> undo);

    /// Takes the steps that were registered after the first `kept` off the way back, latest first, and undoes
    /// them if asked to.
    void shrinkLog(std::size_t kept, bool undo) noexcept;
    /// Takes back what the current pass has visited at or after that time.
    void dropMarks(std::uint64_t since) noexcept;

    vxArchive& archive;
    const bool loading;
    std::uint64_t offset = 0;      // Bytes archived.
    std::uint64_t valueOffset = 0; // Where the latest value began.
    std::exception_ptr failure;    // Null while usable.
    std::vector<Pass> passes;      // The innermost last.
    std::list<vx_Undo> log;        // The latest last.
    std::uint64_t time = 1;        // Counts the objects in place.
    std::size_t openObjects = 0;   // Objects that are being archived, within each other.

private:
    class Transaction;
    class NestedPass;
    template <class Error>
    [[noreturn]] void fail(const char* kind, const char* relation, const char* detail);
    template <class Error>
    [[nodiscard]] static Error makeError(const char* message);
    [[nodiscard]] Part markOf(const void* part, std::size_t size) const;
    void requireRoomToNest();
    [[nodiscard]] std::string registeredName(const vxPersistent& object);
    [[nodiscard]] std::unique_ptr<vxPersistent> create(const std::string& typeName);
};

/// The way of the operators to an archive's state.
struct vx_ArchiveAccess {
    using State = vxArchive::State;
    static State& state(vxArchive& archive) { return *archive.state_; }
};
