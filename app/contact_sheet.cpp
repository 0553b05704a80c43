#include "app/contact_sheet.h"

#include <algorithm>

namespace app {
namespace {

constexpr long glyphWidth = 5;
constexpr long glyphHeight = 7;
constexpr long advance = glyphWidth + 1;

// Seven rows of five dots each.
struct Glyph {
    char character;
    const char* rows;
};

// clang-format off
constexpr Glyph glyphs[] = {
    {'A', ".###." "#...#" "#...#" "#####" "#...#" "#...#" "#...#"},
    {'B', "####." "#...#" "#...#" "####." "#...#" "#...#" "####."},
    {'C', ".###." "#...#" "#...." "#...." "#...." "#...#" ".###."},
    {'D', "####." "#...#" "#...#" "#...#" "#...#" "#...#" "####."},
    {'E', "#####" "#...." "#...." "####." "#...." "#...." "#####"},
    {'F', "#####" "#...." "#...." "####." "#...." "#...." "#...."},
    {'G', ".###." "#...#" "#...." "#.###" "#...#" "#...#" ".###."},
    {'H', "#...#" "#...#" "#...#" "#####" "#...#" "#...#" "#...#"},
    {'I', ".###." "..#.." "..#.." "..#.." "..#.." "..#.." ".###."},
    {'J', "..###" "...#." "...#." "...#." "...#." "#..#." ".##.."},
    {'K', "#...#" "#..#." "#.#.." "##..." "#.#.." "#..#." "#...#"},
    {'L', "#...." "#...." "#...." "#...." "#...." "#...." "#####"},
    {'M', "#...#" "##.##" "#.#.#" "#.#.#" "#...#" "#...#" "#...#"},
    {'N', "#...#" "##..#" "#.#.#" "#..##" "#...#" "#...#" "#...#"},
    {'O', ".###." "#...#" "#...#" "#...#" "#...#" "#...#" ".###."},
    {'P', "####." "#...#" "#...#" "####." "#...." "#...." "#...."},
    {'Q', ".###." "#...#" "#...#" "#...#" "#.#.#" "#..#." ".##.#"},
    {'R', "####." "#...#" "#...#" "####." "#.#.." "#..#." "#...#"},
    {'S', ".####" "#...." "#...." ".###." "....#" "....#" "####."},
    {'T', "#####" "..#.." "..#.." "..#.." "..#.." "..#.." "..#.."},
    {'U', "#...#" "#...#" "#...#" "#...#" "#...#" "#...#" ".###."},
    {'V', "#...#" "#...#" "#...#" "#...#" "#...#" ".#.#." "..#.."},
    {'W', "#...#" "#...#" "#...#" "#.#.#" "#.#.#" "##.##" "#...#"},
    {'X', "#...#" "#...#" ".#.#." "..#.." ".#.#." "#...#" "#...#"},
    {'Y', "#...#" "#...#" ".#.#." "..#.." "..#.." "..#.." "..#.."},
    {'Z', "#####" "....#" "...#." "..#.." ".#..." "#...." "#####"},
    {'0', ".###." "#...#" "#..##" "#.#.#" "##..#" "#...#" ".###."},
    {'1', "..#.." ".##.." "..#.." "..#.." "..#.." "..#.." ".###."},
    {'2', ".###." "#...#" "....#" "..##." ".#..." "#...." "#####"},
    {'3', "#####" "...#." "..#.." "...#." "....#" "#...#" ".###."},
    {'4', "...#." "..##." ".#.#." "#..#." "#####" "...#." "...#."},
    {'5', "#####" "#...." "####." "....#" "....#" "#...#" ".###."},
    {'6', "..##." ".#..." "#...." "####." "#...#" "#...#" ".###."},
    {'7', "#####" "....#" "...#." "..#.." ".#..." ".#..." ".#..."},
    {'8', ".###." "#...#" "#...#" ".###." "#...#" "#...#" ".###."},
    {'9', ".###." "#...#" "#...#" ".####" "....#" "...#." ".##.."},
    {'.', "....." "....." "....." "....." "....." ".##.." ".##.."},
    {',', "....." "....." "....." "....." ".##.." "..#.." ".#..."},
    {':', "....." ".##.." ".##.." "....." ".##.." ".##.." "....."},
    {'-', "....." "....." "....." "#####" "....." "....." "....."},
    {'+', "....." "..#.." "..#.." "#####" "..#.." "..#.." "....."},
    {'=', "....." "....." "#####" "....." "#####" "....." "....."},
    {'/', "....." "....#" "...#." "..#.." ".#..." "#...." "....."},
    {'(', "...#." "..#.." ".#..." ".#..." ".#..." "..#.." "...#."},
    {')', ".#..." "..#.." "...#." "...#." "...#." "..#.." ".#..."},
    {'%', "##..." "##..#" "...#." "..#.." ".#..." "#..##" "...##"},
};
// clang-format on

char upper(char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

const char* rowsOf(char character) {
    const auto* found = std::find_if(std::begin(glyphs), std::end(glyphs), [character](const Glyph& glyph) {
        return glyph.character == upper(character);
    });
    return found == std::end(glyphs) ? nullptr : found->rows;
}

void drawDot(vxPelBuffer<double>& pels, long left, long top, long scale, double grey) {
    for (long y = std::max(top, 0L); y < std::min(top + scale, pels.height()); ++y) {
        for (long x = std::max(left, 0L); x < std::min(left + scale, pels.width()); ++x) {
            pels.pointToRow(y)[x] = grey;
        }
    }
}

// Rows may be null: a blank.
void drawGlyph(vxPelBuffer<double>& pels, long left, long top, const char* rows, long scale, double grey) {
    for (long dot = 0; rows != nullptr && dot < glyphWidth * glyphHeight; ++dot) {
        if (rows[dot] == '#') {
            drawDot(pels, left + dot % glyphWidth * scale, top + dot / glyphWidth * scale, scale, grey);
        }
    }
}

constexpr long gap = 12;
constexpr long titleScale = 4;
constexpr long captionScale = 2;
constexpr long headerHeight = gap + glyphHeight * titleScale + gap + glyphHeight * captionScale + gap;
constexpr double paper = 24;
constexpr double titleGrey = 255;
constexpr double captionGrey = 190;

std::string cut(const std::string& text, long width, long scale) {
    return text.substr(0, static_cast<std::size_t>(width / (advance * scale)));
}

} // namespace

long drawText(vxPelBuffer<double>& pels, long x, long y, const std::string& text, long scale, double grey) {
    long left = x;
    for (const char character : text) {
        drawGlyph(pels, left, y, rowsOf(character), scale, grey);
        left += advance * scale;
    }
    return left - x;
}

Image contactSheet(const std::vector<Panel>& panels) {
    long width = gap;
    long height = 0;
    for (const Panel& panel : panels) {
        width += panel.picture.pels.width() + gap;
        height = std::max(height, panel.picture.pels.height());
    }
    Image sheet;
    sheet.pels =
        newPels(static_cast<unsigned long>(width), static_cast<unsigned long>(headerHeight + height + gap));
    vfPelSet(sheet.pels, paper);
    long x = gap;
    for (const Panel& panel : panels) {
        vxPelBuffer<double> picture = panel.picture.pels;
        const long room = picture.width();
        drawText(sheet.pels, x, gap, cut(panel.title, room, titleScale), titleScale, titleGrey);
        drawText(sheet.pels, x, 2 * gap + glyphHeight * titleScale, cut(panel.caption, room, captionScale),
                 captionScale, captionGrey);
        picture.offset(x, headerHeight);
        vfPelCopy<double>(picture, sheet.pels);
        x += room + gap;
    }
    return sheet;
}

} // namespace app
