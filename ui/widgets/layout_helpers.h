#pragma once

#include <QColor>
#include <QLabel>
#include <QString>

class QFormLayout;
class QLayout;

// Small builders shared by the views, so every label of a kind looks the same.
namespace ravo::ui {

QLabel* heading(const QString& text, int pixelSize = 15);
QLabel* mutedLabel(const QString& text);
QLabel* coloredLabel(const QString& text, const QColor& color, bool bold = false);
QLabel* wrappedLabel(const QString& text, const QColor& color);
QWidget* separator();
void clearLayout(QLayout* layout);
// A two-column form of muted labels and selectable, right-aligned values.
QFormLayout* factForm();
void addFactRow(QFormLayout* form, const QString& label, const QString& value);

} // namespace ravo::ui
