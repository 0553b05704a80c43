// Any bytes are a PGM image or refused.
#include "app/pgm_file.h"
#include "fuzz/app/image_reader.h"

void fuzz::run(Bytes input) {
    checkReader(app::readPgm, app::encodePgm, input.text());
}
