// Everything that takes a spectrum and is neither a transform nor a filter.
#include "filt/fft.h"

#include "tests/identity/inputs.h"
#include "tests/identity/results.h"

namespace identity {
namespace {

constexpr vxPair<long> sizes[] = {{1, 1},  {1, 2},  {2, 1},   {3, 2},   {4, 4},    {5, 9},
                                  {16, 8}, {33, 7}, {64, 64}, {100, 3}, {128, 128}};

using Operation2 = void (*)(const vxFrequencyBuffer&, vxFrequencyBuffer&);
using Operation3 = void (*)(const vxFrequencyBuffer&, const vxFrequencyBuffer&, vxFrequencyBuffer&);

/// Both forms of an operation, with every aliasing.
void combine(Operation2 two, Operation3 three, Kind kind, const vxPair<long>& size, Hash& hash) {
    const vxFrequencyBuffer a = spectrumOf(20, kind, size.x(), size.y());
    const vxFrequencyBuffer b = spectrumOf(21, kind, size.x(), size.y());
    vxFrequencyBuffer result = b;
    two(a, result);
    hash.add(result);
    two(result, result);
    hash.add(result);
    three(a, b, result);
    hash.add(result);
    result = a;
    three(result, b, result);
    hash.add(result);
    result = b;
    three(a, result, result);
    hash.add(result);
    three(result, result, result);
    hash.add(result);
}

void conjugate(Kind kind, const vxPair<long>& size, Hash& hash) {
    vxFrequencyBuffer a = spectrumOf(22, kind, size.x(), size.y());
    vxFrequencyBuffer b;
    vfFrequencyConjugate(a, b);
    hash.add(b);
    vfFrequencyConjugate(a);
    hash.add(a);
}

void view(Kind kind, const vxPair<long>& size, Hash& hash) {
    const vxFrequencyBuffer buffer = spectrumOf(23, kind, size.x(), size.y());
    for (const bool centered : {false, true}) {
        hash.add(buffer.getRealImage(centered));
        hash.add(buffer.getImaginaryImage(centered));
        hash.add(buffer.getMagnitudeImage(centered));
    }
}

/// Samples put and read one by one, copies, crops and comparisons.
void access(Kind kind, const vxPair<long>& size, Hash& hash) {
    vxFrequencyBuffer buffer = spectrumOf(24, kind, size.x(), size.y());
    Random random(25);
    for (int i = 0; i < 20; ++i) {
        const long x = random.below(static_cast<std::uint32_t>(buffer.width()));
        const long y = random.below(static_cast<std::uint32_t>(buffer.height()));
        const double real = pelOf<double>(random, kind) * (1.0 + 0x1p-24);
        buffer.put(x, y, {real, pelOf<double>(random, kind)}, false);
        hash.add(buffer.getReal(x, y, false));
        hash.add(buffer.getImaginary(0, 0, true));
    }
    hash.add(vxFrequencyBuffer(buffer));
    if (buffer.width() >= 4 && buffer.height() >= 4) {
        hash.add(vxFrequencyBuffer(buffer, buffer.width() / 2, 2));
    }
    hash.add(buffer == vxFrequencyBuffer(buffer));
    hash.add(buffer == spectrumOf(26, kind, size.x(), size.y()));
    hash.add(vxFrequencyBuffer(imageOf<double>(27, kind, size.x(), size.y()),
                               imageOf<double>(28, kind, size.x(), size.y())));
}

/// The mappings but the logarithmic one.
void map(Kind kind, const vxPair<long>& size, Hash& hash) {
    using Defs = vxFrequencyDefs;
    vxPelBuffer<double> image = imageOf<double>(30, kind, size.x(), size.y());
    for (const bool negative : {true, false}) {
        for (long y = 0; !negative && y < image.height(); ++y) {
            for (long x = 0; x < image.width(); ++x) {
                double& pel = image.pointToOffset()[y * image.rowUpdate() + x];
                pel = pel < 0.0 ? -pel : pel;
            }
        }
        for (const auto mapping : {Defs::eClip, Defs::eLinear, Defs::eAngle}) {
            hash.add(vfFrequencyMapImage(image, mapping, 0.0, 0.0));
        }
        hash.add(vfFrequencyMapImage(image, Defs::eLinearRange, -100.0, 2000.0));
        hash.add(vfFrequencyMapImage(image, Defs::eLinearRange, 7.0, 1000.0));
    }
}

template <class Job>
void forEachKindAndSize(Results& results, const std::string& name, Job job) {
    for (const Kind kind : everyKind) {
        Hash& hash = results.exact(name + "/" + nameOf(kind));
        for (const vxPair<long>& size : sizes) {
            job(kind, size, hash);
        }
    }
}

} // namespace

void arithmeticJobs(Results& results) {
    const struct {
        const char* name;
        Operation2 two;
        Operation3 three;
    } operations[] = {{"multiply", vfFrequencyMultiply, vfFrequencyMultiply},
                      {"add", vfFrequencyAdd, vfFrequencyAdd},
                      {"subtract", vfFrequencySubtract, vfFrequencySubtract}};
    for (const auto& operation : operations) {
        forEachKindAndSize(results, std::string("arithmetic/") + operation.name,
                           [&](Kind kind, const vxPair<long>& size, Hash& hash) {
                               combine(operation.two, operation.three, kind, size, hash);
                           });
    }
    forEachKindAndSize(results, "arithmetic/conjugate", conjugate);
}

void spectrumJobs(Results& results) {
    forEachKindAndSize(results, "spectrum/views", view);
    forEachKindAndSize(results, "spectrum/access", access);
}

void mappingJobs(Results& results) {
    forEachKindAndSize(results, "mapping", map);
}

} // namespace identity
