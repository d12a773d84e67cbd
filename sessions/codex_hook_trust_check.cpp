#include "sessions/codex_hook_trust_check.h"

#include "base/json_parse.h"
#include "sessions/core/hook_config.h"

#include <QLoggingCategory>

#include <nlohmann/json.hpp>

Q_LOGGING_CATEGORY(lcHooks, "io.halvorsund.Ravo.hooks")

namespace ravo::sessions {

QCoro::Task<std::optional<bool>> codexHooksNeedApproval(usage::CodexAppServer server,
                                                        std::filesystem::path home) {
    const nlohmann::json params = {{"cwds", nlohmann::json::array({home.string()})}};
    const auto answer =
        co_await server.request("hooks/list", params.dump(), std::chrono::seconds(25));
    if (const auto* error = std::get_if<usage::ProbeError>(&answer)) {
        qCCritical(lcHooks, "Codex hook trust check failed: %s", error->message.c_str());
        co_return std::nullopt;
    }
    const auto count =
        CodexHookTrust::untrustedHelperHooks(parseJsonOrDiscarded(std::get<std::string>(answer)));
    if (!count)
        co_return std::nullopt;
    co_return *count > 0;
}

} // namespace ravo::sessions
