#include "bench/report.h"

#include <nlohmann/json.hpp>

namespace bench {

namespace {

using Json = nlohmann::ordered_json;

Json jsonOf(const Quartiles& values) {
    return {{"low", values.low}, {"median", values.median}, {"high", values.high}};
}

Json jsonOf(const std::vector<Standing>& standings) {
    Json result = Json::array();
    for (const Standing& standing : standings) {
        result.push_back({{"name", standing.name},
                          {"seconds", jsonOf(standing.seconds)},
                          {"ratio", jsonOf(standing.ratio)}});
    }
    return result;
}

Json jsonOf(const std::vector<JobLine>& lines) {
    Json result = Json::array();
    for (const JobLine& line : lines) {
        result.push_back({{"job", info(line.job).code},
                          {"source", text(line.source)},
                          {"transform", text(line.padded)},
                          {"worst difference", line.worstDifference},
                          {"allocated bytes", line.allocatedBytes},
                          {"contestants", jsonOf(line.standings)}});
    }
    return result;
}

Json jsonOf(const std::vector<BytesLine>& lines) {
    Json result = Json::array();
    for (const BytesLine& line : lines) {
        result.push_back({{"operation", line.operation},
                          {"size", text(line.size)},
                          {"bytes", line.bytes},
                          {"contestants", jsonOf(line.standings)}});
    }
    return result;
}

Json jsonOf(const std::vector<ThreadsLine>& lines) {
    Json result = Json::array();
    for (const ThreadsLine& line : lines) {
        result.push_back(
            {{"job", line.work}, {"size", line.size}, {"speed-up of two threads", jsonOf(line.speedUp)}});
    }
    return result;
}

} // namespace

std::string json(const Results& results) {
    const Json whole{{"environment", environment(results)},
                     {"jobs", jsonOf(results.jobs)},
                     {"instruction sets", jsonOf(results.instructionSets)},
                     {"operations", jsonOf(results.operations)},
                     {"filter construction", jsonOf(results.creations)},
                     {"threads", jsonOf(results.threads)}};
    return whole.dump(1) + "\n";
}

} // namespace bench
