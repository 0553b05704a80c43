#include "app/content_hash.h"

#include "kavstd/attention.h"

#include <istream>
#include <nettle/sha2.h>
#include <vector>

namespace app {
namespace {

std::string digest(sha256_ctx& context) {
    std::uint8_t bytes[SHA256_DIGEST_SIZE];
    sha256_digest(&context, sizeof bytes, bytes);
    constexpr const char* digits = "0123456789abcdef";
    std::string text;
    for (const std::uint8_t byte : bytes) {
        text += digits[byte >> 4];
        text += digits[byte & 15];
    }
    return text;
}

} // namespace

std::string sha256(std::span<const unsigned char> bytes) {
    sha256_ctx context;
    sha256_init(&context);
    sha256_update(&context, bytes.size(), bytes.data());
    return digest(context);
}

std::string sha256(std::istream& file) {
    sha256_ctx context;
    sha256_init(&context);
    std::vector<char> chunk(std::size_t{1} << 16);
    file.clear();
    file.seekg(0);
    while (file) {
        vxAttention::check();
        file.read(chunk.data(), static_cast<std::streamsize>(chunk.size()));
        sha256_update(&context, static_cast<std::size_t>(file.gcount()),
                      reinterpret_cast<const std::uint8_t*>(chunk.data()));
    }
    file.clear();
    file.seekg(0);
    return digest(context);
}

} // namespace app
