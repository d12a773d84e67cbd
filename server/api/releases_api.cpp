#include "server/api/api.h"

#include "base/atomic_file.h"

#include <algorithm>
#include <cctype>
#include <filesystem>

namespace ravo::server::ReleasesApi {

namespace {

// One query parameter; values are plain words here, so no percent-decoding is needed.
std::string parameter(const std::string& query, const std::string& name) {
    std::size_t start = 0;
    while (start <= query.size()) {
        const auto end = std::min(query.find('&', start), query.size());
        const std::string pair = query.substr(start, end - start);
        if (pair.starts_with(name + "="))
            return pair.substr(name.size() + 1);
        start = end + 1;
    }
    return {};
}

bool isWord(const std::string& text) {
    return !text.empty() && text.size() <= 32 &&
           std::all_of(text.begin(), text.end(), [](unsigned char c) {
               return std::islower(c) || std::isdigit(c) || c == '-' || c == '_';
           });
}

// The first published file among `suffixes` for the request's platform and channel:
// RELEASE_DIR/<platform>-<channel><suffix>.
HttpResponse publishedFile(ApiContext& context, const HttpRequest& request,
                           std::initializer_list<std::pair<const char*, const char*>> suffixes) {
    const std::string platform = parameter(request.query, "platform");
    const std::string channel = parameter(request.query, "channel");
    if (!isWord(platform) || !isWord(channel))
        return errorResponse(400, "platform and channel must be plain words");
    if (!context.config.releaseDir)
        return errorResponse(404, "no_release");
    for (const auto& [suffix, type] : suffixes) {
        const auto file =
            std::filesystem::path(*context.config.releaseDir) / (platform + "-" + channel + suffix);
        if (const auto text = readFile(file, 4 * 1024 * 1024)) {
            HttpResponse response = jsonResponse(200, *text);
            response.contentType = type;
            return response;
        }
    }
    return errorResponse(404, "no_release");
}

} // namespace

HttpResponse latest(ApiContext& context, const HttpRequest& request) {
    return publishedFile(context, request, {{".json", "application/json"}});
}

HttpResponse notes(ApiContext& context, const HttpRequest& request) {
    return publishedFile(context, request,
                         {{"-notes.json", "application/json"},
                          {"-notes.md", "text/markdown; charset=utf-8"},
                          {"-notes.html", "text/html; charset=utf-8"},
                          {"-notes.txt", "text/plain; charset=utf-8"}});
}

} // namespace ravo::server::ReleasesApi
