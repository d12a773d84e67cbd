#include "hook/hook_input.h"
#include "hook/session_hook_command.h"
#include "hook/statusline_command.h"

#include <cstdio>
#include <cstring>

// Run by Claude Code and Codex, never by hand. It must be quick, print nothing the agent
// would misread, and never fail the agent's action: every path exits 0.
int main(int argc, char** argv) {
    using namespace ravo::hook;
    if (argc < 2)
        return 0;
    const std::string_view command = argv[1];
    // For whoever finds it installed and wonders what it is.
    if (command == "--help" || command == "-h") {
        std::fputs("Usage: ravo-hook statusline | claude | codex\n"
                   "       ravo-hook --help\n"
                   "\n"
                   "Run by Claude Code and Codex, never by hand: statusline prints Claude's\n"
                   "status line and keeps its limits for Ravo; claude and codex record a\n"
                   "session event read from standard input. `ravo hooks install` and\n"
                   "`ravo statusline install` set it up.\n",
                   stdout);
        return 0;
    }
    if (command == "statusline") {
        const auto input = readStandardInput(4 * 1024 * 1024);
        return runStatusLine(input.value_or(std::string{}));
    }
    const auto provider = ravo::usage::providerFromRaw(command);
    if (!provider)
        return 0;
    // Hook payloads are small; anything huge is not one and is only drained.
    if (const auto input = readStandardInput(1024 * 1024))
        return runSessionHook(*provider, *input);
    return 0;
}
