#include "bench/report.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <functional>

namespace bench {

namespace {

/// Three significant digits, without an exponent.
std::string number(double value) {
    const int digits = value >= 100.0 ? 0 : value >= 10.0 ? 1 : value >= 0.1 || value == 0.0 ? 2 : 4;
    std::array<char, 64> buffer{};
    std::snprintf(buffer.data(), buffer.size(), "%.*f", digits, value);
    return buffer.data();
}

std::string scientific(double value) {
    std::array<char, 64> buffer{};
    std::snprintf(buffer.data(), buffer.size(), "%.1e", value);
    return buffer.data();
}

/// A Markdown table, its columns padded so that it reads well as plain text, too.
class Table {
public:
    explicit Table(std::vector<std::string> heads) { rows_.push_back(std::move(heads)); }
    void add(std::vector<std::string> cells) { rows_.push_back(std::move(cells)); }

    [[nodiscard]] std::string text() const {
        std::vector<std::size_t> widths(rows_.front().size(), 3);
        for (const auto& row : rows_) {
            for (std::size_t i = 0; i < row.size(); ++i) {
                widths[i] = std::max(widths[i], row[i].size());
            }
        }
        std::string result = lineOf(rows_.front(), widths) + "|";
        for (std::size_t i = 0; i < widths.size(); ++i) {
            result += std::string(widths[i] + 1, '-') + (i == 0 ? "-|" : ":|");
        }
        result += "\n";
        for (std::size_t i = 1; i < rows_.size(); ++i) {
            result += lineOf(rows_[i], widths);
        }
        return result + "\n";
    }

private:
    static std::string lineOf(const std::vector<std::string>& cells, const std::vector<std::size_t>& widths) {
        std::string line = "|";
        for (std::size_t i = 0; i < widths.size(); ++i) {
            const std::string cell = i < cells.size() ? cells[i] : "";
            const std::string space(widths[i] - cell.size(), ' ');
            line.append(" ").append(i == 0 ? cell : space).append(i == 0 ? space : cell).append(" |");
        }
        return line + "\n";
    }

    std::vector<std::vector<std::string>> rows_;
};

using Cell = std::function<std::string(const JobLine&)>;

/// Jobs down, sizes across; jobs without any cell are left out.
std::string tableOfJobs(const std::vector<JobLine>& lines, const Cell& cell) {
    const std::vector<Size> sizes = sizesOf(lines);
    std::vector<std::string> heads{"job"};
    for (const Size& size : sizes) {
        heads.push_back(text(size));
    }
    Table table(heads);
    for (const JobInfo& job : jobs()) {
        std::vector<std::string> cells{job.code};
        bool any = false;
        for (const Size& size : sizes) {
            const JobLine* const line = find(lines, job.job, size);
            cells.push_back(line == nullptr ? "" : cell(*line));
            any = any || !cells.back().empty();
        }
        if (any) {
            table.add(cells);
        }
    }
    return table.text();
}

Cell ratioTo(const std::string& name) {
    return [name](const JobLine& line) {
        const Standing* const standing = find(line.standings, name);
        return standing == nullptr ? "" : number(standing->ratio.median);
    };
}

/// The names of all contestants but ours, in order of appearance.
std::vector<std::string> opponents(const std::vector<JobLine>& lines) {
    std::vector<std::string> names;
    for (const JobLine& line : lines) {
        for (std::size_t i = 1; i < line.standings.size(); ++i) {
            if (std::ranges::find(names, line.standings[i].name) == names.end()) {
                names.push_back(line.standings[i].name);
            }
        }
    }
    return names;
}

/// What the masked band of a Gabor result saves.
std::string tableOfGabor(const std::vector<JobLine>& lines) {
    Table table({"size", "B / G"});
    for (const Size& size : sizesOf(lines)) {
        const JobLine* const gabor = find(lines, Job::gabor, size);
        if (gabor != nullptr) {
            table.add({text(size), ratioTo(ourBandPass)(*gabor)});
        }
    }
    return "Time of our B divided by that of our G, whose lobe covers a quarter of the rows:\n\n" +
           table.text();
}

std::string jobTables(const Results& results) {
    std::string result = "## Whole jobs\n\n";
    for (const JobInfo& job : jobs()) {
        result += std::string("- **") + job.code + "**: " + job.text + "\n";
    }
    result += "\nMilliseconds per job:\n\n" + tableOfJobs(results.jobs, [](const JobLine& line) {
                  return number(line.standings.front().seconds.median * 1e3);
              });
    for (const std::string& name : opponents(results.jobs)) {
        if (name == ourBandPass) {
            continue;
        }
        result += "Time of **" + name + "** divided by ours:\n\n" + tableOfJobs(results.jobs, ratioTo(name));
    }
    result +=
        "Nanoseconds per sample of the transform:\n\n" + tableOfJobs(results.jobs, [](const JobLine& line) {
            const double samples = static_cast<double>(line.padded.width * line.padded.height);
            return number(line.standings.front().seconds.median * 1e9 / samples);
        });
    result += tableOfGabor(results.jobs);
    result += "Bytes allocated by the first run of a job, whose buffers are new, divided by those of its "
              "spectrum:\n\n" +
              tableOfJobs(results.jobs, [](const JobLine& line) {
                  const double spectrum = 8.0 * static_cast<double>(line.padded.width * line.padded.height);
                  return number(line.allocatedBytes / spectrum);
              });
    result +=
        "Largest difference of any contestant's result from ours (spectra and correlations: relative to the "
        "peak; images: pels):\n\n" +
        tableOfJobs(results.jobs, [](const JobLine& line) {
            return line.worstDifference == 0.0 ? "0" : scientific(line.worstDifference);
        });
    return result;
}

std::string instructionSetTables(const Results& results) {
    if (results.instructionSets.empty()) {
        return "";
    }
    std::string result = "## Instruction sets\n\n";
    for (const std::string& name : opponents(results.instructionSets)) {
        result += "Time of the **" + name + "** path divided by the fastest one's:\n\n" +
                  tableOfJobs(results.instructionSets, ratioTo(name));
    }
    return result;
}

std::string operationTables(const Results& results) {
    if (results.operations.empty()) {
        return "";
    }
    std::string result =
        "## Element-wise operations\n\n"
        "Gigabytes per second, read and written; the time of copying as many bytes in the same run "
        "divided by ours (1: as fast as copying); and, where the result is a new image, "
        "the same with a copy into new memory.\n\n";
    Table table({"operation", "size", "GB/s", "copy", "copy to new"});
    for (const BytesLine& line : results.operations) {
        const Standing* const copy = find(line.standings, "copy");
        const Standing* const fresh = find(line.standings, "copy to new");
        table.add({line.operation, text(line.size),
                   number(line.bytes / line.standings.front().seconds.median * 1e-9),
                   copy == nullptr ? "" : number(copy->ratio.median),
                   fresh == nullptr ? "" : number(fresh->ratio.median)});
    }
    return result + table.text();
}

std::string creationTables(const Results& results) {
    if (results.creations.empty()) {
        return "";
    }
    Table table({"filter", "size", "ms", "apply"});
    for (const BytesLine& line : results.creations) {
        table.add({line.operation, text(line.size), number(line.standings.front().seconds.median * 1e3),
                   number(line.standings.back().ratio.median)});
    }
    return "## Construction of filters\n\nMilliseconds; and the time of applying the filter once, in place, "
           "divided by "
           "that of building it:\n\n" +
           table.text();
}

std::string threadTables(const Results& results) {
    if (results.threads.empty()) {
        return "";
    }
    Table table({"job", "size", "speed-up"});
    for (const ThreadsLine& line : results.threads) {
        table.add({line.work, line.size, number(line.speedUp.median)});
    }
    return "## Two threads\n\nThroughput of two threads on separate buffers by that of one. Arithmetic "
           "alone, "
           "in registers, shows what the machine has to give:\n\n" +
           table.text();
}

} // namespace

std::string markdown(const Results& results) {
    std::string result = "## Measured on\n\n";
    for (const std::string& line : environment(results)) {
        result += "- " + line + "\n";
    }
    return result + "\n" + jobTables(results) + instructionSetTables(results) + operationTables(results) +
           creationTables(results) + threadTables(results);
}

} // namespace bench
