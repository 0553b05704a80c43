#include "app/image_file.h"
#include "app/pgm_file.h"
#include "tests/app/images.h"
#include "tests/tools/kavfilt/program.h"

#include <gmock/gmock.h>

#include <sys/stat.h>

namespace {

using app::Depth;
using app::Overwrite;
using testing::UnorderedElementsAre;

// The program waits for a pipe's end, so it is certainly at work when the signal comes.
TEST(Interruption, EndsAWaitForAPipe) {
    for (const int number : {SIGINT, SIGTERM}) {
        const TemporaryFolder folder;
        const std::string pipe = (folder / "pipe").string();
        ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
        writeBytes(folder / "out.png", bytesOf("old"));
        Program program(folder.path(), filterArguments("pipe", "out.png", {"--force"}));
        const int writer = ::open(pipe.c_str(), O_WRONLY); // Waits until the program reads.
        ASSERT_EQ(::write(writer, "P5 2", 4), 4);
        program.signal(number);
        const Outcome outcome = program.wait();
        ::close(writer);
        expectFailure(outcome, 128 + number, "interrupted");
        EXPECT_EQ(readBytes(folder / "out.png"), bytesOf("old"));
        EXPECT_THAT(folder.names(), UnorderedElementsAre("pipe", "out.png"));
    }
}

// Wherever a large run is interrupted, the output is the old file or the whole new one and nothing else is
// left.
TEST(Interruption, LeavesTheOldFileOrTheWholeNewOne) {
    const TemporaryFolder folder;
    app::writeImage(folder / "in.pgm", patternImage(2048, 2048, Depth::bits8), Overwrite::refuse);
    const std::vector<std::string> arguments = filterArguments("in.pgm", "out.pgm", {"--force"});
    const auto start = std::chrono::steady_clock::now();
    ASSERT_EQ(run(folder.path(), arguments).exitCode, 0);
    const auto wholeRun = std::chrono::steady_clock::now() - start;
    const Bytes whole = readBytes(folder / "out.pgm");
    const Bytes old = bytesOf("old");
    int interrupted = 0;
    constexpr int trials = 12;
    for (int trial = 1; trial <= trials; ++trial) {
        writeBytes(folder / "out.pgm", old);
        Program program(folder.path(), arguments);
        std::this_thread::sleep_for(wholeRun * trial / trials);
        program.signal(SIGINT);
        const Outcome outcome = program.wait();
        if (outcome.exitCode == 0) {
            EXPECT_TRUE(readBytes(folder / "out.pgm") == whole) << trial;
        } else {
            EXPECT_TRUE(readBytes(folder / "out.pgm") == old) << trial;
            if (outcome.exitCode != -1) { // Not before the program was up.
                expectFailure(outcome, 130, "interrupted");
                ++interrupted;
            }
        }
        EXPECT_THAT(folder.names(), UnorderedElementsAre("in.pgm", "out.pgm"));
    }
    EXPECT_GT(interrupted, 0);
}

} // namespace
