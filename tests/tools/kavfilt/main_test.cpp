#include "tests/support/sanitizers.h"
#include "tests/tools/kavfilt/program.h"

#include <gmock/gmock.h>

namespace {

using testing::HasSubstr;

TEST(Main, TellsItsVersion) {
    const Outcome outcome = run(".", {"--version"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.output, "kavfilt " KAV_VERSION "\n");
    EXPECT_EQ(outcome.errors, "");
}

TEST(Main, HelpsWithTheProgramAndEachVerb) {
    const Outcome program = run(".", {"--help"});
    EXPECT_EQ(program.exitCode, 0);
    EXPECT_EQ(program.errors, "");
    for (const std::string verb :
         {"filter", "save", "recipe", "spectrum", "correlate", "convolve", "info", "demo"}) {
        EXPECT_THAT(program.output, HasSubstr("\n  " + verb + " "));
        const Outcome help = run(".", {verb, "--help"});
        EXPECT_EQ(help.exitCode, 0);
        EXPECT_THAT(help.output, HasSubstr("Usage: kavfilt " + verb));
    }
    const std::string filter = run(".", {"filter", "--help"}).output;
    for (const char* word : {"cycles per pixel", "fractions of", "mid-grey", "by reflection", "--raw",
                             "--force", "degrees", "envelope", "--no-pair"}) {
        EXPECT_THAT(filter, HasSubstr(word));
    }
}

TEST(Main, RefusesWrongUsageInOneLine) {
    for (const Words& arguments : std::vector<Words>{
             {}, {"nonsense"}, {"--nonsense"}, {"info"}, {"filter", "a.png"}, {"info", "a", "b"}}) {
        const Outcome outcome = run(".", arguments);
        EXPECT_EQ(outcome.exitCode, 2);
        EXPECT_EQ(outcome.output, "");
        EXPECT_EQ(outcome.errors.find('\n'), outcome.errors.size() - 1);
        EXPECT_EQ(outcome.errors.substr(0, 9), "kavfilt: ");
    }
}

TEST(Main, KeepsMessagesOnOneLineWhateverTheNames) {
    const TemporaryFolder folder;
    expectFailure(run(folder.path(), {"info", "a\nb\x1b"}), 3, "cannot read a?b?: no such file");
}

TEST(Main, NoticesThatItsOutputIsLost) {
    const TemporaryFolder folder;
    writeBytes(folder / "x", bytesOf("P2 1 1 255 7"));
    const std::string command =
        "cd '" + folder.path().string() + "' && '" KAV_PROGRAM "' info x > /dev/full 2> errors";
    const int status = std::system(command.c_str());
    EXPECT_EQ(WEXITSTATUS(status), 4);
    EXPECT_EQ(readBytes(folder / "errors"), bytesOf("kavfilt: cannot write to the standard output\n"));
}

TEST(Main, SaysWhenMemoryRunsOut) {
    if (support::sanitizerKeepsMemory) {
        GTEST_SKIP() << "a sanitizer is at work";
    }
    const TemporaryFolder folder;
    writeBytes(folder / "x", bytesOf("P5 2048 2048 255\n" + std::string(2048L * 2048L, 'x')));
    const std::string command = "cd '" + folder.path().string() +
                                "' && ulimit -v 100000 && '" KAV_PROGRAM
                                "' filter x -o out.pgm --type bandpass --frequency 0.2 --sigma 0.1 2> errors";
    const int status = std::system(command.c_str());
    EXPECT_EQ(WEXITSTATUS(status), 1);
    EXPECT_EQ(readBytes(folder / "errors"), bytesOf("kavfilt: out of memory\n"));
    EXPECT_THAT(folder.names(), testing::UnorderedElementsAre("x", "errors"));
}

} // namespace
