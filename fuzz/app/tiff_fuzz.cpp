// Any bytes are a TIFF image or refused.
#include "app/tiff_file.h"
#include "fuzz/app/image_reader.h"

void fuzz::run(Bytes input) {
    checkReader(app::readTiff, app::encodeTiff, input.text());
}
