#include "bench/contest.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <ctime>
#include <utility>

namespace bench {

namespace {

constexpr double turnSeconds = 1e-3;  // A turn lasts at least so long,
constexpr int mostRepeats = 1000;     // unless a run is too short for that.
constexpr double shortSeconds = 8e-3; // Jobs below this one may live in the caches: their turns start warm.

double quantile(const std::vector<double>& sorted, double part) {
    const double place = part * static_cast<double>(sorted.size() - 1);
    const auto below = static_cast<std::size_t>(place);
    const std::size_t above = std::min(below + 1, sorted.size() - 1);
    const double weight = place - static_cast<double>(below);
    return sorted[below] * (1.0 - weight) + sorted[above] * weight;
}

double processorSeconds() {
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

double timedOnce(const Contestant& contestant) {
    contestant.prepare();
    const double start = processorSeconds();
    contestant.run();
    return processorSeconds() - start;
}

/// Seconds per run. Without anything to prepare the clock, which takes its time, too, is read twice only.
double timed(const Contestant& contestant, int runs) {
    if (contestant.prepare) {
        double sum = 0.0;
        for (int i = 0; i < runs; ++i) {
            sum += timedOnce(contestant);
        }
        return sum / runs;
    }
    const double start = processorSeconds();
    for (int i = 0; i < runs; ++i) {
        contestant.run();
    }
    return (processorSeconds() - start) / runs;
}

} // namespace

Quartiles quartiles(std::vector<double> values) {
    if (values.empty()) {
        return {};
    }
    std::ranges::sort(values);
    return {quantile(values, 0.25), quantile(values, 0.5), quantile(values, 0.75)};
}

Contest::Contest(std::vector<Contestant> contestants) {
    for (Contestant& contestant : contestants) {
        timed(contestant, 1); // First touch of its memory.
        const double seconds = std::min(timed(contestant, 1), timed(contestant, 1));
        const double wanted = std::ceil(turnSeconds / std::max(seconds, 1e-9));
        const int repeats = static_cast<int>(std::min<double>(wanted, mostRepeats));
        lanes_.push_back({std::move(contestant), repeats, seconds < shortSeconds, {}});
    }
}

void Contest::turn(Lane& lane) {
    if (lane.warmUp) {
        timed(lane.contestant, 1);
    }
    lane.seconds.push_back(timed(lane.contestant, lane.repeats));
}

double Contest::round() {
    if (backwards_) {
        std::for_each(lanes_.rbegin(), lanes_.rend(), turn);
    } else {
        std::for_each(lanes_.begin(), lanes_.end(), turn);
    }
    backwards_ = !backwards_;
    return lanes_.front().seconds.back();
}

std::vector<Standing> Contest::standings() const {
    std::vector<Standing> result;
    const std::vector<double>& first = lanes_.front().seconds;
    for (const Lane& lane : lanes_) {
        std::vector<double> ratios;
        for (std::size_t i = 0; i < first.size(); ++i) {
            ratios.push_back(lane.seconds[i] / first[i]);
        }
        result.push_back({lane.contestant.name, quartiles(lane.seconds), quartiles(ratios)});
    }
    return result;
}

} // namespace bench
