// SPDX-License-Identifier: MIT
#include "platform/linux/kernel/control_interface.h"

#include <gmock/gmock.h>
#include <linux/videodev2.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <thread>

#include "fake_control_node.h"
#include "platform/linux/wake_event.h"
#include "support/recorded_diagnostics.h"

namespace tavelo::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr std::uint8_t getCur = 0x81;
constexpr std::uint8_t setCur = 0x01;

struct Answer {
    ErrorCode status;
    std::vector<std::uint8_t> bytes;
    std::uint32_t bytesDone;
};

Answer ask(UsbInterface& interface, std::uint8_t type, std::uint8_t code, std::uint8_t entity,
           std::uint8_t selector, std::vector<std::uint8_t> data, std::uint8_t number = 0) {
    UsbControlRequest request{type,
                              code,
                              std::uint16_t(selector << 8),
                              std::uint16_t(entity << 8 | number),
                              std::uint16_t(data.size()),
                              data.data(),
                              77};
    const ErrorCode status = interface.ControlRequest(request);
    return {status, data, request.bytesDone};
}

Answer read(UsbInterface& interface, std::uint8_t entity, std::uint8_t selector, std::uint8_t code = getCur,
            std::size_t length = 2) {
    return ask(interface, 0xA1, code, entity, selector, std::vector<std::uint8_t>(length, 0));
}

Answer write(UsbInterface& interface, std::uint8_t entity, std::uint8_t selector,
             std::vector<std::uint8_t> data) {
    return ask(interface, 0x21, setCur, entity, selector, std::move(data));
}

class KernelInterface : public ::testing::Test {
protected:
    KernelInterface() { device->controls = everyControl(); }

    std::shared_ptr<FakeControlNode> device = std::make_shared<FakeControlNode>();
    testing::RecordedDiagnostics diagnostics;
    KernelControlInterface interface { device, {0, 3, 5, "/dev/video0"}, diagnostics };
};

TEST_F(KernelInterface, AnswersReadsOfBothEntities) {
    const auto brightness = read(interface, 5, 2);
    EXPECT_EQ(brightness.status, ErrorCode::none);
    EXPECT_EQ(brightness.bytesDone, 2U);
    EXPECT_THAT(brightness.bytes, ElementsAre(0xFD, 0xFF));
    EXPECT_THAT(read(interface, 3, 11).bytes, ElementsAre(100, 0));
}

TEST_F(KernelInterface, DeliversTheCamerasLengthWhateverWasAsked) {
    const auto powerLine = read(interface, 5, 5, getCur, 2);
    EXPECT_EQ(powerLine.bytesDone, 1U);
    EXPECT_THAT(powerLine.bytes, ElementsAre(1, 0));
    EXPECT_EQ(read(interface, 5, 10, getCur, 4).bytesDone, 2U);
    EXPECT_EQ(read(interface, 5, 2, getCur, 1).bytesDone, 1U);
    EXPECT_EQ(read(interface, 5, 2, getCur, 0).bytesDone, 0U);
}

TEST_F(KernelInterface, WritesAndCountsTheBytesThatMoved) {
    const auto reply = write(interface, 5, 2, {0x05, 0x00});
    EXPECT_EQ(reply.status, ErrorCode::none);
    EXPECT_EQ(reply.bytesDone, 2U);
    EXPECT_THAT(device->writes(), ElementsAre(ElementsAre(V4l2ControlValue{V4L2_CID_BRIGHTNESS, 5})));
    EXPECT_THAT(diagnostics.lines(), IsEmpty());
}

TEST_F(KernelInterface, AfterAWriteTheDataHoldWhatTheDriverTook) {
    EXPECT_THAT(write(interface, 5, 10, {0x79, 0x17}).bytes, ElementsAre(0x7A, 0x17)); // 6009 is 6010
    EXPECT_THAT(write(interface, 5, 2, {0x05, 0x00}).bytes, ElementsAre(0x05, 0x00));
}

TEST_F(KernelInterface, ARefusedWriteLeavesTheDataAlone) {
    device->controls[V4L2_CID_WHITE_BALANCE_TEMPERATURE].setError = EACCES;
    EXPECT_THAT(write(interface, 5, 10, {0x79, 0x17}).bytes, ElementsAre(0x79, 0x17));
}

TEST_F(KernelInterface, PanningLeavesATiltAloneThatAnotherProgramMoved) {
    auto value = read(interface, 3, 13, getCur, 8).bytes;
    device->controls[V4L2_CID_TILT_ABSOLUTE].value = -18000; // set by another program
    std::ranges::copy(std::vector<std::uint8_t>{0x10, 0x0E, 0, 0}, value.begin());
    const auto panned = write(interface, 3, 13, value);
    EXPECT_EQ(panned.status, ErrorCode::none);
    EXPECT_EQ(panned.bytesDone, 8U);
    EXPECT_EQ(device->controls[V4L2_CID_TILT_ABSOLUTE].value, -18000);
    EXPECT_EQ(device->controls[V4L2_CID_PAN_ABSOLUTE].value, 3600);

    device->controls[V4L2_CID_PAN_ABSOLUTE].value = -36000; // set by another program again
    std::ranges::copy(std::vector<std::uint8_t>{0, 0, 0, 0}, value.begin() + 4);
    write(interface, 3, 13, value);
    EXPECT_EQ(device->controls[V4L2_CID_PAN_ABSOLUTE].value, -36000);
    EXPECT_EQ(device->controls[V4L2_CID_TILT_ABSOLUTE].value, 0);
}

TEST_F(KernelInterface, AfterARefusalTheHalvesAreThoseOfTheLastValueThatWasTaken) {
    auto value = read(interface, 3, 13, getCur, 8).bytes;
    const auto before = value;
    device->controls[V4L2_CID_PAN_ABSOLUTE].setError = EPIPE;
    std::ranges::copy(std::vector<std::uint8_t>{0x10, 0x0E, 0, 0}, value.begin());
    EXPECT_EQ(write(interface, 3, 13, value).status, ErrorCode::refused);
    device->controls[V4L2_CID_PAN_ABSOLUTE].setError = 0;
    EXPECT_EQ(write(interface, 3, 13, value).status, ErrorCode::none);
    EXPECT_THAT(device->writes(), ElementsAre(ElementsAre(V4l2ControlValue{V4L2_CID_PAN_ABSOLUTE, 3600})));
    EXPECT_NE(value, before);
}

TEST(KernelHeldPair, AnAnswerDoesNotReplaceWhatWasWrittenWhileItWasAwaited) {
    HeldPair pair;
    pair.setRead({1}, pair.writes());
    EXPECT_THAT(pair.get(), ElementsAre(1));
    const std::uint64_t before = pair.writes();
    pair.setWritten({2});
    pair.setRead({3}, before);
    EXPECT_THAT(pair.get(), ElementsAre(2));
    pair.setRead({4}, pair.writes());
    EXPECT_THAT(pair.get(), ElementsAre(4));
}

TEST_F(KernelInterface, WithoutAValueReadBeforeBothHalvesAreWritten) {
    write(interface, 3, 13, {0x10, 0x0E, 0, 0, 0, 0, 0, 0});
    ASSERT_EQ(device->writes().size(), 1U);
    EXPECT_EQ(device->writes().front().size(), 2U);
}

TEST_F(KernelInterface, UnknownEntitiesSelectorsAndInterfacesAnswerNothingAndRefuseNothing) {
    for (const std::uint8_t entity : std::vector<std::uint8_t>{0, 1, 2, 4, 255}) {
        EXPECT_EQ(read(interface, entity, 2).status, ErrorCode::none);
        EXPECT_EQ(read(interface, entity, 2).bytesDone, 0U);
        EXPECT_EQ(write(interface, entity, 2, {1, 0}).status, ErrorCode::none);
    }
    const auto relativeExposure = write(interface, 3, 5, {100, 0});
    EXPECT_EQ(relativeExposure.status, ErrorCode::none);
    EXPECT_EQ(relativeExposure.bytesDone, 0U);
    EXPECT_EQ(ask(interface, 0xA1, getCur, 5, 2, {0, 0}, 1).bytesDone, 0U);
    EXPECT_EQ(ask(interface, 0xA1, 0x42, 5, 2, {0, 0}).bytesDone, 0U);
    EXPECT_THAT(device->writes(), IsEmpty());
    EXPECT_THAT(diagnostics.lines(), IsEmpty());
}

TEST_F(KernelInterface, UnreadEntitiesGoByTheNumbersThatCallersThenUse) {
    KernelControlInterface unknown(device, {0, -1, -1, "/dev/video0"}, diagnostics);
    EXPECT_THAT(read(unknown, 1, 11).bytes, ElementsAre(100, 0));
    EXPECT_THAT(read(unknown, 2, 2).bytes, ElementsAre(0xFD, 0xFF));
    KernelControlInterface unitOnly(device, {0, -1, 1, "/dev/video0"}, diagnostics);
    EXPECT_THAT(read(unitOnly, 1, 2).bytes, ElementsAre(0xFD, 0xFF));
}

TEST_F(KernelInterface, OtherKindsOfRequestsFail) {
    EXPECT_EQ(ask(interface, 0x80, 0x06, 0, 1, {0, 0}).status, ErrorCode::failed);
    EXPECT_EQ(ask(interface, 0xC0, getCur, 5, 2, {0, 0}).status, ErrorCode::failed);
    UsbControlRequest withoutData{0xA1, getCur, 0x0200, 0x0500, 2, nullptr, 0};
    EXPECT_EQ(interface.ControlRequest(withoutData), ErrorCode::failed);
}

TEST_F(KernelInterface, AWriteThatIsNotSetCurIsRefused) {
    EXPECT_EQ(ask(interface, 0x21, 0x11, 5, 2, {1, 0}).status, ErrorCode::refused);
    EXPECT_THAT(device->writes(), IsEmpty());
}

TEST_F(KernelInterface, AStalledReadCompletesWithoutBytesAndIsReported) {
    device->controls[V4L2_CID_BRIGHTNESS].getError = EPIPE;
    const auto reply = read(interface, 5, 2);
    EXPECT_EQ(reply.status, ErrorCode::none);
    EXPECT_EQ(reply.bytesDone, 0U);
    EXPECT_THAT(diagnostics.lines(), ElementsAre("/dev/video0: GET_CUR of brightness: the camera refuses"));
}

TEST_F(KernelInterface, ARefusedWriteIsReportedInOneLine) {
    device->controls[V4L2_CID_WHITE_BALANCE_TEMPERATURE].setError = EACCES;
    const auto reply = write(interface, 5, 10, {0xA0, 0x0F, 0, 0});
    EXPECT_EQ(reply.status, ErrorCode::refused);
    EXPECT_EQ(reply.bytesDone, 0U);
    EXPECT_THAT(
        diagnostics.lines(),
        ElementsAre(
            "/dev/video0: SET_CUR of white balance: ruled by an automatic control, or not to be read"));
}

TEST_F(KernelInterface, AVanishedAndASilentCameraFail) {
    device->controls[V4L2_CID_GAIN].getError = ENODEV;
    device->controls[V4L2_CID_HUE].setError = ETIMEDOUT;
    EXPECT_EQ(read(interface, 5, 4).status, ErrorCode::gone);
    EXPECT_EQ(write(interface, 5, 6, {0, 0}).status, ErrorCode::timeout);
    device->controls[V4L2_CID_HUE].setError = ESHUTDOWN;
    EXPECT_EQ(write(interface, 5, 6, {0, 0}).status, ErrorCode::gone);
    EXPECT_THAT(diagnostics.lines(), ElementsAre("/dev/video0: GET_CUR of gain: the camera is gone",
                                                 "/dev/video0: SET_CUR of hue: the camera does not answer",
                                                 "/dev/video0: SET_CUR of hue: the camera is gone"));
}

TEST_F(KernelInterface, ClosesForGood) {
    interface.USBInterfaceClose();
    interface.USBInterfaceClose();
    EXPECT_EQ(read(interface, 5, 2).status, ErrorCode::closed);
    EXPECT_EQ(write(interface, 5, 2, {1, 0}).status, ErrorCode::closed);
    EXPECT_EQ(write(interface, 99, 99, {1, 0}).status, ErrorCode::closed);
    EXPECT_EQ(read(interface, 5, 2).bytesDone, 0U);
    EXPECT_THAT(device->writes(), IsEmpty());
    EXPECT_EQ(interface.GetInterfaceNumber(), 0);
}

TEST_F(KernelInterface, ClosingLetsGoOfTheNode) {
    std::weak_ptr<FakeControlNode> node = device;
    device.reset();
    EXPECT_FALSE(node.expired());
    interface.USBInterfaceClose();
    EXPECT_TRUE(node.expired());
}

// Blocks in a write until released, like a silent camera does for five seconds.
class SilentNode final : public V4l2Node {
public:
    int control(unsigned long request, void* argument) override {
        if (request == VIDIOC_QUERYCTRL) static_cast<v4l2_queryctrl*>(argument)->maximum = 100;
        if (request != VIDIOC_S_EXT_CTRLS) return 0;
        entered.set();
        return answer.waitFor(std::chrono::seconds(60)) ? 0 : ETIMEDOUT;
    }
    V4l2Mapping map(std::size_t /*length*/, std::uint32_t /*offset*/) override { return nullptr; }
    int descriptor() const override { return -1; }

    WakeEvent entered;
    WakeEvent answer;
};

// With an extension unit 7.
class KernelInterfaceUnits : public ::testing::Test {
protected:
    KernelInterfaceUnits() {
        device->controls = everyControl();
        device->units[{7, 4, getCur}] = {{1, 2, 3}};
        device->unitValues[{7, 4}] = {{0, 0, 0}};
    }

    int lastError(int error, bool isWrite) {
        device->units[{7, 4, getCur}].error = error;
        device->unitValues[{7, 4}].error = error;
        const Answer answer = isWrite ? write(interface, 7, 4, {9, 8, 7}) : read(interface, 7, 4, getCur, 3);
        EXPECT_EQ(answer.bytesDone, 0U) << error;
        return static_cast<int>(answer.status);
    }

    std::shared_ptr<FakeControlNode> device = std::make_shared<FakeControlNode>();
    testing::RecordedDiagnostics diagnostics;
    KernelControlInterface interface {
        device, {0, 3, 5, "/dev/video0", {ExtensionUnit{7, {}, {}}}}, diagnostics
    };
};

TEST_F(KernelInterfaceUnits, AReadIsTheDriversQuery) {
    const auto answer = read(interface, 7, 4, getCur, 3);
    EXPECT_EQ(answer.status, ErrorCode::none);
    EXPECT_EQ(answer.bytesDone, 3U);
    EXPECT_THAT(answer.bytes, ElementsAre(1, 2, 3));
    device->units[{7, 4, 0x85}] = {{3, 0}};
    EXPECT_THAT(read(interface, 7, 4, 0x85, 2).bytes, ElementsAre(3, 0));
}

TEST_F(KernelInterfaceUnits, AWriteIsTheDriversQueryToo) {
    const auto answer = write(interface, 7, 4, {9, 8, 7});
    EXPECT_EQ(answer.status, ErrorCode::none);
    EXPECT_EQ(answer.bytesDone, 3U);
    EXPECT_THAT((device->unitValues[{7, 4}].bytes), ElementsAre(9, 8, 7));
    EXPECT_THAT(device->writes(), IsEmpty()) << "no V4L2 control is involved";
    EXPECT_THAT(diagnostics.lines(), IsEmpty());
}

TEST_F(KernelInterfaceUnits, AStalledReadIsAnAnswerAndAStalledWriteARefusal) {
    for (const int error : {EPIPE, EBUSY, EILSEQ, ERANGE, EIO, EINVAL, EACCES, ENOBUFS, EBADRQC}) {
        EXPECT_EQ(lastError(error, false), static_cast<int>(ErrorCode::none)) << error;
        EXPECT_EQ(lastError(error, true), static_cast<int>(ErrorCode::refused)) << error;
    }
}

TEST_F(KernelInterfaceUnits, WhatTheUnitDoesNotListIsAnsweredWithNothing) {
    for (const int error : {ENOENT, ENOTTY}) {
        EXPECT_EQ(lastError(error, false), static_cast<int>(ErrorCode::none)) << error;
        EXPECT_EQ(lastError(error, true), static_cast<int>(ErrorCode::none)) << error;
    }
    EXPECT_EQ(write(interface, 7, 5, {1}).status, ErrorCode::none);
    EXPECT_EQ(write(interface, 7, 5, {1}).bytesDone, 0U);
}

TEST_F(KernelInterfaceUnits, ALostCameraIsAFailure) {
    for (const bool isWrite : {false, true}) {
        EXPECT_EQ(lastError(ENODEV, isWrite), static_cast<int>(ErrorCode::gone));
        EXPECT_EQ(lastError(ETIMEDOUT, isWrite), static_cast<int>(ErrorCode::timeout));
        EXPECT_EQ(lastError(ENOMEM, isWrite), static_cast<int>(ErrorCode::failed));
    }
}

TEST_F(KernelInterfaceUnits, ARefusalIsReportedWithItsReason) {
    lastError(EPIPE, true);
    lastError(ENOBUFS, false);
    lastError(ENOENT, false);
    EXPECT_THAT(diagnostics.lines(),
                ElementsAre("/dev/video0: SET_CUR of control 4 of unit 7: the camera refuses",
                            "/dev/video0: GET_CUR of control 4 of unit 7: the driver knows another length"));
}

TEST_F(KernelInterfaceUnits, OtherEntitiesAndInterfacesAreNotAsked) {
    device->units[{8, 4, getCur}] = {{1, 2, 3}};
    EXPECT_EQ(read(interface, 8, 4, getCur, 3).bytesDone, 0U);
    EXPECT_EQ(ask(interface, 0xA1, getCur, 7, 4, {0, 0, 0}, 2).bytesDone, 0U);
    interface.USBInterfaceClose();
    EXPECT_EQ(read(interface, 7, 4, getCur, 3).status, ErrorCode::closed);
}

TEST_F(KernelInterfaceUnits, AUnitWithTheTerminalsIdentifierIsTheTerminal) {
    KernelControlInterface other(device, {0, 7, 5, "/dev/video0", {ExtensionUnit{7, {}, {}}}}, diagnostics);
    EXPECT_THAT(read(other, 7, 11).bytes, ElementsAre(100, 0)) << "the zoom";
}

TEST(KernelInterfaceThreads, ABlockedWriteHoldsUpNeitherReadersNorTheClose) {
    const auto device = std::make_shared<SilentNode>();
    testing::RecordedDiagnostics diagnostics;
    KernelControlInterface interface(device, {0, 3, 5, "/dev/video0"}, diagnostics);
    std::atomic<ErrorCode> written = ErrorCode::failed;
    std::thread writer([&] { written = write(interface, 5, 3, {1, 0}).status; });
    ASSERT_TRUE(device->entered.waitFor(std::chrono::seconds(60)));
    EXPECT_EQ(read(interface, 5, 3).status, ErrorCode::none);
    interface.USBInterfaceClose();
    EXPECT_EQ(read(interface, 5, 3).status, ErrorCode::closed);
    device->answer.set();
    writer.join();
    EXPECT_EQ(written, ErrorCode::none);
}

TEST(KernelInterfaceThreads, TwoThreadsMayAskAndAThirdClose) {
    const auto device = std::make_shared<FakeControlNode>();
    device->controls = everyControl();
    testing::RecordedDiagnostics diagnostics;
    KernelControlInterface interface(device, {0, 3, 5, "/dev/video0"}, diagnostics);
    std::atomic<int> asked = 0;
    const auto askOn = [&](std::uint8_t selector) {
        while (read(interface, 5, selector).status != ErrorCode::closed) {
            write(interface, 5, selector, {1, 0});
            ++asked;
        }
    };
    std::thread first([&] { askOn(2); });
    std::thread second([&] { askOn(3); });
    while (asked < 100)
        std::this_thread::yield();
    interface.USBInterfaceClose();
    first.join();
    second.join();
    EXPECT_GE(asked, 100);
}

} // namespace
} // namespace tavelo::test
