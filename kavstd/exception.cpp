#include "kavstd/exception.h"

#include "kavstd/archive.h"
#include "kavstd/internal/archive_records.h"
#include "kavstd/internal/registry.h"

#include <locale>
#include <ostream>
#include <sstream>
#include <utility>

struct vxException::Text {
    const Text* older;
    std::string text;
};

vxException::vxException() noexcept = default;

// Texts that were handed out belong to the object that handed them out.
vxException::vxException(const vxException& other) noexcept : vxPersistent(other), std::exception(other) {}

vxException& vxException::operator=(const vxException& other) noexcept {
    vxPersistent::operator=(other);
    std::exception::operator=(other);
    return *this;
}

vxException::~vxException() {
    for (const Text* text = texts_.load(); text != nullptr;) {
        const Text* older = text->older;
        delete text;
        text = older;
    }
}

void vxException::message_(std::ostream& stream) const {
    stream << vf_TypeName(typeid(*this));
}

const char* vxException::what() const noexcept {
    return rendered("The message is not available.");
}

const char* vxException::rendered(const char* fallback) const noexcept {
    try {
        std::ostringstream stream;
        stream.imbue(std::locale::classic());
        message_(stream);
        if (!stream) {
            return fallback; // A string stream hides that memory ran out.
        }
        auto rendered = std::make_unique<Text>(Text{texts_.load(), stream.str()});
        for (const Text* text = rendered->older; text != nullptr; text = text->older) {
            if (text->text == rendered->text) {
                return text->text.c_str();
            }
        }
        // Another thread may add a text meanwhile, at worst the same one.
        while (!texts_.compare_exchange_weak(rendered->older, rendered.get())) {
        }
        return rendered.release()->text.c_str();
    } catch (...) {
        return fallback;
    }
}

void vxException::dispatchSerialize(vxArchive& archive) {
    if (haveVisited(archive, this, sizeof(vxException))) {
        return;
    }
    vf_ArchiveVersion(archive, "vxException");
    vxPersistent::dispatchSerialize(archive);
    if (auto* withString = dynamic_cast<vxExceptionWithString*>(this)) {
        withString->archiveText(archive);
    }
    setVisited(archive, this, sizeof(vxException));
}

vxExceptionWithString::vxExceptionWithString(const char* message)
    : text_(message == nullptr || *message == '\0' ? nullptr : std::make_shared<const std::string>(message)) {
}

vxExceptionWithString::vxExceptionWithString(const vxExceptionWithString&) noexcept = default;
vxExceptionWithString& vxExceptionWithString::operator=(const vxExceptionWithString&) noexcept = default;
vxExceptionWithString::~vxExceptionWithString() = default;

void vxExceptionWithString::message_(std::ostream& stream) const {
    if (text_) {
        stream << *text_;
    }
}

const char* vxExceptionWithString::what() const noexcept {
    return rendered(text_ ? text_->c_str() : "");
}

void vxExceptionWithString::dispatchSerialize(vxArchive& archive) {
    if (haveVisited(archive, this, sizeof(vxExceptionWithString))) {
        return;
    }
    vf_ArchiveVersion(archive, "vxExceptionWithString");
    vxException::dispatchSerialize(archive); // The text too.
    setVisited(archive, this, sizeof(vxExceptionWithString));
}

void vxExceptionWithString::archiveText(vxArchive& archive) {
    std::string text = text_ ? *text_ : std::string();
    vf_ArchiveText(archive, text);
    if (archive.isLoading()) {
        auto staged = text.empty() ? nullptr : std::make_shared<const std::string>(std::move(text));
        archive.onRollback([this, before = text_]() mutable { text_.swap(before); });
        text_ = std::move(staged);
    }
}
