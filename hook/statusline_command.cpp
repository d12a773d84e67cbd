#include "hook/statusline_command.h"

#include "base/atomic_file.h"
#include "base/cross_process_signal.h"
#include "base/json_parse.h"
#include "hook/chained_status_line.h"
#include "usage/core/status_line_config.h"
#include "usage/core/status_line_payload.h"

#include <cstdio>
#include <filesystem>

namespace ravo::hook {

using nlohmann::json;

namespace {

void storeLimits(const usage::ClaudeLimits& limits) {
    const auto path = usage::ClaudeLimitsStore::filePath();
    if (!path)
        return;
    std::error_code error;
    std::filesystem::create_directories(path->parent_path(), error);
    if (writeFileAtomically(*path, usage::toJson(limits).dump()))
        CrossProcessSignal::post(CrossProcessSignal::kClaudeLimitsChanged);
}

} // namespace

int runStatusLine(const std::string& input) {
    const json payload = parseJsonOrDiscarded(input);
    const auto limits = usage::StatusLinePayload::limits(payload, Clock::now());
    if (limits)
        storeLimits(*limits);

    if (const auto previous = usage::StatusLineChain::load()) {
        const auto command = previous->find("command");
        if (command != previous->end() && command->is_string() &&
            !usage::StatusLineConfig::isRavo(*previous)) {
            std::fflush(stdout);
            if (runChainedStatusLine(command->get<std::string>(), input))
                return 0;
        }
    }
    const std::string line = usage::StatusLinePayload::ownLine(payload, limits);
    std::fwrite(line.data(), 1, line.size(), stdout);
    std::fputc('\n', stdout);
    return 0;
}

} // namespace ravo::hook
