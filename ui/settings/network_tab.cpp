#include "ui/settings/network_tab.h"

#include "connectivity/connection_watchdog.h"
#include "connectivity/speed_test.h"
#include "ui/settings/setting_switch.h"
#include "ui/settings/settings_texts.h"
#include "ui/theme.h"
#include "ui/widgets/layout_helpers.h"

#include <QCheckBox>
#include <QFormLayout>
#include <QLineEdit>
#include <QSignalBlocker>
#include <QVBoxLayout>

namespace ravo::ui {

using connectivity::ConnectionWatchdog;

namespace {

void showError(QLabel* label, const QString& text) {
    label->setText(text);
    label->setVisible(!text.isEmpty());
}

} // namespace

NetworkTab::NetworkTab(ConnectionWatchdog* watchdog, connectivity::SpeedTest* speedTest,
                       QWidget* parent)
    : QWidget(parent), watchdog_(watchdog), speedTest_(speedTest) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(20, 18, 20, 18);
    layout->setSpacing(6);
    const QColor muted = Theme::mutedText(palette());

    alerts_ = addSettingSwitch(layout, SettingsTexts::kConnectionAlerts,
                               SettingsTexts::kConnectionAlertsHelp);
    latency_ = addSettingSwitch(layout, ConnectionWatchdog::kLatencyText);
    latencyNote_ = wrappedLabel({}, muted);
    latencyNote_->setContentsMargins(24, 0, 0, 4);
    layout->addWidget(latencyNote_);

    auto* probeForm = new QFormLayout;
    probeForm->setContentsMargins(24, 0, 0, 0);
    probeAddress_ = new QLineEdit;
    probeAddress_->setPlaceholderText(connectivity::ProbeAddress::kDefault);
    probeForm->addRow("Probe address", probeAddress_);
    layout->addLayout(probeForm);
    probeError_ = addSettingNote(layout, Theme::errorText(palette()));
    layout->addWidget(separator());

    layout->addWidget(heading("Speed test", 14));
    layout->addWidget(wrappedLabel(SettingsTexts::kSpeedTestServerHelp, muted));
    auto* serverForm = new QFormLayout;
    speedTestServer_ = new QLineEdit;
    speedTestServer_->setPlaceholderText("Public server");
    serverForm->addRow("Server", speedTestServer_);
    layout->addLayout(serverForm);
    speedTestError_ = addSettingNote(layout, Theme::errorText(palette()));
    layout->addStretch();

    connect(alerts_, &QCheckBox::toggled, watchdog_, &ConnectionWatchdog::setAlertsEnabled);
    connect(latency_, &QCheckBox::toggled, watchdog_,
            &ConnectionWatchdog::setLatencyMonitoringEnabled);
    connect(probeAddress_, &QLineEdit::editingFinished, this, &NetworkTab::applyProbeAddress);
    connect(speedTestServer_, &QLineEdit::editingFinished, this, &NetworkTab::applySpeedTestServer);
    connect(watchdog_, &ConnectionWatchdog::settingsChanged, this, &NetworkTab::sync);
    sync();
    speedTestServer_->setText(speedTest_->server());
}

void NetworkTab::sync() {
    const QSignalBlocker a(alerts_), b(latency_);
    alerts_->setChecked(watchdog_->alertsEnabled());
    latency_->setChecked(watchdog_->latencyMonitoringEnabled());
    const QString address = QString::fromStdString(watchdog_->probeAddress().text());
    latencyNote_->setText(QString(ConnectionWatchdog::kLatencyNote) + " " + address + ".");
    if (!probeAddress_->hasFocus())
        probeAddress_->setText(address == connectivity::ProbeAddress::kDefault ? QString()
                                                                               : address);
    probeAddress_->setEnabled(watchdog_->latencyMonitoringEnabled());
}

void NetworkTab::applyProbeAddress() {
    const QString text = probeAddress_->text().trimmed();
    const Status stored = watchdog_->setProbeAddress(
        text.isEmpty() ? connectivity::ProbeAddress::kDefault : text.toStdString());
    showError(probeError_, stored ? QString() : QString::fromStdString(stored.error()));
}

void NetworkTab::applySpeedTestServer() {
    const Status stored = speedTest_->setServer(speedTestServer_->text());
    showError(speedTestError_, stored ? QString() : QString::fromStdString(stored.error()));
    if (stored)
        speedTestServer_->setText(speedTest_->server());
}

} // namespace ravo::ui
