#pragma once

#include "base/result.h"
#include "server/net/client_address.h"
#include "server/net/ip_network.h"
#include "wire/wire_records.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace ravo::server {

// Who may use the responsiveness test's endpoints.
enum class SpeedTestAccess { everyone, signedIn, off };

struct ServerConfig {
    std::string listenHost = "127.0.0.1";
    int listenPort = 8470;
    std::string database = "sqlite:ravo-server.db";
    std::optional<std::string> smtpURL; // smtp://host:port or smtps://host:port
    std::optional<std::string> smtpUser;
    std::optional<std::string> smtpPassword;
    // Off only on purpose: without it mail to anything but loopback needs TLS.
    bool smtpTls = true;
    std::optional<std::string> smtpCAFile;
    std::string mailFrom = "ravo@localhost";
    // Nothing: links the server hands out follow the address each request came to.
    std::optional<std::string> publicURL;
    std::string telegramAPI = "https://api.telegram.org";
    std::optional<std::string> telegramBotToken;
    std::optional<std::string> releaseDir;
    // Sign in with Apple: all four, or none.
    std::optional<std::string> appleClientID;
    std::optional<std::string> appleTeamID;
    std::optional<std::string> appleKeyID;
    std::optional<std::string> applePrivateKeyFile;
    std::string appleURL = "https://appleid.apple.com";
    wire::CloudMe plan{"", "self-hosted", 1000, 1, {"email", "telegram"}, 30};
    std::int64_t checkTimeoutSeconds = 10;
    std::int64_t checkConcurrency = 256;
    std::int64_t slowThresholdMs = 3000;
    std::int64_t checkMinuteSeconds = 60;
    std::optional<std::string> checkCAFile;
    // Checks reach only global addresses, and these networks besides.
    std::vector<IpNetwork> checkAllowNetworks;
    ProxyTrust proxyTrust;
    // Who may read /metrics: loopback unless the operator says otherwise.
    std::vector<IpNetwork> metricsAllowNetworks = {*parseIpNetwork("127.0.0.0/8"),
                                                   *parseIpNetwork("::1/128")};
    // Open connections at most; nothing: worked out from the file descriptors allowed.
    std::optional<std::int64_t> maxConnections;
    std::int64_t maxConnectionsPerClient = 64;
    SpeedTestAccess speedTest = SpeedTestAccess::everyone;
    std::int64_t speedTestMiBPerHour = 16 * 1024; // per client, down and up together
    bool checker = true;
    std::size_t maxBodyBytes = 256 * 1024;
    int threads = 2;
    // Threads that run checks; nothing: one per core.
    std::optional<std::int64_t> checkThreads;
    bool operator==(const ServerConfig&) const = default;
};

// What the command line asked for: serving, or one of the operator's commands.
struct ServerCommand {
    enum class Kind { serve, userAdd, backup, help, version } kind = Kind::serve;
    std::string email;      // user add
    std::string backupFile; // backup
    ServerConfig config;
    // Said once at start: secrets given where `ps` shows them, and the like.
    std::vector<std::string> warnings;
};

// Flags override RAVO_SERVER_* variables, which override the lines of `--config FILE`
// ("name = value", "#" comments); unknown or malformed settings are one clear line.
Result<ServerCommand> parseCommandLine(const std::vector<std::string>& arguments,
                                       const std::map<std::string, std::string>& environment);

std::string helpText();

// The database address without its password (user:password@ or ?password=), for the log.
std::string redactedDatabase(std::string database);

// Whether `--name VALUE` carries a secret, which main wipes from its arguments once read.
bool isSecretSetting(std::string_view name);

} // namespace ravo::server
