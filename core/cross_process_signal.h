#pragma once

#include <string_view>

// Tells the running app that a shared file changed. On Linux this is a D-Bus signal on
// the session bus; without a bus nothing is sent and the app notices through its folder
// watch instead.
namespace ravo::CrossProcessSignal {

inline constexpr const char* kPath = "/io/halvorsund/Ravo";
inline constexpr const char* kInterface = "io.halvorsund.Ravo";
inline constexpr const char* kSessionsChanged = "sessionsChanged";
inline constexpr const char* kClaudeLimitsChanged = "claudeLimitsChanged";

// Returns whether the signal left this process.
bool post(std::string_view member);

} // namespace ravo::CrossProcessSignal
