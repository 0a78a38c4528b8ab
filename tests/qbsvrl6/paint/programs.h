// Passes files to independent programs.
#ifndef QBSVR_TESTS_QBSVRL6_PAINT_PROGRAMS_H
#define QBSVR_TESTS_QBSVRL6_PAINT_PROGRAMS_H

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "tests/scratch_directory.h"

namespace qbsvrl6::programs {

struct Outcome {
    int status = -1;
    std::string output;  // both streams
};

inline Outcome run(const std::string& command) {
    Outcome outcome;
    FILE* pipe = ::popen((command + " 2>&1").c_str(), "r");
    if (pipe == nullptr) return outcome;
    char block[4096];
    while (const std::size_t count = std::fread(block, 1, sizeof block, pipe))
        outcome.output.append(block, count);
    const int status = ::pclose(pipe);
    outcome.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return outcome;
}

// A file in a separate directory, removed by the destructor.
class TemporaryFile {
public:
    TemporaryFile(const std::string& name, const std::string& bytes) {
        path_ = scratch_.path / name;
        WriteFile(path_, bytes);
    }

    const std::string& path() const { return path_; }

private:
    ScratchDirectory scratch_;
    std::string path_;
};

}  // namespace qbsvrl6::programs

#endif
