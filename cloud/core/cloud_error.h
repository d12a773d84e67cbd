#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace ravo::cloud {

// How a call to the Ravo server failed, with the text the user reads.
struct CloudError {
    enum class Kind {
        rejected,     // a 4xx with the server's detail
        server,       // 5xx, 3xx, 1xx or no HTTP at all
        signedOut,    // no token to send
        unauthorized, // 401
        network,      // the server could not be reached
        rateLimited,  // 429
        undecodable,  // a 2xx whose body is not what the call expects
    };
    CloudError(Kind errorKind = Kind::network, std::string errorMessage = {}, int httpStatus = 0)
        : kind(errorKind), message(std::move(errorMessage)), status(httpStatus) {}

    Kind kind;
    std::string message; // rejected, undecodable
    int status;          // server

    std::string text() const;
    bool operator==(const CloudError&) const = default;
};

// The failure an answer's status means (nothing for 2xx): 429 and 401 whatever the body
// says, another 4xx with the body's "detail" or "HTTP <status>", anything else a server
// failure.
std::optional<CloudError> classifyAnswer(int status, std::string_view body);

} // namespace ravo::cloud
