#pragma once

#include <map>
#include <string>
#include <string_view>

// application/x-www-form-urlencoded, as forms and URL queries carry it.
namespace ravo {

// Every byte but letters, digits and "-._~" as %XX.
std::string formEncode(std::string_view text);
// Names to values; the first of a repeated name wins, a malformed escape stays as it is.
std::map<std::string, std::string> parseForm(std::string_view body);

} // namespace ravo
