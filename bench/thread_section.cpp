// Throughput of two threads on buffers of their own: the library has no shared state that could hold them up.
// Processors of a machine can share one core's execution units, so the same is measured of arithmetic alone.
#include "bench/kavfilt.h"
#include "bench/register_arithmetic.h"
#include "bench/sections.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <functional>
#include <string>
#include <thread>

namespace bench {

namespace {

constexpr Job threadJobs[] = {Job::forward, Job::inverse, Job::bandPass};
constexpr long sides[] = {256, 1024};
constexpr int rounds = 15;
constexpr double wantedSeconds = 0.05; // Of the work of one thread.

double secondsOf(const std::function<void()>& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

using Work = std::function<void()>;

void repeat(const Work& work, int times) {
    for (int i = 0; i < times; ++i) {
        work();
    }
}

void runOnBoth(const Work& first, const Work& second, int times) {
    std::thread other([&] { repeat(second, times); });
    repeat(first, times);
    other.join();
}

Quartiles speedUpOf(benchmark::State& state, const Work& first, const Work& second) {
    runOnBoth(first, second, 1);
    const double once = secondsOf(first);
    const int times = 1 + static_cast<int>(wantedSeconds / once);
    std::vector<double> speedUps;
    for (auto _ : state) {
        const double alone = secondsOf([&] { repeat(first, times); });
        const double together = secondsOf([&] { runOnBoth(first, second, times); });
        speedUps.push_back(2.0 * alone / together);
        state.SetIterationTime(together);
    }
    const Quartiles speedUp = quartiles(speedUps);
    state.counters["speed-up"] = speedUp.median;
    return speedUp;
}

void runArithmetic(benchmark::State& state, Results& results) {
    results.threads.push_back(
        {"arithmetic alone", "", speedUpOf(state, registerArithmetic, registerArithmetic)});
}

void runJob(benchmark::State& state, Job job, const Size& size, Results& results) {
    const Scene scene(size);
    const Task first = kavfiltTask(job, scene);
    const Task second = kavfiltTask(job, scene);
    results.threads.push_back({info(job).code, text(size), speedUpOf(state, first.run, second.run)});
}

void add(const std::string& name, const std::function<void(benchmark::State&)>& function) {
    benchmark::RegisterBenchmark(("threads " + name).c_str(), function)
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond)
        ->Iterations(rounds);
}

} // namespace

void addThreads(const Options& options, Results& results) {
    if (options.quick || std::thread::hardware_concurrency() < 2) {
        return;
    }
    add("arithmetic alone", [&results](benchmark::State& state) { runArithmetic(state, results); });
    for (const long side : sides) {
        for (const Job job : threadJobs) {
            const Size size{side, side};
            add(std::string(info(job).code) + "/" + text(size),
                [job, size, &results](benchmark::State& state) { runJob(state, job, size, results); });
        }
    }
}

} // namespace bench
