#include "server/api/api.h"

#include "base/log.h"
#include "server/store/sql_database.h"

namespace ravo::server {

namespace {

HttpResponse textResponse(int status, std::string body,
                          std::string contentType = "text/plain; charset=utf-8") {
    HttpResponse response;
    response.status = status;
    response.contentType = std::move(contentType);
    response.body = std::move(body);
    response.headers["cache-control"] = "no-store";
    return response;
}

} // namespace

namespace OperatorApi {

bool handles(const std::string& path) {
    return path == "/metrics" || path == "/healthz" || path == "/readyz";
}

HttpResponse answer(ApiContext& context, const HttpRequest& request) {
    if (request.method != "GET" && request.method != "HEAD")
        return errorResponse(405, "method_not_allowed");
    if (request.path == "/healthz")
        return textResponse(200, "ok\n");
    if (request.path == "/readyz") {
        if (auto answered = context.store.ping(); !answered)
            return textResponse(503, "the database does not answer\n");
        if (context.telemetry)
            if (auto reason = checkerNotReady(*context.telemetry))
                return textResponse(503, *reason + "\n");
        return textResponse(200, "ready\n");
    }
    const auto client = parseIpAddress(request.clientAddress);
    if (!client || !anyContains(context.config.metricsAllowNetworks, *client))
        return errorResponse(403, "forbidden");
    if (!context.telemetry)
        return errorResponse(404, "not_found");
    auto totals = context.store.totals();
    if (!totals)
        log::error("server", "counting for /metrics failed: " + totals.error());
    return textResponse(200,
                        prometheusText(*context.telemetry,
                                       totals ? std::optional(*totals) : std::nullopt,
                                       databaseErrorCount().load()),
                        "text/plain; version=0.0.4; charset=utf-8");
}

} // namespace OperatorApi

} // namespace ravo::server
