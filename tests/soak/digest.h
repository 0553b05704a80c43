/// \file
/// A 64-bit digest of results, bit for bit (the FNV-1a steps, over words instead of bytes).
#pragma once

#include "kavstd/archive.h"
#include "kavstd/pelbuffer.h"

#include <bit>
#include <cstdint>
#include <sstream>
#include <string>
#include <string_view>

namespace soak {

class Digest {
public:
    void add(std::uint64_t word) noexcept { value_ = std::rotl((value_ ^ word) * 0x100000001b3U, 23); }
    void add(double value) noexcept { add(std::bit_cast<std::uint64_t>(value)); }
    void add(std::string_view text) noexcept {
        for (const char c : text) {
            add(static_cast<std::uint64_t>(static_cast<unsigned char>(c)));
        }
    }
    template <vx_Pel T>
    void add(const vxPelBuffer_const<T>& image) {
        add(static_cast<std::uint64_t>(image.width()));
        add(static_cast<std::uint64_t>(image.height()));
        add(static_cast<std::uint64_t>(image.offset().x()));
        add(static_cast<std::uint64_t>(image.offset().y()));
        for (long y = 0; y < image.height(); ++y) {
            const T* row = image.pointToOffset() + y * image.rowUpdate();
            for (long x = 0; x < image.width(); ++x) {
                add(static_cast<double>(row[x]));
            }
        }
    }
    /// What an archive stores of the object: all its state.
    template <class Object>
    void addStored(const Object& object);

    [[nodiscard]] std::uint64_t value() const noexcept { return value_; }

private:
    std::uint64_t value_ = 0xcbf29ce484222325U;
};

/// An archive of the object, which storing does not change.
template <class Object>
std::string stored(const Object& object) {
    std::ostringstream stream;
    vxOutputArchive archive(stream);
    archive || const_cast<Object&>(object);
    return stream.str();
}

template <class Object>
void Digest::addStored(const Object& object) {
    add(std::string_view(stored(object)));
}

} // namespace soak
