#include "wire/sign_in_methods.h"

#include "wire/wire_fields.h"

namespace ravo::wire {

nlohmann::json toJson(const SignInMethods& methods) {
    return {{"email_code", methods.emailCode},
            {"password", methods.password},
            {"apple", methods.apple}};
}

Result<SignInMethods> signInMethodsFromJson(const nlohmann::json& json) {
    WireFields f(json);
    SignInMethods methods{f.boolean("email_code", false), f.boolean("password", false),
                          f.boolean("apple", false)};
    return finish(f, methods);
}

} // namespace ravo::wire
