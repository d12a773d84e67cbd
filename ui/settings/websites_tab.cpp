#include "ui/settings/websites_tab.h"

#include "cloud/telegram_settings.h"
#include "cloud/website_monitor.h"
#include "ui/popovers/site_history_view.h"
#include "ui/settings/settings_texts.h"
#include "ui/theme.h"
#include "ui/widgets/layout_helpers.h"
#include "ui/widgets/site_health.h"
#include "wire/site_url.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSpinBox>
#include <QTimer>
#include <QTreeWidget>
#include <QVBoxLayout>

#include <cmath>

namespace ravo::ui {

namespace {

constexpr int kIDRole = Qt::UserRole;

} // namespace

WebsitesTab::WebsitesTab(cloud::WebsiteMonitor* monitor, QWidget* parent)
    : QWidget(parent), monitor_(monitor) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(20, 18, 20, 18);
    layout->setSpacing(8);
    const QColor muted = Theme::mutedText(palette());
    signedOut_ = wrappedLabel(cloud::TelegramSettings::kSignedOutText, Theme::errorText(palette()));
    layout->addWidget(signedOut_);
    layout->addWidget(wrappedLabel(SettingsTexts::kSiteRule, muted));

    list_ = new QTreeWidget;
    list_->setColumnCount(5);
    list_->setHeaderLabels({"Website", "Address", "State", "Response", "Checked"});
    list_->setRootIsDecorated(false);
    list_->setUniformRowHeights(true);
    list_->header()->setStretchLastSection(false);
    list_->header()->setSectionResizeMode(0, QHeaderView::ResizeToContents);
    list_->header()->setSectionResizeMode(1, QHeaderView::Stretch);
    list_->header()->setSectionResizeMode(2, QHeaderView::ResizeToContents);
    list_->header()->setSectionResizeMode(3, QHeaderView::ResizeToContents);
    list_->header()->setSectionResizeMode(4, QHeaderView::ResizeToContents);
    list_->setMinimumHeight(160);
    layout->addWidget(list_, 1);
    // A failure to keep the list current is the list's, not the Add form's.
    error_ = wrappedLabel({}, Theme::errorText(palette()));
    layout->addWidget(error_);
    connect(list_, &QTreeWidget::itemChanged, this, [this](QTreeWidgetItem* item, int column) {
        if (syncing_ || column != 0)
            return;
        monitor_->setEnabled(item->checkState(0) == Qt::Checked,
                             item->data(0, kIDRole).toString().toStdString());
    });
    connect(list_, &QTreeWidget::itemDoubleClicked, this, &WebsitesTab::showHistory);

    auto* actions = new QHBoxLayout;
    remove_ = new QPushButton("Remove");
    history_ = new QPushButton("History…");
    actions->addWidget(remove_);
    actions->addWidget(history_);
    actions->addStretch();
    actions->addWidget(new QLabel("Check every"));
    interval_ = new QSpinBox;
    interval_->setRange(1, 1440);
    interval_->setSuffix(" min");
    actions->addWidget(interval_);
    layout->addLayout(actions);
    connect(remove_, &QPushButton::clicked, this, [this] {
        if (const std::string id = selectedID(); !id.empty())
            monitor_->remove(id);
    });
    connect(history_, &QPushButton::clicked, this, &WebsitesTab::showHistory);
    connect(interval_, &QSpinBox::editingFinished, this, [this] {
        if (interval_->value() != monitor_->intervalMinutes())
            monitor_->setIntervalMinutes(interval_->value());
    });
    connect(list_, &QTreeWidget::itemSelectionChanged, this, [this] {
        remove_->setEnabled(!selectedID().empty());
        history_->setEnabled(!selectedID().empty() && monitor_->isSignedIn());
    });

    layout->addWidget(separator());
    layout->addWidget(heading("Add a website", 14));
    auto* fields = new QHBoxLayout;
    address_ = new QLineEdit;
    address_->setPlaceholderText("example.com or https://example.com/health/");
    name_ = new QLineEdit;
    name_->setPlaceholderText("Name (optional)");
    keyword_ = new QLineEdit;
    keyword_->setPlaceholderText("Text on the page (optional)");
    add_ = new QPushButton("Add");
    // The address gets a row of its own: it is the one field that is often long.
    layout->addWidget(address_);
    fields->addWidget(name_, 1);
    fields->addWidget(keyword_, 1);
    fields->addWidget(add_);
    layout->addLayout(fields);
    inputError_ = wrappedLabel({}, Theme::errorText(palette()));
    inputError_->hide();
    layout->addWidget(inputError_);
    for (QLineEdit* field : {address_, name_, keyword_})
        connect(field, &QLineEdit::returnPressed, this, &WebsitesTab::addFromFields);
    connect(add_, &QPushButton::clicked, this, &WebsitesTab::addFromFields);
    connect(address_, &QLineEdit::textEdited, inputError_, &QLabel::hide);

    connect(monitor_, &cloud::WebsiteMonitor::changed, this, &WebsitesTab::sync);
    // The ages grow between the polls too.
    auto* ages = new QTimer(this);
    ages->setInterval(std::chrono::seconds(30));
    ages->setTimerType(Qt::CoarseTimer);
    connect(ages, &QTimer::timeout, this, [this] {
        if (isVisible())
            sync();
    });
    ages->start();
    sync();
}

bool WebsitesTab::addFromFields() {
    const auto problem = monitor_->add(name_->text().toStdString(), address_->text().toStdString(),
                                       keyword_->text().toStdString());
    inputError_->setText(problem ? QString::fromStdString(problem->text()) : QString());
    inputError_->setVisible(problem.has_value());
    if (!problem)
        for (QLineEdit* field : {address_, name_, keyword_})
            field->clear();
    return !problem;
}

std::string WebsitesTab::selectedID() const {
    const auto selected = list_->selectedItems();
    return selected.isEmpty() ? std::string()
                              : selected.first()->data(0, kIDRole).toString().toStdString();
}

void WebsitesTab::showHistory() {
    const std::string id = selectedID();
    const auto& sites = monitor_->sites();
    const auto site = std::find_if(sites.begin(), sites.end(),
                                   [&](const cloud::MonitoredSite& s) { return s.id == id; });
    if (site == sites.end() || !monitor_->isSignedIn())
        return;
    auto* view = new SiteHistoryView(monitor_, *site, this);
    view->setAttribute(Qt::WA_DeleteOnClose);
    view->show();
}

void WebsitesTab::sync() {
    syncing_ = true;
    // Rows are updated in place: a change can arrive while Qt is still inside a row (its
    // check box was clicked), and the selection and scroll position stay where they were.
    const std::string selected = selectedID();
    const auto& sites = monitor_->sites();
    const TimePoint now = Clock::now();
    while (list_->topLevelItemCount() > int(sites.size()))
        delete list_->takeTopLevelItem(list_->topLevelItemCount() - 1);
    while (list_->topLevelItemCount() < int(sites.size()))
        new QTreeWidgetItem(list_);
    for (int row = 0; row < int(sites.size()); ++row) {
        const cloud::MonitoredSite& site = sites[std::size_t(row)];
        const cloud::SiteState state = monitor_->state(site.id);
        QTreeWidgetItem* item = list_->topLevelItem(row);
        item->setData(0, kIDRole, QString::fromStdString(site.id));
        item->setFlags(item->flags() | Qt::ItemIsUserCheckable);
        item->setCheckState(0, site.isEnabled ? Qt::Checked : Qt::Unchecked);
        item->setText(0, QString::fromStdString(wire::siteDisplayName(site.name, site.url)));
        item->setText(1, QString::fromStdString(site.url));
        item->setToolTip(1, QString::fromStdString(site.url));
        const SiteHealthLook look = siteHealthLook(site, state, palette());
        const std::string since = cloud::downSinceText(state, now);
        // "Down since 14:05"
        item->setText(2, since.empty() ? look.word
                                       : look.word + QString::fromStdString(since.substr(4)));
        item->setForeground(2, look.color);
        item->setIcon(2, look.dot);
        item->setText(3, look.detail);
        item->setToolTip(3, look.detail);
        item->setText(4, site.isEnabled ? QString::fromStdString(cloud::checkedAge(state, now))
                                        : QString());
        item->setSelected(site.id == selected);
    }
    const bool signedIn = monitor_->isSignedIn();
    signedOut_->setVisible(!signedIn);
    for (QWidget* control : std::initializer_list<QWidget*>{address_, name_, keyword_, add_})
        control->setEnabled(signedIn);
    remove_->setEnabled(!selectedID().empty());
    history_->setEnabled(!selectedID().empty() && signedIn);
    if (!interval_->hasFocus())
        interval_->setValue(int(monitor_->intervalMinutes()));
    const auto& error = monitor_->lastError();
    error_->setText(error ? QString::fromStdString(*error) : QString());
    error_->setVisible(error.has_value());
    syncing_ = false;
}

} // namespace ravo::ui
