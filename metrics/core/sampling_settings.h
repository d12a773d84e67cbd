#pragma once

#include "base/result.h"
#include "base/setting.h"
#include "metrics/core/counter_source.h"

#include <optional>
#include <string>
#include <string_view>

// How often the machine is sampled, and which of its network interfaces and volumes the
// network and disk figures follow.
namespace ravo::metrics::SamplingSettings {

inline constexpr const char* kIntervalKey = "systemRefreshSeconds";
inline constexpr int kDefaultSeconds = 2;
inline constexpr int kMinSeconds = 1;
inline constexpr int kMaxSeconds = 10;

// A typed interval as it is stored, or what is wrong with it; empty is the default.
Result<std::string> checkedInterval(std::string_view typed);
// What is stored, in seconds; anything unreadable or out of range is the default.
int intervalSeconds(std::string_view stored);

inline constexpr Setting kInterval{kIntervalKey,
                                   Setting::Kind::text,
                                   "seconds between samples of the machine (1 to 10)",
                                   false,
                                   false,
                                   "2",
                                   Setting::Store::app,
                                   {},
                                   &checkedInterval};

inline constexpr const char* kInterfaceKey = "systemNetworkInterface";
inline constexpr const char* kVolumeKey = "systemDiskVolume";

// An interface's name as the kernel allows one; empty is the automatic choice.
Result<std::string> checkedInterface(std::string_view typed);
// A volume's mount point, an absolute path; empty is the automatic choice.
Result<std::string> checkedVolume(std::string_view typed);

inline constexpr Setting kInterface{kInterfaceKey,
                                    Setting::Kind::text,
                                    "the network interface the network figures follow (empty: "
                                    "every physical one)",
                                    false,
                                    false,
                                    "",
                                    Setting::Store::app,
                                    {},
                                    &checkedInterface};
inline constexpr Setting kVolume{kVolumeKey,
                                 Setting::Kind::text,
                                 "the mount point of the volume the disk figures follow (empty: "
                                 "the start-up volume)",
                                 false,
                                 false,
                                 "",
                                 Setting::Store::app,
                                 {},
                                 &checkedVolume};

// What to tell the user when a chosen interface or volume is not on the machine now, and
// the automatic choice stands in for it.
std::optional<std::string> missingChoiceNote(const SourceChoice& choice,
                                             const SourceOptions& options);

} // namespace ravo::metrics::SamplingSettings
