#include "hook/hook_input.h"
#include "hook/statusline_command.h"

#include <cstring>

// Run by Claude Code and Codex, never by hand. It must be quick, print nothing the agent
// would misread, and never fail the agent's action: every path exits 0.
int main(int argc, char** argv) {
    using namespace ravo::hook;
    if (argc < 2)
        return 0;
    if (std::strcmp(argv[1], "statusline") == 0) {
        const auto input = readStandardInput(4 * 1024 * 1024);
        return runStatusLine(input.value_or(std::string{}));
    }
    return 0;
}
