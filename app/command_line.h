#pragma once

#include "app/commands.h"

#include <string>
#include <vector>

namespace ravo::app {

struct Command {
    enum class Kind {
        run,
        open,
        status,
        statusLine,
        hooks,
        sessions,
        account,
        sites,
        speedTest,
        settings,
        help,
        version,
        invalid
    };
    Kind kind = Kind::run;
    bool json = false;
    std::vector<std::string> arguments; // what follows the command word
    std::string error;
    AccountRequest account;
    SitesRequest sites;
    SpeedTestRequest speedTest;
    SettingsRequest settings;
    bool operator==(const Command&) const = default;
};

Command parseCommandLine(const std::vector<std::string>& arguments);

std::string usageText();

} // namespace ravo::app
