/// \file
/// Files and folders of tests.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <unistd.h>
#include <vector>

using Bytes = std::vector<unsigned char>;

/// An empty folder that is removed with all it holds.
class TemporaryFolder {
public:
    TemporaryFolder() {
        std::string name = (std::filesystem::temp_directory_path() / "kavfilt-test-XXXXXX").string();
        if (::mkdtemp(name.data()) == nullptr) {
            throw std::runtime_error("no temporary folder");
        }
        path_ = name;
    }
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    [[nodiscard]] const std::filesystem::path& path() const { return path_; }
    [[nodiscard]] std::filesystem::path operator/(const std::string& name) const { return path_ / name; }

    /// The names in the folder, hidden ones too.
    [[nodiscard]] std::vector<std::string> names() const {
        std::vector<std::string> result;
        for (const auto& entry : std::filesystem::directory_iterator(path_)) {
            result.push_back(entry.path().filename().string());
        }
        return result;
    }

private:
    std::filesystem::path path_;
};

/// Permissions do not hold root back: for its life, a test that root runs has the rights of nobody, to whom
/// the folder is given.
class WithoutRootRights {
public:
    explicit WithoutRootRights(const TemporaryFolder& folder) {
        constexpr uid_t nobody = 65534;
        if (::geteuid() == 0 &&
            (::chown(folder.path().c_str(), nobody, nobody) != 0 || ::seteuid(nobody) != 0)) {
            throw std::runtime_error("cannot give up root's rights");
        }
    }
    ~WithoutRootRights() { static_cast<void>(::seteuid(::getuid())); }
    WithoutRootRights(const WithoutRootRights&) = delete;
    WithoutRootRights& operator=(const WithoutRootRights&) = delete;
};

inline Bytes bytesOf(const std::string& text) {
    return {text.begin(), text.end()};
}

inline Bytes readBytes(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

inline void writeBytes(const std::filesystem::path& path, const Bytes& bytes) {
    std::ofstream file(path, std::ios::binary);
    file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    if (!file.flush()) {
        throw std::runtime_error("cannot write " + path.string());
    }
}
