// Memory that runs out anywhere: readers, writers and filters end with an exception, leak nothing and leave
// files alone.
#include "app/atomic_file.h"
#include "app/batch.h"
#include "app/errors.h"
#include "app/filter_file.h"
#include "app/filtering.h"
#include "app/image_file.h"
#include "app/json.h"
#include "app/pgm_file.h"
#include "app/png_file.h"
#include "app/recipe.h"
#include "app/recipe_code.h"
#include "app/tiff_file.h"
#include "tests/app/archives.h"
#include "tests/app/images.h"
#include "tests/support/failing_allocation.h"

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <memory>
#include <sstream>

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

struct Failure {
    bool happened;
    bool threw; // std::bad_alloc came out.
};

// Runs it with the allocation after so many failing, and all after that too if it is for good.
Failure failAfter(long successes, bool forGood, const std::function<void()>& operation) {
    const failing_allocation::Scope scope(successes, forGood);
    try {
        operation();
    } catch (const std::bad_alloc&) {
        return {scope.failed(), true};
    }
    return {scope.failed(), false};
}

// Each allocation fails once, and then that one and all after it. What was allocated is released again.
// Returns how many were made to fail.
long failEachOnceAndForGood(const std::function<void()>& operation,
                            const std::function<void()>& afterFailure) {
    operation(); // What a first run leaves in the system's own caches is no leak.
    long failures = 0;
    for (const bool forGood : {false, true}) {
        bool failed = true;
        for (long successes = 0; failed; ++successes) {
            const long livingBefore = failing_allocation::living;
            const Failure failure = failAfter(successes, forGood, operation);
            EXPECT_EQ(failing_allocation::living, livingBefore) << successes;
            EXPECT_EQ(failure.threw, failure.happened) << successes;
            failed = failure.happened;
            if (failed) {
                afterFailure();
                ++failures;
            }
        }
    }
    return failures;
}

void failEachOnceAndForGood(const std::function<void()>& operation, long fewest) {
    EXPECT_GT(failEachOnceAndForGood(operation, [] {}), fewest);
}

const std::string recipes[] = {
    R"({"kavfilt": 1, "filter": {"type": "bandreject", "period": 8, "sigma": 0.01, "plateau": 0.1, "dc": 1}})",
    R"({"kavfilt": 1, "filter": {"type": "gabor", "frequency": 0.2, "sigma": [0.02, 0.05], "angle": 30,
        "pair": true}, "padding": "zero", "part": "magnitude", "range": "clip", "depth": 16})",
    R"({"kavfilt": 1, "filter": {"type": "gabor-reject", "frequency": 0.1, "sigma": 0.1, "angle": -77.7}})",
    R"({"kavfilt": 1, "filter": {"type": "image", "kernel": "k.pgm", "unit": true}, "depth": "float"})",
};

class RecipeAllocation : public testing::TestWithParam<std::string> {
protected:
    RecipeAllocation() {
        app::writeImage(folder / "k.pgm", patternImage(3, 2, Depth::bits8), app::Overwrite::refuse);
        writeBytes(folder / "r.json", bytesOf(GetParam()));
        recipe = app::readRecipe(folder / "r.json");
        settings = app::settingsOf(recipe);
        old = bytesOf("old");
    }
    // A file is the old one after each failure, and in the end the new one; there are no others.
    void writeOverOld(const std::string& name, const std::function<void(const std::filesystem::path&)>& write,
                      long fewest) {
        const std::filesystem::path path = folder / name;
        write(path);
        const Bytes expected = readBytes(path);
        const std::size_t files = folder.names().size();
        const long failures = failEachOnceAndForGood(
            [&] {
                writeOld(path);
                write(path);
            },
            [&] {
                EXPECT_EQ(readBytes(path), old);
                EXPECT_EQ(folder.names().size(), files);
            });
        EXPECT_GT(failures, fewest);
        EXPECT_EQ(readBytes(path), expected);
        EXPECT_NE(expected, old);
    }

    const TemporaryFolder folder;
    app::Recipe recipe;
    app::FilterSettings settings;
    Bytes old;

private:
    // Without C++ allocations: those are to fail in what follows.
    void writeOld(const std::filesystem::path& path) const {
        const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "wb"),
                                                                   std::fclose);
        EXPECT_EQ(std::fwrite(old.data(), 1, old.size(), file.get()), old.size());
    }
};

INSTANTIATE_TEST_SUITE_P(Types, RecipeAllocation, testing::ValuesIn(recipes));

TEST_P(RecipeAllocation, MayFailAnywhereInReading) {
    const std::string expected = app::recipeText(recipe);
    failEachOnceAndForGood(
        [&] {
            const app::Recipe read = app::readRecipe(folder / "r.json");
            EXPECT_EQ(read.settings.filter.dcRadius, recipe.settings.filter.dcRadius);
        },
        30);
    EXPECT_EQ(app::recipeText(app::readRecipe(folder / "r.json")), expected);
}

TEST_P(RecipeAllocation, MayFailAnywhereInWriting) {
    writeOverOld(
        "w.json", [&](const auto& path) { app::writeRecipe(path, recipe, app::Overwrite::force); }, 40);
}

TEST_P(RecipeAllocation, MayFailAnywhereInMakingCode) {
    const std::string expected = app::recipeCode(recipe, "r.json");
    failEachOnceAndForGood([&] { EXPECT_EQ(app::recipeCode(recipe, "r.json"), expected); }, 4);
}

TEST_P(RecipeAllocation, MayFailAnywhereInBuildingAndStoringTheFilter) {
    app::FilterParameters single = settings.filter;
    if (single.pair) {
        single.pair = false; // A pair is no filter of the library's.
    }
    if (single.type == "gabor-reject") {
        single.pair = false;
    }
    failEachOnceAndForGood([&] { static_cast<void>(app::makeFilter(settings.filter, {16, 8})); }, 1);
    const app::FilterPointer filter = app::makeFilter(single, {16, 8});
    writeOverOld(
        "f.kav", [&](const auto& path) { app::writeFilter(path, *filter, app::Overwrite::force); }, 10);
}

TEST_P(RecipeAllocation, MayFailAnywhereInFiltering) {
    const app::Image image = patternImage(9, 14, Depth::bits8);
    const std::vector<double> expected = pelsOf(app::filterImage(image, settings).image);
    failEachOnceAndForGood([&] { static_cast<void>(app::filterImage(image, settings)); }, 8);
    EXPECT_EQ(pelsOf(app::filterImage(image, settings).image), expected);
}

// A band-pass that, when it is first applied, makes a later allocation of its thread fail.
class Trap final : public vxFrequencyFilterBandPass {
public:
    Trap(const vxFrequencyFilterBandPass& filter, long successes, bool forGood)
        : vxFrequencyFilterBandPass(filter), successes_(successes), forGood_(forGood) {}

    void apply(const vxFrequencyBuffer& in, vxFrequencyBuffer& out) const override {
        vxFrequencyFilterBandPass::apply(in, out);
    }
    void apply(vxFrequencyBuffer& buffer) const override {
        if (!isSet_) {
            isSet_ = true;
            failing_allocation::control = {successes_, forGood_};
        }
        vxFrequencyFilterBandPass::apply(buffer);
    }

private:
    long successes_;
    bool forGood_;
    mutable bool isSet_ = false;
};

// The manifest tells apart filters of different types and parameters.
const vx_Instantiator trapType(typeid(Trap), []() -> vxPersistent* { return nullptr; });

constexpr long never = -1;

class BatchAllocation : public testing::Test {
protected:
    BatchAllocation() {
        settings.version = "1";
        setTrap(never);
        for (const char* const name : {"a.pgm", "b.pgm"}) {
            inputs.push_back(folder / name);
            app::writeImage(inputs.back(), patternImage(14, 9, Depth::bits8), app::Overwrite::refuse);
        }
        settings.folder = folder / "expected";
        run();
        expected = contentOf(settings.folder);
        EXPECT_EQ(expected.size(), 3U);
        settings.folder = folder / "out";
    }
    void setTrap(long successes, bool forGood = false) {
        settings.filter.filter.built =
            app::BuiltFilter{"f", std::make_shared<Trap>(band, successes, forGood)};
    }
    app::BatchSummary run() const {
        return app::runBatch(inputs, settings, [](const app::BatchOutcome&) {});
    }
    static std::map<std::string, Bytes> contentOf(const std::filesystem::path& path) {
        std::map<std::string, Bytes> content;
        for (const auto& entry : std::filesystem::directory_iterator(path)) {
            content[entry.path().filename().string()] = readBytes(entry.path());
        }
        return content;
    }
    // `fails` runs the batch and tells whether something failed. Returns how many allocations did.
    long failEach(const std::function<bool(long successes, bool forGood)>& fails) {
        long failures = 0;
        for (const bool forGood : {false, true}) {
            // Most of the time goes to waiting for the disk.
            for (long successes = 0; fails(successes, forGood); successes += forGood ? 5 : 1) {
                checkWhatIsLeft();
                ++failures;
            }
            checkWhatIsLeft();
        }
        return failures;
    }
    // There are whole files only, and the same command makes the others.
    void checkWhatIsLeft() {
        if (!std::filesystem::exists(settings.folder)) {
            return;
        }
        for (const auto& [name, bytes] : contentOf(settings.folder)) {
            ASSERT_EQ(expected.count(name), 1U) << name;
            if (name != app::manifestName) {
                EXPECT_EQ(bytes, expected.at(name)) << name;
            } else {
                static_cast<void>(app::readManifest(settings.folder / name));
            }
        }
        EXPECT_EQ(run().failed, 0);
        EXPECT_EQ(contentOf(settings.folder), expected);
        std::filesystem::remove_all(settings.folder);
    }

    const vxFrequencyFilterBandPass band{0.04, 0.0, 0.2, {16, 16}, 0};
    const TemporaryFolder folder;
    app::BatchSettings settings;
    std::vector<std::filesystem::path> inputs;
    std::map<std::string, Bytes> expected;
};

TEST_F(BatchAllocation, MayFailAnywhereOnTheCallingThread) {
    EXPECT_GT(failEach([this](long successes, bool forGood) {
                  const Failure failure = failAfter(successes, forGood, [this] { run(); });
                  EXPECT_EQ(failure.threw, failure.happened) << successes;
                  return failure.happened;
              }),
              100);
}

TEST_F(BatchAllocation, MayFailAnywhereOnTheWorkersThread) {
    EXPECT_GT(failEach([this](long successes, bool forGood) {
                  setTrap(successes, forGood);
                  bool failed = false;
                  try {
                      failed = run().failed > 0;
                  } catch (const std::bad_alloc&) {
                      failed = true;
                  }
                  setTrap(never);
                  return failed;
              }),
              50);
}

} // namespace
