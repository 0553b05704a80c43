#include "app/image_file.h"
#include "tests/app/images.h"
#include "tests/tools/kavfilt/program.h"

#include <cmath>

namespace {

using app::Depth;

TEST(Info, TellsWhatAFileHolds) {
    const TemporaryFolder folder;
    const app::Image image = makeImage(20, 10, Depth::bits16, [](long x, long y) { return x + 100 * y; });
    app::writeImage(folder / "a.tif", image, app::Overwrite::refuse);
    const Outcome outcome = run(folder.path(), {"info", "a.tif"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.errors, "");
    EXPECT_EQ(outcome.output, "file:      a.tif\n"
                              "format:    TIFF\n"
                              "size:      20 x 10\n"
                              "depth:     16-bit\n"
                              "pels:      0 .. 919, mean 459.5\n"
                              "transform: 32 x 16\n");
}

TEST(Info, AddsWhatReadingLeftOutAndPelsThatAreNotFinite) {
    const TemporaryFolder folder;
    writeBytes(folder / "a", bytesOf("P2 1 1 15 3"));
    EXPECT_NE(run(folder.path(), {"info", "a"})
                  .output.find("\nnote:      pels are scaled from 0 .. 15 to 0 .. 255\n"),
              std::string::npos);
    const app::Image image =
        makeImage(4, 4, Depth::float32, [](long x, long y) { return x == 1 && y == 2 ? std::nan("") : 1.5; });
    app::writeImage(folder / "b.tif", image, app::Overwrite::refuse);
    EXPECT_NE(run(folder.path(), {"info", "b.tif"})
                  .output.find("note:      1 pel not finite, the first at (1, 2)\n"),
              std::string::npos);
}

TEST(Info, RefusesWhatItCannotRead) {
    const TemporaryFolder folder;
    writeBytes(folder / "text", bytesOf("hello"));
    expectFailure(run(folder.path(), {"info", "missing"}), 3, "cannot read missing: no such file");
    expectFailure(run(folder.path(), {"info", "text"}), 3, "cannot read text: not a PNG, TIFF or PGM image");
    expectFailure(run(folder.path(), {"info", "."}), 3, "cannot read .: it is a directory");
    writeBytes(folder / "large", bytesOf("P5 4000 3000 255\n"));
    expectFailure(run(folder.path(), {"info", "large"}), 3,
                  "cannot read large: the image is 4000 x 3000 pels, above the limit of 2048 x 2048");
}

} // namespace
