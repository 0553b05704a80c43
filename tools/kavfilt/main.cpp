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
    CLI::App program;
    describe(program);
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
