/// \file
/// Interleaved timing: ours, peer, peer, ours, ... in one run, so that a change of the machine's speed meets
/// all alike. Times are the processor time of this process, all its threads together, so that other programs
/// disturb little; nothing here waits for anything.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace bench {

struct Contestant {
    std::string name;
    std::function<void()> run;
    /// Brings back what a run in place changes; before each run, not timed. May be empty.
    std::function<void()> prepare;
};

struct Quartiles {
    double low = 0.0;
    double median = 0.0;
    double high = 0.0;
};
[[nodiscard]] Quartiles quartiles(std::vector<double> values);

struct Standing {
    std::string name;
    Quartiles seconds; ///< of one run
    Quartiles ratio;   ///< its time by the first contestant's, paired by round
};

/// The first contestant is the one whose ratios are wanted.
class Contest {
public:
    /// Runs each contestant a few times to know how often it goes into a round.
    explicit Contest(std::vector<Contestant> contestants);
    /// Times every contestant once, from first to last and from last to first in turn. Gives the first one's
    /// seconds per run.
    double round();
    [[nodiscard]] std::vector<Standing> standings() const;

private:
    struct Lane {
        Contestant contestant;
        int repeats = 1;
        bool warmUp = false;
        std::vector<double> seconds;
    };
    static void turn(Lane& lane);

    std::vector<Lane> lanes_;
    bool backwards_ = false;
};

} // namespace bench
