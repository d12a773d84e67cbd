#include "ui/settings/system_tab.h"

#include "metrics/core/sampling_settings.h"
#include "metrics/system_monitor.h"
#include "ui/settings/gauge_limits_box.h"
#include "ui/theme.h"
#include "ui/widgets/layout_helpers.h"

#include <QComboBox>
#include <QFormLayout>
#include <QSignalBlocker>
#include <QSpinBox>
#include <QVBoxLayout>

namespace ravo::ui {

using metrics::SystemMonitor;

namespace {

const QString kAutomaticInterface = QStringLiteral("Automatic (every interface)");
const QString kAutomaticVolume = QStringLiteral("Automatic (start-up volume)");

// The automatic entry first, then what the machine offers, then the stored choice even when
// the machine lacks it now, so the list shows what is chosen.
void fill(QComboBox* box, const QString& automatic, const std::vector<std::string>& offered,
          const std::string& chosen) {
    const QSignalBlocker blocker(box);
    box->clear();
    box->addItem(automatic, QString());
    for (const auto& name : offered)
        box->addItem(QString::fromStdString(name), QString::fromStdString(name));
    const QString wanted = QString::fromStdString(chosen);
    if (!wanted.isEmpty() && box->findData(wanted) < 0)
        box->addItem(wanted + " (not there now)", wanted);
    box->setCurrentIndex(std::max(0, box->findData(wanted)));
}

} // namespace
using metrics::SamplingSettings::kMaxSeconds;
using metrics::SamplingSettings::kMinSeconds;

SystemTab::SystemTab(SystemMonitor* monitor, metrics::GaugeAlerts* alerts, QWidget* parent)
    : QWidget(parent), monitor_(monitor), form_(new QFormLayout), refresh_(new QSpinBox),
      interface_(new QComboBox), volume_(new QComboBox), unit_(new QComboBox) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(20, 18, 20, 18);
    layout->setSpacing(6);
    refresh_->setRange(kMinSeconds, kMaxSeconds);
    refresh_->setSuffix(" s");
    form_->addRow("Refresh every", refresh_);
    form_->addRow("Network interface", interface_);
    form_->addRow("Disk", volume_);
    const bool regionFahrenheit =
        FormatLocale::fromEnvironment().temperatureUnit == TemperatureUnit::fahrenheit;
    unit_->addItem(regionFahrenheit ? "As in my region (°F)" : "As in my region (°C)", QString());
    unit_->addItem("Celsius (°C)", QStringLiteral("celsius"));
    unit_->addItem("Fahrenheit (°F)", QStringLiteral("fahrenheit"));
    form_->addRow("Temperatures", unit_);
    layout->addLayout(form_);
    choiceNote_ = wrappedLabel({}, Theme::levelColor(metrics::MetricLevel::warning, palette()));
    layout->addWidget(choiceNote_);
    layout->addWidget(wrappedLabel("How often the tray, the popovers and the overview read the "
                                   "machine. Longer saves a little power.",
                                   Theme::mutedText(palette())));
    if (alerts)
        layout->addWidget(new GaugeLimitsBox(monitor_, alerts));
    layout->addStretch();
    connect(refresh_, &QSpinBox::valueChanged, monitor_, &SystemMonitor::setRefreshSeconds);
    connect(monitor_, &SystemMonitor::refreshSecondsChanged, this, &SystemTab::sync);
    connect(interface_, &QComboBox::currentIndexChanged, this, [this] { choose(interface_); });
    connect(volume_, &QComboBox::currentIndexChanged, this, [this] { choose(volume_); });
    connect(monitor_, &SystemMonitor::sourceChoiceChanged, this, &SystemTab::syncChoices);
    connect(unit_, &QComboBox::currentIndexChanged, this, [this] {
        monitor_->setTemperatureUnit(unit_->currentData().toString().toStdString());
    });
    connect(monitor_, &SystemMonitor::formatLocaleChanged, this, &SystemTab::sync);
    sync();
    syncChoices();
}

void SystemTab::choose(QComboBox* box) {
    const std::string chosen = box->currentData().toString().toStdString();
    if (box == interface_)
        monitor_->setNetworkInterface(chosen);
    else
        monitor_->setDiskVolume(chosen);
}

void SystemTab::syncChoices() {
    const auto options = monitor_->sourceOptions();
    const auto& choice = monitor_->sourceChoice();
    fill(interface_, kAutomaticInterface, options.interfaces, choice.interface);
    fill(volume_, kAutomaticVolume, options.volumes, choice.volume);
    const auto note = metrics::SamplingSettings::missingChoiceNote(choice, options);
    choiceNote_->setText(note ? QString::fromStdString(*note) : QString());
    choiceNote_->setVisible(note.has_value());
}

void SystemTab::showEvent(QShowEvent* event) {
    // Interfaces and volumes come and go; the page lists them as they are when it opens.
    syncChoices();
    QWidget::showEvent(event);
}

void SystemTab::sync() {
    const QSignalBlocker blocker(refresh_);
    refresh_->setValue(monitor_->refreshSeconds());
    const QSignalBlocker unitBlocker(unit_);
    unit_->setCurrentIndex(
        std::max(0, unit_->findData(QString::fromStdString(monitor_->temperatureUnit()))));
}

} // namespace ravo::ui
