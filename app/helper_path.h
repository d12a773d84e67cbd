#pragma once

#include <filesystem>

namespace ravo::app {

// ravo-hook beside the running ravo, as installed and as built.
std::filesystem::path helperPath();

} // namespace ravo::app
