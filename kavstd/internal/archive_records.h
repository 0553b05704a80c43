/// \file
/// Records that several classes are made of.
#pragma once

#include "kavstd/archive.h"

#include <limits>
#include <string>

/// The version byte of one class's record, always 0.
inline void vf_ArchiveVersion(vxArchive& archive, const char* className) {
    unsigned char version = 0;
    archive || version;
    if (version != 0) {
        throw vxArchive::UnknownVersion(className, 0);
    }
}

/// The text record: the length as unsigned long, then the characters, none of them zero. Loading grows the
/// text only as its characters arrive, so no length is believed; one above `limit` is Malformed, and so is a
/// zero character. On failure `text` stays as it was.
inline void vf_ArchiveText(vxArchive& archive, std::string& text,
                           unsigned long limit = std::numeric_limits<unsigned long>::max()) {
    unsigned long length = static_cast<unsigned long>(text.size());
    archive || length;
    if (length > limit) {
        archive.refuse("a text that is too long");
    }
    std::string staged;
    for (unsigned long i = 0; i < length; ++i) {
        unsigned char character = archive.isLoading() ? 0 : static_cast<unsigned char>(text[i]);
        archive || character;
        if (character == 0) {
            archive.refuse("a zero character in a text");
        }
        if (archive.isLoading()) {
            staged.push_back(static_cast<char>(character));
        }
    }
    if (archive.isLoading()) {
        text.swap(staged);
    }
}
