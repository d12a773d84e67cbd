#pragma once

#include "common/login_item.h"

#include <filesystem>

namespace ravo::common {

// The freedesktop way: "~/.config/autostart/ravo.desktop" starting this copy of ravo.
class XdgAutostartLoginItem final : public LoginItem {
public:
    XdgAutostartLoginItem(std::filesystem::path autostartFolder, std::filesystem::path executable);

    bool isEnabled() const override;
    Status setEnabled(bool enabled) override;

    std::filesystem::path entryPath() const { return folder_ / "ravo.desktop"; }

private:
    std::filesystem::path folder_;
    std::filesystem::path executable_;
};

} // namespace ravo::common
