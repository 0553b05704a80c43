/// \file
/// Archives: one operator, operator||, stores or loads a value, depending on the archive's direction.
///
/// Bytes: a magic and a format version, then fixed-width little-endian values (bool and unsigned char 1 byte;
/// long, unsigned long and double 8; float 4). Bit patterns are kept, NaNs included, and are the same on
/// every platform. Bytes are not trusted: no byte string makes a load crash, hang, leak or allocate more than
/// was read. A load that fails, for whatever reason, leaves the value or object as it was; a store never
/// changes it.
#pragma once

#include "kavstd/exception.h"
#include "kavstd/pair.h"

#include <algorithm>
#include <cstddef>
#include <functional>
#include <iosfwd>
#include <memory>
#include <string>
#include <vector>

/// One pass of storing to or loading from a stream. Not copyable. After an error of its own an archive has
/// failed: every later use throws the same class again.
class VX_EXPORT vxArchive {
public:
    class UnknownVersion;
    class EndOfData;
    class Malformed;
    class UnknownType;
    class WriteFailed;

    virtual ~vxArchive();
    vxArchive(const vxArchive&) = delete;
    vxArchive& operator=(const vxArchive&) = delete;

    /// Whether operator|| loads; otherwise it stores.
    [[nodiscard]] bool isLoading() const noexcept;

    /// Refuses what was loaded: fails the archive and throws Malformed, naming `what` and the byte offset.
    [[noreturn]] void refuse(const char* what);

    /// Registers how to undo a commit to the object that is being loaded, should the rest of it, or of an
    /// object in place that it belongs to, fail. To be called right before the commit; throws nothing but
    /// std::bad_alloc. `undo` must not throw and may touch nothing but that object; an object that dies first
    /// is left alone. Nothing happens when no object is being archived in place.
    void onRollback(std::function<void()> undo);

protected:
    /// An archive of that direction.
    explicit vxArchive(bool loading);

    /// Stores or checks the magic and the format version. To be called at the end of a concrete archive's
    /// constructor.
    void header();

    /// Writes, or fills, `size` bytes, a few thousand at the most. Whether all of them were there; if not,
    /// the archive fails with WriteFailed or EndOfData.
    [[nodiscard]] virtual bool transfer(void* bytes, std::size_t size) = 0;

private:
    friend class vxPersistent;
    friend struct vx_ArchiveAccess;
    struct State; // The passes with their marks, the way back, how the archive failed.
    std::unique_ptr<State> state_;
};

/// A record of a version that the reader does not know. Thrown by the class that reads it, it leaves the
/// archive usable; thrown by the archive for a record of its own, it does not.
class VX_EXPORT vxArchive::UnknownVersion : public vx_ConcreteError<vxArchive::UnknownVersion, 0x10006200> {
public:
    /// Where the version was refused; null and 0 are allowed.
    explicit UnknownVersion(const char* file = nullptr, long line = 0);
    ~UnknownVersion() override;

    /// As given, null included. Valid as long as the object, or until it is assigned to.
    [[nodiscard]] const char* file() const noexcept;
    /// As given.
    [[nodiscard]] long line() const noexcept;

protected:
    void dispatchSerialize(vxArchive& archive) override;

private:
    friend class vxArchive;
    struct Message {
        const char* text;
    };
    explicit UnknownVersion(Message message); // An archive's own: no file and line 0.

    std::shared_ptr<const std::string> file_; // Null when none was given.
    long line_ = 0;
};

/// The data ended within a value.
class VX_EXPORT vxArchive::EndOfData : public vx_ConcreteError<vxArchive::EndOfData, 0x10006201> {
public:
    using vx_ConcreteError::vx_ConcreteError;
    ~EndOfData() override;
};

/// A value that no valid object can have, or that does not fit the platform; nesting above 64.
class VX_EXPORT vxArchive::Malformed : public vx_ConcreteError<vxArchive::Malformed, 0x10006202> {
public:
    using vx_ConcreteError::vx_ConcreteError;
    ~Malformed() override;
};

/// An object by pointer whose class has no factory in the registry.
class VX_EXPORT vxArchive::UnknownType : public vx_ConcreteError<vxArchive::UnknownType, 0x10006203> {
public:
    using vx_ConcreteError::vx_ConcreteError;
    ~UnknownType() override;
};

/// The stream did not take what was stored.
class VX_EXPORT vxArchive::WriteFailed : public vx_ConcreteError<vxArchive::WriteFailed, 0x10006204> {
public:
    using vx_ConcreteError::vx_ConcreteError;
    ~WriteFailed() override;
};

/// Stores or loads one value: its bit pattern, in little-endian bytes.
VX_EXPORT vxArchive& operator||(vxArchive& archive, bool& value);
VX_EXPORT vxArchive& operator||(vxArchive& archive, unsigned char& value);
VX_EXPORT vxArchive& operator||(vxArchive& archive, long& value);
VX_EXPORT vxArchive& operator||(vxArchive& archive, unsigned long& value);
VX_EXPORT vxArchive& operator||(vxArchive& archive, float& value);
VX_EXPORT vxArchive& operator||(vxArchive& archive, double& value);
/// The float-array record: an unsigned 8-bit version 0, the count as unsigned long, then the elements.
VX_EXPORT vxArchive& operator||(vxArchive& archive, std::vector<float>& value);
/// Stores the float-array record of these floats, without a vector of them; not for loading.
VX_EXPORT void vf_StoreFloats(vxArchive& archive, const float* values, std::size_t count);

/// Floats are archived at most so many at a time: 64 KiB, which caches hold.
inline constexpr std::size_t vx_FloatChunk = 16384;
/// The first part of loading a float-array record: how many floats it claims to have.
[[nodiscard]] VX_EXPORT std::size_t vf_LoadFloatCount(vxArchive& archive);
/// Loads the next floats of the record, at most a chunk.
VX_EXPORT void vf_LoadFloatChunk(vxArchive& archive, float* values, std::size_t count);
/// Loads the floats of the record to an empty vector. No count is believed: memory for `believed` floats is
/// taken at once, and then what has arrived vouches for as much again.
template <class Floats>
void vf_LoadFloats(vxArchive& archive, std::size_t count, std::size_t believed, Floats& values) {
    while (values.size() < count) {
        const std::size_t done = values.size();
        const std::size_t next = std::min(count, done + std::clamp(done, vx_FloatChunk / 16, vx_FloatChunk));
        if (next > values.capacity()) {
            values.reserve(std::min(count, std::max({believed, next, 2 * done})));
        }
        values.resize(next); // A chunk at a time, so that the caches still hold it when it is written.
        vf_LoadFloatChunk(archive, values.data() + done, next - done);
    }
}
/// The pair record: an unsigned 8-bit version 0, then x, then y.
VX_EXPORT vxArchive& operator||(vxArchive& archive, vxPair<long>& value);
VX_EXPORT vxArchive& operator||(vxArchive& archive, vxPair<double>& value);

/// An object in place, within the current pass: what it dispatches, and after a load its reInit.
VX_EXPORT vxArchive& operator||(vxArchive& archive, vxPersistent& object);
/// An object by pointer, as a nested pass of its own: null or not, its registered type name, what it
/// dispatches. A load makes a new object that the caller deletes; on failure the pointer stays unchanged.
VX_EXPORT vxArchive& operator||(vxArchive& archive, vxPersistent*& object);

/// Stores to a stream, which the caller keeps alive and flushes.
class VX_EXPORT vxOutputArchive final : public vxArchive {
public:
    /// Stores the magic and the format version, or throws WriteFailed.
    explicit vxOutputArchive(std::ostream& stream);
    ~vxOutputArchive() override;

    /// Flushes the stream. A full device may show only now: WriteFailed.
    void flush();

private:
    [[nodiscard]] bool transfer(void* bytes, std::size_t size) override;
    std::ostream& stream_;
};

/// Loads from a stream.
class VX_EXPORT vxInputArchive final : public vxArchive {
public:
    /// Loads and checks the magic and the format version: EndOfData, Malformed or UnknownVersion.
    explicit vxInputArchive(std::istream& stream);
    ~vxInputArchive() override;

private:
    [[nodiscard]] bool transfer(void* bytes, std::size_t size) override;
    std::istream& stream_;
};
