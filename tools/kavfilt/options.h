/// \file
/// Options that several verbs share.
#pragma once

#include "app/filtering.h"
#include "app/image.h"

#include <CLI/CLI.hpp>

#include <charconv>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

/// An option whose value is one of a few words.
template <class T>
CLI::Option* addChoice(CLI::App& verb, const std::string& name, std::optional<T>& value,
                       std::initializer_list<std::pair<const char*, T>> choices, const std::string& help) {
    std::vector<std::string> words;
    for (const auto& choice : choices) {
        words.emplace_back(choice.first);
    }
    const std::vector<std::pair<std::string, T>> table(choices.begin(), choices.end());
    const auto assign = [&value, table](const std::string& word) {
        for (const auto& [choice, meaning] : table) {
            if (choice == word) {
                value = meaning;
            }
        }
    };
    return verb.add_option_function<std::string>(name, assign, help)->check(CLI::IsMember(words));
}

/// An option whose value is two numbers A,B, or one that stands for both.
template <class T, class Assign>
CLI::Option* addOneOrTwo(CLI::App& verb, const std::string& name, const std::string& help,
                         const Assign& assign) {
    const auto parse = [name](std::string_view word) {
        T value{};
        const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value);
        if (error != std::errc() || end != word.data() + word.size()) {
            throw CLI::ValidationError(name, "\"" + std::string(word) + "\" is not a number");
        }
        return value;
    };
    const auto split = [parse, assign](const std::string& words) {
        const std::string_view view = words;
        const std::size_t comma = view.find(',');
        const T first = parse(view.substr(0, comma));
        assign(first, comma == std::string_view::npos ? first : parse(view.substr(comma + 1)));
    };
    return verb.add_option_function<std::string>(name, split, help)->type_name("A[,B]");
}

/// --depth 8|16|float|double
inline CLI::Option* addDepth(CLI::App& verb, std::optional<app::Depth>& depth) {
    return addChoice<app::Depth>(verb, "--depth", depth,
                                 {{"8", app::Depth::bits8},
                                  {"16", app::Depth::bits16},
                                  {"float", app::Depth::float32},
                                  {"double", app::Depth::float64}},
                                 "depth of the output; default: that of the input");
}

/// --pad mirror|zero
inline CLI::Option* addPadding(CLI::App& verb, std::optional<app::Padding>& padding) {
    return addChoice<app::Padding>(verb, "--pad", padding,
                                   {{"mirror", app::Padding::mirror}, {"zero", app::Padding::zero}},
                                   "what lies beyond the image's border; default mirror");
}

/// --range normalize|clip
inline CLI::Option* addRange(CLI::App& verb, std::optional<app::Range>& range) {
    return addChoice<app::Range>(verb, "--range", range,
                                 {{"normalize", app::Range::normalize}, {"clip", app::Range::clip}},
                                 "how to bring the result into the range of pels; default normalize");
}
