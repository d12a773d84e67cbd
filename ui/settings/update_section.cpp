#include "ui/settings/update_section.h"

#include "base/paths.h"
#include "ui/theme.h"
#include "ui/widgets/layout_helpers.h"
#include "updates/update_checker.h"

#include <QDir>
#include <QHBoxLayout>
#include <QPointer>
#include <QPushButton>
#include <QStandardPaths>
#include <QVBoxLayout>

namespace ravo::ui {

using updates::UpdateDecision;

UpdateSection::UpdateSection(updates::UpdateChecker* checker, QWidget* parent)
    : QWidget(parent), checker_(checker) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 8, 0, 0);
    layout->setSpacing(4);
    headline_ = heading({}, 14);
    layout->addWidget(headline_);
    notes_ = wrappedLabel({}, Theme::mutedText(palette()));
    layout->addWidget(notes_);
    auto* row = new QHBoxLayout;
    download_ = new QPushButton("Download");
    row->addWidget(download_);
    row->addStretch();
    layout->addLayout(row);
    status_ = wrappedLabel({}, Theme::mutedText(palette()));
    layout->addWidget(status_);
    connect(download_, &QPushButton::clicked, this, [this] { download(); });
    connect(checker_, &updates::UpdateChecker::decisionChanged, this, &UpdateSection::sync);
    connect(checker_, &updates::UpdateChecker::errorChanged, this, &UpdateSection::sync);
    sync();
}

void UpdateSection::sync() {
    const UpdateDecision& decision = checker_->decision();
    const bool offered = decision.kind != UpdateDecision::Kind::upToDate && decision.manifest;
    setVisible(offered || checker_->lastError());
    download_->setVisible(offered);
    notes_->setVisible(offered && decision.manifest->notes);
    if (!offered) {
        headline_->setText("Updates");
        status_->setText(QString::fromStdString(checker_->lastError().value_or("")));
        return;
    }
    const QString version = QString::fromStdString(decision.manifest->version);
    QPalette headlinePalette = headline_->palette();
    if (decision.kind == UpdateDecision::Kind::required) {
        headline_->setText("Update required: this version of Ravo is no longer supported. "
                           "Monitoring is paused until you install Ravo " +
                           version + ".");
        headline_->setWordWrap(true);
        headlinePalette.setColor(QPalette::WindowText, Theme::errorText(palette()));
    } else {
        headline_->setText("Ravo " + version + " is available");
        headlinePalette.setColor(QPalette::WindowText, palette().color(QPalette::WindowText));
    }
    headline_->setPalette(headlinePalette);
    notes_->setText(QString::fromStdString(decision.manifest->notes.value_or("")));
}

QCoro::Task<> UpdateSection::download() {
    QString folder = QStandardPaths::writableLocation(QStandardPaths::DownloadLocation);
    if (folder.isEmpty() || !QDir(folder).exists())
        folder = QDir::homePath();
    download_->setEnabled(false);
    status_->setText("Downloading…");
    QPointer<UpdateSection> self(this);
    const auto saved = co_await checker_->download(folder.toStdString());
    if (!self)
        co_return;
    download_->setEnabled(true);
    status_->setText(saved ? "Saved to " + QString::fromStdString(saved->string()) +
                                 ". Install it the way you installed Ravo."
                           : QString::fromStdString(saved.error()));
}

} // namespace ravo::ui
