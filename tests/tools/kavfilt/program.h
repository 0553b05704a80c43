/// \file
/// Runs the built program as a user does.
#pragma once

#include "tests/app/files.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

using Words = std::vector<std::string>;

inline Words operator+(Words a, const Words& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

/// What a run left behind.
struct Outcome {
    int exitCode = -1; ///< -1: a signal ended it.
    std::string output;
    std::string errors;
};

/// A run of the program in a folder, with its output and errors caught.
class Program {
public:
    Program(const std::filesystem::path& folder, const Words& arguments) {
        Words words = Words{KAV_PROGRAM} + arguments;
        std::vector<char*> pointers;
        for (std::string& word : words) {
            pointers.push_back(word.data());
        }
        pointers.push_back(nullptr);
        const std::string output = (files_ / "output").string();
        const std::string errors = (files_ / "errors").string();
        process_ = ::fork();
        if (process_ == 0) {
            become(folder.c_str(), output.c_str(), errors.c_str(), pointers.data());
        }
    }
    ~Program() {
        if (process_ > 0) {
            ::kill(process_, SIGKILL);
            ::waitpid(process_, nullptr, 0);
        }
    }
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    void signal(int number) const { ::kill(process_, number); }

    Outcome wait() {
        int status = 0;
        ::waitpid(process_, &status, 0);
        process_ = -1;
        const Bytes output = readBytes(files_ / "output");
        const Bytes errors = readBytes(files_ / "errors");
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1,
                {output.begin(), output.end()},
                {errors.begin(), errors.end()}};
    }

private:
    // In the new process: nothing but system calls.
    [[noreturn]] static void become(const char* folder, const char* output, const char* errors,
                                    char** arguments) {
        const int out = ::open(output, O_WRONLY | O_CREAT, 0600);
        const int err = ::open(errors, O_WRONLY | O_CREAT, 0600);
        ::signal(SIGINT, SIG_DFL); // A shell's background job ignores it.
        if (::chdir(folder) == 0 && ::dup2(out, 1) == 1 && ::dup2(err, 2) == 2) {
            ::execv(arguments[0], arguments);
        }
        ::_exit(99);
    }

    TemporaryFolder files_;
    pid_t process_ = -1;
};

inline Outcome run(const std::filesystem::path& folder, const Words& arguments) {
    return Program(folder, arguments).wait();
}

/// The usual filter, IN to OUT, and further options.
inline Words filterArguments(const std::string& input, const std::string& output, const Words& more = {}) {
    return Words{"filter",   input,         "-o",  output,    "--type",
                 "bandpass", "--frequency", "0.2", "--sigma", "0.04"} +
           more;
}

/// It failed with that exit code, said why in one line on the standard error, and nothing else.
inline void expectFailure(const Outcome& outcome, int exitCode, const std::string& message) {
    EXPECT_EQ(outcome.exitCode, exitCode) << outcome.errors;
    EXPECT_EQ(outcome.errors, "kavfilt: " + message + "\n");
    EXPECT_EQ(outcome.output, "");
}
