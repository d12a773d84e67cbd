#include "cloud/core/site_state.h"

#include "wire/site_problem.h"

namespace ravo::cloud {

namespace {

std::string kindCode(SiteProblem::Kind kind) {
    switch (kind) {
    case SiteProblem::Kind::httpStatus:
        return "http_status";
    case SiteProblem::Kind::timeout:
        return "timeout";
    case SiteProblem::Kind::certificateInvalid:
        return "certificate_invalid";
    case SiteProblem::Kind::keywordMissing:
        return "keyword_missing";
    case SiteProblem::Kind::unreachable:
        break;
    }
    return "unreachable";
}

} // namespace

std::string SiteProblem::text() const {
    return wire::siteProblemText(kindCode(kind), statusCode, detail);
}

SiteProblem siteProblemFrom(const wire::CloudSiteStatus& status) {
    const std::string code = status.lastProblemKind.value_or(std::string());
    if (code == "timeout")
        return {SiteProblem::Kind::timeout, std::nullopt, 0};
    if (code == "certificate_invalid")
        return {SiteProblem::Kind::certificateInvalid, std::nullopt, 0};
    if (code == "keyword_missing")
        return {SiteProblem::Kind::keywordMissing, std::nullopt, 0};
    if (code == "http_status")
        return {SiteProblem::Kind::httpStatus, std::nullopt, status.lastStatusCode.value_or(0)};
    return {SiteProblem::Kind::unreachable, status.lastProblemDetail, 0};
}

SiteState siteStateFrom(const wire::CloudSiteStatus& status) {
    SiteState state;
    if (status.health == "up")
        state.health = SiteState::Health::up;
    else if (status.health == "slow")
        state.health = SiteState::Health::slow;
    else if (status.health == "down") {
        state.health = SiteState::Health::down;
        state.problem = siteProblemFrom(status);
    }
    state.lastResult = {status.lastCheckedAt, status.lastStatusCode,
                        status.lastLatencyMs ? std::optional(*status.lastLatencyMs / 1000.0)
                                             : std::nullopt,
                        status.lastCertificateExpiry};
    return state;
}

std::string healthWord(SiteState::Health health) {
    switch (health) {
    case SiteState::Health::up:
        return "up";
    case SiteState::Health::slow:
        return "slow";
    case SiteState::Health::down:
        return "down";
    case SiteState::Health::unknown:
        break;
    }
    return "unknown";
}

} // namespace ravo::cloud
