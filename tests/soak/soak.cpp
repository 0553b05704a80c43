// The endurance run: several threads run random programs against shared and own objects for a given time, and
// every result must be what one thread alone got. Each keeps a few bytes of every program, as inspections are
// recorded, so that small pieces of memory live on between the images. After a warm-up the process must not
// grow but by these records.
#include "tests/soak/programs.h"
#include "tests/soak/random.h"
#include "tests/support/sanitizers.h"

#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <fstream>
#include <functional>
#include <memory>
#include <string_view>
#include <thread>
#include <vector>

namespace {
using Clock = std::chrono::steady_clock;

struct Options {
    long seconds = 60;
    long threads = 8;
    long programs = 1000; // Different ones.
    long seed = 1;
};

void usage() {
    std::puts("usage: soak [--seconds N] [--threads N] [--programs N] [--seed N]");
    std::exit(2);
}

Options parsed(int count, char** arguments) {
    Options options;
    for (int i = 1; i < count; i += 2) {
        const std::string_view name = arguments[i];
        long* const value = name == "--seconds"    ? &options.seconds
                            : name == "--threads"  ? &options.threads
                            : name == "--programs" ? &options.programs
                            : name == "--seed"     ? &options.seed
                                                   : nullptr;
        if (value == nullptr || i + 1 == count) {
            usage();
        }
        char* end = nullptr;
        *value = std::strtol(arguments[i + 1], &end, 10);
        if (*end != '\0' || *value < 1) {
            usage();
        }
    }
    return options;
}

double megabytes(double bytes) {
    return bytes / (1024.0 * 1024.0);
}

double residentMegabytes() {
    long pages = 0;
    long resident = 0;
    std::ifstream("/proc/self/statm") >> pages >> resident;
    return megabytes(static_cast<double>(resident) * static_cast<double>(sysconf(_SC_PAGESIZE)));
}

double peakMegabytes() {
    rusage usage = {};
    getrusage(RUSAGE_SELF, &usage);
    return megabytes(static_cast<double>(usage.ru_maxrss) * 1024.0);
}

std::uint64_t seedOf(const Options& options, long program) {
    return static_cast<std::uint64_t>(options.seed * 1'000'000 + program);
}

// What is kept of a program, by itself on the heap, and what that takes there.
using Record = std::unique_ptr<const soak::Outcome>;
constexpr double bytesOfRecord = sizeof(Record) + 32.0;
static_assert(sizeof(soak::Outcome) <= 24, "32 bytes with what the heap adds");

// What the threads have in common.
struct Run {
    const Options& options;
    const std::vector<soak::Outcome>& expected; // Of one thread alone, by program.
    std::atomic<bool> stop = false;
    std::atomic<long> records = 0;
    std::atomic<long> operations = 0;
    std::atomic<long> differences = 0;
};

void work(Run& run, long thread) {
    soak::Random random(static_cast<std::uint64_t>(thread) + 1);
    std::deque<Record> records;
    while (!run.stop) {
        const long program = random.between(0, run.options.programs - 1);
        const soak::Outcome outcome = soak::runProgram(seedOf(run.options, program));
        records.push_back(std::make_unique<const soak::Outcome>(outcome));
        ++run.records;
        run.operations += outcome.operations;
        if (outcome.digest != run.expected[static_cast<std::size_t>(program)].digest) {
            std::printf("program %ld of seed %ld gave another result in thread %ld\n", program,
                        run.options.seed, thread);
            ++run.differences;
        }
    }
}
} // namespace

int main(int count, char** arguments) {
    const Options options = parsed(count, arguments);
    std::vector<soak::Outcome> expected;
    for (long program = 0; program < options.programs; ++program) {
        expected.push_back(soak::runProgram(seedOf(options, program)));
    }

    Run run{options, expected};
    std::vector<std::jthread> threads;
    for (long thread = 0; thread < options.threads; ++thread) {
        threads.emplace_back(work, std::ref(run), thread);
    }
    const auto start = Clock::now();
    const auto sleepUntil = [start, &options](double share) {
        std::this_thread::sleep_until(
            start + std::chrono::duration<double>(share * static_cast<double>(options.seconds)));
    };
    // The most that is resident while the programs meet in all ways, and the most after that.
    double warm = 0.0;
    double later = 0.0;
    constexpr long samples = 40;
    for (long i = 1; i <= samples; ++i) {
        sleepUntil(static_cast<double>(i) / samples);
        double& most = i <= samples / 2 ? warm : later;
        const double records = megabytes(static_cast<double>(run.records) * bytesOfRecord);
        most = std::max(most, residentMegabytes() - records);
    }
    run.stop = true;
    threads.clear();

    std::printf("%ld threads, %ld s, %ld operations in %ld programs: %ld differences; %ld records kept, "
                "resident without them %.1f MiB in the first half, %.1f MiB in the second, "
                "with them %.1f MiB at the peak\n",
                options.threads, options.seconds, run.operations.load(), options.programs,
                run.differences.load(), run.records.load(), warm, later, peakMegabytes());
    const bool grew = !support::sanitizerKeepsMemory && later > 1.25 * warm + 8.0;
    if (grew) {
        std::puts("memory grew");
    }
    return run.differences == 0 && run.operations > 0 && !grew ? 0 : 1;
}
