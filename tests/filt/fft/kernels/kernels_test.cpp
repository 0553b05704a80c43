#include "filt/fft/kernels/kernels.h"

#include "filt/fft/kernels/instruction_sets.h"
#include "kavstd/attention.h"
#include "tests/filt/fft/kernels/kernel_data.h"
#include "tests/support/failing_allocation.h"

#include <gtest/gtest.h>

#include <new>

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

// Cancellation.

struct Cancelled {
    long check;
};

/// One for each tile of rows, then one for each tile of columns; the Nyquist column is a tile of its own. Of
/// real samples, one more for each tile of rows when their other half is filled.
long expectedChecks(Kernel kernel, long w, long h) {
    const auto lanes = static_cast<long>(vf_KernelsFor({w, h}).lanes);
    if (kernel == Kernel::real) {
        return w == 1 ? 1 : 2 * (h / lanes) + w / 2 / lanes + 1;
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
                // Skipped rows count all the same, and once more where they are copied and swapped. The only
                // block of 4 rows is judged to be in this band.
                const long copies = (h + 15) / 16 + (w == h && w > 4 ? h / 4 : 0);
                EXPECT_EQ(countChecks(kernel, w, h, 5, 3),
                          expected + (kernel == Kernel::complex ? copies : 0))
                    << w << " x " << h;
            });
        }
        // At least every 16 rows and every 16 columns.
        EXPECT_GE(countChecks(Kernel::real, 2048, 2048, 0, 2048), 128 + 64 + 1 + 128);
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
            // The factors of the butterflies and a tile; then the places of the rows' records, or the factors
            // of the split step.
            const long expected = kernel == Kernel::real && w == 1 ? 2 : 3;
            EXPECT_EQ(failures, expected) << w << " x " << h;
            EXPECT_NE(w * h > 1, data == input) << w << " x " << h;
        });
    }
}

TEST(Kernels, TakeMemoryForATileAndNotForTheImage) {
    constexpr std::size_t roomToAlign = 64;
    for (const long side : {128L, 1024L}) {
        Matrix data = kernel_data::make(side, side, Kind::noise, 1);
        for (const Kernel kernel : {Kernel::real, Kernel::complex}) {
            const failing_allocation::Scope watch;
            run(kernel, data, side, side, 1, 0, side);
            const std::size_t row = static_cast<std::size_t>(side) * 2 * sizeof(float);
            EXPECT_EQ(watch.largest(), row * vf_KernelsFor({side, side}).lanes + roomToAlign);
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
