#include "common/platform/linux/xdg_autostart_login_item.h"

#include "base/atomic_file.h"

namespace ravo::common {

namespace fs = std::filesystem;

XdgAutostartLoginItem::XdgAutostartLoginItem(fs::path autostartFolder, fs::path executable)
    : folder_(std::move(autostartFolder)), executable_(std::move(executable)) {}

bool XdgAutostartLoginItem::isEnabled() const {
    const auto entry = readFile(entryPath(), 64 * 1024);
    // A user who switched it off in the desktop's own settings gets Hidden=true.
    return entry && entry->find("Hidden=true") == std::string::npos &&
           entry->find("X-GNOME-Autostart-enabled=false") == std::string::npos;
}

Status XdgAutostartLoginItem::setEnabled(bool enabled) {
    std::error_code error;
    if (!enabled) {
        fs::remove(entryPath(), error);
        if (error)
            return Failure{"Cannot remove " + entryPath().string() + ": " + error.message()};
        return success();
    }
    fs::create_directories(folder_, error);
    if (error)
        return Failure{"Cannot create " + folder_.string() + ": " + error.message()};
    const std::string entry = "[Desktop Entry]\n"
                              "Type=Application\n"
                              "Name=Ravo\n"
                              "Comment=Machine health, AI limits and agent sessions in your tray\n"
                              "Exec=\"" +
                              executable_.string() +
                              "\"\n"
                              "Icon=ravo\n"
                              "Terminal=false\n"
                              "X-GNOME-Autostart-enabled=true\n";
    return writeFileAtomically(entryPath(), entry);
}

} // namespace ravo::common
