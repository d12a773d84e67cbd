#include "ui/settings/setting_switch.h"

#include "ui/theme.h"
#include "ui/widgets/layout_helpers.h"

#include <QCheckBox>
#include <QVBoxLayout>

namespace ravo::ui {

QCheckBox* addSettingSwitch(QVBoxLayout* layout, const QString& title, const QString& help) {
    auto* box = new QCheckBox(title);
    QFont font = box->font();
    font.setBold(true);
    box->setFont(font);
    layout->addWidget(box);
    if (!help.isEmpty()) {
        QLabel* text = wrappedLabel(help, Theme::mutedText(box->palette()));
        text->setContentsMargins(24, 0, 0, 8);
        layout->addWidget(text);
    }
    return box;
}

QLabel* addSettingNote(QVBoxLayout* layout, const QColor& color) {
    QLabel* note = wrappedLabel({}, color);
    note->setContentsMargins(24, 0, 0, 8);
    note->hide();
    layout->addWidget(note);
    return note;
}

} // namespace ravo::ui
