#include "app/recipe.h"

#include "app/errors.h"
#include "app/image_file.h"
#include "app/input_file.h"
#include "app/json.h"
#include "app/words.h"

#include <algorithm>
#include <iterator>
#include <type_traits>
#include <utility>
#include <vector>

namespace app {
namespace {

namespace fs = std::filesystem;

constexpr long recipeVersion = 1;
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

std::string contents(std::istream& file) {
    std::string text(largestRecipe + 1, '\0');
    file.read(text.data(), static_cast<std::streamsize>(text.size()));
    text.resize(static_cast<std::size_t>(file.gcount()));
    if (text.size() > largestRecipe) {
        refuse("", "the file is too large for a recipe");
    }
    return text;
}

std::string kindOf(const Json& value) {
    const std::string kind = value.kind();
    return (kind == "null" ? "" : kind == "object" || kind == "array" ? "an " : "a ") + kind;
}

// For messages.
std::string textOf(const Json& value) {
    return jsonText(value, {.isAscii = true});
}

std::optional<double> numberOf(const Json& value) {
    if (const auto* const number = value.as<long>()) {
        return static_cast<double>(*number);
    }
    if (const auto* const number = value.as<std::uint64_t>()) {
        return static_cast<double>(*number);
    }
    const auto* const number = value.as<double>();
    return number != nullptr ? std::optional(*number) : std::nullopt;
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
    [[nodiscard]] bool has(const std::string& key) const { return value_->find(key) != nullptr; }
    [[nodiscard]] Node at(const std::string& key) const { return {*value_->find(key), below(place_, key)}; }
    [[nodiscard]] std::vector<Node> elements() const {
        std::vector<Node> nodes;
        for (const Json& element : *value_->as<Json::Array>()) {
            nodes.emplace_back(element, below(place_, std::to_string(nodes.size())));
        }
        return nodes;
    }

    void mustBeObject() const {
        if (value_->as<Json::Object>() == nullptr) {
            refuseKind("an object");
        }
    }
    [[nodiscard]] double number() const {
        if (const std::optional<double> number = numberOf(*value_)) {
            return *number;
        }
        refuseKind("a number");
    }
    [[nodiscard]] long wholeNumber() const {
        if (const auto* const number = value_->as<long>()) {
            return *number;
        }
        if (value_->as<std::uint64_t>() != nullptr) {
            refuse("is too large");
        }
        if (value_->as<double>() != nullptr) {
            refuse("must be a whole number");
        }
        refuseKind("a whole number");
    }
    [[nodiscard]] bool boolean() const {
        if (const auto* const value = value_->as<bool>()) {
            return *value;
        }
        refuseKind("true or false");
    }
    [[nodiscard]] std::string string() const {
        if (const auto* const text = value_->as<std::string>()) {
            return *text;
        }
        refuseKind("a string");
    }

private:
    const Json* value_;
    std::string place_;
};

// How a word stands in JSON: the depths 8 and 16 are numbers.
Json wordAsJson(const char* word) {
    if (*word >= '0' && *word <= '9') {
        return {std::stol(word)};
    }
    return {std::string(word)};
}

// Numbers by their value: 8.0 is 8.
bool isSame(const Json& value, const Json& word) {
    if (const auto* const text = word.as<std::string>()) {
        const auto* const given = value.as<std::string>();
        return given != nullptr && *given == *text;
    }
    return numberOf(value) == numberOf(word);
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
        if (isSame(node.json(), choice)) {
            value = word.meaning;
            return;
        }
        choices += (choices.empty() ? "" : &word == std::end(words) - 1 ? " or " : ", ") + textOf(choice);
    }
    node.refuse("must be " + choices + ", not " + textOf(node.json()));
}

template <class T, std::size_t n>
void writeWord(Json::Object& recipe, const char* key, const Word<T> (&words)[n],
               const std::optional<T>& value) {
    for (const Word<T>& word : words) {
        if (value == word.meaning) {
            set(recipe, key, wordAsJson(word.word));
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
    for (const auto& [key, value] : *object.json().as<Json::Object>()) {
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
                       textOf(version.json()));
    }
}

// The parameter's name of a key: there are two keys for the frequency.
std::string parameterOf(const std::string& key) {
    return key == "period" ? "frequency" : key;
}

void checkApplicable(const Node& filter, const std::string& type) {
    for (const auto& [key, value] : *filter.json().as<Json::Object>()) {
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
    if (node.json().as<Json::Array>() == nullptr) {
        return node.number();
    }
    if (!mayBeTwo) {
        node.refuseKind("a number for a ring");
    }
    const std::vector<Node> numbers = node.elements();
    if (numbers.size() != 2) {
        node.refuse("must be two numbers, along and across, not " + std::to_string(numbers.size()));
    }
    return {numbers[0].number(), numbers[1].number()};
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
        node.at("type").refuse("there is no filter type " + textOf(node.at("type").json()) + "; known are " +
                               known);
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
        // The system would end the name at its first NUL.
        if (recipe.kernel.empty() || recipe.kernel.native().find('\0') != std::string::npos) {
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

Json asJson(const Extents& extents) {
    const bool isOne = !(extents.along < extents.across) && !(extents.along > extents.across);
    if (isOne) {
        return {extents.along};
    }
    Json::Array array;
    array.emplace_back(extents.along);
    array.emplace_back(extents.across);
    return {std::move(array)};
}

Json filterAsJson(const Recipe& recipe) {
    const FilterParameters& filter = recipe.settings.filter;
    Json::Object result;
    set(result, "type", {filter.type});
    const auto put = [&](const char* key, Json value) {
        if (parameterUse(filter.type, key) != Use::no) {
            set(result, key, std::move(value));
        }
    };
    put("frequency", {filter.frequency});
    put("sigma", asJson(filter.sigma));
    put("plateau", asJson(filter.plateau));
    put("angle", {degreesOf(filter.angle)});
    put("dc", {filter.dcRadius});
    if (filter.pair) {
        put("pair", {*filter.pair});
    }
    put("kernel", {recipe.kernel.generic_string()});
    put("unit", {filter.kernelScale == KernelScale::unit});
    return {std::move(result)};
}

fs::path folderOf(const fs::path& path) {
    return path.has_parent_path() ? path.parent_path() : fs::path(".");
}

} // namespace

Recipe readRecipe(std::istream& file, const fs::path& folder) {
    const Json json = parseJson(contents(file));
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
    Json::Object json;
    set(json, "kavfilt", {recipeVersion});
    set(json, "filter", filterAsJson(recipe));
    writeWord(json, "padding", paddings, settings.padding);
    writeWord(json, "part", parts, settings.part);
    writeWord(json, "range", ranges, settings.range);
    writeWord(json, "depth", depths, settings.depth);
    try {
        return jsonText({std::move(json)}, {.isIndented = true, .replacesBadText = false}) + "\n";
    } catch (const UsageError&) {
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
