// A web address as a user types it into the Websites tab or `ravo sites add`.
#include "fuzz_check.h"
#include "wire/site_url.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

using namespace ravo;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view typed(reinterpret_cast<const char*>(data), size);
    const auto url = wire::normalizedSiteURL(typed);
    if (!url)
        return 0;
    // A kept address is a fixed point, starts with its scheme and has a host.
    FUZZ_CHECK(wire::normalizedSiteURL(*url) == url);
    FUZZ_CHECK(url->starts_with("http://") || url->starts_with("https://"));
    FUZZ_CHECK(wire::siteHost(*url).has_value());
    // No user name, no white space: an at sign only after the host.
    const auto authorityEnd = url->find_first_of("/?#", url->find("://") + 3);
    FUZZ_CHECK(url->find(' ') == std::string::npos);
    FUZZ_CHECK(url->find('@') == std::string::npos ||
               (authorityEnd != std::string::npos && url->find('@') > authorityEnd));
    return 0;
}
