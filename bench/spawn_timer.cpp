#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

extern char** environ;

// `ravo_spawn_timer INPUT RUNS -- COMMAND ARGS...`: the median wall time of starting
// COMMAND with INPUT on its standard input and waiting for it, in microseconds.
int main(int argc, char** argv) {
    if (argc < 5 || std::strcmp(argv[3], "--") != 0) {
        std::fprintf(stderr, "usage: %s INPUT RUNS -- COMMAND ARGS...\n", argv[0]);
        return 2;
    }
    const char* input = argv[1];
    const int runs = std::atoi(argv[2]);
    std::vector<double> times;
    for (int i = 0; i < runs; ++i) {
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, input, O_RDONLY, 0);
        posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
        const auto start = std::chrono::steady_clock::now();
        pid_t child = 0;
        if (posix_spawn(&child, argv[4], &actions, nullptr, argv + 4, environ) != 0) {
            std::perror("posix_spawn");
            return 1;
        }
        int status = 0;
        waitpid(child, &status, 0);
        const auto end = std::chrono::steady_clock::now();
        posix_spawn_file_actions_destroy(&actions);
        times.push_back(std::chrono::duration<double, std::micro>(end - start).count());
    }
    std::sort(times.begin(), times.end());
    std::printf("%.0f\n", times[times.size() / 2]);
    return 0;
}
