/// \file
/// Compares what the library computes with the committed tables: exact.txt, a hash of each job's results,
/// which must be the same everywhere; near.txt, values that come from the maths library, which may differ
/// from it in the last place.
///
/// usage: identity [--set=NAME] [--environment=NAME] [--tables=DIR] [--write]
///   --set=NAME           only that instruction set (portable, SSE2, AVX2, AVX-512); ends with 77 where the
///                        processor lacks it
///   --environment=NAME   with another floating-point environment: upward, downward, toward-zero,
///   flush-to-zero,
///                        denormals-are-zero
///   --tables=DIR         where the tables are
///   --write              replaces the tables instead of comparing
///
/// Ends with 0 when all is equal, 1 when something differs, 2 when it cannot compare.
#include "filt/fft/kernels/instruction_sets.h"
#include "tests/identity/environment.h"
#include "tests/identity/results.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <exception>
#include <fstream>
#include <memory>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>

#ifndef KAV_IDENTITY_TABLES
#define KAV_IDENTITY_TABLES "tests/identity"
#endif

namespace {

using identity::Near;
using identity::Results;

// Instruction sets.

std::optional<vx_InstructionSet> forcedSet;
long transformsBySet = 0;
long transformsByOneLane = 0;

std::optional<vx_InstructionSet> setNamed(const std::string& name) {
    for (const auto set : {vx_InstructionSet::portable, vx_InstructionSet::sse2, vx_InstructionSet::avx2,
                           vx_InstructionSet::avx512}) {
        if (name == vf_InstructionSetName(set)) {
            return set;
        }
    }
    return std::nullopt;
}

bool isSupported(vx_InstructionSet set) {
    const auto sets = vf_SupportedInstructionSets();
    return std::find(sets.begin(), sets.end(), set) != sets.end();
}

// Tables.

std::string formatted(std::uint64_t hash) {
    char text[17];
    std::snprintf(text, sizeof text, "%016" PRIx64, hash);
    return text;
}

std::map<std::string, std::string> exactTableOf(const Results& results) {
    std::map<std::string, std::string> table;
    for (const auto& [name, hash] : results.hashes()) {
        table[name] = formatted(hash.value());
    }
    return table;
}

std::string openFailure(const std::string& path) {
    return "cannot open " + path;
}

std::map<std::string, std::string> readExactTable(const std::string& path) {
    std::ifstream file(path);
    if (!file) {
        throw std::runtime_error(openFailure(path));
    }
    std::map<std::string, std::string> table;
    std::string name;
    std::string hash;
    while (file >> name >> hash) {
        table[name] = hash;
    }
    return table;
}

std::map<std::string, Near> readNearTable(const std::string& path) {
    std::ifstream file(path);
    if (!file) {
        throw std::runtime_error(openFailure(path));
    }
    std::map<std::string, Near> table;
    std::string line;
    while (std::getline(file, line)) {
        std::istringstream fields(line);
        std::string name;
        Near near;
        fields >> name >> near.precision;
        for (std::int64_t value = 0; fields >> value;) {
            near.values.push_back(value);
        }
        table[name] = near;
    }
    return table;
}

void write(const Results& results, const std::string& folder) {
    std::ofstream exact(folder + "/exact.txt");
    for (const auto& [name, hash] : exactTableOf(results)) {
        exact << name << ' ' << hash << '\n';
    }
    std::ofstream near(folder + "/near.txt");
    for (const auto& [name, values] : results.neighbours()) {
        near << name << ' ' << values.precision;
        for (const std::int64_t value : values.values) {
            near << ' ' << value;
        }
        near << '\n';
    }
    if (!exact.flush() || !near.flush()) {
        throw std::runtime_error("cannot write the tables");
    }
}

// Comparison.

/// The jobs of which the hashes differ, or which only one side has.
long compareExact(const std::map<std::string, std::string>& actual,
                  const std::map<std::string, std::string>& expected) {
    long differences = 0;
    for (const auto& [name, hash] : expected) {
        const auto found = actual.find(name);
        if (found == actual.end() || found->second != hash) {
            std::printf("%s is %s, not %s\n", name.c_str(),
                        found == actual.end() ? "missing" : found->second.c_str(), hash.c_str());
            ++differences;
        }
    }
    for (const auto& [name, hash] : actual) {
        if (!expected.contains(name)) {
            std::printf("%s is not in the table\n", name.c_str());
            ++differences;
        }
    }
    return differences;
}

struct NearComparison {
    long values = 0;
    long neighbours = 0; ///< Not the same, but next to it.
    long farAway = 0;    ///< Lists that differ by more or in length.
};

/// Pels wrap, so 0 is next to 255.
std::int64_t distance(const std::string& precision, std::int64_t a, std::int64_t b) {
    const std::int64_t d = a < b ? b - a : a - b;
    return precision == "pel" ? std::min(d, 256 - d) : d;
}

void compareList(const std::string& name, const Near& actual, const Near& expected, NearComparison& result) {
    if (actual.precision != expected.precision || actual.values.size() != expected.values.size()) {
        std::printf("%s has another length\n", name.c_str());
        ++result.farAway;
        return;
    }
    std::int64_t largest = 0;
    for (std::size_t i = 0; i < actual.values.size(); ++i) {
        const std::int64_t d = distance(actual.precision, actual.values[i], expected.values[i]);
        ++result.values;
        result.neighbours += d == 1 ? 1 : 0;
        largest = std::max(largest, d);
    }
    if (largest > 1) {
        std::printf("%s differs by %" PRId64 " units in the last place\n", name.c_str(), largest);
        ++result.farAway;
    }
}

NearComparison compareNear(const std::map<std::string, Near>& actual,
                           const std::map<std::string, Near>& expected) {
    NearComparison result;
    for (const auto& [name, values] : expected) {
        const auto found = actual.find(name);
        if (found == actual.end()) {
            std::printf("%s is missing\n", name.c_str());
            ++result.farAway;
        } else {
            compareList(name, found->second, values, result);
        }
    }
    if (actual.size() > expected.size()) {
        std::printf("near.txt is not complete\n");
        ++result.farAway;
    }
    return result;
}

int compare(const Results& results, const std::string& folder) {
    const auto exact = exactTableOf(results);
    const long differences = compareExact(exact, readExactTable(folder + "/exact.txt"));
    const NearComparison near = compareNear(results.neighbours(), readNearTable(folder + "/near.txt"));
    std::printf("%zu hashes, %ld differ; of %ld values from the maths library %ld are neighbours",
                exact.size(), differences, near.values, near.neighbours);
    if (near.farAway > 0) {
        std::printf(", %ld lists are farther away", near.farAway);
    }
    if (forcedSet) {
        std::printf("; %s did %ld transforms, one lane %ld", vf_InstructionSetName(*forcedSet),
                    transformsBySet, transformsByOneLane);
    }
    std::printf("\n");
    return differences > 0 || near.farAway > 0 ? 1 : 0;
}

struct Options {
    std::string set;
    std::string environment = "default";
    std::string tables = KAV_IDENTITY_TABLES;
    bool write = false;
};

Options parsed(int count, char** arguments) {
    Options options;
    for (int i = 1; i < count; ++i) {
        const std::string argument = arguments[i];
        const std::string value = argument.substr(std::min(argument.find('=') + 1, argument.size()));
        if (argument.starts_with("--set=")) {
            options.set = value;
        } else if (argument.starts_with("--environment=")) {
            options.environment = value;
        } else if (argument.starts_with("--tables=")) {
            options.tables = value;
        } else if (argument == "--write") {
            options.write = true;
        } else {
            throw std::runtime_error("unknown option " + argument);
        }
    }
    return options;
}

int run(const Options& options) {
    std::unique_ptr<vx_ForcedInstructionSet> force;
    if (!options.set.empty()) {
        forcedSet = setNamed(options.set);
        if (!forcedSet) {
            throw std::runtime_error("no instruction set " + options.set);
        }
        if (!isSupported(*forcedSet)) {
            std::printf("this processor or build has no %s\n", options.set.c_str());
            return 77;
        }
        force = std::make_unique<vx_ForcedInstructionSet>(*forcedSet);
    }
    if (!identity::enterEnvironment(options.environment)) {
        throw std::runtime_error("no environment " + options.environment);
    }
    Results results;
    identity::kernelJobs(results);
    identity::forwardJobs(results);
    identity::inverseJobs(results);
    identity::filterJobs(results);
    identity::arithmeticJobs(results);
    identity::spectrumJobs(results);
    identity::mappingJobs(results);
    identity::archiveJobs(results);
    identity::mathsJobs(results);
    identity::enterEnvironment("default");
    if (forcedSet && transformsBySet == 0) {
        throw std::runtime_error("no transform took the forced instruction set");
    }
    if (forcedSet && &vf_Elements() != &vf_KernelsFor({2048, 2048}).elements) {
        throw std::runtime_error("loops over samples take another instruction set than the forced one");
    }
    if (options.write) {
        write(results, options.tables);
        return 0;
    }
    return compare(results, options.tables);
}

} // namespace

void identity::expectForcedSet(const vxPair<long>& size) {
    if (!forcedSet) {
        return;
    }
    const vx_Kernels& kernels = vf_KernelsFor(size);
    if (&kernels == &vx_InstructionSets::single) {
        ++transformsByOneLane;
    } else if (kernels.set == *forcedSet) {
        ++transformsBySet;
    } else {
        throw std::runtime_error("a transform took another instruction set than the forced one");
    }
}

int main(int count, char** arguments) {
    try {
        return run(parsed(count, arguments));
    } catch (const std::exception& error) {
        std::fprintf(stderr, "identity: %s\n", error.what());
        return 2;
    }
}
