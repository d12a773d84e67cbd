#include "metrics/platform/linux/cpuinfo.h"
#include "metrics/platform/linux/sysfs_discovery.h"
#include "tests/metrics/platform/linux/fixture_files.h"

#include <algorithm>
#include <gtest/gtest.h>

namespace ravo::metrics::kernel {
namespace {

using metrics::testing::fixtureRoot;

TEST(WholeDisks, LeavesOutPartitionsAndVirtualDevices) {
    EXPECT_EQ(discoverWholeDisks(fixtureRoot("laptop-hybrid") / "sys"),
              (std::set<std::string, std::less<>>{"nvme0n1", "sda"}));
    EXPECT_EQ(discoverWholeDisks(fixtureRoot("vm-epyc") / "sys"),
              (std::set<std::string, std::less<>>{"vda"}));
    EXPECT_TRUE(discoverWholeDisks(fixtureRoot("nowhere")).empty());
}

TEST(PhysicalInterfaces, AreThoseWithAHardwareDeviceAndNoBridge) {
    const auto sys = fixtureRoot("laptop-hybrid") / "sys";
    EXPECT_EQ(discoverPhysicalInterfaces(sys),
              (std::vector<PhysicalInterface>{{"enp0s31f6", "2"}, {"wlp2s0", "3"}}));
    EXPECT_FALSE(isInterfaceUp(sys, "enp0s31f6"));
    EXPECT_TRUE(isInterfaceUp(sys, "wlp2s0"));
    EXPECT_FALSE(isInterfaceUp(sys, "absent0"));
}

TEST(Sensors, AreSortedIntoProcessorGraphicsStorageAndBattery) {
    auto sensors = discoverSensors(fixtureRoot("laptop-hybrid") / "sys");
    std::vector<std::string> names;
    for (const auto& sensor : sensors)
        names.push_back(sensor.name.name);
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, (std::vector<std::string>{"NAND nvme Composite", "Tg amdgpu edge",
                                               "Tp coretemp Core 0", "Tp coretemp Core 1",
                                               "Tp coretemp Package id 0", "battery BAT0",
                                               "tdie acpitz", "tdie x86_pkg_temp"}));
    const auto readings = readSensors(sensors);
    EXPECT_EQ(readings.smc.size(), 4u);
    const auto battery = std::find_if(readings.hid.begin(), readings.hid.end(),
                                      [](const auto& r) { return r.name == "battery BAT0"; });
    ASSERT_NE(battery, readings.hid.end());
    EXPECT_DOUBLE_EQ(battery->celsius, 29.1);
}

TEST(Sensors, UnknownChipsAndZonesAreIgnored) {
    EXPECT_FALSE(classifyHwmon("iwlwifi_1", ""));
    EXPECT_FALSE(classifyThermalZone("acpitz"));
    EXPECT_FALSE(classifyPowerSupply("Mains", "AC"));
    EXPECT_EQ(classifyHwmon("k10temp", "Tctl"), (SensorName{SensorBank::smc, "Tp k10temp Tctl"}));
}

TEST(GpuBusy, FindsCardsButNotTheirConnectors) {
    const auto files = discoverGpuBusyFiles(fixtureRoot("laptop-hybrid") / "sys");
    ASSERT_EQ(files.size(), 1u);
    EXPECT_EQ(readLine(files[0]), "37");
}

TEST(Hardware, DescribesHybridClustersAndTheGraphicsCard) {
    const auto root = fixtureRoot("laptop-hybrid");
    const auto hardware = readHardwareInfo(root / "proc", root / "sys");
    EXPECT_EQ(hardware.chipName, "12th Gen Intel(R) Core(TM) i7-1260P");
    EXPECT_EQ(hardware.logicalCPUs, 4);
    EXPECT_EQ(hardware.physicalCores, 4);
    ASSERT_EQ(hardware.clusters.size(), 2u);
    EXPECT_EQ(hardware.clusters[0], (CoreCluster{"Performance", 2, 4700.0}));
    EXPECT_EQ(hardware.clusters[1], (CoreCluster{"Efficiency", 2, 3400.0}));
    EXPECT_EQ(hardware.gpuName, "AMD Radeon graphics");
    EXPECT_EQ(hardware.gpuMaxFrequencyMHz, 2200.0);
}

TEST(Hardware, CapturedVirtualMachineAndBrokenFiles) {
    const auto vm = fixtureRoot("vm-epyc");
    const auto hardware = readHardwareInfo(vm / "proc", vm / "sys");
    EXPECT_EQ(hardware.chipName, "AMD EPYC");
    EXPECT_EQ(hardware.logicalCPUs, 2);
    ASSERT_EQ(hardware.clusters.size(), 1u);
    EXPECT_EQ(hardware.clusters[0].cores, 2);
    EXPECT_FALSE(hardware.clusters[0].maxFrequencyMHz);
    EXPECT_FALSE(hardware.gpuName);

    const auto broken = fixtureRoot("broken");
    const auto nothing = readHardwareInfo(broken / "proc", broken / "sys");
    EXPECT_EQ(nothing.logicalCPUs, 0);
    EXPECT_EQ(nothing.chipName, "Processor");
}

} // namespace
} // namespace ravo::metrics::kernel
