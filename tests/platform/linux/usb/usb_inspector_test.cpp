// SPDX-License-Identifier: MIT
#include "platform/linux/usb/usb_inspector.h"

#include <gmock/gmock.h>

#include "fake_usb_camera.h"

namespace tavelo::test {
namespace {

using Bytes = FakeUsbCamera::Bytes;

class UsbInspectorTest : public ::testing::Test {
protected:
    RawAnswer ask(UvcRequest request, ControlAddress control, std::uint16_t length = 2) {
        return inspector.ask({virtualCameraModel(1).unitID, control.selector, codeOf(request), length});
    }

    FakeUsbCamera camera{virtualCameraModel(1)};
    Error error;
    UsbInspector inspector{camera.open({1, 5}, error), 0};
};

TEST_F(UsbInspectorTest, SendsTheRequestAsItIs) {
    EXPECT_EQ(ask(UvcRequest::getMin, control::brightness), (RawAnswer{AnswerKind::answered, {0xC0, 0xFF}}));
    const auto requests = camera.requests();
    ASSERT_EQ(requests.size(), 1U);
    const auto entity = static_cast<std::uint16_t>(virtualCameraModel(1).unitID << 8);
    EXPECT_EQ(requests[0].setup, (UsbSetupPacket{0xA1, 0x82, 0x0200, entity}));
    EXPECT_EQ(requests[0].data.size(), 2U);
}

TEST_F(UsbInspectorTest, KeepsAShortAnswerShort) {
    EXPECT_EQ(ask(UvcRequest::getInfo, control::brightness, 8).bytes, Bytes{3});
}

TEST_F(UsbInspectorTest, AStalledRangeStaysStalled) {
    // Here the panel's interface answers for the class.
    EXPECT_EQ(ask(UvcRequest::getMin, control::autoHue, 1), (RawAnswer{AnswerKind::stalled, {}}));
}

TEST_F(UsbInspectorTest, TellsSilenceAbsenceAndOtherFailures) {
    struct Case {
        ErrorCode code;
        AnswerKind kind;
    };
    for (const Case& each :
         {Case{ErrorCode::timeout, AnswerKind::timedOut}, Case{ErrorCode::gone, AnswerKind::gone},
          Case{ErrorCode::failed, AnswerKind::failed}, Case{ErrorCode::denied, AnswerKind::failed}}) {
        camera.failRequest(codeOf(UvcRequest::getCur), control::gain.selector, each.code);
        EXPECT_EQ(ask(UvcRequest::getCur, control::gain), (RawAnswer{each.kind, {}}));
    }
}

TEST_F(UsbInspectorTest, DoesNotAskForMoreThanTheKernelCarries) {
    EXPECT_EQ(ask(UvcRequest::getCur, control::gain, 4097).kind, AnswerKind::notAsked);
    EXPECT_TRUE(camera.requests().empty());
    EXPECT_EQ(ask(UvcRequest::getCur, control::gain, 4096).kind, AnswerKind::answered);
}

TEST_F(UsbInspectorTest, HasNoDriverInBetween) {
    EXPECT_EQ(inspector.sourceOf(5), AnswerSource::camera);
    EXPECT_EQ(inspector.driverView(5, 2).kind, AnswerKind::notAsked);
    EXPECT_EQ(inspector.transport(), "usb");
    EXPECT_EQ(inspector.node(), "");
}

} // namespace
} // namespace tavelo::test
