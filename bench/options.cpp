#include "bench/options.h"

#include <string_view>

namespace bench {

namespace {

/// Whether the argument is --name=value; the value is taken.
bool takeValue(std::string_view argument, std::string_view name, std::string& value) {
    if (!argument.starts_with(name)) {
        return false;
    }
    value = argument.substr(name.size());
    return true;
}

bool take(Options& options, std::string_view argument) {
    if (argument == "--quick") {
        options.quick = true;
        return true;
    }
    if (argument == "--record") {
        options.record = true;
        return true;
    }
    return takeValue(argument, "--set=", options.set) || takeValue(argument, "--out=", options.output) ||
           takeValue(argument, "--floors=", options.floors) ||
           takeValue(argument, "--wisdom=", options.wisdom);
}

} // namespace

Options takeOptions(int& argc, char** argv) {
    Options options;
    int kept = 1;
    for (int i = 1; i < argc; ++i) {
        if (!take(options, argv[i])) {
            argv[kept++] = argv[i];
        }
    }
    argc = kept;
    return options;
}

} // namespace bench
