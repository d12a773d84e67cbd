#pragma once

#include <string_view>

// The core cannot use Qt's logging, so it reports through a sink that the app points at
// its logging categories. Without a sink (ravo-hook) nothing is written anywhere.
namespace ravo::log {

enum class Level { debug, info, warning, error };

using Sink = void (*)(std::string_view category, Level level, std::string_view message);

void setSink(Sink sink);
void write(std::string_view category, Level level, std::string_view message);

inline void info(std::string_view category, std::string_view message) {
    write(category, Level::info, message);
}
inline void error(std::string_view category, std::string_view message) {
    write(category, Level::error, message);
}

} // namespace ravo::log
