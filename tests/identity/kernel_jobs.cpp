#include "filt/fft/kernels/kernels.h"

#include "tests/identity/inputs.h"
#include "tests/identity/results.h"

namespace identity {
namespace {

constexpr vxPair<long> largeKernelSizes[] = {{128, 128},  {256, 256}, {512, 64},  {512, 512},   {1024, 1024},
                                             {1024, 512}, {16, 2048}, {2048, 16}, {2048, 2048}, {4096, 1},
                                             {1, 4096},   {32768, 1}, {1, 32768}, {32768, 2}};

struct Variant {
    const char* name;
    void (*kernel)(float* data, const vxPair<long>& size, int direction, long bandLow, long bandHigh);
    int direction;
    bool banded; // To the rows h / 4 to h / 2.
};
constexpr Variant variants[] = {{"real", vf_RealFFT2D, 1, false},
                                {"real-backward", vf_RealFFT2D, -1, false},
                                {"complex", vf_ComplexFFT2D, 1, false},
                                {"complex-backward", vf_ComplexFFT2D, -1, false},
                                {"banded", vf_ComplexFFT2D, -1, true}};

void run(const Variant& variant, Kind kind, const vxPair<long>& size, Hash& hash) {
    const auto count = static_cast<std::size_t>(2 * size.x() * size.y());
    std::vector<float> data = samplesOf(12345, kind, count);
    const long low = variant.banded ? size.y() / 4 : 0;
    const long high = variant.banded ? size.y() / 2 : size.y();
    expectForcedSet(size);
    variant.kernel(data.data(), size, variant.direction, low, high);
    hash.add(data);
}

} // namespace

void kernelJobs(Results& results) {
    for (const Variant& variant : variants) {
        const std::string kernel = std::string("kernel/") + variant.name + "/";
        for (long w = 1; w <= 64; w *= 2) {
            for (long h = 1; h <= 64; h *= 2) {
                run(variant, Kind::whole, {w, h}, results.exact(kernel + sizeName(w, h)));
                for (const Kind kind : everyKind) {
                    run(variant, kind, {w, h}, results.exact(kernel + nameOf(kind)));
                }
            }
        }
        for (const vxPair<long>& size : largeKernelSizes) {
            run(variant, Kind::whole, size, results.exact(kernel + sizeName(size.x(), size.y())));
        }
    }
}

} // namespace identity
