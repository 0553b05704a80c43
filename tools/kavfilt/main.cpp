#include "app/errors.h"
#include "app/interruption.h"
#include "tools/kavfilt/verbs.h"

#include <exception>
#include <iostream>
#include <new>

namespace {

int report(int exitCode, const std::string& message) {
    std::cerr << "kavfilt: " << app::oneLine(message) << '\n';
    return exitCode;
}

int run(int argc, char** argv) {
    CLI::App program{"Frequency-domain image processing"};
    program.name("kavfilt");
    program.set_version_flag("--version", "kavfilt " KAV_VERSION);
    program.require_subcommand(1);
    program.footer(
        "Images are PNG, TIFF or PGM files, up to 2048 x 2048 pels. \"kavfilt VERB --help\" tells more.\n"
        "Exit codes: 0 done, 1 out of memory, 2 wrong usage, 3 unreadable or unsupported input,\n"
        "4 cannot write or exists, 130 interrupted.");
    addFilterVerb(program);
    addSaveVerb(program);
    addSpectrumVerb(program);
    addCorrelateVerb(program);
    addConvolveVerb(program);
    addInfoVerb(program);
    addSuggestVerb(program);
    addDemoVerb(program);
    try {
        program.parse(argc, argv);
    } catch (const CLI::Success& helpOrVersion) {
        program.exit(helpOrVersion);
    } catch (const CLI::ParseError& error) {
        return report(app::eUsage, error.what());
    }
    if (!std::cout.flush()) {
        throw app::WriteError("cannot write to the standard output");
    }
    return app::eDone;
}

} // namespace

int main(int argc, char** argv) {
    try {
        const app::InterruptionScope interruption;
        return run(argc, argv);
    } catch (const app::Error& error) {
        return report(error.exitCode(), error.what());
    } catch (const std::bad_alloc&) {
        return report(app::eInternal, "out of memory");
    } catch (const std::exception& error) {
        return report(app::eInternal, error.what());
    }
}
