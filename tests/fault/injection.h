/// \file
/// Making one point of an operation fail: an allocation, a cancellation point, an archive primitive.
#pragma once

#include "kavstd/archive.h"

#include <array>
#include <cstddef>
#include <exception>
#include <functional>
#include <istream>
#include <ostream>
#include <streambuf>
#include <string>

namespace fault {

enum class Kind { allocation, allocationsFrom, cancellation, primitive };
inline constexpr std::array kinds = {Kind::allocation, Kind::allocationsFrom, Kind::cancellation,
                                     Kind::primitive};

/// What came of an operation with its point number `k`, counted from 0, failing.
struct Outcome {
    bool reached = false;     // The operation has such a point.
    std::exception_ptr error; // What came out, if anything.
};
[[nodiscard]] Outcome runWithFault(Kind kind, long k, const std::function<void()>& operation);

/// Why that error is not the one injected at `k`, unchanged; empty when it is.
[[nodiscard]] std::string strangeness(Kind kind, long k, const std::exception_ptr& error);

/// Allocations that are alive.
[[nodiscard]] long livingAllocations();

/// Where an operation stores; needs no memory for it.
struct Sink {
    std::array<char, 1 << 15> bytes{};
    std::size_t size = 0;
};

/// A stream into a sink, which it empties first. Each write and flush is a point.
class SinkStream : private std::streambuf, public std::ostream {
public:
    explicit SinkStream(Sink& sink);

private:
    std::streamsize xsputn(const char* bytes, std::streamsize size) override;
    std::streambuf::int_type overflow(std::streambuf::int_type byte) override;
    int sync() override;
    Sink& sink_;
};

/// A stream of those bytes. Each read is a point.
class ByteStream : private std::streambuf, public std::istream {
public:
    explicit ByteStream(const std::string& bytes);

private:
    std::streamsize xsgetn(char* bytes, std::streamsize size) override;
};

/// What a primitive of TestArchive throws when it is the one to fail.
struct Broken {
    long point;
};

/// An archive of a user's own: stores nothing and loads zeros. Each transfer is a point.
class TestArchive : public vxArchive {
public:
    explicit TestArchive(bool loading) : vxArchive(loading) {}
    using vxArchive::header;

protected:
    bool transfer(void* bytes, std::size_t size) override;
};

} // namespace fault
