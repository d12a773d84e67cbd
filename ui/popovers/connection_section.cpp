#include "ui/popovers/connection_section.h"

#include "base/time.h"
#include "connectivity/connection_watchdog.h"
#include "connectivity/core/connection_text.h"
#include "connectivity/core/speed_test_text.h"
#include "connectivity/network_info_reader.h"
#include "connectivity/speed_test.h"
#include "ui/theme.h"
#include "ui/widgets/layout_helpers.h"

#include <QFormLayout>
#include <QHBoxLayout>
#include <QPushButton>
#include <QVBoxLayout>

#include <cmath>

namespace ravo::ui {

using namespace connectivity;

namespace {

std::optional<metrics::MetricLevel> levelOf(const std::optional<ConnectionState>& state) {
    if (!state || std::holds_alternative<Online>(*state))
        return std::nullopt;
    return std::holds_alternative<Degraded>(*state) ? metrics::MetricLevel::warning
                                                    : metrics::MetricLevel::critical;
}

} // namespace

ConnectionSection::ConnectionSection(ConnectionWatchdog* watchdog, SpeedTest* speedTest,
                                     QWidget* parent)
    : QWidget(parent), watchdog_(watchdog), speedTest_(speedTest) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(6);
    layout->addWidget(separator());

    auto* stateRow = new QHBoxLayout;
    state_ = heading({}, 14);
    latency_ = mutedLabel({});
    stateRow->addWidget(state_);
    stateRow->addStretch();
    stateRow->addWidget(latency_);
    layout->addLayout(stateRow);

    interface_ = factForm();
    layout->addLayout(interface_);

    auto* speedRow = new QHBoxLayout;
    run_ = new QPushButton("Run speed test");
    progress_ = mutedLabel({});
    speedRow->addWidget(run_);
    speedRow->addWidget(progress_, 1);
    layout->addLayout(speedRow);
    figures_ = factForm();
    layout->addLayout(figures_);

    if (watchdog_) {
        connect(watchdog_, &ConnectionWatchdog::stateChanged, this, &ConnectionSection::syncState);
        connect(watchdog_, &ConnectionWatchdog::measured, this, &ConnectionSection::syncState);
    }
    if (speedTest_) {
        connect(speedTest_, &SpeedTest::phaseChanged, this, &ConnectionSection::syncSpeedTest);
        connect(run_, &QPushButton::clicked, this, [this] { speedTest_->run(); });
    } else {
        run_->hide();
    }
    syncState();
    syncSpeedTest();
    readInterface();
}

void ConnectionSection::showEvent(QShowEvent* event) {
    readInterface();
    // The last test's age, or one a terminal ran meanwhile.
    syncSpeedTest();
    QWidget::showEvent(event);
}

void ConnectionSection::syncState() {
    const auto state = watchdog_ ? watchdog_->state() : std::nullopt;
    state_->setText(QString::fromStdString(headline(state)));
    QPalette statePalette = state_->palette();
    const auto level = levelOf(state);
    statePalette.setColor(QPalette::WindowText, level ? Theme::levelColor(level, palette())
                                                      : palette().color(QPalette::WindowText));
    state_->setPalette(statePalette);
    const auto latency = watchdog_ ? watchdog_->lastLatency() : std::nullopt;
    if (latency && std::isfinite(latency->meanMs) && std::isfinite(latency->jitterMs))
        latency_->setText(QString("Latency %1 ms · jitter %2 ms")
                              .arg(std::llround(latency->meanMs))
                              .arg(std::llround(latency->jitterMs)));
    else
        latency_->setText(watchdog_ && !watchdog_->latencyMonitoringEnabled()
                              ? QStringLiteral("Latency not monitored")
                              : QString());
}

void ConnectionSection::readInterface() {
    clearLayout(interface_);
    const NetworkInterfaceInfo info = NetworkInfoReader::read();
    if (!info.bsdName) {
        addFactRow(interface_, "Interface", "No primary interface");
        return;
    }
    const QString name = QString::fromStdString(*info.bsdName);
    addFactRow(interface_, "Interface",
               info.displayName ? QString::fromStdString(*info.displayName) + " (" + name + ")"
                                : name);
    if (info.localIPv4)
        addFactRow(interface_, "IPv4 address", QString::fromStdString(*info.localIPv4));
    if (info.localIPv6)
        addFactRow(interface_, "IPv6 address", QString::fromStdString(*info.localIPv6));
    if (info.macAddress)
        addFactRow(interface_, "Hardware address", QString::fromStdString(*info.macAddress));
    if (info.wifiRSSI)
        addFactRow(interface_, "Signal", QString::number(*info.wifiRSSI) + " dBm");
}

void ConnectionSection::syncSpeedTest() {
    clearLayout(figures_);
    if (!speedTest_)
        return;
    const bool measuring = speedTest_->phase() == SpeedTest::Phase::measuring;
    run_->setEnabled(!measuring);
    switch (speedTest_->phase()) {
    case SpeedTest::Phase::measuring:
        progress_->setText(SpeedTest::kMeasuringText);
        break;
    case SpeedTest::Phase::failed:
        progress_->setText(QString(SpeedTest::kFailedText) + " " + speedTest_->failureReason());
        break;
    case SpeedTest::Phase::idle:
    case SpeedTest::Phase::finished: {
        // The newest test whoever ran it (a terminal too, or before Ravo started), with its age.
        progress_->setText({});
        std::optional<SpeedTestResult> last = speedTest_->lastResult();
        if (const auto history = speedTest_->history(); !history.empty()) {
            progress_->setText(QString::fromStdString(
                "Last test " + ageText(history.front().finishedAt, Clock::now()) + ":"));
            last = history.front().result;
        }
        if (last)
            for (const auto& [label, value] : speedTestRows(*last, locale_))
                addFactRow(figures_, QString::fromStdString(label), QString::fromStdString(value));
        break;
    }
    }
}

} // namespace ravo::ui
