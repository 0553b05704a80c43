/// \file
/// Objects that an archive can store, re-create by their type's name, and count references to.
#pragma once

#include "kavsys/export.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <typeinfo>

class vxArchive;
struct vx_Undo;

/// Base of everything that is archived. A class overrides dispatchSerialize in one pattern: return when
/// haveVisited reports its part, archive a version byte, archive its base's and its own fields, call
/// setVisited.
///
/// A load stages what it reads, checks it and then commits without throwing; a part that commits before the
/// object is complete registers the way back with vxArchive::onRollback.
class VX_EXPORT vxPersistent {
public:
    virtual ~vxPersistent();

protected:
    vxPersistent() noexcept;
    /// A copy is a new object: no pass has visited it.
    vxPersistent(const vxPersistent&) noexcept;
    /// The object stays what it was to a pass that has visited it.
    vxPersistent& operator=(const vxPersistent&) noexcept;

    /// Stores or loads the object's state. The base has none.
    virtual void dispatchSerialize(vxArchive& archive);

public:
    /// Called after the object was loaded, to rebuild what is not archived. Default: nothing.
    virtual void reInit();
    /// Dispatches, then calls reInit. When either throws, everything that was loaded is rolled back.
    virtual void loadSimple(vxArchive& archive);

protected:
    /// To be called before persistent state changes.
    void mutating() noexcept;

    /// Whether the part of `size` bytes at `part` was already handled in the archive's current pass. A mark
    /// belongs to the object that operator|| or loadSimple is archiving, not to its address: a new object
    /// where a dead one was is not visited.
    [[nodiscard]] static bool haveVisited(vxArchive& archive, const void* part, std::size_t size);
    /// Marks that part as handled in the current pass.
    static void setVisited(vxArchive& archive, const void* part, std::size_t size);

private:
    friend class vxArchive;
    std::uint64_t identity_;   // Unique to this object for the life of the process.
    vx_Undo* undos_ = nullptr; // Latest of what an unfinished load could still do to this object.
};

/// Enters a class's factory into the process-wide registry while it lives, so that archives can re-create
/// objects of the class. Meant as a static member of the class; safe in any order of static initialisation
/// and when libraries are loaded and unloaded. The registry may be read from several threads at once.
class VX_EXPORT vx_Instantiator {
public:
    /// `make` returns a new object of exactly that type. Of several factories for one type the latest serves.
    vx_Instantiator(const std::type_info& type, vxPersistent* (*make)());
    ~vx_Instantiator();
    vx_Instantiator(const vx_Instantiator&) = delete;
    vx_Instantiator& operator=(const vx_Instantiator&) = delete;
};

/// An intrusive, thread-safe reference count. It starts at 0; whoever keeps the object calls addReference,
/// and the removeReference that takes the count back to 0 deletes it. A copy starts with a count of its own.
class VX_EXPORT vxRepBase {
public:
    virtual ~vxRepBase();

    /// One more keeps the object. Any thread may call it.
    void addReference() const noexcept;
    /// One fewer keeps it; the last one deletes it. Any thread may call it.
    void removeReference() const noexcept;
    /// How many keep the object, which other threads may have changed meanwhile.
    [[nodiscard]] long referenceCount() const noexcept;

protected:
    vxRepBase() noexcept = default;
    /// The count is not copied: it starts at 0.
    vxRepBase(const vxRepBase&) noexcept {}
    /// The count stays as it is.
    vxRepBase& operator=(const vxRepBase&) noexcept { return *this; }

private:
    mutable std::atomic<long> references_ = 0;
};
