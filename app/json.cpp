#include "app/json.h"

#include "app/errors.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <functional>
#include <limits>
#include <set>
#include <utility>

namespace app {
namespace {

using Library = nlohmann::json;

constexpr std::size_t deepestNesting = 8;

[[noreturn]] void refuse(const std::string& place, const std::string& reason) {
    throw UnreadableError(oneLine(place) + ": " + reason);
}

class Reader final : public nlohmann::json_sax<Library> {
public:
    Json result;

    bool null() override { return add(Json()); }
    bool boolean(bool value) override { return add({value}); }
    bool number_integer(std::int64_t value) override { return add({long{value}}); }
    bool number_unsigned(std::uint64_t value) override {
        const bool isLong = value <= static_cast<std::uint64_t>(std::numeric_limits<long>::max());
        return isLong ? add({static_cast<long>(value)}) : add({value});
    }
    bool number_float(double value, const std::string&) override { return add({value}); }
    bool string(std::string& value) override { return add({std::move(value)}); }
    bool binary(Library::binary_t&) override { return false; } // Not in texts.

    bool start_object(std::size_t) override { return enter(true); }
    bool start_array(std::size_t) override { return enter(false); }
    bool end_object() override { return leave({std::move(levels_.back().members)}); }
    bool end_array() override { return leave({std::move(levels_.back().elements)}); }
    bool key(std::string& key) override {
        levels_.back().key = key;
        if (!levels_.back().keys.insert(key).second) {
            refuse(place(), "the key is there twice");
        }
        return true;
    }

    bool parse_error(std::size_t, const std::string&, const Library::exception& error) override {
        // Without the parser's own prefix, "[json.exception.parse_error.101] ".
        const std::string message = error.what();
        const std::size_t prefix = message.find("] ");
        throw UnreadableError("not JSON: " +
                              (prefix == std::string::npos ? message : message.substr(prefix + 2)));
    }

private:
    // An array or object that is not at its end.
    struct Level {
        bool isObject = false;
        Json::Array elements;
        Json::Object members;
        std::string key;
        std::set<std::string, std::less<>> keys; // Plain ones libFuzzer brings, too, without exceptions.
    };

    bool enter(bool isObject) {
        if (levels_.size() == deepestNesting) {
            refuse(place(), "is nested too deeply");
        }
        levels_.emplace_back().isObject = isObject;
        return true;
    }
    bool leave(Json json) {
        levels_.pop_back();
        return add(std::move(json));
    }
    bool add(Json json) {
        if (levels_.empty()) {
            result = std::move(json);
        } else if (levels_.back().isObject) {
            levels_.back().members.emplace_back(levels_.back().key, std::move(json));
        } else {
            levels_.back().elements.push_back(std::move(json));
        }
        return true;
    }
    [[nodiscard]] std::string place() const {
        std::string pointer;
        for (const Level& level : levels_) {
            pointer = below(pointer, level.isObject ? level.key : std::to_string(level.elements.size()));
        }
        return pointer;
    }

    std::vector<Level> levels_;
};

template <class Text>
Json parse(Text& text) {
    Reader reader;
    Library::sax_parse(text, &reader);
    return std::move(reader.result);
}

class Writer {
public:
    explicit Writer(const JsonStyle& style) : style_(style) {}

    void write(const Json& json, std::size_t level = 0) {
        if (const auto* const array = json.as<Json::Array>()) {
            writeAll(*array, "[]", level, [&](const Json& element) { write(element, level + 1); });
        } else if (const auto* const object = json.as<Json::Object>()) {
            writeAll(*object, "{}", level, [&](const Json::Member& member) {
                writeScalar(member.first);
                text += style_.isIndented ? ": " : ":";
                write(member.second, level + 1);
            });
        } else {
            std::visit([this](const auto& value) { writeValue(value); }, json.value);
        }
    }

    std::string text;

private:
    template <class Items, class WriteItem>
    void writeAll(const Items& items, const char* brackets, std::size_t level, const WriteItem& writeItem) {
        text += brackets[0];
        for (const auto& item : items) {
            text += &item == items.data() ? "" : ",";
            breakLine(level + 1);
            writeItem(item);
        }
        if (!items.empty()) {
            breakLine(level);
        }
        text += brackets[1];
    }
    void breakLine(std::size_t level) {
        if (style_.isIndented) {
            text += '\n' + std::string(2 * level, ' ');
        }
    }

    template <class T>
    void writeValue(const T& value) {
        writeScalar(value);
    }
    void writeValue(const Json::Array&) {}
    void writeValue(const Json::Object&) {}

    void writeScalar(const Library& scalar) {
        try {
            text += scalar.dump(-1, ' ', style_.isAscii,
                                style_.replacesBadText ? Library::error_handler_t::replace
                                                       : Library::error_handler_t::strict);
        } catch (const Library::exception&) {
            throw UsageError("the text is not UTF-8");
        }
    }

    const JsonStyle& style_;
};

} // namespace

const Json* Json::find(const std::string& key) const {
    if (const auto* const object = as<Object>()) {
        const auto member = std::find_if(object->begin(), object->end(),
                                         [&key](const Member& candidate) { return candidate.first == key; });
        return member == object->end() ? nullptr : &member->second;
    }
    return nullptr;
}

const char* Json::kind() const {
    constexpr const char* kinds[] = {"null",   "boolean", "number", "number",
                                     "number", "string",  "array",  "object"};
    static_assert(std::size(kinds) == std::variant_size_v<Value>);
    return kinds[value.index()];
}

void set(Json::Object& object, const std::string& key, Json value) {
    for (Json::Member& member : object) {
        if (member.first == key) {
            member.second = std::move(value);
            return;
        }
    }
    object.emplace_back(key, std::move(value));
}

std::string below(const std::string& place, const std::string& key) {
    std::string pointer = place + "/";
    for (const char c : key) {
        pointer += c == '~' ? "~0" : c == '/' ? "~1" : std::string(1, c);
    }
    return pointer;
}

Json parseJson(std::istream& text) {
    return parse(text);
}

Json parseJson(const std::string& text) {
    return parse(text);
}

std::string jsonText(const Json& json, const JsonStyle& style) {
    Writer writer(style);
    writer.write(json);
    return std::move(writer.text);
}

} // namespace app
