#include "tests/filt/fft/kernels/kernel_data.h"
#include "tests/oracle/arithmetic.h"
#include "tests/oracle/map_image.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <random>
#include <vector>

namespace {
using kernel_data::everyKind;
using kernel_data::forEachInstructionSet;
using kernel_data::Kind;
using kernel_data::Matrix;
using kernel_data::sameBits;

// Vectors, what remains of them, and nothing.
constexpr long mostSamples = 70;

/// Calls visit(samples, count) for every count and kind of samples.
template <class Visit>
void forEachInput(Visit visit) {
    forEachInstructionSet([&] {
        for (const Kind kind : everyKind) {
            for (long count = 0; count <= mostSamples; ++count) {
                // A width of 1 more, since what holds a NaN cannot be empty.
                Matrix samples = kernel_data::make(count + 1, 1, kind, static_cast<unsigned>(count));
                samples.resize(static_cast<std::size_t>(2 * count));
                visit(samples, static_cast<std::size_t>(count));
            }
        }
    });
}

Matrix others(std::size_t count) {
    Matrix samples = kernel_data::make(static_cast<long>(count) + 1, 1, Kind::wideRange, 99);
    samples.resize(2 * count);
    return samples;
}

/// Runs combine(b, a, out, count) with an output of its own, which nothing is written beyond, and with each
/// operand as the output.
template <class Combine>
void expectCombines(Combine combine, const Matrix& b, const Matrix& a, const Matrix& expected,
                    std::size_t count) {
    Matrix out(2 * count + 2, 7.0F);
    combine(b.data(), a.data(), out.data(), count);
    EXPECT_EQ(out[2 * count], 7.0F);
    EXPECT_EQ(out[2 * count + 1], 7.0F);
    out.resize(2 * count);
    EXPECT_TRUE(sameBits(out, expected)) << count;
    Matrix updated = b;
    combine(updated.data(), a.data(), updated.data(), count);
    EXPECT_TRUE(sameBits(updated, expected)) << count;
    updated = a;
    combine(b.data(), updated.data(), updated.data(), count);
    EXPECT_TRUE(sameBits(updated, expected)) << count;
}

TEST(Elements, CombineSamples) {
    forEachInput([](const Matrix& a, std::size_t count) {
        const Matrix b = others(count);
        const vx_ElementKernels& kernels = vf_Elements();
        expectCombines(kernels.product, b, a, oracle::multiply(b, a), count);
        expectCombines(kernels.product, a, b, oracle::multiply(a, b), count);
        expectCombines(kernels.product, a, a, oracle::multiply(a, a), count);
        expectCombines(kernels.sum, b, a, oracle::add(b, a), count);
        expectCombines(kernels.difference, b, a, oracle::subtract(b, a), count);
    });
}

TEST(Elements, Conjugate) {
    forEachInput([](const Matrix& a, std::size_t count) {
        const auto conjugate = [](const float* in, const float* /*other*/, float* out, std::size_t samples) {
            vf_Elements().conjugate(in, out, samples);
        };
        Matrix out(2 * count);
        conjugate(a.data(), nullptr, out.data(), count);
        EXPECT_TRUE(sameBits(out, oracle::conjugate(a)));
        Matrix updated = a;
        conjugate(updated.data(), nullptr, updated.data(), count);
        EXPECT_TRUE(sameBits(updated, oracle::conjugate(a)));
    });
}

TEST(Elements, MultiplyGains) {
    forEachInput([](const Matrix& in, std::size_t count) {
        const Matrix gains = others(count);
        Matrix expected(in);
        for (std::size_t i = 0; i < expected.size(); ++i) {
            expected[i] = in[i] * gains[i / 2];
        }
        Matrix out(2 * count);
        vf_Elements().multiplyGains(in.data(), gains.data(), out.data(), count);
        EXPECT_TRUE(sameBits(out, expected)) << count;
        out = in;
        vf_Elements().multiplyGains(out.data(), gains.data(), out.data(), count);
        EXPECT_TRUE(sameBits(out, expected)) << count;
    });
}

// Compared as floats, which all of them are; signs of zeros count.
Matrix narrowed(const std::vector<double>& pels) {
    Matrix result;
    for (const double pel : pels) {
        result.push_back(static_cast<float>(pel));
    }
    return result;
}

TEST(Elements, WidenPartsAndMagnitudes) {
    forEachInput([](const Matrix& samples, std::size_t count) {
        constexpr float scale = 0x1.8p-3F;
        Matrix real;
        Matrix imaginary;
        Matrix magnitudes;
        for (std::size_t i = 0; i < count; ++i) {
            const float re = samples[2 * i];
            const float im = samples[2 * i + 1];
            real.push_back(re * scale);
            imaginary.push_back(im * scale);
            const float squared = re * re;
            magnitudes.push_back(std::sqrt(squared + im * im));
        }
        std::vector<double> pels(count);
        vf_Elements().realParts(samples.data(), count, scale, pels.data());
        EXPECT_TRUE(sameBits(narrowed(pels), real)) << count;
        vf_Elements().imaginaryParts(samples.data(), count, scale, pels.data());
        EXPECT_TRUE(sameBits(narrowed(pels), imaginary)) << count;
        vf_Elements().magnitudes(samples.data(), count, {1.0F}, pels.data());
        EXPECT_TRUE(sameBits(narrowed(pels), magnitudes)) << count;
    });
}

TEST(Elements, FindTheRangeOfMagnitudes) {
    forEachInput([](const Matrix& samples, std::size_t count) {
        vx_Range<float> expected = {1e20F, -1e20F};
        bool numbers = true;
        for (std::size_t i = 0; i < count; ++i) {
            const float squared = samples[2 * i] * samples[2 * i] + samples[2 * i + 1] * samples[2 * i + 1];
            numbers = numbers && !std::isnan(squared);
            expected.least = std::min(expected.least, squared);
            expected.most = std::max(expected.most, squared);
        }
        vx_Range<float> range = {1e20F, -1e20F};
        ASSERT_EQ(vf_Elements().magnitudeRange(samples.data(), count, range), numbers) << count;
        if (numbers) {
            EXPECT_EQ(range.least, expected.least);
            EXPECT_EQ(range.most, expected.most);
        }
    });
}

std::vector<double> somePels(std::size_t count, unsigned seed) {
    std::mt19937 generator(seed);
    std::vector<double> pels;
    for (std::size_t i = 0; i < count; ++i) {
        pels.push_back(static_cast<double>(kernel_data::noise(generator)) * 400.0);
    }
    return pels;
}

TEST(Elements, FindTheRangeOfPels) {
    forEachInstructionSet([] {
        for (unsigned count = 0; count <= mostSamples; ++count) {
            const std::vector<double> pels = somePels(count, count);
            vx_Range<double> range = {10.0, -10.0};
            ASSERT_TRUE(vf_Elements().pelRange(pels.data(), count, range));
            double least = 10.0;
            double most = -10.0;
            for (const double pel : pels) {
                least = std::min(least, pel);
                most = std::max(most, pel);
            }
            EXPECT_EQ(range.least, least);
            EXPECT_EQ(range.most, most);
            for (unsigned place = 0; place < count; ++place) {
                std::vector<double> withNan = pels;
                withNan[place] = std::numeric_limits<double>::quiet_NaN();
                ASSERT_FALSE(vf_Elements().pelRange(withNan.data(), count, range)) << place;
            }
        }
    });
}

// Each value at each place of a vector, among others and alone.
TEST(Elements, MapPels) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    const double values[] = {0.0,         -0.0,        0.99,      -0.99,         255.0,      255.99,
                             256.0,       -1.0,        -63.7,     0x1p31,        -0x1p31,    0x1p31 - 0.5,
                             -0x1p31 - 1, 4294967299., 0x1p62,    0x1.8p55 + 64, 0x1p63,     -0x1p63,
                             1e300,       -1e300,      infinity,  -infinity,     5e-324,     std::nan(""),
                             0x1p53 - 1,  -0x1p53 + 1, 1e15 + .5, 254.999999999, -0x1p-1022, 1e9};
    constexpr int clip = 0;
    const auto wrapped = [](const std::vector<double>& pels) {
        std::vector<unsigned char> result;
        for (const double pel : pels) {
            result.push_back(oracle::lowByte(pel));
        }
        return result;
    };
    forEachInstructionSet([&] {
        for (std::size_t count = 0; count <= mostSamples; ++count) {
            for (const double value : values) {
                std::vector<double> pels = somePels(count, 5);
                if (count > 0) {
                    pels[(count * 7 + 3) % count] = value;
                    pels.back() = value;
                }
                std::vector<unsigned char> mapped(count + 1, 123);
                vf_Elements().wrappedPels(pels.data(), count, 0.0, 1.0, mapped.data());
                EXPECT_EQ(mapped.back(), 123);
                mapped.pop_back();
                ASSERT_EQ(mapped, wrapped(pels)) << value;
                vf_Elements().clippedPels(pels.data(), count, 0.0, 1.0, mapped.data());
                ASSERT_EQ(mapped, oracle::mapImage(pels, clip, 0.0, 0.0)) << value;
            }
        }
    });
}

TEST(Elements, FindTheGainsOfARing) {
    std::vector<float> profile;
    for (int i = 0; i < 200; ++i) {
        profile.push_back(static_cast<float>(i));
    }
    const vx_RingRow row = {37.0, 9.25, 32.0, static_cast<double>(profile.size() - 1), profile.data()};
    forEachInstructionSet([&] {
        for (std::int32_t count = 0; count <= 600; count += count < mostSamples ? 1 : 53) {
            std::vector<float> gains(static_cast<std::size_t>(count));
            vf_Elements().ringGains(row, 2, count, gains.data());
            for (std::int32_t i = 0; i < count; ++i) {
                const double distance = std::sqrt((2.0 + i) * (2.0 + i) + 37.0) - 9.25;
                const auto place = static_cast<std::size_t>(std::fabs(distance * 32.0));
                ASSERT_EQ(gains[static_cast<std::size_t>(i)], profile[std::min(place, profile.size() - 1)]);
            }
        }
    });
}

} // namespace
