/// \file
/// JSON texts: read strictly, written in the order they were made in.
#pragma once

#include <cstdint>
#include <iosfwd>
#include <string>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

namespace app {

/// A JSON value that comes through a lack of memory. Destroying it needs none, unlike nlohmann::json's
/// values, whose destructor ends the program when there is none. It is moved only: when the copy of a
/// std::variant throws, libstdc++ 12 destroys what is not there.
struct Json {
    using Member = std::pair<std::string, Json>; ///< Key and value.
    using Array = std::vector<Json>;
    using Object = std::vector<Member>; ///< In the order of the text.
    /// Whole numbers are `long`; std::uint64_t those above, double all others.
    using Value = std::variant<std::nullptr_t, bool, long, std::uint64_t, double, std::string, Array, Object>;

    Json() = default;
    /// In place: g++ 12 takes what a moved std::variant does not hold for used.
    template <class T, class = std::enable_if_t<!std::is_same_v<std::remove_cvref_t<T>, Json>>>
    Json(T&& ofIt) : value(std::forward<T>(ofIt)) {}
    Json(Json&&) = default;
    Json& operator=(Json&&) = default;
    Json(const Json&) = delete;
    Json& operator=(const Json&) = delete;
    ~Json() = default;

    Value value;

    /// Null if it is no object or has no such member.
    [[nodiscard]] const Json* find(const std::string& key) const;
    /// The value as a `T` of Value, null if it is another.
    template <class T>
    [[nodiscard]] const T* as() const {
        return std::get_if<T>(&value);
    }
    /// "null", "boolean", "number", "string", "array" or "object".
    [[nodiscard]] const char* kind() const;
};

/// Sets a member, behind the others if it is new.
void set(Json::Object& object, const std::string& key, Json value);

/// One step down a JSON pointer (RFC 6901).
[[nodiscard]] std::string below(const std::string& place, const std::string& key);

/// UnreadableError with, as a JSON pointer, the place of keys that are there twice and of nesting deeper than
/// 8: whatever walks through a value needs a stack as deep. Also for what is no JSON.
[[nodiscard]] Json parseJson(std::istream& text);
[[nodiscard]] Json parseJson(const std::string& text);

struct JsonStyle {
    bool isIndented = false;     ///< Two columns a level, a line for each value.
    bool isAscii = false;        ///< Everything else is escaped.
    bool replacesBadText = true; ///< What is not UTF-8, with U+FFFD; otherwise a UsageError.
};
[[nodiscard]] std::string jsonText(const Json& json, const JsonStyle& style);

} // namespace app
