#include "server/config/server_config.h"

#include "base/atomic_file.h"
#include "base/trimmed.h"
#include "server/auth/email_address.h"
#include "server/config/server_settings.h"

#include <charconv>
#include <filesystem>
#include <functional>
#include <sstream>

namespace ravo::server {

namespace {

std::string variableName(const char* name) {
    std::string variable = "RAVO_SERVER_";
    for (const char* c = name; *c; ++c)
        variable +=
            *c == '-' ? '_' : static_cast<char>(std::toupper(static_cast<unsigned char>(*c)));
    return variable;
}

const ServerSetting* settingNamed(const std::string& name) {
    for (const auto& setting : serverSettings())
        if (name == setting.name)
            return &setting;
    return nullptr;
}

Status applyOne(ServerConfig& config, const std::string& name, const std::string& value,
                const std::string& where) {
    const ServerSetting* setting = settingNamed(name);
    if (!setting)
        return Failure{where + ": unknown setting \"" + name + "\" (see --help)"};
    if (auto applied = setting->apply(config, value); !applied)
        return Failure{where + ": " + name + ": " + applied.error()};
    return success();
}

Status applyFile(ServerConfig& config, const std::string& path) {
    const auto text = readFile(path, 1024 * 1024);
    if (!text)
        return Failure{"Cannot read the configuration file " + path};
    std::istringstream lines(*text);
    std::string line;
    for (int number = 1; std::getline(lines, line); ++number) {
        line = trimmed(line);
        if (line.empty() || line.front() == '#')
            continue;
        const auto equals = line.find('=');
        if (equals == std::string::npos)
            return Failure{path + ":" + std::to_string(number) + ": expected \"name = value\""};
        if (auto applied =
                applyOne(config, trimmed(line.substr(0, equals)), trimmed(line.substr(equals + 1)),
                         path + ":" + std::to_string(number));
            !applied)
            return applied;
    }
    return success();
}

// systemd's LoadCredential=: a file named after a secret setting in $CREDENTIALS_DIRECTORY.
Status applyCredentials(ServerConfig& config,
                        const std::map<std::string, std::string>& environment) {
    const auto folder = environment.find("CREDENTIALS_DIRECTORY");
    if (folder == environment.end() || folder->second.empty())
        return success();
    for (const auto& setting : serverSettings()) {
        if (!setting.secret)
            continue;
        const std::string path = folder->second + "/" + setting.name;
        std::error_code error;
        if (!std::filesystem::exists(path, error))
            continue;
        auto secret = secretFromFile(path);
        if (!secret)
            return Failure{"credential " + std::string(setting.name) + ": " + secret.error()};
        if (auto applied = setting.apply(config, *secret); !applied)
            return Failure{"credential " + std::string(setting.name) + ": " + applied.error()};
    }
    return success();
}

} // namespace

bool isSecretSetting(std::string_view name) {
    if (name == "database")
        return true; // it may hold a password
    for (const auto& setting : serverSettings())
        if (setting.secret && name == setting.name)
            return true;
    return false;
}

Result<ServerCommand> parseCommandLine(const std::vector<std::string>& arguments,
                                       const std::map<std::string, std::string>& environment) {
    ServerCommand command;
    std::vector<std::pair<std::string, std::string>> flags;
    std::optional<std::string> configFile;
    if (const auto it = environment.find("RAVO_SERVER_CONFIG"); it != environment.end())
        configFile = it->second;
    std::vector<std::string> words;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string& argument = arguments[i];
        if (argument == "--help" || argument == "-h") {
            command.kind = ServerCommand::Kind::help;
            return command;
        }
        if (argument == "--version") {
            command.kind = ServerCommand::Kind::version;
            return command;
        }
        if (!argument.starts_with("--")) {
            words.push_back(argument);
            continue;
        }
        std::string name = argument.substr(2), value;
        if (const auto equals = name.find('='); equals != std::string::npos) {
            value = name.substr(equals + 1);
            name.resize(equals);
        } else if (name == "password-stdin") {
            words.push_back(argument);
            continue;
        } else if (i + 1 < arguments.size()) {
            value = arguments[++i];
        } else {
            return Failure{"--" + name + " needs a value (see --help)"};
        }
        if (name == "config")
            configFile = value;
        else
            flags.emplace_back(name, value);
    }
    if (auto applied = applyCredentials(command.config, environment); !applied)
        return applied.failure();
    if (configFile)
        if (auto applied = applyFile(command.config, *configFile); !applied)
            return applied.failure();
    for (const auto& setting : serverSettings())
        if (const auto it = environment.find(variableName(setting.name)); it != environment.end())
            if (auto applied = applyOne(command.config, setting.name, it->second, it->first);
                !applied)
                return applied.failure();
    for (const auto& [name, value] : flags) {
        if (auto applied = applyOne(command.config, name, value, "--" + name); !applied)
            return applied.failure();
        const ServerSetting* setting = settingNamed(name);
        if (setting->secret || (name == "database" && redactedDatabase(value) != value))
            command.warnings.push_back(
                "--" + name +
                " is seen by every user of this machine (ps shows the arguments "
                "a program started with); use " +
                (name == "database"
                     ? std::string("a ~/.pgpass file or PGPASSWORD")
                     : "--" + name + "-file, RAVO_SERVER_" +
                           variableName(setting->name).substr(12) + " or a systemd credential") +
                " instead");
    }

    const auto& c = command.config;
    const int appleSettings = c.appleClientID.has_value() + c.appleTeamID.has_value() +
                              c.appleKeyID.has_value() + c.applePrivateKeyFile.has_value();
    if (appleSettings != 0 && appleSettings != 4)
        return Failure{"Sign in with Apple needs apple-client-id, apple-team-id, apple-key-id "
                       "and apple-private-key together"};

    if (words.size() >= 2 && words[0] == "user" && words[1] == "add") {
        if (words.size() != 4 || words[3] != "--password-stdin")
            return Failure{"usage: ravo-server user add EMAIL --password-stdin"};
        command.email = normalizedEmail(words[2]);
        if (!looksLikeEmail(command.email))
            return Failure{"\"" + words[2] + "\" is not an e-mail address"};
        command.kind = ServerCommand::Kind::userAdd;
        return command;
    }
    if (!words.empty() && words[0] == "backup") {
        if (words.size() != 2 || words[1].empty())
            return Failure{"usage: ravo-server backup FILE"};
        command.backupFile = words[1];
        command.kind = ServerCommand::Kind::backup;
        return command;
    }
    if (!words.empty())
        return Failure{"unknown command \"" + words[0] + "\" (see --help)"};
    return command;
}

std::string helpText() {
    std::string text =
        "Usage: ravo-server [OPTIONS]\n"
        "       ravo-server user add EMAIL --password-stdin [OPTIONS]\n"
        "       ravo-server backup FILE [OPTIONS]\n\n"
        "The companion service of Ravo: accounts, monitored websites and their statuses,\n"
        "under /api/v1/. Logs go to standard error.\n\n"
        "Commands:\n"
        "  user add EMAIL --password-stdin  give EMAIL an account that signs in with the\n"
        "                                password read from standard input\n"
        "  backup FILE                   copy the SQLite database, in use or not, to FILE\n\n"
        "Options (each also RAVO_SERVER_<NAME> in the environment, or a \"name = value\"\n"
        "line of the file given with --config FILE or RAVO_SERVER_CONFIG):\n";
    for (const auto& setting : serverSettings()) {
        std::string flag = "  --" + std::string(setting.name) + " VALUE";
        flag.resize(std::max<std::size_t>(flag.size() + 1, 32), ' ');
        text += flag + setting.help + "\n";
    }
    text += "  --config FILE                 read settings from FILE first\n"
            "  --help, --version\n";
    return text;
}

std::string redactedDatabase(std::string database) {
    const auto scheme = database.find("://");
    const auto query = database.find('?');
    const auto at = database.rfind('@', query);
    if (scheme != std::string::npos && at != std::string::npos && at > scheme) {
        const auto colon = database.find(':', scheme + 3);
        if (colon != std::string::npos && colon < at)
            database = database.substr(0, colon) + ":***" + database.substr(at);
    }
    for (auto password = database.find("password="); password != std::string::npos;
         password = database.find("password=", password + 1)) {
        const auto end = database.find('&', password);
        database.replace(password + 9,
                         (end == std::string::npos ? database.size() : end) - password - 9, "***");
    }
    return database;
}

} // namespace ravo::server
