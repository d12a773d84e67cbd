#pragma once

#include "base/result.h"

#include <nlohmann/json.hpp>

namespace ravo::wire {

// The ways a server lets users sign in (GET auth/methods), so the app offers only those:
// Apple only where the operator set it up.
struct SignInMethods {
    bool emailCode = true;
    bool password = true;
    bool apple = false;
    bool operator==(const SignInMethods&) const = default;
};

nlohmann::json toJson(const SignInMethods& methods);
// A method the server does not name is one it does not offer.
Result<SignInMethods> signInMethodsFromJson(const nlohmann::json& json);

} // namespace ravo::wire
