#pragma once

#include <string>
#include <string_view>

namespace ravo::cloud {

// What the browser hands back after Sign in with Apple: ravo://auth/callback?attempt=...
// with a code or an error.
struct AppleCallback {
    enum class Kind { code, failure, cancelled };
    Kind kind = Kind::failure;
    std::string text; // the code, or the message the user reads
    bool operator==(const AppleCallback&) const = default;

    static constexpr const char* kGenericFailure = "Apple sign-in failed. Try again.";
    static AppleCallback parse(std::string_view url, std::string_view attemptID);
};

} // namespace ravo::cloud
