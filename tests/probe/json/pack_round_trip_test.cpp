// SPDX-License-Identifier: MIT
// A camera is probed, reborn from its pack, and probed again.
#include <gmock/gmock.h>

#include "platform/virtual/backend.h"
#include "platform/virtual/firmware/recorded_model.h"
#include "probe/camera_probe.h"
#include "probe/json/pack.h"
#include "support/manual_main_queue.h"

namespace tavelo {
namespace {

class PackRoundTrip : public ::testing::Test {
protected:
    std::shared_ptr<VirtualCameraFirmware> plug(VirtualCameraModel model) {
        return backend.bus->plug(std::move(model));
    }

    // The camera at this place of the bus.
    CameraRecord probe(std::size_t place) {
        Error error;
        auto record =
            probeCamera(*backend.usb->listDevices().at(place), std::nullopt, {"1.2.3", "6.1.0"}, error);
        EXPECT_TRUE(record) << error.text;
        return record.value_or(CameraRecord());
    }

    std::shared_ptr<VirtualCameraFirmware> reborn(const std::string& pack, int number = 9) {
        Error error;
        const auto record = readPack(pack, error);
        EXPECT_TRUE(record) << error.text;
        auto model = modelLike(record.value_or(CameraRecord()), number, error);
        EXPECT_TRUE(model) << error.text;
        return model ? plug(std::move(*model)) : nullptr;
    }

    testing::ManualMainQueue mainQueue;
    VirtualBackend backend = makeVirtualBackend(0, {}, mainQueue);
};

FirmwareFault fault(FaultKind kind, ControlAddress control, std::optional<UvcRequest> request = {}) {
    FirmwareFault fault;
    fault.kind = kind;
    fault.control = control;
    fault.request = request;
    return fault;
}

TEST_F(PackRoundTrip, TheSoftwareCameraIsRebornByteForByte) {
    for (const int number : {1, 2}) {
        const auto camera = plug(virtualCameraModel(number));
        const std::string pack = writePack(probe(0));
        camera->vanish();
        const auto second = reborn(pack);
        ASSERT_TRUE(second);
        EXPECT_EQ(writePack(probe(0)), pack);
        second->vanish();
    }
}

TEST_F(PackRoundTrip, AChangedValueIsPartOfThePack) {
    const auto camera = plug(virtualCameraModel(1));
    const std::string before = writePack(probe(0));
    ASSERT_TRUE(camera->setControlValue(control::brightness, -7));
    const std::string pack = writePack(probe(0));
    EXPECT_NE(pack, before);
    camera->vanish();
    const auto second = reborn(pack);
    EXPECT_EQ(second->controlValue(control::brightness), -7);
    EXPECT_EQ(writePack(probe(0)), pack);
}

TEST_F(PackRoundTrip, ABulkCameraIsReborn) {
    VirtualCameraModel model = virtualCameraModel(1);
    model.transport = StreamTransport::bulk;
    const auto camera = plug(std::move(model));
    const std::string pack = writePack(probe(0));
    camera->vanish();
    EXPECT_EQ(reborn(pack)->model().transport, StreamTransport::bulk);
    EXPECT_EQ(writePack(probe(0)), pack);
}

TEST_F(PackRoundTrip, AnOddCameraIsRebornWithItsOddities) {
    const auto camera = plug(virtualCameraModel(1));
    camera->order(fault(FaultKind::stall, control::contrast, UvcRequest::getDef));
    FirmwareFault shortReply = fault(FaultKind::shortReply, control::zoom, UvcRequest::getCur);
    shortReply.length = 1;
    camera->order(shortReply);
    camera->order(fault(FaultKind::silence, control::hue));
    const CameraRecord record = probe(0);
    const std::string pack = writePack(record);
    camera->vanish();
    reborn(pack);
    const CameraRecord again = probe(0);
    EXPECT_EQ(writePack(again), pack);

    const auto recordOf = [&](std::uint8_t entity, ControlAddress address) {
        for (const ControlRecord& each : again.controls)
            if (each.entity == entity && each.selector == address.selector) return each;
        return ControlRecord();
    };
    const VirtualCameraModel model = virtualCameraModel(1);
    const auto contrast = recordOf(model.unitID, control::contrast);
    EXPECT_EQ(contrast.answerTo(UvcRequest::getDef).kind, AnswerKind::stalled);
    EXPECT_EQ(contrast.answerTo(UvcRequest::getCur).kind, AnswerKind::answered);
    EXPECT_EQ(recordOf(model.terminalID, control::zoom).answerTo(UvcRequest::getCur).bytes.size(), 1U);
    const auto hue = recordOf(model.unitID, control::hue);
    EXPECT_EQ(hue.answerTo(UvcRequest::getInfo).kind, AnswerKind::timedOut);
    EXPECT_EQ(hue.answerTo(UvcRequest::getMin).kind, AnswerKind::skipped);
}

TEST_F(PackRoundTrip, ThePackHoldsNeitherSerialNumberNorPlace) {
    plug(virtualCameraModel(1));
    const std::string pack = writePack(probe(0));
    EXPECT_THAT(pack, ::testing::HasSubstr(virtualCameraModel(1).product));
    EXPECT_THAT(pack, ::testing::Not(::testing::HasSubstr(virtualCameraModel(1).serial)));
    EXPECT_THAT(pack, ::testing::Not(::testing::HasSubstr("location")));
}

TEST_F(PackRoundTrip, ProbingWritesNothing) {
    const auto camera = plug(virtualCameraModel(1));
    probe(0);
    EXPECT_FALSE(camera->requestLog().empty());
    for (const RequestRecord& request : camera->requestLog())
        EXPECT_NE(request.setup.bmRequestType & uvc::directionIn, 0);
}

} // namespace
} // namespace tavelo
