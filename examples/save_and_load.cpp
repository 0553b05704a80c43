// Saves a filter to a file and loads it again: one that is built, and tuned, in the office filters on the
// factory floor with the same bits. What a file holds is not trusted.
#include "example.h"

#include <filt/fft.h>
#include <filt/freqfilt.h>
#include <kavstd/archive.h>

#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <random>
#include <sstream>
#include <string>

namespace {
namespace fs = std::filesystem;

// [save_filter]
// By pointer: the file then names the filter's class, and whoever loads it need not know which one it is. The
// file takes its name when it is complete, so that no half of a filter replaces a whole one.
void save(const vxFrequencyFilter& filter, const fs::path& path) {
    const fs::path part = path.string() + ".part";
    std::ofstream file(part, std::ios::binary);
    vxOutputArchive archive(file);
    const std::unique_ptr<vxFrequencyFilter> copy(
        filter.clone()); // Archives take objects that are not const.
    vxPersistent* object = copy.get();
    archive || object;
    archive.flush(); // A full disk shows now, as vxArchive::WriteFailed.
    file.close();
    fs::rename(part, path);
}
// [save_filter]

// [load_any_filter]
// Any class in the registry can come out, so what came is looked at before it is used.
std::unique_ptr<vxFrequencyFilter> load(std::istream& file) {
    vxInputArchive archive(file);
    vxPersistent* object = nullptr;
    archive || object;
    std::unique_ptr<vxPersistent> owner(object);
    auto* const filter = dynamic_cast<vxFrequencyFilter*>(object);
    if (filter == nullptr) {
        throw std::runtime_error("the file holds no filter");
    }
    static_cast<void>(owner.release());
    return std::unique_ptr<vxFrequencyFilter>(filter);
}
// [load_any_filter]

vxFrequencyBuffer someSpectrum() {
    vxPelBuffer<unsigned char> image(64, 64);
    for (long y = 0; y < 64; ++y) {
        for (long x = 0; x < 64; ++x) {
            image.pointToRow(y)[x] = static_cast<unsigned char>((x * y) % 251);
        }
    }
    vxFrequencyBuffer spectrum;
    vfForwardFFT<unsigned char>(image, spectrum);
    return spectrum;
}

std::string bytesOf(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream bytes;
    bytes << file.rdbuf();
    return bytes.str();
}

void run() {
    const fs::path path = fs::temp_directory_path() /
                          ("kavfilt_save_and_load_" + std::to_string(std::random_device()()) + ".kav");
    const vxFrequencyFilterGabor filter({0.02, 0.04}, {0.0, 0.0}, vxRadian(0.7), 0.15, {64, 64}, 1);
    save(filter, path);
    const std::string bytes = bytesOf(path);
    std::ifstream file(path, std::ios::binary);
    const std::unique_ptr<vxFrequencyFilter> loaded = load(file);
    file.close();
    fs::remove(path);

    // The gains themselves are in the file: nothing is computed again, so nothing can come out otherwise.
    const auto* const gabor = dynamic_cast<const vxFrequencyFilterGabor*>(loaded.get());
    example::require(gabor != nullptr && *gabor == filter,
                     "the loaded filter has the class and the gains of the saved one");
    vxFrequencyBuffer one = someSpectrum();
    vxFrequencyBuffer other = one;
    filter.apply(one);
    loaded->apply(other);
    example::require(one == other, "and filters alike");

    // A file that was cut short is refused, and nothing is left behind.
    std::istringstream half(bytes.substr(0, bytes.size() / 2));
    try {
        static_cast<void>(load(half));
    } catch (const vxArchive::EndOfData& error) {
        std::cout << "a filter of " << bytes.size() << " bytes; of half of them: " << error.what() << '\n';
        return;
    }
    example::require(false, "half a file is refused");
}
} // namespace

int main() {
    try {
        run();
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "save_and_load: " << error.what() << '\n';
        return 1;
    }
}
