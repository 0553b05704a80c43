#include "app/image_file.h"

#include "app/errors.h"
#include "app/pgm_file.h"
#include "app/png_file.h"
#include "app/tiff_file.h"
#include "tests/app/images.h"

#include <gmock/gmock.h>

#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using app::Depth;
using app::Overwrite;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;

std::string refusedFile(const fs::path& path) {
    try {
        static_cast<void>(app::readImage(path));
    } catch (const app::UnreadableError& error) {
        return error.what();
    }
    return {};
}

TEST(ReadImage, TellsFormatsByTheirContent) {
    const TemporaryFolder folder;
    const app::Image image = patternImage(6, 4, Depth::bits8);
    writeBytes(folder / "a.pgm", app::encodePng(image));
    writeBytes(folder / "b.png", app::encodeTiff(image));
    writeBytes(folder / "c", app::encodePgm(image));
    writeBytes(folder / "d.txt", bytesOf("P2 1 1 255 7"));
    EXPECT_EQ(app::readImage(folder / "a.pgm").format, "PNG");
    EXPECT_EQ(app::readImage(folder / "b.png").format, "TIFF");
    EXPECT_EQ(app::readImage(folder / "c").format, "PGM");
    EXPECT_EQ(pelsOf(app::readImage(folder / "c")), pelsOf(image));
    EXPECT_THAT(pelsOf(app::readImage(folder / "d.txt")), ElementsAre(7));
    EXPECT_EQ(app::readImage(folder / "c").name, (folder / "c").string());
}

TEST(ReadImage, NamesTheFileAndTheReason) {
    const TemporaryFolder folder;
    const std::string path = (folder / "x.png").string();
    EXPECT_EQ(refusedFile(path), "cannot read " + path + ": no such file");
    writeBytes(path, {});
    EXPECT_EQ(refusedFile(path), "cannot read " + path + ": the file is empty");
    writeBytes(path, bytesOf("GIF89a"));
    EXPECT_EQ(refusedFile(path), "cannot read " + path + ": not a PNG, TIFF or PGM image");
    writeBytes(path, bytesOf("P5 1 1 255\n"));
    EXPECT_EQ(refusedFile(path), "cannot read " + path + ": PGM: the file ends within the pels");
    EXPECT_EQ(refusedFile(folder.path()), "cannot read " + folder.path().string() + ": it is a directory");
    writeBytes(path, bytesOf("P"));
    EXPECT_THAT(refusedFile(path), EndsWith("not a PNG, TIFF or PGM image"));
    EXPECT_THAT(refusedFile(folder / std::string(300, 'n')), EndsWith("File name too long"));
}

TEST(ReadImage, ObeysReadProtection) {
    const TemporaryFolder folder;
    const WithoutRootRights rights(folder);
    writeBytes(folder / "x", bytesOf("P2 1 1 255 7"));
    fs::permissions(folder / "x", fs::perms::none);
    EXPECT_THAT(refusedFile(folder / "x"), EndsWith("Permission denied"));
}

TEST(ReadImage, ReadsPipes) {
    const TemporaryFolder folder;
    const std::string path = (folder / "pipe").string();
    ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
    const app::Image image = patternImage(300, 200, Depth::float64);
    std::thread writer([&] { writeBytes(path, app::encodeTiff(image)); });
    const app::Image back = app::readImage(path);
    writer.join();
    EXPECT_EQ(pelsOf(back), pelsOf(image));
}

TEST(ReadImage, RefusesDevicesThatCannotBeRead) {
    EXPECT_EQ(refusedFile("/dev/null"), "cannot read /dev/null: the file is empty");
    EXPECT_EQ(refusedFile("/dev/zero"), "cannot read /dev/zero: the pipe holds more than 256 MiB");
}

TEST(WriteImage, TakesTheFormatFromTheExtension) {
    const TemporaryFolder folder;
    const app::Image image = patternImage(6, 4, Depth::bits16);
    for (const char* name : {"a.png", "b.tif", "c.tiff", "d.pgm", "e.PNG", "f.Tiff"}) {
        app::writeImage(folder / name, image, Overwrite::refuse);
        const app::Image back = app::readImage(folder / name);
        EXPECT_EQ(back.depth, Depth::bits16) << name;
        EXPECT_EQ(pelsOf(back), pelsOf(image)) << name;
    }
    EXPECT_EQ(app::readImage(folder / "e.PNG").format, "PNG");
    EXPECT_EQ(app::readImage(folder / "f.Tiff").format, "TIFF");
    EXPECT_EQ(app::readImage(folder / "d.pgm").format, "PGM");
}

TEST(WriteImage, RefusesOtherExtensions) {
    for (const char* name : {"a", "a.jpg", "png", ".png", "a.png.txt"}) {
        EXPECT_THROW(app::checkFormat(name), app::UsageError) << name;
        EXPECT_THROW(app::writeImage(name, patternImage(1, 1, Depth::bits8), Overwrite::refuse),
                     app::UsageError);
    }
}

TEST(WriteImage, RefusesFloatsWhereTheFormatHasNone) {
    for (const Depth depth : {Depth::float32, Depth::float64}) {
        EXPECT_THROW(app::checkFormat("a.png", depth), app::UsageError);
        EXPECT_THROW(app::checkFormat("a.pgm", depth), app::UsageError);
        EXPECT_NO_THROW(app::checkFormat("a.tif", depth));
    }
    EXPECT_NO_THROW(app::checkFormat("a.png", Depth::bits16));
}

} // namespace
