#include "filt/fft/kernels/kernels.h"

#include "filt/fft/kernels/instruction_sets.h"
#include "kavstd/attention.h"
#include "tests/filt/fft/kernels/kernel_data.h"
#include "tests/support/failing_allocation.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <new>
#include <string>

namespace {

using kernel_data::Kind;
using kernel_data::Matrix;

enum class Kernel { real, complex };

void run(Kernel kernel, Matrix& data, long w, long h, int direction, long bandLow, long bandHigh) {
    if (kernel == Kernel::real) {
        vf_RealFFT2D(data.data(), {w, h}, direction, bandLow, bandHigh);
    } else {
        vf_ComplexFFT2D(data.data(), {w, h}, direction, bandLow, bandHigh);
    }
}

// The same bits from every compiler, at every level of optimisation, on every machine.

/// Whole numbers from -4096 to 4095.
Matrix wholeNumbers(long w, long h) {
    Matrix data(static_cast<std::size_t>(2 * w * h));
    std::uint32_t state = 12345;
    for (float& x : data) {
        state = state * 1664525U + 1013904223U;
        x = static_cast<float>(state >> 19) - 4096.0F;
    }
    return data;
}

/// FNV-1a of the bytes of the floats, least significant first.
std::uint64_t hash(const Matrix& data) {
    std::uint64_t result = 0xcbf29ce484222325U;
    for (const float x : data) {
        const auto bits = std::bit_cast<std::uint32_t>(x);
        for (int shift = 0; shift < 32; shift += 8) {
            result = (result ^ (bits >> shift & 0xffU)) * 0x100000001b3U;
        }
    }
    return result;
}

std::uint64_t hashOf(Kernel kernel, long w, long h, int direction, long bandLow, long bandHigh) {
    Matrix data = wholeNumbers(w, h);
    run(kernel, data, w, h, direction, bandLow, bandHigh);
    return hash(data);
}

TEST(Kernels, GiveTheSameBitsEverywhere) {
    struct {
        long w;
        long h;
        std::uint64_t real;
        std::uint64_t realBackward;
        std::uint64_t complex;
        std::uint64_t complexBackward;
        std::uint64_t banded; // Backward, the band h/4 .. h/2.
    } const pinned[] = {
        {1, 1, 0x70b64e0ae46db0f7U, 0x70b64e0ae46db0f7U, 0x70b64e0ae46db0f7U, 0x70b64e0ae46db0f7U,
         0x70b64e0ae46db0f7U},
        {2, 1, 0x440b9e429eda7022U, 0x24c4b4013bf8ffbfU, 0x4328efcf4f4b9f03U, 0x4328efcf4f4b9f03U,
         0x4328efcf4f4b9f03U},
        {1, 2, 0x4328efcf4f4b9f03U, 0x4328efcf4f4b9f03U, 0x4328efcf4f4b9f03U, 0x4328efcf4f4b9f03U,
         0x4328efcf4f4b9f03U},
        {2, 2, 0x9858d50a6238b0b3U, 0xffd3fa9bfe4b49b3U, 0x8c953dfc62445c6fU, 0x8c953dfc62445c6fU,
         0x8c953dfc62445c6fU},
        {4, 1, 0xc8a4e2379cec5efbU, 0x5aca96299b33d746U, 0xea90c1508bcc7601U, 0x5edda7f3f4f56afdU,
         0x5edda7f3f4f56afdU},
        {4, 4, 0xa99a8981749730f8U, 0x6b358f416e2f5e02U, 0x73822c5f49c3ac47U, 0x0e3ca3bb733235ffU,
         0x60c939ca93fb978cU},
        {8, 4, 0x7fd913f6e6f78c1bU, 0xa6f4c257fe2d8af4U, 0xce2c0bfe2196bfb8U, 0xa0ab4eb8fa41eadcU,
         0xad7f02df457a7b85U},
        {4, 8, 0xad1b1f16a5fa0b80U, 0x806e9a47236bf91cU, 0x8de87c5869e1bd18U, 0x54eaa5172867c4e0U,
         0xb144d5f35b42804eU},
        {8, 8, 0x638d41b2a18eec26U, 0x85227a38451ab714U, 0xf0e110b187672645U, 0xfa6c7bc087eae61dU,
         0x1e0e8ee9a4d8fd16U},
        {16, 16, 0xa6aa4e623c3ba56fU, 0x3d2e23afa1e4bb09U, 0x0b0db40c93c13133U, 0xa65ac41debc07c27U,
         0xa3a08940ef0c93aaU},
        {64, 32, 0x2a43782f98d9e8b3U, 0x4c2122eb699d23ffU, 0x81701e7068085fcbU, 0xb93b27e543ab2753U,
         0x4920c37a67d1e411U},
        {32, 64, 0x269f7949ff7cbe3eU, 0x14be0e398ab84531U, 0x7e93ca9697153dd8U, 0x1dcb0e3912022f59U,
         0x29e9a82d78a177dbU},
        {128, 128, 0x4b9e1ac8e5f09670U, 0x46ffa884725f6f10U, 0xe3204884fd337553U, 0xbdc9978c42af0e2eU,
         0x146bffc2232cc208U},
        {256, 256, 0xc7bcd3407e4cc2eaU, 0xe29d8d846a2cb02bU, 0xbba30dcccb9db878U, 0x086258318628bd1dU,
         0x7e4612a2cf950a54U},
        {512, 64, 0xc2a12847e3ab3898U, 0xa2537b76ab138393U, 0x12f986abb48194c7U, 0x136f8a7c0a465140U,
         0x2c19fb68f01e223bU},
        {512, 512, 0x677e3e7bd0e1c811U, 0x42f46ed761d26a53U, 0x5d236ad3ad24b3d1U, 0xdfd2f8586f5f1fefU,
         0x044c13e293810f53U},
        {1024, 1024, 0x990871e6b3aeb028U, 0xb0cf53ae88ff0e30U, 0x34bf87195cb4f5a4U, 0x3617100e60d56c39U,
         0x3bc5f0b59ac52306U},
        {1024, 512, 0xe2d749b571273bbdU, 0xd2d671f7512e0f9bU, 0x8cad24c805e2eff7U, 0x4bb4d79b313bcbbaU,
         0x78d3d4d983dbfd51U},
        {16, 2048, 0xc2a4b823336398daU, 0xde8a7fa0ae39dc6dU, 0x28c926524339636bU, 0x6070b44805bdffe2U,
         0x358ae59e5cfb440cU},
        {2048, 2048, 0x4643fc072a833ed5U, 0x1a48728286d06d36U, 0x4542d33469744ad3U, 0xeefc8c7d33710d0aU,
         0x97ba29ee2bbdda5cU},
        {4096, 1, 0x96ad89e3972381e9U, 0x3475b4b27cac44f7U, 0x18b3e93af99a8fe1U, 0x425efa775664b3e4U,
         0x425efa775664b3e4U},
        {1, 4096, 0x18b3e93af99a8fe1U, 0x0fce2fc04176f8d7U, 0x18b3e93af99a8fe1U, 0x425efa775664b3e4U,
         0x425efa775664b3e4U},
        {32768, 1, 0xacb36be4d3800d2aU, 0xf623bd77906e11d5U, 0x73a920a616daf77dU, 0x383f49631bc6e15bU,
         0x383f49631bc6e15bU},
        {1, 32768, 0x73a920a616daf77dU, 0xdf46ea6e06fcbb4fU, 0x73a920a616daf77dU, 0x383f49631bc6e15bU,
         0x383f49631bc6e15bU},
        {32768, 2, 0x1fb2d112fc8b485dU, 0xdc8784e5577c3233U, 0x4794138bb57edf3bU, 0x74b8bdbfb8c9deccU,
         0x74b8bdbfb8c9deccU},
    };
    for (const auto& row : pinned) {
        const long w = row.w;
        const long h = row.h;
        const std::string size = std::to_string(w) + " x " + std::to_string(h);
        kernel_data::forEachInstructionSet([&] {
            EXPECT_EQ(hashOf(Kernel::real, w, h, 1, 0, h), row.real) << size;
            EXPECT_EQ(hashOf(Kernel::real, w, h, -1, 0, h), row.realBackward) << size;
            EXPECT_EQ(hashOf(Kernel::complex, w, h, 1, 0, h), row.complex) << size;
            EXPECT_EQ(hashOf(Kernel::complex, w, h, -1, 0, h), row.complexBackward) << size;
            EXPECT_EQ(hashOf(Kernel::complex, w, h, -1, h / 4, h / 2), row.banded) << size;
        });
    }
}

// Cancellation.

struct Cancelled {
    long check;
};

/// One for each tile of rows, then one for each tile of columns; the Nyquist column is a tile of its own.
long expectedChecks(Kernel kernel, long w, long h) {
    const auto lanes = static_cast<long>(vf_KernelsFor({w, h}).lanes);
    if (kernel == Kernel::real) {
        return w == 1 ? 1 : h / lanes + w / 2 / lanes + 1;
    }
    return h / lanes + w / lanes;
}

long countChecks(Kernel kernel, long w, long h, long bandLow, long bandHigh) {
    Matrix data = kernel_data::make(w, h, Kind::noise, 1);
    long checks = 0;
    const vxAttention::Scope scope([&checks] { ++checks; });
    run(kernel, data, w, h, 1, bandLow, bandHigh);
    return checks;
}

TEST(Kernels, CheckBeforeEachTileOfRowsAndOfColumns) {
    kernel_data::forEachInstructionSet([] {
        for (const Kernel kernel : {Kernel::real, Kernel::complex}) {
            kernel_data::forEachSize(256, [kernel](long w, long h) {
                const long expected = expectedChecks(kernel, w, h);
                EXPECT_EQ(countChecks(kernel, w, h, 0, h), expected) << w << " x " << h;
                // Skipped rows count all the same.
                EXPECT_EQ(countChecks(kernel, w, h, 5, 3), expected) << w << " x " << h;
            });
        }
        // At least every 16 rows and every 16 columns.
        EXPECT_GE(countChecks(Kernel::real, 2048, 2048, 0, 2048), 128 + 64 + 1);
        EXPECT_GE(countChecks(Kernel::complex, 2048, 2048, 0, 2048), 128 + 128);
    });
}

TEST(Kernels, PassOnWhatAnyCheckThrows) {
    for (const Kernel kernel : {Kernel::real, Kernel::complex}) {
        kernel_data::forEachSize(128, [kernel](long w, long h) {
            const Matrix input = kernel_data::make(w, h, Kind::noise, 1);
            const long checks = expectedChecks(kernel, w, h);
            for (long last = 0; last <= checks; ++last) {
                Matrix data = input;
                long seen = 0;
                const vxAttention::Scope scope([&seen, last] {
                    if (seen++ == last) {
                        throw Cancelled{last};
                    }
                });
                bool cancelled = false;
                try {
                    run(kernel, data, w, h, 1, 0, h);
                } catch (const Cancelled& thrown) {
                    cancelled = true;
                    EXPECT_EQ(thrown.check, last);
                }
                EXPECT_EQ(cancelled, last < checks) << w << " x " << h << " at check " << last;
                EXPECT_EQ(seen, cancelled ? last + 1 : checks) << w << " x " << h << " at check " << last;
            }
        });
    }
}

TEST(Kernels, StopBeforeTheRowsOfTheFailedCheck) {
    constexpr long w = 32;
    constexpr long h = 64;
    const auto lanes = static_cast<long>(vf_KernelsFor({w, h}).lanes);
    for (const Kernel kernel : {Kernel::real, Kernel::complex}) {
        const Matrix input = kernel_data::make(w, h, Kind::noise, 1);
        for (long last = 0; last < h / lanes; ++last) {
            Matrix data = input;
            long seen = 0;
            const vxAttention::Scope scope([&seen, last] {
                if (seen++ == last) {
                    throw Cancelled{last};
                }
            });
            EXPECT_THROW(run(kernel, data, w, h, 1, 0, h), Cancelled);
            for (long row = 0; row < h; ++row) {
                const auto begin = row * 2 * w;
                const Matrix now(data.begin() + begin, data.begin() + begin + 2 * w);
                const Matrix before(input.begin() + begin, input.begin() + begin + 2 * w);
                EXPECT_EQ(now == before, row >= lanes * last) << "row " << row << " at check " << last;
            }
        }
    }
}

// Memory.

TEST(Kernels, PassOnFailedAllocationsWithTheSamplesUnchanged) {
    for (const Kernel kernel : {Kernel::real, Kernel::complex}) {
        kernel_data::forEachSize(32, [kernel](long w, long h) {
            const Matrix input = kernel_data::make(w, h, Kind::noise, 1);
            Matrix data = input;
            const long failures =
                failing_allocation::failEachAllocation([&] { run(kernel, data, w, h, 1, 0, h); },
                                                       [&](bool threw) {
                                                           EXPECT_TRUE(threw) << w << " x " << h;
                                                           EXPECT_EQ(data, input) << w << " x " << h;
                                                       });
            // The factors of the butterflies and a tile of columns; a tile of rows; the factors of the split
            // step.
            const long expected = kernel == Kernel::complex ? 3 : w == 1 ? 2 : 4;
            EXPECT_EQ(failures, expected) << w << " x " << h;
            EXPECT_NE(w * h > 1, data == input) << w << " x " << h;
        });
    }
}

TEST(Kernels, TakeMemoryForATileAndNotForTheImage) {
    for (const long side : {128L, 1024L}) {
        Matrix data = kernel_data::make(side, side, Kind::noise, 1);
        for (const Kernel kernel : {Kernel::real, Kernel::complex}) {
            const failing_allocation::Scope watch;
            run(kernel, data, side, side, 1, 0, side);
            EXPECT_EQ(watch.largest(),
                      static_cast<std::size_t>(side) * 2 * sizeof(float) * vf_KernelsFor({side, side}).lanes);
        }
    }
}

// The choice.

TEST(Kernels, RunOnTheForcedInstructionSet) {
    for (const vx_InstructionSet set : vf_SupportedInstructionSets()) {
        const vx_ForcedInstructionSet forced(set);
        EXPECT_EQ(vf_KernelsFor({2048, 2048}).set, set);
        EXPECT_GE(vf_KernelsFor({2048, 2048}).lanes, 4U);
        EXPECT_EQ(vf_KernelsFor({2, 2048}).lanes, 1U);
        EXPECT_EQ(vf_KernelsFor({2048, 1}).lanes, 1U);
    }
}

TEST(Kernels, RunOnTheFastestInstructionSetThatTheSizeFills) {
    EXPECT_EQ(vf_KernelsFor({2048, 2048}).set, vf_SupportedInstructionSets().back());
    kernel_data::forEachSize(128, [](long w, long h) {
        const auto lanes = static_cast<long>(vf_KernelsFor({w, h}).lanes);
        EXPECT_TRUE(lanes == 1 || (lanes <= h && 2 * lanes <= w)) << w << " x " << h;
    });
}

TEST(Kernels, HaveNamesForTheirInstructionSets) {
    EXPECT_STREQ(vf_InstructionSetName(vx_InstructionSet::portable), "portable");
    EXPECT_STREQ(vf_InstructionSetName(vx_InstructionSet::sse2), "SSE2");
    EXPECT_STREQ(vf_InstructionSetName(vx_InstructionSet::avx2), "AVX2");
    EXPECT_STREQ(vf_InstructionSetName(vx_InstructionSet::avx512), "AVX-512");
}

} // namespace
