// Any bytes are an archive: a load gets through or throws one of the toolkit's errors, and what was loaded
// stores and loads again to the same bytes. The first byte chooses what is loaded, so that each kind gets its
// share; the second chooses the type of an object.
#include "kavstd/archive.h"
#include "kavstd/xform.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace {

constexpr unsigned kinds = 5;

/// One of everything that the archive itself knows.
struct Everything {
    bool flag = false;
    unsigned char byte = 0;
    long number = 0;
    unsigned long count = 0;
    float single = 0.0F;
    double wide = 0.0;
    vxPair<long> pair;
    vxPair<double> position;
    std::vector<float> values;
    vx2XformCache xforms;
    vxArchive::UnknownVersion error;
    std::unique_ptr<vxPersistent> object;

    void archive(vxArchive& archive, unsigned kind) {
        switch (kind % kinds) {
        case 0:
            archive || flag || byte || number || count || single || wide || pair || position;
            break;
        case 1:
            archive || values;
            break;
        case 2:
            archive || xforms || error;
            break;
        default:
            archiveObject(archive);
        }
    }

private:
    void archiveObject(vxArchive& archive) {
        vxPersistent* raw = object.get();
        archive || raw;
        if (archive.isLoading()) {
            object.reset(raw);
        }
    }
};

std::string store(Everything& everything, unsigned kind) {
    std::ostringstream stream;
    vxOutputArchive archive(stream);
    everything.archive(archive, kind);
    return stream.str();
}

bool load(Everything& everything, unsigned kind, const std::string& bytes) {
    std::istringstream stream(bytes);
    try {
        vxInputArchive archive(stream);
        everything.archive(archive, kind);
        return true;
    } catch (const vxException& error) {
        return *error.what() == '\0'; // Never: every error says what was wrong.
    }
}

/// What precedes the fuzzed bytes: the header, and for the last kind the beginning of an object of a known
/// type, whose name the fuzzer need not find out.
std::string prefix(unsigned kind, unsigned type) {
    const std::vector<std::string> names = {"vx2XformLinear", "vxArchive::UnknownVersion",
                                            "vxArchive::Malformed", "vxFrequencyDefs::InvalidSize"};
    std::ostringstream stream;
    vxOutputArchive archive(stream);
    if (kind % kinds == kinds - 1) {
        bool present = true;
        std::string name = names[type % names.size()];
        unsigned long length = name.size();
        archive || present || length;
        stream << name;
    }
    return stream.str();
}

void require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 2) {
        return 0;
    }
    const unsigned kind = data[0];
    std::string bytes = prefix(kind, data[1]);
    bytes.append(reinterpret_cast<const char*>(data + 2), size - 2);
    Everything everything;
    if (load(everything, kind, bytes)) {
        const std::string stored = store(everything, kind);
        require(bytes.compare(0, stored.size(), stored) == 0);
        Everything again;
        require(load(again, kind, stored));
        require(store(again, kind) == stored);
    }
    return 0;
}
