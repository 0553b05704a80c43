/// \file
/// The options that say what a filter is, for the verbs that build one.
#pragma once

#include "app/filters.h"

#include <CLI/CLI.hpp>

#include <string>

struct FilterOptions {
    app::FilterParameters parameters; ///< What the options say, the kernel's pels excepted.
    std::string kernel;               ///< The kernel's file.
};

/// --type --frequency --sigma --plateau --angle --dc --kernel --unit
void addFilterOptions(CLI::App& verb, FilterOptions& options);

/// UsageError for an option that the type needs and that was not given, one that was given and does not apply
/// to the type, or a value that is wrong for every size of spectra.
void checkFilterOptions(const CLI::App& verb, const FilterOptions& options);

/// UsageError for an option that does not apply to a filter from a file. `source` is --filter or --recipe.
void checkNoFilterOptions(const CLI::App& verb, const std::string& source);

/// The parameters with the kernel read. UnreadableError.
[[nodiscard]] app::FilterParameters completed(const FilterOptions& options);

/// What the options mean and which type takes which, for --help.
extern const char* const filterOptionsExplanation;
