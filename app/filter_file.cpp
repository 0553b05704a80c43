#include "app/filter_file.h"

#include "app/errors.h"
#include "app/image.h"
#include "app/input_file.h"
#include "app/words.h"

#include <bit>
#include <new>
#include <sstream>
#include <string>
#include <string_view>

namespace app {
namespace {

namespace fs = std::filesystem;

FilterPointer load(std::istream& file) {
    vxPersistent* loaded = nullptr;
    vxInputArchive archive(file);
    archive || loaded;
    std::unique_ptr<vxPersistent> object(loaded);
    if (!object) {
        throw UnreadableError("the archive holds no filter");
    }
    auto* const filter = dynamic_cast<vxFrequencyFilter*>(object.get());
    if (filter == nullptr) {
        throw UnreadableError("the archive holds something else than a filter");
    }
    if (file.peek() != std::istream::traits_type::eof()) {
        throw UnreadableError("the file goes on after the filter");
    }
    object.release(); // NOLINT(bugprone-unused-return-value): it is the filter.
    return FilterPointer(filter);
}

bool isTransformSize(long size) {
    return size >= 1 && size <= maximumSize && std::has_single_bit(static_cast<unsigned long>(size));
}

// An archive may hold any table of gains, so it is tried out.
void checkApplicable(const vxFrequencyFilter& filter) {
    const std::optional<FilterDescription> filterIs = describe(filter);
    if (!filterIs) {
        throw UnreadableError("it is a filter of an unknown kind");
    }
    const vxPair<long> size = filterIs->size;
    if (!isTransformSize(size.x()) || !isTransformSize(size.y())) {
        throw UnreadableError("it is a filter for " + app::size(size.x(), size.y()) +
                              " spectra, which no image has");
    }
    checkFilter(filterIs->parameters);
    const PelStatistics magnitudes = statistics(gains(filter, size).getMagnitudeImage(false));
    if (magnitudes.notFinite > 0) {
        throw UnreadableError("the filter's gains are not finite");
    }
}

} // namespace

void checkFilterFormat(const fs::path& path) {
    if (path.extension() != ".kav") {
        throw UsageError("a filter's file is named .kav, not " + path.string());
    }
}

std::string filterBytes(vxFrequencyFilter& filter) {
    std::ostringstream stream;
    vxOutputArchive archive(stream);
    vxPersistent* object = &filter;
    try {
        archive || object;
        archive.flush();
    } catch (const vxArchive::WriteFailed&) {
        throw std::bad_alloc(); // A stream in memory fails for no other reason.
    }
    return stream.str();
}

void writeFilter(const fs::path& path, vxFrequencyFilter& filter, Overwrite overwrite) {
    checkFilterFormat(path);
    const std::string bytes = filterBytes(filter);
    writeFile(path, {reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size()}, overwrite);
}

FilterPointer readFilter(std::istream& file) {
    try {
        FilterPointer filter = load(file);
        checkApplicable(*filter);
        return filter;
    } catch (const vxException& error) {
        throw UnreadableError(error.what());
    } catch (const UsageError& error) {
        throw UnreadableError(error.what());
    }
}

BuiltFilter readFilter(const fs::path& path) {
    return {path.string(), readInput(path, [](std::istream& file) { return readFilter(file); })};
}

bool isArchive(std::istream& file) {
    constexpr std::string_view magic = "KAVARCH\n";
    char start[magic.size()] = {};
    file.read(start, sizeof start);
    const bool found = std::string_view(start, static_cast<std::size_t>(file.gcount())) == magic;
    file.clear();
    file.seekg(0);
    return found;
}

} // namespace app
