#pragma once

#include "base/result.h"
#include "base/time.h"

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// The companion service's wire records, snake_case on the wire, shared by the app's client
// and by ravo-server. Dates travel as ISO 8601 text. Decoding never throws: a record that
// is not what it should be comes back as a failure naming the key.
namespace ravo::wire {

// Accounts whose Apple sign-in came without an address live in this domain; the app shows
// them as "Hidden by Apple".
inline constexpr std::string_view kHiddenAppleEmailDomain = "hidden.apple.invalid";

struct CloudMe {
    std::string email;
    std::string plan;
    std::int64_t maxSites = 0;
    std::int64_t minIntervalMinutes = 1;
    std::vector<std::string> allowedChannels;
    std::int64_t historyDays = 30;
    bool operator==(const CloudMe&) const = default;
};

struct CloudSite {
    std::string id; // canonical UUID text, chosen by the app
    std::string url;
    std::string name;
    std::optional<std::string> keyword;
    bool enabled = true;
    std::int64_t intervalMinutes = 5;
    bool operator==(const CloudSite&) const = default;
};

struct CloudSiteStatus {
    std::string site;
    std::string health = "unknown"; // "up", "slow", "down", "unknown"
    std::optional<TimePoint> lastCheckedAt;
    std::optional<std::int64_t> lastStatusCode;
    std::optional<double> lastLatencyMs;
    std::optional<std::string> lastProblemKind;
    std::optional<std::string> lastProblemDetail;
    std::optional<TimePoint> lastCertificateExpiry;
    bool operator==(const CloudSiteStatus&) const = default;
};

struct CloudDevice {
    std::string id;
    std::string name;
    bool operator==(const CloudDevice&) const = default;
};

struct CloudLogin {
    CloudDevice device;
    std::string token;
    bool operator==(const CloudLogin&) const = default;
};

struct EmailSignInStart {
    std::string attemptId;
    bool operator==(const EmailSignInStart&) const = default;
};

struct AppleSignInStart {
    std::string attemptId;
    std::string authorizeUrl;
    bool operator==(const AppleSignInStart&) const = default;
};

// Request bodies of the sign-in operations: flat objects of text values.
struct EmailSignInRequest {
    std::string email, platform, deviceName, lang, codeChallenge, codeChallengeMethod;
    bool operator==(const EmailSignInRequest&) const = default;
};
struct EmailVerifyRequest {
    std::string id, code, codeVerifier;
    bool operator==(const EmailVerifyRequest&) const = default;
};
struct AppleStartRequest {
    std::string platform, deviceName, codeChallenge, codeChallengeMethod;
    bool operator==(const AppleStartRequest&) const = default;
};
struct AppleFinishRequest {
    std::string attemptId, code, codeVerifier;
    bool operator==(const AppleFinishRequest&) const = default;
};
struct PasswordLoginRequest {
    std::string email, password, platform, deviceName;
    bool operator==(const PasswordLoginRequest&) const = default;
};

nlohmann::json toJson(const CloudMe& me);
nlohmann::json toJson(const CloudSite& site);
nlohmann::json toJson(const CloudSiteStatus& status);
nlohmann::json toJson(const CloudLogin& login);
nlohmann::json toJson(const EmailSignInStart& start);
nlohmann::json toJson(const EmailSignInRequest& request);
nlohmann::json toJson(const EmailVerifyRequest& request);
nlohmann::json toJson(const PasswordLoginRequest& request);
nlohmann::json toJson(const AppleSignInStart& start);
nlohmann::json toJson(const AppleStartRequest& request);
nlohmann::json toJson(const AppleFinishRequest& request);

Result<CloudMe> meFromJson(const nlohmann::json& json);
Result<CloudSite> siteFromJson(const nlohmann::json& json);
Result<std::vector<CloudSite>> sitesFromJson(const nlohmann::json& json);
Result<CloudSiteStatus> siteStatusFromJson(const nlohmann::json& json);
Result<CloudLogin> loginFromJson(const nlohmann::json& json);
Result<EmailSignInRequest> emailSignInRequestFromJson(const nlohmann::json& json);
Result<EmailVerifyRequest> emailVerifyRequestFromJson(const nlohmann::json& json);
Result<PasswordLoginRequest> passwordLoginRequestFromJson(const nlohmann::json& json);
Result<EmailSignInStart> emailSignInStartFromJson(const nlohmann::json& json);
Result<AppleSignInStart> appleSignInStartFromJson(const nlohmann::json& json);
Result<AppleStartRequest> appleStartRequestFromJson(const nlohmann::json& json);
Result<AppleFinishRequest> appleFinishRequestFromJson(const nlohmann::json& json);

// "2025-03-01T10:00:00.123Z" or without the fraction; anything else fails with
// "Unreadable date " and the text.
Result<TimePoint> dateFromWire(const nlohmann::json& value);

} // namespace ravo::wire
