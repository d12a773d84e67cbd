#pragma once

#include <QDBusConnection>
#include <QIcon>
#include <QObject>
#include <QPoint>
#include <QString>

#include <memory>

class QMenu;

namespace ravo::ui {

class DBusMenuExporter;
class StatusNotifierAdaptor;

// One tray item as a StatusNotifierItem (KDE, GNOME's AppIndicator extension, waybar), on a
// bus connection of its own, so each item has its own Id and Title and the host lists them
// in the order they registered. Qt's own implementation names every item after the app.
class StatusNotifierItem : public QObject {
    Q_OBJECT
public:
    // `id` is stable ("ravo-cpu"), `title` is what the host shows ("Ravo: Processor").
    StatusNotifierItem(const QString& id, const QString& title, QObject* parent = nullptr);
    ~StatusNotifierItem() override;

    // A host is on the bus to show items: a watcher with at least one host registered.
    static bool hostIsPresent();
    // The command line of the process that keeps the list of items, which says whose panel
    // it is; empty when that cannot be learned.
    static QString watcherCommandLine();

    void setIcon(const QIcon& icon);
    void setToolTip(const QString& text);
    void setContextMenu(QMenu* menu);
    void setVisible(bool visible);

    const QString& id() const { return id_; }
    const QString& title() const { return title_; }
    const QIcon& icon() const { return icon_; }
    const QString& toolTip() const { return toolTip_; }
    bool isVisible() const { return visible_; }
    QString serviceName() const { return serviceName_; }
    // Where the item's menu is exported, or the protocol's word for none.
    QString menuPath() const;

signals:
    // A primary click, where the host says it was (often the item's centre).
    void activated(const QPoint& at);
    // The host read the item after it registered: it has its place in the panel now.
    void readByHost();

private:
    friend class StatusNotifierAdaptor;
    void registerWithWatcher();
    void noteReadByHost();
    void showMenu(const QPoint& at);

    QString id_;
    QString title_;
    QIcon icon_;
    QString toolTip_;
    QMenu* menu_ = nullptr;
    bool visible_ = false;
    bool awaitingHost_ = false;
    QString connectionName_;
    QString serviceName_;
    std::unique_ptr<QDBusConnection> bus_;
    StatusNotifierAdaptor* adaptor_;
    std::unique_ptr<DBusMenuExporter> menuExporter_;
};

} // namespace ravo::ui
