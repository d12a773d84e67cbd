// What a client (or a proxy) says of the address it reached the server at: Host,
// X-Forwarded-Proto, X-Forwarded-Host and Forwarded. Whatever they say, the speed-test links
// built from it are a scheme and a plain host, nothing a client could smuggle into them.
#include "server/http/request_origin.h"
#include "fuzz_check.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

using namespace ravo::server;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0)
        return 0;
    const std::string_view text(reinterpret_cast<const char*>(data) + 1, size - 1);
    HttpRequest request;
    request.viaTrustedProxy = data[0] & 1;
    // Lines of the input are the headers, in this order.
    const char* names[] = {"host", "x-forwarded-proto", "x-forwarded-host", "forwarded"};
    std::size_t start = 0;
    for (const char* name : names) {
        if (start > text.size())
            break;
        const auto end = std::min(text.find('\n', start), text.size());
        request.headers[name] = std::string(text.substr(start, end - start));
        start = end + 1;
    }
    const auto origin = requestOrigin(request);
    if (origin) {
        FUZZ_CHECK(origin->starts_with("http://") || origin->starts_with("https://"));
        const std::string host = origin->substr(origin->find("://") + 3);
        FUZZ_CHECK(isHostAndPort(host));
        FUZZ_CHECK(host.find_first_of(" \r\n\t/?#@\\") == std::string::npos);
    }
    return 0;
}
