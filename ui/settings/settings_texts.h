#pragma once

// The settings' own words.
namespace ravo::ui::SettingsTexts {

inline constexpr const char* kLaunchAtLogin = "Launch at login";
inline constexpr const char* kLoginItemUnavailable =
    "Ravo starts itself at login only when it is installed (cmake --install). This copy runs "
    "from its build folder.";
inline constexpr const char* kReadClaudeLimits = "Read Claude limits from Claude Code";
inline constexpr const char* kReadClaudeLimitsHelp =
    "Claude Code passes your plan's 5-hour and weekly usage to its status line. Ravo adds "
    "itself there and keeps showing your own status line if you have one.";
inline constexpr const char* kAskClaudeCode = "Ask Claude Code for detailed usage";
inline constexpr const char* kAskClaudeCodeHelp =
    "Every few minutes Ravo runs Claude Code's own /usage command for your plan size, "
    "per-model weekly limits (e.g. Fable) and use from the Claude app or claude.ai. It needs "
    "Claude Code installed and signed in, uses no tokens, and Ravo never touches your Claude "
    "sign-in.";
inline constexpr const char* kTrackSessions = "Track agent sessions";
inline constexpr const char* kTrackSessionsHelp =
    "Adds hooks to Claude Code and Codex so Ravo's AI item and dashboard show which sessions "
    "are running, waiting for you, or done.";
inline constexpr const char* kCombinedTrayItem = "Show Ravo as one item";
inline constexpr const char* kCombinedTrayItemHelp =
    "For a crowded panel: one item with the highest figure, and everything else when you click it.";
inline constexpr const char* kPanelHelp =
    "Choose the metrics that get an item in the panel and put them in order.";
inline constexpr const char* kAbout = "About Ravo";
inline constexpr const char* kAboutLinks =
    "<a href=\"readme\">README</a> · <a href=\"log\">Log</a>";

inline constexpr const char* kServerHelp =
    "The Ravo server that checks your websites around the clock: its address, such as "
    "https://ravo.example.org.";
inline constexpr const char* kServerInvalid =
    "Enter the server's address with http:// or https://, such as https://ravo.example.org.";
inline constexpr const char* kSignInHelp =
    "Sign in so the server checks your websites and alerts you, also while this computer is "
    "off. Each computer signs in on its own and can be signed out on its own.";
inline constexpr const char* kAppleInBrowser =
    "Finish signing in with Apple in your browser; Ravo continues when the browser hands the "
    "sign-in back.";
inline constexpr const char* kSiteRule =
    "A site counts as down after two failed checks in a row; 401 and 403 count as up for "
    "password-protected sites.";
inline constexpr const char* kTelegramBotHelp =
    "With the server's own bot no token is needed: save your chat ID and press Send test. A "
    "token of your own is for alerts from your own bot, and lets Find look up the chat.";
inline constexpr const char* kDesktopAlerts = "Desktop alerts";
inline constexpr const char* kDesktopAlertsHelp =
    "A notification when a website goes down and when it is back up, while Ravo runs.";

inline constexpr const char* kConnectionAlerts = "Connection alerts";
inline constexpr const char* kConnectionAlertsHelp =
    "A notification when this computer goes offline, when the network works but the internet "
    "does not, and when the connection works normally again.";
inline constexpr const char* kSpeedTestServerHelp =
    "The speed test measures against a public responsiveness server. To measure against your "
    "own, give your Ravo server's address, such as https://ravo.example.org.";

} // namespace ravo::ui::SettingsTexts
