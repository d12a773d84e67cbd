#include "hook/chained_status_line.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace ravo::hook {

bool runChainedStatusLine(const std::string& command, const std::string& input) {
    int pipeFds[2];
    if (::pipe2(pipeFds, O_CLOEXEC) != 0)
        return false;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, pipeFds[0], STDIN_FILENO);
    const char* argv[] = {"sh", "-c", command.c_str(), nullptr};
    pid_t child = 0;
    const int spawned = ::posix_spawn(&child, "/bin/sh", &actions, nullptr,
                                      const_cast<char* const*>(argv), environ);
    posix_spawn_file_actions_destroy(&actions);
    ::close(pipeFds[0]);
    if (spawned != 0) {
        ::close(pipeFds[1]);
        return false;
    }
    // A command that does not read its input must not make us fail.
    ::signal(SIGPIPE, SIG_IGN);
    std::size_t written = 0;
    while (written < input.size()) {
        const ssize_t n = ::write(pipeFds[1], input.data() + written, input.size() - written);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            break;
        written += static_cast<std::size_t>(n);
    }
    ::close(pipeFds[1]);
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return true;
}

} // namespace ravo::hook
