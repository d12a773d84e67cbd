#pragma once

#include "usage/core/provider.h"

#include <set>

// For which agents the session-tracking hooks are installed, shared with every reader of
// the sessions folder so a missing set-up can be told from an empty list.
namespace ravo::sessions::SessionSettings {

std::set<usage::Provider> installedProviders();
void setInstalledProviders(const std::set<usage::Provider>& providers);

} // namespace ravo::sessions::SessionSettings
