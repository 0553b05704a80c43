// Any bytes are a PGM image or refused with an UnreadableError; an image that was read can be written and
// read again.
#include "app/errors.h"
#include "app/pgm_file.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>

namespace {

app::Image read(const std::string& bytes) {
    std::istringstream file(bytes);
    return app::readPgm(file);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    app::Image image;
    try {
        image = read(std::string(data, data + size));
    } catch (const app::UnreadableError&) {
        return 0;
    }
    const std::vector<unsigned char> written = app::encodePgm(image);
    const app::Image back = read(std::string(written.begin(), written.end()));
    if (back.depth != image.depth || back.pels.width() != image.pels.width() ||
        back.pels.height() != image.pels.height()) {
        std::abort();
    }
    return 0;
}
