#include "app/command_line.h"

#include <algorithm>

namespace ravo::app {

namespace {

Command invalid(std::string error) {
    Command command;
    command.kind = Command::Kind::invalid;
    command.error = std::move(error);
    return command;
}

// "--name value" pairs after the words; false when one is unknown or lacks its value.
bool readOptions(const std::vector<std::string>& arguments, std::size_t from,
                 const std::vector<std::string>& withValue, const std::vector<std::string>& flags,
                 std::vector<std::pair<std::string, std::string>>& options) {
    for (std::size_t i = from; i < arguments.size(); ++i) {
        const std::string& name = arguments[i];
        if (std::find(flags.begin(), flags.end(), name) != flags.end()) {
            options.emplace_back(name, "");
        } else if (std::find(withValue.begin(), withValue.end(), name) != withValue.end() &&
                   i + 1 < arguments.size()) {
            options.emplace_back(name, arguments[++i]);
        } else {
            return false;
        }
    }
    return true;
}

Command accountCommand(const std::vector<std::string>& arguments) {
    const std::string use = "Use: ravo account signin [--server URL] --email ADDRESS "
                            "[--password-stdin] | signout | status";
    if (arguments.size() < 2)
        return invalid(use);
    Command command;
    command.kind = Command::Kind::account;
    command.account.action = arguments[1];
    std::vector<std::pair<std::string, std::string>> options;
    if (command.account.action == "signin") {
        if (!readOptions(arguments, 2, {"--server", "--email"}, {"--password-stdin"}, options))
            return invalid(use);
        for (const auto& [name, value] : options) {
            if (name == "--server")
                command.account.server = value;
            else if (name == "--email")
                command.account.email = value;
            else
                command.account.passwordFromStandardInput = true;
        }
        if (command.account.email.empty())
            return invalid(use);
        return command;
    }
    if ((command.account.action == "signout" || command.account.action == "status") &&
        arguments.size() == 2)
        return command;
    return invalid(use);
}

Command settingsCommand(const std::vector<std::string>& arguments) {
    Command command;
    command.kind = Command::Kind::settings;
    const std::size_t count = arguments.size();
    const std::string action = count > 1 ? arguments[1] : "list";
    if ((action == "list" && count <= 2) || (action == "get" && count == 3) ||
        (action == "set" && count == 4)) {
        command.settings = {action, count > 2 ? arguments[2] : "", count > 3 ? arguments[3] : ""};
        return command;
    }
    command.kind = Command::Kind::invalid;
    command.error = "Use: ravo settings list | get KEY | set KEY VALUE";
    return command;
}

Command speedTestCommand(const std::vector<std::string>& arguments) {
    Command command;
    command.kind = Command::Kind::speedTest;
    std::vector<std::pair<std::string, std::string>> options;
    if (!readOptions(arguments, 1, {"--server"}, {"--json", "--history"}, options)) {
        command.kind = Command::Kind::invalid;
        command.error =
            "Use: ravo speedtest [--server URL] [--json] | speedtest --history [--json]";
        return command;
    }
    for (const auto& [name, value] : options) {
        if (name == "--server")
            command.speedTest.server = value;
        else if (name == "--history")
            command.speedTest.history = true;
        else
            command.speedTest.json = true;
    }
    // The history is what was measured; it has no server to measure against.
    if (command.speedTest.history && command.speedTest.server)
        return invalid("--history lists earlier tests and takes no --server.");
    return command;
}

Command sitesCommand(const std::vector<std::string>& arguments) {
    const std::string use = "Use: ravo sites [--json | --local] | sites add URL [--name NAME] "
                            "[--keyword TEXT] | sites remove ID|URL";
    Command command;
    command.kind = Command::Kind::sites;
    if (arguments.size() == 1 || (arguments.size() == 2 && arguments[1] == "--json")) {
        command.sites.json = arguments.size() == 2;
        return command;
    }
    if (arguments.size() == 2 && arguments[1] == "--local") {
        command.sites.action = "local";
        return command;
    }
    std::vector<std::pair<std::string, std::string>> options;
    if (arguments[1] == "add" && arguments.size() >= 3 &&
        readOptions(arguments, 3, {"--name", "--keyword"}, {}, options)) {
        command.sites.action = "add";
        command.sites.target = arguments[2];
        for (const auto& [name, value] : options)
            (name == "--name" ? command.sites.name : command.sites.keyword) = value;
        return command;
    }
    if (arguments[1] == "remove" && arguments.size() == 3) {
        command.sites.action = "remove";
        command.sites.target = arguments[2];
        return command;
    }
    return invalid(use);
}

} // namespace

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
    if (word == "account")
        return accountCommand(arguments);
    if (word == "sites")
        return sitesCommand(arguments);
    if (word == "speedtest")
        return speedTestCommand(arguments);
    if (word == "settings")
        return settingsCommand(arguments);
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
           "  status [--json]   print one reading of the machine, the AI limits and the\n"
           "                    connection, and exit\n"
           "  sessions [--json] list the agent sessions, newest first\n"
           "  hooks install|uninstall|status\n"
           "                    track Claude Code and Codex sessions, stop, or check the hooks\n"
           "  statusline install|uninstall\n"
           "                    show Claude limits through Claude Code's status line, or stop\n"
           "  account signin [--server URL] --email ADDRESS [--password-stdin]\n"
           "                    sign in to your Ravo server with a mailed code (typed at the\n"
           "                    prompt) or a password from standard input\n"
           "  account signout|status\n"
           "  sites [--json]    your monitored websites and how they are\n"
           "  sites --local     the websites kept on this computer, one \"ID URL\" a line,\n"
           "                    without asking the server\n"
           "  sites add URL [--name NAME] [--keyword TEXT]\n"
           "  sites remove ID|URL\n"
           "  settings list | get KEY | set KEY VALUE\n"
           "                    read and change the settings; a running Ravo applies a change\n"
           "                    at once\n"
           "  speedtest [--server URL] [--json]\n"
           "                    measure download, upload and responsiveness, against a\n"
           "                    public server or your Ravo server\n"
           "  speedtest --history [--json]\n"
           "                    the tests run on this computer, newest first\n"
           "  --version         print the version\n"
           "  --help            print this text\n";
}

} // namespace ravo::app
