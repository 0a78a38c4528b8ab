// The commands that need a library for HTTP are in a program of their own: it would double the start-up time of
// the others.
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "qbreport/commands.h"
#include "qbreport/files.h"

namespace qbreport {

namespace {

// Goes on with the same command line. Signals that arrived before are lost; a second one is not.
[[noreturn]] void continueInWebProgram() {
    std::string words = readBytes("/proc/self/cmdline");
    std::vector<char*> arguments;
    for (std::size_t at = 0; at < words.size(); at += std::strlen(&words[at]) + 1)
        arguments.push_back(&words[at]);
    arguments.push_back(nullptr);
    const std::filesystem::path own = std::filesystem::read_symlink("/proc/self/exe");
    const std::string program = (own.parent_path().parent_path() / QBREPORT_WEB_PROGRAM).string();
    ::execv(program.c_str(), arguments.data());
    throw Failure("\"" + program + "\" cannot be started: " + std::strerror(errno));
}

}  // namespace

ExitStatus serve(const ServeOptions&, Messages&) { continueInWebProgram(); }

ExitStatus watch(const WatchOptions&, Messages&) { continueInWebProgram(); }

}  // namespace qbreport
