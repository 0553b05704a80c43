#include "app/manifest.h"

#include "app/atomic_file.h"
#include "app/errors.h"
#include "app/input_file.h"
#include "app/json.h"

#include <algorithm>
#include <charconv>
#include <istream>
#include <string_view>
#include <utility>

namespace app {
namespace {

constexpr long manifestVersion = 1;

[[noreturn]] void refuse() {
    throw UnreadableError("it is not the manifest of a batch");
}

template <class T>
const T& member(const Json& json, const char* key) {
    const Json* const value = json.find(key);
    if (value == nullptr || value->as<T>() == nullptr) {
        refuse();
    }
    return *value->as<T>();
}

bool isUtf8(const std::string& text) {
    try {
        static_cast<void>(jsonText({text}, {.replacesBadText = false}));
        return true;
    } catch (const UsageError&) {
        return false;
    }
}

// A name of any bytes as JSON, which holds UTF-8 alone: of any other name, the bytes above 127 stand as a
// slash, which no name has, and two digits.
std::string keyOf(const std::string& name) {
    if (isUtf8(name)) {
        return name;
    }
    constexpr std::string_view digits = "0123456789abcdef";
    std::string key;
    for (const char c : name) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x80) {
            key += c;
        } else {
            key.append({'/', digits[byte / 16], digits[byte % 16]});
        }
    }
    return key;
}

std::string nameOf(const std::string& key) {
    std::string name;
    for (std::size_t i = 0; i < key.size(); ++i) {
        if (key[i] != '/') {
            name += key[i];
            continue;
        }
        unsigned char byte = 0;
        const char* const digits = key.data() + i + 1;
        const std::size_t count = std::min<std::size_t>(2, key.size() - i - 1);
        if (std::from_chars(digits, digits + count, byte, 16).ptr != digits + 2 || byte < 0x80) {
            refuse();
        }
        name += static_cast<char>(byte);
        i += 2;
    }
    return name;
}

Json asJson(const ManifestEntry& entry) {
    Json::Object json;
    set(json, "input", {entry.input});
    set(json, "status", {entry.isDone ? "done" : "failed"});
    if (entry.isDone) {
        set(json, "version", {entry.version});
        set(json, "settings", {entry.settings});
        set(json, "inputSha256", {entry.inputHash});
        set(json, "outputSha256", {entry.contentHash});
    } else {
        set(json, "exitCode", {long{entry.exitCode}});
        set(json, "error", {entry.error});
    }
    return {std::move(json)};
}

// One byte, as the system has it.
int exitCodeOf(long number) {
    if (number < 0 || number > 255) {
        throw UnreadableError("there is no exit code " + std::to_string(number));
    }
    return static_cast<int>(number);
}

ManifestEntry entryOf(const Json& json) {
    ManifestEntry entry;
    entry.input = member<std::string>(json, "input");
    const auto& status = member<std::string>(json, "status");
    entry.isDone = status == "done";
    if (entry.isDone) {
        entry.version = member<std::string>(json, "version");
        entry.settings = member<std::string>(json, "settings");
        entry.inputHash = member<std::string>(json, "inputSha256");
        entry.contentHash = member<std::string>(json, "outputSha256");
    } else if (status == "failed") {
        entry.exitCode = exitCodeOf(member<long>(json, "exitCode"));
        entry.error = member<std::string>(json, "error");
    } else {
        throw UnreadableError("there is no status \"" + status + "\"");
    }
    return entry;
}

Manifest manifestOf(const Json& json) {
    if (member<long>(json, "kavfilt-batch") != manifestVersion) {
        throw UnreadableError("it is of another version");
    }
    Manifest manifest;
    for (const auto& [key, entry] : member<Json::Object>(json, "outputs")) {
        manifest.outputs[nameOf(key)] = entryOf(entry);
    }
    for (const auto& [hash, description] : member<Json::Object>(json, "settings")) {
        manifest.settings[hash] = jsonText(description, {});
    }
    return manifest;
}

Json parse(std::istream& file) {
    try {
        return parseJson(file);
    } catch (const UnreadableError&) {
        refuse();
    }
}

} // namespace

Manifest readManifest(std::istream& file) {
    return manifestOf(parse(file));
}

Manifest readManifest(const std::filesystem::path& path) {
    return readInput(path, [](std::istream& file) { return readManifest(file); });
}

std::string manifestText(const Manifest& manifest) {
    Json::Object outputs;
    std::map<std::string, Json> used;
    for (const auto& [name, entry] : manifest.outputs) {
        outputs.emplace_back(keyOf(name), asJson(entry));
        const auto description = manifest.settings.find(entry.settings);
        if (entry.isDone && description != manifest.settings.end() && !used.contains(entry.settings)) {
            used[entry.settings] = parseJson(description->second);
        }
    }
    Json::Object settings;
    for (auto& [hash, description] : used) {
        settings.emplace_back(hash, std::move(description));
    }
    Json::Object json;
    set(json, "kavfilt-batch", {manifestVersion});
    set(json, "outputs", {std::move(outputs)});
    set(json, "settings", {std::move(settings)});
    // What else may hold any bytes, names of inputs and messages, is for people.
    return jsonText({std::move(json)}, {.isIndented = true}) + "\n";
}

void writeManifest(const std::filesystem::path& path, const Manifest& manifest) {
    const std::string text = manifestText(manifest);
    writeFile(path, {reinterpret_cast<const unsigned char*>(text.data()), text.size()}, Overwrite::force);
}

} // namespace app
