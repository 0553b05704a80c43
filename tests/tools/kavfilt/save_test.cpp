#include "app/filter_file.h"
#include "app/image_file.h"
#include "app/kernel.h"
#include "tests/app/images.h"
#include "tests/tools/kavfilt/program.h"

#include <gmock/gmock.h>

#include <fstream>
#include <memory>
#include <numbers>

namespace {

using app::Depth;
using app::Overwrite;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::UnorderedElementsAre;

const Words ring = {"--frequency", "0.2", "--sigma", "0.04", "--plateau", "0.01", "--dc", "1"};
const Words lobe = {"--frequency", "0.2", "--sigma", "0.04,0.1", "--angle", "30"};
const Words kernel = {"--kernel", "kernel.tif"};
const std::vector<Words> everyType = {
    Words{"--type", "bandpass"} + ring, Words{"--type", "bandreject"} + ring,
    Words{"--type", "gabor"} + lobe,    Words{"--type", "gabor-reject"} + lobe,
    Words{"--type", "image"} + kernel,
};

// A folder with an image and a kernel in it.
class Save : public testing::Test {
protected:
    Save() {
        app::writeImage(folder / "in.png", patternImage(50, 21, Depth::bits8), Overwrite::refuse);
        app::writeImage(folder / "kernel.tif", patternImage(5, 4, Depth::float32), Overwrite::refuse);
    }

    Outcome save(const Words& options) { return run(folder.path(), Words{"save", "-o", "f.kav"} + options); }
    Outcome filter(const std::string& output, const Words& options) {
        return run(folder.path(), Words{"filter", "in.png", "-o", output, "--force"} + options);
    }

    // What the file holds, by the library alone.
    template <class Filter>
    std::unique_ptr<Filter> loaded() {
        std::ifstream file(folder / "f.kav", std::ios::binary);
        vxInputArchive archive(file);
        vxPersistent* object = nullptr;
        archive || object;
        EXPECT_EQ(file.peek(), EOF);
        auto* const filter = dynamic_cast<Filter*>(object);
        EXPECT_NE(filter, nullptr);
        return std::unique_ptr<Filter>(filter);
    }

    TemporaryFolder folder;
};

TEST_F(Save, StoresTheLibrarysFilter) {
    const Words size = {"--size", "50,21", "--force", "-q"};
    const vxPair<long> transform(64, 32);
    EXPECT_EQ(save(everyType[0] + size).exitCode, 0);
    EXPECT_TRUE(*loaded<vxFrequencyFilterBandPass>() ==
                vxFrequencyFilterBandPass(0.04, 0.01, 0.2, transform, 1));
    EXPECT_EQ(save(everyType[1] + size).exitCode, 0);
    EXPECT_TRUE(*loaded<vxFrequencyFilterBandReject>() ==
                vxFrequencyFilterBandReject(0.04, 0.01, 0.2, transform, 1));
    const vxRadian angle(30 * std::numbers::pi / 180);
    EXPECT_EQ(save(everyType[2] + size).exitCode, 0);
    EXPECT_TRUE(*loaded<vxFrequencyFilterGabor>() ==
                vxFrequencyFilterGabor({0.04, 0.1}, {0, 0}, angle, 0.2, transform, 0));
    EXPECT_EQ(save(everyType[3] + size).exitCode, 0);
    EXPECT_TRUE(*loaded<vxFrequencyFilterGaborReject>() ==
                vxFrequencyFilterGaborReject({0.04, 0.1}, {0, 0}, angle, 0.2, transform, 0));
    EXPECT_EQ(save(everyType[4] + size).exitCode, 0);
    EXPECT_TRUE(*loaded<vxFrequencyFilterImage>() ==
                vxFrequencyFilterImage(app::kernelSpectrum(app::readImage(folder / "kernel.tif"), transform,
                                                           app::KernelScale::asGiven)));
    EXPECT_THAT(folder.names(), UnorderedElementsAre("in.png", "kernel.tif", "f.kav"));
}

TEST_F(Save, MakesFiltersThatFilterTheSame) {
    for (const Words& type : everyType) {
        ASSERT_EQ(save(type + Words{"--size", "64,32", "--force"}).exitCode, 0);
        const bool hasLobe = type[1].starts_with("gabor");
        for (const Words& pair :
             hasLobe ? std::vector<Words>{{}, {"--pair"}, {"--no-pair"}} : std::vector<Words>{{}}) {
            ASSERT_EQ(filter("direct.tif", type + pair).exitCode, 0);
            const Outcome outcome = filter("loaded.tif", Words{"--filter", "f.kav"} + pair);
            ASSERT_EQ(outcome.exitCode, 0) << outcome.errors;
            EXPECT_TRUE(readBytes(folder / "loaded.tif") == readBytes(folder / "direct.tif")) << type[1];
        }
    }
}

TEST_F(Save, ReportsWhatItDid) {
    const Outcome outcome = save(everyType[2] + Words{"--size", "50,21"});
    EXPECT_EQ(outcome.output, "f.kav: gabor filter for 64 x 32 spectra, written\n");
    EXPECT_EQ(outcome.errors, "");
    EXPECT_EQ(save(everyType[0] + Words{"--size", "100", "--force"}).output,
              "f.kav: bandpass filter for 128 x 128 spectra, written\n");
    EXPECT_EQ(save(everyType[0] + Words{"--size", "100", "--force", "-q"}).output, "");
}

TEST_F(Save, RefusesWrongUsage) {
    const auto expectRefused = [&](const Words& options, const std::string& message, int exitCode = 2) {
        expectFailure(save(options), exitCode, message);
        EXPECT_THAT(folder.names(), UnorderedElementsAre("in.png", "kernel.tif"));
    };
    for (const char* size : {"0,8", "8,2049", "-1", "4000"}) {
        const std::string word = size;
        const std::string bad = word == "0,8" ? "0" : word == "8,2049" ? "2049" : word;
        expectRefused(everyType[0] + Words{"--size", size}, "--size must be 1 to 2048, not " + bad);
    }
    expectRefused(everyType[0] + Words{"--size", "8x8"}, "--size: \"8x8\" is not a number");
    expectRefused(everyType[0] + Words{"--size", "8,8", "--angle", "1"},
                  "--angle does not go with --type bandpass");
    expectRefused({"--type", "gabor", "--frequency", "0.1", "--sigma", "0.1", "--size", "8"},
                  "--type gabor needs --angle");
    expectRefused(everyType[2] + Words{"--size", "8,8", "--dc", "6"},
                  "the square of --dc around the DC reaches outside the 8 x 8 spectrum");
    expectRefused(everyType[4] + Words{"--size", "4,4"},
                  "the kernel kernel.tif is 5 x 4 pels, larger than the 4 x 4 spectrum", 3);
    expectRefused({"--type", "image", "--kernel", "none", "--size", "8"}, "cannot read none: no such file",
                  3);
    EXPECT_EQ(save(everyType[0]).exitCode, 2);
    EXPECT_EQ(save(Words{"--size", "8"} + ring).exitCode, 2);
    EXPECT_EQ(save(everyType[2] + Words{"--size", "8", "--pair"}).exitCode, 2);
    expectFailure(run(folder.path(), Words{"save", "-o", "f.png", "--size", "8"} + everyType[0]), 2,
                  "a filter's file is named .kav, not f.png");
}

TEST_F(Save, OverwritesOnlyWhenForced) {
    writeBytes(folder / "f.kav", bytesOf("precious"));
    expectFailure(save(everyType[0] + Words{"--size", "8"}), 4,
                  "cannot write f.kav: the file exists (--force overwrites it)");
    EXPECT_EQ(readBytes(folder / "f.kav"), bytesOf("precious"));
    EXPECT_EQ(save(everyType[0] + Words{"--size", "8", "--force"}).exitCode, 0);
    EXPECT_NE(readBytes(folder / "f.kav"), bytesOf("precious"));
    expectFailure(run(folder.path(), Words{"save", "-o", "no/f.kav", "--size", "8"} + everyType[0]), 4,
                  "cannot write no/f.kav: No such file or directory");
}

TEST_F(Save, MakesFiltersForOneSize) {
    ASSERT_EQ(save(everyType[0] + Words{"--size", "64,64"}).exitCode, 0);
    expectFailure(filter("out.png", {"--filter", "f.kav"}), 3,
                  "cannot use f.kav: it filters 64 x 64 spectra, but this transform is 64 x 32");
    EXPECT_FALSE(std::filesystem::exists(folder / "out.png"));
}

TEST_F(Save, MakesBandFiltersThatHaveNoPair) {
    ASSERT_EQ(save(everyType[0] + Words{"--size", "50,21"}).exitCode, 0);
    expectFailure(filter("out.png", {"--filter", "f.kav", "--pair"}), 2,
                  "--pair does not go with a filter of the type bandpass");
}

// Through the whole program; the reader's own tests go through every byte.
TEST_F(Save, LeavesNoDoubtAboutDamagedFiles) {
    ASSERT_EQ(save(everyType[0] + Words{"--size", "50,21"}).exitCode, 0);
    const Bytes whole = readBytes(folder / "f.kav");
    for (std::size_t length = 0; length < whole.size(); length += whole.size() / 40) {
        writeBytes(folder / "cut.kav",
                   Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length)));
        const Outcome outcome = filter("out.png", {"--filter", "cut.kav"});
        EXPECT_EQ(outcome.exitCode, 3) << length;
        EXPECT_THAT(outcome.errors, testing::StartsWith("kavfilt: cannot read cut.kav: "));
        EXPECT_EQ(outcome.errors.find('\n'), outcome.errors.size() - 1);
    }
    for (const std::size_t at : {std::size_t{0}, std::size_t{8}, std::size_t{20}}) {
        Bytes changed = whole;
        changed[at] ^= 0xff;
        writeBytes(folder / "changed.kav", changed);
        EXPECT_EQ(filter("out.png", {"--filter", "changed.kav"}).exitCode, 3) << at;
    }
    Bytes longer = whole;
    longer.push_back('x');
    writeBytes(folder / "longer.kav", longer);
    expectFailure(filter("out.png", {"--filter", "longer.kav"}), 3,
                  "cannot read longer.kav: the file goes on after the filter");
    expectFailure(filter("out.png", {"--filter", "none.kav"}), 3, "cannot read none.kav: no such file");
    EXPECT_EQ(filter("out.png", {"--filter", "in.png"}).exitCode, 3);
    EXPECT_FALSE(std::filesystem::exists(folder / "out.png"));
}

TEST_F(Save, MakesFilesThatInfoTellsAbout) {
    const auto info = [&](const Words& type) {
        EXPECT_EQ(save(type + Words{"--size", "50,21", "--force"}).exitCode, 0);
        const Outcome outcome = run(folder.path(), {"info", "f.kav"});
        EXPECT_EQ(outcome.exitCode, 0) << outcome.errors;
        return outcome.output;
    };
    EXPECT_EQ(info(everyType[1]), "file:      f.kav\n"
                                  "format:    filter archive\n"
                                  "type:      bandreject\n"
                                  "transform: 64 x 32\n"
                                  "frequency: 0.2 cycles per pixel\n"
                                  "sigma:     0.04\n"
                                  "plateau:   0.01\n"
                                  "dc radius: 1\n");
    EXPECT_EQ(info(everyType[3]), "file:      f.kav\n"
                                  "format:    filter archive\n"
                                  "type:      gabor-reject\n"
                                  "transform: 64 x 32\n"
                                  "frequency: 0.2 cycles per pixel\n"
                                  "angle:     30 degrees\n"
                                  "sigma:     0.04 along, 0.1 across\n"
                                  "plateau:   0 along, 0 across\n"
                                  "dc radius: 0\n");
    EXPECT_EQ(info(everyType[4]), "file:      f.kav\n"
                                  "format:    filter archive\n"
                                  "type:      image\n"
                                  "transform: 64 x 32\n");
    Bytes longer = readBytes(folder / "f.kav");
    longer.push_back('x');
    writeBytes(folder / "longer.kav", longer);
    expectFailure(run(folder.path(), {"info", "longer.kav"}), 3,
                  "cannot read longer.kav: the file goes on after the filter");
}

} // namespace
