#include "app/command_line.h"

namespace ravo::app {

Command parseCommandLine(const std::vector<std::string>& arguments) {
    Command command;
    if (arguments.empty())
        return command;
    const std::string& word = arguments.front();
    if (word == "-h" || word == "--help" || word == "help") {
        command.kind = Command::Kind::help;
        return command;
    }
    if (word.starts_with("ravo://")) {
        command.kind = Command::Kind::open;
        command.arguments = {word};
        return command;
    }
    if (word == "--version") {
        command.kind = Command::Kind::version;
        return command;
    }
    if (word == "status" || word == "sessions") {
        command.kind = word == "status" ? Command::Kind::status : Command::Kind::sessions;
        for (std::size_t i = 1; i < arguments.size(); ++i) {
            if (arguments[i] == "--json") {
                command.json = true;
            } else {
                command.kind = Command::Kind::invalid;
                command.error = "Unknown option for " + word + ": " + arguments[i];
                return command;
            }
        }
        return command;
    }
    if (word == "statusline" || word == "hooks") {
        const bool hooks = word == "hooks";
        command.kind = hooks ? Command::Kind::hooks : Command::Kind::statusLine;
        const bool known =
            arguments.size() == 2 && (arguments[1] == "install" || arguments[1] == "uninstall" ||
                                      (hooks && arguments[1] == "status"));
        if (!known) {
            command.kind = Command::Kind::invalid;
            command.error = hooks ? "Use: ravo hooks install|uninstall|status"
                                  : "Use: ravo statusline install|uninstall";
            return command;
        }
        command.arguments = {arguments[1]};
        return command;
    }
    command.kind = Command::Kind::invalid;
    command.error = "Unknown command: " + word;
    return command;
}

std::string usageText() {
    return "Usage: ravo [command]\n"
           "\n"
           "Without a command Ravo runs in the tray, or as a live dashboard in the terminal\n"
           "when there is no display.\n"
           "\n"
           "Commands:\n"
           "  ravo://...        hand a link to the running Ravo\n"
           "  status [--json]   print one reading of the machine and the AI limits, and exit\n"
           "  sessions [--json] list the agent sessions, newest first\n"
           "  hooks install|uninstall|status\n"
           "                    track Claude Code and Codex sessions, stop, or check the hooks\n"
           "  statusline install|uninstall\n"
           "                    show Claude limits through Claude Code's status line, or stop\n"
           "  --version         print the version\n"
           "  --help            print this text\n";
}

} // namespace ravo::app
