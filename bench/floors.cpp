// The file: by instruction set, by job or operation, by opponent, the least ratio.
//
//     { "AVX-512": { "F": { "portable": 3.2, "FFTW": 1.6 }, "real image": { "copy": 0.5 } } }
//
// A floor holds at every size that --quick measures.
#include "bench/floors.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <stdexcept>

namespace bench {

namespace {

using Json = nlohmann::json;

// What is left of a measured ratio, for noise. How fast memory is copied depends most on what else the
// machine does.
constexpr double jobMargin = 0.7;
constexpr double copyMargin = 0.5;

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

/// Lowers the floors of that name to what these standings leave, when they are not lower already.
void record(Json& floors, const std::string& name, const std::vector<Standing>& standings, double margin) {
    for (std::size_t i = 1; i < standings.size(); ++i) {
        const double floor = std::floor(margin * standings[i].ratio.median * 100.0) / 100.0;
        Json& entry = floors[name][standings[i].name];
        entry = entry.is_null() ? floor : std::min(floor, entry.get<double>());
    }
}

Json read(const std::string& file) {
    std::ifstream stream(file);
    if (!stream) {
        throw std::runtime_error("cannot read " + file);
    }
    return Json::parse(stream);
}

} // namespace

std::string checkFloors(const std::string& file, Results& results) {
    const Json all = read(file);
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

void recordFloors(const std::string& file, const Results& results) {
    Json all = read(file);
    Json floors = Json::object();
    for (const JobLine& line : results.jobs) {
        record(floors, info(line.job).code, line.standings, jobMargin);
    }
    for (const BytesLine& line : results.operations) {
        record(floors, line.operation, line.standings, copyMargin);
    }
    all[results.instructionSet] = floors;
    std::ofstream stream(file);
    stream << all.dump(4) << '\n';
    if (!stream.flush()) {
        throw std::runtime_error("cannot write " + file);
    }
}

} // namespace bench
