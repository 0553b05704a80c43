#include "app/recipe.h"

#include "app/errors.h"
#include "app/image_file.h"
#include "app/input_file.h"
#include "app/words.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <iterator>
#include <limits>
#include <set>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace app {
namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;

constexpr int recipeVersion = 1;
// Far above any recipe, so that no other file is taken in whole.
constexpr std::size_t largestRecipe = std::size_t{1} << 16;

// The keys beside "filter", and those in it.
constexpr const char* outerKeys[] = {"kavfilt", "filter", "padding", "part", "range", "depth"};
constexpr const char* filterKeys[] = {"type",  "frequency", "period", "sigma",  "plateau",
                                      "angle", "dc",        "pair",   "kernel", "unit"};

template <class T>
struct Word {
    const char* word;
    T meaning;
};
constexpr Word<Padding> paddings[] = {{"mirror", Padding::mirror}, {"zero", Padding::zero}};
constexpr Word<Part> parts[] = {{"real", Part::real},
                                {"magnitude", Part::magnitude},
                                {"angle", Part::angle},
                                {"quadrant", Part::quadrant}};
constexpr Word<Range> ranges[] = {{"normalize", Range::normalize}, {"clip", Range::clip}};
constexpr Word<Depth> depths[] = {
    {"8", Depth::bits8}, {"16", Depth::bits16}, {"float", Depth::float32}, {"double", Depth::float64}};

[[noreturn]] void refuse(const std::string& place, const std::string& reason) {
    throw UnreadableError(place.empty() ? reason : oneLine(place) + ": " + reason);
}

// One step down a JSON pointer (RFC 6901).
std::string below(const std::string& place, std::string_view key) {
    std::string pointer = place + "/";
    for (const char c : key) {
        pointer += c == '~' ? "~0" : c == '/' ? "~1" : std::string(1, c);
    }
    return pointer;
}

// Finds keys that are there twice, of which the parser would silently keep the last one.
class Duplicates {
public:
    bool operator()(int, Json::parse_event_t event, const Json& parsed) {
        switch (event) {
        case Json::parse_event_t::object_start:
            levels_.push_back({true, {}, {}, 0});
            break;
        case Json::parse_event_t::array_start:
            levels_.push_back({false, {}, {}, 0});
            break;
        case Json::parse_event_t::object_end:
        case Json::parse_event_t::array_end:
            levels_.pop_back();
            nextElement();
            break;
        case Json::parse_event_t::value:
            nextElement();
            break;
        case Json::parse_event_t::key:
            levels_.back().key = parsed.get<std::string>();
            if (!levels_.back().keys.insert(levels_.back().key).second) {
                refuse(place(), "the key is there twice");
            }
            break;
        }
        return true;
    }

private:
    struct Level {
        bool isObject;
        std::set<std::string> keys;
        std::string key;
        std::size_t element;
    };

    void nextElement() {
        if (!levels_.empty()) {
            ++levels_.back().element;
        }
    }
    [[nodiscard]] std::string place() const {
        std::string pointer;
        for (const Level& level : levels_) {
            pointer = below(pointer, level.isObject ? level.key : std::to_string(level.element));
        }
        return pointer;
    }

    std::vector<Level> levels_;
};

std::string contents(std::istream& file) {
    std::string text(largestRecipe + 1, '\0');
    file.read(text.data(), static_cast<std::streamsize>(text.size()));
    text.resize(static_cast<std::size_t>(file.gcount()));
    if (text.size() > largestRecipe) {
        refuse("", "the file is too large for a recipe");
    }
    return text;
}

Json parse(const std::string& text) {
    try {
        return Json::parse(text, Duplicates());
    } catch (const Json::exception& error) {
        // Without the parser's own prefix, "[json.exception.parse_error.101] ".
        const std::string message = error.what();
        const std::size_t prefix = message.find("] ");
        refuse("", "not JSON: " + (prefix == std::string::npos ? message : message.substr(prefix + 2)));
    }
}

std::string kindOf(const Json& value) {
    if (value.is_null() || value.is_discarded()) {
        return "null";
    }
    const std::string kind = value.type_name();
    return (kind == "object" || kind == "array" ? "an " : "a ") + kind;
}

// A value and where it stands.
class Node {
public:
    Node(const Json& value, std::string place) : value_(&value), place_(std::move(place)) {}

    [[noreturn]] void refuse(const std::string& reason) const { app::refuse(place_, reason); }
    [[noreturn]] void refuseKind(const std::string& wanted) const {
        refuse("must be " + wanted + ", not " + kindOf(*value_));
    }

    [[nodiscard]] const Json& json() const { return *value_; }
    [[nodiscard]] bool has(const std::string& key) const { return value_->contains(key); }
    [[nodiscard]] Node at(const std::string& key) const { return {value_->at(key), below(place_, key)}; }
    [[nodiscard]] Node element(std::size_t index) const {
        return {value_->at(index), below(place_, std::to_string(index))};
    }

    void mustBeObject() const {
        if (!value_->is_object()) {
            refuseKind("an object");
        }
    }
    [[nodiscard]] double number() const {
        if (!value_->is_number()) {
            refuseKind("a number");
        }
        return value_->get<double>();
    }
    [[nodiscard]] long wholeNumber() const {
        if (value_->is_number_unsigned() &&
            value_->get<std::uint64_t>() > static_cast<std::uint64_t>(std::numeric_limits<long>::max())) {
            refuse("is too large");
        }
        if (!value_->is_number_integer()) {
            value_->is_number() ? refuse("must be a whole number") : refuseKind("a whole number");
        }
        return value_->get<long>();
    }
    [[nodiscard]] bool boolean() const {
        if (!value_->is_boolean()) {
            refuseKind("true or false");
        }
        return value_->get<bool>();
    }
    [[nodiscard]] std::string string() const {
        if (!value_->is_string()) {
            refuseKind("a string");
        }
        return value_->get<std::string>();
    }

private:
    const Json* value_;
    std::string place_;
};

// How a word stands in JSON: the depths 8 and 16 are numbers.
Json wordAsJson(const char* word) {
    return *word >= '0' && *word <= '9' ? Json(std::stoi(word)) : Json(word);
}

template <class T, std::size_t n>
void readWord(const Node& recipe, const char* key, const Word<T> (&words)[n], std::optional<T>& value) {
    if (!recipe.has(key)) {
        return;
    }
    const Node node = recipe.at(key);
    std::string choices;
    for (const Word<T>& word : words) {
        const Json choice = wordAsJson(word.word);
        if (node.json() == choice && node.json().is_string() == choice.is_string()) {
            value = word.meaning;
            return;
        }
        choices += (choices.empty() ? "" : &word == std::end(words) - 1 ? " or " : ", ") + choice.dump();
    }
    node.refuse("must be " + choices + ", not " + node.json().dump(-1, ' ', true));
}

template <class T, std::size_t n>
void writeWord(nlohmann::ordered_json& recipe, const char* key, const Word<T> (&words)[n],
               const std::optional<T>& value) {
    for (const Word<T>& word : words) {
        if (value == word.meaning) {
            recipe[key] = wordAsJson(word.word);
        }
    }
}

template <class Keys>
bool isOneOf(const Keys& keys, const std::string& key) {
    return std::find(std::begin(keys), std::end(keys), key) != std::end(keys);
}

// `elsewhere` has the keys that stand in the other object, `other`.
template <class Keys, class OtherKeys>
void checkKeys(const Node& object, const Keys& keys, const OtherKeys& elsewhere, const char* other) {
    for (const auto& [key, value] : object.json().items()) {
        if (isOneOf(keys, key)) {
            continue;
        }
        const Node node = object.at(key);
        if (isOneOf(elsewhere, key)) {
            node.refuse(std::string("belongs ") + other);
        }
        std::string known;
        for (const char* const name : keys) {
            known += (known.empty() ? "" : ", ") + std::string(name);
        }
        node.refuse("there is no such key; known here are " + known);
    }
}

void checkVersion(const Node& recipe) {
    if (!recipe.has("kavfilt")) {
        recipe.refuse("a recipe needs \"kavfilt\": " + std::to_string(recipeVersion) + ", its version");
    }
    const Node version = recipe.at("kavfilt");
    if (version.wholeNumber() != recipeVersion) {
        version.refuse("this program reads recipes of version " + std::to_string(recipeVersion) + ", not " +
                       version.json().dump());
    }
}

// The parameter's name of a key: there are two keys for the frequency.
std::string parameterOf(const std::string& key) {
    return key == "period" ? "frequency" : key;
}

void checkApplicable(const Node& filter, const std::string& type) {
    for (const auto& [key, value] : filter.json().items()) {
        if (key != "type" && parameterUse(type, parameterOf(key)) == Use::no) {
            filter.at(key).refuse("does not go with the type " + type);
        }
    }
    if (filter.has("frequency") && filter.has("period")) {
        filter.at("period").refuse("the frequency is given too; one of the two says it");
    }
    for (const std::string name : parameterNames) {
        const bool given = filter.has(name) || (name == "frequency" && filter.has("period"));
        if (parameterUse(type, name) == Use::must && !given) {
            const char* const orPeriod = name == "frequency" ? " or \"period\"" : "";
            std::string message = "the type " + type;
            message.append(" needs \"").append(name).append("\"").append(orPeriod);
            filter.refuse(message);
        }
    }
}

// Sets one parameter and tries it among others that are right, so that what is refused is this one.
template <class T>
void setChecked(const Node& node, FilterParameters& parameters, T FilterParameters::*member,
                const std::type_identity_t<T>& value) {
    FilterParameters alone = {parameters.type, 0.25, 0.1, 0, 0};
    alone.*member = value;
    try {
        checkFilter(alone);
    } catch (const UsageError& error) {
        node.refuse(error.what());
    }
    parameters.*member = value;
}

double frequencyOfPeriod(const Node& node) {
    const double period = node.number();
    if (!(period >= 2)) {
        node.refuse("must be at least 2 pixels, not " + number(period));
    }
    return 1 / period;
}

// A number, or for a lobe two of them: along and across.
Extents extents(const Node& node, bool mayBeTwo) {
    if (!node.json().is_array()) {
        return node.number();
    }
    if (!mayBeTwo) {
        node.refuseKind("a number for a ring");
    }
    if (node.json().size() != 2) {
        node.refuse("must be two numbers, along and across, not " + std::to_string(node.json().size()));
    }
    return {node.element(0).number(), node.element(1).number()};
}

void readFilter(const Node& node, Recipe& recipe) {
    node.mustBeObject();
    checkKeys(node, filterKeys, outerKeys, "beside \"filter\"");
    FilterParameters& filter = recipe.settings.filter;
    if (!node.has("type")) {
        node.refuse("needs \"type\"");
    }
    filter.type = node.at("type").string();
    const std::vector<std::string> types = filterTypes();
    if (!isOneOf(types, filter.type)) {
        std::string known;
        for (const std::string& type : types) {
            known += (known.empty() ? "" : ", ") + type;
        }
        node.at("type").refuse("there is no filter type " + node.at("type").json().dump(-1, ' ', true) +
                               "; known are " + known);
    }
    checkApplicable(node, filter.type);

    const bool mayBeTwo = !isRing(filter);
    if (node.has("frequency")) {
        setChecked(node.at("frequency"), filter, &FilterParameters::frequency, node.at("frequency").number());
    }
    if (node.has("period")) {
        setChecked(node.at("period"), filter, &FilterParameters::frequency,
                   frequencyOfPeriod(node.at("period")));
    }
    if (node.has("sigma")) {
        setChecked(node.at("sigma"), filter, &FilterParameters::sigma, extents(node.at("sigma"), mayBeTwo));
    }
    if (node.has("plateau")) {
        setChecked(node.at("plateau"), filter, &FilterParameters::plateau,
                   extents(node.at("plateau"), mayBeTwo));
    }
    if (node.has("angle")) {
        setChecked(node.at("angle"), filter, &FilterParameters::angle, radiansOf(node.at("angle").number()));
    }
    if (node.has("dc")) {
        setChecked(node.at("dc"), filter, &FilterParameters::dcRadius, node.at("dc").wholeNumber());
    }
    if (node.has("pair")) {
        filter.pair = node.at("pair").boolean();
    }
    if (node.has("unit")) {
        filter.kernelScale = node.at("unit").boolean() ? KernelScale::unit : KernelScale::asGiven;
    }
    if (node.has("kernel")) {
        recipe.kernel = node.at("kernel").string();
        if (recipe.kernel.empty()) {
            node.at("kernel").refuse("must be the name of an image file");
        }
    }
}

Recipe recipeOf(const Node& node) {
    node.mustBeObject();
    checkVersion(node);
    checkKeys(node, outerKeys, filterKeys, "into \"filter\"");
    if (!node.has("filter")) {
        node.refuse("a recipe needs \"filter\"");
    }
    Recipe recipe;
    readFilter(node.at("filter"), recipe);
    FilterSettings& settings = recipe.settings;
    settings.wholeRings = true;
    readWord(node, "padding", paddings, settings.padding);
    readWord(node, "part", parts, settings.part);
    readWord(node, "depth", depths, settings.depth);
    readWord(node, "range", ranges, settings.range);
    try {
        checkSettings(settings);
    } catch (const UsageError& error) {
        node.at("range").refuse(error.what()); // The only one of these that others contradict.
    }
    return recipe;
}

nlohmann::ordered_json asJson(const Extents& extents) {
    const bool isOne = !(extents.along < extents.across) && !(extents.along > extents.across);
    return isOne ? nlohmann::ordered_json(extents.along)
                 : nlohmann::ordered_json::array({extents.along, extents.across});
}

nlohmann::ordered_json filterAsJson(const Recipe& recipe) {
    const FilterParameters& filter = recipe.settings.filter;
    const nlohmann::ordered_json values = {
        {"frequency", filter.frequency},
        {"sigma", asJson(filter.sigma)},
        {"plateau", asJson(filter.plateau)},
        {"angle", degreesOf(filter.angle)},
        {"dc", filter.dcRadius},
        {"pair", filter.pair ? nlohmann::ordered_json(*filter.pair) : nlohmann::ordered_json()},
        {"kernel", recipe.kernel.generic_string()},
        {"unit", filter.kernelScale == KernelScale::unit}};
    nlohmann::ordered_json result = {{"type", filter.type}};
    for (const auto& [key, value] : values.items()) {
        if (parameterUse(filter.type, key) != Use::no && !value.is_null()) {
            result[key] = value;
        }
    }
    return result;
}

fs::path folderOf(const fs::path& path) {
    return path.has_parent_path() ? path.parent_path() : fs::path(".");
}

} // namespace

Recipe readRecipe(std::istream& file, const fs::path& folder) {
    const Json json = parse(contents(file));
    Recipe recipe = recipeOf(Node(json, ""));
    if (!recipe.kernel.empty()) {
        recipe.kernel = folder / recipe.kernel;
    }
    return recipe;
}

Recipe readRecipe(const fs::path& path) {
    return readInput(path, [&path](std::istream& file) { return readRecipe(file, path.parent_path()); });
}

FilterSettings settingsOf(const Recipe& recipe) {
    FilterSettings settings = recipe.settings;
    if (!recipe.kernel.empty()) {
        settings.filter.kernel = readImage(recipe.kernel);
    }
    return settings;
}

std::string recipeText(const Recipe& recipe) {
    const FilterSettings& settings = recipe.settings;
    nlohmann::ordered_json json = {{"kavfilt", recipeVersion}, {"filter", filterAsJson(recipe)}};
    writeWord(json, "padding", paddings, settings.padding);
    writeWord(json, "part", parts, settings.part);
    writeWord(json, "range", ranges, settings.range);
    writeWord(json, "depth", depths, settings.depth);
    try {
        return json.dump(2) + "\n";
    } catch (const Json::exception&) {
        throw UsageError("cannot put " + recipe.kernel.string() + " into a recipe: the name is not UTF-8");
    }
}

void writeRecipe(const fs::path& path, const Recipe& recipe, Overwrite overwrite) {
    if (path.extension() != ".json") {
        throw UsageError("a recipe's file is named .json, not " + path.string());
    }
    Recipe there = recipe;
    if (!there.kernel.empty() && there.kernel.is_relative()) {
        there.kernel = fs::proximate(there.kernel, folderOf(path));
    }
    const std::string text = recipeText(there);
    writeFile(path, {reinterpret_cast<const unsigned char*>(text.data()), text.size()}, overwrite);
}

} // namespace app
