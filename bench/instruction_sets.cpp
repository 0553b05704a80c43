#include "bench/instruction_sets.h"

namespace bench {

struct Forced::Guard {};

std::vector<std::string> instructionSets() {
    return {"portable"};
}

Forced::Forced(const std::string& /*instructionSet*/) {}

Forced::~Forced() = default;

} // namespace bench
