#include "app/png_file.h"

#include "tests/app/cancellation.h"
#include "tests/app/images.h"

#include <gmock/gmock.h>
#include <png.h>

#include <cmath>

namespace {

using app::Depth;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

// A PNG file as libpng itself writes it.
struct Layout {
    png_uint_32 width = 1;
    png_uint_32 height = 1;
    int bits = 8;
    int type = PNG_COLOR_TYPE_GRAY;
    bool interlaced = false;
    std::vector<png_color> palette = {};
    std::vector<png_byte> transparency = {};
};

void append(png_structp png, png_bytep from, std::size_t size) {
    Bytes& bytes = *static_cast<Bytes*>(png_get_io_ptr(png));
    bytes.insert(bytes.end(), from, from + size);
}

// Rows of packed samples, one after the other.
Bytes makePng(const Layout& layout, Bytes rows) {
    Bytes bytes;
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_set_write_fn(png, &bytes, append, nullptr);
    png_set_IHDR(png, info, layout.width, layout.height, layout.bits, layout.type,
                 layout.interlaced ? PNG_INTERLACE_ADAM7 : PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
                 PNG_FILTER_TYPE_DEFAULT);
    if (!layout.palette.empty()) {
        png_set_PLTE(png, info, layout.palette.data(), static_cast<int>(layout.palette.size()));
    }
    if (!layout.transparency.empty()) {
        png_set_tRNS(png, info, layout.transparency.data(), static_cast<int>(layout.transparency.size()),
                     nullptr);
    }
    png_write_info(png, info);
    const std::size_t rowBytes = png_get_rowbytes(png, info);
    EXPECT_EQ(rows.size(), rowBytes * layout.height);
    std::vector<png_bytep> pointers;
    for (std::size_t y = 0; y < layout.height; ++y) {
        pointers.push_back(rows.data() + y * rowBytes);
    }
    png_write_image(png, pointers.data());
    png_write_end(png, info);
    png_destroy_write_struct(&png, &info);
    return bytes;
}

app::Image read(const Bytes& bytes) {
    return readBack(app::readPng, bytes);
}

double luminance(double red, double green, double blue) {
    return std::floor(0.2126 * red + 0.7152 * green + 0.0722 * blue + 0.5);
}

TEST(Png, ReadsGreyAsItIs) {
    const app::Image narrow = read(makePng({3, 2}, {1, 2, 3, 253, 254, 255}));
    EXPECT_EQ(narrow.format, "PNG");
    EXPECT_EQ(narrow.depth, Depth::bits8);
    EXPECT_EQ(narrow.pels.width(), 3);
    EXPECT_THAT(pelsOf(narrow), ElementsAre(1, 2, 3, 253, 254, 255));
    EXPECT_THAT(narrow.notes, IsEmpty());
    const app::Image wide = read(makePng({2, 1, 16}, {1, 2, 255, 254}));
    EXPECT_EQ(wide.depth, Depth::bits16);
    EXPECT_THAT(pelsOf(wide), ElementsAre(258, 65534));
}

TEST(Png, ScalesFewerBits) {
    const app::Image one = read(makePng({3, 1, 1}, {0xa0}));
    EXPECT_THAT(pelsOf(one), ElementsAre(255, 0, 255));
    EXPECT_THAT(one.notes, ElementsAre("1-bit pels are scaled to 0 .. 255"));
    EXPECT_THAT(pelsOf(read(makePng({4, 1, 2}, {0x1b}))), ElementsAre(0, 85, 170, 255));
    EXPECT_THAT(pelsOf(read(makePng({2, 1, 4}, {0x1f}))), ElementsAre(17, 255));
}

TEST(Png, ConvertsColourToLuminanceAndSaysSo) {
    const app::Image narrow = read(makePng({2, 1, 8, PNG_COLOR_TYPE_RGB}, {200, 100, 50, 77, 77, 77}));
    EXPECT_THAT(pelsOf(narrow), ElementsAre(luminance(200, 100, 50), 77));
    EXPECT_THAT(narrow.notes, ElementsAre("colour is converted to luminance"));
    const app::Image wide = read(makePng({1, 1, 16, PNG_COLOR_TYPE_RGB}, {200, 1, 100, 2, 50, 3}));
    EXPECT_EQ(wide.depth, Depth::bits16);
    EXPECT_THAT(pelsOf(wide), ElementsAre(luminance(200 * 256 + 1, 100 * 256 + 2, 50 * 256 + 3)));
}

TEST(Png, LooksPalettesUp) {
    Layout layout{4, 1, 2, PNG_COLOR_TYPE_PALETTE};
    layout.palette = {{0, 0, 0}, {255, 0, 0}, {0, 255, 0}, {9, 9, 9}};
    const app::Image image = read(makePng(layout, {0x1b}));
    EXPECT_EQ(image.depth, Depth::bits8);
    EXPECT_THAT(pelsOf(image), ElementsAre(0, luminance(255, 0, 0), luminance(0, 255, 0), 9));
    EXPECT_THAT(image.notes, ElementsAre("colour is converted to luminance"));
}

TEST(Png, LeavesTransparencyOutAndSaysSo) {
    const app::Image grey = read(makePng({2, 1, 8, PNG_COLOR_TYPE_GRAY_ALPHA}, {10, 0, 20, 255}));
    EXPECT_THAT(pelsOf(grey), ElementsAre(10, 20));
    EXPECT_THAT(grey.notes, ElementsAre("transparency is left out"));
    const app::Image colour = read(makePng({1, 1, 8, PNG_COLOR_TYPE_RGB_ALPHA}, {50, 60, 70, 0}));
    EXPECT_THAT(pelsOf(colour), ElementsAre(luminance(50, 60, 70)));
    EXPECT_EQ(colour.notes.size(), 2U);
    Layout layout{2, 1, 8, PNG_COLOR_TYPE_PALETTE};
    layout.palette = {{5, 5, 5}, {6, 6, 6}};
    layout.transparency = {0, 128};
    const app::Image looked = read(makePng(layout, {1, 0}));
    EXPECT_THAT(pelsOf(looked), ElementsAre(6, 5));
    EXPECT_THAT(looked.notes, ElementsAre("colour is converted to luminance", "transparency is left out"));
}

TEST(Png, ReadsInterlacedFiles) {
    const app::Image image = patternImage(13, 11, Depth::bits8);
    Bytes rows;
    for (const double pel : pelsOf(image)) {
        rows.push_back(static_cast<unsigned char>(pel));
    }
    Layout layout{13, 11};
    layout.interlaced = true;
    EXPECT_EQ(pelsOf(read(makePng(layout, rows))), pelsOf(image));
}

TEST(Png, WritesWhatItReads) {
    for (const Depth depth : {Depth::bits8, Depth::bits16}) {
        const app::Image image = patternImage(33, 9, depth);
        const app::Image back = read(app::encodePng(image));
        EXPECT_EQ(back.depth, depth);
        EXPECT_EQ(pelsOf(back), pelsOf(image));
    }
}

std::string bigEndian(unsigned long value) {
    std::string bytes;
    for (int shift = 24; shift >= 0; shift -= 8) {
        bytes += static_cast<char>(value >> shift & 255);
    }
    return bytes;
}

unsigned long checksum(const std::string& bytes) {
    unsigned long crc = 0xffffffff;
    for (const char byte : bytes) {
        crc ^= static_cast<unsigned char>(byte);
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc & 1) != 0 ? 0xedb88320 ^ crc >> 1 : crc >> 1;
        }
    }
    return crc ^ 0xffffffff;
}

// A header for a size that no pels follow. libpng reads it up to the first chunk of pels.
Bytes headerOnly(unsigned long width, unsigned long height) {
    using namespace std::string_literals;
    const std::string chunk = "IHDR" + bigEndian(width) + bigEndian(height) + "\x08\0\0\0\0"s;
    return bytesOf("\x89PNG\r\n\x1a\n" + bigEndian(13) + chunk + bigEndian(checksum(chunk)) + bigEndian(1) +
                   "IDAT");
}

TEST(Png, RefusesSizesWithSizeAndLimit) {
    EXPECT_EQ(refusal(app::readPng, headerOnly(2049, 16)),
              "the image is 2049 x 16 pels, above the limit of 2048 x 2048");
    EXPECT_EQ(refusal(app::readPng, headerOnly(16, 2000000000)),
              "the image is 16 x 2000000000 pels, above the limit of 2048 x 2048");
    EXPECT_EQ(refusal(app::readPng, headerOnly(2000000000, 2000000000)),
              "the image is 2000000000 x 2000000000 pels, above the limit of 2048 x 2048");
    EXPECT_THAT(refusal(app::readPng, headerOnly(0, 16)), HasSubstr("PNG: "));
}

TEST(Png, SaysWhatIsWrong) {
    EXPECT_EQ(refusal(app::readPng, headerOnly(16, 16)), "PNG: the file ends early");
    EXPECT_EQ(refusal(app::readPng, bytesOf("this is no image at all")), "PNG: Not a PNG file");
    Bytes changed = makePng({3, 2}, {1, 2, 3, 4, 5, 6});
    changed[20] = 9; // The width of the header, so that its checksum fails.
    EXPECT_EQ(refusal(app::readPng, changed), "PNG: IHDR: CRC error");
}

TEST(Png, RefusesEveryTruncation) {
    expectEveryTruncationRefused(app::readPng, app::encodePng(patternImage(9, 7, Depth::bits16)));
    Layout layout{4, 3, 8, PNG_COLOR_TYPE_RGB, true};
    expectEveryTruncationRefused(app::readPng, makePng(layout, Bytes(36, 77)));
}

TEST(Png, SurvivesEveryByteFlip) {
    expectEveryFlipReadOrRefused(app::readPng, app::encodePng(patternImage(9, 7, Depth::bits8)));
    Layout layout{4, 1, 2, PNG_COLOR_TYPE_PALETTE};
    layout.palette = {{0, 0, 0}, {255, 0, 0}, {0, 255, 0}, {9, 9, 9}};
    expectEveryFlipReadOrRefused(app::readPng, makePng(layout, {0x1b}));
}

TEST(Png, CanBeCancelledAtEveryRow) {
    const app::Image image = patternImage(5, 6, Depth::bits8);
    const Bytes bytes = app::encodePng(image);
    EXPECT_EQ(cancelEachPoint([&] { static_cast<void>(app::encodePng(image)); }, [] {}), 6);
    EXPECT_EQ(cancelEachPoint([&] { read(bytes); }, [] {}), 6);
}

} // namespace
