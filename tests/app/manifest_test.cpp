#include "app/manifest.h"

#include "app/errors.h"
#include "tests/app/files.h"
#include "tests/app/refusal.h"

#include <gmock/gmock.h>

#include <sstream>

namespace {

using testing::ElementsAre;

app::Manifest example() {
    app::ManifestEntry done;
    done.input = "in/a.png";
    done.isDone = true;
    done.version = "1.2";
    done.settings = "s1";
    done.inputHash = "i";
    done.contentHash = "o";
    app::ManifestEntry failed;
    failed.input = "in/b.png";
    failed.exitCode = 3;
    failed.error = "cannot read in/b.png: \"no\"\n";
    app::Manifest manifest;
    manifest.outputs = {{"a.png", done}, {"b.png", failed}};
    manifest.settings = {{"s1", R"({"kavfilt":1,"x":0.1})"}, {"unused", "{}"}};
    return manifest;
}

TEST(Manifest, GivesBackWhatWasWritten) {
    const TemporaryFolder folder;
    app::writeManifest(folder / "m.json", example());
    const app::Manifest back = app::readManifest(folder / "m.json");
    ASSERT_EQ(back.outputs.size(), 2U);
    const app::ManifestEntry& done = back.outputs.at("a.png");
    EXPECT_TRUE(done.isDone);
    EXPECT_EQ(done.input, "in/a.png");
    EXPECT_EQ(done.version, "1.2");
    EXPECT_EQ(done.settings, "s1");
    EXPECT_EQ(done.inputHash, "i");
    EXPECT_EQ(done.contentHash, "o");
    const app::ManifestEntry& failed = back.outputs.at("b.png");
    EXPECT_FALSE(failed.isDone);
    EXPECT_EQ(failed.exitCode, 3);
    EXPECT_EQ(failed.error, "cannot read in/b.png: \"no\"\n");
    EXPECT_THAT(back.settings,
                ElementsAre(std::pair<const std::string, std::string>("s1", R"({"kavfilt":1,"x":0.1})")));
}

// Two names that differ in bytes that are not UTF-8 stay two, and come back as they are.
TEST(Manifest, KeepsNamesOfAnyBytes) {
    const std::vector<std::string> names = {"a\xff.png", "a\xfe.png", "a\xc3\xa9.png", "b\n\"\\.png",
                                            "\x80\xc3\xa9%ff.png"};
    app::Manifest manifest;
    for (const std::string& name : names) {
        manifest.outputs[name].input = name;
    }
    const std::string text = app::manifestText(manifest);
    EXPECT_THAT(text, testing::HasSubstr("\"a/ff.png\""));
    EXPECT_THAT(text, testing::HasSubstr("\"a\xc3\xa9.png\""));
    EXPECT_THAT(text, testing::HasSubstr("\"/80/c3/a9%ff.png\""));
    std::istringstream file(text);
    const app::Manifest back = app::readManifest(file);
    EXPECT_EQ(back.outputs.size(), names.size());
    for (const std::string& name : names) {
        EXPECT_EQ(back.outputs.count(name), 1U) << name;
    }
    for (const char* key : {"a/", "a/f", "a/fg", "a/7f", "/-1", "a/f/f0"}) {
        std::istringstream bad(
            R"({"kavfilt-batch": 1, "outputs": {")" + std::string(key) +
            R"(": {"input": "", "status": "failed", "error": "", "exitCode": 1}}, "settings": {}})");
        EXPECT_EQ(messageOf<app::UnreadableError>([&] { static_cast<void>(app::readManifest(bad)); }),
                  "it is not the manifest of a batch")
            << key;
    }
}

// A failed output has no settings, and "" is none of its.
TEST(Manifest, LeavesOutSettingsThatNoOutputWasMadeWith) {
    app::Manifest manifest = example();
    manifest.outputs.erase("a.png");
    manifest.settings[""] = "{}";
    std::istringstream file(app::manifestText(manifest));
    EXPECT_THAT(app::readManifest(file).settings, testing::IsEmpty());
}

TEST(Manifest, RefusesAnyOtherFile) {
    const TemporaryFolder folder;
    const std::string path = (folder / "m.json").string();
    const auto refusal = [&](const std::string& text) {
        writeBytes(path, bytesOf(text));
        return messageOf<app::UnreadableError>([&] { static_cast<void>(app::readManifest(path)); });
    };
    const std::string noManifest = "cannot read " + path + ": it is not the manifest of a batch";
    for (const char* text : {"", "{}", "[]", "1", "{\"kavfilt-batch\": 1}",
                             R"({"kavfilt-batch": 1, "outputs": {"a": {}}, "settings": {}})",
                             R"({"kavfilt-batch": 1, "outputs": {"a": 1}, "settings": {}})",
                             R"({"kavfilt-batch": 1, "outputs": {"a": {"input": 1, "status": "done"}}})"}) {
        EXPECT_EQ(refusal(text), noManifest) << text;
    }
    EXPECT_EQ(refusal(R"({"kavfilt-batch": 2})"), "cannot read " + path + ": it is of another version");
    EXPECT_EQ(refusal(R"({"kavfilt-batch": 1, "outputs": {"a": {"input": "", "status": "lost"}}})"),
              "cannot read " + path + ": there is no status \"lost\"");
    const auto withExitCode = [&](const std::string& code) {
        return refusal(
            R"({"kavfilt-batch": 1, "outputs": {"a": {"input": "", "status": "failed", "error": "", "exitCode": )" +
            code + "}}, \"settings\": {}}");
    };
    EXPECT_EQ(withExitCode("255"), "");
    for (const char* code : {"256", "-1", "1e300", "4294967297", "18446744073709551615", "true", "\"1\""}) {
        EXPECT_NE(withExitCode(code), "") << code;
    }
    EXPECT_EQ(withExitCode("1.0"), noManifest);
    EXPECT_EQ(withExitCode("256"), "cannot read " + path + ": there is no exit code 256");
    const auto withDescription = [&](std::size_t levels) {
        return refusal(R"({"kavfilt-batch": 1, "outputs": {}, "settings": {"h": )" +
                       std::string(levels, '[') + std::string(levels, ']') + "}}");
    };
    EXPECT_EQ(withDescription(6), "");
    EXPECT_EQ(withDescription(7), noManifest);
    EXPECT_EQ(withDescription(200000), noManifest);
    app::writeManifest(path, example());
    const Bytes whole = readBytes(path);
    for (std::size_t length = 0; length + 2 < whole.size(); ++length) {
        EXPECT_EQ(refusal(std::string(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length))),
                  noManifest);
    }
}

} // namespace
