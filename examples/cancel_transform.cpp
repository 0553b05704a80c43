// Cancels a transform from another thread: the operator presses stop, and the inspection ends within the
// transform that is running, not after it.
#include "example.h"

#include <filt/fft.h>
#include <filt/freqfilt.h>
#include <kavstd/attention.h>

#include <atomic>
#include <exception>
#include <future>
#include <iostream>
#include <thread>

namespace {
// [cancel_handler]
// What the handler throws passes through the library unchanged, so the class is the application's own.
struct Stopped : std::exception {
    [[nodiscard]] const char* what() const noexcept override { return "stopped by the operator"; }
};

// Inspects image after image until somebody sets `stop`. Returns how many were finished.
long inspect(const vxPelBuffer_const<unsigned char>& image, vxPelBuffer<unsigned char>& result,
             const std::atomic<bool>& stop, std::promise<void>& running) {
    long finished = 0;
    bool told = false;
    // For this thread and as long as the scope lives. Transforms call it every few rows.
    const vxAttention::Scope attention([&] {
        if (!told) {
            told = true;
            running.set_value(); // From here on a transform is under way.
        }
        if (stop) {
            throw Stopped();
        }
    });
    vxFrequencyBuffer spectrum;
    try {
        for (;;) {
            vfForwardFFT(image, spectrum);
            vfInverseFFT(spectrum, result, false, true);
            ++finished;
        }
    } catch (const Stopped& reason) {
        std::cout << reason.what() << " after " << finished << " images\n";
    }
    return finished;
}
// [cancel_handler]

void run() {
    vxPelBuffer<unsigned char> image(1024, 1024);
    for (long y = 0; y < 1024; ++y) {
        for (long x = 0; x < 1024; ++x) {
            image.pointToRow(y)[x] = static_cast<unsigned char>((x ^ y) & 0xFF);
        }
    }
    vxPelBuffer<unsigned char> result(1024, 1024);
    vfPelSet(result, 1); // As no finished image is.
    std::atomic<bool> stop = false;
    std::promise<void> running;
    long finished = 0;

    std::thread worker([&] { finished = inspect(image, result, stop, running); });
    running.get_future().wait();
    stop = true; // The button.
    worker.join();

    // A cancelled inverse leaves its output as it was: here the last finished image, or the one from before.
    const unsigned char expected = finished == 0 ? 1 : image.pointToRow(700)[300];
    example::require(result.pointToRow(700)[300] == expected,
                     "an output is a whole image or the one from before");

    // Another thread has no handler, and after the scope neither has that one: transforms run to their end.
    vxFrequencyBuffer spectrum;
    vfForwardFFT<unsigned char>(image, spectrum);
    vfInverseFFT(spectrum, result, false, true);
    example::require(result.pointToRow(700)[300] == image.pointToRow(700)[300],
                     "the next transform is as good as ever");
}
} // namespace

int main() {
    try {
        run();
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "cancel_transform: " << error.what() << '\n';
        return 1;
    }
}
