/// \file
/// Formulas as documentation spells them: whole numbers, names, + - * / (rounded down), parentheses, max(a,
/// b) and up(a, b), which is a rounded up to a multiple of b.
#pragma once

#include <algorithm>
#include <cctype>
#include <map>
#include <stdexcept>
#include <string>

namespace formula {

using Values = std::map<std::string, long>;

class Parser {
public:
    Parser(const std::string& text, const Values& values) : text_(text), values_(values) {}

    long whole() {
        const long result = sum();
        if (next() != '\0') {
            throw std::invalid_argument("formula: " + text_);
        }
        return result;
    }

private:
    char next() {
        while (place_ < text_.size() && text_[place_] == ' ') {
            ++place_;
        }
        return place_ < text_.size() ? text_[place_] : '\0';
    }
    bool take(char expected) {
        const bool found = next() == expected;
        place_ += found ? 1 : 0;
        return found;
    }
    void require(char expected) {
        if (!take(expected)) {
            throw std::invalid_argument("formula: " + text_);
        }
    }
    long sum() {
        long result = product();
        for (;;) {
            if (take('+')) {
                result += product();
            } else if (take('-')) {
                result -= product();
            } else {
                return result;
            }
        }
    }
    long product() {
        long result = factor();
        for (;;) {
            if (take('*')) {
                result *= factor();
            } else if (take('/')) {
                result /= factor();
            } else {
                return result;
            }
        }
    }
    long factor() {
        if (take('(')) {
            const long result = sum();
            require(')');
            return result;
        }
        const std::string word = nextWord();
        if (std::isdigit(static_cast<unsigned char>(word[0])) != 0) {
            return std::stol(word);
        }
        return take('(') ? call(word) : values_.at(word);
    }
    std::string nextWord() {
        next();
        const std::size_t begin = place_;
        while (place_ < text_.size() && std::isalnum(static_cast<unsigned char>(text_[place_])) != 0) {
            ++place_;
        }
        if (place_ == begin) {
            throw std::invalid_argument("formula: " + text_);
        }
        return text_.substr(begin, place_ - begin);
    }
    long call(const std::string& function) {
        const long a = sum();
        require(',');
        const long b = sum();
        require(')');
        if (function == "min") {
            return std::min(a, b);
        }
        if (function == "max") {
            return std::max(a, b);
        }
        if (function == "up") {
            return (a + b - 1) / b * b;
        }
        throw std::invalid_argument("formula: " + text_);
    }

    std::string text_;
    const Values& values_;
    std::size_t place_ = 0;
};

inline long valueOf(const std::string& text, const Values& values) {
    return Parser(text, values).whole();
}

} // namespace formula
