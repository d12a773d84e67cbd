#pragma once

#include "base/result.h"
#include "server/config/server_config.h"

#include <functional>
#include <string>
#include <vector>

namespace ravo::server {

// One setting of ravo-server: its flag, what `--help` says of it, and how its text is
// checked and stored.
struct ServerSetting {
    const char* name; // flag without "--"; the variable is RAVO_SERVER_ + upper snake case
    const char* help;
    std::function<Status(ServerConfig&, const std::string&)> apply;
    // Read from a file of the same name in systemd's credentials folder, and a warning when
    // given as a flag.
    bool secret = false;
};

// Every setting, in the order `--help` lists them.
const std::vector<ServerSetting>& serverSettings();

// A secret kept in a file: its text without the line break editors leave at the end.
Result<std::string> secretFromFile(const std::string& path);

} // namespace ravo::server
