// Writes the manual pages of the tool and of each of its verbs, from what they say of themselves with --help.
#include "tools/kavfilt/verbs.h"

#include <algorithm>
#include <cctype>
#include <exception>
#include <fstream>
#include <iostream>
#include <regex>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

/// For troff: backslashes mean themselves, and so do the hyphens of options, which can then be copied.
std::string escaped(const std::string& text) {
    std::string result;
    bool option = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        const bool wordStarts = i == 0 || text[i - 1] == ' ' || text[i - 1] == '"' || text[i - 1] == '(';
        option = wordStarts ? c == '-' : option && c != ' ';
        result += c == '\\' ? "\\e" : c == '-' && option ? "\\-" : std::string(1, c);
    }
    const bool isRequest = !result.empty() && (result[0] == '.' || result[0] == '\'');
    return isRequest ? "\\&" + result : result;
}

std::string upperCase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return text;
}

/// One page.
class Page {
public:
    Page(const std::string& folder, const std::string& name, const std::string& description)
        : path_(folder + "/" + name + ".1") {
        out_ << ".TH " << upperCase(name) << " 1 \"\" \"kavfilt " KAV_VERSION "\" \"User Commands\"\n";
        section("NAME");
        out_ << name << " \\- " << escaped(description) << '\n';
    }

    void section(const std::string& title) { out_ << ".SH " << upperCase(escaped(title)) << '\n'; }
    void paragraph() { out_ << ".PP\n"; }
    void line(const std::string& text) { out_ << escaped(text) << '\n'; }
    void bold(const std::string& text) { out_ << ".B \"" << escaped(text) << "\"\n"; }
    void lineBreak() { out_ << ".br\n"; }
    /// What is described, bold, then its description, indented.
    void item(const std::string& tag, const std::string& text) {
        out_ << ".TP\n.B " << escaped(tag) << '\n';
        line(text);
    }

    void write() const {
        std::ofstream file(path_);
        file << out_.str();
        if (!file.flush()) {
            throw std::runtime_error("cannot write " + path_);
        }
    }

private:
    std::string path_;
    std::ostringstream out_;
};

bool isIndented(const std::string& line) {
    return !line.empty() && line[0] == ' ';
}

std::string trimmed(const std::string& line) {
    const std::size_t first = line.find_first_not_of(' ');
    return first == std::string::npos ? "" : line.substr(first);
}

std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

/// Text below a heading: paragraphs, and lists of a term, two spaces or more, and its description. Lines are
/// filled again, except after one that was left short.
void writeBody(Page& page, const std::vector<std::string>& lines) {
    static const std::regex listItem(R"(  (\S+(?: \S+)*)  +(\S.*))");
    constexpr std::size_t shortLine = 60;
    bool starts = true;
    bool inItem = false;
    bool breaks = false;
    for (const std::string& line : lines) {
        std::smatch parts;
        if (line.empty()) {
            starts = true;
            breaks = false;
        } else if (std::regex_match(line, parts, listItem)) {
            page.item(parts[1], parts[2]);
            inItem = true;
            starts = false;
            breaks = false;
        } else {
            const bool continuesItem = inItem && !starts && line.compare(0, 3, "   ") == 0;
            if (starts || (inItem && !continuesItem)) {
                page.paragraph();
            } else if (breaks) {
                page.lineBreak();
            }
            page.line(trimmed(line));
            inItem = continuesItem;
            starts = false;
            breaks = !continuesItem && line.size() < shortLine;
        }
    }
}

/// The text below the options: unindented lines with indented ones below them are headings; what else is
/// unindented goes to the notes at the end.
void writeFooter(Page& page, const std::string& footer) {
    const std::vector<std::string> lines = linesOf(footer);
    std::vector<std::string> notes;
    for (std::size_t i = 0; i < lines.size();) {
        const bool isHeading = !lines[i].empty() && i + 1 < lines.size() && isIndented(lines[i + 1]);
        if (!isHeading) {
            notes.push_back(lines[i]);
            ++i;
            continue;
        }
        page.section(lines[i]);
        std::vector<std::string> body;
        for (++i; i < lines.size() && (lines[i].empty() || isIndented(lines[i])); ++i) {
            body.push_back(lines[i]);
        }
        writeBody(page, body);
    }
    if (std::any_of(notes.begin(), notes.end(), [](const std::string& line) { return !line.empty(); })) {
        page.section("Notes");
        writeBody(page, notes);
    }
}

std::string tagOf(const CLI::Option& option) {
    if (option.get_positional()) {
        return option.get_name(true, false);
    }
    const std::string names = std::regex_replace(option.get_name(false, true), std::regex(","), ", ");
    return option.get_type_size() == 0 ? names : names + " " + option.get_type_name();
}

void writeOptions(Page& page, const CLI::App& app) {
    page.section("Options");
    for (const CLI::Option* option : app.get_options()) {
        page.item(tagOf(*option), option->get_description() + (option->get_required() ? " (required)" : ""));
    }
}

std::string usageOf(const CLI::App& verb) {
    std::string usage = "kavfilt " + verb.get_name() + " [OPTIONS]";
    for (const CLI::Option* option : verb.get_options()) {
        if (option->get_positional()) {
            const std::string name = option->get_name(true, false);
            usage += option->get_required() ? " " + name : " [" + name + "]";
        }
    }
    return usage;
}

void writeVerb(const std::string& folder, const CLI::App& verb) {
    Page page(folder, "kavfilt-" + verb.get_name(), verb.get_description());
    page.section("Synopsis");
    page.bold(usageOf(verb));
    writeOptions(page, verb);
    writeFooter(page, verb.get_footer());
    page.section("See also");
    page.line("kavfilt(1)");
    page.write();
}

void writeProgram(const std::string& folder, const CLI::App& program,
                  const std::vector<const CLI::App*>& verbs) {
    Page page(folder, program.get_name(), program.get_description());
    page.section("Synopsis");
    page.bold("kavfilt VERB [OPTIONS]");
    page.section("Verbs");
    for (const CLI::App* verb : verbs) {
        page.item(verb->get_name(), verb->get_description() + ": kavfilt-" + verb->get_name() + "(1)");
    }
    writeOptions(page, program);
    writeFooter(page, program.get_footer());
    page.write();
}

} // namespace

int main(int argc, char** argv) {
    try {
        if (argc != 2) {
            throw std::runtime_error("usage: kavfilt_manual FOLDER");
        }
        CLI::App program;
        describe(program);
        const std::vector<const CLI::App*> verbs =
            static_cast<const CLI::App&>(program).get_subcommands([](const CLI::App*) { return true; });
        writeProgram(argv[1], program, verbs);
        for (const CLI::App* verb : verbs) {
            writeVerb(argv[1], *verb);
        }
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "kavfilt_manual: " << error.what() << '\n';
        return 1;
    }
}
