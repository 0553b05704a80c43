/// \file
/// The library's error classes, with their numbers, and the display mappings.
#pragma once

#include "kavstd/exception.h"

class vx_Instantiator;

/// A scope for the library's error classes and for FrequencyMapping. It has no data and no behaviour of its own.
class VX_EXPORT vxFrequencyDefs {
public:
    /// How vfFrequencyMapImage maps doubles to 8-bit pels.
    enum FrequencyMapping : int {
        eClip,        ///< clamped to 0 .. 255
        eLinear,      ///< linear over the image's own range
        eLinearRange, ///< linear over the caller's range, saturated
        eLogarithmic, ///< logarithmic over the image's own range
        eAngle        ///< radians times 255 / (2 pi)
    };

    class Errors;
    class InvalidArgument;
    class Uninitialized;
    class InvalidSize;
    class UnboundWindow;
    class InvalidBuffer;
    class BadCoord;
};

/// Base of every error that the library reports. Adds no data to the message.
class VX_EXPORT vxFrequencyDefs::Errors : public vxExceptionWithString {
public:
    Errors(const Errors&) noexcept;
    Errors& operator=(const Errors&) noexcept;
    ~Errors() override;
    long errorNumber() const override = 0;
    void suicideAndRethrow() override = 0;

protected:
    explicit Errors(const char* message = nullptr);
    void dispatchSerialize(vxArchive& archive) override;
    void serialize_(vxArchive& archive, unsigned char version);
};
