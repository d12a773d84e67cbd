#include "cloud/core/site_state.h"

#include "wire/site_problem.h"

#include <ctime>

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

void keepDownSince(const std::map<std::string, SiteState>& before,
                   std::map<std::string, SiteState>& after) {
    for (auto& [id, state] : after) {
        if (state.health != SiteState::Health::down || state.downSince)
            continue;
        const auto old = before.find(id);
        if (old != before.end() && old->second.health == SiteState::Health::down &&
            old->second.downSince)
            state.downSince = old->second.downSince;
        else
            state.downSince = state.lastResult.date;
    }
}

std::optional<TimePoint> openIncidentStart(const wire::CloudSiteHistory& history) {
    std::optional<TimePoint> start;
    for (const auto& incident : history.incidents)
        if (!incident.endedAt && (!start || incident.startedAt > *start))
            start = incident.startedAt;
    return start;
}

std::string checkedAge(const SiteState& state, TimePoint now) {
    // A server clock a little ahead is still "just now".
    return state.lastResult.date ? ageText(*state.lastResult.date, now) : std::string();
}

std::string checkedText(const SiteState& state, TimePoint now) {
    const std::string age = checkedAge(state, now);
    return age.empty() ? age : "checked " + age;
}

std::string downSinceText(const SiteState& state, TimePoint now) {
    if (state.health != SiteState::Health::down || !state.downSince)
        return {};
    const std::time_t since = Clock::to_time_t(*state.downSince);
    const std::time_t today = Clock::to_time_t(now);
    std::tm sinceParts{};
    std::tm todayParts{};
    if (!localtime_r(&since, &sinceParts) || !localtime_r(&today, &todayParts))
        return {};
    const bool sameDay =
        sinceParts.tm_year == todayParts.tm_year && sinceParts.tm_yday == todayParts.tm_yday;
    char text[32];
    if (std::strftime(text, sizeof text, sameDay ? "%H:%M" : "%b %H:%M", &sinceParts) == 0)
        return {};
    return "down since " + (sameDay ? "" : std::to_string(sinceParts.tm_mday) + " ") + text;
}

} // namespace ravo::cloud
