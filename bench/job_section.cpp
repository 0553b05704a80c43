#include "bench/allocations.h"
#include "bench/instruction_sets.h"
#include "bench/kavfilt.h"
#include "bench/peers.h"
#include "bench/sections.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <memory>

namespace bench {

namespace {

constexpr Size squares[] = {{128, 128}, {256, 256}, {512, 512}, {1024, 1024}, {2048, 2048}};
constexpr Size others[] = {{1024, 512}, {640, 480}, {1200, 900}, {1920, 1080}};
constexpr Size quickSizes[] = {{256, 256}, {1024, 1024}};

int rounds(const Size& size, bool quick) {
    const long pels = size.width * size.height;
    const int full = pels <= 256L * 256L ? 41 : pels <= 512L * 512L ? 31 : pels <= 1024L * 1024L ? 21 : 11;
    return quick ? full / 2 : full;
}

/// The scene of that size; the last one is kept, as jobs come size by size.
const Scene& sceneOf(const Size& size) {
    static std::unique_ptr<Scene> scene;
    if (!scene || !(scene->source == size)) {
        scene.reset();
        scene = std::make_unique<Scene>(size);
    }
    return *scene;
}

/// Contestants of one job, ours first, whose results were found to be ours.
class Lineup {
public:
    Lineup(Job job, const Scene& scene) : job_(job), ours_(kavfiltTask(job, scene)) {
        const std::size_t before = allocatedBytes();
        ours_.run();
        allocated_ = static_cast<double>(allocatedBytes() - before);
        expected_ = ours_.result();
        contestants_.push_back({"kavfilt", ours_.run, {}});
    }

    /// A result that is another one than ours leaves the contestant out and is a failure.
    void add(const std::string& name, const Task& task, std::vector<std::string>& failures) {
        task.run();
        const Agreement agreement = compare(job_, expected_, task.result());
        if (!agreement.same) {
            failures.push_back(name + " gives another result than ours: " + info(job_).code +
                               ", difference " + std::to_string(agreement.difference));
            return;
        }
        worst_ = std::max(worst_, agreement.difference);
        contestants_.push_back({name, task.run, {}});
    }

    [[nodiscard]] const std::vector<Contestant>& contestants() const { return contestants_; }
    [[nodiscard]] double worst() const { return worst_; }
    [[nodiscard]] double allocated() const { return allocated_; }

private:
    Job job_;
    Task ours_;
    std::vector<float> expected_;
    std::vector<Contestant> contestants_;
    double worst_ = 0.0;
    double allocated_ = 0.0;
};

Task withInstructionSet(const std::string& set, const Task& task) {
    return {[set, run = task.run] {
                const Forced forced(set);
                run();
            },
            task.result};
}

Lineup lineup(const JobInfo& job, const Scene& scene, bool quick, std::vector<std::string>& failures) {
    Lineup result(job.job, scene);
    result.add("portable", withInstructionSet("portable", kavfiltTask(job.job, scene)), failures);
    for (const Peer* const peer : peers()) {
        if (quick && peer != &fftw() && peer != &fftwReal()) {
            continue;
        }
        if (const std::optional<Task> task = peer->task(job.job, scene)) {
            result.add(peer->name, *task, failures);
        }
    }
    return result;
}

void runJob(benchmark::State& state, const JobInfo& job, const Size& size, bool quick, Results& results) {
    const Scene& scene = sceneOf(size);
    const std::size_t failuresBefore = results.failures.size();
    const Lineup contestants = lineup(job, scene, quick, results.failures);
    if (results.failures.size() > failuresBefore) {
        state.SkipWithError(results.failures.back().c_str());
        return;
    }
    Contest contest(contestants.contestants());
    for (auto _ : state) {
        state.SetIterationTime(contest.round());
    }
    const std::vector<Standing> standings = contest.standings();
    for (const Standing& standing : standings) {
        if (standing.name != "kavfilt") {
            state.counters[standing.name] = standing.ratio.median;
        }
    }
    results.jobs.push_back(
        {job.job, scene.source, scene.padded, standings, contestants.worst(), contestants.allocated()});
}

void addJobsOf(const Size& size, const Options& options, Results& results) {
    for (const JobInfo& job : jobs()) {
        const std::string name = std::string(job.code) + "/" + text(size);
        benchmark::RegisterBenchmark(name.c_str(),
                                     [&job, size, quick = options.quick, &results](benchmark::State& state) {
                                         runJob(state, job, size, quick, results);
                                     })
            ->UseManualTime()
            ->Unit(benchmark::kMicrosecond)
            ->Iterations(rounds(size, options.quick));
    }
}

} // namespace

void addJobs(const Options& options, Results& results) {
    if (options.quick) {
        for (const Size& size : quickSizes) {
            addJobsOf(size, options, results);
        }
        return;
    }
    for (const Size& size : squares) {
        addJobsOf(size, options, results);
    }
    for (const Size& size : others) {
        addJobsOf(size, options, results);
    }
}

} // namespace bench
