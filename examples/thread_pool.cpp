// Filters many images with several threads. The library starts no threads and keeps no state between calls:
// threads that have buffers of their own never wait for each other, and a built filter may serve all of them.
// The result has the same bits, whoever computes it.
#include "example.h"

#include <filt/fft.h>
#include <filt/freqfilt.h>

#include <algorithm>
#include <atomic>
#include <exception>
#include <iostream>
#include <random>
#include <thread>
#include <vector>

namespace {
constexpr long width = 300;
constexpr long height = 200;

using Image = vxPelBuffer<unsigned char>;

std::vector<Image> frames(std::size_t count) {
    std::mt19937 random(3);
    std::vector<Image> images;
    for (std::size_t i = 0; i < count; ++i) {
        Image image(width, height);
        for (long y = 0; y < height; ++y) {
            for (long x = 0; x < width; ++x) {
                image.pointToRow(y)[x] = static_cast<unsigned char>(random());
            }
        }
        images.push_back(image); // A handle: no pels are copied.
    }
    return images;
}

void filterOne(const Image& image, const vxFrequencyFilter& filter, vxFrequencyBuffer& spectrum,
               Image& result) {
    vfForwardFFT<unsigned char>(image, spectrum);
    filter.apply(spectrum);
    vfInverseFFT(spectrum, result, true, true);
}

// [thread_pool]
// What one thread does: it takes the next image until none is left. Its spectrum is sized by the first image
// and used again for the others, so that little memory is asked for after it.
void work(const std::vector<Image>& images, const vxFrequencyFilter& filter, std::vector<Image>& results,
          std::atomic<std::size_t>& next, std::exception_ptr& failure) {
    try {
        vxFrequencyBuffer spectrum;
        for (std::size_t i = next++; i < images.size(); i = next++) {
            filterOne(images[i], filter, spectrum, results[i]);
        }
    } catch (...) {
        failure = std::current_exception(); // An exception that left the thread would end the program.
    }
}

std::vector<Image> filterAll(const std::vector<Image>& images, const vxFrequencyFilter& filter,
                             std::size_t threadCount) {
    std::vector<Image> results(images.size());
    std::vector<std::exception_ptr> failures(threadCount);
    std::atomic<std::size_t> next = 0;
    std::vector<std::thread> threads;
    for (std::exception_ptr& failure : failures) {
        threads.emplace_back([&] { work(images, filter, results, next, failure); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (const std::exception_ptr& failure : failures) {
        if (failure) {
            std::rethrow_exception(failure);
        }
    }
    return results;
}
// [thread_pool]

bool samePels(const Image& a, const Image& b) {
    for (long y = 0; y < height; ++y) {
        if (!std::equal(a.pointToRow(y), a.pointToRow(y) + width, b.pointToRow(y))) {
            return false;
        }
    }
    return a.width() == width && b.width() == width && a.height() == height && b.height() == height;
}

void run() {
    const std::vector<Image> images = frames(40);
    const vxFrequencyFilterBandPass filter(0.02, 0.0, 0.1, {512, 256},
                                           1); // 300 x 200, rounded up to powers of two.

    const std::vector<Image> alone = filterAll(images, filter, 1);
    const std::vector<Image> together = filterAll(images, filter, 4);
    const bool same = std::equal(alone.begin(), alone.end(), together.begin(), samePels);
    std::cout << images.size() << " images, 4 threads, " << (same ? "the same bits" : "other bits") << '\n';
    example::require(same, "four threads compute the bits that one does");
    example::require(!samePels(alone[0], alone[1]), "and the images differ from each other");
}
} // namespace

int main() {
    try {
        run();
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "thread_pool: " << error.what() << '\n';
        return 1;
    }
}
