// SPDX-License-Identifier: MIT
// Two cameras of one model change sockets.  Nothing but the socket tells them apart, so the profiles stay
// with it, whatever serial numbers the cameras have.
#include <algorithm>
#include <array>
#include <map>
#include <string>

#include "integration/panel_fixture.h"

namespace tavelo {
namespace {

using camera_settings::integer;

struct Serials {
    const char* name;
    std::array<const char*, 2> numbers; ///< of the cameras 1 and 2
};

/// A camera's number is drawn into its picture; the sockets 1 and 2 are those of the virtual cameras 1 and 2.
class PanelSwappedCameras : public PanelTest, public ::testing::WithParamInterface<Serials> {
protected:
    static std::string brightness() { return std::string(profileControls().front().key); }

    void plugInto(int socket, int number) {
        VirtualCameraModel model = virtualCameraModel(1);
        model.number = number;
        model.product = "Tavelo Virtual Camera";
        model.serial = GetParam().numbers.at(static_cast<std::size_t>(number) - 1);
        model.locationID = virtualCameraModel(socket).locationID;
        ASSERT_NE(backend_.bus->plug(std::move(model)), nullptr);
    }
    void pullOut(int number) { ASSERT_TRUE(backend_.bus->unplug(number)); }

    /// Shows the camera in a socket.
    void show(int socket) {
        ASSERT_TRUE(waitFor([&] { return positionOf(socket) >= 0; })) << socket;
        click(positionOf(socket) == 0 ? view().camera1Button() : view().camera2Button());
        ASSERT_EQ(panel().cameraSettingKey(), keyOf(socket));
    }

    static std::string keyOf(int socket) {
        return camera_settings::keyForCamera(socket == 1 ? "0x7e10000012090001" : "0x7e20000012090001");
    }

    /// Whatever the panel has to do about plugging is done.
    static void letThePanelKnow() {
        bool told = false;
        QMetaObject::invokeMethod(
            QCoreApplication::instance(), [&told] { told = true; }, Qt::QueuedConnection);
        ASSERT_TRUE(waitFor([&told] { return told; }));
    }

    /// The second profile of a socket gets a brightness of its own.
    void storeProfiles() {
        for (const int socket : {1, 2}) {
            show(socket);
            PreferencesDictionary profile = storedProfile(1);
            profile[brightness()] = {brightnessOf(socket)};
            storeProfile(1, profile);
        }
        before_ = records();
        ASSERT_EQ(before_.size(), 2U);
    }

    /// With the camera 1 in socket 1.
    void startWithProfiles() {
        plugInto(1, 1);
        plugInto(2, 2);
        start(0);
        storeProfiles();
    }

    /// Each camera gets the values of the socket in which it is now, and nothing is stored for them.
    /// @param others other sockets with profiles
    void expectProfilesOf(int socketOfCamera1, int socketOfCamera2, std::size_t others = 0) {
        const std::array sockets{socketOfCamera1, socketOfCamera2};
        for (const int number : {1, 2, 1}) {
            const int socket = sockets.at(static_cast<std::size_t>(number) - 1);
            show(socket);
            const auto before = camera(3 - number)->controlValue(control::brightness);
            click(view().profile2Button());
            ASSERT_TRUE(waitFor([&] {
                return camera(number)->controlValue(control::brightness) == brightnessOf(socket);
            })) << "camera "
                << number << ", socket " << socket;
            ASSERT_TRUE(waitFor([] { return QThreadPool::globalInstance()->activeThreadCount() == 0; }));
            letThePanelKnow();
            EXPECT_EQ(view().brightnessSlider()->intValue(), brightnessOf(socket));
            EXPECT_EQ(camera(3 - number)->controlValue(control::brightness), before);
        }
        expectProfilesAreKept();
        EXPECT_EQ(records().size(), 2U + others);
    }

    void expectProfilesAreKept() {
        const Records now = records();
        for (const auto& [key, record] : before_) {
            ASSERT_TRUE(now.contains(key)) << key;
            EXPECT_EQ(now.at(key), record) << key;
        }
    }

    using Records = std::map<std::string, PreferencesArray>;
    Records records() {
        Records found;
        for (const std::string& key : store_.keys()) {
            auto record = std::get<PreferencesArray>(store_.objectForKey(key)->value);
            record.resize(4); // which profile was selected last is no setting
            found[key] = record;
        }
        return found;
    }

    static std::int64_t brightnessOf(int socket) { return socket == 1 ? 11 : -22; }

    std::ptrdiff_t positionOf(int socket) {
        const auto devices = panel().devicesArray();
        const auto found = std::ranges::find_if(devices, [&](const auto& device) {
            return camera_settings::keyForCamera(device->uniqueID()) == keyOf(socket);
        });
        return found == devices.end() ? -1 : found - devices.begin();
    }

    Records before_;
};

TEST_P(PanelSwappedCameras, WhoAreNotSwappedHaveTheProfilesOfTheirSockets) {
    startWithProfiles();
    expectProfilesOf(1, 2);
}

TEST_P(PanelSwappedCameras, WhileThePanelRunsTakeTheProfilesOfTheirNewSockets) {
    startWithProfiles();
    for (const int number : {1, 2}) {
        pullOut(number);
        letThePanelKnow();
    }
    ASSERT_TRUE(panel().devicesArray().empty());
    for (const int number : {1, 2}) {
        plugInto(3 - number, number);
        letThePanelKnow();
    }
    expectProfilesOf(2, 1);
}

TEST_P(PanelSwappedCameras, BeforeThePanelNoticesTakeTheProfilesOfTheirNewSockets) {
    startWithProfiles();
    for (const int number : {1, 2})
        pullOut(number);
    for (const int number : {1, 2})
        plugInto(3 - number, number);
    letThePanelKnow();
    expectProfilesOf(2, 1);
}

TEST_P(PanelSwappedCameras, OfWhichOneStaysInAThirdSocketMeanwhileTakeTheProfilesOfTheirNewSockets) {
    constexpr int third = 3;
    startWithProfiles();
    pullOut(1);
    plugInto(third, 1);
    letThePanelKnow();
    pullOut(2);
    plugInto(1, 2);
    letThePanelKnow();
    pullOut(1);
    plugInto(2, 1);
    letThePanelKnow();
    expectProfilesOf(2, 1, 1); // it was shown in the third while nothing else was there
}

TEST_P(PanelSwappedCameras, AndSwappedBackHaveTheirFirstProfilesAgain) {
    startWithProfiles();
    for (const bool swapped : {true, false}) {
        for (const int number : {1, 2})
            pullOut(number);
        for (const int number : {1, 2})
            plugInto(swapped ? 3 - number : number, number);
        letThePanelKnow();
        if (swapped)
            expectProfilesOf(2, 1);
        else
            expectProfilesOf(1, 2);
    }
}

TEST_P(PanelSwappedCameras, BetweenTwoRunsTakeTheProfilesOfTheirNewSockets) {
    startWithProfiles();
    panel_.reset();
    for (const int number : {1, 2})
        pullOut(number);
    for (const int number : {2, 1}) // in the other order, too
        plugInto(3 - number, number);
    letThePanelKnow(); // the list of devices outlives the panel
    load();
    view().show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&view()));
    expectProfilesOf(2, 1);
}

TEST_P(PanelSwappedCameras, OfWhichOneLeavesForAFreeSocketLeaveTheProfilesBehind) {
    constexpr int third = 3;
    startWithProfiles();
    show(1);
    pullOut(1);
    plugInto(third, 1);
    letThePanelKnow();
    ASSERT_EQ(panel().devicesArray().size(), 2U);
    click(view().camera2Button());
    ASSERT_EQ(panel().shownCamera(), panel().devicesArray().back());
    EXPECT_EQ(integer(storedProfile(1), brightness()), camera(1)->controlValue(control::brightness))
        << "the camera's own default";
    EXPECT_EQ(records().size(), 3U);
    expectProfilesAreKept();
    pullOut(1);
    plugInto(1, 1);
    expectProfilesOf(1, 2, 1);
}

INSTANTIATE_TEST_SUITE_P(With, PanelSwappedCameras,
                         ::testing::Values(Serials{"DifferentSerialNumbers", {"TVC-1001", "TVC-1002"}},
                                           Serials{"EqualSerialNumbers", {"TVC-1001", "TVC-1001"}},
                                           Serials{"NoSerialNumbers", {"", ""}}),
                         [](const auto& serials) { return std::string(serials.param.name); });

} // namespace
} // namespace tavelo
