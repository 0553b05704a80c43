#include "kavstd/pair.h"
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

// As the filters have them: a pass filter's and a reject filter's.
float passGain(double exponent) {
    return static_cast<float>(std::exp(exponent));
}
float rejectGain(double exponent) {
    return static_cast<float>(1.0 - std::exp(exponent));
}

/// A part of a lobe whose exponents are -(along[i] * along[i]) in each row.
struct Exponents {
    explicit Exponents(std::vector<double> distances) : along(std::move(distances)) {
        along.resize((along.size() / vx_LobePart::mostColumns + 1) * vx_LobePart::mostColumns);
    }

    [[nodiscard]] vx_LobePart part(std::size_t first, bool complement, double acrossPlateau) const {
        return {.along = along.data() + first,
                .across = zeros.data(),
                .alongShift = zeros.data(),
                .acrossShift = zeros.data(),
                .alongStep = 0.0,
                .acrossStep = 0.0,
                .alongPlateau = 0.0,
                .acrossPlateau = acrossPlateau,
                .alongFactor = -1.0,
                .acrossFactor = -1.0,
                .complement = complement,
                .gainAt = complement ? rejectGain : passGain};
    }

    std::vector<double> along;
    std::vector<double> zeros = std::vector<double>(vx_LobePart::mostColumns);
};

/// The gains of both kinds where the exponents are -(a * a), for any number of values a. A plateau across
/// decides only how they are found.
void expectLobeGains(const std::vector<double>& along) {
    const Exponents exponents(along);
    for (const bool complement : {false, true}) {
        Matrix expected;
        for (const double a : along) {
            expected.push_back(complement ? rejectGain(-(a * a)) : passGain(-(a * a)));
        }
        for (const double acrossPlateau : {0.0, 1.0}) {
            Matrix gains(along.size() + 1, 7.0F);
            for (std::size_t first = 0; first < along.size(); first += vx_LobePart::mostColumns) {
                vf_Elements().lobeGains(exponents.part(first, complement, acrossPlateau),
                                        std::min(vx_LobePart::mostColumns, along.size() - first), 1,
                                        gains.data() + first, 1);
            }
            EXPECT_EQ(gains.back(), 7.0F);
            gains.pop_back();
            ASSERT_TRUE(sameBits(gains, expected)) << complement << " " << acrossPlateau;
        }
    }
}

/// The gains of a lobe as the filters lay it over their patch. `middle` is the row of its centre, as a part
/// of all.
void expectLobe(std::size_t columns, std::size_t rows, const vxPair<double>& plateau, double sharpness,
                double tilt, bool complement, double middle = 0.5) {
    const std::size_t step = columns + 3;
    std::vector<double> along(vx_LobePart::mostColumns);
    std::vector<double> across(vx_LobePart::mostColumns);
    std::vector<double> alongShift;
    std::vector<double> acrossShift;
    for (std::size_t i = 0; i < columns; ++i) {
        const double x = static_cast<double>(i) - 0.5 * static_cast<double>(columns) - 0.3;
        along[i] = std::cos(tilt) * x;
        across[i] = -std::sin(tilt) * x;
    }
    for (std::size_t j = 0; j < rows; ++j) {
        const double y = (static_cast<double>(j) - middle * static_cast<double>(rows) - 0.8) / 0.5;
        alongShift.push_back(std::sin(tilt) * y);
        acrossShift.push_back(std::cos(tilt) * y);
    }
    const vx_LobePart part = {.along = along.data(),
                              .across = across.data(),
                              .alongShift = alongShift.data(),
                              .acrossShift = acrossShift.data(),
                              .alongStep = std::sin(tilt) / 0.5,
                              .acrossStep = std::cos(tilt) / 0.5,
                              .alongPlateau = plateau.x(),
                              .acrossPlateau = plateau.y(),
                              .alongFactor = -sharpness,
                              .acrossFactor = -3.0 * sharpness,
                              .complement = complement,
                              .gainAt = complement ? rejectGain : passGain};
    const auto squared = [](double at, double flat) {
        const double distance = std::max(std::fabs(at) - flat, 0.0);
        return distance * distance;
    };
    Matrix expected(step * rows + columns, 7.0F);
    Matrix gains = expected;
    for (std::size_t j = 0; j < rows; ++j) {
        for (std::size_t i = 0; i < columns; ++i) {
            const double e = squared(along[i] + alongShift[j], part.alongPlateau) * part.alongFactor +
                             squared(across[i] + acrossShift[j], part.acrossPlateau) * part.acrossFactor;
            expected[j * step + i] = part.gainAt(e);
        }
    }
    vf_Elements().lobeGains(part, columns, rows, gains.data(), step);
    ASSERT_TRUE(sameBits(gains, expected)) << columns << " x " << rows << " " << sharpness << " " << tilt;
}

TEST(Elements, FindTheGainsOfALobe) {
    forEachInstructionSet([] {
        for (const double width : {0.0, 3.5}) {
            const vxPair<double> plateau(width, width / 3.0);
            // From one that hardly falls to one of a single entry.
            for (const double sharpness : {1e-12, 1e-5, 3e-4, 0.004, 0.1, 1.7, 60.0, 1e4, 1e300}) {
                for (const double tilt : {0.0, 0.5, 2.1, 3.14159}) {
                    for (const std::size_t columns : {1U, 15U, 37U, 256U}) {
                        for (const std::size_t rows : {1U, 2U, 64U}) {
                            expectLobe(columns, rows, plateau, sharpness, tilt, columns % 2 == 0);
                            expectLobe(columns, rows, plateau, sharpness, tilt, columns % 2 != 0);
                        }
                    }
                }
            }
        }
    });
}

TEST(Elements, FindTheGainsOfALobeWithAPlateauInOneDirection) {
    forEachInstructionSet([] {
        for (const vxPair<double>& plateau : {vxPair<double>(3.5, 0.0), vxPair<double>(0.0, 3.5)}) {
            for (const double sharpness : {3e-4, 0.004, 0.1}) {
                expectLobe(37, 64, plateau, sharpness, 0.5, false);
                expectLobe(37, 64, plateau, sharpness, 0.5, true);
            }
        }
    });
}

// Filters of large spectra are laid in parts, most of which lie to one side of the lobe's centre.
TEST(Elements, FindTheGainsOfALobeBesideItsCentre) {
    forEachInstructionSet([] {
        for (const double middle : {-1.0, 0.0, 1.0, 2.0}) {
            for (const double sharpness : {3e-4, 0.004, 0.02, 0.1, 1.7, 60.0}) {
                for (const double tilt : {0.0, 0.5, 1.5707963267948966}) {
                    expectLobe(37, 64, {0.0, 0.0}, sharpness, tilt, false, middle);
                    expectLobe(37, 64, {0.0, 0.0}, sharpness, tilt, true, middle);
                }
            }
        }
    });
}

TEST(Elements, LobesHaveTheGainsOfTheMathsLibrary) {
    std::vector<double> along = {0.0,         5e-324,  1e-300,
                                 0x1p-30,     0x1p-27, 0x1p-20,
                                 1e154,       1e200,   std::numeric_limits<double>::infinity(),
                                 std::nan("")};
    // Down to the least denormal float, the least denormal double and beyond.
    for (const double exponent : {87.33, 87.34, 88.0, 103.27, 103.28, 103.97, 103.98, 104.0, 104.99, 105.0,
                                  105.01, 150.0, 708.0, 709.0, 745.13, 745.14, 746.0, 1e4}) {
        along.push_back(std::sqrt(exponent));
    }
    std::mt19937 generator(4);
    for (int i = 0; i < 20000; ++i) {
        // Evenly spread exponents, and those of every magnitude.
        const double x = std::fabs(static_cast<double>(kernel_data::noise(generator)));
        along.push_back(std::sqrt(x * 106.0));
        along.push_back(std::ldexp(0.5 + x, static_cast<int>(generator() % 40) - 35));
    }
    forEachInstructionSet([&] { expectLobeGains(along); });
}

// Where two floats are equally near, and at the ends of the range within which the lobe is known there.
TEST(Elements, LobesHaveTheGainsOfTheMathsLibraryBetweenTwoFloats) {
    std::mt19937 generator(5);
    std::vector<double> along;
    for (int i = 0; i < 3000; ++i) {
        const float low = std::ldexp(1.0F + std::fabs(kernel_data::noise(generator)),
                                     -1 - static_cast<int>(generator() % 149));
        const float high = std::nextafter(low, 1.0F);
        const double middle = (static_cast<double>(low) + static_cast<double>(high)) / 2.0;
        for (const double exponent : {std::log(middle), std::log1p(-middle)}) {
            for (const double off :
                 {0.0, 0x1p-52, 0x1p-46, 0x1p-40, 0x1.cp-39, 0x1.ep-38, 0x1.02p-37, 0x1.1p-37, 0x1.8p-37}) {
                along.push_back(std::sqrt(-exponent + off));
                along.push_back(std::sqrt(std::max(-exponent - off, 0.0)));
            }
        }
    }
    forEachInstructionSet([&] { expectLobeGains(along); });
}

// Otherwise building a filter would be as slow as the maths library's exp.
TEST(Elements, LobesHardlyAskTheMathsLibrary) {
    static int asked = 0;
    std::vector<double> along;
    for (std::size_t i = 0; i < vx_LobePart::mostColumns; ++i) {
        along.push_back(0.01 * static_cast<double>(i + 1));
    }
    std::vector<double> shifts;
    for (std::size_t j = 0; j < vx_LobePart::mostRows; ++j) {
        shifts.push_back(0.001 * static_cast<double>(j + 1));
    }
    const Exponents exponents(along);
    forEachInstructionSet([&] {
        for (const double plateau : {0.0, 1e-9}) {
            asked = 0;
            for (const bool complement : {false, true}) {
                vx_LobePart part = exponents.part(0, complement, 0.0);
                part.alongShift = shifts.data();
                part.alongStep = 0.001;
                part.alongPlateau = plateau;
                part.gainAt = [](double exponent) {
                    ++asked;
                    return static_cast<float>(exponent);
                };
                Matrix gains(vx_LobePart::mostColumns * vx_LobePart::mostRows);
                vf_Elements().lobeGains(part, vx_LobePart::mostColumns, vx_LobePart::mostRows, gains.data(),
                                        vx_LobePart::mostColumns);
            }
            EXPECT_LT(asked, 330); // Of 32768; most of them at the top of the reject filter's lobe.
        }
    });
}

} // namespace
