// The library side by side with its peers. scripts/bench builds and runs this; docs/performance.md says what
// is measured and how.
#include "bench/floors.h"
#include "bench/instruction_sets.h"
#include "bench/options.h"
#include "bench/peers.h"
#include "bench/report.h"
#include "bench/sections.h"

#include <benchmark/benchmark.h>

#include <exception>
#include <fstream>
#include <iostream>
#include <stdexcept>

namespace {

void write(const std::string& file, const std::string& content) {
    std::ofstream stream(file, std::ios::binary);
    stream << content;
    if (!stream.flush()) {
        throw std::runtime_error("cannot write " + file);
    }
}

void report(const bench::Options& options, const bench::Results& results) {
    const std::string tables = bench::markdown(results);
    std::cout << '\n' << tables;
    write(options.output + "/performance.md", tables);
    write(options.output + "/performance.json", bench::json(results));
    write(options.output + "/performance.svg", bench::plot(results));
}

int run(int argc, char** argv) {
    const bench::Options options = bench::takeOptions(argc, argv);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 2;
    }
    bench::loadFftwWisdom(options.wisdom, !options.quick);
    bench::Results results;
    results.instructionSet = options.set.empty() ? bench::instructionSets().back() : options.set;
    bench::addJobs(options, results);
    bench::addInstructionSets(options, results);
    bench::addOperations(options, results);
    bench::addThreads(options, results);
    if (benchmark::RunSpecifiedBenchmarks() == 0) {
        return 0; // They were only listed.
    }
    bench::saveFftwWisdom(options.wisdom);
    report(options, results);
    if (options.quick && options.record) {
        bench::recordFloors(options.floors, results);
    } else if (options.quick) {
        std::cout << bench::checkFloors(options.floors, results);
    }
    for (const std::string& failure : results.failures) {
        std::cerr << "FAILED: " << failure << '\n';
    }
    return results.failures.empty() ? 0 : 1;
}

} // namespace

int main(int argc, char** argv) {
    try {
        return run(argc, argv);
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
        return 2;
    }
}
