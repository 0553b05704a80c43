/// \file
/// The verbs of the program, one file each. Each function adds its verb's options and what it does to the
/// program.
#pragma once

#include <CLI/CLI.hpp>

/// All of the program: its name, its options and every verb.
void describe(CLI::App& program);

void addFilterVerb(CLI::App& program);
void addSaveVerb(CLI::App& program);
void addRecipeVerb(CLI::App& program);
void addInfoVerb(CLI::App& program);
void addSpectrumVerb(CLI::App& program);
void addCorrelateVerb(CLI::App& program);
void addConvolveVerb(CLI::App& program);
void addSuggestVerb(CLI::App& program);
void addDemoVerb(CLI::App& program);
