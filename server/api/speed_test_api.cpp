#include "server/api/api.h"
#include "server/http/request_origin.h"

namespace ravo::server::SpeedTestApi {

HttpResponse config(ApiContext& context, const HttpRequest& request) {
    std::optional<std::string> origin = context.config.publicURL;
    if (!origin)
        origin = requestOrigin(request);
    if (!origin)
        return errorResponse(400, "the Host header does not name a host");
    std::string base = *origin;
    while (!base.empty() && base.back() == '/')
        base.pop_back();
    const nlohmann::json document = {
        {"version", 1},
        {"urls",
         {{"small_https_download_url", base + "/api/v1/speedtest/small"},
          {"large_https_download_url", base + std::string(kLargePath)},
          {"https_upload_url", base + std::string(kUploadPath)}}}};
    return jsonResponse(200, document.dump());
}

HttpResponse small() {
    HttpResponse response;
    response.contentType = "application/octet-stream";
    response.body = std::string(1, '\0');
    return response;
}

std::optional<HttpResponse> admit(ApiContext& context, const HttpRequest& request) {
    switch (context.config.speedTest) {
    case SpeedTestAccess::everyone:
        return std::nullopt;
    case SpeedTestAccess::off:
        return errorResponse(404, "not_found");
    case SpeedTestAccess::signedIn:
        break;
    }
    auto caller = authenticate(context, request);
    if (auto* refused = std::get_if<HttpResponse>(&caller))
        return *refused;
    return std::nullopt;
}

} // namespace ravo::server::SpeedTestApi
