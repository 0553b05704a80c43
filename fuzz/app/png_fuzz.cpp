// Any bytes are a PNG image or refused. A fuzzer does not guess checksums, so each chunk gets its own, unless
// the first byte is odd.
#include "app/png_file.h"
#include "fuzz/app/image_reader.h"

#include <string_view>

namespace {

constexpr std::size_t signatureSize = 8;
constexpr std::size_t numberSize = 4;

/// ISO 3309, as PNG has it.
std::uint32_t checksum(std::string_view bytes) {
    std::uint32_t remainder = 0xFFFFFFFF;
    for (const char byte : bytes) {
        remainder ^= static_cast<unsigned char>(byte);
        for (int bit = 0; bit < 8; ++bit) {
            remainder = (remainder >> 1) ^ (remainder % 2 != 0 ? 0xEDB88320U : 0U);
        }
    }
    return ~remainder;
}

std::uint32_t numberAt(const std::string& bytes, std::size_t position) {
    std::uint32_t number = 0;
    for (std::size_t i = 0; i < numberSize; ++i) {
        number = number << 8 | static_cast<unsigned char>(bytes[position + i]);
    }
    return number;
}

void putNumber(std::string& bytes, std::size_t position, std::uint32_t number) {
    for (std::size_t i = numberSize; i-- > 0; number >>= 8) {
        bytes[position + i] = static_cast<char>(static_cast<unsigned char>(number & 255U));
    }
}

/// Length, type, data, checksum of type and data; again and again.
void putChecksums(std::string& bytes) {
    for (std::size_t chunk = signatureSize; chunk + 3 * numberSize <= bytes.size();) {
        const std::size_t length = numberAt(bytes, chunk);
        if (length > bytes.size() - chunk - 3 * numberSize) {
            return;
        }
        const std::size_t end = chunk + 2 * numberSize + length;
        putNumber(bytes, end,
                  checksum(std::string_view(bytes).substr(chunk + numberSize, numberSize + length)));
        chunk = end + numberSize;
    }
}

} // namespace

void fuzz::run(Bytes input) {
    const bool asItIs = input.flag();
    std::string bytes = input.text();
    if (!asItIs) {
        putChecksums(bytes);
    }
    checkReader(app::readPng, app::encodePng, bytes);
}
