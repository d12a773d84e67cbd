#pragma once

#include "base/atomic_file.h"

#include <filesystem>
#include <string>

namespace ravo::metrics::testing {

inline std::filesystem::path fixtureRoot(const std::string& machine) {
    return std::filesystem::path(RAVO_FIXTURES) / "linux" / machine;
}

inline std::string fixtureText(const std::string& machine, const std::string& file) {
    return readFile(fixtureRoot(machine) / file).value_or(std::string{});
}

} // namespace ravo::metrics::testing
