#include "server/core/server_config.h"

#include "core/atomic_file.h"
#include "server/core/email_address.h"

#include <charconv>
#include <filesystem>
#include <functional>
#include <sstream>

namespace ravo::server {

namespace {

struct Setting {
    const char* name; // flag without "--"; the variable is RAVO_SERVER_ + upper snake case
    const char* help;
    std::function<Status(ServerConfig&, const std::string&)> apply;
    // Read from a file of the same name in systemd's credentials folder, and a warning when
    // given as a flag.
    bool secret = false;
};

constexpr std::size_t kMaxSecretBytes = 64 * 1024;

// A secret kept in a file: its text without the line break editors leave at the end.
Result<std::string> secretFromFile(const std::string& path) {
    auto text = readFile(path, kMaxSecretBytes);
    if (!text)
        return Failure{"cannot read " + path};
    while (!text->empty() && (text->back() == '\n' || text->back() == '\r'))
        text->pop_back();
    if (text->empty())
        return Failure{path + " is empty"};
    return *text;
}

auto secretFileInto(std::optional<std::string> ServerConfig::*field) {
    return [field](ServerConfig& config, const std::string& path) -> Status {
        auto secret = secretFromFile(path);
        if (!secret)
            return secret.failure();
        config.*field = *secret;
        return success();
    };
}

auto networksInto(std::vector<IpNetwork> ServerConfig::*field) {
    return [field](ServerConfig& config, const std::string& value) -> Status {
        auto networks = parseIpNetworks(value);
        if (!networks)
            return networks.failure();
        config.*field = *networks;
        return success();
    };
}

Status onOrOff(bool& field, const std::string& value) {
    if (value != "on" && value != "off")
        return Failure{"\"" + value + "\" is not on or off"};
    field = value == "on";
    return success();
}

Result<std::int64_t> wholeNumber(const std::string& text, std::int64_t low, std::int64_t high) {
    std::int64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc{} || end != text.data() + text.size() || value < low || value > high)
        return Failure{"\"" + text + "\" is not a whole number from " + std::to_string(low) +
                       " to " + std::to_string(high)};
    return value;
}

Status setNumber(std::int64_t& field, const std::string& text, std::int64_t low,
                 std::int64_t high) {
    auto value = wholeNumber(text, low, high);
    if (!value)
        return value.failure();
    field = *value;
    return success();
}

// Settings that take any text as it stands.
auto textInto(std::string ServerConfig::*field) {
    return [field](ServerConfig& config, const std::string& value) -> Status {
        config.*field = value;
        return success();
    };
}
auto textInto(std::optional<std::string> ServerConfig::*field) {
    return [field](ServerConfig& config, const std::string& value) -> Status {
        config.*field = value;
        return success();
    };
}

const std::vector<Setting>& settings() {
    static const std::vector<Setting> all{
        {"listen", "HOST:PORT to serve the API on (default 127.0.0.1:8470)",
         [](ServerConfig& c, const std::string& v) -> Status {
             const auto colon = v.rfind(':');
             if (colon == std::string::npos || colon == 0)
                 return Failure{"\"" + v + "\" is not HOST:PORT"};
             std::int64_t port = 0;
             if (auto set = setNumber(port, v.substr(colon + 1), 0, 65535); !set)
                 return set;
             c.listenHost = v.substr(0, colon);
             if (c.listenHost.size() > 2 && c.listenHost.front() == '[')
                 c.listenHost = c.listenHost.substr(1, c.listenHost.size() - 2);
             c.listenPort = static_cast<int>(port);
             return success();
         }},
        {"database",
         "sqlite:PATH (default sqlite:ravo-server.db), or postgresql://USER@HOST/NAME "
         "to share one database among several processes",
         [](ServerConfig& c, const std::string& v) -> Status {
             const bool sqlite = v.starts_with("sqlite:") && v.size() > 7;
             const bool postgres = v.starts_with("postgresql://") || v.starts_with("postgres://");
             if (!sqlite && !postgres)
                 return Failure{"\"" + v + "\" is not sqlite:PATH or postgresql://..."};
             c.database = v;
             return success();
         }},
        {"smtp", "smtp://HOST:PORT or smtps://HOST:PORT for the sign-in mail",
         [](ServerConfig& c, const std::string& v) -> Status {
             if (!v.starts_with("smtp://") && !v.starts_with("smtps://"))
                 return Failure{"\"" + v + "\" is not an smtp:// or smtps:// address"};
             c.smtpURL = v;
             return success();
         }},
        {"smtp-user", "user name for the SMTP server", textInto(&ServerConfig::smtpUser)},
        {"smtp-password", "password for the SMTP server (better: smtp-password-file)",
         textInto(&ServerConfig::smtpPassword), true},
        {"smtp-password-file", "a file that holds the SMTP server's password",
         secretFileInto(&ServerConfig::smtpPassword)},
        {"smtp-tls",
         "on or off: mail goes over TLS, STARTTLS for smtp:// (default on; loopback needs none)",
         [](ServerConfig& c, const std::string& v) { return onOrOff(c.smtpTls, v); }},
        {"smtp-ca-file",
         "certificate authorities (PEM) the SMTP server's certificate is checked with",
         textInto(&ServerConfig::smtpCAFile)},
        {"mail-from", "the sender of the sign-in mail",
         [](ServerConfig& c, const std::string& v) -> Status {
             if (v.find('@') == std::string::npos)
                 return Failure{"\"" + v + "\" is not an e-mail address"};
             c.mailFrom = v;
             return success();
         }},
        {"public-url", "the address users reach this server at",
         [](ServerConfig& c, const std::string& v) -> Status {
             if (!v.starts_with("http://") && !v.starts_with("https://"))
                 return Failure{"\"" + v + "\" is not an http:// or https:// address"};
             c.publicURL = v;
             return success();
         }},
        {"telegram-api", "the Telegram Bot API's base address",
         textInto(&ServerConfig::telegramAPI)},
        {"telegram-bot-token", "the server's own Telegram bot (better: telegram-bot-token-file)",
         textInto(&ServerConfig::telegramBotToken), true},
        {"telegram-bot-token-file", "a file that holds the server's own Telegram bot's token",
         secretFileInto(&ServerConfig::telegramBotToken)},
        {"release-dir", "the folder of published release envelopes and notes",
         textInto(&ServerConfig::releaseDir)},
        {"apple-client-id", "Sign in with Apple: the Services ID",
         textInto(&ServerConfig::appleClientID)},
        {"apple-team-id", "Sign in with Apple: the developer team's id",
         textInto(&ServerConfig::appleTeamID)},
        {"apple-key-id", "Sign in with Apple: the id of the key below",
         textInto(&ServerConfig::appleKeyID)},
        {"apple-private-key", "Sign in with Apple: the key file (.p8) from Apple",
         textInto(&ServerConfig::applePrivateKeyFile)},
        {"apple-url", "Sign in with Apple's address (default https://appleid.apple.com)",
         textInto(&ServerConfig::appleURL)},
        {"plan-name", "the plan every account has (default self-hosted)",
         [](ServerConfig& c, const std::string& v) -> Status {
             c.plan.plan = v;
             return success();
         }},
        {"plan-max-sites", "how many sites an account may monitor (default 1000)",
         [](ServerConfig& c, const std::string& v) {
             return setNumber(c.plan.maxSites, v, 0, 1'000'000);
         }},
        {"plan-min-interval", "the shortest check interval in minutes (default 1)",
         [](ServerConfig& c, const std::string& v) {
             return setNumber(c.plan.minIntervalMinutes, v, 1, 1440);
         }},
        {"plan-history-days", "days of history kept (default 30)",
         [](ServerConfig& c, const std::string& v) {
             return setNumber(c.plan.historyDays, v, 1, 3650);
         }},
        {"check-timeout", "seconds a site has to answer a check (default 10)",
         [](ServerConfig& c, const std::string& v) {
             return setNumber(c.checkTimeoutSeconds, v, 1, 120);
         }},
        {"check-concurrency", "checks that may run at once (default 256)",
         [](ServerConfig& c, const std::string& v) {
             return setNumber(c.checkConcurrency, v, 1, 10000);
         }},
        {"slow-threshold-ms", "a site that answers slower than this is slow (default 3000)",
         [](ServerConfig& c, const std::string& v) {
             return setNumber(c.slowThresholdMs, v, 1, 120000);
         }},
        {"check-minute",
         "seconds in an interval's minute (default 60; shorter only to try things out)",
         [](ServerConfig& c, const std::string& v) {
             return setNumber(c.checkMinuteSeconds, v, 1, 60);
         }},
        {"check-ca-file", "certificate authorities (PEM) that checks trust instead of the system's",
         textInto(&ServerConfig::checkCAFile)},
        {"check-allow-networks",
         "networks checks may reach besides the public internet, such as 192.168.1.0/24 "
         "(default none: no loopback, private or link-local addresses)",
         networksInto(&ServerConfig::checkAllowNetworks)},
        {"trusted-proxies",
         "the proxies (networks) whose forwarding header names the client (default none)",
         [](ServerConfig& c, const std::string& v) -> Status {
             auto networks = parseIpNetworks(v);
             if (!networks)
                 return networks.failure();
             c.proxyTrust.proxies = *networks;
             return success();
         }},
        {"forwarded-header",
         "x-forwarded-for or forwarded: the header the trusted proxies append the client to "
         "(default x-forwarded-for)",
         [](ServerConfig& c, const std::string& v) -> Status {
             if (v == "x-forwarded-for")
                 c.proxyTrust.header = ForwardedHeader::xForwardedFor;
             else if (v == "forwarded")
                 c.proxyTrust.header = ForwardedHeader::forwarded;
             else
                 return Failure{"\"" + v + "\" is not x-forwarded-for or forwarded"};
             return success();
         }},
        {"max-connections",
         "open connections at most; more wait to be accepted (default: from the open-file limit)",
         [](ServerConfig& c, const std::string& v) -> Status {
             std::int64_t connections = 0;
             if (auto set = setNumber(connections, v, 8, 1'000'000); !set)
                 return set;
             c.maxConnections = connections;
             return success();
         }},
        {"max-connections-per-client",
         "open connections one client (an address, an IPv6 /64) may hold; trusted proxies are "
         "not counted (default 64)",
         [](ServerConfig& c, const std::string& v) {
             return setNumber(c.maxConnectionsPerClient, v, 1, 1'000'000);
         }},
        {"speedtest", "public, signed-in or off: who may run the speed test (default public)",
         [](ServerConfig& c, const std::string& v) -> Status {
             if (v == "public")
                 c.speedTest = SpeedTestAccess::everyone;
             else if (v == "signed-in")
                 c.speedTest = SpeedTestAccess::signedIn;
             else if (v == "off")
                 c.speedTest = SpeedTestAccess::off;
             else
                 return Failure{"\"" + v + "\" is not public, signed-in or off"};
             return success();
         }},
        {"speedtest-mib-per-hour",
         "MiB a client may move through the speed test in an hour (default 16384)",
         [](ServerConfig& c, const std::string& v) {
             return setNumber(c.speedTestMiBPerHour, v, 1, 1'000'000'000);
         }},
        {"checker", "on or off: whether this process checks sites (default on)",
         [](ServerConfig& c, const std::string& v) { return onOrOff(c.checker, v); }},
        {"max-body", "the largest request body in bytes (default 262144)",
         [](ServerConfig& c, const std::string& v) -> Status {
             std::int64_t bytes = 0;
             if (auto set = setNumber(bytes, v, 1024, 64 * 1024 * 1024); !set)
                 return set;
             c.maxBodyBytes = static_cast<std::size_t>(bytes);
             return success();
         }},
        {"threads", "threads that answer requests (default 2)",
         [](ServerConfig& c, const std::string& v) -> Status {
             std::int64_t threads = 0;
             if (auto set = setNumber(threads, v, 1, 64); !set)
                 return set;
             c.threads = static_cast<int>(threads);
             return success();
         }},
    };
    return all;
}

std::string variableName(const char* name) {
    std::string variable = "RAVO_SERVER_";
    for (const char* c = name; *c; ++c)
        variable +=
            *c == '-' ? '_' : static_cast<char>(std::toupper(static_cast<unsigned char>(*c)));
    return variable;
}

const Setting* settingNamed(const std::string& name) {
    for (const auto& setting : settings())
        if (name == setting.name)
            return &setting;
    return nullptr;
}

Status applyOne(ServerConfig& config, const std::string& name, const std::string& value,
                const std::string& where) {
    const Setting* setting = settingNamed(name);
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
        const auto trim = [](std::string s) {
            const auto first = s.find_first_not_of(" \t\r");
            const auto last = s.find_last_not_of(" \t\r");
            return first == std::string::npos ? std::string() : s.substr(first, last - first + 1);
        };
        line = trim(line);
        if (line.empty() || line.front() == '#')
            continue;
        const auto equals = line.find('=');
        if (equals == std::string::npos)
            return Failure{path + ":" + std::to_string(number) + ": expected \"name = value\""};
        if (auto applied =
                applyOne(config, trim(line.substr(0, equals)), trim(line.substr(equals + 1)),
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
    for (const auto& setting : settings()) {
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

bool holdsPassword(const std::string& databaseURL) {
    const auto scheme = databaseURL.find("://");
    const auto at = databaseURL.rfind('@');
    return databaseURL.find("password=") != std::string::npos ||
           (scheme != std::string::npos && at != std::string::npos && at > scheme &&
            databaseURL.substr(scheme + 3, at - scheme - 3).find(':') != std::string::npos);
}

} // namespace

bool isSecretSetting(std::string_view name) {
    if (name == "database")
        return true; // it may hold a password
    for (const auto& setting : settings())
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
    for (const auto& setting : settings())
        if (const auto it = environment.find(variableName(setting.name)); it != environment.end())
            if (auto applied = applyOne(command.config, setting.name, it->second, it->first);
                !applied)
                return applied.failure();
    for (const auto& [name, value] : flags) {
        if (auto applied = applyOne(command.config, name, value, "--" + name); !applied)
            return applied.failure();
        const Setting* setting = settingNamed(name);
        if (setting->secret || (name == "database" && holdsPassword(value)))
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
    if (!words.empty())
        return Failure{"unknown command \"" + words[0] + "\" (see --help)"};
    return command;
}

std::string helpText() {
    std::string text =
        "Usage: ravo-server [OPTIONS]\n"
        "       ravo-server user add EMAIL --password-stdin [OPTIONS]\n\n"
        "The companion service of Ravo: accounts, monitored websites and their statuses,\n"
        "under /api/v1/. Logs go to standard error.\n\n"
        "Options (each also RAVO_SERVER_<NAME> in the environment, or a \"name = value\"\n"
        "line of the file given with --config FILE or RAVO_SERVER_CONFIG):\n";
    for (const auto& setting : settings()) {
        std::string flag = "  --" + std::string(setting.name) + " VALUE";
        flag.resize(std::max<std::size_t>(flag.size() + 1, 32), ' ');
        text += flag + setting.help + "\n";
    }
    text += "  --config FILE                 read settings from FILE first\n"
            "  --help, --version\n";
    return text;
}

} // namespace ravo::server
