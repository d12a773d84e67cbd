#pragma once

#include <optional>
#include <string>

// The entry points behind `ravo`'s command words; each returns the process's exit status.
namespace ravo::app {

int runStatusCommand(bool json);
int runStatusLineCommand(const std::string& action);
int runHooksCommand(const std::string& action);
int runSessionsCommand(bool json);

// ravo account signin|signout|status
struct AccountRequest {
    std::string action;
    std::optional<std::string> server;
    std::string email;
    bool passwordFromStandardInput = false;
    bool operator==(const AccountRequest&) const = default;
};
int runAccountCommand(const AccountRequest& request);

// ravo sites [--local | add URL | remove ID|URL]
struct SitesRequest {
    std::string action = "list"; // list, local, add or remove
    bool json = false;
    std::string target; // add: the address; remove: the id or address
    std::string name;
    std::string keyword;
    bool operator==(const SitesRequest&) const = default;
};
int runSitesCommand(const SitesRequest& request);
// ravo speedtest [--server URL] [--json] | speedtest --history [--json]
struct SpeedTestRequest {
    std::optional<std::string> server;
    bool json = false;
    bool history = false;
    bool operator==(const SpeedTestRequest&) const = default;
};
int runSpeedTestCommand(const SpeedTestRequest& request);
// ravo settings list | get KEY | set KEY VALUE
struct SettingsRequest {
    std::string action = "list";
    std::string key;
    std::string value;
    bool operator==(const SettingsRequest&) const = default;
};
int runSettingsCommand(const SettingsRequest& request);
int runTerminalDashboard();
// The tray application; `openURL` is a ravo:// link to hand over, or empty.
int runDesktop(int argc, char** argv, const std::string& openURL);

} // namespace ravo::app
