#include "ui/tray/status_notifier_adaptor.h"

#include "ui/tray/status_notifier_item.h"

#include <QDBusMetaType>
#include <QImage>
#include <QtEndian>

namespace ravo::ui {

namespace {

// The sizes panels ask for most, so hosts need not scale.
constexpr int kSizes[] = {16, 22, 24, 32, 48, 64};

NotifierPixmaps pixmapsOf(const QIcon& icon) {
    NotifierPixmaps pixmaps;
    if (icon.isNull())
        return pixmaps;
    for (int size : kSizes) {
        const QImage image =
            icon.pixmap(size, size).toImage().convertToFormat(QImage::Format_ARGB32);
        NotifierPixmap pixmap{image.width(), image.height(), {}};
        pixmap.argb.resize(static_cast<qsizetype>(image.width()) * image.height() * 4);
        auto* out = reinterpret_cast<quint32*>(pixmap.argb.data());
        for (int y = 0; y < image.height(); ++y) {
            const auto* line = reinterpret_cast<const quint32*>(image.constScanLine(y));
            for (int x = 0; x < image.width(); ++x)
                *out++ = qToBigEndian(line[x]);
        }
        pixmaps.append(pixmap);
    }
    return pixmaps;
}

} // namespace

QDBusArgument& operator<<(QDBusArgument& out, const NotifierPixmap& pixmap) {
    out.beginStructure();
    out << pixmap.width << pixmap.height << pixmap.argb;
    out.endStructure();
    return out;
}

const QDBusArgument& operator>>(const QDBusArgument& in, NotifierPixmap& pixmap) {
    in.beginStructure();
    in >> pixmap.width >> pixmap.height >> pixmap.argb;
    in.endStructure();
    return in;
}

QDBusArgument& operator<<(QDBusArgument& out, const NotifierToolTip& tip) {
    out.beginStructure();
    out << tip.iconName << tip.pixmaps << tip.title << tip.text;
    out.endStructure();
    return out;
}

const QDBusArgument& operator>>(const QDBusArgument& in, NotifierToolTip& tip) {
    in.beginStructure();
    in >> tip.iconName >> tip.pixmaps >> tip.title >> tip.text;
    in.endStructure();
    return in;
}

StatusNotifierAdaptor::StatusNotifierAdaptor(StatusNotifierItem* item)
    : QDBusAbstractAdaptor(item), item_(item) {
    setAutoRelaySignals(false);
}

void StatusNotifierAdaptor::registerTypes() {
    static const bool registered = [] {
        qDBusRegisterMetaType<NotifierPixmap>();
        qDBusRegisterMetaType<NotifierPixmaps>();
        qDBusRegisterMetaType<NotifierToolTip>();
        return true;
    }();
    (void)registered;
}

QString StatusNotifierAdaptor::id() const {
    item_->noteReadByHost();
    return item_->id();
}

QString StatusNotifierAdaptor::title() const {
    return item_->title();
}

QString StatusNotifierAdaptor::status() const {
    return QStringLiteral("Active");
}

NotifierPixmaps StatusNotifierAdaptor::iconPixmap() const {
    // Hosts read the picture again after every NewIcon, and some on every redraw of their own.
    const qint64 key = item_->icon().cacheKey();
    if (key != pixmapsKey_) {
        pixmaps_ = pixmapsOf(item_->icon());
        pixmapsKey_ = key;
    }
    return pixmaps_;
}

NotifierToolTip StatusNotifierAdaptor::toolTip() const {
    // The first line is the title, the rest the body, as hosts lay tooltips out.
    const QString& text = item_->toolTip();
    const auto newline = text.indexOf('\n');
    return {{},
            {},
            newline < 0 ? text : text.left(newline),
            newline < 0 ? QString() : text.mid(newline + 1)};
}

QDBusObjectPath StatusNotifierAdaptor::menu() const {
    return QDBusObjectPath(item_->menuPath());
}

void StatusNotifierAdaptor::Activate(int x, int y) {
    emit item_->activated({x, y});
}

void StatusNotifierAdaptor::SecondaryActivate(int x, int y) {
    emit item_->activated({x, y});
}

void StatusNotifierAdaptor::ContextMenu(int x, int y) {
    item_->showMenu({x, y});
}

void StatusNotifierAdaptor::Scroll(int, const QString&) {}

} // namespace ravo::ui
