#include "server/core/api.h"

namespace ravo::server::SpeedTestApi {

HttpResponse config(ApiContext& context) {
    std::string base = context.config.publicURL;
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

} // namespace ravo::server::SpeedTestApi
