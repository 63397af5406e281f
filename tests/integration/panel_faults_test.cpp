// SPDX-License-Identifier: MIT
// One camera fails in every way that there is, one way after the other; the window and the other camera go
// on.
#include <QMessageBox>

#include "integration/fault_campaign.h"
#include "platform/uvc/camera_record.h"
#include "uvc/control_table.h"

namespace tavelo {
namespace {

using namespace std::chrono_literals;

using PanelFaults = FaultCampaign;

ControlAddress addressOf(const ControlRow& row) {
    return {
        row.unit == KTUVCControlInfo::cameraTerminal ? UvcEntity::cameraTerminal : UvcEntity::processingUnit,
        static_cast<std::uint8_t>(row.selector)};
}

std::string nameOf(const ControlRow& row, UvcRequest request) {
    return std::string(row.text) + ", " + std::string(tavelo::nameOf(request));
}

TEST_F(PanelFaults, EachControlStallsAtEachRequestInTurn) {
    startWithBoth();
    for (const ControlRow& row : controlTable()) {
        for (int code = 0; code <= static_cast<int>(controlReads.size()); ++code) {
            const bool writes = code == static_cast<int>(controlReads.size());
            const UvcRequest request =
                writes ? UvcRequest::setCur : controlReads.at(static_cast<std::size_t>(code));
            SCOPED_TRACE(nameOf(row, request));
            usb().setHooks({});
            camera(1)->order({.kind = FaultKind::stall, .control = addressOf(row), .request = request});
            ASSERT_TRUE(show(1));
            use();
            camera(1)->clearFaults();
            expectNoHarm();
        }
    }
    EXPECT_EQ(rounds_, controlCount * (controlReads.size() + 1));
    expectCameraWorks(1);
}

/// What the first camera answers to one read of one control.
struct Reply {
    const char* name;
    FirmwareFault fault;
    /// Bytes that the transport claims beyond those that were asked for.
    std::uint32_t beyond = 0;
    ErrorCode code = ErrorCode::none;
};

class PanelReplies : public FaultCampaign, public ::testing::WithParamInterface<Reply> {
protected:
    void spoil(ControlAddress control, UvcRequest request) {
        FirmwareFault fault = GetParam().fault;
        fault.control = control;
        fault.request = request;
        if (GetParam().beyond == 0) return camera(1)->order(fault);
        const std::uint8_t entity = control.entity == UvcEntity::cameraTerminal
                                        ? camera(1)->model().terminalID
                                        : camera(1)->model().unitID;
        usb().setHooks({.after = [=, reply = GetParam()](UsbControlRequest& asked, ErrorCode& code) {
            if (asked.bRequest != codeOf(request) || asked.wIndex >> 8U != entity ||
                asked.wValue >> 8U != control.selector)
                return;
            asked.bytesDone = asked.wLength + reply.beyond;
            code = reply.code;
        }});
    }
};

TEST_P(PanelReplies, HarmOnlyTheCameraThatGivesThem) {
    startWithBoth();
    for (const ControlRow& row : controlTable()) {
        for (const UvcRequest request : controlReads) {
            SCOPED_TRACE(nameOf(row, request));
            usb().setHooks({});
            spoil(addressOf(row), request);
            ASSERT_TRUE(show(1));
            use();
            camera(1)->clearFaults();
            usb().setHooks({});
            expectNoHarm();
        }
    }
    EXPECT_EQ(rounds_, controlCount * controlReads.size());
    expectCameraWorks(1);
}

INSTANTIATE_TEST_SUITE_P(Each, PanelReplies,
                         ::testing::Values(Reply{"Empty", {.kind = FaultKind::shortReply, .length = 0}},
                                           Reply{"Short", {.kind = FaultKind::shortReply, .length = 1}},
                                           Reply{"Late", {.kind = FaultKind::delay, .wait = 5ms}},
                                           Reply{"Missing", {.kind = FaultKind::silence}},
                                           Reply{"Long", {}, 56},
                                           Reply{"Overflowing", {}, 1, ErrorCode::failed}),
                         [](const auto& reply) { return std::string(reply.param.name); });

/// The first camera is pulled out and plugged in again.
class PanelVanishing : public FaultCampaign {
protected:
    /// It is gone before this request reaches it.
    void vanishAt(std::size_t number) {
        vanished_ = false;
        usb().setHooks({.before = [this, number](const UsbControlRequest&, std::size_t asked) {
            if (asked == number) vanish();
        }});
    }

    void vanish() { vanished_ = backend_.bus->unplug(1); }

    /// The panel shows the other camera, and the first one comes back as new.
    void expectNoHarmAndPlugIn() {
        usb().setHooks({});
        ASSERT_TRUE(vanished_);
        ASSERT_TRUE(waitFor([this] { return panel().devicesArray().size() == 1; }));
        expectNoHarm();
        plug(1);
        ASSERT_TRUE(waitFor([this] { return panel().devicesArray().size() == 2; }));
    }

    std::atomic<bool> vanished_ = false;
};

TEST_F(PanelVanishing, AtEachOfTheFirst200Requests) {
    constexpr std::size_t requests = 200;
    startWithBoth();
    for (std::size_t number = 1; number <= requests; ++number) {
        SCOPED_TRACE(number);
        vanishAt(number);
        show(1);
        // A binding has about a hundred; then the camera is used until it is gone.
        for (int times = 0; times < 10 && !vanished_; ++times)
            use();
        expectNoHarmAndPlugIn();
    }
    EXPECT_EQ(rounds_, requests);
    expectCameraWorks(1);
}

TEST_F(PanelVanishing, AtEachStepOfADrag) {
    constexpr int steps = 8;
    startWithBoth();
    for (int time = 0; time < 3; ++time) {
        for (int at = 0; at <= steps + 1; ++at) {
            SCOPED_TRACE(at);
            usb().setHooks({});
            ASSERT_TRUE(show(1));
            KTSlider* slider = view().brightnessSlider();
            for (int step = 0; step <= steps + 1; ++step) {
                if (step == at) vanish();
                const double share = static_cast<double>(step) / (steps + 1);
                if (step == 0)
                    press(slider, share);
                else if (step <= steps)
                    move(slider, share);
                else
                    release(slider, share);
            }
            expectNoHarmAndPlugIn();
        }
    }
    expectCameraWorks(1);
}

TEST_F(PanelVanishing, AtEachWriteOfAPush) {
    startWithBoth();
    for (QWidget* button : {static_cast<QWidget*>(view().profile2Button()),
                            static_cast<QWidget*>(view().restoreProfileButton())}) {
        ASSERT_TRUE(show(1));
        usb().setHooks({});
        click(button);
        QThreadPool::globalInstance()->waitForDone();
        QCoreApplication::processEvents();
        const std::size_t requests = usb().requests();
        ASSERT_GT(requests, 7U);
        ASSERT_TRUE(show(2));
        for (std::size_t number = 1; number <= requests; ++number) {
            SCOPED_TRACE(number);
            ASSERT_TRUE(show(1));
            vanishAt(number);
            click(button);
            QThreadPool::globalInstance()->waitForDone();
            if (!vanished_) vanish(); // it needed fewer this time
            expectNoHarmAndPlugIn();
        }
    }
    expectCameraWorks(1);
}

class PanelVanishingAtASave : public PanelVanishing {
protected:
    /// With the profile that the camera has.
    void startSave() {
        click(view().profile1Button());
        QThreadPool::globalInstance()->waitForDone();
        QCoreApplication::processEvents();
        QObject::connect(&dismissing_, &QTimer::timeout, &dismissing_, [] {
            if (auto* alert = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) alert->accept();
        });
        dismissing_.start(0);
    }
    void endSave() {
        bool written = false;
        store_.synchronize([&written](bool) { written = true; });
        ASSERT_TRUE(waitFor([&written] { return written && QApplication::activeModalWidget() == nullptr; }));
        EXPECT_TRUE(store_.flushed());
        dismissing_.disconnect();
        dismissing_.stop();
    }

    QTimer dismissing_; // the alert
};

TEST_F(PanelVanishingAtASave, BeforeDuringAndAfter) {
    startWithBoth();
    ASSERT_TRUE(show(1));
    startSave();
    click(view().saveProfileButton());
    endSave();
    rememberRecords();
    for (int round = 0; round < 30; ++round) {
        SCOPED_TRACE(round);
        ASSERT_TRUE(show(1));
        startSave();
        const int moment = round % 3;
        if (moment == 0) vanish();
        click(view().saveProfileButton());
        if (moment == 1) vanish();
        endSave();
        if (moment == 2) vanish();
        expectNoHarmAndPlugIn();
    }
    expectCameraWorks(1);
}

} // namespace
} // namespace tavelo
