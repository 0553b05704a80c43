/// \file
/// The library's error classes, with their numbers, and the display mappings.
#pragma once

#include "kavstd/exception.h"

struct vx_ErrorMembers; // What the classes below share; in the source.

/// A scope for the library's error classes and for FrequencyMapping. It has no data and no behaviour of its
/// own.
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
    /// Shares the text, so that copying cannot throw.
    Errors(const Errors&) noexcept = default;
    /// Shares the text.
    Errors& operator=(const Errors&) noexcept = default;
    ~Errors() override;
    long errorNumber() const override = 0;
    void suicideAndRethrow() override = 0;

protected:
    /// A null message gives an empty text.
    explicit Errors(const char* message = nullptr) : vxExceptionWithString(message) {}
    void dispatchSerialize(vxArchive& archive) override;
    /// Throws vxArchive::UnknownVersion with the class's name for a version other than 0.
    void serialize_(vxArchive& archive, unsigned char version);

private:
    friend struct vx_ErrorMembers;
};

/// A filter parameter out of range. Number 0x10006300.
class VX_EXPORT vxFrequencyDefs::InvalidArgument : public vxFrequencyDefs::Errors {
public:
    /// A null message gives an empty text. Copies share it, so that they cannot throw.
    explicit InvalidArgument(const char* message = nullptr) : Errors(message) {}
    InvalidArgument(const InvalidArgument&) noexcept = default;
    /// Shares the text.
    InvalidArgument& operator=(const InvalidArgument&) noexcept = default;
    ~InvalidArgument() override;
    [[nodiscard]] long errorNumber() const override;
    void suicideAndRethrow() override;

protected:
    void dispatchSerialize(vxArchive& archive) override;
    /// As Errors::serialize_.
    void serialize_(vxArchive& archive, unsigned char version);

private:
    friend struct vx_ErrorMembers;
    static vxPersistent* make();
    static const vx_Instantiator sExemplar;
};

/// A buffer or filter used before it holds data. Number 0x10006301.
class VX_EXPORT vxFrequencyDefs::Uninitialized : public vxFrequencyDefs::Errors {
public:
    /// A null message gives an empty text. Copies share it, so that they cannot throw.
    explicit Uninitialized(const char* message = nullptr) : Errors(message) {}
    Uninitialized(const Uninitialized&) noexcept = default;
    /// Shares the text.
    Uninitialized& operator=(const Uninitialized&) noexcept = default;
    ~Uninitialized() override;
    [[nodiscard]] long errorNumber() const override;
    void suicideAndRethrow() override;

protected:
    void dispatchSerialize(vxArchive& archive) override;
    /// As Errors::serialize_.
    void serialize_(vxArchive& archive, unsigned char version);

private:
    friend struct vx_ErrorMembers;
    static vxPersistent* make();
    static const vx_Instantiator sExemplar;
};

/// Sizes that are too large, unequal, or not powers of two. Number 0x10006302.
class VX_EXPORT vxFrequencyDefs::InvalidSize : public vxFrequencyDefs::Errors {
public:
    /// A null message gives an empty text. Copies share it, so that they cannot throw.
    explicit InvalidSize(const char* message = nullptr) : Errors(message) {}
    InvalidSize(const InvalidSize&) noexcept = default;
    /// Shares the text.
    InvalidSize& operator=(const InvalidSize&) noexcept = default;
    ~InvalidSize() override;
    [[nodiscard]] long errorNumber() const override;
    void suicideAndRethrow() override;

protected:
    void dispatchSerialize(vxArchive& archive) override;
    /// As Errors::serialize_.
    void serialize_(vxArchive& archive, unsigned char version);

private:
    friend struct vx_ErrorMembers;
    static vxPersistent* make();
    static const vx_Instantiator sExemplar;
};

/// An input image that is not bound to pels; it carries no message. Number 0x10006303.
class VX_EXPORT vxFrequencyDefs::UnboundWindow : public vxFrequencyDefs::Errors {
public:
    /// A null message gives an empty text. Copies share it, so that they cannot throw.
    explicit UnboundWindow(const char* message = nullptr) : Errors(message) {}
    UnboundWindow(const UnboundWindow&) noexcept = default;
    /// Shares the text.
    UnboundWindow& operator=(const UnboundWindow&) noexcept = default;
    ~UnboundWindow() override;
    [[nodiscard]] long errorNumber() const override;
    void suicideAndRethrow() override;

protected:
    void dispatchSerialize(vxArchive& archive) override;
    /// As Errors::serialize_.
    void serialize_(vxArchive& archive, unsigned char version);

private:
    friend struct vx_ErrorMembers;
    static vxPersistent* make();
    static const vx_Instantiator sExemplar;
};

/// A frequency buffer whose samples an in-place inverse has consumed. Number 0x10006304.
class VX_EXPORT vxFrequencyDefs::InvalidBuffer : public vxFrequencyDefs::Errors {
public:
    /// A null message gives an empty text. Copies share it, so that they cannot throw.
    explicit InvalidBuffer(const char* message = nullptr) : Errors(message) {}
    InvalidBuffer(const InvalidBuffer&) noexcept = default;
    /// Shares the text.
    InvalidBuffer& operator=(const InvalidBuffer&) noexcept = default;
    ~InvalidBuffer() override;
    [[nodiscard]] long errorNumber() const override;
    void suicideAndRethrow() override;

protected:
    void dispatchSerialize(vxArchive& archive) override;
    /// As Errors::serialize_.
    void serialize_(vxArchive& archive, unsigned char version);

private:
    friend struct vx_ErrorMembers;
    static vxPersistent* make();
    static const vx_Instantiator sExemplar;
};

/// Sample coordinates outside the buffer. Number 0x10006305.
class VX_EXPORT vxFrequencyDefs::BadCoord : public vxFrequencyDefs::Errors {
public:
    /// A null message gives an empty text. Copies share it, so that they cannot throw.
    explicit BadCoord(const char* message = nullptr) : Errors(message) {}
    BadCoord(const BadCoord&) noexcept = default;
    /// Shares the text.
    BadCoord& operator=(const BadCoord&) noexcept = default;
    ~BadCoord() override;
    [[nodiscard]] long errorNumber() const override;
    void suicideAndRethrow() override;

protected:
    void dispatchSerialize(vxArchive& archive) override;
    /// As Errors::serialize_.
    void serialize_(vxArchive& archive, unsigned char version);

private:
    friend struct vx_ErrorMembers;
    static vxPersistent* make();
    static const vx_Instantiator sExemplar;
};
