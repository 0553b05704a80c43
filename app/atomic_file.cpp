#include "app/atomic_file.h"

#include "app/errors.h"
#include "kavstd/attention.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace app {
namespace {

namespace fs = std::filesystem;

[[noreturn]] void fail(const fs::path& path, const std::string& reason) {
    throw WriteError("cannot write " + path.string() + ": " + reason);
}

[[noreturn]] void failWithErrno(const fs::path& path) {
    fail(path, std::strerror(errno));
}

// The file that a symbolic link leads to, also when it is not there yet.
fs::path resolved(fs::path path) {
    constexpr int mostLinks = 40;
    std::error_code error;
    for (int i = 0; i < mostLinks && fs::is_symlink(fs::symlink_status(path, error)); ++i) {
        path = path.parent_path() / fs::read_symlink(path, error);
    }
    return path;
}

fs::path folderOf(const fs::path& path) {
    return path.has_parent_path() ? path.parent_path() : fs::path(".");
}

// With the rights that opening the file will have.
bool mayUse(const fs::path& path, int mode) {
    return ::faccessat(AT_FDCWD, path.c_str(), mode, AT_EACCESS) == 0;
}

// A file that is removed again unless it was renamed.
class TemporaryFile {
public:
    // The name is short, so that it fits wherever the target's fits.
    TemporaryFile(const fs::path& target, const fs::path& shownAs) : shownAs_(shownAs) {
        for (int attempt = 0; descriptor_ < 0; ++attempt) {
            const std::string name =
                ".kavfilt-" + std::to_string(::getpid()) + "-" + std::to_string(attempt) + ".tmp";
            path_ = folderOf(target) / name;
            descriptor_ = ::open(path_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
            if (descriptor_ < 0 && errno != EEXIST && errno != EINTR) {
                failWithErrno(shownAs_);
            }
        }
    }
    ~TemporaryFile() {
        if (descriptor_ >= 0) {
            ::close(descriptor_);
        }
        if (!path_.empty()) {
            ::unlink(path_.c_str());
        }
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    void write(std::span<const unsigned char> bytes) {
        constexpr std::size_t chunk = std::size_t{1} << 20;
        while (!bytes.empty()) {
            vxAttention::check();
            const ssize_t written = ::write(descriptor_, bytes.data(), std::min(bytes.size(), chunk));
            if (written < 0 && errno != EINTR) {
                failWithErrno(shownAs_);
            }
            bytes = bytes.subspan(static_cast<std::size_t>(std::max<ssize_t>(written, 0)));
        }
    }

    void takePermissionsOf(const fs::path& existing) {
        struct stat status {};
        if (::stat(existing.c_str(), &status) == 0 && ::fchmod(descriptor_, status.st_mode & 0777) != 0) {
            failWithErrno(shownAs_);
        }
    }

    void flush() {
        if (::fsync(descriptor_) != 0) {
            failWithErrno(shownAs_);
        }
        const int descriptor = descriptor_;
        descriptor_ = -1;
        if (::close(descriptor) != 0 && errno != EINTR) {
            failWithErrno(shownAs_);
        }
    }

    void replace(const fs::path& target) {
        if (::rename(path_.c_str(), target.c_str()) != 0) {
            failWithErrno(shownAs_);
        }
        path_.clear();
    }

    // Unlike a rename, a link refuses a file that somebody else has made meanwhile.
    void become(const fs::path& target) {
        if (::link(path_.c_str(), target.c_str()) == 0) {
            return; // The temporary name is removed with this object.
        }
        if (errno == EEXIST) {
            fail(shownAs_, "the file exists (--force overwrites it)");
        }
        replace(target); // A file system without links.
    }

private:
    fs::path shownAs_;
    fs::path path_;
    int descriptor_ = -1;
};

// The name itself is on the disk once its folder is. Best effort: the file is whole in any case.
void flushFolder(const fs::path& folder) {
    const int descriptor = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0) {
        return;
    }
    ::fsync(descriptor);
    ::close(descriptor);
}

} // namespace

void checkWritable(const fs::path& path, Overwrite overwrite) {
    std::error_code error;
    const fs::path target = resolved(path);
    const fs::file_status status = fs::status(target, error);
    if (!fs::status_known(status)) { // A name that is too long, a loop of links.
        fail(path, error.message());
    }
    if (fs::is_directory(status)) {
        fail(path, "it is a directory");
    }
    if (fs::exists(status)) {
        if (overwrite == Overwrite::refuse) {
            fail(path, "the file exists (--force overwrites it)");
        }
        if (!fs::is_regular_file(status)) {
            fail(path, "it is not a regular file");
        }
        if (!mayUse(target, W_OK)) {
            failWithErrno(path);
        }
    }
    const fs::path folder = folderOf(target);
    if (!fs::is_directory(folder, error)) {
        fail(path, std::strerror(fs::exists(folder, error) ? ENOTDIR : ENOENT));
    }
    if (!mayUse(folder, W_OK | X_OK)) {
        failWithErrno(path);
    }
}

void writeFile(const fs::path& path, std::span<const unsigned char> bytes, Overwrite overwrite) {
    checkWritable(path, overwrite);
    const fs::path target = resolved(path);
    const fs::path folder = folderOf(target); // Nothing may fail once the file is there.
    TemporaryFile file(target, path);
    file.write(bytes);
    file.takePermissionsOf(target);
    file.flush();
    vxAttention::check(); // The last moment to leave the old file.
    if (overwrite == Overwrite::force) {
        file.replace(target);
    } else {
        file.become(target);
    }
    flushFolder(folder);
}

bool isSameFile(const fs::path& a, const fs::path& b) {
    std::error_code error;
    return fs::equivalent(a, b, error) && !error;
}

} // namespace app
