// Memory that runs out anywhere: readers, writers and filters end with an exception, leak nothing and leave
// files alone.
#include "app/atomic_file.h"
#include "app/errors.h"
#include "app/filter_file.h"
#include "app/filtering.h"
#include "app/pgm_file.h"
#include "app/png_file.h"
#include "app/tiff_file.h"
#include "tests/app/archives.h"
#include "tests/app/images.h"
#include "tests/support/failing_allocation.h"

#include <gtest/gtest.h>

namespace {

using app::Depth;
using failing_allocation::failEachAllocation;

// A format library that is told of a failure reports it as its own error.
template <class Operation>
void reportedAsBadAlloc(const Operation& operation) {
    try {
        operation();
    } catch (const app::WriteError&) {
        throw std::bad_alloc();
    } catch (const app::UnreadableError&) {
        throw std::bad_alloc();
    }
}

// Returns how many allocations were made to fail.
template <class Operation>
long failEach(const Operation& operation) {
    return failEachAllocation([&] { reportedAsBadAlloc(operation); }, [](bool threw) { EXPECT_TRUE(threw); });
}

struct Format {
    Reader read;
    Bytes (*encode)(const app::Image&);
};

constexpr Format formats[] = {
    {app::readPgm, app::encodePgm}, {app::readPng, app::encodePng}, {app::readTiff, app::encodeTiff}};

TEST(Allocation, MayFailAnywhereInWriters) {
    const app::Image image = patternImage(40, 30, Depth::bits16);
    for (const Format& format : formats) {
        const Bytes expected = format.encode(image);
        Bytes bytes;
        EXPECT_GT(failEach([&] { bytes = format.encode(image); }), 2);
        EXPECT_EQ(bytes, expected);
    }
}

TEST(Allocation, MayFailAnywhereInReaders) {
    const app::Image image = patternImage(40, 30, Depth::bits16);
    for (const Format& format : formats) {
        const Bytes bytes = format.encode(image);
        std::istringstream file(std::string(bytes.begin(), bytes.end()));
        app::Image back;
        const long failures = failEach([&] {
            file.clear();
            file.seekg(0);
            back = format.read(file);
        });
        EXPECT_GT(failures, 1);
        EXPECT_EQ(pelsOf(back), pelsOf(image));
    }
}

TEST(Allocation, MayFailAnywhereInTheAtomicWriter) {
    const TemporaryFolder folder;
    const Bytes old = bytesOf("old");
    const Bytes written = bytesOf("new");
    writeBytes(folder / "out", old);
    const std::filesystem::path path = folder / "out";
    const long failures = failEachAllocation([&] { app::writeFile(path, written, app::Overwrite::force); },
                                             [&](bool threw) {
                                                 EXPECT_TRUE(threw);
                                                 EXPECT_EQ(readBytes(path), old);
                                                 EXPECT_EQ(folder.names().size(), 1U);
                                             });
    EXPECT_GT(failures, 2);
    EXPECT_EQ(readBytes(path), written);
}

TEST(Allocation, MayFailAnywhereInTheReaderOfFilters) {
    for (const std::string& type : app::filterTypes()) {
        app::FilterParameters parameters;
        parameters.type = type;
        if (type == "image") {
            parameters.kernel = patternImage(3, 3, Depth::bits8);
        } else {
            parameters.frequency = 0.2;
            parameters.sigma = 0.05;
            parameters.pair = false;
        }
        const Bytes bytes = archiveOf(app::makeFilter(parameters, {16, 8}).get());
        std::istringstream file(std::string(bytes.begin(), bytes.end()));
        app::FilterPointer loaded;
        const long failures = failEachAllocation(
            [&] {
                file.clear();
                file.seekg(0);
                loaded = app::readFilter(file);
            },
            [&](bool threw) {
                EXPECT_TRUE(threw);
                EXPECT_EQ(loaded, nullptr);
            });
        EXPECT_GT(failures, 8) << type;
        EXPECT_EQ(archiveOf(loaded.get()), bytes) << type;
    }
}

TEST(Allocation, MayFailAnywhereInAFilterRun) {
    const app::Image image = patternImage(20, 10, Depth::bits8);
    app::FilterSettings settings;
    settings.filter = {"bandpass", 0.2, 0.04, 0, 0};
    const std::vector<double> expected = pelsOf(app::filterImage(image, settings).image);
    app::FilterResult result;
    EXPECT_GT(failEach([&] { result = app::filterImage(image, settings); }), 8);
    EXPECT_EQ(pelsOf(result.image), expected);
}

} // namespace
