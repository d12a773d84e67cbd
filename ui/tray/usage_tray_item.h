#pragma once

#include "ui/coordinators.h"
#include <QObject>

class QMenu;

namespace ravo::ui {

class TrayItem;

class PopoverWindow;
class UsageView;

// The AI usage item: the peak use of all limits, a mark when something failed for a while,
// and the usage popover on click.
class UsageTrayItem : public QObject {
    Q_OBJECT
public:
    UsageTrayItem(const Coordinators& coordinators, QObject* parent = nullptr);
    ~UsageTrayItem() override;

    void showPopover();
    // Not yet shown: the panel shows its row in an order the host keeps.
    TrayItem* trayItem() const { return icon_; }
    UsageView* view() const { return view_; }
    // Draws the icon again even if the figures are the same: for a panel whose colour changed.
    void repaint();

signals:
    void settingsRequested();
    void quitRequested();

private:
    void redraw();
    QMenu* buildMenu();

    Coordinators coordinators_;
    TrayItem* icon_;
    UsageView* view_;
    PopoverWindow* popover_;
    QString drawnKey_;
};

} // namespace ravo::ui
