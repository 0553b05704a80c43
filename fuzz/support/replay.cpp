// Runs a fuzz target on each file of a corpus, without a fuzzer.
// usage: NAME_replay [--failing-allocations] FOLDER_OR_FILE...
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerInitialize(int* count, char*** arguments);
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

namespace fs = std::filesystem;

std::vector<fs::path> filesOf(const fs::path& path) {
    if (!fs::is_directory(path)) {
        return {path};
    }
    std::vector<fs::path> files;
    for (const fs::directory_entry& entry : fs::directory_iterator(path)) {
        files.push_back(entry.path());
    }
    return files;
}

void replay(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    file.exceptions(std::ios::badbit | std::ios::failbit);
    const std::vector<char> text{std::istreambuf_iterator<char>(file), {}};
    const std::vector<std::uint8_t> bytes(text.begin(), text.end());
    std::cerr << path.string() << '\n'; // Before the run, so that a crash has a name.
    LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
}

} // namespace

int main(int count, char** arguments) {
    LLVMFuzzerInitialize(&count, &arguments);
    std::size_t inputs = 0;
    for (int i = 1; i < count; ++i) {
        for (const fs::path& path : filesOf(arguments[i])) {
            replay(path);
            ++inputs;
        }
    }
    std::cout << inputs << " inputs\n";
    return inputs > 0 ? 0 : 1; // A test without inputs tests nothing.
}
