#include "metrics/core/sampling_settings.h"

#include <algorithm>
#include <charconv>

namespace ravo::metrics::SamplingSettings {

namespace {

std::optional<int> seconds(std::string_view text) {
    int value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || value < kMinSeconds ||
        value > kMaxSeconds)
        return std::nullopt;
    return value;
}

} // namespace

Result<std::string> checkedInterval(std::string_view typed) {
    if (typed.empty())
        return std::string();
    const auto value = seconds(typed);
    if (!value)
        return Failure{std::string(kIntervalKey) + " takes whole seconds from 1 to 10."};
    return std::to_string(*value);
}

int intervalSeconds(std::string_view stored) {
    return seconds(stored).value_or(kDefaultSeconds);
}

Result<std::string> checkedInterface(std::string_view typed) {
    // The kernel's own limit (IFNAMSIZ less its terminator), and no separators.
    const bool valid = typed.size() <= 15 && typed != "." && typed != ".." &&
                       typed.find_first_of("/: \t\n") == std::string_view::npos;
    if (!valid)
        return Failure{std::string(kInterfaceKey) +
                       " takes an interface name such as eth0 or wlan0, or nothing for all."};
    return std::string(typed);
}

Result<std::string> checkedVolume(std::string_view typed) {
    if (!typed.empty() && (typed.front() != '/' || typed.find('\n') != std::string_view::npos))
        return Failure{std::string(kVolumeKey) +
                       " takes a mount point such as / or /home, or nothing for the start-up "
                       "volume."};
    return std::string(typed);
}

std::optional<std::string> missingChoiceNote(const SourceChoice& choice,
                                             const SourceOptions& options) {
    const auto lacks = [](const std::vector<std::string>& list, const std::string& name) {
        return !name.empty() && std::find(list.begin(), list.end(), name) == list.end();
    };
    std::string note;
    if (lacks(options.interfaces, choice.interface))
        note = "The interface " + choice.interface +
               " is not on this machine now: the network figures count every interface "
               "until it is back.";
    if (lacks(options.volumes, choice.volume))
        note += std::string(note.empty() ? "" : " ") + "Nothing is mounted at " + choice.volume +
                " now: the disk figures follow the start-up volume until it is back.";
    if (note.empty())
        return std::nullopt;
    return note;
}

} // namespace ravo::metrics::SamplingSettings
