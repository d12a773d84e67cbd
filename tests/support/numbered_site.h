#pragma once

#include <cstdio>
#include <string>

namespace ravo::testing {

// A site id that is a valid UUID and says which site it is: the number is its last part.
inline std::string numberedSiteID(int n) {
    char text[40];
    std::snprintf(text, sizeof text, "00000000-0000-4000-8000-%012d", n);
    return text;
}

} // namespace ravo::testing
