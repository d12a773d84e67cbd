#pragma once

#include "usage/codex_app_server.h"
#include "usage/usage_provider.h"

namespace ravo::usage {

class CodexUsageProvider final : public UsageProvider {
public:
    explicit CodexUsageProvider(CodexAppServer server);
    QCoro::Task<UsageOutcome> fetch(TimePoint now) override;

    // A cold app-server loads its configuration and sign-in state in a few seconds;
    // twenty leaves room for a busy machine and still ends well inside a refresh period.
    static constexpr std::chrono::seconds kTimeout{20};
    // A server that hung once is given five minutes before the next try.
    static constexpr double kBackoffAfterTimeout = 300.0;

private:
    CodexAppServer server_;
};

} // namespace ravo::usage
