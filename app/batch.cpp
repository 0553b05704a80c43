#include "app/batch.h"

#include "app/content_hash.h"
#include "app/errors.h"
#include "app/filter_file.h"
#include "app/image_file.h"
#include "app/input_file.h"
#include "app/interruption.h"
#include "app/json.h"
#include "app/recipe.h"
#include "kavstd/attention.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <deque>
#include <exception>
#include <fcntl.h>
#include <map>
#include <mutex>
#include <new>
#include <pthread.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <utility>

namespace app {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

struct Item {
    fs::path input;
    fs::path output;
};

std::span<const unsigned char> bytesOf(const std::string& text) {
    return {reinterpret_cast<const unsigned char*>(text.data()), text.size()};
}

std::string hashOfPels(const Image& kernel) {
    const long width = kernel.pels.width();
    std::string bytes = std::to_string(width) + " " + std::to_string(kernel.pels.height()) + "\n";
    for (long y = 0; y < kernel.pels.height(); ++y) {
        bytes.append(reinterpret_cast<const char*>(kernel.pels.pointToRow(y)),
                     static_cast<std::size_t>(width) * sizeof(double));
    }
    return sha256(bytesOf(bytes));
}

// Everything that decides what a filter makes of an image, as JSON: a recipe, where files stand for their
// content.
std::string description(const FilterSettings& settings) {
    Json recipe = parseJson(recipeText({settings, {}}));
    auto& json = std::get<Json::Object>(recipe.value);
    const FilterParameters& filter = settings.filter;
    if (filter.built) {
        Json::Object built;
        set(built, "archive", {sha256(bytesOf(filterBytes(*filter.built->filter)))});
        if (filter.pair) {
            set(built, "pair", {*filter.pair});
        }
        set(json, "filter", {std::move(built)});
    } else if (filter.kernel) {
        Json::Object described;
        set(described, "type", {filter.type});
        set(described, "kernel", {hashOfPels(*filter.kernel)});
        set(described, "unit", {filter.kernelScale == KernelScale::unit});
        set(json, "filter", {std::move(described)});
    }
    if (settings.raw) {
        set(json, "raw", {true});
    }
    if (settings.wholeRings) {
        set(json, "wholeRings", {true});
    }
    return jsonText(recipe, {});
}

fs::path outputName(const fs::path& input, const std::string& format) {
    fs::path name = input.filename();
    if (!format.empty()) {
        name.replace_extension(format);
    }
    try {
        checkFormat(name);
    } catch (const UsageError&) {
        throw UsageError("cannot tell the format of the output for " + input.string() +
                         ": its name must end in .png, .tif, .tiff or .pgm, or else --format must be given");
    }
    return name;
}

using FileId = std::pair<dev_t, ino_t>;

// Not for a name that no file can have, which is told when it is written.
bool isFile(const fs::path& path) {
    std::error_code error;
    return fs::is_regular_file(path, error);
}

std::optional<FileId> fileId(const fs::path& path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0) {
        return std::nullopt;
    }
    return FileId(status.st_dev, status.st_ino);
}

// What one run would do twice or to its own inputs is refused here.
std::vector<Item> itemsOf(const std::vector<fs::path>& inputs, const BatchSettings& settings) {
    std::vector<Item> items;
    std::map<fs::path, fs::path> inputOf;
    std::map<FileId, fs::path> inputFiles;
    for (const fs::path& input : inputs) {
        const fs::path output = settings.folder / outputName(input, settings.format);
        const auto [other, isNew] = inputOf.emplace(output, input);
        if (!isNew) {
            throw UsageError(other->second.string() + " and " + input.string() + " would both become " +
                             output.string());
        }
        items.push_back({input, output});
        if (const std::optional<FileId> id = fileId(input)) {
            inputFiles.emplace(*id, input);
        }
    }
    for (const Item& item : items) {
        const std::optional<FileId> id = fileId(item.output);
        const auto found = id ? inputFiles.find(*id) : inputFiles.end();
        if (found != inputFiles.end()) {
            throw UsageError("the output " + item.output.string() + " is the input " +
                             found->second.string() + "; a batch needs a directory of its own");
        }
    }
    return items;
}

void makeFolder(const fs::path& folder) {
    std::error_code error;
    fs::create_directories(folder, error);
    if (error) {
        throw WriteError("cannot make the directory " + folder.string() + ": " + error.message());
    }
}

// Two batches in one folder would take each other's manifest away.
class FolderLock {
public:
    explicit FolderLock(const fs::path& folder)
        : descriptor_(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
        if (descriptor_ < 0) {
            throw WriteError("cannot write in " + folder.string() + ": " + std::strerror(errno));
        }
        if (::flock(descriptor_, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
            ::close(descriptor_);
            throw WriteError("cannot write in " + folder.string() + ": another batch is at work there");
        }
    }
    ~FolderLock() { ::close(descriptor_); }
    FolderLock(const FolderLock&) = delete;
    FolderLock& operator=(const FolderLock&) = delete;

private:
    int descriptor_;
};

class Batch {
public:
    Batch(std::vector<Item> items, const BatchSettings& settings)
        : items_(std::move(items))
        , settings_(settings)
        , manifestPath_(settings.folder / manifestName)
        , hadManifest_(fs::exists(manifestPath_)) {
        if (hadManifest_) {
            before_ = readManifest(manifestPath_);
        }
        const std::string text = description(settings.filter);
        settingsHash_ = sha256(bytesOf(text));
        now_ = before_;
        now_.settings[settingsHash_] = text;
    }

    BatchSummary run(const std::function<void(const BatchOutcome&)>& tell);

private:
    void work(const std::stop_token& stop);
    void waitFor(std::vector<std::jthread>& workers, const std::function<void(const BatchOutcome&)>& tell);
    void take(const BatchOutcome& outcome);
    void write();

    [[nodiscard]] BatchOutcome outcomeOf(const Item& item) const;
    void filter(const Item& item, BatchOutcome& outcome) const;
    [[nodiscard]] const ManifestEntry* doneBefore(const Item& item) const;
    [[nodiscard]] bool isFinished(const Item& item, const std::string& inputHash) const;
    void writeOutput(const Item& item, const std::vector<unsigned char>& bytes) const;

    // Only read once the workers are running.
    const std::vector<Item> items_;
    const BatchSettings& settings_;
    const fs::path manifestPath_;
    const bool hadManifest_;
    Manifest before_;
    std::string settingsHash_;

    // The calling thread's.
    Manifest now_;
    BatchSummary summary_;

    // Shared.
    std::atomic<std::size_t> next_ = 0;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<BatchOutcome> outcomes_;
    std::size_t finishedWorkers_ = 0;
    std::exception_ptr failure_; // Of a worker itself, not of a file.
};

const ManifestEntry* Batch::doneBefore(const Item& item) const {
    const auto entry = before_.outputs.find(item.output.filename().string());
    return entry != before_.outputs.end() && entry->second.isDone ? &entry->second : nullptr;
}

bool Batch::isFinished(const Item& item, const std::string& inputHash) const {
    const ManifestEntry* const entry = doneBefore(item);
    return entry != nullptr && entry->version == settings_.version && entry->settings == settingsHash_ &&
           entry->inputHash == inputHash && isFile(item.output) &&
           readInput(item.output, [](std::istream& file) { return sha256(file); }) == entry->contentHash;
}

// Whether the output may be what a run made that was killed before its manifest could say so.
bool mayBeUnknownResult(const fs::path& output, bool hadManifest, const ManifestEntry* entry) {
    return hadManifest && entry == nullptr && isFile(output);
}

void Batch::writeOutput(const Item& item, const std::vector<unsigned char>& bytes) const {
    if (settings_.overwrite == Overwrite::refuse &&
        mayBeUnknownResult(item.output, hadManifest_, doneBefore(item)) &&
        readInput(item.output, [](std::istream& file) { return sha256(file); }) == sha256(bytes)) {
        return;
    }
    writeFile(item.output, bytes, settings_.overwrite);
}

void Batch::filter(const Item& item, BatchOutcome& outcome) const {
    outcome.source = readInput(item.input, [&](std::istream& file) {
        outcome.entry.inputHash = sha256(file);
        if (isFinished(item, outcome.entry.inputHash)) {
            outcome.status = BatchOutcome::Status::skipped;
            return Image();
        }
        if (settings_.overwrite == Overwrite::force ||
            !mayBeUnknownResult(item.output, hadManifest_, doneBefore(item))) {
            checkWritable(item.output, settings_.overwrite);
        }
        return readImage(file);
    });
    if (outcome.status == BatchOutcome::Status::skipped) {
        return;
    }
    outcome.source.name = item.input.string();
    outcome.size = {outcome.source.pels.width(), outcome.source.pels.height()};
    checkFormat(item.output, settings_.filter.depth.value_or(outcome.source.depth));
    outcome.result = filterImage(outcome.source, settings_.filter);
    outcome.source.pels = {};
    const std::vector<unsigned char> bytes = encodeImage(item.output, outcome.result.image);
    outcome.result.image.pels = {};
    outcome.entry.contentHash = sha256(bytes);
    writeOutput(item, bytes);
    outcome.status = BatchOutcome::Status::done;
}

// Anything but an interruption is this file's alone.
BatchOutcome Batch::outcomeOf(const Item& item) const {
    BatchOutcome outcome;
    outcome.input = item.input;
    outcome.output = item.output;
    outcome.entry.input = item.input.string();
    outcome.entry.version = settings_.version;
    outcome.entry.settings = settingsHash_;
    const auto fail = [&outcome](int exitCode, const std::string& error) {
        outcome.status = BatchOutcome::Status::failed;
        outcome.exitCode = exitCode;
        outcome.error = error;
    };
    try {
        filter(item, outcome);
    } catch (const Interrupted&) {
        throw;
    } catch (const Error& error) {
        fail(error.exitCode(), error.what());
    } catch (const std::bad_alloc&) {
        fail(eInternal, "cannot filter " + item.input.string() + ": out of memory");
    } catch (const std::exception& error) {
        fail(eInternal, "cannot filter " + item.input.string() + ": " + error.what());
    }
    outcome.source.pels = {};
    outcome.result.image.pels = {};
    outcome.entry.isDone = outcome.status != BatchOutcome::Status::failed;
    outcome.entry.exitCode = outcome.exitCode;
    outcome.entry.error = outcome.error;
    return outcome;
}

void Batch::work(const std::stop_token& stop) {
    try {
        const InterruptibleThread interruptible;
        for (std::size_t i = next_++; i < items_.size() && !stop.stop_requested(); i = next_++) {
            vxAttention::check();
            BatchOutcome outcome = outcomeOf(items_[i]);
            const std::scoped_lock lock(mutex_);
            outcomes_.push_back(std::move(outcome));
            changed_.notify_one();
        }
    } catch (const Interrupted&) { // The calling thread tells.
    } catch (...) {
        const std::scoped_lock lock(mutex_);
        failure_ = std::current_exception();
    }
    const std::scoped_lock lock(mutex_);
    ++finishedWorkers_;
    changed_.notify_one();
}

void Batch::write() {
    const vxAttention::Scope uninterrupted({}); // What is done is done, and the manifest says so.
    writeManifest(manifestPath_, now_);
}

void Batch::take(const BatchOutcome& outcome) {
    using Status = BatchOutcome::Status;
    ++(outcome.status == Status::done      ? summary_.done
       : outcome.status == Status::skipped ? summary_.skipped
                                           : summary_.failed);
    const std::string name = outcome.output.filename().string();
    if (outcome.status == Status::skipped) {
        now_.outputs.at(name).input = outcome.entry.input; // It may have another name today.
    } else {
        // Whole or not at all, should there be no memory: half an entry would make its output a stranger.
        ManifestEntry entry = outcome.entry;
        now_.outputs.insert_or_assign(name, std::move(entry));
    }
}

// Until every worker is at its end. The manifest follows now and then; what a kill makes it miss is found
// again in the outputs.
void Batch::waitFor(std::vector<std::jthread>& workers,
                    const std::function<void(const BatchOutcome&)>& tell) {
    constexpr auto pollInterval = std::chrono::milliseconds(50);
    constexpr auto writeInterval = std::chrono::seconds(1);
    Clock::time_point written = Clock::now();
    std::unique_lock lock(mutex_);
    while (finishedWorkers_ < workers.size() || !outcomes_.empty()) {
        changed_.wait_for(lock, pollInterval,
                          [&] { return !outcomes_.empty() || finishedWorkers_ == workers.size(); });
        std::deque<BatchOutcome> outcomes;
        outcomes.swap(outcomes_);
        lock.unlock();
        for (const BatchOutcome& outcome : outcomes) {
            take(outcome);
            tell(outcome);
        }
        if (interruption() != 0) {
            for (std::jthread& worker : workers) { // It may wait for a pipe.
                ::pthread_kill(worker.native_handle(), interruption());
            }
        }
        if (!outcomes.empty() && Clock::now() - written >= writeInterval) {
            write();
            written = Clock::now();
        }
        lock.lock();
    }
}

BatchSummary Batch::run(const std::function<void(const BatchOutcome&)>& tell) {
    write();
    const auto count = std::min<std::size_t>(settings_.jobs, items_.size());
    try {
        std::vector<std::jthread> workers; // Told to stop and waited for at the end of the block.
        while (workers.size() < count) {
            workers.emplace_back([this](const std::stop_token& stop) { work(stop); });
        }
        waitFor(workers, tell);
    } catch (...) {
        failure_ = std::current_exception();
        for (const BatchOutcome& outcome : outcomes_) {
            take(outcome);
        }
    }
    write();
    if (failure_) {
        std::rethrow_exception(failure_);
    }
    const auto ended = static_cast<std::size_t>(summary_.done + summary_.skipped + summary_.failed);
    if (interruption() != 0 && ended < items_.size()) {
        throw Interrupted(interruption());
    }
    return summary_;
}

} // namespace

BatchSummary runBatch(const std::vector<fs::path>& inputs, const BatchSettings& settings,
                      const std::function<void(const BatchOutcome&)>& tell) {
    if (settings.jobs < 1 || settings.jobs > mostJobs) {
        throw UsageError("--jobs must be 1 to " + std::to_string(mostJobs) + ", not " +
                         std::to_string(settings.jobs));
    }
    checkSettings(settings.filter);
    checkFilter(settings.filter.filter);
    std::vector<Item> items = itemsOf(inputs, settings);
    makeFolder(settings.folder);
    checkWritable(settings.folder / manifestName, Overwrite::force);
    const FolderLock lock(settings.folder);
    return Batch(std::move(items), settings).run(tell);
}

} // namespace app
