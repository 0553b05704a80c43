// Any bytes are an archive: a load gets through or throws one of the toolkit's errors, and what was loaded
// stores and loads again to the same bytes. The first byte chooses what is loaded, so that each kind gets its
// share. Objects by pointer have a target of their own.
#include "fuzz/support/target.h"
#include "kavstd/archive.h"
#include "kavstd/xform.h"

#include <sstream>
#include <string>
#include <vector>

namespace {

constexpr unsigned kinds = 3;

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
    vxRadian angle;
    std::vector<float> values;
    vx2XformCache xforms;
    vxArchive::UnknownVersion error{"none", 7};

    void archive(vxArchive& archive, unsigned kind) {
        switch (kind) {
        case 0:
            archive || flag || byte || number || count || single || wide || pair || position || angle;
            break;
        case 1:
            archive || values;
            break;
        default:
            archive || xforms || error;
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
    return fuzz::attempt([&] {
               vxInputArchive archive(stream);
               everything.archive(archive, kind);
           }) == fuzz::Outcome::done;
}

// With failing allocations another attempt may fail where the first one did not, but never give anything
// else.
void checkMirror(Everything& loaded, unsigned kind, const std::string& bytes) {
    const std::string stored = store(loaded, kind);
    fuzz::require(bytes.compare(0, stored.size(), stored) == 0, "a load mirrors the store");
    Everything again;
    if (load(again, kind, stored)) {
        fuzz::require(store(again, kind) == stored, "the same bytes a second time");
    }
}

} // namespace

void fuzz::run(Bytes input) {
    const unsigned kind = input.below(kinds);
    const bool hasHeader = input.flag();
    std::string bytes = hasHeader ? "KAVARCH\n\1" : "";
    bytes += input.text();
    Everything everything;
    const std::string before = store(everything, kind);
    if (load(everything, kind, bytes)) {
        checkMirror(everything, kind, bytes);
    } else if (kind == 1) {
        require(store(everything, kind) == before, "a failed load changes nothing");
    }
}
