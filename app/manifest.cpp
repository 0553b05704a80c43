#include "app/manifest.h"

#include "app/atomic_file.h"
#include "app/errors.h"
#include "app/input_file.h"

#include <nlohmann/json.hpp>

#include <istream>
#include <iterator>

namespace app {
namespace {

using Json = nlohmann::ordered_json;

constexpr int manifestVersion = 1;

Json asJson(const ManifestEntry& entry) {
    if (entry.isDone) {
        return {{"input", entry.input},           {"status", "done"},
                {"version", entry.version},       {"settings", entry.settings},
                {"inputSha256", entry.inputHash}, {"outputSha256", entry.contentHash}};
    }
    return {
        {"input", entry.input}, {"status", "failed"}, {"exitCode", entry.exitCode}, {"error", entry.error}};
}

ManifestEntry entryOf(const Json& json) {
    ManifestEntry entry;
    entry.input = json.at("input");
    const std::string status = json.at("status");
    entry.isDone = status == "done";
    if (entry.isDone) {
        entry.version = json.at("version");
        entry.settings = json.at("settings");
        entry.inputHash = json.at("inputSha256");
        entry.contentHash = json.at("outputSha256");
    } else if (status == "failed") {
        entry.exitCode = json.at("exitCode");
        entry.error = json.at("error");
    } else {
        throw UnreadableError("there is no status \"" + status + "\"");
    }
    return entry;
}

Manifest manifestOf(const Json& json) {
    if (json.at("kavfilt-batch") != manifestVersion) {
        throw UnreadableError("it is of another version");
    }
    Manifest manifest;
    for (const auto& [name, entry] : json.at("outputs").items()) {
        manifest.outputs[name] = entryOf(entry);
    }
    for (const auto& [hash, description] : json.at("settings").items()) {
        manifest.settings[hash] = description.dump();
    }
    return manifest;
}

} // namespace

Manifest readManifest(const std::filesystem::path& path) {
    return readInput(path, [](std::istream& file) {
        try {
            return manifestOf(Json::parse(file));
        } catch (const Json::exception&) {
            throw UnreadableError("it is not the manifest of a batch");
        }
    });
}

void writeManifest(const std::filesystem::path& path, const Manifest& manifest) {
    Json json = {
        {"kavfilt-batch", manifestVersion}, {"outputs", Json::object()}, {"settings", Json::object()}};
    for (const auto& [name, entry] : manifest.outputs) {
        json["outputs"][name] = asJson(entry);
        const auto description = manifest.settings.find(entry.settings);
        if (description != manifest.settings.end()) {
            json["settings"][entry.settings] = Json::parse(description->second);
        }
    }
    // Names of inputs and messages may hold any bytes.
    const std::string text = json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
    writeFile(path, {reinterpret_cast<const unsigned char*>(text.data()), text.size()}, Overwrite::force);
}

} // namespace app
