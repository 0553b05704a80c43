#include "app/tiff_file.h"

#include "tests/app/cancellation.h"
#include "tests/app/images.h"

#include <gmock/gmock.h>
#include <tiffio.h>

#include <cmath>
#include <cstdint>
#include <cstring>

namespace {

using app::Depth;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

// A TIFF file as libtiff itself writes it.
struct Layout {
    std::uint32_t width = 1;
    std::uint32_t height = 1;
    std::uint16_t bits = 8;
    std::uint16_t format = SAMPLEFORMAT_UINT;
    std::uint16_t samples = 1;
    std::uint16_t photometric = PHOTOMETRIC_MINISBLACK;
    std::uint16_t planar = PLANARCONFIG_CONTIG;
    std::uint16_t compression = COMPRESSION_NONE;
    std::uint32_t tile = 0; ///< Width and height of tiles; 0: strips.
    std::uint16_t orientation = ORIENTATION_TOPLEFT;
    const char* mode = "wl";
    std::vector<std::uint16_t> palette = {}; ///< Red, then green, then blue.
    int pages = 1;
};

void writePage(TIFF* tiff, const Layout& layout, Bytes data) {
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, layout.width);
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, layout.height);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, layout.bits);
    TIFFSetField(tiff, TIFFTAG_SAMPLEFORMAT, layout.format);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, layout.samples);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, layout.photometric);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, layout.planar);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, layout.compression);
    TIFFSetField(tiff, TIFFTAG_ORIENTATION, layout.orientation);
    if (!layout.palette.empty()) {
        const std::size_t count = layout.palette.size() / 3;
        const std::uint16_t* colours = layout.palette.data();
        TIFFSetField(tiff, TIFFTAG_COLORMAP, colours, colours + count, colours + 2 * count);
    }
    if (layout.tile != 0) {
        TIFFSetField(tiff, TIFFTAG_TILEWIDTH, layout.tile);
        TIFFSetField(tiff, TIFFTAG_TILELENGTH, layout.tile);
        const std::size_t size = static_cast<std::size_t>(TIFFTileSize(tiff));
        ASSERT_EQ(data.size(), size * TIFFNumberOfTiles(tiff));
        for (std::uint32_t tile = 0; tile < TIFFNumberOfTiles(tiff); ++tile) {
            TIFFWriteEncodedTile(tiff, tile, data.data() + tile * size, static_cast<tmsize_t>(size));
        }
        return;
    }
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, 2U);
    const std::size_t size = static_cast<std::size_t>(TIFFScanlineSize(tiff));
    const std::uint16_t planes = layout.planar == PLANARCONFIG_SEPARATE ? layout.samples : 1;
    ASSERT_EQ(data.size(), size * layout.height * planes);
    unsigned char* row = data.data();
    for (std::uint16_t plane = 0; plane < planes; ++plane) {
        for (std::uint32_t y = 0; y < layout.height; ++y, row += size) {
            TIFFWriteScanline(tiff, row, y, plane);
        }
    }
}

// Samples in the order of the file, in this machine's byte order.
Bytes makeTiff(const Layout& layout, const Bytes& data) {
    const TemporaryFolder folder;
    const std::string path = (folder / "made.tif").string();
    TIFF* tiff = TIFFOpen(path.c_str(), layout.mode);
    for (int page = 0; page < layout.pages; ++page) {
        writePage(tiff, layout, data);
        TIFFWriteDirectory(tiff);
    }
    TIFFClose(tiff);
    return readBytes(path);
}

template <class T>
Bytes samplesOf(const std::vector<T>& values) {
    Bytes bytes(values.size() * sizeof(T));
    std::memcpy(bytes.data(), values.data(), bytes.size());
    return bytes;
}

app::Image read(const Bytes& bytes) {
    return readBack(app::readTiff, bytes);
}

std::string refused(const Layout& layout, const Bytes& data) {
    return refusal(app::readTiff, makeTiff(layout, data));
}

double luminance(double red, double green, double blue) {
    return 0.2126 * red + 0.7152 * green + 0.0722 * blue;
}

double wholeLuminance(double red, double green, double blue) {
    return std::floor(luminance(red, green, blue) + 0.5);
}

TEST(Tiff, ReadsGreyOfEveryDepth) {
    const app::Image narrow = read(makeTiff({3, 1}, {1, 2, 255}));
    EXPECT_EQ(narrow.format, "TIFF");
    EXPECT_EQ(narrow.depth, Depth::bits8);
    EXPECT_THAT(pelsOf(narrow), ElementsAre(1, 2, 255));
    EXPECT_THAT(narrow.notes, IsEmpty());
    const app::Image wide = read(makeTiff({2, 1, 16}, samplesOf<std::uint16_t>({258, 65535})));
    EXPECT_EQ(wide.depth, Depth::bits16);
    EXPECT_THAT(pelsOf(wide), ElementsAre(258, 65535));
    const app::Image single =
        read(makeTiff({2, 1, 32, SAMPLEFORMAT_IEEEFP}, samplesOf<float>({-1.5F, 3e38F})));
    EXPECT_EQ(single.depth, Depth::float32);
    EXPECT_THAT(pelsOf(single), ElementsAre(-1.5, static_cast<double>(3e38F)));
    const app::Image twice =
        read(makeTiff({2, 1, 64, SAMPLEFORMAT_IEEEFP}, samplesOf<double>({-1e-300, 0.1})));
    EXPECT_EQ(twice.depth, Depth::float64);
    EXPECT_THAT(pelsOf(twice), ElementsAre(-1e-300, 0.1));
}

TEST(Tiff, ReadsBothByteOrdersAndBigFiles) {
    for (const char* mode : {"wl", "wb", "wl8", "wb8"}) {
        Layout layout{2, 1, 16};
        layout.mode = mode;
        EXPECT_THAT(pelsOf(read(makeTiff(layout, samplesOf<std::uint16_t>({258, 65534})))),
                    ElementsAre(258, 65534))
            << mode;
        layout.bits = 64;
        layout.format = SAMPLEFORMAT_IEEEFP;
        EXPECT_THAT(pelsOf(read(makeTiff(layout, samplesOf<double>({-0.1, 1e100})))),
                    ElementsAre(-0.1, 1e100))
            << mode;
    }
}

TEST(Tiff, ReadsCompressedStrips) {
    const app::Image image = patternImage(13, 7, Depth::bits16);
    std::vector<std::uint16_t> values;
    for (const double pel : pelsOf(image)) {
        values.push_back(static_cast<std::uint16_t>(pel));
    }
    for (const std::uint16_t compression : std::initializer_list<std::uint16_t>{
             COMPRESSION_NONE, COMPRESSION_LZW, COMPRESSION_ADOBE_DEFLATE, COMPRESSION_PACKBITS}) {
        Layout layout{13, 7, 16};
        layout.compression = compression;
        EXPECT_EQ(pelsOf(read(makeTiff(layout, samplesOf(values)))), pelsOf(image)) << compression;
    }
}

// A 20 x 18 image in tiles of 16 x 16: two by two of them, with padding of 99.
TEST(Tiff, ReadsTiles) {
    const app::Image image = patternImage(20, 18, Depth::bits8);
    Bytes data;
    for (long tile = 0; tile < 4; ++tile) {
        for (long i = 0; i < 256; ++i) {
            const long x = tile % 2 * 16 + i % 16;
            const long y = tile / 2 * 16 + i / 16;
            const bool inside = x < 20 && y < 18;
            data.push_back(inside ? static_cast<unsigned char>(image.pels.pointToRow(y)[x]) : 99);
        }
    }
    Layout layout{20, 18};
    layout.tile = 16;
    EXPECT_EQ(pelsOf(read(makeTiff(layout, data))), pelsOf(image));
}

TEST(Tiff, ScalesFewerBits) {
    const app::Image one = read(makeTiff({3, 1, 1}, {0xa0}));
    EXPECT_EQ(one.depth, Depth::bits8);
    EXPECT_THAT(pelsOf(one), ElementsAre(255, 0, 255));
    EXPECT_THAT(one.notes, ElementsAre("1-bit pels are scaled to 0 .. 255"));
    EXPECT_THAT(pelsOf(read(makeTiff({4, 1, 2}, {0x1b}))), ElementsAre(0, 85, 170, 255));
    EXPECT_THAT(pelsOf(read(makeTiff({3, 1, 4}, {0x1f, 0x20}))), ElementsAre(17, 255, 34));
}

TEST(Tiff, InvertsMinIsWhiteIntegers) {
    Layout layout{2, 1};
    layout.photometric = PHOTOMETRIC_MINISWHITE;
    const app::Image image = read(makeTiff(layout, {0, 200}));
    EXPECT_THAT(pelsOf(image), ElementsAre(255, 55));
    EXPECT_THAT(image.notes, ElementsAre("min-is-white pels are inverted"));
    layout.bits = 32;
    layout.format = SAMPLEFORMAT_IEEEFP;
    const app::Image floats = read(makeTiff(layout, samplesOf<float>({0.25F, 8})));
    EXPECT_THAT(pelsOf(floats), ElementsAre(0.25, 8));
    EXPECT_THAT(floats.notes, ElementsAre(HasSubstr("as stored")));
}

TEST(Tiff, ConvertsColourToLuminanceAndSaysSo) {
    Layout layout{2, 1, 8, SAMPLEFORMAT_UINT, 3, PHOTOMETRIC_RGB};
    const app::Image image = read(makeTiff(layout, {200, 100, 50, 77, 77, 77}));
    EXPECT_THAT(pelsOf(image), ElementsAre(wholeLuminance(200, 100, 50), 77));
    EXPECT_THAT(image.notes, ElementsAre("colour is converted to luminance"));
    layout.planar = PLANARCONFIG_SEPARATE;
    EXPECT_THAT(pelsOf(read(makeTiff(layout, {200, 77, 100, 77, 50, 77}))),
                ElementsAre(wholeLuminance(200, 100, 50), 77));
    const app::Image floats = read(
        makeTiff({1, 1, 32, SAMPLEFORMAT_IEEEFP, 3, PHOTOMETRIC_RGB}, samplesOf<float>({0.5F, -0.25F, 2})));
    EXPECT_THAT(pelsOf(floats), ElementsAre(static_cast<float>(luminance(0.5, -0.25, 2))));
    const app::Image doubles = read(
        makeTiff({1, 1, 64, SAMPLEFORMAT_IEEEFP, 3, PHOTOMETRIC_RGB}, samplesOf<double>({0.5, -0.25, 2})));
    EXPECT_THAT(pelsOf(doubles), ElementsAre(testing::DoubleEq(luminance(0.5, -0.25, 2))));
}

TEST(Tiff, LeavesExtraSamplesOutAndSaysSo) {
    const app::Image grey = read(makeTiff({2, 1, 8, SAMPLEFORMAT_UINT, 2}, {10, 0, 20, 255}));
    EXPECT_THAT(pelsOf(grey), ElementsAre(10, 20));
    EXPECT_THAT(grey.notes, ElementsAre("transparency and other extra samples are left out"));
    Layout layout{2, 1, 8, SAMPLEFORMAT_UINT, 2};
    layout.planar = PLANARCONFIG_SEPARATE;
    EXPECT_THAT(pelsOf(read(makeTiff(layout, {10, 20, 0, 255}))), ElementsAre(10, 20));
    EXPECT_THAT(pelsOf(read(makeTiff({1, 1, 8, SAMPLEFORMAT_UINT, 4, PHOTOMETRIC_RGB}, {9, 8, 7, 0}))),
                ElementsAre(wholeLuminance(9, 8, 7)));
}

TEST(Tiff, LooksPalettesUp) {
    Layout layout{4, 1, 2, SAMPLEFORMAT_UINT, 1, PHOTOMETRIC_PALETTE};
    layout.palette = {0, 65535, 0, 2570, 0, 0, 65535, 2570, 0, 0, 0, 2570};
    const app::Image image = read(makeTiff(layout, {0x1b}));
    EXPECT_EQ(image.depth, Depth::bits8);
    EXPECT_THAT(pelsOf(image), ElementsAre(0, wholeLuminance(255, 0, 0), wholeLuminance(0, 255, 0), 10));
    EXPECT_THAT(image.notes, ElementsAre("colour is converted to luminance"));
}

TEST(Tiff, ReadsTheFirstPageAndSaysSo) {
    Layout layout{2, 1};
    layout.pages = 3;
    const app::Image image = read(makeTiff(layout, {4, 5}));
    EXPECT_THAT(pelsOf(image), ElementsAre(4, 5));
    EXPECT_THAT(image.notes, ElementsAre("only the first page is read"));
}

TEST(Tiff, SaysThatItLeavesTheOrientationOut) {
    Layout layout{2, 1};
    layout.orientation = ORIENTATION_BOTRIGHT;
    const app::Image image = read(makeTiff(layout, {4, 5}));
    EXPECT_THAT(pelsOf(image), ElementsAre(4, 5));
    EXPECT_THAT(image.notes, ElementsAre(HasSubstr("orientation")));
}

TEST(Tiff, RefusesSizesWithSizeAndLimit) {
    EXPECT_EQ(refused({2049, 1}, Bytes(2049)), "the image is 2049 x 1 pels, above the limit of 2048 x 2048");
    EXPECT_EQ(refused({1, 3000}, Bytes(3000)), "the image is 1 x 3000 pels, above the limit of 2048 x 2048");
}

TEST(Tiff, RefusesOtherKindsOfPels) {
    EXPECT_EQ(refused({1, 1, 16, SAMPLEFORMAT_INT}, {1, 2}), "TIFF: 16-bit signed pels are not supported");
    EXPECT_EQ(refused({1, 1, 32}, {1, 2, 3, 4}), "TIFF: 32-bit unsigned pels are not supported");
    EXPECT_EQ(refused({2, 1, 12}, {1, 2, 3}), "TIFF: 12-bit unsigned pels are not supported");
    EXPECT_EQ(refused({1, 1, 16, SAMPLEFORMAT_IEEEFP}, {1, 2}),
              "TIFF: 16-bit floating-point pels are not supported");
    EXPECT_EQ(refused({1, 1, 64, SAMPLEFORMAT_COMPLEXIEEEFP}, Bytes(8)),
              "TIFF: 64-bit complex pels are not supported");
    EXPECT_EQ(refused({1, 1, 8, SAMPLEFORMAT_UINT, 9}, Bytes(9)),
              "TIFF: 9 samples per pel are not supported");
    EXPECT_EQ(refused({1, 1, 8, SAMPLEFORMAT_UINT, 2, PHOTOMETRIC_RGB}, Bytes(2)),
              "TIFF: it has too few samples per pel");
    EXPECT_THAT(refused({1, 1, 16, SAMPLEFORMAT_UINT, 1, PHOTOMETRIC_LOGL}, Bytes(2)),
                HasSubstr("TIFF: Sorry"));
}

TEST(Tiff, SaysWhatIsWrongInOneLineAndNothingElse) {
    testing::internal::CaptureStderr();
    EXPECT_THAT(refusal(app::readTiff, bytesOf("this is no image at all")), HasSubstr("TIFF: Not a TIFF"));
    Bytes cut = makeTiff({64, 64}, Bytes(4096, 7));
    cut[4] = 0xf0; // The directory's offset.
    EXPECT_THAT(refusal(app::readTiff, cut), HasSubstr("TIFF: "));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(Tiff, WritesWhatItReads) {
    for (const Depth depth : {Depth::bits8, Depth::bits16, Depth::float32, Depth::float64}) {
        const app::Image image = patternImage(33, 9, depth);
        const app::Image back = read(app::encodeTiff(image));
        EXPECT_EQ(back.depth, depth);
        EXPECT_EQ(pelsOf(back), pelsOf(image));
        EXPECT_THAT(back.notes, IsEmpty());
    }
}

// libtiff can do without the link to the next page, the last four bytes.
TEST(Tiff, RefusesEveryTruncation) {
    expectEveryTruncationRefused(app::readTiff, app::encodeTiff(patternImage(9, 7, Depth::bits16)), 4);
    Layout layout{9, 7};
    layout.compression = COMPRESSION_LZW;
    expectEveryTruncationRefused(app::readTiff, makeTiff(layout, Bytes(63, 5)), 4);
    Layout tiled{9, 7, 32, SAMPLEFORMAT_IEEEFP};
    tiled.tile = 16;
    expectEveryTruncationRefused(app::readTiff, makeTiff(tiled, samplesOf(std::vector<float>(256, 2.5F))), 4);
}

TEST(Tiff, SurvivesEveryByteFlip) {
    expectEveryFlipReadOrRefused(app::readTiff, app::encodeTiff(patternImage(9, 7, Depth::float32)));
    Layout layout{9, 7, 8, SAMPLEFORMAT_UINT, 3, PHOTOMETRIC_RGB, PLANARCONFIG_SEPARATE, COMPRESSION_LZW};
    expectEveryFlipReadOrRefused(app::readTiff, makeTiff(layout, Bytes(189, 5)));
    Layout tiled{9, 7};
    tiled.tile = 16;
    expectEveryFlipReadOrRefused(app::readTiff, makeTiff(tiled, Bytes(256, 5)));
    Layout palette{4, 1, 2, SAMPLEFORMAT_UINT, 1, PHOTOMETRIC_PALETTE};
    palette.palette = {0, 65535, 0, 2570, 0, 0, 65535, 2570, 0, 0, 0, 2570};
    expectEveryFlipReadOrRefused(app::readTiff, makeTiff(palette, {0x1b}));
}

TEST(Tiff, CanBeCancelledAtEveryRowAndTile) {
    const app::Image image = patternImage(5, 6, Depth::bits8);
    const Bytes bytes = app::encodeTiff(image);
    EXPECT_EQ(cancelEachPoint([&] { static_cast<void>(app::encodeTiff(image)); }, [] {}), 6);
    EXPECT_EQ(cancelEachPoint([&] { read(bytes); }, [] {}), 6);
    Layout tiled{20, 18};
    tiled.tile = 16;
    const Bytes tiles = makeTiff(tiled, Bytes(1024, 5));
    EXPECT_EQ(cancelEachPoint([&] { read(tiles); }, [] {}), 4);
}

} // namespace
