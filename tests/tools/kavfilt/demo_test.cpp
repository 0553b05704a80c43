#include "app/image_file.h"
#include "tests/app/images.h"
#include "tests/tools/kavfilt/program.h"

#include <gmock/gmock.h>

namespace {

using testing::HasSubstr;
using testing::UnorderedElementsAre;

TEST(Demo, WritesItsPicturesAndTellsItsSteps) {
    const TemporaryFolder folder;
    const Outcome outcome = run(folder.path(), {"demo", "a/b"});
    EXPECT_EQ(outcome.exitCode, 0) << outcome.errors;
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder / "a" / "b")) {
        names.push_back(entry.path().filename().string());
    }
    EXPECT_THAT(names,
                UnorderedElementsAre("picture.png", "spectrum.png", "gain.png", "result.png", "sheet.png"));
    for (const char* step :
         {"made a picture", "transformed", "built a band-pass", "filtered", "wrote five", " ms "}) {
        EXPECT_THAT(outcome.output, HasSubstr(step));
    }
    const app::Image sheet = app::readImage(folder / "a" / "b" / "sheet.png");
    const app::Image result = app::readImage(folder / "a" / "b" / "result.png");
    EXPECT_EQ(sheet.pels.width(), 5 * 12 + 448 + 512 + 512 + 448);
    EXPECT_EQ(pelsOf(sheet.pels.window(sheet.pels.width() - 12 - 448, 78, 448, 448)), pelsOf(result));
}

// The command that it prints gives the same picture.
TEST(Demo, CanBeDoneByHand) {
    const TemporaryFolder folder;
    const Outcome demo = run(folder.path(), {"demo", "."});
    const std::string command = demo.output.substr(demo.output.find("\n  kavfilt ") + 3);
    std::vector<std::string> words;
    std::istringstream stream(command);
    for (std::string word; stream >> word;) {
        words.push_back(word == "result.png" ? "by-hand.png" : word);
    }
    ASSERT_EQ(words.at(0), "kavfilt");
    words.erase(words.begin());
    const Outcome byHand = run(folder.path(), words);
    EXPECT_EQ(byHand.exitCode, 0) << byHand.errors;
    EXPECT_EQ(readBytes(folder / "by-hand.png"), readBytes(folder / "result.png"));
}

TEST(Demo, OverwritesOnlyWhenForced) {
    const TemporaryFolder folder;
    writeBytes(folder / "gain.png", bytesOf("mine"));
    expectFailure(run(folder.path(), {"demo", "."}), 4,
                  "cannot write ./gain.png: the file exists (--force overwrites it)");
    EXPECT_THAT(folder.names(), testing::ElementsAre("gain.png"));
    EXPECT_EQ(run(folder.path(), {"demo", ".", "--force"}).exitCode, 0);
    EXPECT_NE(readBytes(folder / "gain.png"), bytesOf("mine"));
}

TEST(Demo, RefusesAFolderThatCannotBeMade) {
    const TemporaryFolder folder;
    writeBytes(folder / "file", bytesOf("x"));
    const Outcome outcome = run(folder.path(), {"demo", "file/sub"});
    EXPECT_EQ(outcome.exitCode, 4);
    EXPECT_THAT(outcome.errors, HasSubstr("cannot make the folder file/sub: "));
    EXPECT_EQ(run(folder.path(), {"demo", "file"}).exitCode, 4);
}

} // namespace
