// SPDX-License-Identifier: MIT
#include "platform/common/capture_device_list.h"

#include <gmock/gmock.h>

#include <optional>
#include <string>
#include <thread>

#include "support/manual_main_queue.h"
#include "support/recorded_device_changes.h"

namespace tavelo {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class NamedDevice final : public CaptureDevice {
public:
    explicit NamedDevice(std::string name) : name_(std::move(name)) {}
    const std::string& uniqueID() const override { return name_; }
    const std::string& localizedName() const override { return name_; }
    bool hasMediaType(MediaType type) const override { return type == MediaType::video; }
    std::unique_ptr<CaptureDeviceInput> makeInput(Error& /*error*/) override { return nullptr; }

private:
    const std::string name_;
};

class CaptureDeviceListTest : public ::testing::Test {
protected:
    using List = CaptureDeviceList<std::string>;

    // Cameras are what is plugged in; a device is named after its camera and its arrival.
    void fill() {
        list->fill([this] { return plugged; });
    }
    void rescan() {
        list->rescan([this] { return plugged; });
    }
    std::vector<std::string> names() const {
        std::vector<std::string> names;
        for (const auto& device : list->devices())
            names.push_back(device->localizedName());
        return names;
    }

    std::vector<std::string> plugged;
    testing::ManualMainQueue queue;
    std::optional<List> list{
        std::in_place, queue, std::equal_to<>(), [](const std::string& camera, CameraArrival arrival) {
            return std::make_shared<NamedDevice>(arrival == CameraArrival::atStart ? camera : camera + "*");
        }};
    testing::RecordedDeviceChanges changes;
};

TEST_F(CaptureDeviceListTest, KeepsTheOrderOfArrivalAndKnowsWhoWasThereAtTheStart) {
    plugged = {"B", "C"};
    fill();
    const auto before = list->devices();
    plugged = {"A", "C"};
    rescan();
    EXPECT_EQ(list->devices(), before) << "until the main queue runs";
    queue.drain();
    EXPECT_THAT(names(), ElementsAre("C", "A*"));
    EXPECT_EQ(list->devices().front(), before.back());
}

TEST_F(CaptureDeviceListTest, TellsOfRemovalsBeforeArrivals) {
    plugged = {"A", "B"};
    fill();
    list->addObserver(&changes);
    plugged = {"C", "D"};
    rescan();
    queue.drain();
    EXPECT_THAT(changes.names(), ElementsAre("-A", "-B", "+C*", "+D*"));
    list->removeObserver(&changes);
    plugged.clear();
    rescan();
    queue.drain();
    EXPECT_EQ(changes.names().size(), 4U);
}

TEST_F(CaptureDeviceListTest, AScanThatWasOvertakenIsForgotten) {
    rescan(); // finds nothing, but its result arrives only after fill() has found A
    plugged = {"A"};
    fill();
    list->addObserver(&changes);
    queue.drain();
    EXPECT_THAT(names(), ElementsAre("A"));
    EXPECT_THAT(changes.names(), IsEmpty());
}

TEST_F(CaptureDeviceListTest, AnObserverMayLeaveWhileItIsTold) {
    testing::RecordedDeviceChanges second;
    list->addObserver(&changes);
    list->addObserver(&second);
    changes.onChange = [&] {
        list->removeObserver(&changes);
        list->removeObserver(&second);
    };
    plugged = {"A", "B"};
    rescan();
    queue.drain();
    EXPECT_THAT(changes.names(), ElementsAre("+A*"));
    EXPECT_THAT(second.names(), IsEmpty());
}

TEST_F(CaptureDeviceListTest, AnObserverMayScanWhileItIsTold) {
    list->addObserver(&changes);
    plugged = {"A"};
    changes.onChange = [this] {
        plugged.clear();
        changes.onChange = nullptr;
        rescan();
    };
    rescan();
    queue.drain();
    EXPECT_THAT(changes.names(), ElementsAre("+A*", "-A*"));
}

TEST_F(CaptureDeviceListTest, MayDieBeforeItsNewsIsTold) {
    list->addObserver(&changes);
    plugged = {"A"};
    rescan();
    list.reset();
    queue.drain();
    EXPECT_THAT(changes.names(), IsEmpty());
}

TEST_F(CaptureDeviceListTest, ScansOfSeveralThreadsNeverOverlap) {
    int scans = 0; // races if they do
    const auto scan = [&] {
        ++scans;
        return std::vector<std::string>{"A"};
    };
    list->addObserver(&changes);
    const auto scanOften = [&] {
        for (int i = 0; i < 100; ++i)
            list->rescan(scan);
    };
    {
        const std::jthread first(scanOften);
        const std::jthread second(scanOften);
    }
    queue.drain();
    EXPECT_EQ(scans, 200);
    EXPECT_THAT(changes.names(), ElementsAre("+A*"));
}

} // namespace
} // namespace tavelo
