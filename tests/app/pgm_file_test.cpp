#include "app/pgm_file.h"

#include "tests/app/images.h"

#include <gmock/gmock.h>

namespace {

using app::Depth;
using testing::ElementsAre;
using testing::HasSubstr;

app::Image read(const std::string& text) {
    return readBack(app::readPgm, bytesOf(text));
}

std::string refused(const std::string& text) {
    return refusal(app::readPgm, bytesOf(text));
}

TEST(Pgm, ReadsRawEightBit) {
    const app::Image image = read(std::string("P5\n3 2\n255\n") + "\x01\x02\x03\xfd\xfe\xff");
    EXPECT_EQ(image.pels.width(), 3);
    EXPECT_EQ(image.pels.height(), 2);
    EXPECT_EQ(image.depth, Depth::bits8);
    EXPECT_EQ(image.format, "PGM");
    EXPECT_THAT(pelsOf(image), ElementsAre(1, 2, 3, 253, 254, 255));
    EXPECT_TRUE(image.notes.empty());
}

TEST(Pgm, ReadsRawSixteenBitMostSignificantByteFirst) {
    const app::Image image = read(std::string("P5 2 1 65535\n") + "\x01\x02\xff\xfe");
    EXPECT_EQ(image.depth, Depth::bits16);
    EXPECT_THAT(pelsOf(image), ElementsAre(258, 65534));
}

TEST(Pgm, ReadsPlainWithAnyWhiteSpace) {
    EXPECT_THAT(pelsOf(read("P2 3 1 255 1 22\t\r\n255")), ElementsAre(1, 22, 255));
    const app::Image wide = read("P2\n2\n1\n65535\n256 65535\n");
    EXPECT_EQ(wide.depth, Depth::bits16);
    EXPECT_THAT(pelsOf(wide), ElementsAre(256, 65535));
}

TEST(Pgm, SkipsCommentsInTheHeaderAndBetweenPlainPels) {
    const std::string header = "P5# made\n#by hand\n2 # wide\n 1#high\n255\n";
    EXPECT_THAT(pelsOf(read(header + "ab")), ElementsAre('a', 'b'));
    EXPECT_THAT(pelsOf(read("P2 #x\n2 1 255 7#seven\n8 # the end")), ElementsAre(7, 8));
}

TEST(Pgm, TakesRawPelsThatLookLikeCommentsAsPels) {
    EXPECT_THAT(pelsOf(read("P5 3 1 255\n#\n ")), ElementsAre('#', '\n', ' '));
}

TEST(Pgm, ScalesOtherMaximalValuesToTheDepthAndSaysSo) {
    const app::Image narrow = read("P2 4 1 15 0 1 8 15");
    EXPECT_EQ(narrow.depth, Depth::bits8);
    EXPECT_THAT(pelsOf(narrow), ElementsAre(0, 17, 136, 255));
    EXPECT_THAT(narrow.notes, ElementsAre("pels are scaled from 0 .. 15 to 0 .. 255"));
    const app::Image wide = read(std::string("P5 2 1 1023\n") + "\x02\x01\x03\xff");
    EXPECT_EQ(wide.depth, Depth::bits16);
    EXPECT_THAT(pelsOf(wide), ElementsAre(32864, 65535)); // 513 * 65535 / 1023 = 32863.56
    EXPECT_THAT(wide.notes, ElementsAre("pels are scaled from 0 .. 1023 to 0 .. 65535"));
    EXPECT_EQ(read("P2 1 1 256 256").depth, Depth::bits16);
}

TEST(Pgm, SaysThatFurtherImagesAreLeftOut) {
    const app::Image image = read("P5 1 1 255\naP5 1 1 255\nb");
    EXPECT_THAT(pelsOf(image), ElementsAre('a'));
    EXPECT_THAT(image.notes, ElementsAre("what follows the first image is left out"));
    EXPECT_TRUE(read("P5 1 1 255\na\n").notes.empty());
}

TEST(Pgm, RefusesSizesWithSizeAndLimit) {
    EXPECT_EQ(refused("P5 2049 7 255\n"), "the image is 2049 x 7 pels, above the limit of 2048 x 2048");
    EXPECT_EQ(refused("P5 7 4294967295 255\n"),
              "the image is 7 x 4294967295 pels, above the limit of 2048 x 2048");
    EXPECT_EQ(refused("P5 0 7 255\n"), "the image is empty (0 x 7)");
}

TEST(Pgm, RefusesWhatIsNoPgm) {
    for (const char* text : {"", "P", "P1 1 1 1", "P6 1 1 255\nabc", "P52 1 255\nab", "XX 1 1"}) {
        EXPECT_EQ(refused(text), "not a PGM file") << text;
    }
}

TEST(Pgm, RefusesBadNumbers) {
    EXPECT_EQ(refused("P2 x 1 255 1"), "PGM: the width is not a number");
    EXPECT_EQ(refused("P2 1 -1 255 1"), "PGM: the height is not a number");
    EXPECT_EQ(refused("P2 1 1 0 0"), "PGM: the maximal value is 0");
    EXPECT_EQ(refused("P2 1 1 65536 1"), "PGM: the maximal value is above 65535");
    EXPECT_EQ(refused("P2 99999999999999999999999999 1 255 1"), "PGM: the width is above 4294967295");
    EXPECT_EQ(refused("P2 2 1 255 1 1.5"), "PGM: the pel is not a number");
    EXPECT_EQ(refused("P2 2 1 255 1 256"), "PGM: a pel is above the maximal value");
    EXPECT_EQ(refused(std::string("P5 1 1 100\n") + "\x65"), "PGM: a pel is above the maximal value");
}

TEST(Pgm, RefusesFilesThatEndEarly) {
    EXPECT_EQ(refused("P2 2 1 255 1"), "PGM: the file ends before the pel");
    EXPECT_EQ(refused("P5 2 1 255\na"), "PGM: the file ends within the pels");
    EXPECT_EQ(refused("P5 2048 2048 65535\n"), "PGM: the file ends within the pels");
    EXPECT_EQ(refused("P5 2 1 # and no more"), "PGM: the file ends before the maximal value");
}

TEST(Pgm, WritesWhatItReads) {
    for (const Depth depth : {Depth::bits8, Depth::bits16}) {
        const app::Image image = patternImage(17, 5, depth);
        const app::Image back = readBack(app::readPgm, app::encodePgm(image));
        EXPECT_EQ(back.depth, depth);
        EXPECT_EQ(pelsOf(back), pelsOf(image));
        EXPECT_TRUE(back.notes.empty());
    }
}

TEST(Pgm, WritesTheRawForm) {
    const app::Image image = makeImage(2, 1, Depth::bits16, [](long x, long) { return 258 + x; });
    EXPECT_EQ(app::encodePgm(image), bytesOf("P5\n2 1\n65535\n\x01\x02\x01\x03"));
}

TEST(Pgm, RefusesEveryTruncation) {
    expectEveryTruncationRefused(app::readPgm, app::encodePgm(patternImage(5, 4, Depth::bits8)));
    expectEveryTruncationRefused(app::readPgm, app::encodePgm(patternImage(5, 4, Depth::bits16)));
}

TEST(Pgm, SurvivesEveryByteFlip) {
    expectEveryFlipReadOrRefused(app::readPgm, app::encodePgm(patternImage(5, 4, Depth::bits16)));
    expectEveryFlipReadOrRefused(app::readPgm, bytesOf("P2 # plain\n3 2 1000 1 22 333 1000 0 5 # end"));
}

} // namespace
