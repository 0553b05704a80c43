#include "tools/kavfilt/verbs.h"

void describe(CLI::App& program) {
    program.name("kavfilt");
    program.description("Frequency-domain image processing");
    program.set_version_flag("--version", "kavfilt " KAV_VERSION);
    program.require_subcommand(1);
    program.footer(
        "Images are PNG, TIFF or PGM files, up to 2048 x 2048 pels; \"filter --tile\" takes larger ones.\n"
        "\"kavfilt VERB --help\" tells more.\n"
        "Exit codes: 0 done, 1 out of memory, or files of a batch that failed, 2 wrong usage,\n"
        "3 unreadable or unsupported input, 4 cannot write or exists, 130 interrupted.");
    addFilterVerb(program);
    addSaveVerb(program);
    addRecipeVerb(program);
    addSpectrumVerb(program);
    addCorrelateVerb(program);
    addConvolveVerb(program);
    addInfoVerb(program);
    addSuggestVerb(program);
    addDemoVerb(program);
}
