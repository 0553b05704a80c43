#include "filt/internal/pel_row.h"

#include <gtest/gtest.h>

#include <array>
#include <limits>
#include <type_traits>

namespace {

TEST(PelRow, CountsFromTheWindowsFirstRowWhateverItsOffset) {
    vxPelBuffer<double> image(5, 4);
    vxPelBuffer<double> window = image.window(1, 2, 3, 2);
    window.offset(std::numeric_limits<long>::max(), std::numeric_limits<long>::min());
    EXPECT_EQ(vf_PelRow(window, 0), image.pointToRow(2) + 1);
    EXPECT_EQ(vf_PelRow(window, 1), image.pointToRow(3) + 1);
}

TEST(PelRow, FollowsAnImageThatIsStoredBottomUp) {
    std::array<unsigned char, 6> pels{};
    const vxPelBuffer_const<unsigned char> image(&pels[4], 2, 3, -2);
    EXPECT_EQ(vf_PelRow(image, 0), &pels[4]);
    EXPECT_EQ(vf_PelRow(image, 2), pels.data());
}

TEST(PelRow, IsWritableForAWritableImageOnly) {
    const vxPelBuffer<unsigned short> image(2, 2);
    static_assert(std::is_same_v<decltype(vf_PelRow(image, 0)), unsigned short*>);
    const vxPelBuffer_const<unsigned short>& reading = image;
    static_assert(std::is_same_v<decltype(vf_PelRow(reading, 0)), const unsigned short*>);
    EXPECT_EQ(vf_PelRow(reading, 1), vf_PelRow(image, 1));
}

} // namespace
