/// \file
/// Expecting the library's errors: exact class, number and text.
#pragma once

#include "filt/fft/errors.h"

#include <gtest/gtest.h>

#include <typeinfo>

namespace support {

template <class Error>
constexpr long numberOf = 0;
template <>
inline constexpr long numberOf<vxFrequencyDefs::InvalidArgument> = 268460800;
template <>
inline constexpr long numberOf<vxFrequencyDefs::Uninitialized> = 268460801;
template <>
inline constexpr long numberOf<vxFrequencyDefs::InvalidSize> = 268460802;
template <>
inline constexpr long numberOf<vxFrequencyDefs::UnboundWindow> = 268460803;
template <>
inline constexpr long numberOf<vxFrequencyDefs::InvalidBuffer> = 268460804;
template <>
inline constexpr long numberOf<vxFrequencyDefs::BadCoord> = 268460805;

/// Expects that the operation throws exactly that class with exactly that text.
template <class Error, class Operation>
void expectError(Operation operation, const char* message) {
    try {
        operation();
        ADD_FAILURE() << "nothing was thrown instead of: " << message;
    } catch (const vxFrequencyDefs::Errors& error) {
        EXPECT_EQ(typeid(error), typeid(Error));
        EXPECT_EQ(error.errorNumber(), numberOf<Error>);
        EXPECT_STREQ(error.what(), message);
    }
}

} // namespace support
