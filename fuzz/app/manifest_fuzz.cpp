// Any bytes are the manifest of a batch or refused with an UnreadableError; one that was read can be written
// and read again, to the same manifest without the settings that no output was made with.
#include "app/errors.h"
#include "app/manifest.h"
#include "fuzz/support/target.h"

#include <sstream>
#include <string>

namespace {

using app::Manifest;
using app::ManifestEntry;

bool read(const std::string& text, Manifest& manifest) {
    std::istringstream file(text);
    try {
        return fuzz::attempt([&] { manifest = app::readManifest(file); }) == fuzz::Outcome::done;
    } catch (const app::UnreadableError& error) {
        fuzz::require(fuzz::memoryIsScarce() || *error.what() != '\0', "an error has a text");
        return false;
    }
}

/// A done output has no error, a failed one nothing that would make it count as done.
void checkEntry(const ManifestEntry& entry) {
    if (entry.isDone) {
        fuzz::require(entry.exitCode == 0 && entry.error.empty(), "what is done has not failed");
    } else {
        fuzz::require(entry.version.empty() && entry.settings.empty() && entry.inputHash.empty() &&
                          entry.contentHash.empty(),
                      "what failed is not done");
        fuzz::require(entry.exitCode >= 0 && entry.exitCode <= 255, "an exit code is one byte");
    }
}

bool isSame(const ManifestEntry& a, const ManifestEntry& b) {
    return a.input == b.input && a.isDone == b.isDone && a.version == b.version && a.settings == b.settings &&
           a.inputHash == b.inputHash && a.contentHash == b.contentHash && a.exitCode == b.exitCode &&
           a.error == b.error;
}

bool isUsed(const Manifest& manifest, const std::string& settings) {
    for (const auto& [name, entry] : manifest.outputs) {
        if (entry.isDone && entry.settings == settings) {
            return true;
        }
    }
    return false;
}

void checkRewritten(const Manifest& manifest, const Manifest& back) {
    fuzz::require(back.outputs.size() == manifest.outputs.size(), "as many outputs");
    for (const auto& [name, entry] : manifest.outputs) {
        const auto found = back.outputs.find(name);
        fuzz::require(found != back.outputs.end() && isSame(found->second, entry), "the same outputs");
    }
    std::size_t used = 0;
    for (const auto& [hash, description] : manifest.settings) {
        if (isUsed(manifest, hash)) {
            ++used;
            const auto found = back.settings.find(hash);
            fuzz::require(found != back.settings.end() && found->second == description, "the same settings");
        }
    }
    fuzz::require(back.settings.size() == used, "no other settings");
}

} // namespace

void fuzz::run(Bytes input) {
    Manifest manifest;
    if (!read(input.text(), manifest)) {
        return;
    }
    for (const auto& [name, entry] : manifest.outputs) {
        checkEntry(entry);
    }
    std::string text;
    if (attempt([&] { text = app::manifestText(manifest); }) != Outcome::done) {
        return;
    }
    Manifest back;
    if (!read(text, back)) {
        require(memoryIsScarce(), "what was written can be read");
        return;
    }
    checkRewritten(manifest, back);
    require(app::manifestText(back) == text, "the same text a second time");
}
