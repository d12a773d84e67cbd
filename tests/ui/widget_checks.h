#pragma once

#include <QDir>
#include <QLabel>
#include <QWidget>

#include <string>
#include <vector>

namespace ravo::ui::testing {

// Every single-line label that is narrower than its text, by its text.
inline std::vector<std::string> clippedLabels(const QWidget& root) {
    std::vector<std::string> clipped;
    for (const QLabel* label : root.findChildren<QLabel*>()) {
        if (!label->isVisible() || label->wordWrap() || label->text().isEmpty())
            continue;
        if (label->width() + 1 < label->sizeHint().width())
            clipped.push_back(label->text().toStdString());
    }
    return clipped;
}

// The texts of all visible labels, in order.
inline std::string visibleText(const QWidget& root) {
    std::string text;
    for (const QLabel* label : root.findChildren<QLabel*>())
        if (label->isVisible())
            text += label->text().toStdString() + "\n";
    return text;
}

// Saves a picture of `widget` when RAVO_SCREENSHOTS names a folder, for people to look at.
inline void saveScreenshot(QWidget& widget, const QString& name) {
    const QString folder = qEnvironmentVariable("RAVO_SCREENSHOTS");
    if (folder.isEmpty())
        return;
    QDir().mkpath(folder);
    const QString scheme = qEnvironmentVariable("RAVO_COLOR_SCHEME", "light");
    const QString scale = qEnvironmentVariable("QT_SCALE_FACTOR", "1");
    widget.grab().save(folder + "/" + name + "-" + scheme + "-" + scale + "x.png");
}

} // namespace ravo::ui::testing
