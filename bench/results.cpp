#include "bench/results.h"

#include <algorithm>

namespace bench {

const Standing* find(const std::vector<Standing>& standings, const std::string& name) {
    const auto place = std::ranges::find(standings, name, &Standing::name);
    return place == standings.end() ? nullptr : &*place;
}

const JobLine* find(const std::vector<JobLine>& lines, Job job, const Size& source) {
    const auto place = std::ranges::find_if(
        lines, [&](const JobLine& line) { return line.job == job && line.source == source; });
    return place == lines.end() ? nullptr : &*place;
}

std::vector<Size> sizesOf(const std::vector<JobLine>& lines) {
    std::vector<Size> sizes;
    for (const JobLine& line : lines) {
        if (std::ranges::find(sizes, line.source) == sizes.end()) {
            sizes.push_back(line.source);
        }
    }
    return sizes;
}

} // namespace bench
