#include "app/atomic_file.h"

#include "app/errors.h"
#include "tests/app/cancellation.h"
#include "tests/app/files.h"
#include "tests/app/refusal.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using app::Overwrite;
using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

const Bytes oldBytes = bytesOf("the old file");
const Bytes newBytes = bytesOf("the new one, longer");

mode_t permissions(const fs::path& path) {
    struct stat status {};
    EXPECT_EQ(::stat(path.c_str(), &status), 0);
    return status.st_mode & 07777;
}

// For its life, files are created with this mask.
struct Umask {
    explicit Umask(mode_t mask) : previous(::umask(mask)) {}
    ~Umask() { ::umask(previous); }
    Umask(const Umask&) = delete;
    Umask& operator=(const Umask&) = delete;
    mode_t previous;
};

TEST(WriteFile, WritesANewFileAndNothingElse) {
    const TemporaryFolder folder;
    app::writeFile(folder / "out.png", newBytes, Overwrite::refuse);
    EXPECT_EQ(readBytes(folder / "out.png"), newBytes);
    EXPECT_THAT(folder.names(), ElementsAre("out.png"));
}

TEST(WriteFile, WritesEmptyAndLargeFiles) {
    const TemporaryFolder folder;
    app::writeFile(folder / "empty", {}, Overwrite::refuse);
    EXPECT_THAT(readBytes(folder / "empty"), IsEmpty());
    const Bytes large((std::size_t{5} << 20) + 3, 'x');
    app::writeFile(folder / "large", large, Overwrite::refuse);
    EXPECT_EQ(readBytes(folder / "large"), large);
}

TEST(WriteFile, OverwritesOnlyWhenForced) {
    const TemporaryFolder folder;
    const fs::path path = folder / "out.png";
    writeBytes(path, oldBytes);
    EXPECT_EQ(messageOf<app::WriteError>([&] { app::writeFile(path, newBytes, Overwrite::refuse); }),
              "cannot write " + path.string() + ": the file exists (--force overwrites it)");
    EXPECT_EQ(readBytes(path), oldBytes);
    app::writeFile(path, newBytes, Overwrite::force);
    EXPECT_EQ(readBytes(path), newBytes);
    EXPECT_THAT(folder.names(), ElementsAre("out.png"));
}

TEST(WriteFile, GivesANewFileTheUsualPermissions) {
    const TemporaryFolder folder;
    {
        const Umask mask(027);
        app::writeFile(folder / "a", newBytes, Overwrite::refuse);
    }
    {
        const Umask mask(0);
        app::writeFile(folder / "b", newBytes, Overwrite::force);
    }
    EXPECT_EQ(permissions(folder / "a"), 0640U);
    EXPECT_EQ(permissions(folder / "b"), 0666U);
}

TEST(WriteFile, LeavesAReplacedFileItsPermissions) {
    const TemporaryFolder folder;
    writeBytes(folder / "out", oldBytes);
    fs::permissions(folder / "out", fs::perms::owner_read | fs::perms::owner_write | fs::perms::others_read);
    app::writeFile(folder / "out", newBytes, Overwrite::force);
    EXPECT_EQ(permissions(folder / "out"), 0604U);
    EXPECT_EQ(readBytes(folder / "out"), newBytes);
}

TEST(WriteFile, ReplacesWhatASymbolicLinkLeadsTo) {
    const TemporaryFolder folder;
    fs::create_directory(folder / "sub");
    writeBytes(folder / "sub" / "real", oldBytes);
    fs::create_symlink("sub/real", folder / "link");
    fs::create_symlink("link", folder / "link to link");
    EXPECT_THAT(
        messageOf<app::WriteError>([&] { app::writeFile(folder / "link", newBytes, Overwrite::refuse); }),
        EndsWith("link: the file exists (--force overwrites it)"));
    app::writeFile(folder / "link to link", newBytes, Overwrite::force);
    EXPECT_TRUE(fs::is_symlink(folder / "link"));
    EXPECT_TRUE(fs::is_symlink(folder / "link to link"));
    EXPECT_EQ(readBytes(folder / "sub" / "real"), newBytes);
}

TEST(WriteFile, CreatesWhatADanglingLinkLeadsTo) {
    const TemporaryFolder folder;
    fs::create_symlink("missing", folder / "link");
    app::writeFile(folder / "link", newBytes, Overwrite::refuse);
    EXPECT_EQ(readBytes(folder / "missing"), newBytes);
    EXPECT_TRUE(fs::is_symlink(folder / "link"));
}

TEST(WriteFile, RefusesALinkToItself) {
    const TemporaryFolder folder;
    fs::create_symlink("loop", folder / "loop");
    EXPECT_NE(
        messageOf<app::WriteError>([&] { app::writeFile(folder / "loop", newBytes, Overwrite::refuse); }),
        "");
    EXPECT_THAT(folder.names(), ElementsAre("loop"));
}

TEST(WriteFile, RefusesWhatCannotBeAFile) {
    const TemporaryFolder folder;
    writeBytes(folder / "file", oldBytes);
    ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
    const auto force = [&](const fs::path& path) {
        return messageOf<app::WriteError>([&] { app::writeFile(path, newBytes, Overwrite::force); });
    };
    EXPECT_THAT(force(folder.path()), EndsWith(": it is a directory"));
    EXPECT_THAT(force(folder / "pipe"), EndsWith("pipe: it is not a regular file"));
    EXPECT_THAT(force(folder / "no" / "out"), EndsWith("/no/out: No such file or directory"));
    EXPECT_THAT(force(folder / "file" / "out"), EndsWith("/file/out: Not a directory"));
    EXPECT_THAT(force(folder / std::string(300, 'n')), EndsWith(": File name too long"));
    EXPECT_THAT(force(""), EndsWith("cannot write : No such file or directory"));
    EXPECT_THAT(folder.names(), UnorderedElementsAre("file", "pipe"));
}

TEST(WriteFile, ObeysWriteProtection) {
    const TemporaryFolder folder;
    const WithoutRootRights rights(folder);
    writeBytes(folder / "out", oldBytes);
    fs::permissions(folder / "out", fs::perms::owner_read);
    EXPECT_THAT(
        messageOf<app::WriteError>([&] { app::writeFile(folder / "out", newBytes, Overwrite::force); }),
        EndsWith("out: Permission denied"));
    fs::permissions(folder.path(), fs::perms::owner_read | fs::perms::owner_exec);
    EXPECT_THAT(
        messageOf<app::WriteError>([&] { app::writeFile(folder / "other", newBytes, Overwrite::refuse); }),
        EndsWith("other: Permission denied"));
    fs::permissions(folder.path(), fs::perms::owner_all);
    EXPECT_EQ(readBytes(folder / "out"), oldBytes);
}

// For its life, a file may not grow beyond some bytes, as on a full disk.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes) : handler_(std::signal(SIGXFSZ, SIG_IGN)) {
        ::getrlimit(RLIMIT_FSIZE, &previous_);
        rlimit limit = previous_;
        limit.rlim_cur = bytes;
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit() {
        ::setrlimit(RLIMIT_FSIZE, &previous_);
        std::signal(SIGXFSZ, handler_);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
    rlimit previous_{};
    void (*handler_)(int);
};

TEST(WriteFile, LeavesTheOldFileWhenWritingFails) {
    const TemporaryFolder folder;
    writeBytes(folder / "out", oldBytes);
    std::string message;
    {
        const FileSizeLimit limit(10);
        message =
            messageOf<app::WriteError>([&] { app::writeFile(folder / "out", newBytes, Overwrite::force); });
    }
    EXPECT_THAT(message, EndsWith("out: File too large"));
    EXPECT_EQ(readBytes(folder / "out"), oldBytes);
    EXPECT_THAT(folder.names(), ElementsAre("out"));
}

TEST(WriteFile, LeavesTheOldFileOrTheWholeNewOneWhereverItIsCancelled) {
    const TemporaryFolder folder;
    const Bytes large(std::size_t{3} << 20, 'x');
    writeBytes(folder / "out", oldBytes);
    const long points = cancelEachPoint([&] { app::writeFile(folder / "out", large, Overwrite::force); },
                                        [&] {
                                            EXPECT_EQ(readBytes(folder / "out"), oldBytes);
                                            EXPECT_THAT(folder.names(), ElementsAre("out"));
                                        });
    EXPECT_EQ(points, 4); // Three chunks, and before the renaming.
    EXPECT_EQ(readBytes(folder / "out"), large);
}

// Somebody makes the file between the check and the renaming.
TEST(WriteFile, DoesNotOverwriteAFileThatAppearsMeanwhile) {
    const TemporaryFolder folder;
    const fs::path path = folder / "out";
    const vxAttention::Scope scope([&] { writeBytes(path, oldBytes); });
    EXPECT_THAT(messageOf<app::WriteError>([&] { app::writeFile(path, newBytes, Overwrite::refuse); }),
                EndsWith("out: the file exists (--force overwrites it)"));
    EXPECT_EQ(readBytes(path), oldBytes);
    EXPECT_THAT(folder.names(), ElementsAre("out"));
}

TEST(WriteFile, FailsWhenTheFolderGoesAwayMeanwhile) {
    const TemporaryFolder folder;
    fs::create_directory(folder / "sub");
    const vxAttention::Scope scope([&] { fs::remove_all(folder / "sub"); });
    EXPECT_THAT(messageOf<app::WriteError>(
                    [&] { app::writeFile(folder / "sub" / "out", newBytes, Overwrite::force); }),
                EndsWith("out: No such file or directory"));
}

TEST(WriteFile, FindsAnotherNameWhenATemporaryFileIsLeftOver) {
    const TemporaryFolder folder;
    const std::string left = ".kavfilt-" + std::to_string(::getpid()) + "-0.tmp";
    writeBytes(folder / left, oldBytes);
    app::writeFile(folder / "out", newBytes, Overwrite::refuse);
    EXPECT_EQ(readBytes(folder / "out"), newBytes);
    EXPECT_EQ(readBytes(folder / left), oldBytes);
    EXPECT_EQ(folder.names().size(), 2U);
}

TEST(WriteFile, WritesIntoTheCurrentFolder) {
    const TemporaryFolder folder;
    const fs::path before = fs::current_path();
    fs::current_path(folder.path());
    app::writeFile("out", newBytes, Overwrite::refuse);
    fs::current_path(before);
    EXPECT_EQ(readBytes(folder / "out"), newBytes);
}

TEST(CheckWritable, TellsBeforehandWhatWriteFileWouldRefuse) {
    const TemporaryFolder folder;
    writeBytes(folder / "old", oldBytes);
    app::checkWritable(folder / "new", Overwrite::refuse);
    app::checkWritable(folder / "old", Overwrite::force);
    EXPECT_NE(messageOf<app::WriteError>([&] { app::checkWritable(folder / "old", Overwrite::refuse); }), "");
    EXPECT_NE(
        messageOf<app::WriteError>([&] { app::checkWritable(folder / "no" / "new", Overwrite::refuse); }),
        "");
    EXPECT_THAT(folder.names(), ElementsAre("old"));
}

TEST(IsSameFile, SeesThroughLinksAndNames) {
    const TemporaryFolder folder;
    writeBytes(folder / "a", oldBytes);
    writeBytes(folder / "b", oldBytes);
    fs::create_symlink("a", folder / "symbolic");
    fs::create_hard_link(folder / "a", folder / "hard");
    EXPECT_TRUE(app::isSameFile(folder / "a", folder / "a"));
    EXPECT_TRUE(app::isSameFile(folder / "a", folder / "." / "a"));
    EXPECT_TRUE(app::isSameFile(folder / "a", folder / "symbolic"));
    EXPECT_TRUE(app::isSameFile(folder / "hard", folder / "a"));
    EXPECT_FALSE(app::isSameFile(folder / "a", folder / "b"));
    EXPECT_FALSE(app::isSameFile(folder / "a", folder / "missing"));
    EXPECT_FALSE(app::isSameFile(folder / "missing", folder / "missing"));
}

} // namespace
