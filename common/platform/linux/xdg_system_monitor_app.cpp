#include "common/platform/linux/xdg_system_monitor_app.h"

#include "common/log_categories.h"

#include <QProcess>
#include <QStringList>

#include <algorithm>
#include <cstdlib>

namespace ravo::common {

namespace {

struct Candidate {
    std::string_view desktop; // as $XDG_CURRENT_DESKTOP names it, lower-cased
    std::string_view entryName;
};

// Without a preference, in this order.
constexpr Candidate kCandidates[] = {
    {"gnome", "gnome-system-monitor.desktop"},       {"gnome", "org.gnome.SystemMonitor.desktop"},
    {"kde", "org.kde.plasma-systemmonitor.desktop"}, {"kde", "org.kde.ksysguard.desktop"},
    {"xfce", "xfce4-taskmanager.desktop"},           {"xfce", "org.xfce.taskmanager.desktop"},
};

// The desktops $XDG_CURRENT_DESKTOP names, most specific first, lower-cased.
std::vector<std::string> desktopsIn(std::string_view list) {
    std::vector<std::string> desktops;
    while (!list.empty()) {
        const std::size_t colon = list.find(':');
        std::string name(list.substr(0, colon));
        std::ranges::transform(name, name.begin(), [](char c) {
            return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
        });
        desktops.push_back(std::move(name));
        list = colon == std::string_view::npos ? std::string_view{} : list.substr(colon + 1);
    }
    return desktops;
}

} // namespace

XdgSystemMonitorApp::XdgSystemMonitorApp(PlacesSource places, std::string currentDesktops)
    : places_(std::move(places)), currentDesktops_(std::move(currentDesktops)) {}

std::string XdgSystemMonitorApp::currentDesktopsFromEnvironment() {
    const char* value = std::getenv("XDG_CURRENT_DESKTOP");
    return value ? value : "";
}

std::vector<std::string_view> XdgSystemMonitorApp::entryNamesFor(std::string_view currentDesktops) {
    std::vector<std::string_view> names;
    const auto add = [&names](std::string_view name) {
        if (std::ranges::find(names, name) == names.end())
            names.push_back(name);
    };
    for (const std::string& desktop : desktopsIn(currentDesktops))
        for (const Candidate& candidate : kCandidates)
            if (candidate.desktop == desktop)
                add(candidate.entryName);
    for (const Candidate& candidate : kCandidates)
        add(candidate.entryName);
    return names;
}

std::optional<InstalledApplication> XdgSystemMonitorApp::find() const {
    const DesktopSearchPlaces places = places_();
    for (std::string_view name : entryNamesFor(currentDesktops_)) {
        const auto file = findDesktopEntryFile(places, name);
        if (!file)
            continue;
        auto app = readInstalledApplication(places, *file);
        if (app)
            return std::move(app).value();
        qCDebug(lcApp).noquote() << QString::fromStdString(app.error());
    }
    return std::nullopt;
}

Status XdgSystemMonitorApp::open() const {
    const auto app = find();
    if (!app)
        return Failure{"No system monitor is installed"};
    QStringList arguments;
    for (auto it = app->command.begin() + 1; it != app->command.end(); ++it)
        arguments << QString::fromStdString(*it);
    const QString program = QString::fromStdString(app->command.front());
    if (!QProcess::startDetached(program, arguments))
        return Failure{"Cannot start " + app->command.front() + " from " + app->entryFile.string()};
    return success();
}

std::unique_ptr<SystemMonitorApp> makeSystemMonitorApp() {
    return std::make_unique<XdgSystemMonitorApp>();
}

} // namespace ravo::common
