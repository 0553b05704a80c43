#include "app/memory.h"

#include <algorithm>
#include <fstream>
#include <limits>
#include <string>
#include <sys/resource.h>
#include <unistd.h>

namespace app {
namespace {

using Bytes = unsigned long long;
constexpr Bytes unknown = std::numeric_limits<Bytes>::max();

// What can be used without swapping, in the kernel's estimate.
Bytes ofTheMachine() {
    std::ifstream file("/proc/meminfo");
    std::string key;
    Bytes kilobytes = 0;
    while (file >> key >> kilobytes) {
        if (key == "MemAvailable:") {
            return kilobytes * 1024;
        }
        file.ignore(std::numeric_limits<std::streamsize>::max(), '\n');
    }
    return unknown;
}

// The file holds a number, or the word "max".
Bytes ofTheContainer() {
    std::ifstream file("/sys/fs/cgroup/memory.max");
    Bytes limit = 0;
    return file >> limit ? limit : unknown;
}

Bytes ofTheAddressSpace() {
    rlimit limit{};
    Bytes pages = 0;
    if (::getrlimit(RLIMIT_AS, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY ||
        !(std::ifstream("/proc/self/statm") >> pages)) {
        return unknown;
    }
    const Bytes used = pages * static_cast<Bytes>(::sysconf(_SC_PAGESIZE));
    return limit.rlim_cur > used ? limit.rlim_cur - used : 0;
}

} // namespace

Bytes availableMemory() {
    return std::min({ofTheMachine(), ofTheContainer(), ofTheAddressSpace()});
}

} // namespace app
