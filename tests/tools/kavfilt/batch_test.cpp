#include "app/filtering.h"
#include "app/image_file.h"
#include "tests/app/images.h"
#include "tests/support/sanitizers.h"
#include "tests/tools/kavfilt/program.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <map>
#include <pty.h>
#include <sstream>
#include <sys/resource.h>
#include <sys/stat.h>
#include <thread>

namespace {

namespace fs = std::filesystem;
using app::Depth;
using app::Overwrite;
using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::UnorderedElementsAre;

const Words band = {"--type", "bandpass", "--frequency", "0.2", "--sigma", "0.04"};
const std::string recipe =
    R"({"kavfilt": 1, "filter": {"type": "gabor-reject", "period": 8, "sigma": 0.01, "angle": 30},
        "padding": "mirror", "part": "real", "range": "clip"})";

// Images of several sizes in a folder.
class Batch : public testing::Test {
protected:
    Batch() {
        write("a.png", 64, 48);
        write("b.png", 48, 64);
        write("c.png", 30, 30);
        writeBytes(folder / "r.json", bytesOf(recipe));
    }
    void write(const std::string& name, long width, long height) {
        app::writeImage(folder / name, patternImage(width, height, Depth::bits8), Overwrite::force);
    }
    Words arguments(const Words& inputs, const Words& more = {}) {
        return Words{"filter"} + inputs + Words{"-o", "out", "--recipe", "r.json"} + more;
    }
    Outcome filter(const Words& inputs, const Words& more = {}) {
        return run(folder.path(), arguments(inputs, more));
    }
    std::map<std::string, Bytes> outputs(const std::string& name = "out") {
        std::map<std::string, Bytes> all;
        for (const auto& entry : fs::directory_iterator(folder / name)) {
            all[entry.path().filename().string()] = readBytes(entry.path());
        }
        return all;
    }
    json manifest() {
        const Bytes bytes = readBytes(folder / "out" / "kavfilt-batch.json");
        return json::parse(bytes.begin(), bytes.end());
    }

    TemporaryFolder folder;
};

// One object per line, by the input.
std::map<std::string, json> objects(const std::string& output) {
    std::map<std::string, json> all;
    std::istringstream lines(output);
    for (std::string line; std::getline(lines, line);) {
        const json object = json::parse(line);
        all[object.at("input")] = object;
    }
    return all;
}

TEST_F(Batch, DoesWhatOneRunForEachImageDoes) {
    const Outcome outcome = filter({"a.png", "b.png", "c.png"});
    EXPECT_EQ(outcome.exitCode, 0) << outcome.errors;
    EXPECT_EQ(outcome.errors, "");
    EXPECT_THAT(outcome.output, HasSubstr("a.png -> out/a.png: 64 x 48, 8-bit, result "));
    EXPECT_THAT(outcome.output, testing::EndsWith("\n3 done, 0 skipped, 0 failed\n"));
    for (const std::string name : {"a.png", "b.png", "c.png"}) {
        const Outcome one =
            run(folder.path(), {"filter", name, "-o", "alone.png", "--recipe", "r.json", "--force"});
        EXPECT_EQ(one.exitCode, 0) << one.errors;
        EXPECT_EQ(readBytes(folder / "alone.png"), readBytes(folder / "out" / name)) << name;
    }
    EXPECT_THAT(filter({"a.png", "b.png", "c.png"}).output,
                HasSubstr("b.png -> out/b.png: finished before, skipped\n"));
    EXPECT_EQ(filter({"a.png", "b.png"}, {"-q"}).output, "");
}

TEST_F(Batch, TakesOptionsAndFiltersFromFilesToo) {
    EXPECT_EQ(run(folder.path(), Words{"filter", "a.png", "c.png", "-o", "out"} + band).exitCode, 0);
    EXPECT_EQ(run(folder.path(), Words{"filter", "a.png", "-o", "alone.png"} + band).exitCode, 0);
    EXPECT_EQ(readBytes(folder / "out" / "a.png"), readBytes(folder / "alone.png"));
    EXPECT_EQ(run(folder.path(), Words{"save", "--size", "64,48", "-o", "f.kav"} + band).exitCode, 0);
    const Outcome outcome =
        run(folder.path(), {"filter", "a.png", "b.png", "-o", "from-file", "--filter", "f.kav"});
    EXPECT_EQ(outcome.exitCode, 0) << outcome.errors; // Both have 64 x 64 transforms.
    EXPECT_EQ(readBytes(folder / "from-file" / "a.png"), readBytes(folder / "alone.png"));
}

TEST_F(Batch, IsWhatADirectoryAsOutputMakes) {
    fs::create_directory(folder / "out");
    EXPECT_EQ(filter({"a.png"}).exitCode, 0);
    EXPECT_THAT(outputs(), testing::SizeIs(2));
    EXPECT_EQ(run(folder.path(), Words{"filter", "a.png", "-o", "new.png/"} + band).exitCode, 0);
    EXPECT_TRUE(fs::exists(folder / "new.png" / "a.png"));
    expectFailure(run(folder.path(), Words{"filter", "a.png", "b.png", "-o", "c.png"} + band), 2,
                  "several images need a directory as output, not c.png");
    expectFailure(run(folder.path(), Words{"filter", "a.png", "-o", "new.png", "--force"} + band), 4,
                  "cannot write new.png: it is a directory");
    expectFailure(run(folder.path(), Words{"filter", "a.png", "-o", "x.tif", "--format", "png"} + band), 2,
                  "--format is for outputs in a directory; the name x.tif says the format");
    expectFailure(run(folder.path(), Words{"filter", "a.png", "-o", "r.json/x/"} + band), 4,
                  "cannot make the directory r.json/x/: Not a directory");
    expectFailure(filter({"a.png", "./a.png"}), 2, "a.png and ./a.png would both become out/a.png");
}

TEST_F(Batch, GivesOutputsAnotherFormat) {
    EXPECT_EQ(run(folder.path(),
                  Words{"filter", "a.png", "-o", "out/", "--format", "tif", "--depth", "float"} + band)
                  .exitCode,
              0);
    EXPECT_EQ(app::readImage(folder / "out" / "a.tif").depth, Depth::float32);
    EXPECT_EQ(run(folder.path(), Words{"filter", "a.png", "-o", "out/", "--format", "gif"} + band).exitCode,
              2);
}

TEST_F(Batch, ReportsInJson) {
    writeBytes(folder / "bad.png", bytesOf("P5 10 10 255\nxx"));
    writeBytes(folder / "two.pgm", bytesOf("P2 2 1 15 0 15"));
    EXPECT_EQ(filter({"b.png", "c.png"}).exitCode, 0);
    const Outcome outcome = filter({"a.png", "bad.png", "c.png", "two.pgm"}, {"--json"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(outcome.errors, "kavfilt: cannot read bad.png: PGM: the file ends within the pels\n"
                              "kavfilt: 1 of 4 files failed; out/kavfilt-batch.json lists them\n");
    const std::map<std::string, json> lines = objects(outcome.output);
    EXPECT_EQ(lines.size(), 4U);
    EXPECT_EQ(lines.at("c.png"), json::parse(R"({"input":"c.png","output":"out/c.png","status":"skipped"})"));
    EXPECT_EQ(lines.at("bad.png"),
              json::parse(R"({"input":"bad.png","output":"out/bad.png","status":"failed","exitCode":3,
                              "error":"cannot read bad.png: PGM: the file ends within the pels"})"));
    const json& done = lines.at("a.png");
    EXPECT_EQ(done.at("status"), "done");
    EXPECT_EQ(done.at("size"), json({64, 48}));
    EXPECT_EQ(done.at("transform"), json({64, 64}));
    EXPECT_EQ(done.at("depth"), "8-bit");
    EXPECT_TRUE(done.at("minimum").is_number() && done.at("maximum").is_number());
    EXPECT_THAT(done.at("range").get<std::string>(), HasSubstr("clipped to 0 .. 255"));
    EXPECT_THAT(lines.at("two.pgm").at("notes").at(0).get<std::string>(), HasSubstr("scaled from 0 .. 15"));

    const Outcome one =
        run(folder.path(), {"filter", "a.png", "-o", "alone.png", "--recipe", "r.json", "--json"});
    json expected = done;
    expected["output"] = "alone.png";
    EXPECT_EQ(objects(one.output).at("a.png"), expected);
}

TEST_F(Batch, GoesOnAfterAFailure) {
    writeBytes(folder / "bad.png", bytesOf("P5 10 10 255\nxx"));
    const Outcome outcome = filter({"bad.png", "a.png", "none.png", "c.png"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_THAT(outcome.errors, HasSubstr("kavfilt: cannot read none.png: no such file\n"));
    EXPECT_THAT(outcome.errors,
                testing::EndsWith("kavfilt: 2 of 4 files failed; out/kavfilt-batch.json lists them\n"));
    EXPECT_THAT(outcome.output, HasSubstr("2 done, 0 skipped, 2 failed\n"));
    const json list = manifest();
    EXPECT_EQ(list.at("outputs").size(), 4U);
    EXPECT_EQ(list.at("outputs").at("a.png").at("status"), "done");
    EXPECT_EQ(list.at("outputs").at("bad.png").at("status"), "failed");
    EXPECT_EQ(list.at("outputs").at("bad.png").at("exitCode"), 3);
    EXPECT_EQ(list.at("outputs").at("none.png").at("error"), "cannot read none.png: no such file");
    EXPECT_THAT(outputs(), testing::SizeIs(3));
}

TEST_F(Batch, GivesTheSameBytesWhateverTheJobs) {
    Words inputs;
    for (int i = 0; i < 12; ++i) {
        inputs.push_back(std::string("i").append(std::to_string(i)).append(".png"));
        write(inputs.back(), 20 + 11 * i, 90 - 5 * i);
    }
    EXPECT_EQ(filter(inputs, {"--jobs", "1"}).exitCode, 0);
    const std::map<std::string, Bytes> one = outputs();
    fs::remove_all(folder / "out");
    EXPECT_EQ(filter(inputs, {"--jobs", "8"}).exitCode, 0);
    EXPECT_EQ(outputs(), one);
    for (const char* jobs : {"0", "257", "-1", "x", "1.5"}) {
        EXPECT_EQ(filter(inputs, {"--jobs", jobs}).exitCode, 2) << jobs;
    }
}

// The signal comes at any time of the run; afterwards there are whole files only, the manifest is true, and
// the same command ends as if nothing had happened.
TEST_F(Batch, CanBeInterruptedAndGoesOn) {
    Words inputs;
    for (int i = 0; i < 10; ++i) {
        inputs.push_back(std::string("i").append(std::to_string(i)).append(".png"));
        write(inputs.back(), 500 + i, 400 + i);
    }
    const auto start = std::chrono::steady_clock::now();
    ASSERT_EQ(filter(inputs, {"--jobs", "2"}).exitCode, 0);
    const auto wholeRun = std::chrono::steady_clock::now() - start;
    const std::map<std::string, Bytes> whole = outputs();
    ASSERT_EQ(whole.size(), 11U);
    int interrupted = 0;
    constexpr int trials = 8;
    for (int trial = 1; trial <= trials; ++trial) {
        fs::remove_all(folder / "out");
        Program program(folder.path(), arguments(inputs, {"--jobs", "2", "--json"}));
        std::this_thread::sleep_for(wholeRun * trial / (trials + 1));
        program.signal(trial % 2 == 0 ? SIGINT : SIGTERM);
        const Outcome outcome = program.wait();
        if (outcome.exitCode != 0 && outcome.exitCode != -1) { // -1: not before the program was up.
            EXPECT_EQ(outcome.exitCode, trial % 2 == 0 ? 130 : 143);
            EXPECT_EQ(outcome.errors, "kavfilt: interrupted\n");
            ++interrupted;
            const json list = manifest();
            std::size_t done = 0;
            for (const auto& [name, bytes] : outputs()) {
                if (name != "kavfilt-batch.json") {
                    EXPECT_EQ(bytes, whole.at(name)) << name; // No temporary file either.
                    EXPECT_EQ(list.at("outputs").at(name).at("status"), "done");
                    ++done;
                }
            }
            EXPECT_EQ(list.at("outputs").size(), done);
            EXPECT_EQ(objects(outcome.output).size(), done);
        }
        const Outcome rest = filter(inputs, {"--jobs", "2"});
        EXPECT_EQ(rest.exitCode, 0) << rest.errors;
        EXPECT_EQ(outputs(), whole);
    }
    EXPECT_GT(interrupted, 2);
}

// Nothing can be done at a kill; what was finished is found again all the same.
TEST_F(Batch, GoesOnAfterAKill) {
    Words inputs;
    for (int i = 0; i < 10; ++i) {
        inputs.push_back(std::string("i").append(std::to_string(i)).append(".png"));
        write(inputs.back(), 500 + i, 400 + i);
    }
    ASSERT_EQ(filter(inputs).exitCode, 0);
    const std::map<std::string, Bytes> whole = outputs();
    fs::remove_all(folder / "out");
    Program program(folder.path(), arguments(inputs, {"--jobs", "2"}));
    while (!fs::exists(folder / "out" / "i3.png")) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    program.signal(SIGKILL);
    EXPECT_EQ(program.wait().exitCode, -1);
    const Outcome rest = filter(inputs);
    EXPECT_EQ(rest.exitCode, 0) << rest.errors;
    std::map<std::string, Bytes> after = outputs();
    for (auto file = after.begin(); file != after.end();) { // What was in work when it was killed.
        file = file->first.starts_with(".kavfilt-") ? after.erase(file) : std::next(file);
    }
    EXPECT_EQ(after, whole);
}

// A full disk, as far as the program can tell.
TEST_F(Batch, SaysWhenNothingCanBeWritten) {
    fs::create_directory(folder / "out");
    fs::permissions(folder / "out", fs::perms::owner_read | fs::perms::owner_exec);
    // The leak sanitizer cannot watch a program that runs with other rights than it was started with.
    if (!support::sanitizerKeepsMemory) {
        const WithoutRootRights nobody(folder);
        expectFailure(filter({"a.png", "b.png"}), 4,
                      "cannot write out/kavfilt-batch.json: Permission denied");
    }
    fs::permissions(folder / "out", fs::perms::owner_all);
    EXPECT_THAT(outputs(), testing::IsEmpty());

    // Files of up to 4 KiB can be written: the manifest, but not the large output. SIGXFSZ is ignored, so
    // that the write fails.
    write("large.png", 500, 500);
    const std::string command = "cd '" + folder.path().string() +
                                "' && (trap '' XFSZ; ulimit -f 4; '" KAV_PROGRAM
                                "' filter large.png c.png -o out --recipe r.json -q 2> errors)";
    const int status = std::system(("bash -c \"" + command + "\"").c_str());
    EXPECT_EQ(WEXITSTATUS(status), 1);
    const Bytes errors = readBytes(folder / "errors");
    EXPECT_THAT(std::string(errors.begin(), errors.end()),
                testing::StartsWith("kavfilt: cannot write out/large.png: File too large\n"));
    EXPECT_EQ(manifest().at("outputs").at("large.png").at("exitCode"), 4);
    EXPECT_THAT(outputs(), testing::SizeIs(2)); // c.png and the manifest; nothing temporary.
}

TEST_F(Batch, RefusesADamagedManifest) {
    fs::create_directory(folder / "out");
    writeBytes(folder / "out" / "kavfilt-batch.json", bytesOf("{"));
    expectFailure(filter({"a.png"}), 3,
                  "cannot read out/kavfilt-batch.json: it is not the manifest of a batch");
}

// On a terminal, and only there.
TEST_F(Batch, ShowsItsProgressOnATerminal) {
    int terminal = -1;
    const pid_t process = ::forkpty(&terminal, nullptr, nullptr, nullptr);
    ASSERT_GE(process, 0);
    if (process == 0) {
        const int nothing = ::open("/dev/null", O_WRONLY);
        if (::chdir(folder.path().c_str()) == 0 && ::dup2(nothing, 1) == 1) {
            ::execl(KAV_PROGRAM, KAV_PROGRAM, "filter", "a.png", "b.png", "-o", "out", "--recipe", "r.json",
                    nullptr);
        }
        ::_exit(99);
    }
    std::string shown;
    char chunk[256];
    for (ssize_t got = 0; (got = ::read(terminal, chunk, sizeof chunk)) > 0;) {
        shown.append(chunk, static_cast<std::size_t>(got));
    }
    ::close(terminal);
    int status = 0;
    ::waitpid(process, &status, 0);
    EXPECT_EQ(WEXITSTATUS(status), 0);
    EXPECT_THAT(shown, HasSubstr("[..............................] 0 of 2"));
    EXPECT_THAT(shown, HasSubstr("[###############...............] 1 of 2, "));
    EXPECT_THAT(shown, HasSubstr("[##############################] 2 of 2"));
    EXPECT_THAT(shown, testing::EndsWith("\r\x1b[K")); // Gone at the end.

    EXPECT_EQ(filter({"a.png", "b.png"}).errors, "");
}

TEST_F(Batch, NeedsNoMoreMemoryForMoreImages) {
    if (support::sanitizerKeepsMemory) {
        GTEST_SKIP() << "a sanitizer is at work";
    }
    Words inputs;
    for (int i = 0; i < 24; ++i) {
        inputs.push_back(std::string("i").append(std::to_string(i)).append(".pgm"));
        app::writeImage(folder / inputs.back(), patternImage(1024, 1024, Depth::bits8), Overwrite::force);
    }
    // The largest of all processes so far, in KiB.
    const auto peak = [] {
        rusage usage{};
        ::getrusage(RUSAGE_CHILDREN, &usage);
        return usage.ru_maxrss;
    };
    // Whether two jobs need their most at the same time is chance; twice what one needs is the most of both.
    ASSERT_EQ(filter({inputs[0], inputs[1], inputs[2], inputs[3]}, {"--jobs", "1"}).exitCode, 0);
    const long limit = 2 * peak() + peak() / 4;
    ASSERT_EQ(filter(inputs, {"--jobs", "2"}).exitCode, 0);
    EXPECT_LT(peak(), limit);
    fs::remove_all(folder / "out");
    ASSERT_EQ(filter(inputs, {"--jobs", "6"}).exitCode, 0);
    EXPECT_GT(peak(), limit); // So much that it would have been seen.
}

TEST_F(Batch, TakesRecipesForOneImage) {
    ASSERT_EQ(run(folder.path(), {"filter", "a.png", "-o", "recipe.png", "--recipe", "r.json"}).exitCode, 0);
    ASSERT_EQ(run(folder.path(), {"filter", "a.png", "-o", "options.png", "--type", "gabor-reject",
                                  "--frequency", "0.125", "--sigma", "0.01", "--angle", "30", "--pad",
                                  "mirror", "--part", "real", "--range", "clip"})
                  .exitCode,
              0);
    EXPECT_EQ(readBytes(folder / "recipe.png"), readBytes(folder / "options.png"));

    const auto one = [&](const Words& more) {
        return run(folder.path(), Words{"filter", "a.png", "-o", "x.png", "--recipe", "r.json"} + more);
    };
    for (const Words& more : std::vector<Words>{
             {"--pad", "zero"}, {"--part", "real"}, {"--range", "clip"}, {"--depth", "8"}, {"--raw"}}) {
        expectFailure(one(more), 2, more[0] + " does not go with --recipe, which says it");
    }
    for (const Words& more :
         std::vector<Words>{{"--sigma", "0.1"}, {"--pair"}, {"--angle", "1"}, {"--unit"}}) {
        expectFailure(one(more), 2, more[0] + " does not go with --recipe");
    }
    expectFailure(one(band), 2, "the filter is one of --type, --filter and --recipe");
    writeBytes(folder / "r.json",
               bytesOf(R"({"kavfilt": 1, "filter": {"type": "bandpass", "sigma": true}})"));
    expectFailure(one({}), 3,
                  "cannot read r.json: /filter: the type bandpass needs \"frequency\" or \"period\"");
    EXPECT_FALSE(fs::exists(folder / "x.png"));
}

} // namespace
