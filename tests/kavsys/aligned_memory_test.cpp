#include "kavsys/aligned_memory.h"

#include "tests/support/failing_allocation.h"
#include "tests/support/sanitizers.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <string>
#include <vector>

namespace {

using Piece = std::unique_ptr<unsigned char, decltype(&vf_FreeAligned)>;

Piece piece(std::size_t size, std::size_t alignment) {
    return {static_cast<unsigned char*>(vf_AllocateAligned(size, alignment)), &vf_FreeAligned};
}

TEST(AlignedMemory, StartsAtAMultipleOfTheAlignmentAndHoldsTheSize) {
    std::vector<Piece> pieces;
    std::vector<std::size_t> sizes;
    for (std::size_t alignment = 1; alignment <= 1U << 16; alignment *= 2) {
        for (const std::size_t size : {0U, 1U, 15U, 16U, 17U, 63U, 64U, 65U, 1000U, 4096U, 300'000U}) {
            pieces.push_back(piece(size, alignment));
            sizes.push_back(size);
            ASSERT_NE(pieces.back(), nullptr);
            EXPECT_EQ(reinterpret_cast<std::uintptr_t>(pieces.back().get()) % alignment, 0U);
            std::memset(pieces.back().get(), static_cast<int>(pieces.size() % 251), size);
        }
    }
    for (std::size_t i = 0; i < pieces.size(); ++i) {
        for (std::size_t at = 0; at < sizes[i]; ++at) {
            ASSERT_EQ(pieces[i].get()[at], (i + 1) % 251) << "piece " << i << " at " << at;
        }
    }
}

TEST(AlignedMemory, IsGivenBackWhole) {
    const failing_allocation::Scope scope;
    {
        const Piece one = piece(100, 64);
        EXPECT_EQ(scope.count(), 1);
        EXPECT_LE(scope.largest(), 164U);
    }
    vf_FreeAligned(nullptr);
    EXPECT_EQ(scope.count(), 1);
}

TEST(AlignedMemory, RefusesWhatIsNotThere) {
    constexpr std::size_t most = std::numeric_limits<std::size_t>::max();
    for (const std::size_t size : {most, most - 16, most - 64, most / 2}) {
        EXPECT_THROW((void)vf_AllocateAligned(size, 64), std::bad_alloc) << size;
    }
    const failing_allocation::Scope scope(0);
    EXPECT_THROW((void)vf_AllocateAligned(1, 64), std::bad_alloc);
}

// What is freed must be taken again although something small lies before and behind it.
TEST(AlignedMemory, TakesFreedPiecesAgain) {
    if (support::sanitizerKeepsMemory) {
        GTEST_SKIP() << "a sanitizer keeps freed memory for a while";
    }
    constexpr std::size_t size = 100'000;
    std::vector<std::unique_ptr<std::string>> small;
    std::uintptr_t lowest = std::numeric_limits<std::uintptr_t>::max();
    std::uintptr_t highest = 0;
    for (int i = 0; i < 1000; ++i) {
        const Piece large = piece(size, 64);
        small.push_back(std::make_unique<std::string>(100, 'a'));
        const auto address = reinterpret_cast<std::uintptr_t>(large.get());
        lowest = std::min(lowest, address);
        highest = std::max(highest, address);
    }
    EXPECT_LT(highest - lowest, 20 * size);
}

} // namespace
