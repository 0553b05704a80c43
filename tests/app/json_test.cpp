#include "app/json.h"

#include "app/errors.h"
#include "tests/app/refusal.h"

#include <gmock/gmock.h>

#include <sstream>
#include <type_traits>

namespace {

using app::Json;
using app::parseJson;

// A copy that fails for want of memory would end the program.
static_assert(!std::is_copy_constructible_v<Json> && std::is_nothrow_move_constructible_v<Json>);

std::string rewritten(const std::string& text, const app::JsonStyle& style = {}) {
    return app::jsonText(parseJson(text), style);
}

std::string refusal(const std::string& text) {
    return messageOf<app::UnreadableError>([&] { static_cast<void>(parseJson(text)); });
}

TEST(Json, KeepsEachKindOfValue) {
    const Json json = parseJson(
        R"({"n": null, "b": true, "i": -3, "u": 18446744073709551615, "d": 0.1, "s": "\u00e9", "a": [1, []], "o": {}})");
    EXPECT_NE(json.find("n")->as<std::nullptr_t>(), nullptr);
    EXPECT_EQ(*json.find("b")->as<bool>(), true);
    EXPECT_EQ(*json.find("i")->as<long>(), -3);
    EXPECT_EQ(*json.find("u")->as<std::uint64_t>(), 18446744073709551615U);
    EXPECT_EQ(*json.find("d")->as<double>(), 0.1);
    EXPECT_EQ(*json.find("s")->as<std::string>(), "\xc3\xa9");
    EXPECT_EQ(json.find("a")->as<Json::Array>()->size(), 2U);
    EXPECT_EQ(json.find("o")->as<Json::Object>()->size(), 0U);
    EXPECT_EQ(json.find("x"), nullptr);
    EXPECT_EQ(json.find("a")->find("x"), nullptr);
    EXPECT_EQ(json.find("d")->as<long>(), nullptr);
    std::string kinds;
    for (const auto& [key, value] : *json.as<Json::Object>()) {
        kinds += key + " " + value.kind() + ", ";
    }
    EXPECT_EQ(kinds, "n null, b boolean, i number, u number, d number, s string, a array, o object, ");
    EXPECT_EQ(*parseJson("9223372036854775807").as<long>(), 9223372036854775807);
    EXPECT_EQ(*parseJson("9223372036854775808").as<std::uint64_t>(), 9223372036854775808U);
}

TEST(Json, IsWrittenInItsOrder) {
    const std::string text = R"({"b":[1,-2.5,"\"\n",[]],"a":{"c":null,"d":{}},"e":1e-09})";
    EXPECT_EQ(rewritten(text), text);
    EXPECT_EQ(rewritten(text, {.isIndented = true}), R"({
  "b": [
    1,
    -2.5,
    "\"\n",
    []
  ],
  "a": {
    "c": null,
    "d": {}
  },
  "e": 1e-09
})");
    std::istringstream stream(text);
    EXPECT_EQ(app::jsonText(parseJson(stream), {}), text);
}

TEST(Json, IsWrittenInTheCharactersThatAreAskedFor) {
    EXPECT_EQ(rewritten(R"({"\u00e9": "\u00e9"})"), "{\"\xc3\xa9\":\"\xc3\xa9\"}");
    EXPECT_EQ(rewritten("{\"\xc3\xa9\": 1}", {.isAscii = true}), R"({"\u00e9":1})");
    const Json bad(std::string("\xff"));
    EXPECT_EQ(app::jsonText(bad, {}), "\"\xef\xbf\xbd\"");
    EXPECT_EQ(messageOf<app::UsageError>(
                  [&] { static_cast<void>(app::jsonText(bad, {.replacesBadText = false})); }),
              "the text is not UTF-8");
}

TEST(Json, HasEachKeyOnce) {
    EXPECT_EQ(refusal(R"({"a": 1, "b/~": [0, {"c": 1, "c": 2}]})"), "/b~1~0/1/c: the key is there twice");
    EXPECT_EQ(refusal(R"([{"x": 1}, {"x": 1}])"), "");
    Json::Object object;
    app::set(object, "a", {1L});
    app::set(object, "b", {2L});
    app::set(object, "a", {3L});
    EXPECT_EQ(app::jsonText({std::move(object)}, {}), R"({"a":3,"b":2})");
}

TEST(Json, IsNotNestedDeeply) {
    EXPECT_EQ(refusal(std::string(8, '[') + std::string(8, ']')), "");
    EXPECT_EQ(refusal(std::string(9, '[') + std::string(9, ']')), "/0/0/0/0/0/0/0/0: is nested too deeply");
    EXPECT_EQ(refusal(std::string(1000000, '[')), "/0/0/0/0/0/0/0/0: is nested too deeply");
}

TEST(Json, RefusesWhatIsNone) {
    for (const char* text :
         {"", "{", "[1,]", "{\"a\"}", "1 2", "nul", "\"\xff\"", "\"\\ud800\"", "1e999", "'a'"}) {
        EXPECT_THAT(refusal(text), testing::StartsWith("not JSON: ")) << text;
    }
    EXPECT_THAT(refusal("[1,]"), testing::StartsWith("not JSON: parse error at line 1, column 4: "));
}

} // namespace
