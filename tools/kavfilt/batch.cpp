#include "tools/kavfilt/batch.h"

#include "app/errors.h"
#include "app/json.h"
#include "app/words.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <iostream>
#include <string>
#include <unistd.h>
#include <utility>

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
    app::Json::Object object;
    const auto pairOf = [](const vxPair<long>& pair) {
        app::Json::Array array;
        array.emplace_back(pair.x());
        array.emplace_back(pair.y());
        return app::Json(std::move(array));
    };
    set(object, "input", app::Json(outcome.input.string()));
    set(object, "output", app::Json(outcome.output.string()));
    switch (outcome.status) {
    case Status::done: {
        app::Json::Array notes(outcome.source.notes.begin(), outcome.source.notes.end());
        set(object, "status", app::Json(std::string("done")));
        set(object, "size", pairOf(outcome.size));
        set(object, "depth", app::Json(std::string(app::traits(outcome.result.image.depth).name)));
        set(object, "transform", pairOf(outcome.result.transform));
        set(object, "minimum", app::Json(outcome.result.minimum));
        set(object, "maximum", app::Json(outcome.result.maximum));
        set(object, "range", app::Json(outcome.result.range));
        set(object, "notes", app::Json(std::move(notes)));
        break;
    }
    case Status::skipped:
        set(object, "status", app::Json(std::string("skipped")));
        break;
    case Status::failed:
        set(object, "status", app::Json(std::string("failed")));
        set(object, "exitCode", app::Json(static_cast<long>(outcome.exitCode)));
        set(object, "error", app::Json(outcome.error));
        break;
    }
    return app::jsonText(app::Json(std::move(object)), {}); // A file's name may hold any bytes.
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
