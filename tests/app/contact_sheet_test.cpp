#include "app/contact_sheet.h"

#include "tests/app/images.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using app::Depth;

std::string drawn(const std::string& text, long width, long height, long scale = 1, long x = 0, long y = 0) {
    vxPelBuffer<double> pels(width, height);
    app::drawText(pels, x, y, text, scale, 1);
    std::string picture;
    for (long row = 0; row < height; ++row) {
        for (long column = 0; column < width; ++column) {
            picture += pels.pointToRow(row)[column] == 1 ? '#' : '.';
        }
        picture += '\n';
    }
    return picture;
}

TEST(DrawText, DrawsLettersOfFiveBySevenDots) {
    EXPECT_EQ(drawn("T1", 12, 7), "#####...#...\n"
                                  "..#....##...\n"
                                  "..#.....#...\n"
                                  "..#.....#...\n"
                                  "..#.....#...\n"
                                  "..#.....#...\n"
                                  "..#....###..\n");
}

TEST(DrawText, ScalesItsDots) {
    EXPECT_EQ(drawn("-", 10, 14, 2).substr(6 * 11, 22), "##########\n##########\n");
}

TEST(DrawText, SetsSmallLettersAsCapitalsAndOthersAsBlanks) {
    EXPECT_EQ(drawn("gain", 24, 7), drawn("GAIN", 24, 7));
    EXPECT_EQ(drawn("a\xc3\xa9*b", 30, 7), drawn("A   B", 30, 7));
}

TEST(DrawText, LeavesOutWhatLiesOutside) {
    EXPECT_EQ(drawn("T", 3, 2, 1, -2, 0), "###\n#..\n");
    EXPECT_EQ(drawn("T", 3, 2, 1, 0, -6), "..#\n...\n");
    EXPECT_EQ(drawn("TTT", 4, 1), "####\n");
}

TEST(DrawText, ReturnsItsWidth) {
    vxPelBuffer<double> pels(4, 4);
    EXPECT_EQ(app::drawText(pels, 0, 0, "", 3, 1), 0);
    EXPECT_EQ(app::drawText(pels, 0, 0, "AB", 3, 1), 36);
}

// Letters that look alike would make labels hard to read.
TEST(DrawText, HasAGlyphOfItsOwnForEachSign) {
    std::vector<std::string> pictures;
    for (const char sign : std::string("ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789.,:-+=/()% ")) {
        pictures.push_back(drawn(std::string(1, sign), 6, 7));
        EXPECT_EQ(pictures.back().find("#\n"), std::string::npos)
            << sign; // A blank column to the next letter.
    }
    std::sort(pictures.begin(), pictures.end());
    EXPECT_EQ(std::adjacent_find(pictures.begin(), pictures.end()), pictures.end());
}

TEST(ContactSheet, HoldsThePicturesSideBySide) {
    const app::Image a = patternImage(100, 40, Depth::bits8);
    const app::Image b = patternImage(60, 50, Depth::bits8);
    const app::Image sheet = app::contactSheet({{a, "first", "one"}, {b, "second", "two"}});
    EXPECT_EQ(sheet.pels.width(), 12 + 100 + 12 + 60 + 12);
    EXPECT_EQ(sheet.pels.height(), 78 + 50 + 12);
    EXPECT_EQ(pelsOf(sheet.pels.window(12, 78, 100, 40)), pelsOf(a));
    EXPECT_EQ(pelsOf(sheet.pels.window(124, 78, 60, 50)), pelsOf(b));
}

TEST(ContactSheet, WritesLabelsAbovePicturesNoWiderThanThey) {
    const app::Image a = patternImage(50, 8, Depth::bits8);
    const app::Image sheet = app::contactSheet({{a, "MMMMMM", "captions"}});
    const std::vector<double> header = pelsOf(sheet.pels.window(12, 12, 50, 28));
    EXPECT_NE(std::count(header.begin(), header.end(), 255.0), 0);
    const std::vector<double> caption = pelsOf(sheet.pels.window(12, 52, 50, 14));
    EXPECT_NE(std::count(caption.begin(), caption.end(), 190.0), 0);
    const std::vector<double> margin = pelsOf(sheet.pels.window(62, 0, 12, sheet.pels.height()));
    EXPECT_EQ(std::count(margin.begin(), margin.end(), margin[0]), static_cast<long>(margin.size()));
}

} // namespace
