// SPDX-License-Identifier: MIT
#include "platform/linux/usb/control_interface.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <optional>

#include "descriptor_builder.h"
#include "fake_usb_camera.h"
#include "support/recorded_diagnostics.h"

namespace tavelo::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr int getCur = 0x81;
constexpr int getMin = 0x82;
constexpr int getMax = 0x83;
constexpr int getInfo = 0x86;
constexpr int getDef = 0x87;

class ControlInterface : public ::testing::Test {
protected:
    void SetUp() override { open(ordinaryCamera()); }

    void open(const Bytes& configurationBytes) {
        interface.reset();
        auto claim = claims->acquire({{1, 5}, 0, {1}}, error);
        ASSERT_TRUE(claim) << error.text;
        interface = std::make_unique<UsbControlInterface>(
            std::move(claim), videoFunctionOf(configurationBytes, 0), "camera", diagnostics);
    }

    ErrorCode write(std::uint16_t selector, std::uint16_t entity, Bytes data) {
        last = {0x21,
                0x01,
                std::uint16_t(selector << 8),
                std::uint16_t(entity << 8),
                std::uint16_t(data.size()),
                data.data(),
                7};
        return interface->ControlRequest(last);
    }
    ErrorCode read(Bytes& data) {
        last = {0xA1, 0x81, 0x0200, 0x0500, std::uint16_t(data.size()), data.data(), 7};
        return interface->ControlRequest(last);
    }
    // The bytes received.
    Bytes ask(int request, int entity, int selector) {
        Bytes data(2, 0xEE);
        last = {0xA1,
                std::uint8_t(request),
                std::uint16_t(selector << 8),
                std::uint16_t(entity << 8),
                std::uint16_t(data.size()),
                data.data(),
                7};
        lastStatus = interface->ControlRequest(last);
        data.resize(last.bytesDone);
        return data;
    }
    void answerWith(UsbResult result) {
        camera->answer([result](const UsbSetupPacket&, std::span<std::uint8_t>) { return result; });
    }

    testing::RecordedDiagnostics diagnostics;
    std::shared_ptr<FakeUsbCamera> camera = std::make_shared<FakeUsbCamera>();
    std::optional<UsbCameraClaims> claims{std::in_place, camera, nullptr, diagnostics};
    Error error;
    std::unique_ptr<UsbControlInterface> interface;
    UsbControlRequest last;
    ErrorCode lastStatus = ErrorCode::none;
};

TEST_F(ControlInterface, SendsEveryFieldAsItWasBuiltAndWaitsOneSecond) {
    EXPECT_EQ(write(0x0D, 3, {1, 2, 3, 4, 5, 6, 7, 8}), ErrorCode::none);
    EXPECT_EQ(last.bytesDone, 8U);
    ASSERT_THAT(camera->requests(), SizeIs(1));
    const FakeUsbCamera::Request sent = camera->requests().front();
    EXPECT_EQ(sent.setup.requestType, 0x21);
    EXPECT_EQ(sent.setup.request, 0x01);
    EXPECT_EQ(sent.setup.value, 0x0D00);
    EXPECT_EQ(sent.setup.index, 0x0300);
    EXPECT_THAT(sent.data, ElementsAre(1, 2, 3, 4, 5, 6, 7, 8));
    EXPECT_EQ(sent.patience, std::chrono::seconds(1));
}

TEST_F(ControlInterface, AReadFillsTheCallersBytes) {
    camera->answer([](const UsbSetupPacket&, std::span<std::uint8_t> data) {
        data[0] = 0xFD;
        data[1] = 0xFF;
        return UsbResult{ErrorCode::none, 2};
    });
    Bytes data(2);
    EXPECT_EQ(read(data), ErrorCode::none);
    EXPECT_EQ(last.bytesDone, 2U);
    EXPECT_THAT(data, ElementsAre(0xFD, 0xFF));
}

TEST_F(ControlInterface, AShortReadTellsHowMuchCame) {
    answerWith({ErrorCode::none, 1});
    Bytes data(4);
    EXPECT_EQ(read(data), ErrorCode::none);
    EXPECT_EQ(last.bytesDone, 1U);
}

TEST_F(ControlInterface, AStalledReadIsAnAnswerWithoutBytes) {
    answerWith({ErrorCode::refused});
    Bytes data(2);
    EXPECT_EQ(read(data), ErrorCode::none);
    EXPECT_EQ(last.bytesDone, 0U);
    EXPECT_THAT(diagnostics.lines(), IsEmpty());
}

TEST_F(ControlInterface, TheClassAnswersForAPowerLineFrequencyWhoseRangeIsStalled) {
    answerWith({ErrorCode::refused});
    EXPECT_THAT(ask(getMin, 5, 5), ElementsAre(0));
    EXPECT_THAT(ask(getMax, 5, 5), ElementsAre(2));
    EXPECT_THAT(diagnostics.lines(),
                ElementsAre(HasSubstr("request 0x82 of control 5 of entity 5: not answered, the class"),
                            HasSubstr("request 0x83 of control 5 of entity 5: not answered, the class")));
    open(configuration({videoControl(0), header(0x0150), cameraTerminal(3, {0xFF, 0xFF, 0x07}),
                        processingUnit(5, 3, {0xFF, 0x7F}, {0, 0}), interfaceDescriptor(1, 2)}));
    EXPECT_THAT(ask(getMax, 5, 5), ElementsAre(3));
}

TEST_F(ControlInterface, TheClassAnswersForSwitchesAndTheExposureMode) {
    answerWith({ErrorCode::refused});
    EXPECT_THAT(ask(getMin, 3, 2), ElementsAre(1));
    EXPECT_THAT(ask(getMax, 3, 2), ElementsAre(8));
    for (const auto& [entity, selector] : {std::pair(3, 1), {3, 3}, {3, 8}, {5, 11}, {5, 13}, {5, 16}}) {
        EXPECT_THAT(ask(getMin, entity, selector), ElementsAre(0)) << selector;
        EXPECT_THAT(ask(getMax, entity, selector), ElementsAre(1)) << selector;
    }
}

TEST_F(ControlInterface, TheClassAnswersNothingThatTheCameraMustAnswer) {
    answerWith({ErrorCode::refused});
    for (const int request : {getCur, getInfo, getDef})
        EXPECT_THAT(ask(request, 5, 5), IsEmpty()) << request;
    for (const int request : {getMin, getMax}) {
        EXPECT_THAT(ask(request, 5, 2), IsEmpty()); // brightness
        EXPECT_THAT(ask(request, 3, 5), IsEmpty()); // on the terminal this is the relative exposure time
        EXPECT_THAT(ask(request, 9, 5), IsEmpty()); // no such entity
    }
    EXPECT_THAT(diagnostics.lines(), IsEmpty());
}

TEST_F(ControlInterface, TheClassAnswersForNoControlThatTheDescriptorsDoNotList) {
    open(configuration({videoControl(0), header(0x0110), cameraTerminal(3, {0x02, 0, 0}),
                        processingUnit(5, 3, {0x01, 0}, {0, 0}), interfaceDescriptor(1, 2)}));
    answerWith({ErrorCode::refused});
    EXPECT_THAT(ask(getMin, 5, 5), IsEmpty());
    open(configuration({videoControl(0), interfaceDescriptor(1, 2)}));
    EXPECT_THAT(ask(getMax, 2, 5), ElementsAre(2)); // unreadable descriptors: the usual identifiers
}

TEST_F(ControlInterface, TheClassAnswersNothingWithoutAPlaceForIt) {
    answerWith({ErrorCode::refused});
    UsbControlRequest request{0xA1, getMin, 0x0500, 0x0500, 0, nullptr, 7};
    EXPECT_EQ(interface->ControlRequest(request), ErrorCode::none);
    EXPECT_EQ(request.bytesDone, 0U);
    EXPECT_THAT(diagnostics.lines(), IsEmpty());
}

TEST_F(ControlInterface, TheClassAnswersForNoSilentCamera) {
    answerWith({ErrorCode::timeout});
    EXPECT_THAT(ask(getMin, 5, 5), IsEmpty());
    EXPECT_EQ(lastStatus, ErrorCode::timeout);
}

TEST_F(ControlInterface, AStalledWriteToAListedControlIsARefusal) {
    answerWith({ErrorCode::refused});
    EXPECT_EQ(write(0x02, 5, {1, 0}), ErrorCode::refused); // brightness
    EXPECT_EQ(write(0x05, 3, {1}), ErrorCode::refused);    // exposure time, relative
    EXPECT_EQ(last.bytesDone, 0U);
    EXPECT_THAT(diagnostics.lines(), ElementsAre(HasSubstr("control 2 of entity 5: the camera refuses"),
                                                 HasSubstr("control 5 of entity 3")));
}

TEST_F(ControlInterface, AStalledWriteToAnUnlistedControlSucceedsWithoutEffect) {
    open(configuration({videoControl(0), header(0x0110), cameraTerminal(3, {0x02, 0, 0}),
                        processingUnit(5, 3, {0x01, 0}, {0, 0}), interfaceDescriptor(1, 2)}));
    answerWith({ErrorCode::refused});
    EXPECT_EQ(write(0x02, 5, {1, 0}), ErrorCode::refused); // brightness is listed
    EXPECT_EQ(write(0x03, 5, {1, 0}), ErrorCode::none);    // contrast is not
    EXPECT_EQ(write(0x02, 3, {1}), ErrorCode::refused);
    EXPECT_EQ(write(0x02, 9, {1, 0}), ErrorCode::none); // no such entity
}

TEST_F(ControlInterface, AStalledWriteToAListedControlOfAnExtensionUnitIsARefusal) {
    open(configuration({videoControl(0), header(0x0110), cameraTerminal(3, {0xFF}),
                        processingUnit(5, 3, {0xFF}), extensionUnit(7, Bytes(16, 1), {5}, {0b10})}));
    answerWith({ErrorCode::refused, 0});
    EXPECT_EQ(write(2, 7, {1, 0}), ErrorCode::refused);
    EXPECT_EQ(write(1, 7, {1, 0}), ErrorCode::none) << "not listed";
}

TEST_F(ControlInterface, ACameraWhoseControlMapsCannotBeReadRefusesWhatItStalls) {
    open(configuration({videoControl(0), interfaceDescriptor(1, 2)}));
    answerWith({ErrorCode::refused});
    EXPECT_EQ(write(0x02, 2, {1, 0}), ErrorCode::refused);
}

TEST_F(ControlInterface, AClosedInterfaceSendsNothingMoreAndKeepsItsNumberAndItsCamera) {
    interface->USBInterfaceClose();
    interface->USBInterfaceClose();
    Bytes data(2);
    EXPECT_EQ(read(data), ErrorCode::closed);
    EXPECT_EQ(write(0x02, 5, {1, 0}), ErrorCode::closed);
    EXPECT_THAT(camera->requests(), IsEmpty());
    EXPECT_EQ(interface->GetInterfaceNumber(), 0);
    EXPECT_EQ(camera->holder(0), FakeUsbCamera::Holder::us);
    interface.reset();
    claims.reset(); // which waits for the return
    EXPECT_EQ(camera->holder(0), FakeUsbCamera::Holder::driver);
}

TEST_F(ControlInterface, ARequestWithoutAPlaceForItsDataIsNotSent) {
    UsbControlRequest request{0xA1, 0x81, 0x0200, 0x0500, 2, nullptr, 0};
    EXPECT_EQ(interface->ControlRequest(request), ErrorCode::failed);
    EXPECT_THAT(camera->requests(), IsEmpty());
}

struct LinkFault {
    ErrorCode error;
    ErrorCode expected;
};

class LinkFaults : public ControlInterface, public ::testing::WithParamInterface<LinkFault> {};

TEST_P(LinkFaults, FailReadsAndWritesAlikeAndAreReported) {
    answerWith({GetParam().error});
    Bytes data(2);
    EXPECT_EQ(read(data), GetParam().expected);
    EXPECT_EQ(last.bytesDone, 0U);
    EXPECT_EQ(write(0x02, 5, {1, 0}), GetParam().expected);
    EXPECT_EQ(last.bytesDone, 0U);
    EXPECT_THAT(diagnostics.lines(), SizeIs(2));
}

INSTANTIATE_TEST_SUITE_P(All, LinkFaults,
                         ::testing::Values(LinkFault{ErrorCode::timeout, ErrorCode::timeout},
                                           LinkFault{ErrorCode::gone, ErrorCode::gone},
                                           LinkFault{ErrorCode::denied, ErrorCode::denied},
                                           LinkFault{ErrorCode::invalid, ErrorCode::failed},
                                           LinkFault{ErrorCode::failed, ErrorCode::failed},
                                           LinkFault{ErrorCode::busy, ErrorCode::failed}));

} // namespace
} // namespace tavelo::test
