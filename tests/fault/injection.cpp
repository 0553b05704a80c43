#include "tests/fault/injection.h"

#include "kavstd/attention.h"
#include "tests/support/failing_allocation.h"

#include <algorithm>
#include <cstring>
#include <typeinfo>

namespace {

struct Cancelled {
    long point;
};

/// The archive primitives so far, and which one is to fail.
struct Primitives {
    long count = 0;
    long failing = -1;          // None.
    std::size_t bytes = 0;      // Of those that succeeded.
    std::size_t valueStart = 0; // Of the latest that has bytes.
};
thread_local Primitives primitives;

/// Counts a primitive of so many bytes; whether it is to fail.
bool primitiveFails(std::size_t size) {
    if (size > 0 && primitives.count <= primitives.failing) {
        primitives.valueStart = primitives.bytes;
    }
    if (primitives.count++ == primitives.failing) {
        return true;
    }
    primitives.bytes += size;
    return false;
}

std::exception_ptr errorOf(const std::function<void()>& operation) {
    try {
        operation();
    } catch (...) {
        return std::current_exception();
    }
    return nullptr;
}

fault::Outcome withAllocations(long k, bool allAfter, const std::function<void()>& operation) {
    const failing_allocation::Scope scope(k, allAfter);
    fault::Outcome outcome;
    outcome.error = errorOf(operation);
    outcome.reached = scope.failed();
    return outcome;
}

fault::Outcome withCancellation(long k, const std::function<void()>& operation) {
    long points = 0;
    const vxAttention::Scope scope([&points, k] {
        if (points++ == k) {
            throw Cancelled{k};
        }
    });
    fault::Outcome outcome;
    outcome.error = errorOf(operation);
    outcome.reached = points > k;
    return outcome;
}

fault::Outcome withPrimitive(long k, const std::function<void()>& operation) {
    primitives = {0, k, 0, 0};
    fault::Outcome outcome;
    outcome.error = errorOf(operation);
    outcome.reached = primitives.count > k;
    primitives.failing = -1;
    return outcome;
}

/// The archive's own error for a stream that failed there.
template <class Error>
std::string strangenessOf(const Error& error, const std::string& start) {
    const std::string text = error.what();
    const std::string expected = start + " at byte " + std::to_string(primitives.valueStart) + ", ";
    return text.starts_with(expected) && typeid(error) == typeid(Error) ? "" : text + ", not " + expected;
}

std::string unlessSame(long point, long expected) {
    return point == expected ? "" : "that of point " + std::to_string(point);
}

} // namespace

fault::Outcome fault::runWithFault(Kind kind, long k, const std::function<void()>& operation) {
    switch (kind) {
    case Kind::allocation:
    case Kind::allocationsFrom:
        return withAllocations(k, kind == Kind::allocationsFrom, operation);
    case Kind::cancellation:
        return withCancellation(k, operation);
    case Kind::primitive:
        return withPrimitive(k, operation);
    }
    return {};
}

std::string fault::strangeness(Kind kind, long k, const std::exception_ptr& error) {
    try {
        std::rethrow_exception(error);
    } catch (const failing_allocation::Refused& refused) {
        if (kind == Kind::allocationsFrom && refused.number > k) {
            return "";
        }
        return kind == Kind::allocation ? unlessSame(refused.number, k + 1) : "a refused allocation";
    } catch (const Cancelled& cancelled) {
        return kind == Kind::cancellation ? unlessSame(cancelled.point, k) : "a cancellation";
    } catch (const Broken& broken) {
        return kind == Kind::primitive ? unlessSame(broken.point, k) : "a broken archive";
    } catch (const vxArchive::EndOfData& end) {
        return kind == Kind::primitive ? strangenessOf(end, "End of data") : end.what();
    } catch (const vxArchive::WriteFailed& failed) {
        return kind == Kind::primitive ? strangenessOf(failed, "Write failed") : failed.what();
    } catch (const std::exception& other) {
        return other.what();
    }
}

long fault::livingAllocations() {
    return failing_allocation::living;
}

// The standard streams take their buffer's address before it is made, and use it after.
fault::SinkStream::SinkStream(Sink& sink) : std::ostream(nullptr), sink_(sink) {
    rdbuf(this);
    sink_.size = 0;
}

std::streamsize fault::SinkStream::xsputn(const char* bytes, std::streamsize size) {
    const auto count = static_cast<std::size_t>(size);
    if (primitiveFails(count) || count > sink_.bytes.size() - sink_.size) {
        return 0;
    }
    std::copy_n(bytes, count, sink_.bytes.begin() + static_cast<std::ptrdiff_t>(sink_.size));
    sink_.size += count;
    return size;
}

std::streambuf::int_type fault::SinkStream::overflow(std::streambuf::int_type byte) {
    const char one = std::streambuf::traits_type::to_char_type(byte);
    return xsputn(&one, 1) == 1 ? std::streambuf::traits_type::not_eof(byte)
                                : std::streambuf::traits_type::eof();
}

int fault::SinkStream::sync() {
    return primitiveFails(0) ? -1 : 0;
}

fault::ByteStream::ByteStream(const std::string& bytes) : std::istream(nullptr) {
    rdbuf(this);
    char* first = const_cast<char*>(bytes.data()); // Only read.
    setg(first, first, first + bytes.size());
}

std::streamsize fault::ByteStream::xsgetn(char* bytes, std::streamsize size) {
    return primitiveFails(static_cast<std::size_t>(size)) ? 0 : std::streambuf::xsgetn(bytes, size);
}

bool fault::TestArchive::transfer(void* bytes, std::size_t size) {
    if (primitiveFails(size)) {
        throw Broken{primitives.failing};
    }
    if (isLoading()) {
        std::memset(bytes, 0, size);
    }
    return true;
}
