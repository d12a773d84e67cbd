#include "ui/color_scheme.h"

#include <QApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QPalette>
#include <QStyle>
#include <QStyleFactory>

namespace ravo::ui {

int desktopColorScheme() {
    auto bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return 0;
    QDBusMessage call = QDBusMessage::createMethodCall("org.freedesktop.portal.Desktop",
                                                       "/org/freedesktop/portal/desktop",
                                                       "org.freedesktop.portal.Settings", "Read");
    call << QStringLiteral("org.freedesktop.appearance") << QStringLiteral("color-scheme");
    const QDBusMessage reply = bus.call(call, QDBus::Block, 300);
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty())
        return 0;
    QVariant value = reply.arguments().first();
    // The portal wraps the value in a variant, and some versions wrap it twice.
    while (value.canConvert<QDBusVariant>())
        value = value.value<QDBusVariant>().variant();
    return value.toInt();
}

namespace {

QPalette darkPalette() {
    QPalette palette;
    const QColor window(0x2b, 0x2b, 0x2f), base(0x1f, 0x1f, 0x23), text(0xec, 0xec, 0xf0);
    palette.setColor(QPalette::Window, window);
    palette.setColor(QPalette::WindowText, text);
    palette.setColor(QPalette::Base, base);
    palette.setColor(QPalette::AlternateBase, window);
    palette.setColor(QPalette::ToolTipBase, base);
    palette.setColor(QPalette::ToolTipText, text);
    palette.setColor(QPalette::Text, text);
    palette.setColor(QPalette::Button, QColor(0x3a, 0x3a, 0x40));
    palette.setColor(QPalette::ButtonText, text);
    palette.setColor(QPalette::Highlight, QColor(0x3d, 0x8b, 0xfd));
    palette.setColor(QPalette::HighlightedText, Qt::white);
    palette.setColor(QPalette::Link, QColor(0x6f, 0xa8, 0xff));
    palette.setColor(QPalette::PlaceholderText, QColor(0x8a, 0x8a, 0x90));
    palette.setColor(QPalette::Disabled, QPalette::WindowText, QColor(0x80, 0x80, 0x86));
    palette.setColor(QPalette::Disabled, QPalette::Text, QColor(0x80, 0x80, 0x86));
    palette.setColor(QPalette::Disabled, QPalette::ButtonText, QColor(0x80, 0x80, 0x86));
    return palette;
}

} // namespace

void applyDesktopColorScheme(QApplication& application) {
    const QString forced = qEnvironmentVariable("RAVO_COLOR_SCHEME").toLower();
    // The portal is asked only when nothing is forced: it is a call that may wait.
    applyColorScheme(application, forced.isEmpty() ? desktopColorScheme() : 0);
}

void applyColorScheme(QApplication& application, int colorScheme) {
    const QString forced = qEnvironmentVariable("RAVO_COLOR_SCHEME").toLower();
    const bool dark =
        forced == QLatin1String("dark") || (forced != QLatin1String("light") && colorScheme == 1);
    static bool darkApplied = false;
    if (dark == darkApplied)
        return;
    darkApplied = dark;
    if (dark) {
        application.setStyle(QStyleFactory::create("Fusion"));
        application.setPalette(darkPalette());
    } else {
        application.setPalette(QApplication::style()->standardPalette());
    }
}

} // namespace ravo::ui
