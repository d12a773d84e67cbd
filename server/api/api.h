#pragma once

#include "server/alerts/telegram_client.h"
#include "server/api/rate_limiter.h"
#include "server/auth/apple_sign_in.h"
#include "server/auth/password_timing.h"
#include "server/config/server_config.h"
#include "server/http/http_message.h"
#include "server/mail/mailer.h"
#include "server/store/store.h"
#include "server/telemetry/server_telemetry.h"

#include <functional>
#include <optional>

namespace ravo::server {

// What every handler may use; owned by main, shared by the front end's threads.
struct ApiContext {
    Store& store;
    Mailer& mailer;
    const ServerConfig& config;
    const TelegramClient& telegram;
    AppleSignIn* apple = nullptr;         // when the operator configured Sign in with Apple
    ServerTelemetry* telemetry = nullptr; // counts requests; /metrics reads it
    std::function<TimePoint()> now = [] { return Clock::now(); };
    // Told when an account's sites changed, so new slots are not missed; nothing without a
    // checker in this process.
    std::function<void()> sitesChanged = nullptr;
    // Sign-in attempts per client, in this process: the first, cheap line.
    RateLimiter perClient{30, std::chrono::minutes(10)};
    RateLimiter mailsPerClient{5, std::chrono::hours(1)};
    PasswordTiming passwordTiming{};
};

// A limit kept in the store, so that it holds however many processes answer: at most
// `limit` attempts per subject (an account, an address) in each window.
struct StoredLimit {
    std::string_view name;
    std::int64_t limit;
    std::chrono::seconds window;
};
inline constexpr StoredLimit kPasswordFailures{"password", 10, std::chrono::minutes(15)};
inline constexpr StoredLimit kSignInMails{"mail", 10, std::chrono::hours(1)};
inline constexpr StoredLimit kSignInMailsPerDay{"mail-day", 20, std::chrono::hours(24)};
inline constexpr StoredLimit kTelegramTests{"telegram-test", 5, std::chrono::hours(1)};

// Counts one attempt; the answer to give instead when it is over the limit or the store is
// away, nothing when it may go ahead.
std::optional<HttpResponse> refusedByLimit(ApiContext& context, const StoredLimit& limit,
                                           const std::string& subject);
// The key a stored limit counts `subject` under.
std::string limitKey(const StoredLimit& limit, const std::string& subject);

// The account and device a valid bearer token belongs to.
struct Caller {
    Account account;
    Device device;
};

// Parses the target under /api/v1/, authenticates and routes; never throws.
HttpResponse handleApi(ApiContext& context, const HttpRequest& request);
// Counts an answer for /metrics; handleApi counts its own.
void countRequest(ApiContext& context, const HttpRequest& request, int status);

// The caller a request's bearer token stands for, or the answer that refuses it.
std::variant<Caller, HttpResponse> authenticate(ApiContext& context, const HttpRequest& request);

// The endpoint groups, each given a decoded request.
namespace AuthApi {
// Which sign-ins this server offers; Apple only when the operator configured it.
HttpResponse methods(const ApiContext& context);
HttpResponse emailStart(ApiContext& context, const HttpRequest& request);
HttpResponse emailVerify(ApiContext& context, const HttpRequest& request);
HttpResponse passwordLogin(ApiContext& context, const HttpRequest& request);
HttpResponse appleStart(ApiContext& context, const HttpRequest& request);
// Apple's form post after the user signed in: a redirect to ravo://auth/callback.
HttpResponse appleCallback(ApiContext& context, const HttpRequest& request);
HttpResponse appleFinish(ApiContext& context, const HttpRequest& request);
} // namespace AuthApi

namespace AccountApi {
HttpResponse me(ApiContext& context, const Caller& caller);
HttpResponse deleteMe(ApiContext& context, const Caller& caller);
HttpResponse deleteDevice(ApiContext& context, const Caller& caller, const std::string& id);
} // namespace AccountApi

namespace SitesApi {
HttpResponse sync(ApiContext& context, const Caller& caller, const HttpRequest& request);
// The account's list as it stands, for a device that signs in and takes it over.
HttpResponse list(ApiContext& context, const Caller& caller);
// The same, or 304 without it when the request's If-None-Match names the list as it stands:
// a device that polls the list pays for it only when it changed.
HttpResponse listIfChanged(ApiContext& context, const Caller& caller, const HttpRequest& request);
HttpResponse status(ApiContext& context, const Caller& caller);
HttpResponse history(ApiContext& context, const Caller& caller, const std::string& siteID);
} // namespace SitesApi

namespace NotificationsApi {
HttpResponse settings(ApiContext& context, const Caller& caller);
HttpResponse update(ApiContext& context, const Caller& caller, const HttpRequest& request);
HttpResponse telegramTest(ApiContext& context, const Caller& caller);
} // namespace NotificationsApi

// For the operator: /metrics (from metrics-allow-networks only), /healthz (the process
// answers) and /readyz (the database answers and checks keep to their slots).
namespace OperatorApi {
bool handles(const std::string& path);
HttpResponse answer(ApiContext& context, const HttpRequest& request);
} // namespace OperatorApi

// Published release envelopes and notes; the signing key never comes near the server.
namespace ReleasesApi {
HttpResponse latest(ApiContext& context, const HttpRequest& request);
HttpResponse notes(ApiContext& context, const HttpRequest& request);
} // namespace ReleasesApi

// The responsiveness test's configuration and small download; the endless download and
// the upload sink stream, so the front end serves them itself.
namespace SpeedTestApi {
inline constexpr std::string_view kLargePath = "/api/v1/speedtest/large";
inline constexpr std::string_view kUploadPath = "/api/v1/speedtest/upload";
// The files' addresses: under public-url when it is set, else under the origin the
// request reached this server at.
HttpResponse config(ApiContext& context, const HttpRequest& request);
HttpResponse small();
// Whether the request may use the speed test (`speedtest`: public, signed-in or off):
// nothing when it may, else the answer that refuses it.
std::optional<HttpResponse> admit(ApiContext& context, const HttpRequest& request);
} // namespace SpeedTestApi

// The body as a JSON value, or the 400 that says why it is not one.
std::variant<nlohmann::json, HttpResponse> jsonBody(const HttpRequest& request);

// The first key of `given` (an object, or a list of them) that `known` does not have at the
// same place; keys whose value is null count as absent.
std::optional<std::string> unknownKey(const nlohmann::json& given, const nlohmann::json& known);

template <typename Record> nlohmann::json wireJson(const Record& record) {
    return wire::toJson(record);
}
template <typename Record> nlohmann::json wireJson(const std::vector<Record>& records) {
    nlohmann::json list = nlohmann::json::array();
    for (const auto& record : records)
        list.push_back(wire::toJson(record));
    return list;
}

// The body decoded into a wire record, or the 400 that says what is wrong with it.
template <typename Decoder>
auto decodeBody(const HttpRequest& request, Decoder decode)
    -> std::variant<std::decay_t<decltype(decode(nlohmann::json()).value())>, HttpResponse> {
    auto body = jsonBody(request);
    if (auto* refused = std::get_if<HttpResponse>(&body))
        return *refused;
    const auto& document = std::get<nlohmann::json>(body);
    auto decoded = decode(document);
    if (!decoded)
        return errorResponse(400, decoded.error());
    // What the record does not know would be dropped without a word: refuse it instead.
    if (const auto unknown = unknownKey(document, wireJson(decoded.value())))
        return errorResponse(400, "unknown field \"" + *unknown + "\"");
    return std::move(decoded).value();
}

HttpResponse storeFailure(const Failure& failure);

} // namespace ravo::server
