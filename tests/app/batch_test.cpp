#include "app/batch.h"

#include "app/errors.h"
#include "app/filter_file.h"
#include "app/image_file.h"
#include "app/interruption.h"
#include "tests/app/images.h"

#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <csignal>
#include <fcntl.h>
#include <map>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using app::BatchOutcome;
using app::BatchSettings;
using app::BatchSummary;
using app::Depth;
using app::Overwrite;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::UnorderedElementsAre;
using Status = app::BatchOutcome::Status;

constexpr const char* manifest = "kavfilt-batch.json";

std::string numbered(const std::string& start, int number, const std::string& extension) {
    return std::string(start).append(std::to_string(number)).append(extension);
}

class Batch : public testing::Test {
protected:
    Batch() {
        settings.folder = folder / "out";
        settings.version = "1";
        settings.filter.filter = {"bandpass", 0.2, 0.04, 0, 0};
        fs::create_directory(folder / "in");
    }
    fs::path image(const std::string& name, long width = 50, long height = 21, Depth depth = Depth::bits8) {
        const fs::path path = folder / "in" / name;
        app::writeImage(path, patternImage(width, height, depth), Overwrite::force);
        return path;
    }
    fs::path damaged(const std::string& name) {
        writeBytes(folder / "in" / name, bytesOf("P5 10 10 255\nxx"));
        return folder / "in" / name;
    }
    fs::path pipe(const std::string& name) {
        const fs::path path = folder / "in" / name;
        if (::mkfifo(path.c_str(), 0600) != 0) {
            throw std::runtime_error("no pipe");
        }
        return path;
    }
    std::vector<fs::path> images(int count) {
        std::vector<fs::path> paths;
        for (int i = 0; i < count; ++i) {
            paths.push_back(image(numbered("i", i, ".png"), 20 + 9 * i, 70 - 3 * i));
        }
        return paths;
    }
    BatchSummary run(const std::vector<fs::path>& inputs) {
        outcomes.clear();
        return app::runBatch(inputs, settings, [this](const BatchOutcome& outcome) {
            outcomes[outcome.output.filename().string()] = outcome;
        });
    }
    // Counts of done, skipped, failed.
    std::vector<long> counts(const std::vector<fs::path>& inputs) {
        const BatchSummary summary = run(inputs);
        return {summary.done, summary.skipped, summary.failed};
    }
    std::string refusal(const std::vector<fs::path>& inputs) {
        return messageOf<app::Error>([&] { run(inputs); });
    }
    std::map<std::string, Bytes> outputs() {
        std::map<std::string, Bytes> all;
        for (const auto& entry : fs::directory_iterator(settings.folder)) {
            all[entry.path().filename().string()] = readBytes(entry.path());
        }
        return all;
    }
    fs::path out(const std::string& name) { return settings.folder / name; }

    TemporaryFolder folder;
    BatchSettings settings;
    std::map<std::string, BatchOutcome> outcomes;
};

TEST_F(Batch, FiltersEachImageAsIfItWereAlone) {
    const std::vector<fs::path> inputs = {image("a.png"), image("b.tif", 64, 64, Depth::float32),
                                          image("c.pgm", 100, 3, Depth::bits16)};
    settings.jobs = 2;
    EXPECT_THAT(counts(inputs), ElementsAre(3, 0, 0));
    for (const fs::path& input : inputs) {
        const app::FilterResult expected = app::filterImage(app::readImage(input), settings.filter);
        const app::Image written = app::readImage(out(input.filename().string()));
        EXPECT_EQ(written.depth, expected.image.depth);
        const BatchOutcome& outcome = outcomes.at(input.filename().string());
        EXPECT_EQ(outcome.status, Status::done);
        EXPECT_EQ(outcome.input, input);
        EXPECT_EQ(outcome.result.minimum, expected.minimum);
        EXPECT_EQ(outcome.result.range, expected.range);
        EXPECT_EQ(outcome.result.transform, expected.transform);
        EXPECT_EQ(outcome.size.x(), expected.image.pels.width());
        if (written.depth != Depth::float32) {
            EXPECT_EQ(pelsOf(written), pelsOf(expected.image));
        }
    }
}

TEST_F(Batch, GivesTheSameBytesWhateverTheNumberOfJobs) {
    std::vector<fs::path> inputs = images(20);
    inputs.push_back(damaged("bad.pgm"));
    settings.filter.filter = {"gabor", 0.2, 0.04, 0, 0};
    settings.filter.filter.pair = true;
    EXPECT_THAT(counts(inputs), ElementsAre(20, 0, 1));
    const std::map<std::string, Bytes> one = outputs();
    EXPECT_EQ(one.size(), 21U);
    for (const unsigned jobs : {2U, 8U, app::mostJobs}) {
        fs::remove_all(settings.folder);
        settings.jobs = jobs;
        run(inputs);
        EXPECT_EQ(outputs(), one) << jobs;
    }
}

TEST_F(Batch, SharesAFilterAndAKernelBetweenItsThreads) {
    std::vector<fs::path> inputs;
    for (int i = 0; i < 12; ++i) {
        inputs.push_back(image(numbered("i", i, ".png"), 40 + i, 20));
    }
    settings.jobs = 8;
    settings.filter.filter = {};
    settings.filter.filter.type = "image";
    settings.filter.filter.kernel = patternImage(5, 3, Depth::bits8);
    EXPECT_THAT(counts(inputs), ElementsAre(12, 0, 0));
    settings.filter.filter = {};
    settings.filter.filter.built = {
        "f.kav", std::make_shared<vxFrequencyFilterBandPass>(0.1, 0, 0.2, vxPair<long>(64, 32), 0)};
    settings.overwrite = Overwrite::force;
    EXPECT_THAT(counts(inputs), ElementsAre(12, 0, 0));
    const app::FilterResult expected = app::filterImage(app::readImage(inputs[3]), settings.filter);
    EXPECT_EQ(pelsOf(app::readImage(out("i3.png"))), pelsOf(expected.image));
}

TEST_F(Batch, GoesOnAfterAFailureAndListsIt) {
    const std::vector<fs::path> inputs = {image("a.png"), damaged("b.png"), folder / "in" / "none.png",
                                          image("f.tif", 8, 8, Depth::float32), image("z.png")};
    settings.format = ".png";
    EXPECT_THAT(counts(inputs), ElementsAre(2, 0, 3));
    EXPECT_EQ(outcomes.at("b.png").exitCode, 3);
    EXPECT_EQ(outcomes.at("b.png").error,
              "cannot read " + inputs[1].string() + ": PGM: the file ends within the pels");
    EXPECT_EQ(outcomes.at("none.png").error, "cannot read " + inputs[2].string() + ": no such file");
    EXPECT_EQ(outcomes.at("f.png").exitCode, 2);
    EXPECT_THAT(outcomes.at("f.png").error, HasSubstr("a PNG file cannot hold float pels"));
    const app::Manifest list = app::readManifest(out(manifest));
    EXPECT_EQ(list.outputs.size(), 5U);
    EXPECT_TRUE(list.outputs.at("z.png").isDone);
    EXPECT_FALSE(list.outputs.at("b.png").isDone);
    EXPECT_EQ(list.outputs.at("b.png").exitCode, 3);
    EXPECT_EQ(list.outputs.at("b.png").error, outcomes.at("b.png").error);

    image("b.png"); // Repaired.
    EXPECT_THAT(counts(inputs), ElementsAre(1, 2, 2));
    EXPECT_TRUE(app::readManifest(out(manifest)).outputs.at("b.png").isDone);
}

TEST_F(Batch, SkipsWhatIsFinished) {
    const std::vector<fs::path> inputs = images(3);
    EXPECT_THAT(counts(inputs), ElementsAre(3, 0, 0));
    const std::map<std::string, Bytes> before = outputs();
    const auto written = fs::last_write_time(out("i0.png"));
    EXPECT_THAT(counts(inputs), ElementsAre(0, 3, 0));
    settings.overwrite = Overwrite::force;
    EXPECT_THAT(counts(inputs), ElementsAre(0, 3, 0));
    EXPECT_EQ(outputs(), before);
    EXPECT_EQ(fs::last_write_time(out("i0.png")), written);

    // What counts is the content, not the time or the place.
    fs::last_write_time(inputs[0], fs::file_time_type::clock::now());
    fs::rename(inputs[1], folder / "i1.png");
    EXPECT_THAT(counts({inputs[0], folder / "i1.png"}), ElementsAre(0, 2, 0));
    EXPECT_EQ(app::readManifest(out(manifest)).outputs.size(), 3U); // The third is still known.
}

TEST_F(Batch, DoesAgainWhatIsNotTheSame) {
    const std::vector<fs::path> inputs = images(3);
    settings.overwrite = Overwrite::force;
    EXPECT_THAT(counts(inputs), ElementsAre(3, 0, 0));
    image("i0.png", 33, 33);
    EXPECT_THAT(counts(inputs), ElementsAre(1, 2, 0));
    EXPECT_EQ(app::readImage(out("i0.png")).pels.width(), 33);
    fs::remove(out("i1.png"));
    EXPECT_THAT(counts(inputs), ElementsAre(1, 2, 0));
    writeBytes(out("i2.png"), bytesOf("damaged"));
    EXPECT_THAT(counts(inputs), ElementsAre(1, 2, 0));
    EXPECT_EQ(app::readImage(out("i2.png")).pels.height(), 64);
    settings.version = "2";
    EXPECT_THAT(counts(inputs), ElementsAre(3, 0, 0));

    const auto expectAgain = [&](const char* what) {
        EXPECT_THAT(counts(inputs), ElementsAre(3, 0, 0)) << what;
        EXPECT_THAT(counts(inputs), ElementsAre(0, 3, 0)) << what;
    };
    settings.filter.filter.frequency = std::nextafter(0.2, 1);
    expectAgain("frequency");
    settings.filter.padding = app::Padding::zero;
    expectAgain("padding");
    settings.filter.range = app::Range::clip;
    expectAgain("range");
    settings.filter.depth = Depth::bits16;
    expectAgain("depth");
    settings.filter.wholeRings = true;
    expectAgain("wholeRings");
    settings.filter = {};
    settings.filter.filter = {"bandpass", 0.2, 0.04, 0, 0};
    settings.filter.raw = true;
    expectAgain("raw");
    settings.filter = {};
    settings.filter.filter.type = "image";
    settings.filter.filter.kernel = patternImage(5, 3, Depth::bits8);
    expectAgain("kernel");
    settings.filter.filter.kernel->pels.pointToRow(1)[1] += 1;
    expectAgain("a pel of the kernel");
    settings.filter.filter.kernelScale = app::KernelScale::unit;
    expectAgain("unit");
}

TEST_F(Batch, TellsFiltersFromFilesByTheirContent) {
    const std::vector<fs::path> inputs = {image("a.png", 64, 32)};
    const auto built = [](double sigma) {
        return app::BuiltFilter{"f.kav", std::make_shared<vxFrequencyFilterGabor>(
                                             vxPair<double>(sigma, 0.1), vxPair<double>(0, 0), vxRadian(0),
                                             0.2, vxPair<long>(64, 32), 0)};
    };
    settings.overwrite = Overwrite::force;
    settings.filter.filter.built = built(0.1);
    EXPECT_THAT(counts(inputs), ElementsAre(1, 0, 0));
    settings.filter.filter.built = built(0.1);
    EXPECT_THAT(counts(inputs), ElementsAre(0, 1, 0));
    settings.filter.filter.pair = true;
    EXPECT_THAT(counts(inputs), ElementsAre(1, 0, 0));
    settings.filter.filter.built = built(0.11);
    EXPECT_THAT(counts(inputs), ElementsAre(1, 0, 0));
}

TEST_F(Batch, OverwritesOnlyWhenForced) {
    const std::vector<fs::path> inputs = images(2);
    fs::create_directory(settings.folder);
    writeBytes(out("i1.png"), bytesOf("precious"));
    EXPECT_THAT(counts(inputs), ElementsAre(1, 0, 1));
    EXPECT_EQ(outcomes.at("i1.png").exitCode, 4);
    EXPECT_EQ(outcomes.at("i1.png").error,
              "cannot write " + out("i1.png").string() + ": the file exists (--force overwrites it)");
    EXPECT_THAT(counts(inputs), ElementsAre(0, 1, 1));
    EXPECT_EQ(readBytes(out("i1.png")), bytesOf("precious"));

    settings.filter.filter.frequency = 0.1; // Results of other settings are files like any others.
    const Bytes old = readBytes(out("i0.png"));
    EXPECT_THAT(counts(inputs), ElementsAre(0, 0, 2));
    EXPECT_EQ(readBytes(out("i0.png")), old);
    settings.overwrite = Overwrite::force;
    EXPECT_THAT(counts(inputs), ElementsAre(2, 0, 0));
    EXPECT_NE(readBytes(out("i0.png")), old);
}

// A kill leaves outputs that the manifest does not know of yet.
TEST_F(Batch, FindsResultsAgainThatTheManifestMissed) {
    const std::vector<fs::path> inputs = images(3);
    run(inputs);
    const std::map<std::string, Bytes> before = outputs();
    app::writeManifest(out(manifest), {});
    writeBytes(out("i2.png"), bytesOf("not a result"));
    EXPECT_THAT(counts(inputs), ElementsAre(2, 0, 1));
    EXPECT_EQ(readBytes(out("i0.png")), before.at("i0.png"));
    EXPECT_EQ(readBytes(out("i2.png")), bytesOf("not a result"));
    fs::remove(out("i2.png"));
    EXPECT_THAT(counts(inputs), ElementsAre(1, 2, 0));
    EXPECT_EQ(outputs(), before);
}

TEST_F(Batch, RefusesBeforeAnyWork) {
    const fs::path a = image("a.png");
    fs::create_directory(folder / "in2");
    app::writeImage(folder / "in2" / "a.png", patternImage(5, 5, Depth::bits8), Overwrite::refuse);
    EXPECT_EQ(refusal({a, folder / "in2" / "a.png"}), a.string() + " and " + (folder / "in2/a.png").string() +
                                                          " would both become " + out("a.png").string());
    EXPECT_EQ(refusal({a, a}),
              a.string() + " and " + a.string() + " would both become " + out("a.png").string());
    settings.format = ".png";
    EXPECT_THAT(refusal({image("b.png"), image("b.tif")}), HasSubstr("would both become"));
    settings.format = "";
    fs::copy(a, folder / "in" / "plain");
    EXPECT_EQ(refusal({a, folder / "in" / "plain"}),
              "cannot tell the format of the output for " + (folder / "in" / "plain").string() +
                  ": its name must end in .png, .tif, .tiff or .pgm, or else --format must be given");
    for (const unsigned jobs : {0U, app::mostJobs + 1}) {
        settings.jobs = jobs;
        EXPECT_THAT(refusal({a}), HasSubstr("--jobs must be 1 to 256"));
    }
    settings.jobs = 1;
    settings.filter.filter.frequency = 0.7;
    EXPECT_EQ(refusal({a}), "Frequency must be between 0.0 and 0.5.");
    settings.filter.filter.frequency = 0.2;
    EXPECT_FALSE(fs::exists(settings.folder));

    settings.folder = folder / "in";
    settings.overwrite = Overwrite::force;
    EXPECT_EQ(refusal({a}), "the output " + a.string() + " is the input " + a.string() +
                                "; a batch needs a directory of its own");
    fs::create_hard_link(image("other.png"), folder / "other.png");
    fs::create_directory(folder / "linked");
    fs::create_symlink(a, folder / "linked" / "other.png");
    settings.folder = folder / "linked";
    EXPECT_THAT(refusal({a, folder / "other.png"}), HasSubstr("is the input " + a.string()));
    EXPECT_TRUE(outcomes.empty());
    EXPECT_EQ(pelsOf(app::readImage(a)), pelsOf(patternImage(50, 21, Depth::bits8)));
}

TEST_F(Batch, RefusesFoldersThatItCannotUse) {
    const fs::path a = image("a.png");
    writeBytes(folder / "file", bytesOf("x"));
    settings.folder = folder / "file";
    EXPECT_THAT(refusal({a}), HasSubstr("cannot make the directory "));
    settings.folder = folder / "out";
    fs::create_directory(settings.folder);
    writeBytes(out(manifest), bytesOf("{}"));
    EXPECT_EQ(refusal({a}), "cannot read " + out(manifest).string() + ": it is not the manifest of a batch");
    EXPECT_EQ(readBytes(out(manifest)), bytesOf("{}"));
    fs::remove(out(manifest));
    fs::permissions(settings.folder, fs::perms::owner_read | fs::perms::owner_exec);
    {
        const WithoutRootRights nobody(folder);
        EXPECT_EQ(refusal({a}), "cannot write " + out(manifest).string() + ": Permission denied");
    }
    fs::permissions(settings.folder, fs::perms::owner_all);
    EXPECT_THAT(outputs(), testing::IsEmpty());
    EXPECT_TRUE(outcomes.empty());
}

// Another thread fills a pipe of that name.
std::jthread fill(const fs::path& pipe, const app::Image& image) {
    return std::jthread([pipe, bytes = app::encodeImage("x.pgm", image)] { writeBytes(pipe, bytes); });
}

// Whether somebody reads a pipe.
bool isRead(const fs::path& pipe) {
    const int writer = ::open(pipe.c_str(), O_WRONLY | O_NONBLOCK);
    if (writer >= 0) {
        ::close(writer);
    }
    return writer >= 0;
}

template <class Condition>
bool within(std::chrono::seconds time, const Condition& condition) {
    for (const auto end = std::chrono::steady_clock::now() + time; std::chrono::steady_clock::now() < end;) {
        if (condition()) {
            return true;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return false;
}

// Pipes that nobody fills keep the workers where an image begins.
TEST_F(Batch, WorksOnNoMoreImagesThanJobsAtATime) {
    std::vector<fs::path> inputs;
    for (int i = 0; i < 6; ++i) {
        inputs.push_back(pipe(numbered("p", i, ".pgm")));
    }
    settings.jobs = 3;
    const app::Image picture = patternImage(30, 20, Depth::bits8);
    BatchSummary summary;
    std::jthread batch([&] { summary = run(inputs); });
    std::vector<int> writers;
    for (int i = 0; i < 3; ++i) { // Opening waits for a reader.
        writers.push_back(::open(inputs[static_cast<std::size_t>(i)].c_str(), O_WRONLY));
    }
    for (int i = 3; i < 6; ++i) {
        EXPECT_FALSE(isRead(inputs[static_cast<std::size_t>(i)])) << i;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    for (int i = 3; i < 6; ++i) {
        EXPECT_FALSE(isRead(inputs[static_cast<std::size_t>(i)])) << i;
    }
    const Bytes bytes = app::encodeImage("x.pgm", picture);
    for (const int writer : writers) {
        EXPECT_EQ(::write(writer, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
        ::close(writer);
    }
    {
        std::vector<std::jthread> rest;
        for (int i = 3; i < 6; ++i) {
            rest.push_back(fill(inputs[static_cast<std::size_t>(i)], picture));
        }
    }
    batch.join();
    EXPECT_EQ(summary.done, 6);
}

TEST_F(Batch, RefusesAFolderWhereAnotherIsAtWork) {
    const fs::path waits = pipe("p.pgm");
    BatchSummary summary;
    std::jthread first([&] { summary = run({waits}); });
    const int writer = ::open(waits.c_str(), O_WRONLY);
    EXPECT_EQ(messageOf<app::WriteError>([&] {
                  app::runBatch({image("a.png")}, settings, [](const BatchOutcome&) { ADD_FAILURE(); });
              }),
              "cannot write in " + settings.folder.string() + ": another batch is at work there");
    const Bytes bytes = app::encodeImage("x.pgm", patternImage(3, 3, Depth::bits8));
    EXPECT_EQ(::write(writer, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    ::close(writer);
    first.join();
    EXPECT_EQ(summary.done, 1);
    EXPECT_THAT(counts({image("a.png")}), ElementsAre(1, 0, 0));
}

// Two of three workers wait for pipes when the signal comes; it must reach them wherever the system delivers
// it.
TEST_F(Batch, IsInterruptedInEveryThread) {
    std::vector<fs::path> inputs = images(5);
    run(inputs);
    const std::map<std::string, Bytes> whole = outputs();
    for (const int signal : {SIGINT, SIGTERM}) {
        fs::remove_all(settings.folder);
        const fs::path first = pipe("p1.pgm");
        const fs::path second = pipe("p2.pgm");
        std::vector<fs::path> all = {first, second};
        all.insert(all.end(), inputs.begin(), inputs.end());
        settings.jobs = 3;
        const app::InterruptionScope scope;
        std::atomic<bool> ended = false;
        std::jthread sender([&] {
            const int one = ::open(first.c_str(), O_WRONLY); // Once the workers wait,
            const int two = ::open(second.c_str(), O_WRONLY);
            EXPECT_TRUE(within(std::chrono::seconds(60), [&] { return fs::exists(out("i4.png")); }));
            ::kill(::getpid(), signal);
            EXPECT_TRUE(within(std::chrono::seconds(60), [&] { return ended.load(); }));
            ::close(one);
            ::close(two);
        });
        int exitCode = 0;
        try {
            run(all);
        } catch (const app::Interrupted& error) {
            exitCode = error.exitCode();
        }
        ended = true;
        EXPECT_EQ(exitCode, 128 + signal);
        sender.join();
        EXPECT_EQ(outputs(), whole); // The same files as without the pipes, and the same manifest.
        fs::remove(first);
        fs::remove(second);
    }
}

TEST_F(Batch, ThatIsCompleteIsNotInterrupted) {
    const app::InterruptionScope scope;
    BatchSummary summary;
    EXPECT_NO_THROW(
        summary = app::runBatch({image("a.png")}, settings, [](const BatchOutcome&) { std::raise(SIGINT); }));
    EXPECT_EQ(summary.done, 1);
    EXPECT_TRUE(app::readManifest(out(manifest)).outputs.at("a.png").isDone);
}

TEST_F(Batch, EndsWhenTellingFails) {
    settings.jobs = 2;
    const std::vector<fs::path> inputs = images(6);
    EXPECT_THROW(
        app::runBatch(inputs, settings, [](const BatchOutcome&) { throw std::runtime_error("no report"); }),
        std::runtime_error);
    // What is there is whole, and the manifest knows it.
    for (const auto& [name, entry] : app::readManifest(out(manifest)).outputs) {
        EXPECT_TRUE(entry.isDone);
        EXPECT_TRUE(fs::exists(out(name)));
    }
    const BatchSummary summary = run(inputs);
    EXPECT_EQ(summary.done + summary.skipped, 6);
}

TEST_F(Batch, KnowsFilesOfAnyNameAgain) {
    const std::vector<fs::path> inputs = {image("a\xff.png"), image("a\xfe.png"), image("\xc3\xa9.png"),
                                          image("line\nbreak.png"), image(std::string(251, 'n') + ".png")};
    EXPECT_THAT(counts(inputs), ElementsAre(5, 0, 0));
    const std::map<std::string, Bytes> first = outputs();
    EXPECT_EQ(first.size(), 6U);
    EXPECT_THAT(counts(inputs), ElementsAre(0, 5, 0));
    EXPECT_EQ(outputs(), first);
}

TEST_F(Batch, RefusesAnOutputWhoseNameIsTooLongEachTime) {
    const fs::path input = folder / "in" / std::string(255, 'n');
    fs::rename(image("a.png"), input);
    settings.format = ".png";
    for (int time = 0; time < 2; ++time) {
        EXPECT_THAT(counts({input}), ElementsAre(0, 0, 1));
        const BatchOutcome& outcome = outcomes.begin()->second;
        EXPECT_EQ(outcome.exitCode, app::eCannotWrite);
        EXPECT_EQ(outcome.error, "cannot write " + outcome.output.string() + ": File name too long");
        EXPECT_EQ(outputs().size(), 1U); // The manifest.
    }
}

} // namespace
