/// \file
/// Filters as the bytes of a file.
#pragma once

#include "kavstd/archive.h"
#include "tests/app/files.h"

#include <sstream>

/// The archive of an object by pointer, which may be null.
inline Bytes archiveOf(vxPersistent* object) {
    std::ostringstream stream;
    vxOutputArchive archive(stream);
    archive || object;
    return bytesOf(stream.str());
}
