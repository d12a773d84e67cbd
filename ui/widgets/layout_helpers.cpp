#include "ui/widgets/layout_helpers.h"

#include <QFormLayout>

#include "ui/theme.h"

#include <QFrame>
#include <QLayout>
#include <QLayoutItem>

namespace ravo::ui {

QLabel* heading(const QString& text, int pixelSize) {
    auto* label = new QLabel(text);
    QFont font = label->font();
    font.setBold(true);
    font.setPixelSize(pixelSize);
    label->setFont(font);
    return label;
}

QLabel* coloredLabel(const QString& text, const QColor& color, bool bold) {
    auto* label = new QLabel(text);
    QPalette palette = label->palette();
    palette.setColor(QPalette::WindowText, color);
    label->setPalette(palette);
    if (bold) {
        QFont font = label->font();
        font.setBold(true);
        label->setFont(font);
    }
    return label;
}

QLabel* mutedLabel(const QString& text) {
    auto* label = new QLabel(text);
    return coloredLabel(text, Theme::mutedText(label->palette()));
}

QLabel* wrappedLabel(const QString& text, const QColor& color) {
    QLabel* label = coloredLabel(text, color);
    label->setWordWrap(true);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    return label;
}

QWidget* separator() {
    auto* line = new QFrame;
    line->setFrameShape(QFrame::HLine);
    line->setFrameShadow(QFrame::Plain);
    QPalette palette = line->palette();
    palette.setColor(QPalette::WindowText, Theme::trackColor(palette));
    line->setPalette(palette);
    return line;
}

void clearLayout(QLayout* layout) {
    while (layout->count() > 0) {
        QLayoutItem* item = layout->takeAt(0);
        if (QWidget* widget = item->widget())
            delete widget;
        else if (QLayout* child = item->layout())
            clearLayout(child);
        delete item;
    }
}

QFormLayout* factForm() {
    auto* form = new QFormLayout;
    form->setLabelAlignment(Qt::AlignLeft);
    form->setFieldGrowthPolicy(QFormLayout::ExpandingFieldsGrow);
    form->setHorizontalSpacing(24);
    form->setVerticalSpacing(4);
    return form;
}

void addFactRow(QFormLayout* form, const QString& label, const QString& value) {
    auto* valueLabel = new QLabel(value);
    valueLabel->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    valueLabel->setTextInteractionFlags(Qt::TextSelectableByMouse);
    form->addRow(mutedLabel(label), valueLabel);
}

} // namespace ravo::ui
