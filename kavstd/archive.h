/// \file
/// Archives: one operator, operator||, stores or loads a value, depending on the archive's direction.
///
/// Bytes: a magic and a format version, then fixed-width little-endian values (bool and unsigned char 1 byte; long,
/// unsigned long and double 8; float 4). Bit patterns are kept, NaNs included, and are the same on every platform.
/// Bytes are not trusted: no byte string makes a load crash, hang, leak, allocate more than was read, or leave an
/// object half loaded.
#pragma once

#include "kavstd/exception.h"
#include "kavstd/pair.h"

#include <cstddef>
#include <functional>
#include <iosfwd>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

/// One pass of storing to or loading from a stream. Not copyable. After an error of its own an archive has failed:
/// every later use throws the same class again.
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

    [[nodiscard]] bool isLoading() const noexcept;

    /// Refuses what was loaded: fails the archive and throws Malformed, naming `what` and the byte offset.
    [[noreturn]] void refuse(const char* what);

    /// Registers how to undo a committed part of the object that is being loaded, should the rest of it fail. `undo`
    /// must not throw; it runs before the load of the object in place returns with the failure.
    void onRollback(std::function<void()> undo);

protected:
    explicit vxArchive(bool loading);

    /// Writes, or fills, `size` bytes; `what` names the value in an error.
    virtual void transfer(void* bytes, std::size_t size, const char* what) = 0;

private:
    friend class vxPersistent;
    struct State; // The passes with their marks, the way back, how the archive failed.
    std::unique_ptr<State> state_;
};

/// A record of a version that the reader does not know. `file` and `line` say where it was refused; null and 0 are
/// allowed.
class VX_EXPORT vxArchive::UnknownVersion : public vxExceptionWithString {
public:
    UnknownVersion(const char* file, long line);
};

VX_EXPORT vxArchive& operator||(vxArchive& archive, bool& value);
VX_EXPORT vxArchive& operator||(vxArchive& archive, unsigned char& value);
VX_EXPORT vxArchive& operator||(vxArchive& archive, long& value);
VX_EXPORT vxArchive& operator||(vxArchive& archive, unsigned long& value);
VX_EXPORT vxArchive& operator||(vxArchive& archive, float& value);
VX_EXPORT vxArchive& operator||(vxArchive& archive, double& value);
/// The float-array record: an unsigned 8-bit version 0, the count as unsigned long, then the elements.
VX_EXPORT vxArchive& operator||(vxArchive& archive, std::vector<float>& value);
/// The pair record: an unsigned 8-bit version 0, then x, then y.
VX_EXPORT vxArchive& operator||(vxArchive& archive, vxPair<long>& value);
VX_EXPORT vxArchive& operator||(vxArchive& archive, vxPair<double>& value);

/// An object in place, within the current pass: what it dispatches, and after a load its reInit.
VX_EXPORT vxArchive& operator||(vxArchive& archive, vxPersistent& object);
/// An object by pointer, as a nested pass of its own: null or not, its registered type name, what it dispatches. A load
/// makes a new object that the caller deletes; on failure the pointer stays unchanged.
VX_EXPORT vxArchive& operator||(vxArchive& archive, vxPersistent*& object);

/// Stores to a stream.
class VX_EXPORT vxOutputArchive final : public vxArchive {
public:
    explicit vxOutputArchive(std::ostream& stream);
    ~vxOutputArchive() override;

private:
    void transfer(void* bytes, std::size_t size, const char* what) override;
    std::ostream& stream_;
};

/// Loads from a stream.
class VX_EXPORT vxInputArchive final : public vxArchive {
public:
    explicit vxInputArchive(std::istream& stream);
    ~vxInputArchive() override;

private:
    void transfer(void* bytes, std::size_t size, const char* what) override;
    std::istream& stream_;
};
