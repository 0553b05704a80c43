/// \file
/// What is measured and where the results go.
#pragma once

#include <string>

namespace bench {

struct Options {
    bool quick = false;       ///< each job at two sizes with FFTW and the portable path, against the floors
    bool record = false;      ///< with quick: writes new floors instead of checking them
    std::string set;          ///< instruction set that the library takes; empty: the fastest one
    std::string output = "."; ///< folder of performance.md, .json and .svg
    std::string floors;       ///< file of the least ratios that --quick lets pass
    std::string wisdom;       ///< file that keeps FFTW's plans between runs
};

/// Takes the options of this program out of the arguments; what remains is for the framework.
[[nodiscard]] Options takeOptions(int& argc, char** argv);

} // namespace bench
