#include "cloud/core/apple_callback.h"

#include "cloud/core/cloud_error.h"
#include "base/form_encoding.h"

#include <algorithm>
#include <cctype>

namespace ravo::cloud {

namespace {

bool equalsIgnoringCase(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) {
        return std::tolower(static_cast<unsigned char>(x)) ==
               std::tolower(static_cast<unsigned char>(y));
    });
}

} // namespace

AppleCallback AppleCallback::parse(std::string_view url, std::string_view attemptID) {
    const AppleCallback failed{Kind::failure, kGenericFailure};
    url = url.substr(0, url.find('#'));
    constexpr std::string_view scheme = "ravo://";
    if (url.size() < scheme.size() || !equalsIgnoringCase(url.substr(0, scheme.size()), scheme))
        return failed;
    url.remove_prefix(scheme.size());
    const auto query = url.find('?');
    if (query == std::string_view::npos || query + 1 == url.size())
        return failed;
    const std::string_view location = url.substr(0, query);
    const auto slash = location.find('/');
    if (slash == std::string_view::npos || !equalsIgnoringCase(location.substr(0, slash), "auth") ||
        location.substr(slash) != "/callback")
        return failed;
    const auto items = parseForm(url.substr(query + 1));
    const auto item = [&](const char* name) {
        const auto found = items.find(name);
        return found == items.end() ? std::string() : found->second;
    };
    const std::string error = item("error");
    if (error == "cancelled")
        return {Kind::cancelled, {}};
    if (item("attempt") != attemptID || attemptID.empty())
        return failed;
    if (error == "apple_not_configured")
        return {Kind::failure,
                "Sign in with Apple isn't available right now. Use the email code instead."};
    if (error == "rate_limited")
        return {Kind::failure, CloudError{CloudError::Kind::rateLimited}.text()};
    if (!error.empty())
        return failed;
    const std::string code = item("code");
    if (code.empty())
        return failed;
    return {Kind::code, code};
}

} // namespace ravo::cloud
