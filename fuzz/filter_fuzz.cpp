// Any bytes are one filter or refused with an UnreadableError; a filter that was read can be applied, and
// stored and read again to the same bytes. The first byte chooses the type, whose name the fuzzer need not
// find out; above the types, the whole file is the fuzzer's.
#include "app/errors.h"
#include "app/filter_file.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
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

app::FilterPointer read(const std::string& bytes) {
    std::istringstream file(bytes);
    return app::readFilter(file);
}

std::string store(vxFrequencyFilter& filter) {
    std::ostringstream stream;
    vxOutputArchive archive(stream);
    vxPersistent* object = &filter;
    archive || object;
    return stream.str();
}

void require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 1) {
        return 0;
    }
    std::string bytes = prefix(data[0]);
    bytes.append(reinterpret_cast<const char*>(data + 1), size - 1);
    app::FilterPointer filter;
    try {
        filter = read(bytes);
    } catch (const app::UnreadableError&) {
        return 0;
    }
    const vxPair<long> filterSize = app::describe(*filter).value().size;
    vxFrequencyBuffer spectrum(filterSize.x(), filterSize.y());
    app::applyFilter(*filter, spectrum);
    const std::string stored = store(*filter);
    require(store(*read(stored)) == stored);
    return 0;
}
