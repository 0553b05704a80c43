// Transforms a camera's frames where the driver has put them, and writes the result where the display expects
// it: not one pel is copied in between.
#include "example.h"

#include <filt/fft.h>
#include <filt/freqfilt.h>

#include <cstdint>
#include <iostream>
#include <memory>
#include <vector>

namespace {
// A stand-in for a driver: frames whose rows are longer than the image is wide, to be given back after use.
class Camera {
public:
    static constexpr long width = 600;
    static constexpr long height = 400;
    static constexpr long pitch = 640; // Pels from row to row.

    struct Frame {
        std::uint8_t* pels;
        Camera* camera;
    };

    Frame grab() {
        ++framesOut_;
        for (std::size_t i = 0; i < memory_.size(); ++i) {
            memory_[i] = static_cast<std::uint8_t>(i * 7 % 64 + 40);
        }
        return {memory_.data(), this};
    }
    void giveBack(const Frame& /*frame*/) { --framesOut_; }
    [[nodiscard]] int framesOut() const { return framesOut_; }

private:
    std::vector<std::uint8_t> memory_ = std::vector<std::uint8_t>(static_cast<std::size_t>(pitch * height));
    int framesOut_ = 0;
};

// [wrap_frame]
// A window onto the frame. The owner is given back to the driver when the last window onto it is gone: copies
// of the handle, and windows cut out of it, keep the frame.
vxPelBuffer_const<unsigned char> wrap(const Camera::Frame& frame) {
    const std::shared_ptr<void> owner(frame.pels, [frame](void*) { frame.camera->giveBack(frame); });
    return {frame.pels, Camera::width, Camera::height, Camera::pitch, owner};
}
// [wrap_frame]

// [wrap_bottom_up]
// An image that is stored from its last row to its first has a negative row update: its first row is the last
// in memory.
vxPelBuffer_const<unsigned char> wrapBottomUp(const std::uint8_t* pels, long width, long height, long pitch) {
    return {pels + (height - 1) * pitch, width, height, -pitch};
}
// [wrap_bottom_up]

void run() {
    Camera camera;
    vxFrequencyBuffer spectrum;
    {
        const Camera::Frame frame = camera.grab();
        const vxPelBuffer_const<unsigned char> image = wrap(frame);
        example::require(image.pointToOffset() == frame.pels, "the image's pels are the camera's");

        // A region of interest is a window, too, 256 x 256 at (100, 50). Its offset is (100, 50); taken as an
        // image of its own it starts at (0, 0), which the transform takes as it is.
        vxPelBuffer_const<unsigned char> region = image.window(100, 50, 256, 256);
        example::require(region.pointToOffset() == frame.pels + 50 * Camera::pitch + 100,
                         "and so are the region's");
        region.offset(0, 0);
        vfForwardFFT(region, spectrum);
        example::require(camera.framesOut() == 1, "the camera waits while a window is left");
    }
    example::require(camera.framesOut() == 0, "the camera has its frame back");

    // [bound_output]
    // The display's memory, 300 pels from row to row, bound as an output: the inverse writes there.
    std::vector<std::uint8_t> display(300 * 256);
    vxPelBuffer<unsigned char> shown(display.data(), 256, 256, 300);
    vfInverseFFT(spectrum, shown, false, true);
    // [bound_output]
    example::require(shown.pointToOffset() == display.data(), "a bound output keeps its memory");

    const Camera::Frame frame = camera.grab();
    bool same = true;
    for (long y = 0; y < 256; ++y) {
        for (long x = 0; x < 256; ++x) {
            same = same && display[static_cast<std::size_t>(y * 300 + x)] ==
                               frame.pels[(50 + y) * Camera::pitch + 100 + x];
        }
    }
    camera.giveBack(frame);
    example::require(same, "8-bit images come back from forward and inverse as they were");

    // Turned upside down, rows change places and nothing else: the first row is the last in memory.
    const vxPelBuffer_const<unsigned char> flipped = wrapBottomUp(display.data(), 256, 256, 300);
    example::require(flipped.pointToRow(0) == shown.pointToRow(255) &&
                         flipped.pointToRow(255) == shown.pointToRow(0),
                     "a bottom-up image is read from its last row in memory");
    std::cout << "transformed in the camera's memory, shown in the display's\n";
}
} // namespace

int main() {
    try {
        run();
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "camera_memory: " << error.what() << '\n';
        return 1;
    }
}
