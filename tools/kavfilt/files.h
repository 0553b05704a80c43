/// \file
/// The files of a verb that makes an image from images.
#pragma once

#include "app/image_file.h"

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

/// Where the result goes and what may be said about it.
struct Output {
    std::string path;
    bool force = false;
    bool quiet = false;

    [[nodiscard]] app::Overwrite overwrite() const {
        return force ? app::Overwrite::force : app::Overwrite::refuse;
    }
};

/// -o, --force, -q
void addOutput(CLI::App& verb, Output& output,
               const std::string& help = "where to write the result; .png, .tif, .tiff or .pgm");

/// Before any work: UsageError or WriteError for an output that is of no known format, is one of the inputs
/// or cannot be written.
void checkOutput(const Output& output, const std::vector<std::string>& inputs);

/// One line about an input, and what reading it left out or converted.
void printInput(const app::Image& input);

/// The last line of a report.
void printOutput(const Output& output, app::Depth depth);
