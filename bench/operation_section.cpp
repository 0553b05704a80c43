// Operations that touch each byte once or so: how near they come to copying as many bytes. Bytes are those of
// the whole planes that go in and come out, even where a filter need not touch all of them.
#include "bench/memory_stream.h"
#include "bench/sections.h"
#include "filt/fft.h"
#include "filt/freqfilt.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstring>
#include <functional>
#include <memory>
#include <vector>

namespace bench {

namespace {

/// What the operations of one size work on.
struct Planes {
    explicit Planes(long side)
        : size(side, side)
        , bandPass(0.02, 0.05, 0.15, size, 1)
        , bandReject(0.02, 0.05, 0.15, size, 1)
        , gabor({0.025, 0.025}, {0.0, 0.0}, vxRadian(0.5), 0.2, size, 1)
        , gaborReject({0.025, 0.025}, {0.0, 0.0}, vxRadian(0.5), 0.2, size, 1)
        , image(side, side)
        , stream(static_cast<std::size_t>(8 * side * side) + 4096) {
        vxPelBuffer<double> sine(side, side);
        for (long y = 0; y < side; ++y) {
            for (long x = 0; x < side; ++x) {
                const double phase = 0.37 * static_cast<double>(x) + 1.1 * static_cast<double>(y);
                image.pointToRow(y)[x] = std::cos(phase);
                sine.pointToRow(y)[x] = std::sin(phase);
            }
        }
        a = vxFrequencyBuffer(image, sine);
        b = a;
        c = a;
        imageFilter.setImage(a);
        vxOutputArchive archive(stream.forWriting());
        archive || a;
    }

    vxPair<long> size;
    vxFrequencyBuffer a; // Samples of magnitude 1, so that products stay what they are.
    vxFrequencyBuffer b;
    vxFrequencyBuffer c;
    vxFrequencyFilterBandPass bandPass;
    vxFrequencyFilterBandReject bandReject;
    vxFrequencyFilterGabor gabor;
    vxFrequencyFilterGaborReject gaborReject;
    vxFrequencyFilterImage imageFilter;
    vxPelBuffer<double> image;
    vxPelBuffer<double> view;
    vxPelBuffer<unsigned char> map;
    MemoryStream stream;
};

using Action = void (*)(Planes&);

struct Operation {
    const char* name;
    double bytes; ///< per sample, in and out
    bool fresh;   ///< the result is new memory
    Action run;
    Action prepare = nullptr; ///< see Contestant
};

void restore(Planes& p) {
    p.b = p.a;
}

const Operation operations[] = {
    {"multiply b *= a", 24, false, [](Planes& p) { vfFrequencyMultiply(p.a, p.b); }},
    {"multiply c = a * b", 24, false, [](Planes& p) { vfFrequencyMultiply(p.a, p.b, p.c); }},
    {"conjugate a", 16, false, [](Planes& p) { vfFrequencyConjugate(p.b); }},
    {"conjugate b = conj(a)", 16, false, [](Planes& p) { vfFrequencyConjugate(p.a, p.b); }},
    {"add b += a", 24, false, [](Planes& p) { vfFrequencyAdd(p.a, p.b); }},
    {"add c = a + b", 24, false, [](Planes& p) { vfFrequencyAdd(p.a, p.b, p.c); }},
    {"subtract b -= a", 24, false, [](Planes& p) { vfFrequencySubtract(p.a, p.b); }},
    {"subtract c = a - b", 24, false, [](Planes& p) { vfFrequencySubtract(p.a, p.b, p.c); }},

    {"band pass", 16, false, [](Planes& p) { p.bandPass.apply(p.b); }, restore},
    {"band pass, two buffers", 16, false, [](Planes& p) { p.bandPass.apply(p.a, p.c); }},
    {"band reject", 16, false, [](Planes& p) { p.bandReject.apply(p.b); }, restore},
    {"band reject, two buffers", 16, false, [](Planes& p) { p.bandReject.apply(p.a, p.c); }},
    {"Gabor", 16, false, [](Planes& p) { p.gabor.apply(p.b); }, restore},
    {"Gabor, two buffers", 16, false, [](Planes& p) { p.gabor.apply(p.a, p.c); }},
    {"Gabor reject", 16, false, [](Planes& p) { p.gaborReject.apply(p.b); }, restore},
    {"Gabor reject, two buffers", 16, false, [](Planes& p) { p.gaborReject.apply(p.a, p.c); }},
    {"image filter", 24, false, [](Planes& p) { p.imageFilter.apply(p.b); }},
    {"image filter, two buffers", 24, false, [](Planes& p) { p.imageFilter.apply(p.a, p.c); }},

    {"real image", 16, true, [](Planes& p) { p.view = p.a.getRealImage(false); }},
    {"real image, centred", 16, true, [](Planes& p) { p.view = p.a.getRealImage(true); }},
    {"imaginary image", 16, true, [](Planes& p) { p.view = p.a.getImaginaryImage(false); }},
    {"imaginary image, centred", 16, true, [](Planes& p) { p.view = p.a.getImaginaryImage(true); }},
    {"magnitude image", 16, true, [](Planes& p) { p.view = p.a.getMagnitudeImage(false); }},
    {"magnitude image, centred", 16, true, [](Planes& p) { p.view = p.a.getMagnitudeImage(true); }},
    {"phase image", 16, true, [](Planes& p) { p.view = p.a.getPhaseImage(false); }},
    {"phase image, centred", 16, true, [](Planes& p) { p.view = p.a.getPhaseImage(true); }},

    {"map: clip", 9, false,
     [](Planes& p) { p.map = vfFrequencyMapImage(p.image, vxFrequencyDefs::eClip, 0.0, 0.0); }},
    {"map: linear", 9, false,
     [](Planes& p) { p.map = vfFrequencyMapImage(p.image, vxFrequencyDefs::eLinear, 0.0, 0.0); }},
    {"map: linear range", 9, false,
     [](Planes& p) { p.map = vfFrequencyMapImage(p.image, vxFrequencyDefs::eLinearRange, -1.0, 1.0); }},
    {"map: logarithmic", 9, false,
     [](Planes& p) { p.map = vfFrequencyMapImage(p.image, vxFrequencyDefs::eLogarithmic, 0.0, 0.0); }},
    {"map: angle", 9, false,
     [](Planes& p) { p.map = vfFrequencyMapImage(p.image, vxFrequencyDefs::eAngle, 0.0, 0.0); }},

    {"archive: store", 16, false,
     [](Planes& p) {
         vxOutputArchive archive(p.stream.forWriting());
         archive || p.a;
     }},
    {"archive: load", 16, true,
     [](Planes& p) {
         vxInputArchive archive(p.stream.forReading());
         archive || p.b;
     }},
};

/// Building a filter, against applying it once.
struct Creation {
    const char* name;
    Action create;
    Action apply;
};

const Creation creations[] = {
    {"band pass", [](Planes& p) { vxFrequencyFilterBandPass(0.02, 0.05, 0.15, p.size, 1); },
     [](Planes& p) { p.bandPass.apply(p.b); }},
    {"band reject", [](Planes& p) { vxFrequencyFilterBandReject(0.02, 0.05, 0.15, p.size, 1); },
     [](Planes& p) { p.bandReject.apply(p.b); }},
    {"Gabor",
     [](Planes& p) {
         vxFrequencyFilterGabor({0.025, 0.025}, {0.0, 0.0}, vxRadian(0.5), 0.2, p.size, 1);
     },
     [](Planes& p) { p.gabor.apply(p.b); }},
    {"Gabor reject",
     [](Planes& p) {
         vxFrequencyFilterGaborReject({0.025, 0.025}, {0.0, 0.0}, vxRadian(0.5), 0.2, p.size, 1);
     },
     [](Planes& p) { p.gaborReject.apply(p.b); }},
    {"image filter", [](Planes& p) { const vxFrequencyFilterImage filter(p.a); },
     [](Planes& p) { p.imageFilter.apply(p.b); }},
};

constexpr long sides[] = {256, 1024, 2048};
constexpr long quickSide = 1024;

Planes& planesOf(long side) {
    static std::unique_ptr<Planes> planes;
    if (!planes || planes->size.x() != side) {
        planes.reset();
        planes = std::make_unique<Planes>(side);
    }
    restore(*planes);
    return *planes;
}

Contestant contestant(const char* name, Planes& planes, Action run, Action prepare) {
    Contestant result{name, [run, &planes] { run(planes); }, {}};
    if (prepare != nullptr) {
        result.prepare = [prepare, &planes] { prepare(planes); };
    }
    return result;
}

/// Copies `bytes`, so that twice as many go in and out.
Contestant copy(std::size_t bytes) {
    const auto from = std::make_shared<std::vector<char>>(bytes, 'x');
    const auto to = std::make_shared<std::vector<char>>(bytes, 'y');
    return {"copy",
            [from, to] {
                std::memcpy(to->data(), from->data(), from->size());
                benchmark::DoNotOptimize(to->data());
                benchmark::ClobberMemory();
            },
            {}};
}

Contestant copyToNew(std::size_t bytes) {
    const auto from = std::make_shared<std::vector<char>>(bytes, 'x');
    return {"copy to new",
            [from] {
                const std::unique_ptr<char[]> to(new char[from->size()]);
                std::memcpy(to.get(), from->data(), from->size());
                benchmark::DoNotOptimize(to.get());
                benchmark::ClobberMemory();
            },
            {}};
}

std::vector<Standing> measured(benchmark::State& state, std::vector<Contestant> contestants) {
    Contest contest(std::move(contestants));
    for (auto _ : state) {
        state.SetIterationTime(contest.round());
    }
    std::vector<Standing> standings = contest.standings();
    for (std::size_t i = 1; i < standings.size(); ++i) {
        state.counters[standings[i].name] = standings[i].ratio.median;
    }
    return standings;
}

void runOperation(benchmark::State& state, const Operation& operation, long side, Results& results) {
    Planes& planes = planesOf(side);
    const double bytes = operation.bytes * static_cast<double>(side * side);
    std::vector<Contestant> contestants{contestant("kavfilt", planes, operation.run, operation.prepare),
                                        copy(static_cast<std::size_t>(bytes / 2.0))};
    if (operation.fresh) {
        contestants.push_back(copyToNew(static_cast<std::size_t>(bytes / 2.0)));
    }
    results.operations.push_back(
        {operation.name, {side, side}, bytes, measured(state, std::move(contestants))});
}

void runCreation(benchmark::State& state, const Creation& creation, long side, Results& results) {
    Planes& planes = planesOf(side);
    results.creations.push_back({creation.name,
                                 {side, side},
                                 0.0,
                                 measured(state, {contestant("kavfilt", planes, creation.create, nullptr),
                                                  contestant("apply", planes, creation.apply, restore)})});
}

void add(const std::string& name, int rounds, const std::function<void(benchmark::State&)>& run) {
    benchmark::RegisterBenchmark(name.c_str(), run)
        ->UseManualTime()
        ->Unit(benchmark::kMicrosecond)
        ->Iterations(rounds);
}

void addOperationsOf(long side, Results& results) {
    const int rounds = side <= 256 ? 31 : 15;
    for (const Operation& operation : operations) {
        add(std::string(operation.name) + "/" + text(Size{side, side}), rounds,
            [&operation, side, &results](benchmark::State& state) {
                runOperation(state, operation, side, results);
            });
    }
    for (const Creation& creation : creations) {
        add(std::string("create ") + creation.name + "/" + text(Size{side, side}), rounds,
            [&creation, side, &results](benchmark::State& state) {
                runCreation(state, creation, side, results);
            });
    }
}

} // namespace

void addOperations(const Options& options, Results& results) {
    if (options.quick) {
        addOperationsOf(quickSide, results);
        return;
    }
    for (const long side : sides) {
        addOperationsOf(side, results);
    }
}

} // namespace bench
