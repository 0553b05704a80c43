// Throughput of two threads on buffers of their own: the library has no shared state that could hold them up.
#include "bench/kavfilt.h"
#include "bench/sections.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <memory>
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

void repeat(const Task& task, int times) {
    for (int i = 0; i < times; ++i) {
        task.run();
    }
}

void runOnBoth(const Task& first, const Task& second, int times) {
    std::thread other([&] { repeat(second, times); });
    repeat(first, times);
    other.join();
}

void runThreads(benchmark::State& state, Job job, const Size& size, Results& results) {
    const Scene scene(size);
    const Task first = kavfiltTask(job, scene);
    const Task second = kavfiltTask(job, scene);
    runOnBoth(first, second, 1);
    const double once = secondsOf(first.run);
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
    results.threads.push_back({job, size, speedUp});
}

} // namespace

void addThreads(const Options& options, Results& results) {
    if (options.quick || std::thread::hardware_concurrency() < 2) {
        return;
    }
    for (const long side : sides) {
        for (const Job job : threadJobs) {
            const Size size{side, side};
            const std::string name = std::string("threads ") + info(job).code + "/" + text(size);
            benchmark::RegisterBenchmark(
                name.c_str(),
                [job, size, &results](benchmark::State& state) { runThreads(state, job, size, results); })
                ->UseManualTime()
                ->Unit(benchmark::kMillisecond)
                ->Iterations(rounds);
        }
    }
}

} // namespace bench
