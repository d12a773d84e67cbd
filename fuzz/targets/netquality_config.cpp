// A responsiveness server's configuration document, fetched by ravo-netquality.
#include "connectivity/netquality/netquality_config.h"
#include "fuzz_check.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

using namespace ravo::connectivity;

namespace {
bool isWebURL(const std::string& url) {
    return (url.starts_with("http://") || url.starts_with("https://")) &&
           url.find_first_of(" \t\r\n") == std::string::npos;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view document(reinterpret_cast<const char*>(data), size);
    const auto config = NetqualityConfig::parse(document);
    if (!config) {
        FUZZ_CHECK(!config.error().empty());
        return 0;
    }
    FUZZ_CHECK(isWebURL(config->smallURL));
    FUZZ_CHECK(isWebURL(config->largeURL));
    FUZZ_CHECK(isWebURL(config->uploadURL));
    return 0;
}
