#pragma once

#include "ui/coordinators.h"
#include "ui/tray/tray_icon_content.h"

#include <QObject>

#include <optional>

class QMenu;

namespace ravo::ui {

class OverviewView;
class PopoverWindow;
class TrayItem;

// Ravo as one item, for a crowded panel: the fullest gauge or limit at a glance, and the
// machine, the limits and the sessions in its popover.
class CombinedTrayItem : public QObject {
    Q_OBJECT
public:
    CombinedTrayItem(const Coordinators& coordinators, QMenu* menu, QObject* parent = nullptr);
    ~CombinedTrayItem() override;

    void showPopover();
    // Not yet shown: the panel shows its row in an order the host keeps.
    TrayItem* trayItem() const { return icon_; }
    // Draws the icon again even if the figures are the same: for a panel whose colour changed.
    void repaint();

signals:
    void settingsRequested();
    void quitRequested();

private:
    void redraw();

    Coordinators coordinators_;
    TrayItem* icon_;
    OverviewView* view_;
    PopoverWindow* popover_;
    std::optional<TrayIconContent> drawn_;
};

} // namespace ravo::ui
