// SPDX-License-Identifier: MIT
#include "probe/json/report_json.h"

#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include "platform/uvc/guid.h"
#include "platform/virtual/backend.h"
#include "platform/virtual/firmware/virtual_unit.h"
#include "probe/camera_probe.h"
#include "probe/video_function_search.h"
#include "support/manual_main_queue.h"

namespace tavelo {
namespace {

using Json = nlohmann::json;

class ReportJson : public ::testing::Test {
protected:
    Json report() {
        const auto found = findVideoFunction(
            *backend.usb, backend.capture->devicesWithMediaType(MediaType::video).at(0)->uniqueID());
        if (!found.device) return {};
        Error error;
        const auto record = probeCamera(*found.device, found.controlInterface, {"1.0.0", "6.1.0"}, error);
        return record ? Json::parse(reportJson(*record), nullptr, false) : Json();
    }

    testing::ManualMainQueue mainQueue;
    VirtualBackend backend = makeVirtualBackend(1, {}, mainQueue);
};

TEST_F(ReportJson, TellsTheCameraItsEntitiesAndItsFormats) {
    const Json json = report();
    ASSERT_TRUE(json.is_object());
    EXPECT_EQ(json["program"], "1.0.0");
    EXPECT_EQ(json["transport"], "virtual");
    EXPECT_EQ(json["identity"]["name"], "Tavelo Virtual Camera 1");
    EXPECT_EQ(json["identity"]["vendor"], "0x1209");
    EXPECT_EQ(json["identity"]["uvc"], "1.10");
    ASSERT_EQ(json["entities"].size(), 4U);
    EXPECT_EQ(json["entities"][0]["kind"], "camera terminal");
    EXPECT_EQ(json["entities"][3]["guid"], guidText(virtualUnitGuid));
    const Json& stream = json["streams"][0];
    EXPECT_EQ(stream["formats"][0]["name"], "YUY2");
    EXPECT_EQ(stream["formats"][1]["frames"][0]["width"], 1280);
    EXPECT_EQ(stream["settings"].size(), isochronousPacketSizes.size());
}

TEST_F(ReportJson, TellsEveryControlWithItsValues) {
    const Json json = report();
    ASSERT_TRUE(json.is_object());
    EXPECT_EQ(json["controls"].size(), firmwareControls().size() + VirtualUnit::controlCount);
    bool found = false;
    for (const Json& control : json["controls"]) {
        if (control["name"] != "brightness") continue;
        found = true;
        EXPECT_EQ(control["listed"], true);
        EXPECT_EQ(control["answers"]["GET_MIN"]["bytes"], "c0ff");
        EXPECT_EQ(control["answers"]["GET_MIN"]["value"], "-64");
        EXPECT_FALSE(control["answers"]["GET_LEN"].contains("value"));
        EXPECT_EQ(control["driver"]["outcome"], "not asked");
    }
    EXPECT_TRUE(found);
}

TEST_F(ReportJson, TheSoftwareCameraAgreesWithItself) {
    EXPECT_EQ(report()["disagreements"], Json::array());
}

TEST_F(ReportJson, TellsDisagreements) {
    FirmwareFault fault;
    fault.control = control::gain;
    fault.request = UvcRequest::getInfo;
    backend.bus->camera(1)->order(fault);
    const Json json = report()["disagreements"];
    ASSERT_EQ(json.size(), 1U);
    EXPECT_EQ(json[0]["selector"], control::gain.selector);
    EXPECT_EQ(json[0]["text"], "listed, but GET_INFO is refused");
}

TEST_F(ReportJson, AnUnknownIdentifierLeadsToNoDevice) {
    EXPECT_FALSE(findVideoFunction(*backend.usb, "0x00").device);
}

} // namespace
} // namespace tavelo
