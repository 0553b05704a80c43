#include "bench/instruction_sets.h"

#include "filt/fft/kernels/instruction_sets.h"

#include <algorithm>
#include <stdexcept>

namespace bench {

struct Forced::Guard {
    explicit Guard(vx_InstructionSet set) : forced(set) {}
    vx_ForcedInstructionSet forced;
};

std::vector<std::string> instructionSets() {
    std::vector<std::string> names;
    for (const vx_InstructionSet set : vf_SupportedInstructionSets()) {
        names.emplace_back(vf_InstructionSetName(set));
    }
    return names;
}

Forced::Forced(const std::string& instructionSet) {
    const std::vector<vx_InstructionSet> sets = vf_SupportedInstructionSets();
    const auto set = std::ranges::find(sets, instructionSet, vf_InstructionSetName);
    if (set == sets.end()) {
        throw std::invalid_argument("no instruction set " + instructionSet);
    }
    guard_ = std::make_unique<Guard>(*set);
}

Forced::~Forced() = default;

} // namespace bench
