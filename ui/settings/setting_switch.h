#pragma once

#include <QString>

class QCheckBox;
class QColor;
class QLabel;
class QVBoxLayout;

namespace ravo::ui {

// A bold switch with its explanation under it, indented to the text; no explanation when
// `help` is empty.
QCheckBox* addSettingSwitch(QVBoxLayout* layout, const QString& title, const QString& help = {});
// A hidden note under a switch, for its errors and warnings.
QLabel* addSettingNote(QVBoxLayout* layout, const QColor& color);

} // namespace ravo::ui
