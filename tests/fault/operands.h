/// \file
/// Operands in every state that matters, by name.
#pragma once

#include "tests/fault/engine.h"
#include "tests/support/transform_support.h"

namespace fault {

template <class T>
struct Named {
    std::string name;
    std::function<T()> make;
};
using Buffers = std::vector<Named<vxFrequencyBuffer>>;
template <class T>
using Images = std::vector<Named<vxPelBuffer<T>>>;

inline vxFrequencyBuffer spectrum(long width, long height, vxPair<long> offset = {}) {
    vxFrequencyBuffer buffer = support::filled(width, height, 7);
    support::BufferAccess::offset(buffer, offset);
    support::BufferAccess::xformCache(buffer, transform_support::someXform(3));
    return buffer;
}

inline vxFrequencyBuffer maskedSpectrum(long width, long height) {
    vxFrequencyBuffer buffer = spectrum(width, height);
    support::setMask(buffer, true, -1, 1);
    return buffer;
}

inline vxFrequencyBuffer consumedSpectrum(long width, long height, vxPair<long> offset = {}) {
    vxFrequencyBuffer buffer = spectrum(width, height, offset);
    support::setConsumed(buffer);
    return buffer;
}

/// Whatever an operation reads: square or not, padded at an offset or not, masked.
inline Buffers sources() {
    return {{"8 x 8", [] { return spectrum(8, 8); }},
            {"5 x 3 at an offset",
             [] {
                 return spectrum(5, 3, {2, -1});
             }},
            {"4 x 8 masked", [] { return maskedSpectrum(4, 8); }}};
}

/// Whatever an operation writes that sizes its result.
inline Buffers destinations() {
    return {{"empty", [] { return vxFrequencyBuffer(); }},
            {"8 x 8",
             [] {
                 return consumedSpectrum(8, 8, {5, 6});
             }},
            {"2 x 16", [] { return maskedSpectrum(2, 16); }}};
}

/// Small numbers, so that no pel is beyond what is exact.
template <class T>
vxPelBuffer<T> image(long width, long height, vxPair<long> offset = {}) {
    vxPelBuffer<T> image(width, height);
    for (long y = 0; y < height; ++y) {
        for (long x = 0; x < width; ++x) {
            image.pointToRow(y)[x] = static_cast<T>((3 + 5 * x + 11 * y) % 23);
        }
    }
    image.offset(offset);
    image.copyXforms(transform_support::someXform(4));
    return image;
}

/// What an image may be written to.
template <class T>
Images<T> outputs() {
    return {{"unbound", [] { return vxPelBuffer<T>(); }}, {"bound at an offset", [] {
                                                               return image<T>(6, 5, {1, -2});
                                                           }}};
}

template <class T>
constexpr const char* pelName() {
    return sizeof(T) == 1 ? "unsigned char" : sizeof(T) == 2 ? "unsigned short" : "double";
}

template <class Error, class Operation>
void refused(Operation operation) {
    try {
        operation();
    } catch (const Error&) {
        return;
    }
    throw std::logic_error("not refused");
}

/// Stores to a whole archive, or loads one.
template <class T>
void store(T& value, Sink& sink) {
    SinkStream stream(sink);
    vxOutputArchive archive(stream);
    archive || value;
}

template <class T>
void load(T& value, const std::string& bytes) {
    ByteStream stream(bytes);
    vxInputArchive archive(stream);
    archive || value;
}

template <class T>
std::string stored(T value) {
    Sink sink;
    store(value, sink);
    return {sink.bytes.data(), sink.size};
}

/// Storing what `make` makes, and loading it into what `makeTarget` makes.
template <class Make, class MakeTarget>
std::vector<Row> archiveRowsOf(const std::vector<std::string>& operations, const std::string& state,
                               Make make, MakeTarget makeTarget) {
    return {strong(
                operations, "store " + state, [=] { return std::tuple(make(), Sink()); },
                [](auto& value, Sink& sink) { store(value, sink); }),
            strong(
                operations, "load " + state, [=] { return std::tuple(makeTarget(), stored(make())); },
                [](auto& value, const std::string& bytes) { load(value, bytes); })};
}

} // namespace fault
