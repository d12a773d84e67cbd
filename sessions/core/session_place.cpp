#include "sessions/core/session_place.h"

#include <algorithm>
#include <charconv>
#include <string_view>

namespace ravo::sessions {

namespace {

bool isPane(std::string_view text) {
    return text.size() >= 2 && text.size() <= 12 && text[0] == '%' &&
           std::all_of(text.begin() + 1, text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

// An absolute path of printable characters: it ends up as an argument to tmux.
bool isSocketPath(std::string_view text) {
    return !text.empty() && text.size() < 256 && text[0] == '/' &&
           std::all_of(text.begin(), text.end(),
                       [](char c) { return static_cast<unsigned char>(c) >= 0x20 && c != 0x7f; });
}

std::optional<std::uint32_t> windowID(std::string_view text) {
    std::uint32_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc{} || end != text.data() + text.size() || value == 0)
        return std::nullopt;
    return value;
}

} // namespace

SessionPlace SessionPlace::fromEnvironment(const std::function<const char*(const char*)>& get) {
    SessionPlace place;
    const char* tmux = get("TMUX");
    const char* pane = get("TMUX_PANE");
    if (tmux && pane && isPane(pane)) {
        const std::string_view value(tmux);
        const auto socket = value.substr(0, value.find(','));
        if (isSocketPath(socket)) {
            place.tmuxSocket = std::string(socket);
            place.tmuxPane = pane;
        }
    }
    if (const char* window = get("WINDOWID"))
        place.x11Window = windowID(window);
    return place;
}

std::string SessionPlace::fileName(usage::Provider provider, const std::string& sessionID) {
    return std::string(usage::rawValue(provider)) + "-" + sessionID + ".place";
}

nlohmann::json toJson(const SessionPlace& place) {
    nlohmann::json json = nlohmann::json::object();
    if (place.tmuxSocket && place.tmuxPane) {
        json["tmuxSocket"] = *place.tmuxSocket;
        json["tmuxPane"] = *place.tmuxPane;
    }
    if (place.x11Window)
        json["x11Window"] = *place.x11Window;
    return json;
}

std::optional<SessionPlace> placeFromJson(const nlohmann::json& json) {
    if (!json.is_object())
        return std::nullopt;
    SessionPlace place;
    const auto socket = json.find("tmuxSocket");
    const auto pane = json.find("tmuxPane");
    if (socket != json.end() && pane != json.end() && socket->is_string() && pane->is_string() &&
        isSocketPath(socket->get_ref<const std::string&>()) &&
        isPane(pane->get_ref<const std::string&>())) {
        place.tmuxSocket = socket->get<std::string>();
        place.tmuxPane = pane->get<std::string>();
    }
    const auto window = json.find("x11Window");
    if (window != json.end() && window->is_number_unsigned() &&
        window->get<std::uint64_t>() <= UINT32_MAX && window->get<std::uint64_t>() > 0)
        place.x11Window = static_cast<std::uint32_t>(window->get<std::uint64_t>());
    return place;
}

} // namespace ravo::sessions
