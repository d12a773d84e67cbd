#include "metrics/core/system_sampler.h"
#include "metrics/platform/linux/linux_counter_source.h"
#include "metrics/system_monitor.h"
#include "tests/metrics/recorded_counter_source.h"
#include "tests/support/temporary_folder.h"
#include "tests/ui/widget_checks.h"
#include "ui/popovers/metric_detail_view.h"
#include "ui/popovers/metric_rows.h"
#include "ui/widgets/popover_window.h"

#include <QLabel>
#include <QSettings>
#include <QTest>
#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace ravo::ui {
namespace {

using metrics::SystemMetric;

// A real process keeping a core busy, under a name with spaces and parentheses.
class BusyProgram {
public:
    explicit BusyProgram(const std::filesystem::path& folder) {
        const auto program = folder / "spin (1) x";
        std::filesystem::copy_file("/bin/sh", program);
        pid_ = ::fork();
        if (pid_ == 0) {
            ::execl(program.c_str(), program.c_str(), "-c", "while :; do :; done",
                    static_cast<char*>(nullptr));
            ::_exit(127);
        }
    }
    ~BusyProgram() {
        if (pid_ > 0) {
            ::kill(pid_, SIGKILL);
            ::waitpid(pid_, nullptr, 0);
        }
    }
    pid_t pid() const { return pid_; }

private:
    pid_t pid_ = -1;
};

class ProcessViewsTest : public ::testing::Test {
protected:
    std::unique_ptr<metrics::SystemMonitor>
    monitorOver(std::unique_ptr<metrics::CounterSource> source) {
        metrics::SystemMonitor::Services services;
        services.sampler = std::make_unique<metrics::SystemSampler>(std::move(source));
        return std::make_unique<metrics::SystemMonitor>(&settings, std::move(services));
    }

    // The view in its popover, which owns it.
    std::unique_ptr<PopoverWindow> shown(MetricDetailView* view) {
        auto popover = std::make_unique<PopoverWindow>(view);
        popover->showAt(QRect(900, 0, 24, 24));
        EXPECT_TRUE(QTest::qWaitForWindowExposed(popover.get()));
        EXPECT_TRUE(testing::clippedLabels(*popover).empty());
        return popover;
    }

    ravo::testing::TemporaryFolder folder;
    QSettings settings{QString::fromStdString((folder.path() / "ravo.conf").string()),
                       QSettings::IniFormat};
};

TEST_F(ProcessViewsTest, TheProcessorPopoverListsARealBusyProcess) {
    BusyProgram busy(folder.path());
    ASSERT_GT(busy.pid(), 0);
    auto monitor = monitorOver(std::make_unique<metrics::kernel::LinuxCounterSource>(
        metrics::kernel::SystemRoots{}, false));
    monitor->detailDidOpen(SystemMetric::cpu);
    monitor->tick();
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    monitor->tick();
    const auto popover = shown(new MetricDetailView(monitor.get(), SystemMetric::cpu));
    const std::string text = testing::visibleText(*popover);
    EXPECT_NE(text.find("Busiest processes"), std::string::npos) << text;
    EXPECT_NE(text.find("spin (1) x\n"), std::string::npos) << text;
    EXPECT_NE(text.find("pid " + std::to_string(busy.pid()) + "\n"), std::string::npos) << text;
}

TEST_F(ProcessViewsTest, TheMemoryPopoverRanksByResidentMemoryAndShowsNamesAsWritten) {
    metrics::testing::RecordedCounterSource::Calls calls;
    auto source = std::make_unique<metrics::testing::RecordedCounterSource>(&calls);
    source->ticks = {{{100, 50, 850, 0}}, {{160, 70, 870, 0}}};
    source->memoryValue = metrics::MemoryUsage{
        16ull << 30, 9ull << 30, 2ull << 30, 0,
        3ull << 30,  0,          0.7,        metrics::MemoryPressureLevel::normal};
    source->processLists = {{{7, 1, 100, 3ull << 30, "<b>db</b>"}, {9, 1, 0, 1ull << 20, "sh"}},
                            {{7, 1, 150, 3ull << 30, "<b>db</b>"}, {9, 1, 0, 1ull << 20, "sh"}}};
    auto monitor = monitorOver(std::move(source));
    monitor->detailDidOpen(SystemMetric::memory);
    EXPECT_EQ(calls.processes, 0);
    monitor->tick();
    monitor->tick();
    EXPECT_EQ(calls.processes, 2);
    auto* view = new MetricDetailView(monitor.get(), SystemMetric::memory);
    const auto popover = shown(view);
    const std::string text = testing::visibleText(*popover);
    EXPECT_NE(text.find("Largest processes"), std::string::npos) << text;
    // Markup in a name is shown, not obeyed.
    const auto names = view->findChildren<QLabel*>();
    const auto db = std::find_if(names.begin(), names.end(),
                                 [](QLabel* l) { return l->text() == "<b>db</b>"; });
    ASSERT_NE(db, names.end()) << text;
    EXPECT_EQ((*db)->textFormat(), Qt::PlainText);
    EXPECT_LT(text.find("<b>db</b>"), text.find("sh\n")) << text;
    EXPECT_NE(text.find("3 GB"), std::string::npos) << text;
    monitor->detailDidClose(SystemMetric::memory);
    monitor->tick();
    EXPECT_EQ(calls.processes, 2);
}

TEST(ProcessRows, TheRankingFigureComesFirstAndAnUnknownShareIsLeftOut) {
    metrics::SystemReading reading;
    reading.processes = metrics::TopProcesses{{{"make", 12, 150.0, 1ull << 20}},
                                              {{"db", 7, std::nullopt, 3ull << 30}}};
    const metrics::FormatLocale english;
    EXPECT_EQ(MetricRows::forProcesses(reading, SystemMetric::cpu, english),
              (MetricRows::Rows{{"make", "150% · 1 MB · pid 12"}}));
    EXPECT_EQ(MetricRows::forProcesses(reading, SystemMetric::memory, english),
              (MetricRows::Rows{{"db", "3 GB · pid 7"}}));
    EXPECT_TRUE(MetricRows::forProcesses(reading, SystemMetric::disk, english).empty());
}

} // namespace
} // namespace ravo::ui
