// SPDX-License-Identifier: MIT
#include "platform/linux/bus/sysfs_bus_prober.h"

#include <gmock/gmock.h>

#include <thread>

#include "descriptor_builder.h"
#include "fake_sysfs.h"
#include "fake_udev_events.h"
#include "support/recorded_bus_changes.h"

namespace tavelo::test {
namespace {

using ::testing::IsEmpty;
using ::testing::SizeIs;

class BusProberOfLinux : public ::testing::Test {
protected:
    BusProberOfLinux() { tree.addRootHub("pci0000:00/0000:00:14.0", 1); }

    void add(const std::string& name, const Bytes& configurationBytes) {
        FakeSysfs::Device device;
        device.name = name;
        device.descriptors = join({deviceDescriptor(), configurationBytes});
        tree.addDevice(device);
    }

    std::unique_ptr<SysfsBusProber> prober() {
        return std::make_unique<SysfsBusProber>(&changes, tree.root(),
                                                std::make_unique<FakeUdevEvents>(feed));
    }

    FakeSysfs tree;
    testing::RecordedBusChanges changes;
    std::shared_ptr<UdevEventFeed> feed = std::make_shared<UdevEventFeed>();
};

const Bytes keyboard = configuration({interfaceDescriptor(0, 1, 0x03)});

TEST_F(BusProberOfLinux, KnowsNothingBeforeItsFirstScan) {
    add("1-2", ordinaryCamera());
    EXPECT_THAT(prober()->devicesArray(), IsEmpty());
}

TEST_F(BusProberOfLinux, ListsCamerasAndNothingElse) {
    add("1-1", keyboard);
    add("1-2", ordinaryCamera());
    const auto bus = prober();
    bus->refreshData(false);
    ASSERT_THAT(bus->devicesArray(), SizeIs(1));
    const BusProberDevice& camera = *bus->devicesArray().front();
    EXPECT_EQ(camera.locationID & 0x00FFFFFF, 0x00200000U);
    EXPECT_EQ(camera.vendorID, 0x046D);
    EXPECT_EQ(camera.productID, 0x0825);
    EXPECT_EQ(camera.terminalID, 3);
    EXPECT_EQ(camera.unitID, 5);
    EXPECT_TRUE(camera.supportBright);
    EXPECT_EQ(camera.name, "Test Camera");
}

TEST_F(BusProberOfLinux, ANameThatTheDeviceChoseIsPrintable) {
    FakeSysfs::Device device;
    device.productName = "Cam\nera \x1B[31m\x7F";
    device.descriptors = join({deviceDescriptor(), ordinaryCamera()});
    tree.addDevice(device);
    const auto bus = prober();
    bus->refreshData(false);
    ASSERT_THAT(bus->devicesArray(), SizeIs(1));
    EXPECT_EQ(bus->devicesArray().front()->name, "Cam era  [31m ");
}

TEST_F(BusProberOfLinux, EachVideoFunctionOfADeviceHasARecord) {
    add("1-2", configuration({videoControl(0), cameraTerminal(3, {0, 2, 0}), processingUnit(5, 3, {1, 0}),
                              interfaceDescriptor(1, 2), videoControl(2), cameraTerminal(8, {0, 2, 0}),
                              processingUnit(9, 8, {2, 0}), interfaceDescriptor(3, 2)}));
    const auto bus = prober();
    bus->refreshData(false);
    ASSERT_THAT(bus->devicesArray(), SizeIs(2));
    const auto& colour = *bus->devicesArray()[0];
    const auto& infrared = *bus->devicesArray()[1];
    EXPECT_EQ(colour.controlInterface, 0);
    EXPECT_EQ(colour.unitID, 5);
    EXPECT_TRUE(colour.supportBright);
    EXPECT_EQ(infrared.controlInterface, 2);
    EXPECT_EQ(infrared.terminalID, 8);
    EXPECT_EQ(infrared.unitID, 9);
    EXPECT_FALSE(infrared.supportBright);
    EXPECT_TRUE(infrared.supportContrast);
    EXPECT_EQ(infrared.locationID, colour.locationID);
    EXPECT_EQ(infrared.vendorID, 0x046D);
    EXPECT_EQ(infrared.name, "Test Camera");
}

TEST_F(BusProberOfLinux, ACameraWithUnreadableEntitiesIsListedWithoutIdentifiers) {
    add("1-2", configuration({videoControl(0), header(0x0110), {0x00, 0x00}}));
    const auto bus = prober();
    bus->refreshData(false);
    ASSERT_THAT(bus->devicesArray(), SizeIs(1));
    EXPECT_EQ(bus->devicesArray().front()->terminalID, -1);
    EXPECT_EQ(bus->devicesArray().front()->unitID, -1);
}

TEST_F(BusProberOfLinux, RecordsHandedOutBeforeStayValid) {
    add("1-2", ordinaryCamera());
    const auto bus = prober();
    bus->refreshData(false);
    const auto record = bus->devicesArray().front();
    tree.removeDevice("1-2");
    bus->refreshData(false);
    EXPECT_THAT(bus->devicesArray(), IsEmpty());
    EXPECT_EQ(record->terminalID, 3);
}

TEST_F(BusProberOfLinux, AScanThatFindsNothingNewKeepsItsRecords) {
    add("1-2", ordinaryCamera());
    const auto bus = prober();
    bus->refreshData(false);
    const auto record = bus->devicesArray().front();
    bus->refreshData(true);
    EXPECT_EQ(bus->devicesArray().front(), record);
}

TEST_F(BusProberOfLinux, ReportsAChangeFoundByAScanOnItsOwnThread) {
    const auto bus = prober();
    bus->refreshData(true);
    add("1-2", ordinaryCamera());
    bus->refreshData(true);
    ASSERT_TRUE(changes.waitForChanges(1));
    EXPECT_EQ(changes.count(), 1); // none for the first scan, which found nothing
    EXPECT_NE(changes.thread(), std::this_thread::get_id());
}

TEST_F(BusProberOfLinux, ReportsNothingIfToldNotTo) {
    {
        const auto bus = prober();
        add("1-2", ordinaryCamera());
        bus->refreshData(false);
        // This notification runs on the same thread after the scan's, so a notification of the scan would be
        // first.
        feed->push({"add", "", "1-3", ""});
        ASSERT_TRUE(changes.waitForChanges(1));
    }
    EXPECT_EQ(changes.count(), 1);
}

TEST_F(BusProberOfLinux, ReportsUdevEvents) {
    const auto bus = prober();
    feed->push({"add", "/sys/devices/x", "1-2", ""});
    ASSERT_TRUE(changes.waitForChanges(1));
    EXPECT_NE(changes.thread(), std::this_thread::get_id());
    const int before = changes.count();
    feed->push({}); // events were lost
    EXPECT_TRUE(changes.waitForChanges(before + 1));
}

TEST_F(BusProberOfLinux, NeedsNeitherDelegateNorUdev) {
    add("1-2", ordinaryCamera());
    SysfsBusProber bus(nullptr, tree.root(), nullptr);
    bus.refreshData(true);
    EXPECT_THAT(bus.devicesArray(), SizeIs(1));
}

TEST_F(BusProberOfLinux, MayEndAtAnyMoment) {
    for (int round = 0; round < 30; ++round) {
        const auto bus = prober();
        feed->push({"add", "", "1-2", ""});
        bus->refreshData(true);
    }
}

} // namespace
} // namespace tavelo::test
