#include "kavstd/archive.h"

#include "kavstd/internal/archive_state.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <istream>
#include <ostream>
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

/// Archives up to a chunk of floats at a time.
class FloatChunks {
public:
    static constexpr std::size_t capacity = 1024;

    explicit FloatChunks(vxArchive& archive) : state_(vx_ArchiveAccess::state(archive)) {}

    void store(const float* values, std::size_t count) {
        for (std::size_t i = 0; i < count; ++i) {
            putLittleEndian(std::bit_cast<std::uint32_t>(values[i]), bytes_.data() + i * sizeof(float));
        }
        transfer(count);
    }
    void load(float* values, std::size_t count) {
        transfer(count);
        for (std::size_t i = 0; i < count; ++i) {
            values[i] =
                std::bit_cast<float>(getLittleEndian<std::uint32_t>(bytes_.data() + i * sizeof(float)));
        }
    }

private:
    void transfer(std::size_t count) {
        state_.transfer(bytes_.data(), count * sizeof(float), "a float array");
    }

    vx_ArchiveAccess::State& state_;
    std::array<unsigned char, capacity * sizeof(float)> bytes_{};
};

void storeFloats(vxArchive& archive, const std::vector<float>& values) {
    FloatChunks chunks(archive);
    for (std::size_t done = 0; done < values.size();) {
        const std::size_t count = std::min(values.size() - done, FloatChunks::capacity);
        chunks.store(values.data() + done, count);
        done += count;
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

/// The vector grows only as its elements arrive, so no count is believed.
std::vector<float> loadFloats(vxArchive& archive, std::size_t count) {
    FloatChunks chunks(archive);
    std::array<float, FloatChunks::capacity> chunk{};
    std::vector<float> values;
    while (values.size() < count) {
        const std::size_t size = std::min(count - values.size(), chunk.size());
        chunks.load(chunk.data(), size);
        values.insert(values.end(), chunk.data(), chunk.data() + size);
    }
    return values;
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
    vx_ArchiveAccess::state(archive).version("a float array");
    std::size_t count = value.size();
    archiveInteger<std::uint64_t>(archive, count, "the count of a float array");
    if (!archive.isLoading()) {
        storeFloats(archive, value);
        return archive;
    }
    if (count > value.max_size()) {
        archive.refuse("more floats than memory can hold");
    }
    value = loadFloats(archive, count);
    return archive;
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
