#include "app/input_file.h"

#include "tests/app/files.h"
#include "tests/app/refusal.h"

#include <gtest/gtest.h>

#include <thread>

#include <sys/stat.h>

namespace {

std::string contents(std::istream& file) {
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

TEST(OpenInput, CanBeSoughtInWhateverItIs) {
    const TemporaryFolder folder;
    writeBytes(folder / "file", bytesOf("abc"));
    ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
    std::thread writer([&] { writeBytes(folder / "pipe", bytesOf("abc")); });
    for (const char* name : {"file", "pipe"}) {
        const std::unique_ptr<std::istream> file = app::openInput(folder / name);
        EXPECT_EQ(contents(*file), "abc");
        file->clear();
        file->seekg(1);
        EXPECT_EQ(contents(*file), "bc") << name;
    }
    writer.join();
}

TEST(ReadInput, NamesTheFileInErrors) {
    const TemporaryFolder folder;
    writeBytes(folder / "file", bytesOf("abc"));
    const auto refused = [](const std::filesystem::path& path) {
        return messageOf<app::UnreadableError>([&] {
            app::readInput(path, [](std::istream&) { throw app::UnreadableError("I do not like it"); });
        });
    };
    const std::string name = (folder / "file").string();
    EXPECT_EQ(refused(name), "cannot read " + name + ": I do not like it");
    EXPECT_EQ(refused(name + "s"), "cannot read " + name + "s: no such file");
    EXPECT_EQ(app::readInput(folder / "file", contents), "abc");
}

} // namespace
