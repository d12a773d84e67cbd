#include "server/api/api.h"

#include "base/json_parse.h"
#include "base/log.h"
#include "server/config/secrets.h"

namespace ravo::server {

namespace {

constexpr std::string_view kPrefix = "/api/v1/";

std::optional<std::string> bearerToken(const HttpRequest& request) {
    const auto it = request.headers.find("authorization");
    if (it == request.headers.end() || !it->second.starts_with("Bearer "))
        return std::nullopt;
    return it->second.substr(7);
}

} // namespace

std::variant<Caller, HttpResponse> authenticate(ApiContext& context, const HttpRequest& request) {
    const auto token = bearerToken(request);
    if (!token || token->empty() || token->size() > 512)
        return errorResponse(401, "not_authenticated");
    const auto device = context.store.deviceForToken(Secrets::sha256Hex(*token));
    if (!device)
        return storeFailure(device.failure());
    if (!*device)
        return errorResponse(401, "token_invalid");
    const auto account = context.store.account((*device)->accountID);
    if (!account)
        return storeFailure(account.failure());
    if (!*account)
        return errorResponse(401, "token_invalid");
    return Caller{**account, **device};
}

namespace {

HttpResponse route(ApiContext& context, const HttpRequest& request) {
    const std::string path = request.path.substr(kPrefix.size());
    const std::string& method = request.method;
    if (path == "auth/email/start" && method == "POST")
        return AuthApi::emailStart(context, request);
    if (path == "auth/email/verify" && method == "POST")
        return AuthApi::emailVerify(context, request);
    if (path == "auth/token" && method == "POST")
        return AuthApi::passwordLogin(context, request);
    if (path == "auth/methods" && method == "GET")
        return AuthApi::methods(context);
    if (path == "auth/apple/start" && method == "POST")
        return AuthApi::appleStart(context, request);
    if (path == "auth/apple/callback" && method == "POST")
        return AuthApi::appleCallback(context, request);
    if (path == "auth/apple/finish" && method == "POST")
        return AuthApi::appleFinish(context, request);
    if (path == "releases/latest" && method == "GET")
        return ReleasesApi::latest(context, request);
    if (path == "releases/notes" && method == "GET")
        return ReleasesApi::notes(context, request);
    if (path.starts_with("speedtest/"))
        if (auto refused = SpeedTestApi::admit(context, request))
            return *refused;
    if (path == "speedtest/config" && method == "GET")
        return SpeedTestApi::config(context, request);
    if (path == "speedtest/small" && method == "GET")
        return SpeedTestApi::small();

    const bool isHistory = path.starts_with("sites/") && path.ends_with("/history");
    const bool known = path == "me" || path.starts_with("devices/") || path == "sites/sync" ||
                       path == "sites/status" || isHistory || path == "notifications/settings" ||
                       path == "notifications/telegram/test";
    if (!known)
        return errorResponse(404, "not_found");
    auto caller = authenticate(context, request);
    if (auto* refused = std::get_if<HttpResponse>(&caller))
        return *refused;
    const Caller& who = std::get<Caller>(caller);
    if (path == "me" && method == "GET")
        return AccountApi::me(context, who);
    if (path == "me" && method == "DELETE")
        return AccountApi::deleteMe(context, who);
    if (path.starts_with("devices/") && method == "DELETE")
        return AccountApi::deleteDevice(context, who, path.substr(8));
    if (path == "sites/sync" && method == "PUT")
        return SitesApi::sync(context, who, request);
    if (path == "sites/sync" && method == "GET")
        return SitesApi::listIfChanged(context, who, request);
    if (path == "sites/status" && method == "GET")
        return SitesApi::status(context, who);
    if (isHistory && method == "GET")
        return SitesApi::history(context, who, path.substr(6, path.size() - 6 - 8));
    if (path == "notifications/settings" && method == "GET")
        return NotificationsApi::settings(context, who);
    if (path == "notifications/settings" && method == "PUT")
        return NotificationsApi::update(context, who, request);
    if (path == "notifications/telegram/test" && method == "POST")
        return NotificationsApi::telegramTest(context, who);
    return errorResponse(405, "method_not_allowed");
}

} // namespace

std::variant<nlohmann::json, HttpResponse> jsonBody(const HttpRequest& request) {
    auto parsed = parseJson(request.body, {.maxDepth = 16});
    if (!parsed)
        return errorResponse(400, "The body is not valid JSON: " + parsed.error() + ".");
    return std::move(parsed).value();
}

std::optional<std::string> unknownKey(const nlohmann::json& given, const nlohmann::json& known) {
    if (given.is_array() && known.is_array()) {
        for (std::size_t i = 0; i < given.size() && i < known.size(); ++i)
            if (auto key = unknownKey(given[i], known[i]))
                return key;
        return std::nullopt;
    }
    if (!given.is_object() || !known.is_object())
        return std::nullopt;
    for (const auto& [key, value] : given.items()) {
        if (value.is_null())
            continue;
        const auto match = known.find(key);
        if (match == known.end())
            return key.substr(0, 64);
        if (auto nested = unknownKey(value, *match))
            return key.substr(0, 64) + "." + *nested;
    }
    return std::nullopt;
}

std::string limitKey(const StoredLimit& limit, const std::string& subject) {
    return std::string(limit.name) + ":" + subject;
}

std::optional<HttpResponse> refusedByLimit(ApiContext& context, const StoredLimit& limit,
                                           const std::string& subject) {
    const TimePoint now = context.now();
    const auto counted = context.store.countAttempt(limitKey(limit, subject), limit.window, now);
    if (!counted)
        return storeFailure(counted.failure());
    if (counted->count <= limit.limit)
        return std::nullopt;
    return rateLimitedResponse(
        std::chrono::ceil<std::chrono::seconds>(counted->windowStart + limit.window - now));
}

HttpResponse storeFailure(const Failure& failure) {
    log::error("server", failure.message);
    return jsonResponse(503, nlohmann::json{{"detail", "storage_unavailable"}}.dump());
}

namespace {

HttpResponse answer(ApiContext& context, const HttpRequest& request) {
    if (OperatorApi::handles(request.path))
        return OperatorApi::answer(context, request);
    if (!request.path.starts_with(kPrefix))
        return errorResponse(404, "not_found");
    try {
        return route(context, request);
    } catch (const std::exception& error) {
        // A handler's surprise is this request's 500, never the server's end.
        log::error("server", std::string("request failed: ") + error.what());
        return jsonResponse(500, nlohmann::json{{"detail", "internal_error"}}.dump());
    }
}

} // namespace

void countRequest(ApiContext& context, const HttpRequest& request, int status) {
    if (context.telemetry)
        context.telemetry->requests.add(
            {methodLabel(request.method), routeLabel(request.path), std::to_string(status)});
}

HttpResponse handleApi(ApiContext& context, const HttpRequest& request) {
    HttpResponse response = answer(context, request);
    countRequest(context, request, response.status);
    return response;
}

} // namespace ravo::server
