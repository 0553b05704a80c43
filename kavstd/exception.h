/// \file
/// Exceptions that carry a number, can be archived, and can be thrown again from a heap copy.
#pragma once

#include "kavstd/persistent.h"

#include <exception>
#include <iosfwd>
#include <memory>
#include <string>

/// Base of the toolkit's exceptions. Thrown by value; also a std::exception, so that ordinary handlers catch it.
class VX_EXPORT vxException : public vxPersistent, public std::exception {
public:
    ~vxException() override;

    /// The number of the exception's class, part of the interface of its library.
    [[nodiscard]] virtual long errorNumber() const = 0;
    /// Deletes this object, which must have been made with new, and throws a copy of it as its own class.
    virtual void suicideAndRethrow() = 0;
    /// Writes the message.
    virtual void message_(std::ostream& stream) const;

    /// The message. Valid as long as the object.
    [[nodiscard]] const char* what() const noexcept override;

protected:
    vxException() noexcept;
    vxException(const vxException&) noexcept;
    vxException& operator=(const vxException&) noexcept;
    void dispatchSerialize(vxArchive& archive) override;
};

/// An exception with a message text, which is archived with it.
class VX_EXPORT vxExceptionWithString : public vxException {
public:
    /// A null message gives an empty text.
    explicit vxExceptionWithString(const char* message = nullptr);
    /// Copies share the text, so that they cannot throw.
    vxExceptionWithString(const vxExceptionWithString&) noexcept;
    vxExceptionWithString& operator=(const vxExceptionWithString&) noexcept;
    ~vxExceptionWithString() override;

    void message_(std::ostream& stream) const override;
    [[nodiscard]] const char* what() const noexcept override;

protected:
    void dispatchSerialize(vxArchive& archive) override;

private:
    std::shared_ptr<const std::string> text_;
};
