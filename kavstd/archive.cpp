#include "kavstd/archive.h"

#include "kavstd/internal/archive_state.h"
#include "kavsys/assert.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <istream>
#include <ostream>
#include <span>
#include <utility>

namespace {

// The line break shows a file that went through a text-mode conversion.
constexpr std::array<unsigned char, 8> magic = {'K', 'A', 'V', 'A', 'R', 'C', 'H', '\n'};
constexpr unsigned char formatVersion = 1;

template <class Bits>
void putLittleEndian(Bits bits, unsigned char* bytes) {
    for (std::size_t i = 0; i < sizeof(Bits); ++i) {
        bytes[i] = static_cast<unsigned char>(bits >> (8 * i));
    }
}

template <class Bits>
Bits getLittleEndian(const unsigned char* bytes) {
    Bits bits = 0;
    for (std::size_t i = 0; i < sizeof(Bits); ++i) {
        bits |= static_cast<Bits>(static_cast<Bits>(bytes[i]) << (8 * i));
    }
    return bits;
}

/// Stores `bits`, or returns what was loaded.
template <class Bits>
Bits archiveBits(vxArchive& archive, Bits bits, const char* what) {
    std::array<unsigned char, sizeof(Bits)> bytes{};
    putLittleEndian(bits, bytes.data());
    vx_ArchiveAccess::state(archive).transfer(bytes.data(), bytes.size(), what);
    return getLittleEndian<Bits>(bytes.data());
}

/// Integers travel as the 64-bit type Wide, which may be wider than T is on this platform.
template <class Wide, class T>
vxArchive& archiveInteger(vxArchive& archive, T& value, const char* what) {
    const auto bits = archiveBits(archive, static_cast<std::uint64_t>(static_cast<Wide>(value)), what);
    const auto wide = static_cast<Wide>(bits);
    if (!std::in_range<T>(wide)) {
        archive.refuse("an integer that does not fit this platform");
    }
    if (archive.isLoading()) {
        value = static_cast<T>(wide);
    }
    return archive;
}

template <class Bits, class T>
vxArchive& archiveFloat(vxArchive& archive, T& value, const char* what) {
    const Bits bits = archiveBits(archive, std::bit_cast<Bits>(value), what);
    if (archive.isLoading()) {
        value = std::bit_cast<T>(bits);
    }
    return archive;
}

template <class T>
vxArchive& archivePair(vxArchive& archive, vxPair<T>& value) {
    vx_ArchiveAccess::state(archive).version("a pair");
    T x = value.x();
    T y = value.y();
    archive || x || y;
    if (archive.isLoading()) {
        value = {x, y};
    }
    return archive;
}

// Floats go through the bytes of the archive's byte order, unless they are these bytes themselves.
constexpr bool floatsAreLittleEndian = std::endian::native == std::endian::little;

void storeChunk(vx_ArchiveAccess::State& state, std::span<const float> values) {
    if constexpr (floatsAreLittleEndian) {
        // Storing only reads.
        state.transfer(const_cast<float*>(values.data()), values.size_bytes(), "a float array");
    } else {
        std::array<unsigned char, vx_FloatChunk * sizeof(float)> bytes;
        for (std::size_t i = 0; i < values.size(); ++i) {
            putLittleEndian(std::bit_cast<std::uint32_t>(values[i]), bytes.data() + i * sizeof(float));
        }
        state.transfer(bytes.data(), values.size_bytes(), "a float array");
    }
}

/// Runs an operation on a stream, which may be set to throw what otherwise shows in its state.
template <class Operation>
bool succeeds(const std::ios& stream, Operation operation) {
    try {
        operation();
    } catch (const std::exception&) {
        return false;
    }
    return !stream.fail();
}

} // namespace

vxArchive::vxArchive(bool loading) : state_(std::make_unique<State>(*this, loading)) {}

vxArchive::~vxArchive() = default;

bool vxArchive::isLoading() const noexcept {
    return state_->loading;
}

void vxArchive::refuse(const char* what) {
    state_->refuse(what);
}

void vxArchive::onRollback(std::function<void()> undo) {
    state_->onRollback(std::move(undo));
}

void vxArchive::header() {
    std::array<unsigned char, magic.size()> bytes = magic;
    state_->transfer(bytes.data(), bytes.size(), "the magic");
    if (bytes != magic) {
        state_->refuse("not an archive");
    }
    unsigned char version = formatVersion;
    state_->transfer(&version, 1, "the format version");
    if (version != formatVersion) {
        state_->failUnknownVersion("the format version");
    }
}

vxArchive& operator||(vxArchive& archive, bool& value) {
    const auto bits = archiveBits(archive, static_cast<unsigned char>(value ? 1 : 0), "a bool");
    if (bits > 1) {
        archive.refuse("a bool that is neither 0 nor 1");
    }
    if (archive.isLoading()) {
        value = bits == 1;
    }
    return archive;
}

vxArchive& operator||(vxArchive& archive, unsigned char& value) {
    const auto bits = archiveBits(archive, value, "a byte");
    if (archive.isLoading()) {
        value = bits;
    }
    return archive;
}

vxArchive& operator||(vxArchive& archive, long& value) {
    return archiveInteger<std::int64_t>(archive, value, "a long");
}

vxArchive& operator||(vxArchive& archive, unsigned long& value) {
    return archiveInteger<std::uint64_t>(archive, value, "an unsigned long");
}

vxArchive& operator||(vxArchive& archive, float& value) {
    return archiveFloat<std::uint32_t>(archive, value, "a float");
}

vxArchive& operator||(vxArchive& archive, double& value) {
    return archiveFloat<std::uint64_t>(archive, value, "a double");
}

vxArchive& operator||(vxArchive& archive, std::vector<float>& value) {
    if (!archive.isLoading()) {
        vf_StoreFloats(archive, value.data(), value.size());
        return archive;
    }
    std::vector<float> loaded;
    vf_LoadFloats(archive, vf_LoadFloatCount(archive), 0, loaded);
    value = std::move(loaded);
    return archive;
}

void vf_StoreFloats(vxArchive& archive, const float* values, std::size_t count) {
    VX_ASSERT(!archive.isLoading());
    vx_ArchiveAccess::State& state = vx_ArchiveAccess::state(archive);
    state.version("a float array");
    archiveInteger<std::uint64_t>(archive, count, "the count of a float array");
    for (std::size_t done = 0; done < count; done += vx_FloatChunk) {
        storeChunk(state, {values + done, std::min(vx_FloatChunk, count - done)});
    }
}

std::size_t vf_LoadFloatCount(vxArchive& archive) {
    VX_ASSERT(archive.isLoading());
    vx_ArchiveAccess::state(archive).version("a float array");
    std::size_t count = 0;
    archiveInteger<std::uint64_t>(archive, count, "the count of a float array");
    if (count > std::vector<float>().max_size()) {
        archive.refuse("more floats than memory can hold");
    }
    return count;
}

void vf_LoadFloatChunk(vxArchive& archive, float* values, std::size_t count) {
    VX_ASSERT(archive.isLoading());
    vx_ArchiveAccess::state(archive).transfer(values, count * sizeof(float), "a float array");
    if constexpr (!floatsAreLittleEndian) {
        for (float& value : std::span(values, count)) {
            std::array<unsigned char, sizeof(float)> bytes;
            std::memcpy(bytes.data(), &value, bytes.size());
            value = std::bit_cast<float>(getLittleEndian<std::uint32_t>(bytes.data()));
        }
    }
}

vxArchive& operator||(vxArchive& archive, vxPair<long>& value) {
    return archivePair(archive, value);
}

vxArchive& operator||(vxArchive& archive, vxPair<double>& value) {
    return archivePair(archive, value);
}

vxArchive& operator||(vxArchive& archive, vxPersistent& object) {
    vx_ArchiveAccess::state(archive).inPlace(object, archive.isLoading());
    return archive;
}

vxArchive& operator||(vxArchive& archive, vxPersistent*& object) {
    vx_ArchiveAccess::state(archive).byPointer(object);
    return archive;
}

vxOutputArchive::vxOutputArchive(std::ostream& stream) : vxArchive(false), stream_(stream) {
    header();
}

vxOutputArchive::~vxOutputArchive() = default;

void vxOutputArchive::flush() {
    vx_ArchiveAccess::State& state = vx_ArchiveAccess::state(*this);
    state.requireUsable();
    if (!succeeds(stream_, [this] { stream_.flush(); })) {
        state.failTransfer("what the stream had kept back");
    }
}

bool vxOutputArchive::transfer(void* bytes, std::size_t size) {
    return succeeds(
        stream_, [&] { stream_.write(static_cast<const char*>(bytes), static_cast<std::streamsize>(size)); });
}

vxInputArchive::vxInputArchive(std::istream& stream) : vxArchive(true), stream_(stream) {
    header();
}

vxInputArchive::~vxInputArchive() = default;

bool vxInputArchive::transfer(void* bytes, std::size_t size) {
    return succeeds(stream_,
                    [&] { stream_.read(static_cast<char*>(bytes), static_cast<std::streamsize>(size)); });
}
