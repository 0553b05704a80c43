// Any bytes are one filter or refused with an UnreadableError; a filter that was read can be applied, and
// stored and read again to the same bytes. The first byte chooses the type, whose name the fuzzer need not
// find out; above the types, the whole file is the fuzzer's.
#include "app/errors.h"
#include "app/filter_file.h"
#include "fuzz/support/target.h"

#include <sstream>
#include <string>
#include <vector>

namespace {

std::string prefix(unsigned type) {
    const std::vector<std::string> names = {"vxFrequencyFilterBandPass", "vxFrequencyFilterBandReject",
                                            "vxFrequencyFilterGabor", "vxFrequencyFilterGaborReject",
                                            "vxFrequencyFilterImage"};
    std::ostringstream stream;
    if (type < names.size()) {
        vxOutputArchive archive(stream);
        bool present = true;
        unsigned long length = names[type].size();
        archive || present || length;
        stream << names[type];
    }
    return stream.str();
}

/// Null when it is refused or there is no memory.
app::FilterPointer read(const std::string& bytes) {
    app::FilterPointer filter;
    std::istringstream file(bytes);
    try {
        fuzz::attempt([&] { filter = app::readFilter(file); });
    } catch (const app::UnreadableError& error) {
        fuzz::require(fuzz::memoryIsScarce() || *error.what() != '\0', "an error has a text");
    }
    return filter;
}

std::string store(vxFrequencyFilter& filter) {
    std::ostringstream stream;
    vxOutputArchive archive(stream);
    vxPersistent* object = &filter;
    archive || object;
    return stream.str();
}

} // namespace

void fuzz::run(Bytes input) {
    std::string bytes = prefix(input.byte());
    bytes += input.text();
    const app::FilterPointer filter = read(bytes);
    if (!filter) {
        return;
    }
    const vxPair<long> filterSize = app::describe(*filter).value().size;
    attempt([&] {
        vxFrequencyBuffer spectrum(filterSize.x(), filterSize.y());
        app::applyFilter(*filter, spectrum);
    });
    const std::string stored = store(*filter);
    const app::FilterPointer again = read(stored);
    require(!again || store(*again) == stored, "the same bytes a second time");
}
