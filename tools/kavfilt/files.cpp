#include "tools/kavfilt/files.h"

#include "app/errors.h"
#include "app/words.h"

#include <iostream>

void addOutput(CLI::App& verb, Output& output, const std::string& help) {
    verb.add_option("-o,--output", output.path, help)->required();
    verb.add_flag("--force", output.force, "overwrite the output if it exists, even if it is an input");
    verb.add_flag("-q,--quiet", output.quiet, "do not report what was done");
}

void checkOutput(const Output& output, const std::vector<std::string>& inputs) {
    app::checkFormat(output.path);
    for (const std::string& input : inputs) {
        if (!output.force && app::isSameFile(input, output.path)) {
            throw app::WriteError("cannot write " + output.path +
                                  ": it is the input (--force overwrites it)");
        }
    }
    app::checkWritable(output.path, output.overwrite());
}

void printInput(const app::Image& input) {
    std::cout << app::oneLine(input.name) << ": " << input.format << ", "
              << app::size(input.pels.width(), input.pels.height()) << ", " << app::traits(input.depth).name
              << '\n';
    for (const std::string& note : input.notes) {
        std::cout << "  " << note << '\n';
    }
}

void printOutput(const Output& output, app::Depth depth) {
    std::cout << app::oneLine(output.path) << ": " << app::traits(depth).name << ", written\n";
}
