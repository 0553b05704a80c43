// Loads a filter of any type, without naming one. With static libraries, too, the filters must be there to be
// found.
#include <filt/freqfilt/filter.h>
#include <kavstd/archive.h>

#include <fstream>
#include <iostream>
#include <memory>

int main(int argc, char** argv) {
    try {
        std::ifstream file(argc > 1 ? argv[1] : "", std::ios::binary);
        vxInputArchive archive(file);
        vxPersistent* object = nullptr;
        archive || object;
        const std::unique_ptr<vxPersistent> owner(object);
        return dynamic_cast<const vxFrequencyFilter*>(object) != nullptr ? 0 : 1;
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
        return 1;
    }
}
