#include "connectivity/netquality/netquality_config.h"

#include "base/json_parse.h"

namespace ravo::connectivity {

namespace {

constexpr const char* kWrongShape = "The server's configuration is not a responsiveness test's.";

std::optional<std::string> webURL(const nlohmann::json& urls, const char* key) {
    const auto found = urls.find(key);
    if (found == urls.end() || !found->is_string())
        return std::nullopt;
    const auto& text = found->get_ref<const std::string&>();
    if (!(text.starts_with("https://") || text.starts_with("http://")) || text.size() > 2048)
        return std::nullopt;
    for (unsigned char c : text)
        if (c <= ' ' || c == 0x7f)
            return std::nullopt;
    return text;
}

} // namespace

Result<NetqualityConfig> NetqualityConfig::parse(std::string_view document) {
    auto parsed = parseJson(document, {.maxDepth = 16});
    if (!parsed)
        return Failure{"The server's configuration is not JSON: " + parsed.error()};
    const nlohmann::json& json = parsed.value();
    if (!json.is_object())
        return Failure{kWrongShape};
    const auto version = json.find("version");
    if (version != json.end() && (!version->is_number_integer() || version->get<long long>() != 1))
        return Failure{"The server speaks another version of the responsiveness test."};
    const auto urls = json.find("urls");
    if (urls == json.end() || !urls->is_object())
        return Failure{kWrongShape};
    auto small = webURL(*urls, "small_https_download_url");
    auto large = webURL(*urls, "large_https_download_url");
    auto upload = webURL(*urls, "https_upload_url");
    if (!small || !large || !upload)
        return Failure{kWrongShape};
    return NetqualityConfig{std::move(*small), std::move(*large), std::move(*upload)};
}

} // namespace ravo::connectivity
