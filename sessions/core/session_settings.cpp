#include "sessions/core/session_settings.h"

#include "base/group_settings.h"

#include <algorithm>

namespace ravo::sessions::SessionSettings {

std::set<usage::Provider> installedProviders() {
    std::set<usage::Provider> providers;
    for (const auto& raw : GroupSettings::readStrings(GroupSettings::kInstalledProviders)
                               .value_or(std::vector<std::string>{}))
        if (const auto provider = usage::providerFromRaw(raw))
            providers.insert(*provider);
    return providers;
}

void setInstalledProviders(const std::set<usage::Provider>& providers) {
    std::vector<std::string> raw;
    for (auto provider : providers)
        raw.emplace_back(usage::rawValue(provider));
    std::sort(raw.begin(), raw.end());
    GroupSettings::write(GroupSettings::kInstalledProviders, raw);
}

} // namespace ravo::sessions::SessionSettings
