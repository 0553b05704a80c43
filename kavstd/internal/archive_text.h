/// \file
/// The text record: the length as unsigned long, then the characters.
#pragma once

#include "kavstd/archive.h"

#include <string>

/// Stores or loads a text without zero characters. Loading grows the text only as its characters arrive, so
/// no length is believed; one above `limit` is Malformed, and so is a zero character. On failure `text` stays
/// as it was.
inline void vf_ArchiveText(vxArchive& archive, std::string& text, unsigned long limit) {
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
