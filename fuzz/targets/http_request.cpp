// Raw bytes as they arrive on a ravo-server connection: the request line, headers and body
// through the front end's parser and limits, then to the API as any request goes.
#include "fuzz_check.h"
#include "server/http/http_request_reader.h"
#include "server_fixture.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static fuzz::Fixture fixture;
    const HttpLimits limits{4096, 2048};
    // Forwarding headers count only from a trusted peer: this one, which every network trusts.
    static const ProxyTrust trust{parseIpNetworks("192.0.2.0/24").value(),
                                  ForwardedHeader::xForwardedFor};
    const auto read = readHttpRequest(std::string_view(reinterpret_cast<const char*>(data), size),
                                      limits, ipv4Address(192, 0, 2, 1), trust);
    if (const auto* refused = std::get_if<int>(&read)) {
        FUZZ_CHECK(*refused == 400 || *refused == 413 || *refused == 431);
        return 0;
    }
    const auto& request = std::get<HttpRequest>(read);
    // The client is an address, whatever the headers said.
    FUZZ_CHECK(parseIpAddress(request.clientAddress).has_value());
    FUZZ_CHECK(request.body.size() <= limits.maxBodyBytes);
    const HttpResponse response = handleApi(*fixture.context, request);
    FUZZ_CHECK(response.status >= 200 && response.status < 600);
    FUZZ_CHECK(response.status != 500);
    return 0;
}
