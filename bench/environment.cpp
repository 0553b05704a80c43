#include "bench/peers.h"
#include "bench/report.h"

#include <fstream>

namespace bench {

namespace {

/// The value of the first such line of the processor's description; empty where there is none.
std::string processor() {
    std::ifstream lines("/proc/cpuinfo");
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with("model name")) {
            return line.substr(line.find(':') + 2);
        }
    }
    return "unknown processor";
}

} // namespace

std::vector<std::string> environment(const Results& results) {
    std::vector<std::string> lines{"Processor: " + processor() +
                                       ", instruction set taken: " + results.instructionSet + "; one thread",
                                   std::string("Compiler: g++ ") + __VERSION__ + ", Release"};
    std::string versions;
    for (const Peer* const peer : peers()) {
        const std::string name = peer->name;
        if (!name.ends_with(" real")) { // Another use of the same library.
            versions += (versions.empty() ? "" : ", ") + name + " " + peer->version();
        }
    }
    lines.push_back("Peers, from Debian's packages: " + versions);
    return lines;
}

} // namespace bench
