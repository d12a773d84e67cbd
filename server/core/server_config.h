#pragma once

#include "cloud/core/wire_records.h"
#include "core/result.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace ravo::server {

struct ServerConfig {
    std::string listenHost = "127.0.0.1";
    int listenPort = 8470;
    std::string database = "sqlite:ravo-server.db";
    std::optional<std::string> smtpURL; // smtp://host:port or smtps://host:port
    std::optional<std::string> smtpUser;
    std::optional<std::string> smtpPassword;
    std::string mailFrom = "ravo@localhost";
    std::string publicURL = "http://127.0.0.1:8470";
    std::string telegramAPI = "https://api.telegram.org";
    std::optional<std::string> telegramBotToken;
    std::optional<std::string> releaseDir;
    // Sign in with Apple: all four, or none.
    std::optional<std::string> appleClientID;
    std::optional<std::string> appleTeamID;
    std::optional<std::string> appleKeyID;
    std::optional<std::string> applePrivateKeyFile;
    std::string appleURL = "https://appleid.apple.com";
    cloud::CloudMe plan{"", "self-hosted", 1000, 1, {"email", "telegram"}, 30};
    std::int64_t checkTimeoutSeconds = 10;
    std::int64_t checkConcurrency = 256;
    std::int64_t slowThresholdMs = 3000;
    std::int64_t checkMinuteSeconds = 60;
    std::optional<std::string> checkCAFile;
    bool checker = true;
    std::size_t maxBodyBytes = 256 * 1024;
    int threads = 2;
    bool operator==(const ServerConfig&) const = default;
};

// What the command line asked for: serving, or one of the operator's commands.
struct ServerCommand {
    enum class Kind { serve, userAdd, help, version } kind = Kind::serve;
    std::string email; // user add
    ServerConfig config;
};

// Flags override RAVO_SERVER_* variables, which override the lines of `--config FILE`
// ("name = value", "#" comments); unknown or malformed settings are one clear line.
Result<ServerCommand> parseCommandLine(const std::vector<std::string>& arguments,
                                       const std::map<std::string, std::string>& environment);

std::string helpText();

} // namespace ravo::server
