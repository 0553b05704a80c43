#include "tools/kavfilt/batch.h"

#include "app/errors.h"
#include "app/words.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <iostream>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;
using Status = app::BatchOutcome::Status;

// One line on the terminal that says how far the batch is; nothing where the standard error is no terminal.
class Progress {
public:
    Progress(std::size_t total, bool quiet)
        : total_(total), isShown_(!quiet && ::isatty(STDERR_FILENO) == 1) {
        draw();
    }
    ~Progress() { clear(); }
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void clear() const {
        if (isShown_) {
            std::cerr << "\r\x1b[K" << std::flush;
        }
    }
    void advance() {
        ++ended_;
        draw();
    }

private:
    void draw() const {
        if (!isShown_) {
            return;
        }
        constexpr std::size_t width = 30;
        const std::size_t filled = total_ == 0 ? width : width * ended_ / total_;
        std::cerr << "\r[" << std::string(filled, '#') << std::string(width - filled, '.') << "] " << ended_
                  << " of " << total_;
        if (ended_ > 0 && ended_ < total_) {
            const std::chrono::duration<double> elapsed = Clock::now() - start_;
            const double left =
                elapsed.count() / static_cast<double>(ended_) * static_cast<double>(total_ - ended_);
            std::cerr << ", " << std::lround(left) << " s left";
        }
        std::cerr << "\x1b[K" << std::flush;
    }

    std::size_t total_;
    bool isShown_;
    std::size_t ended_ = 0;
    Clock::time_point start_ = Clock::now();
};

void printOutcome(const app::BatchOutcome& outcome) {
    std::cout << app::oneLine(outcome.input.string()) << " -> " << app::oneLine(outcome.output.string());
    if (outcome.status == Status::skipped) {
        std::cout << ": finished before, skipped\n";
        return;
    }
    std::cout << ": " << app::size(outcome.size.x(), outcome.size.y()) << ", "
              << app::traits(outcome.result.image.depth).name << ", result "
              << app::number(outcome.result.minimum) << " .. " << app::number(outcome.result.maximum) << ", "
              << outcome.result.range << '\n';
    for (const std::string& note : outcome.source.notes) {
        std::cout << "  " << note << '\n';
    }
}

} // namespace

std::string asJson(const app::BatchOutcome& outcome) {
    nlohmann::ordered_json object = {{"input", outcome.input.string()}, {"output", outcome.output.string()}};
    switch (outcome.status) {
    case Status::done:
        object["status"] = "done";
        object["size"] = {outcome.size.x(), outcome.size.y()};
        object["depth"] = app::traits(outcome.result.image.depth).name;
        object["transform"] = {outcome.result.transform.x(), outcome.result.transform.y()};
        object["minimum"] = outcome.result.minimum;
        object["maximum"] = outcome.result.maximum;
        object["range"] = outcome.result.range;
        object["notes"] = outcome.source.notes;
        break;
    case Status::skipped:
        object["status"] = "skipped";
        break;
    case Status::failed:
        object["status"] = "failed";
        object["exitCode"] = outcome.exitCode;
        object["error"] = outcome.error;
        break;
    }
    // A file's name may hold any bytes.
    return object.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
}

void filterBatch(const BatchRequest& request) {
    const std::vector<std::filesystem::path> inputs(request.inputs.begin(), request.inputs.end());
    app::BatchSummary summary;
    {
        Progress progress(inputs.size(), request.quiet);
        summary = app::runBatch(inputs, request.settings, [&](const app::BatchOutcome& outcome) {
            progress.clear();
            if (request.json) {
                std::cout << asJson(outcome) << std::endl;
            } else if (outcome.status != Status::failed && !request.quiet) {
                printOutcome(outcome);
            }
            if (outcome.status == Status::failed) {
                std::cerr << "kavfilt: " << app::oneLine(outcome.error) << '\n';
            }
            std::cout.flush();
            progress.advance();
        });
    }
    if (!request.quiet && !request.json) {
        std::cout << summary.done << " done, " << summary.skipped << " skipped, " << summary.failed
                  << " failed\n";
    }
    if (summary.failed > 0) {
        throw app::IncompleteError(std::to_string(summary.failed) + " of " +
                                   app::count(static_cast<long>(inputs.size()), "file") + " failed; " +
                                   (request.settings.folder / app::manifestName).string() + " lists them");
    }
}
