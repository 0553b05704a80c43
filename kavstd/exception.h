/// \file
/// Exceptions that carry a number, can be archived, and can be thrown again from a heap copy.
#pragma once

#include "kavstd/persistent.h"

#include <atomic>
#include <exception>
#include <iosfwd>
#include <memory>
#include <string>

/// Base of the toolkit's exceptions. Thrown by value; also a std::exception, so that ordinary handlers catch
/// it.
class VX_EXPORT vxException : public vxPersistent, public std::exception {
public:
    ~vxException() override;

    /// The number of the exception's class, part of the interface of its library.
    [[nodiscard]] virtual long errorNumber() const = 0;
    /// Deletes this object, which must have been made with new, and throws a copy of it as its own class.
    virtual void suicideAndRethrow() = 0;
    /// Writes the message. Default: the name of the class.
    virtual void message_(std::ostream& stream) const;

    /// What message_ writes, whichever class overrides it, or a general text when there is no memory for it.
    /// Valid as long as the object. Several threads may call it at once.
    [[nodiscard]] const char* what() const noexcept override;

protected:
    vxException() noexcept;
    /// A copy renders its text anew.
    vxException(const vxException&) noexcept;
    /// The text is rendered anew; what() of before stays valid.
    vxException& operator=(const vxException&) noexcept;
    /// Archives the message text of a vxExceptionWithString too, so that it survives whether a derived error
    /// dispatches to that class or straight to this one.
    void dispatchSerialize(vxArchive& archive) override;

    /// What message_ writes, kept for the life of the object; `fallback` when that fails.
    [[nodiscard]] const char* rendered(const char* fallback) const noexcept;

private:
    struct Text;
    mutable std::atomic<const Text*> texts_ = nullptr; // Each text that what() has handed out, latest first.
};

/// An exception with a message text, which is archived with it.
class VX_EXPORT vxExceptionWithString : public vxException {
public:
    /// A null message gives an empty text.
    explicit vxExceptionWithString(const char* message = nullptr);
    /// Copies share the text, so that they cannot throw.
    vxExceptionWithString(const vxExceptionWithString&) noexcept;
    /// Shares the text.
    vxExceptionWithString& operator=(const vxExceptionWithString&) noexcept;
    ~vxExceptionWithString() override;

    void message_(std::ostream& stream) const override;
    /// As vxException::what; without memory it is the plain text, valid until that changes.
    [[nodiscard]] const char* what() const noexcept override;

protected:
    void dispatchSerialize(vxArchive& archive) override;

private:
    friend class vxException; // Archives the text.
    void archiveText(vxArchive& archive);

    std::shared_ptr<const std::string> text_; // Null when empty.
};

/// What a concrete error adds to vxExceptionWithString: its number, throwing again as its own class, and a
/// factory for the registry. `Error` is the class that derives from this one:
///
///     class VX_EXPORT BadSize : public vx_ConcreteError<BadSize, 0x10006299> {
///     public:
///         using vx_ConcreteError::vx_ConcreteError;
///         ~BadSize() override; // defined in the source file, the one home of the type information
///     };
///
/// and in the source file, so that archives can re-create it:
///
///     vx_Instantiator badSize(typeid(BadSize), BadSize::make);
template <class Error, long number>
class VX_EXPORT vx_ConcreteError : public vxExceptionWithString {
public:
    using vxExceptionWithString::vxExceptionWithString;

    /// The number of the class.
    [[nodiscard]] long errorNumber() const override { return number; }

    /// Deletes this object, which must have been made with new, and throws a copy of it as `Error`.
    void suicideAndRethrow() override {
        const Error copy(static_cast<const Error&>(*this));
        delete this;
        throw copy;
    }

    /// The registry's factory: a new error without a message, which the caller deletes.
    [[nodiscard]] static vxPersistent* make() { return new Error; }
};
