// What a client may send ravo-server: any method and path under /api/v1/, any header, any
// body, through routing, authentication and every body decoder, against a real SQLite file.
#include "fuzz_check.h"
#include "server_fixture.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string_view>
#include <unistd.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static fuzz::Fixture fixture;
    // The first byte picks the endpoint; the rest is the body.
    static const std::pair<const char*, const char*> routes[] = {
        {"POST", "auth/email/start"},
        {"POST", "auth/email/verify"},
        {"POST", "auth/token"},
        {"POST", "auth/apple/start"},
        {"GET", "me"},
        {"PUT", "sites/sync"},
        {"GET", "sites/status"},
        {"DELETE", "devices/x"},
        {"PATCH", "me"},
        {"GET", "../../etc"},
        {"PUT", "notifications/settings"},
        {"GET", "notifications/settings"},
        {"POST", "notifications/telegram/test"},
        {"GET", "sites/6f9619ff-8b86-4011-b42d-00c04fc964ff/history"},
        {"GET", "sites/../history"}};
    if (size == 0)
        return 0;
    const auto& [method, path] = routes[data[0] % std::size(routes)];
    HttpRequest request{method,
                        std::string("/api/v1/") + path,
                        "",
                        {},
                        std::string(reinterpret_cast<const char*>(data) + 1, size - 1),
                        "fuzz"};
    if (data[0] & 0x80)
        request.headers["authorization"] = "Bearer " + fixture.token;
    const HttpResponse response = handleApi(*fixture.context, request);
    FUZZ_CHECK(response.status >= 200 && response.status < 600);
    FUZZ_CHECK(response.status != 500); // a 500 is a handler that threw
    return 0;
}
