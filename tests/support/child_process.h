#pragma once

#include "base/atomic_file.h"
#include "tests/support/temporary_folder.h"

#include <fcntl.h>
#include <map>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

extern char** environ;

namespace ravo::testing {

struct ChildResult {
    int exitCode = -1;
    std::string standardOutput;
};

// Runs a real program with `input` on its standard input and the environment changed as
// given (an empty value removes a variable); waits for it and returns what it printed.
inline ChildResult runChild(const std::vector<std::string>& command, const std::string& input,
                            const std::map<std::string, std::string>& environment) {
    TemporaryFolder scratch;
    const auto inputPath = scratch / "stdin";
    const auto outputPath = scratch / "stdout";
    writeFileAtomically(inputPath, input);
    std::vector<std::string> variables;
    for (char** entry = environ; *entry; ++entry) {
        const std::string variable(*entry);
        const auto name = variable.substr(0, variable.find('='));
        if (!environment.contains(name))
            variables.push_back(variable);
    }
    for (const auto& [name, value] : environment)
        if (!value.empty())
            variables.push_back(name + "=" + value);
    std::vector<char*> envp, argv;
    for (auto& v : variables)
        envp.push_back(v.data());
    envp.push_back(nullptr);
    std::vector<std::string> args = command;
    for (auto& a : args)
        argv.push_back(a.data());
    argv.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, inputPath.c_str(), O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, outputPath.c_str(),
                                     O_WRONLY | O_CREAT | O_TRUNC, 0600);
    pid_t pid = 0;
    ChildResult result;
    if (posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), envp.data()) == 0) {
        int status = 0;
        waitpid(pid, &status, 0);
        result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    posix_spawn_file_actions_destroy(&actions);
    result.standardOutput = readFile(outputPath).value_or("");
    return result;
}

} // namespace ravo::testing
