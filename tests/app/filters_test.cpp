#include "app/filters.h"

#include "app/errors.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

using app::FilterParameters;

std::string refusal(const FilterParameters& parameters) {
    try {
        app::checkFilter(parameters);
    } catch (const app::UsageError& error) {
        return error.what();
    }
    return {};
}

TEST(Filters, HaveNames) {
    EXPECT_THAT(app::filterTypes(), testing::Contains("bandpass"));
}

TEST(Filters, AreTheLibrarys) {
    const auto made = app::makeFilter({"bandpass", 0.2, 0.03, 0.01, 2}, {64, 32});
    const auto* filter = dynamic_cast<const vxFrequencyFilterBandPass*>(made.get());
    ASSERT_NE(filter, nullptr);
    EXPECT_TRUE(*filter == vxFrequencyFilterBandPass(0.03, 0.01, 0.2, {64, 32}, 2));
}

TEST(Filters, RefuseWrongParametersInTheLibrarysWords) {
    EXPECT_EQ(refusal({"bandpass", 0.2, 0.03, 0, 0}), "");
    EXPECT_EQ(refusal({"bandpass", 0.6, 0.03, 0, 0}), "Frequency must be between 0.0 and 0.5.");
    EXPECT_EQ(refusal({"bandpass", std::nan(""), 0.03, 0, 0}), "Frequency must be between 0.0 and 0.5.");
    EXPECT_EQ(refusal({"bandpass", 0.2, 0, 0, 0}), "Sigma must be positive.");
    EXPECT_EQ(refusal({"bandpass", 0.2, 0.03, -1, 0}), "Plateau cannot be negative.");
    EXPECT_EQ(refusal({"bandpass", 0.2, 0.03, 0, -1}), "DC Removal Radius cannot be negative.");
}

TEST(Filters, RefuseWhatOnlyNeedsMemory) {
    EXPECT_EQ(refusal({"bandpass", 0.2, 1, 1, 0}), "");
    EXPECT_EQ(refusal({"bandpass", 0.2, 1.1, 0, 0}), "Sigma must not be above 1.");
    EXPECT_EQ(refusal({"bandpass", 0.2, 0.1, std::numeric_limits<double>::infinity(), 0}),
              "Plateau must not be above 1.");
}

TEST(Filters, RefuseUnknownTypes) {
    EXPECT_EQ(refusal({"sieve", 0.2, 0.1, 0, 0}), "there is no filter type sieve");
}

TEST(ApplyFilter, SaysWhenTheDcSquareDoesNotFit) {
    const auto filter = app::makeFilter({"bandpass", 0.2, 0.1, 0, 5}, {8, 4});
    vxFrequencyBuffer spectrum(8, 4);
    try {
        app::applyFilter(*filter, spectrum);
        ADD_FAILURE() << "applied";
    } catch (const app::UsageError& error) {
        EXPECT_STREQ(error.what(), "the square of --dc around the DC reaches outside the 8 x 4 spectrum");
    }
}

TEST(Gains, AreTheResponseToOnes) {
    const auto filter = app::makeFilter({"bandpass", 0.25, 0.05, 0, 1}, {16, 16});
    const vxFrequencyBuffer gains = app::gains(*filter, {16, 16});
    EXPECT_EQ(gains.getReal(0, 0, true), 0);
    EXPECT_EQ(gains.getReal(4, 0, true), 1);
    EXPECT_EQ(gains.getReal(0, -4, true), 1);
    EXPECT_GT(gains.getReal(3, 0, true), 0);
    EXPECT_LT(gains.getReal(3, 0, true), 1);
    EXPECT_EQ(gains.getImaginary(4, 0, true), 0);
}

} // namespace
