/// \file
/// What the jobs hand in: hashes of results that must have the same bits everywhere, and samples of those
/// that come from the maths library.
#pragma once

#include "filt/fft/frequency_buffer.h"
#include "kavstd/pelbuffer.h"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace identity {

/// The bits of a float or double. Which NaN an operation gives depends on the processor and on the order of
/// the operands, which the compiler chooses; they all count as one.
inline std::uint32_t bitsOf(float x) {
    const auto bits = std::bit_cast<std::uint32_t>(x);
    return (bits & 0x7fffffffU) > 0x7f800000U ? 0x7fc00000U : bits;
}
inline std::uint64_t bitsOf(double x) {
    const auto bits = std::bit_cast<std::uint64_t>(x);
    return (bits & 0x7fffffffffffffffU) > 0x7ff0000000000000U ? 0x7ff8000000000000U : bits;
}

/// Fowler, Noll and Vo's hash 1a of bytes, least significant first.
class Hash {
public:
    void add(unsigned char value) { addBytes(value, 1); }
    void add(unsigned short value) { addBytes(value, 2); }
    void add(std::uint32_t value) { addBytes(value, 4); }
    void add(std::uint64_t value) { addBytes(value, 8); }
    void add(long value) { add(static_cast<std::uint64_t>(std::int64_t{value})); }
    void add(bool value) { add(static_cast<unsigned char>(value ? 1 : 0)); }
    void add(float value) { add(bitsOf(value)); }
    void add(double value) { add(bitsOf(value)); }
    void add(const std::string& bytes) {
        for (const char byte : bytes) {
            add(static_cast<unsigned char>(byte));
        }
    }
    template <class T>
    void add(const std::vector<T>& values) {
        for (const T& value : values) {
            add(value);
        }
    }
    /// Size, offset and pels, not what pads the rows.
    template <class T>
    void add(const vxPelBuffer<T>& image) {
        add(image.width());
        add(image.height());
        add(image.offset().x());
        add(image.offset().y());
        for (long y = 0; y < image.height(); ++y) {
            const T* row = image.pointToOffset() + y * image.rowUpdate();
            for (long x = 0; x < image.width(); ++x) {
                add(row[x]);
            }
        }
    }
    /// Samples and state.
    void add(const vxFrequencyBuffer& buffer);

    [[nodiscard]] std::uint64_t value() const { return value_; }

private:
    void addBytes(std::uint64_t value, int count) {
        for (int i = 0; i < count; ++i) {
            value_ = (value_ ^ (value >> 8 * i & 0xffU)) * 0x100000001b3U;
        }
    }

    std::uint64_t value_ = 0xcbf29ce484222325U;
};

/// Numbers that come from the maths library: their bits as integers in the order of the numbers.
struct Near {
    std::string precision; ///< float, double or pel.
    std::vector<std::int64_t> values;
};

class Results {
public:
    /// A hash that must be the same everywhere. Whatever is added goes to the end of the job of that name.
    Hash& exact(const std::string& name) { return exact_[name]; }
    /// Numbers of which a neighbour will do as well. About 16 of them are kept.
    void near(const std::string& name, const std::vector<float>& values);
    void near(const std::string& name, const vxPelBuffer<double>& image, bool areFloats);
    void near(const std::string& name, const vxPelBuffer<unsigned char>& image);

    [[nodiscard]] const std::map<std::string, Hash>& hashes() const { return exact_; }
    [[nodiscard]] const std::map<std::string, Near>& neighbours() const { return near_; }

private:
    std::map<std::string, Hash> exact_;
    std::map<std::string, Near> near_;
};

/// To be called with the size of each transform before it: with a forced instruction set, fails the program
/// unless the transform takes that set or, when it is too small for it, one lane.
void expectForcedSet(const vxPair<long>& size);

void kernelJobs(Results& results);
void forwardJobs(Results& results);
void inverseJobs(Results& results);
void filterJobs(Results& results);
void arithmeticJobs(Results& results);
void spectrumJobs(Results& results);
void mappingJobs(Results& results);
void archiveJobs(Results& results);
void mathsJobs(Results& results);

} // namespace identity
