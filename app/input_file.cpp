#include "app/input_file.h"

#include "kavstd/attention.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

namespace app {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t largestPipe = std::size_t{256} << 20;

class Descriptor {
public:
    explicit Descriptor(int value) : value_(value) {}
    ~Descriptor() { ::close(value_); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    [[nodiscard]] int value() const { return value_; }

private:
    int value_;
};

// A signal ends the wait for a pipe; the check then tells whether it was an interruption.
template <class Call>
auto retried(const Call& call) {
    for (;;) {
        vxAttention::check();
        const auto result = call();
        if (result >= 0) {
            return result;
        }
        if (errno != EINTR) {
            throw UnreadableError(std::strerror(errno));
        }
    }
}

// A pipe cannot be sought in, so it is read whole first.
std::string readPipe(const fs::path& path) {
    const Descriptor pipe(retried([&path] { return ::open(path.c_str(), O_RDONLY | O_CLOEXEC); }));
    std::string bytes;
    std::vector<char> chunk(std::size_t{1} << 16);
    while (const auto got = retried([&] { return ::read(pipe.value(), chunk.data(), chunk.size()); })) {
        bytes.append(chunk.data(), static_cast<std::size_t>(got));
        if (bytes.size() > largestPipe) {
            throw UnreadableError("the pipe holds more than 256 MiB");
        }
    }
    return bytes;
}

} // namespace

std::unique_ptr<std::istream> openInput(const fs::path& path) {
    const fs::file_status status = fs::status(path);
    if (fs::is_directory(status)) {
        throw UnreadableError("it is a directory");
    }
    if (!fs::exists(status)) {
        throw UnreadableError("no such file");
    }
    if (!fs::is_regular_file(status)) {
        return std::make_unique<std::istringstream>(readPipe(path));
    }
    auto file = std::make_unique<std::ifstream>(path, std::ios::binary);
    if (!*file) {
        throw UnreadableError(std::strerror(errno));
    }
    return file;
}

} // namespace app
