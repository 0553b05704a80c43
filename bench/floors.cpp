// The file: by instruction set, by job or operation, by opponent, the least ratio.
//
//     { "AVX-512": { "F": { "portable": 3.2, "FFTW": 1.6 }, "real image": { "copy": 0.5 } } }
//
// A floor holds at every size that --quick measures. It lies well below what was measured, so that noise does
// not fail.
#include "bench/floors.h"

#include <nlohmann/json.hpp>

#include <fstream>
#include <stdexcept>

namespace bench {

namespace {

using Json = nlohmann::json;

void check(const Json& floors, const std::string& name, const Size& size,
           const std::vector<Standing>& standings, std::vector<std::string>& failures) {
    if (!floors.contains(name)) {
        return;
    }
    for (const auto& [opponent, least] : floors.at(name).items()) {
        const Standing* const standing = find(standings, opponent);
        if (standing != nullptr && standing->ratio.median < least.get<double>()) {
            failures.push_back(name + " at " + text(size) + ": " + opponent + "'s time by ours is " +
                               std::to_string(standing->ratio.median) + ", the floor is " + least.dump());
        }
    }
}

} // namespace

std::string checkFloors(const std::string& file, Results& results) {
    std::ifstream stream(file);
    if (!stream) {
        throw std::runtime_error("cannot read " + file);
    }
    const Json all = Json::parse(stream);
    const std::string& set = results.instructionSet;
    if (!all.contains(set)) {
        return "No floors are recorded for " + set + ".\n";
    }
    const Json& floors = all.at(set);
    for (const JobLine& line : results.jobs) {
        check(floors, info(line.job).code, line.source, line.standings, results.failures);
    }
    for (const BytesLine& line : results.operations) {
        check(floors, line.operation, line.size, line.standings, results.failures);
    }
    return "";
}

} // namespace bench
