#include "tests/fault/public_functions.h"

#include <algorithm>
#include <cctype>
#include <fstream>
#include <iterator>
#include <regex>
#include <vector>

namespace {

std::string contentOf(const std::filesystem::path& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// Without comments and preprocessor lines, and with single spaces.
std::string codeOf(const std::string& text) {
    static const std::regex noise(R"(//[^\n]*|/\*[^]*?\*/|(^|\n)\s*#(\\\n|[^\n])*)");
    static const std::regex spaces(R"(\s+)");
    static const std::regex lastSpace(R"( \))");
    const std::string code = std::regex_replace(std::regex_replace(text, noise, "\n"), spaces, " ");
    return std::regex_replace(code, lastSpace, ")");
}

std::string trimmed(const std::string& text) {
    static const std::regex ends("^ +| +$");
    return std::regex_replace(text, ends, "");
}

bool contains(const std::string& text, const char* part) {
    return text.find(part) != std::string::npos;
}

/// Where the bracket at `open` closes.
std::size_t closing(const std::string& text, std::size_t open) {
    const char left = text[open];
    const char right = left == '(' ? ')' : '}';
    long depth = 0;
    for (std::size_t i = open; i < text.size(); ++i) {
        depth += text[i] == left ? 1 : text[i] == right ? -1 : 0;
        if (depth == 0) {
            return i;
        }
    }
    return text.size() - 1;
}

struct Scope {
    std::string name; // Empty for a namespace.
    bool isPrivate = false;
};

/// Reads one header from declaration to declaration, and knows the classes that it is in.
class Reader {
public:
    explicit Reader(std::string code) : code_(std::move(code)) {}

    std::set<std::string> functions() {
        for (at_ = 0; at_ < code_.size(); ++at_) {
            read(code_[at_]);
        }
        return std::move(functions_);
    }

private:
    void read(char c) {
        if (c == ';') {
            declared();
            text_.clear();
        } else if (c == '{') {
            opened();
        } else if (c == '}') {
            scopes_.pop_back();
            text_.clear();
        } else if (c == ':' && isAccess(trimmed(text_))) {
            scopes_.back().isPrivate = trimmed(text_) == "private";
            text_.clear();
        } else {
            text_ += c;
        }
    }

    static bool isAccess(const std::string& text) {
        return text == "public" || text == "protected" || text == "private";
    }

    /// A class or namespace is entered; the body of anything else is skipped.
    void opened() {
        static const std::regex classHead(R"(^(?:template <[^>]*> )?(class|struct) (VX_EXPORT )?([\w:<>]+))");
        std::smatch match;
        text_ = trimmed(text_);
        const auto brackets = std::count(text_.begin(), text_.end(), '(');
        if (brackets > std::count(text_.begin(), text_.end(), ')')) {
            text_ += " {}"; // An argument's default.
        } else if (brackets > 0) {
            declared();
            text_.clear();
        } else if (std::regex_search(text_, match, classHead)) {
            scopes_.push_back({match[3], match[1] == "class"});
            text_.clear();
            return;
        } else if (contains(text_, "namespace")) {
            scopes_.push_back({});
            text_.clear();
            return;
        }
        at_ = closing(code_, at_);
    }

    void declared() {
        const std::string text = trimmed(text_);
        const std::size_t open = text.find('(');
        if (open == std::string::npos || text.starts_with("extern template") || contains(text, "= delete")) {
            return;
        }
        const bool isFriend = text.starts_with("friend");
        const bool isPrivate =
            std::any_of(scopes_.begin(), scopes_.end(), [](const Scope& scope) { return scope.isPrivate; });
        if (isPrivate && !isFriend) {
            return;
        }
        const std::size_t close = closing(text, open);
        const bool isConst = text.compare(close + 1, 6, " const") == 0;
        functions_.insert((isFriend ? "" : scope()) +
                          text.substr(nameBefore(text, open), close + 1 - nameBefore(text, open)) +
                          (isConst ? " const" : ""));
    }

    static std::size_t nameBefore(const std::string& text, std::size_t open) {
        const std::size_t operatorName = text.rfind("operator", open);
        if (operatorName != std::string::npos) {
            return operatorName;
        }
        std::size_t first = open;
        while (first > 0 && (std::isalnum(static_cast<unsigned char>(text[first - 1])) != 0 ||
                             text[first - 1] == '_' || text[first - 1] == '~')) {
            --first;
        }
        return first;
    }

    [[nodiscard]] std::string scope() const {
        std::string text;
        for (const Scope& scope : scopes_) {
            text += scope.name.empty() ? "" : scope.name + "::";
        }
        return text;
    }

    std::string code_;
    std::size_t at_ = 0;
    std::string text_; // Of the declaration so far.
    std::vector<Scope> scopes_;
    std::set<std::string> functions_;
};

bool isInstalled(const std::filesystem::path& path) {
    const std::string name = path.generic_string();
    return path.extension() == ".h" && !contains(name, "/internal/") && !contains(name, "/kernels/");
}

} // namespace

std::set<std::string> fault::publicFunctions(const std::filesystem::path& sourceTree) {
    std::set<std::string> functions;
    for (const char* library : {"kavsys", "kavstd", "filt"}) {
        for (const auto& entry : std::filesystem::recursive_directory_iterator(sourceTree / library)) {
            if (isInstalled(entry.path())) {
                functions.merge(Reader(codeOf(contentOf(entry.path()))).functions());
            }
        }
    }
    return functions;
}
