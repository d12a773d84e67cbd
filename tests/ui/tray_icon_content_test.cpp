#include "connectivity/core/connection_text.h"
#include "ui/tray/panel_tone.h"
#include "ui/tray/tray_icon_content.h"
#include "ui/tray/tray_icon_painter.h"

#include <QDir>
#include <QImage>
#include <QPainter>
#include <cmath>
#include <cstdlib>
#include <gtest/gtest.h>

namespace ravo::ui {
namespace {

using namespace metrics;

TEST(TrayIconContents, GaugesShowWholePercentAndTheirLevel) {
    SystemReading reading;
    reading.cpu = CPULoad{0.70, 0.2049, {}};
    const auto cpu = TrayIconContent::forMetric(reading, SystemMetric::cpu);
    EXPECT_TRUE(cpu.isGauge);
    EXPECT_EQ(cpu.first, "90");
    EXPECT_EQ(cpu.level, MetricLevel::critical);
    // Noise below a whole percent draws the same icon.
    reading.cpu->system = 0.2046;
    EXPECT_EQ(TrayIconContent::forMetric(reading, SystemMetric::cpu), cpu);
    EXPECT_EQ(TrayIconContent::forMetric(reading, SystemMetric::gpu).first, "—");
}

TEST(TrayIconContents, RatesAndTemperaturesAreShortText) {
    SystemReading reading;
    reading.network = NetworkUsage{1234, 999.4, std::nullopt, std::nullopt};
    const auto network = TrayIconContent::forMetric(reading, SystemMetric::network);
    EXPECT_FALSE(network.isGauge);
    EXPECT_EQ(network.first, "↓1.2K");
    EXPECT_EQ(network.second, "↑999B");
    reading.temperatures =
        Temperatures{std::nullopt, std::nullopt, 84.6, std::nullopt, std::nullopt};
    const auto hot = TrayIconContent::forMetric(reading, SystemMetric::temperature);
    EXPECT_EQ(hot.first, "85°");
    // Regression: temperatures were coloured as warnings, a level they do not have.
    EXPECT_EQ(hot.level, std::nullopt);
    EXPECT_EQ(TrayIconContent::tooltip(reading, SystemMetric::temperature),
              "Temperature: 85°C\ngraphics 85°C");
}

// Regression: views formatted in English whatever the user's locale.
TEST(TrayIconContents, TheNetworkItemShowsABadConnectionAtAGlance) {
    using namespace connectivity;
    SystemReading reading;
    reading.network = NetworkUsage{1234, 999.4, std::nullopt, std::nullopt};
    const auto healthy = TrayIconContent::forMetric(reading, SystemMetric::network, Online{});
    EXPECT_EQ(healthy, TrayIconContent::forMetric(reading, SystemMetric::network));
    EXPECT_EQ(healthy.level, std::nullopt);

    const auto noLink = TrayIconContent::forMetric(reading, SystemMetric::network, Offline{false});
    EXPECT_EQ(noLink.first, "off");
    EXPECT_EQ(noLink.second, "");
    EXPECT_EQ(noLink.level, MetricLevel::critical);

    const auto noInternet =
        TrayIconContent::forMetric(reading, SystemMetric::network, Offline{true});
    EXPECT_EQ(noInternet.first, "↓1.2K");
    EXPECT_EQ(noInternet.level, MetricLevel::critical);

    const auto poor = TrayIconContent::forMetric(reading, SystemMetric::network, Degraded{300, 5});
    EXPECT_EQ(poor.level, MetricLevel::warning);
    EXPECT_NE(poor, healthy); // so the icon is redrawn when the connection turns
    EXPECT_EQ(TrayIconContent::tooltip(reading, SystemMetric::network, Degraded{300, 5})
                  .substr(TrayIconContent::tooltip(reading, SystemMetric::network).size()),
              "\nPoor connection");
}

TEST(TrayIconContents, TooltipsFormatInTheUsersLocale) {
    SystemReading reading;
    reading.cpu = CPULoad{0.30, 0.12, {}};
    const std::string tooltip = TrayIconContent::tooltip(reading, SystemMetric::cpu, {},
                                                         FormatLocale::named("de_DE.UTF-8"));
    EXPECT_NE(tooltip.find("42\u00a0%"), std::string::npos) << tooltip;
    EXPECT_NE(tooltip.find("30\u00a0%"), std::string::npos) << tooltip;
}

TEST(TrayIconContents, TheCombinedItemShowsTheFullestGaugeOrLimit) {
    SystemReading reading;
    reading.cpu = CPULoad{0.2, 0.1, {}};
    reading.memory = MemoryUsage{100, 80, 0, 0, 0, 0, 0, MemoryPressureLevel::normal};
    const std::vector<SystemMetric> shown{SystemMetric::cpu, SystemMetric::memory,
                                          SystemMetric::network};
    auto content = TrayIconContent::combined(reading, shown, 0.5);
    EXPECT_EQ(content.first, "80");
    EXPECT_EQ(content.level, MetricLevel::warning);
    // The label says which figure it is.
    EXPECT_EQ(content.label, "MEM");
    // A limit fuller than any gauge wins; a hidden metric does not count.
    const auto limit = TrayIconContent::combined(reading, shown, 0.97);
    EXPECT_EQ(limit.first, "97");
    EXPECT_EQ(limit.label, "AI");
    const auto cpu = TrayIconContent::combined(reading, {SystemMetric::cpu}, std::nullopt);
    EXPECT_EQ(cpu.first, "30");
    EXPECT_EQ(cpu.label, "CPU");
    const auto nothing = TrayIconContent::combined({}, shown, std::nullopt);
    EXPECT_EQ(nothing.first, "—");
    EXPECT_EQ(nothing.label, "RAVO");
}

TEST(TrayIconPictures, UsageMarkIsDrawnOnlyWhenAttentionIsNeeded) {
    const QImage calm = TrayIconPainter::usage(0.5, false).pixmap(64, 64).toImage();
    const QImage alarmed = TrayIconPainter::usage(0.5, true).pixmap(64, 64).toImage();
    ASSERT_EQ(calm.width(), 64);
    const QColor corner = alarmed.pixelColor(TrayIconPainter::kSize - 12, 11);
    EXPECT_GT(corner.red(), 200);
    EXPECT_LT(corner.green(), 100);
    EXPECT_NE(calm.pixelColor(TrayIconPainter::kSize - 12, 11), corner);
}

TEST(TrayIconPictures, ItemsWithTheSameFigureCanStillBeToldApart) {
    // Seven badges reading "56" were indistinguishable; each now says what it shows.
    SystemReading reading;
    reading.cpu = CPULoad{0.56, 0, {}};
    reading.memory = MemoryUsage{100, 56, 0, 0, 0, 0, 0, MemoryPressureLevel::normal};
    reading.disk = DiskUsage{100, 44, {}, {}, {}};
    reading.gpuDetail = GPUUtilization{0.56, {}, {}};
    reading.temperatures = Temperatures{56, {}, {}, {}, {}};
    reading.swap = SwapUsage{100, 56};
    std::vector<QImage> pictures;
    for (const auto metric : {SystemMetric::cpu, SystemMetric::gpu, SystemMetric::memory,
                              SystemMetric::disk, SystemMetric::temperature, SystemMetric::swap}) {
        const auto content = TrayIconContent::forMetric(reading, metric);
        EXPECT_FALSE(content.label.empty()) << displayName(metric);
        // At the size a 22 px panel shows it.
        pictures.push_back((content.isGauge
                                ? TrayIconPainter::gauge(QString::fromStdString(content.label),
                                                         content.fraction, content.level, "56")
                                : TrayIconPainter::text(QString::fromStdString(content.label), "56",
                                                        {}, content.level))
                               .pixmap(22, 22)
                               .toImage());
    }
    for (std::size_t i = 0; i < pictures.size(); ++i)
        for (std::size_t j = i + 1; j < pictures.size(); ++j)
            EXPECT_NE(pictures[i], pictures[j]) << i << " and " << j;
    // The network's item is named too, with its rates and when it is off.
    reading.network = NetworkUsage{1234, 999.4, std::nullopt, std::nullopt};
    EXPECT_EQ(TrayIconContent::forMetric(reading, SystemMetric::network).label, "NET");
    EXPECT_EQ(TrayIconContent::forMetric(reading, SystemMetric::network,
                                         connectivity::ConnectionState{connectivity::Offline{}})
                  .label,
              "NET");
    // Both rate lines are drawn under the label: a rate change changes the picture.
    const auto rates = [](const char* second) {
        return TrayIconPainter::text("NET", "↓1.2K", second, std::nullopt).pixmap(64, 64).toImage();
    };
    EXPECT_NE(rates("↑999B"), rates("↑5.0M"));
}

// What the network's icon signals and what its tooltip says, for every state the connection
// can be in, with and without figures: the two agree.
TEST(TrayIconContents, TheNetworkIconAndItsTooltipTellTheSameState) {
    using namespace connectivity;
    const std::optional<ConnectionState> states[] = {std::nullopt, Online{}, Degraded{300, 5},
                                                     Offline{true}, Offline{false}};
    SystemReading withRates;
    withRates.network = NetworkUsage{1234, 999.4, std::nullopt, std::nullopt};
    for (const SystemReading& reading : {withRates, SystemReading{}})
        for (const auto& state : states) {
            const auto view = MetricItemView::of(reading, SystemMetric::network, state);
            const std::string said = state ? headline(state) : std::string();
            SCOPED_TRACE(said + (reading.network ? " with rates" : " without"));
            const bool saysOffline = view.tooltip.find("offline") != std::string::npos;
            const bool saysNoInternet = view.tooltip.find("No internet") != std::string::npos;
            const bool saysPoor = view.tooltip.find("Poor connection") != std::string::npos;
            EXPECT_EQ(view.icon.level == MetricLevel::critical, saysOffline || saysNoInternet);
            EXPECT_EQ(view.icon.level == MetricLevel::warning, saysPoor);
            EXPECT_EQ(view.icon.first == "off", saysOffline);
            EXPECT_EQ(view.icon, TrayIconContent::forMetric(reading, SystemMetric::network, state));
            if (state) {
                EXPECT_NE(view.tooltip.find(said), std::string::npos) << view.tooltip;
            }
        }
}

TEST(TrayIconPictures, TheInkFollowsThePanelWhereTheDesktopTellsIt) {
    const auto lightness = [](PanelTone tone, QPoint at) {
        TrayIconPainter::setPanelTone(tone);
        const QImage image =
            TrayIconPainter::gauge("CPU", 0.5, MetricLevel::normal, "88").pixmap(64, 64).toImage();
        return image.pixelColor(at);
    };
    // Outside the figure: a badge where the panel is unknown, the panel itself elsewhere.
    EXPECT_GT(lightness(PanelTone::unknown, {4, 32}).alpha(), 200);
    EXPECT_EQ(lightness(PanelTone::dark, {4, 32}).alpha(), 0);
    EXPECT_EQ(lightness(PanelTone::light, {4, 32}).alpha(), 0);
    // The darkest ink in the figure: light on dark panels, dark on light ones.
    const auto darkestInk = [](PanelTone tone) {
        TrayIconPainter::setPanelTone(tone);
        const QImage image =
            TrayIconPainter::text("", "88", "", std::nullopt).pixmap(64, 64).toImage();
        int darkest = 255;
        for (int y = 0; y < 64; ++y)
            for (int x = 0; x < 64; ++x)
                if (image.pixelColor(x, y).alpha() == 255)
                    darkest = std::min(darkest, image.pixelColor(x, y).lightness());
        return darkest;
    };
    EXPECT_GT(darkestInk(PanelTone::dark), 200);
    EXPECT_LT(darkestInk(PanelTone::light), 60);
    TrayIconPainter::setPanelTone(PanelTone::unknown);
}

// Not a check: a sheet of every item on each kind of panel at 22 and 44 px, to look at.
// Pixels of `icon`, laid on `panel`, whose lightness differs from the panel's by a quarter of
// the scale or more: marks an eye tells apart from the panel.
int visibleInk(const QImage& icon, const QColor& panel) {
    int count = 0;
    for (int y = 0; y < icon.height(); ++y)
        for (int x = 0; x < icon.width(); ++x) {
            const QColor ink = icon.pixelColor(x, y);
            const double alpha = ink.alphaF();
            const double shown = alpha * ink.lightnessF() + (1 - alpha) * panel.lightnessF();
            if (std::abs(shown - panel.lightnessF()) >= 0.25)
                ++count;
        }
    return count;
}

// Every item, on every kind of panel and at both sizes, leaves marks a user can see against
// that panel; with RAVO_SCREENSHOTS set, the sheet is saved for a person to look at too.
TEST(TrayIconPictures, EveryItemStandsOutOnEveryPanel) {
    const std::pair<PanelTone, QColor> panels[] = {{PanelTone::unknown, QColor(0x80, 0x80, 0x80)},
                                                   {PanelTone::dark, QColor(0x1e, 0x1e, 0x1e)},
                                                   {PanelTone::light, QColor(0xee, 0xee, 0xee)}};
    QImage sheet(10 * 70, 6 * 50, QImage::Format_ARGB32);
    sheet.fill(Qt::white);
    QPainter painter(&sheet);
    int row = 0;
    for (const auto& [tone, background] : panels) {
        TrayIconPainter::setPanelTone(tone);
        const QIcon icons[] = {TrayIconPainter::gauge("CPU", 0.56, MetricLevel::normal, "56"),
                               TrayIconPainter::gauge("GPU", std::nullopt, std::nullopt, "—"),
                               TrayIconPainter::gauge("MEM", 0.72, MetricLevel::warning, "72"),
                               TrayIconPainter::gauge("DISK", 0.93, MetricLevel::critical, "93"),
                               TrayIconPainter::text("", "↓1.2M", "↑300B", std::nullopt),
                               TrayIconPainter::text("NET", "off", "", MetricLevel::critical),
                               TrayIconPainter::text("TEMP", "61°", "", std::nullopt),
                               TrayIconPainter::usage(0.41, true),
                               TrayIconPainter::websites(cloud::SiteState::Health::up, 0),
                               TrayIconPainter::websites(cloud::SiteState::Health::down, 2)};
        for (int size : {22, 44}) {
            painter.fillRect(0, row * 50, sheet.width(), 50, background);
            for (int i = 0; i < 10; ++i) {
                const QPixmap pixmap = icons[i].pixmap(size, size);
                painter.drawPixmap(i * 70 + 4, row * 50 + 3, pixmap);
                EXPECT_GE(visibleInk(pixmap.toImage(), background), size / 2)
                    << "item " << i << " at " << size << " px on panel " << row / 2;
            }
            ++row;
        }
    }
    painter.end();
    TrayIconPainter::setPanelTone(PanelTone::unknown);
    if (const QString folder = qEnvironmentVariable("RAVO_SCREENSHOTS"); !folder.isEmpty()) {
        QDir().mkpath(folder);
        EXPECT_TRUE(sheet.save(folder + "/tray-icons.png"));
    }
}

TEST(PanelTones, TheDesktopsWordDecidesAndAUsersChoiceComesFirst) {
    struct Case {
        std::string_view forced, desktop;
        int scheme;
        PanelTone tone;
    };
    const Case cases[] = {
        {"", "KDE", 2, PanelTone::light},
        {"", "KDE", 1, PanelTone::dark},
        {"", "XFCE", 0, PanelTone::unknown},
        {"", "UBUNTU:GNOME", 2, PanelTone::dark}, // GNOME's top bar is dark in light mode too
        {"", "", 1, PanelTone::dark},
        {"light", "UBUNTU:GNOME", 1, PanelTone::light},
        {"badge", "KDE", 1, PanelTone::unknown},
        {"purple", "KDE", 2, PanelTone::light}, // an unknown word is no choice
    };
    for (const auto& c : cases)
        EXPECT_EQ(decidePanelTone(c.forced, c.desktop, c.scheme), c.tone)
            << c.forced << "|" << c.desktop << "|" << c.scheme;
}

} // namespace
} // namespace ravo::ui
