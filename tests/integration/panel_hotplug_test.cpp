// SPDX-License-Identifier: MIT
// Plugging and unplugging: which camera is shown, which tab is selected, and which devices are listed.
#include <algorithm>
#include <array>
#include <map>
#include <string>
#include <vector>

#include "integration/panel_fixture.h"
#include "video/fake_capture.h"

namespace tavelo {
namespace {

using namespace std::chrono_literals;

class PanelHotplug : public PanelTest {
protected:
    /// The number of the camera shown, or 0.
    int shown() { return numberOf(panel().displayView()->captureDevice()); }

    std::vector<int> listed() {
        std::vector<int> numbers;
        for (const auto& device : panel().devicesArray())
            numbers.push_back(numberOf(device));
        return numbers;
    }

    int numberOf(const std::shared_ptr<CaptureDevice>& device) {
        if (!device) return 0;
        for (const auto& [number, uniqueID] : identifiers_)
            if (uniqueID == device->uniqueID()) return number;
        return -1;
    }

    /// Plugs a camera in and stores its identifier.
    void plugAndWait(int number) {
        const auto known = devices();
        plug(number);
        ASSERT_TRUE(waitFor([&] { return devices().size() > known.size(); }));
        for (const auto& device : devices())
            if (std::ranges::find(known, device) == known.end()) identifiers_[number] = device->uniqueID();
    }

    std::vector<std::shared_ptr<CaptureDevice>> devices() {
        return backend_.capture->devicesWithMediaType(MediaType::video);
    }

    void startWith(int cameras, int shownCamera) {
        for (int number = 1; number <= cameras; ++number)
            plugAndWait(number);
        start(0);
        if (shownCamera == 2) click(view().camera2Button());
        ASSERT_EQ(shown(), cameras == 0 ? 0 : shownCamera);
    }

    /// Checks that the buttons match the cameras and work.
    void expectButtonsFit() {
        const std::vector<int> cameras = listed();
        const auto position = std::ranges::find(cameras, shown()) - cameras.begin();
        EXPECT_EQ(view().camera1Button()->isEnabled(), !cameras.empty());
        EXPECT_EQ(view().camera2Button()->isEnabled(), cameras.size() > 1);
        EXPECT_EQ(view().camera1Button()->selected(), !cameras.empty() && position == 0);
        EXPECT_EQ(view().camera2Button()->selected(), !cameras.empty() && position == 1);
        EXPECT_EQ(view().brightnessSlider()->isEnabled(), !cameras.empty());
    }

    void expectButtonsReachTheirCameras() {
        const std::vector<int> cameras = listed();
        const std::array<KTCameraButton*, 2> buttons{view().camera1Button(), view().camera2Button()};
        for (const std::size_t i : {0U, 1U, 0U}) {
            if (i >= cameras.size()) continue;
            click(buttons.at(i));
            EXPECT_EQ(shown(), cameras[i]);
            expectButtonsFit();
        }
    }

    std::map<int, std::string> identifiers_;
};

struct Removal {
    int cameras;
    int shown;
    int removed;
};

class PanelRemoval : public PanelHotplug, public ::testing::WithParamInterface<Removal> {};

TEST_P(PanelRemoval, LeavesTheRightCameraShownAndItsTabLit) {
    const Removal& removal = GetParam();
    startWith(removal.cameras, removal.shown);
    expectButtonsFit();
    const auto input = panel().displayView()->videoCaptureDeviceInput();

    std::vector<int> left = listed();
    std::erase(left, removal.removed);
    backend_.bus->unplug(removal.removed);
    ASSERT_TRUE(waitFor([&] { return panel().devicesArray().size() == left.size(); }));
    EXPECT_EQ(listed(), left);
    if (left.empty()) {
        EXPECT_TRUE(waitFor([this] { return shown() == 0; }));
    } else if (removal.removed == removal.shown) {
        EXPECT_EQ(shown(), left.front());
    } else {
        EXPECT_EQ(panel().displayView()->videoCaptureDeviceInput(), input) << "the stream keeps running";
    }
    expectButtonsFit();
    expectButtonsReachTheirCameras();
}

TEST_P(PanelRemoval, AndTheCamerasComingBackListsItLastAndChangesNothingElse) {
    const Removal& removal = GetParam();
    startWith(removal.cameras, removal.shown);
    std::vector<int> left = listed();
    std::erase(left, removal.removed);
    backend_.bus->unplug(removal.removed);
    ASSERT_TRUE(waitFor([&] { return panel().devicesArray().size() == left.size(); }));
    const int before = left.empty() ? removal.removed : shown();
    left.push_back(removal.removed);
    plug(removal.removed);
    ASSERT_TRUE(waitFor([&] { return panel().devicesArray().size() == left.size(); }));
    EXPECT_EQ(listed(), left);
    EXPECT_EQ(shown(), before);
    expectButtonsFit();
    expectButtonsReachTheirCameras();
}

TEST_F(PanelHotplug, TheInterfaceOfAnUnpluggedCameraIsClosedAtOnce) {
    startWith(1, 1);
    const auto held = manager_.interface(); // a push of settings holds it the same way
    ASSERT_NE(held, nullptr);
    backend_.bus->unplug(1);
    ASSERT_TRUE(waitFor([&] { return panel().devicesArray().empty(); }));
    UsbControlRequest request;
    EXPECT_EQ(held->ControlRequest(request), ErrorCode::closed);
    EXPECT_EQ(manager_.interface(), nullptr);
}

std::vector<Removal> removals() {
    std::vector<Removal> all;
    for (int cameras = 1; cameras <= 4; ++cameras)
        for (int shown = 1; shown <= std::min(cameras, 2); ++shown)
            for (int removed = 1; removed <= cameras; ++removed)
                all.push_back({cameras, shown, removed});
    return all;
}

std::string nameOfRemoval(const ::testing::TestParamInfo<Removal>& removal) {
    return "Of" + std::to_string(removal.param.cameras) + "Shown" + std::to_string(removal.param.shown) +
           "Removed" + std::to_string(removal.param.removed);
}

INSTANTIATE_TEST_SUITE_P(Cameras, PanelRemoval, ::testing::ValuesIn(removals()), nameOfRemoval);

struct Arrival {
    int cameras;
    int shown;
};

class PanelArrival : public PanelHotplug, public ::testing::WithParamInterface<Arrival> {};

TEST_P(PanelArrival, KeepsTheCameraShownAndItsTabLit) {
    const auto& [cameras, before] = GetParam();
    startWith(cameras, before);
    const auto input = panel().displayView()->videoCaptureDeviceInput();
    plugAndWait(cameras + 1);
    ASSERT_TRUE(waitFor([&, count = cameras] { return listed().size() == std::size_t(count) + 1; }));
    EXPECT_EQ(shown(), cameras == 0 ? 1 : before);
    if (cameras > 0) {
        EXPECT_EQ(panel().displayView()->videoCaptureDeviceInput(), input);
    }
    expectButtonsFit();
    expectButtonsReachTheirCameras();
}

std::string nameOfArrival(const ::testing::TestParamInfo<Arrival>& arrival) {
    return "After" + std::to_string(arrival.param.cameras) + "Shown" + std::to_string(arrival.param.shown);
}

INSTANTIATE_TEST_SUITE_P(Cameras, PanelArrival,
                         ::testing::Values(Arrival{0, 1}, Arrival{1, 1}, Arrival{2, 1}, Arrival{2, 2},
                                           Arrival{3, 1}, Arrival{3, 2}),
                         nameOfArrival);

/// Records each pause of the panel and what it had done by then.
class PanelPauses : public PanelHotplug {
protected:
    struct Pause {
        std::chrono::milliseconds time;
        int shown;
        std::size_t requests;

        friend bool operator==(const Pause&, const Pause&) = default;
    };

    void pause(std::chrono::milliseconds time) override {
        pauses_.push_back({time, shown(), camera(number_)->requestLog().size()});
    }

    int number_ = 1; // the camera whose requests are counted
    std::vector<Pause> pauses_;
};

TEST_F(PanelPauses, ACameraGetsATenthOfASecondBetweenItsPictureAndItsControls) {
    plugAndWait(1);
    plugAndWait(2);
    start(0);
    EXPECT_EQ(pauses_, (std::vector<Pause>{{100ms, 1, 0}}));
    EXPECT_FALSE(camera(1)->requestLog().empty());
    pauses_.clear();
    number_ = 2;
    click(view().camera2Button());
    EXPECT_EQ(pauses_, (std::vector<Pause>{{100ms, 2, 0}}));
    EXPECT_FALSE(camera(2)->requestLog().empty());
}

TEST_F(PanelPauses, TheFirstCameraIsBoundWhileTheWindowStands) {
    bindsFirstCameraLater_ = true;
    plugAndWait(1);
    plugAndWait(2);
    start(0);
    EXPECT_TRUE(panel().cameraSettingKey() ||
                waitFor([this] { return panel().cameraSettingKey().has_value(); }));
    EXPECT_TRUE(pauses_.empty());
    EXPECT_FALSE(camera(1)->requestLog().empty());
    click(view().camera2Button()); // from now on nothing of the former camera may be used
    EXPECT_EQ(pauses_.size(), 1U);
    EXPECT_FALSE(camera(2)->requestLog().empty());
}

TEST_F(PanelPauses, WhoNeedsTheFirstCameraAtOnceWaitsForTheRestOfItsTime) {
    bindsFirstCameraLater_ = true;
    plugAndWait(1);
    const auto begun = std::chrono::steady_clock::now();
    load();
    EXPECT_TRUE(camera(1)->requestLog().empty());
    panel().finishBinding();
    ASSERT_EQ(pauses_.size(), 1U);
    EXPECT_TRUE(pauses_[0].time > 0ms || std::chrono::steady_clock::now() - begun >= 100ms);
    EXPECT_LE(pauses_[0].time, 100ms);
    EXPECT_EQ(pauses_[0].requests, 0U);
    EXPECT_TRUE(panel().cameraSettingKey());
    const auto requests = camera(1)->requestLog().size();
    EXPECT_GT(requests, 0U);
    panel().finishBinding();
    EXPECT_EQ(camera(1)->requestLog().size(), requests);
    EXPECT_EQ(pauses_.size(), 1U);
}

TEST_F(PanelPauses, AnotherCameraThatIsChosenMeanwhileIsBoundOnce) {
    bindsFirstCameraLater_ = true;
    plugAndWait(1);
    plugAndWait(2);
    load();
    number_ = 2;
    panel().camera2ButtonAction(nullptr);
    const auto requests = camera(2)->requestLog().size();
    EXPECT_GT(requests, 0U);
    panel().finishBinding();
    EXPECT_EQ(camera(2)->requestLog().size(), requests);
    EXPECT_TRUE(camera(1)->requestLog().empty());
}

/// The virtual cameras, and a device that is no USB camera.
class MixedCapture final : public CapturePlatform {
public:
    explicit MixedCapture(CapturePlatform& cameras) : cameras_(cameras) {}

    std::vector<std::shared_ptr<CaptureDevice>> devicesWithMediaType(MediaType type) override {
        auto devices = cameras_.devicesWithMediaType(type);
        devices.insert(devices.begin(), foreign_.begin(), foreign_.end());
        return devices;
    }
    std::unique_ptr<CaptureSession> makeSession() override { return cameras_.makeSession(); }
    void addObserver(CaptureDeviceObserver* observer) override {
        observers_.push_back(observer);
        cameras_.addObserver(observer);
    }
    void removeObserver(CaptureDeviceObserver* observer) override {
        std::erase(observers_, observer);
        cameras_.removeObserver(observer);
    }

    const std::vector<CaptureDeviceObserver*>& observers() const { return observers_; }

    /// Plugs in a device that is not on the bus.
    void plugForeign(const std::string& uniqueID) {
        foreign_.push_back(std::make_shared<testing::FakeDevice>(uniqueID));
        for (CaptureDeviceObserver* observer : observers_)
            observer->captureDeviceWasConnected(foreign_.back());
    }
    void unplugForeign() {
        const auto device = foreign_.back();
        foreign_.pop_back();
        for (CaptureDeviceObserver* observer : observers_)
            observer->captureDeviceWasDisconnected(device);
    }

private:
    CapturePlatform& cameras_;
    std::vector<std::shared_ptr<CaptureDevice>> foreign_;
    std::vector<CaptureDeviceObserver*> observers_;
};

class PanelMixedCapture : public PanelHotplug {
protected:
    ~PanelMixedCapture() override {
        QThreadPool::globalInstance()->waitForDone();
        panel_.reset();
    }
    CapturePlatform& capture() override { return mixed_; }

    MixedCapture mixed_{*backend_.capture};
};

TEST_F(PanelMixedCapture, DevicesThatAreNotOnTheBusAreNeverListed) {
    const std::array<std::string, 3> identifiers{"0x99900000aaaabbbb", "", "no number at all"};
    for (const std::string& identifier : identifiers)
        mixed_.plugForeign(identifier);
    plugAndWait(1);
    start(0);
    EXPECT_EQ(listed(), std::vector{1});
    EXPECT_EQ(shown(), 1);
    for (const std::string& identifier : identifiers) {
        mixed_.plugForeign(identifier);
        EXPECT_EQ(listed(), std::vector{1}) << identifier;
        expectButtonsFit();
        mixed_.unplugForeign();
        EXPECT_EQ(shown(), 1);
        expectButtonsFit();
    }
}

TEST_F(PanelMixedCapture, ADestroyedPanelIsNotNotified) {
    plugAndWait(1);
    start(0);
    EXPECT_EQ(mixed_.observers().size(), 1U);
    panel_.reset();
    EXPECT_TRUE(mixed_.observers().empty());
}

} // namespace
} // namespace tavelo
