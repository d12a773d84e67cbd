#include "cloud/core/cloud_error.h"

#include "base/json_parse.h"

namespace ravo::cloud {

std::string CloudError::text() const {
    switch (kind) {
    case Kind::rejected:
    case Kind::undecodable:
        return message;
    case Kind::server:
        return "The Ravo server failed (HTTP " + std::to_string(status) + ").";
    case Kind::signedOut:
        return "Sign in to your Ravo account first.";
    case Kind::unauthorized:
        return "The sign-in expired or was revoked. Sign in again.";
    case Kind::network:
        return "The Ravo server can't be reached.";
    case Kind::rateLimited:
        return "Too many attempts. Wait a moment and try again.";
    }
    return message;
}

std::optional<CloudError> classifyAnswer(int status, std::string_view body) {
    if (status >= 200 && status <= 299)
        return std::nullopt;
    if (status == 429)
        return CloudError{CloudError::Kind::rateLimited};
    if (status == 401)
        return CloudError{CloudError::Kind::unauthorized};
    if (status >= 400 && status <= 499) {
        const auto parsed = parseJson(body, {.maxDepth = 16});
        if (parsed && parsed->is_object())
            if (const auto detail = parsed->find("detail");
                detail != parsed->end() && detail->is_string())
                return CloudError{CloudError::Kind::rejected, detail->get<std::string>()};
        return CloudError{CloudError::Kind::rejected, "HTTP " + std::to_string(status)};
    }
    return CloudError{CloudError::Kind::server, {}, status};
}

} // namespace ravo::cloud
