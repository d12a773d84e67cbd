#include "wire/wire_records.h"

#include "base/json_optional.h"
#include "wire/wire_fields.h"

namespace ravo::wire {

using nlohmann::json;
using ravo::json::putOptional;

namespace {

void putDate(json& object, const char* key, const std::optional<TimePoint>& date) {
    if (date)
        object[key] = toIso8601(*date);
}

} // namespace

Result<TimePoint> dateFromWire(const json& value) {
    const std::string text = value.is_string() ? value.get<std::string>() : value.dump();
    if (value.is_string())
        if (const auto date = parseIso8601(text))
            return *date;
    return Failure{"Unreadable date " + text};
}

json toJson(const CloudMe& me) {
    return {{"email", me.email},
            {"plan", me.plan},
            {"max_sites", me.maxSites},
            {"min_interval_minutes", me.minIntervalMinutes},
            {"allowed_channels", me.allowedChannels},
            {"history_days", me.historyDays}};
}

json toJson(const CloudSite& site) {
    json j = {{"id", site.id},
              {"url", site.url},
              {"name", site.name},
              {"enabled", site.enabled},
              {"interval_minutes", site.intervalMinutes}};
    putOptional(j, "keyword", site.keyword);
    return j;
}

json toJson(const CloudSiteStatus& status) {
    json j = {{"site", status.site}, {"health", status.health}};
    putDate(j, "last_checked_at", status.lastCheckedAt);
    putOptional(j, "last_status_code", status.lastStatusCode);
    putOptional(j, "last_latency_ms", status.lastLatencyMs);
    putOptional(j, "last_problem_kind", status.lastProblemKind);
    putOptional(j, "last_problem_detail", status.lastProblemDetail);
    putDate(j, "last_certificate_expiry", status.lastCertificateExpiry);
    return j;
}

json toJson(const CloudLogin& login) {
    return {{"device", {{"id", login.device.id}, {"name", login.device.name}}},
            {"token", login.token}};
}

json toJson(const EmailSignInStart& start) {
    return {{"attempt_id", start.attemptId}};
}

json toJson(const EmailSignInRequest& r) {
    return {{"email", r.email},
            {"platform", r.platform},
            {"device_name", r.deviceName},
            {"lang", r.lang},
            {"code_challenge", r.codeChallenge},
            {"code_challenge_method", r.codeChallengeMethod}};
}

json toJson(const EmailVerifyRequest& r) {
    return {{"id", r.id}, {"code", r.code}, {"code_verifier", r.codeVerifier}};
}

json toJson(const PasswordLoginRequest& r) {
    return {{"email", r.email},
            {"password", r.password},
            {"platform", r.platform},
            {"device_name", r.deviceName}};
}

json toJson(const AppleSignInStart& start) {
    return {{"attempt_id", start.attemptId}, {"authorize_url", start.authorizeUrl}};
}

json toJson(const AppleStartRequest& r) {
    return {{"platform", r.platform},
            {"device_name", r.deviceName},
            {"code_challenge", r.codeChallenge},
            {"code_challenge_method", r.codeChallengeMethod}};
}

json toJson(const AppleFinishRequest& r) {
    return {{"attempt_id", r.attemptId}, {"code", r.code}, {"code_verifier", r.codeVerifier}};
}

Result<CloudMe> meFromJson(const json& j) {
    WireFields f(j);
    CloudMe me{f.text("email"),
               f.text("plan"),
               f.integer("max_sites"),
               f.integer("min_interval_minutes"),
               f.texts("allowed_channels"),
               f.integer("history_days")};
    return finish(f, std::move(me));
}

Result<CloudSite> siteFromJson(const json& j) {
    WireFields f(j);
    CloudSite site;
    site.id = f.text("id");
    site.url = f.text("url");
    site.name = f.optionalText("name").value_or(std::string());
    site.keyword = f.optionalText("keyword");
    site.enabled = f.boolean("enabled", true);
    site.intervalMinutes = f.integer("interval_minutes");
    return finish(f, std::move(site));
}

Result<std::vector<CloudSite>> sitesFromJson(const json& j) {
    if (!j.is_array())
        return Failure{"the body must be a list of sites"};
    std::vector<CloudSite> sites;
    for (std::size_t i = 0; i < j.size(); ++i) {
        auto site = siteFromJson(j[i]);
        if (!site)
            return Failure{"site " + std::to_string(i + 1) + ": " + site.error()};
        sites.push_back(std::move(site).value());
    }
    return sites;
}

Result<CloudSiteStatus> siteStatusFromJson(const json& j) {
    WireFields f(j);
    CloudSiteStatus status;
    status.site = f.text("site");
    status.health = f.text("health");
    status.lastCheckedAt = f.optionalDate("last_checked_at");
    status.lastStatusCode = f.optionalInteger("last_status_code");
    status.lastLatencyMs = f.optionalNumber("last_latency_ms");
    status.lastProblemKind = f.optionalText("last_problem_kind");
    status.lastProblemDetail = f.optionalText("last_problem_detail");
    status.lastCertificateExpiry = f.optionalDate("last_certificate_expiry");
    return finish(f, std::move(status));
}

Result<CloudLogin> loginFromJson(const json& j) {
    WireFields f(j);
    CloudLogin login;
    login.token = f.text("token");
    if (j.is_object() && j.contains("device")) {
        WireFields device(j.at("device"));
        login.device = {device.text("id"), device.text("name")};
        if (device.problem())
            return Failure{"device: " + *device.problem()};
    } else {
        return Failure{"device is missing"};
    }
    return finish(f, std::move(login));
}

Result<EmailSignInRequest> emailSignInRequestFromJson(const json& j) {
    WireFields f(j);
    EmailSignInRequest r{f.text("email"),
                         f.optionalText("platform").value_or("mac"),
                         f.optionalText("device_name").value_or(std::string()),
                         f.optionalText("lang").value_or("en"),
                         f.text("code_challenge"),
                         f.text("code_challenge_method")};
    return finish(f, std::move(r));
}

Result<EmailVerifyRequest> emailVerifyRequestFromJson(const json& j) {
    WireFields f(j);
    EmailVerifyRequest r{f.text("id"), f.text("code"), f.text("code_verifier")};
    return finish(f, std::move(r));
}

Result<PasswordLoginRequest> passwordLoginRequestFromJson(const json& j) {
    WireFields f(j);
    PasswordLoginRequest r{f.text("email"), f.text("password"),
                           f.optionalText("platform").value_or("mac"),
                           f.optionalText("device_name").value_or(std::string())};
    return finish(f, std::move(r));
}

Result<EmailSignInStart> emailSignInStartFromJson(const json& j) {
    WireFields f(j);
    EmailSignInStart start{f.text("attempt_id")};
    return finish(f, std::move(start));
}

Result<AppleSignInStart> appleSignInStartFromJson(const json& j) {
    WireFields f(j);
    AppleSignInStart start{f.text("attempt_id"), f.text("authorize_url")};
    return finish(f, std::move(start));
}

Result<AppleStartRequest> appleStartRequestFromJson(const json& j) {
    WireFields f(j);
    AppleStartRequest r{f.optionalText("platform").value_or("mac"),
                        f.optionalText("device_name").value_or(std::string()),
                        f.text("code_challenge"), f.text("code_challenge_method")};
    return finish(f, std::move(r));
}

Result<AppleFinishRequest> appleFinishRequestFromJson(const json& j) {
    WireFields f(j);
    AppleFinishRequest r{f.text("attempt_id"), f.text("code"), f.text("code_verifier")};
    return finish(f, std::move(r));
}

} // namespace ravo::wire
