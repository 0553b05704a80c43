#include "bench/allocations.h"
#include "bench/instruction_sets.h"
#include "bench/kavfilt.h"
#include "bench/peers.h"
#include "bench/sections.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <functional>
#include <memory>

namespace bench {

namespace {

constexpr Size squares[] = {{128, 128}, {256, 256}, {512, 512}, {1024, 1024}, {2048, 2048}};
constexpr Size others[] = {{1024, 512}, {640, 480}, {1200, 900}, {1920, 1080}};
constexpr Size quickSizes[] = {{256, 256}, {1024, 1024}};
constexpr Size setSizes[] = {{256, 256}, {1024, 1024}};
constexpr Job setJobs[] = {Job::forward, Job::inverse, Job::bandPass};

int rounds(const Size& size) {
    const long pels = size.width * size.height;
    return pels <= 256L * 256L ? 41 : pels <= 512L * 512L ? 31 : pels <= 1024L * 1024L ? 21 : 11;
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

/// Contestants of one job, ours first; the results of the others were found to be ours.
class Lineup {
public:
    /// Ours by that instruction set or, empty, by the fastest one.
    Lineup(Job job, const Scene& scene, const std::string& set) : job_(job), ours_(kavfiltTask(job, scene)) {
        if (!set.empty()) {
            ours_.run = forced(set, ours_.run);
        }
        const std::size_t before = allocatedBytes();
        ours_.run();
        allocated_ = static_cast<double>(allocatedBytes() - before);
        expected_ = ours_.result();
        contestants_.push_back({"kavfilt", ours_.run, {}});
    }

    /// A result that is another one than ours leaves the contestant out and is a failure; see compare.
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

    /// The library itself by another path, which must give the same bits.
    void addPath(const std::string& set, const Scene& scene, std::vector<std::string>& failures) {
        const Task task = kavfiltTask(job_, scene);
        const std::function<void()> run = forced(set, task.run);
        run();
        if (task.result() != expected_) {
            failures.push_back("The path for " + set + " gives other bits: " + info(job_).code);
            return;
        }
        contestants_.push_back({set, run, {}});
    }

    /// Another job of ours.
    void addJob(const char* name, Job job, const Scene& scene) {
        contestants_.push_back({name, kavfiltTask(job, scene).run, {}});
    }

    [[nodiscard]] const std::vector<Contestant>& contestants() const { return contestants_; }
    [[nodiscard]] double worst() const { return worst_; }
    [[nodiscard]] double allocated() const { return allocated_; }

private:
    static std::function<void()> forced(const std::string& set, const std::function<void()>& run) {
        return [set, run] {
            const Forced guard(set);
            run();
        };
    }

    Job job_;
    Task ours_;
    std::vector<float> expected_;
    std::vector<Contestant> contestants_;
    double worst_ = 0.0;
    double allocated_ = 0.0;
};

Lineup lineup(const JobInfo& job, const Scene& scene, const Options& options,
              std::vector<std::string>& failures) {
    Lineup result(job.job, scene, options.set);
    result.addPath("portable", scene, failures);
    if (job.job == Job::gabor) {
        result.addJob(ourBandPass, Job::bandPass, scene);
    }
    for (const Peer* const peer : peers()) {
        if (options.quick && peer != &fftw() && peer != &fftwReal()) {
            continue;
        }
        if (const std::optional<Task> task = peer->task(job.job, scene)) {
            result.add(peer->name, *task, failures);
        }
    }
    return result;
}

/// Ours by the fastest instruction set, and by each slower one.
Lineup lineupOfSets(const JobInfo& job, const Scene& scene, std::vector<std::string>& failures) {
    Lineup result(job.job, scene, "");
    std::vector<std::string> sets = instructionSets();
    sets.pop_back();
    for (const std::string& set : sets) {
        result.addPath(set, scene, failures);
    }
    return result;
}

void run(benchmark::State& state, const JobInfo& job, const Scene& scene, const Lineup& contestants,
         std::vector<JobLine>& lines) {
    Contest contest(contestants.contestants());
    for (auto _ : state) {
        state.SetIterationTime(contest.round());
    }
    const std::vector<Standing> standings = contest.standings();
    for (std::size_t i = 1; i < standings.size(); ++i) {
        state.counters[standings[i].name] = standings[i].ratio.median;
    }
    lines.push_back(
        {job.job, scene.source, scene.padded, standings, contestants.worst(), contestants.allocated()});
}

void add(const std::string& name, const Size& size, const std::function<void(benchmark::State&)>& function) {
    benchmark::RegisterBenchmark((name + "/" + text(size)).c_str(), function)
        ->UseManualTime()
        ->Unit(benchmark::kMicrosecond)
        ->Iterations(rounds(size));
}

void addJobsOf(const Size& size, const Options& options, Results& results) {
    for (const JobInfo& job : jobs()) {
        add(job.code, size, [&job, size, options, &results](benchmark::State& state) {
            const Scene& scene = sceneOf(size);
            run(state, job, scene, lineup(job, scene, options, results.failures), results.jobs);
        });
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

void addInstructionSets(const Options& options, Results& results) {
    if (options.quick || instructionSets().size() < 2) {
        return;
    }
    for (const Size& size : setSizes) {
        for (const Job job : setJobs) {
            add(std::string("by set ") + info(job).code, size,
                [job, size, &results](benchmark::State& state) {
                    const Scene& scene = sceneOf(size);
                    run(state, info(job), scene, lineupOfSets(info(job), scene, results.failures),
                        results.instructionSets);
                });
        }
    }
}

} // namespace bench
