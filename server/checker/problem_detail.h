#pragma once

#include <string>
#include <string_view>

namespace ravo::server {

// What a check that got no answer tells the user after "Can't connect: ", by its problem
// code: what failed and what to look at, in Ravo's words rather than the HTTP library's.
std::string problemDetailFor(std::string_view problemKind);

} // namespace ravo::server
