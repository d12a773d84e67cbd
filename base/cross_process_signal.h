#pragma once

#include <chrono>
#include <string_view>

// Tells the running app that a shared file changed. On Linux this is a D-Bus signal on
// the session bus; without a bus nothing is sent and the app notices through its folder
// watch instead.
namespace ravo::CrossProcessSignal {

inline constexpr const char* kPath = "/io/halvorsund/Ravo";
inline constexpr const char* kInterface = "io.halvorsund.Ravo";
inline constexpr const char* kSessionsChanged = "sessionsChanged";
inline constexpr const char* kClaudeLimitsChanged = "claudeLimitsChanged";

// How long a post may take at most: the record is already written, and the app also
// watches the folder, so a bus that does not answer costs a late refresh, not a lost one.
inline constexpr std::chrono::milliseconds kBudget{250};

// Returns whether the signal left this process.
bool post(std::string_view member);

} // namespace ravo::CrossProcessSignal
